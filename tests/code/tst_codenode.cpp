#include <tests/code/plaincode.h>

#include <QDate>
#include <QPoint>
#include <QProcess>
#include <QTest>

using namespace Kiln;

/// Nodes without a document: linking, adoption, walks, the pool, conversions of values.
class TestCodeNode : public QObject
{
    Q_OBJECT

private slots:
    void walks_data();
    void walks();
    void adoption_data();
    void adoption();
    void removal_data();
    void removal();
    void nestedGroups();
    void rootRows();
    void poolGivesTheSameMemoryAgain();
    void staleIndex();
    void unloadLine();
    void convert_data();
    void convert();
    void vectors_data();
    void vectors();
    void storedStringIsKept();
    void namedProperties();
};

namespace
{

class Root : public RootCode
{
public:
    using RootCode::destroy;
    using RootCode::RootCode;
};

/// A node of a type that has no rules of its own here.
class Other : public ParentCode
{
public:
    Other(Type type, CodeNode *previous)
        : ParentCode(type, previous)
    {
    }
};

Plain::Value *newValue(CodeNode *previous, const QString &name)
{
    return new Plain::Value(previous, name, ValueCode::Int, 1);
}

/// Builds a list from a word: g a group, v a value, f a frame, a an animation. Names are the places
/// in the word, from 1.
class Tree
{
public:
    explicit Tree(const QString &word)
        : root(new Root)
    {
        CodeNode *last = root;
        for (QChar type : word) {
            last = add(type, last, QString::number(nodes.size() + 1));
            nodes.insert(nodes.size() + 1, last);
        }
    }
    ~Tree() { root->destroy(); }

    static CodeNode *add(QChar type, CodeNode *previous, const QString &name)
    {
        switch (type.toLatin1()) {
        case 'g':
            return new Plain::Group(previous, name, 1);
        case 'v':
            return newValue(previous, name);
        case 'f':
            return new Other(CodeNode::Frame, previous);
        default:
            return new Other(CodeNode::Animation, previous);
        }
    }

    /// "1(2 3) 4()" and the values without a group behind a bar.
    QString text() const
    {
        QStringList groups, alone;
        for (const CodeNode *child : root->childs()) {
            QStringList values;
            for (const ValueCode *value : static_cast<const GroupCode *>(child)->values())
                values << value->name();
            groups << nameOf(child) + '(' + values.join(' ') + ')';
        }
        for (const CodeNode *node = root->next(); node; node = node->next()) {
            if (node->type() == CodeNode::Value && !node->parent())
                alone << nameOf(node);
        }
        return (groups.join(' ') + '|' + alone.join(' '));
    }

    static QString nameOf(const CodeNode *node)
    {
        return dynamic_cast<const NamedCode *>(node)->name();
    }

    Root *root;
    QMap<int, CodeNode *> nodes;
};

} // namespace

void TestCodeNode::walks_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<int>("from");
    QTest::addColumn<bool>("forward");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("mask");
    QTest::addColumn<int>("found");
    QTest::newRow("a value ends the walk to a group") << "gvg" << 1 << true << 2 << -11 << 0;
    QTest::newRow("a frame ends the walk to a group") << "gfg" << 1 << true << 2 << -11 << 0;
    QTest::newRow("an animation does not") << "gag" << 1 << true << 2 << -11 << 3;
    QTest::newRow("back over a group") << "agv" << 3 << false << 8 << -11 << 1;
    QTest::newRow("the type wins over the mask") << "gv" << 1 << true << 4 << 4 << 2;
    QTest::newRow("no mask goes to the end") << "gvvf" << 1 << true << 16 << 0 << 4;
    QTest::newRow("end of the list") << "gvv" << 1 << true << 8 << 0 << 0;
    QTest::newRow("it starts at the neighbour") << "g" << 1 << true << 2 << 0 << 0;
}

void TestCodeNode::walks()
{
    QFETCH(QString, word);
    QFETCH(int, from);
    QFETCH(bool, forward);
    QFETCH(int, type);
    QFETCH(int, mask);
    QFETCH(int, found);
    const Tree tree(word);
    const CodeNode *const start = tree.nodes[from];
    const auto wanted = CodeNode::Type(type);
    QCOMPARE(forward ? start->next(wanted, mask) : start->previous(wanted, mask),
             tree.nodes[found]);
}

void TestCodeNode::adoption_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<int>("after");
    QTest::addColumn<QChar>("type");
    QTest::addColumn<QString>("result");
    const QChar g('g'), v('v'), a('a');
    QTest::newRow("value joins the group above") << "gv" << 2 << v << "1(2 new)|";
    QTest::newRow("value goes between") << "gvv" << 2 << v << "1(2 new 3)|";
    QTest::newRow("value right below the header") << "gvv" << 1 << v << "1(new 2 3)|";
    QTest::newRow("value with no group") << "v" << 1 << v << "|1 new";
    QTest::newRow("value below an animation") << "gva" << 3 << v << "1(2)|new";
    QTest::newRow("value passes over frames") << "gvff" << 4 << v << "1(2 new)|";
    QTest::newRow("value meets the group first") << "agv" << 3 << v << "2(3 new)|";
    QTest::newRow("group takes what is below") << "gvvv" << 2 << g << "1(2) new(3 4)|";
    QTest::newRow("group takes stray values") << "vv" << 1 << g << "new(2)|1";
    QTest::newRow("group stops at a group") << "gvgv" << 1 << g << "1() new(2) 3(4)|";
    QTest::newRow("group stops at an animation") << "gvav" << 1 << g << "1() new(2)|4";
    QTest::newRow("group reaches over frames") << "gvfv" << 2 << g << "1(2) new(4)|";
    QTest::newRow("group at the head") << "gv" << 0 << g << "new() 1(2)|";
    QTest::newRow("animation takes nothing") << "gvv" << 2 << a << "1(2 3)|";
}

void TestCodeNode::adoption()
{
    QFETCH(QString, word);
    QFETCH(int, after);
    QFETCH(QChar, type);
    QFETCH(QString, result);
    Tree tree(word);
    CodeNode *const previous = after ? tree.nodes[after] : tree.root;
    CodeNode *const node = Tree::add(type, previous, QStringLiteral("new"));
    QCOMPARE(node->previous(), previous);
    QCOMPARE(tree.text(), result);
}

void TestCodeNode::removal_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<int>("which");
    QTest::addColumn<QString>("result");
    QTest::newRow("values go to the group above, in order") << "gvgvv" << 3 << "1(2 4 5)|";
    QTest::newRow("no group above") << "gvv" << 1 << "|2 3";
    QTest::newRow("an animation above") << "gagvv" << 3 << "1()|4 5";
    QTest::newRow("a frame above") << "gfgv" << 3 << "1()|4";
    QTest::newRow("a value") << "gvvv" << 3 << "1(2 4)|";
}

void TestCodeNode::removal()
{
    QFETCH(QString, word);
    QFETCH(int, which);
    QFETCH(QString, result);
    Tree tree(word);
    CodeNode *const before = tree.nodes[which]->previous();
    CodeNode *const after = tree.nodes[which]->next();
    tree.nodes[which]->release();
    QCOMPARE(before->next(), after);
    QCOMPARE(tree.text(), result);
}

/// A group ends at the next of its own depth or above, a nested one at any.
void TestCodeNode::nestedGroups()
{
    class Lined : public Plain::Group
    {
    public:
        Lined(CodeNode *previous, int line)
            : Group(previous, QString(), 1)
            , m_line(line)
        {
        }
        int firstLine() const override { return m_line; }
        void nest(CodeNode *group) { ParentCode::insertChild(group, 0); }

    private:
        int m_line;
    };
    Tree tree(QString{});
    auto *const outer = new Lined(tree.root, 0);
    auto *const first = new Lined(outer, 10);
    auto *const second = new Lined(newValue(first, "x"), 20);
    new Lined(second, 30);
    outer->nest(first);
    outer->nest(second);
    QCOMPARE(outer->lastLine(), 29);
    QCOMPARE(first->lastLine(), 19);
    QCOMPARE(second->lastLine(), 29);
}

void TestCodeNode::rootRows()
{
    // Groups made in any order stand in the order of the list, also far from each other.
    Tree tree(QStringLiteral("g") + QString(200, QLatin1Char('v')));
    for (int place : {150, 90, 200, 91, 2, 199})
        new Plain::Group(tree.nodes[place], QString::number(place), 1);
    int row = 0;
    for (CodeNode *node = tree.root->next(); node; node = node->next()) {
        if (node->type() != CodeNode::Group)
            continue;
        QCOMPARE(tree.root->childAt(unsigned(row)), node);
        QCOMPARE(tree.root->childIndex(node), row);
        ++row;
    }
    QCOMPARE(int(tree.root->childCount()), row);
    QCOMPARE(tree.root->childAt(unsigned(row)), nullptr);
    QCOMPARE(tree.root->childIndex(tree.nodes[2]), -1);
    QCOMPARE(tree.root->childIndex(nullptr), -1);
}

void TestCodeNode::poolGivesTheSameMemoryAgain()
{
    const Tree tree(QStringLiteral("g"));
    Plain::Value *first = newValue(tree.nodes[1], QStringLiteral("a"));
    Plain::Value *const second = newValue(first, QStringLiteral("b"));
    QVERIFY(first->isValid());
    first->release();
    QVERIFY(!first->isValid());
    QVERIFY(second->isValid());
    first->release();
    QCOMPARE(newValue(second, QStringLiteral("c")), first);
    QVERIFY(first->isValid());
    QVERIFY(newValue(second, QStringLiteral("d")) != first);
    QVERIFY(tree.root->isValid());
}

void TestCodeNode::staleIndex()
{
    const Tree tree(QStringLiteral("gvv"));
    const QModelIndex group = tree.root->index(0, 0);
    const QModelIndex value = tree.root->index(1, 0, group);
    QCOMPARE(value.data().toString(), QStringLiteral("3"));
    QCOMPARE(tree.root->parent(value), group);
    tree.nodes[3]->release();
    QCOMPARE(tree.root->parent(value), group);
    QVERIFY(!tree.root->data(value).isValid());
    QCOMPARE(tree.root->rowCount(value), 0);
    QVERIFY(!tree.root->index(0, 0, value).isValid());
    QVERIFY(!tree.root->index(1, 0, group).isValid());
    QCOMPARE(tree.root->flags(QModelIndex()), Qt::ItemFlags(Qt::NoItemFlags));
}

void TestCodeNode::unloadLine()
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("poolGivesTheSameMemoryAgain")});
    QVERIFY(process.waitForFinished());
    const QString output = QString::fromLocal8Bit(process.readAll());
    static const QRegularExpression line(
        QStringLiteral("maximum allocated memory for nodes: (\\d+\\.\\d+(e-\\d+)?) MB"));
    const QRegularExpressionMatch match = line.match(output);
    QVERIFY2(match.hasMatch(), qPrintable(output));
    // A group and three values at most stood at once.
    const double expected =
        double(sizeof(Plain::Group) + 8 + 3 * (sizeof(Plain::Value) + 8)) / 1048576;
    QVERIFY(qAbs(match.captured(1).toDouble() - expected) < 1e-7);
}

void TestCodeNode::convert_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QVariant>("in");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("written");
    const QVariantList list{1, 2.5};
    QTest::newRow("plain 0") << 0 << QVariant(7) << QVariant(7) << "7";
    QTest::newRow("plain 2") << 2 << QVariant(list) << QVariant(list) << "";
    QTest::newRow("text") << 3 << QVariant(7) << QVariant("7") << "7";
    QTest::newRow("other text") << 4 << QVariant("a b") << QVariant("a b") << "a b";
    QTest::newRow("date") << 5 << QVariant(QDate(2020, 2, 29)) << QVariant(QDate(2020, 2, 29))
                          << "2020-02-29";
    QTest::newRow("date of a text")
        << 5 << QVariant("2020-02-29") << QVariant(QDate(2020, 2, 29)) << "2020-02-29";
    QTest::newRow("no date") << 5 << QVariant("2020-02-30") << QVariant("2020-02-30")
                             << "2020-02-30";
    QTest::newRow("enum") << 6 << QVariant("3") << QVariant(3u) << "word3";
    QTest::newRow("enum list of one") << 7 << QVariant(3) << QVariant(QVariantList{3u}) << "";
    QTest::newRow("enum list") << 7 << QVariant(list) << QVariant(list) << "";
    QTest::newRow("real") << 8 << QVariant("2.5") << QVariant(2.5) << "2.5";
    QTest::newRow("pointf") << 9 << QVariant(QPointF(1.5, 2)) << QVariant(QPointF(1.5, 2))
                            << "1.5, 2";
    QTest::newRow("pointf of a list")
        << 9 << QVariant(list) << QVariant(QPointF(1, 2.5)) << "1, 2.5";
    QTest::newRow("pointf of one")
        << 9 << QVariant(QVariantList{3}) << QVariant(QPointF(3, 0)) << "3, 0";
    QTest::newRow("pointf precision") << 9 << QVariant(QPointF(1.0 / 3, 1e9))
                                      << QVariant(QPointF(1.0 / 3, 1e9)) << "0.333333, 1e+09";
    QTest::newRow("reals of one") << 10 << QVariant(2.5) << QVariant(QVariantList{2.5}) << "2.5";
    QTest::newRow("reals") << 12 << QVariant(list) << QVariant(list) << "1, 2.5";
    QTest::newRow("int") << 13 << QVariant("12") << QVariant(12) << "12";
    QTest::newRow("point") << 14 << QVariant(QPoint(1, -2)) << QVariant(QPoint(1, -2)) << "1, -2";
    QTest::newRow("point of a list")
        << 14 << QVariant(QVariantList{4}) << QVariant(QPoint(4, 0)) << "4, 0";
    QTest::newRow("ints of one") << 15 << QVariant("5") << QVariant(QVariantList{5}) << "5";
    QTest::newRow("ints") << 17 << QVariant(QVariantList{1, 2, 3})
                          << QVariant(QVariantList{1, 2, 3}) << "1, 2, 3";
    QTest::newRow("unknown") << 99 << QVariant(2.5) << QVariant(2.5) << "2.5";
}

void TestCodeNode::convert()
{
    QFETCH(int, type);
    QFETCH(QVariant, in);
    QFETCH(QVariant, stored);
    QFETCH(QString, written);
    const Tree tree(QStringLiteral("g"));
    auto *const value =
        new Plain::Value(tree.nodes[1], QStringLiteral("n"), ValueCode::Type(type), QVariant());
    value->valueChanged(in);
    QCOMPARE(value->rawValue(), stored);
    QCOMPARE(value->rawValue().type(), stored.type());
    QCOMPARE(value->valueText(), written);
    QCOMPARE(value->value(), type == ValueCode::Enum ? QVariant(written) : stored);
}

void TestCodeNode::vectors_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVector<int>>("ints");
    QTest::addColumn<QPoint>("point");
    QTest::newRow("an int is one") << 13 << QVariant(4) << QVector<int>{4} << QPoint(4, 0);
    QTest::newRow("a real is one") << 8 << QVariant(4.2) << QVector<int>{4} << QPoint(4, 0);
    QTest::newRow("a list") << 15 << QVariant(QVariantList{1, 2, 3}) << QVector<int>{1, 2, 3}
                            << QPoint(1, 2);
    QTest::newRow("a short list") << 15 << QVariant(QVariantList{1}) << QVector<int>{1}
                                  << QPoint(1, 0);
    QTest::newRow("an empty list") << 15 << QVariant(QVariantList()) << QVector<int>{} << QPoint();
    QTest::newRow("a point") << 14 << QVariant(QPoint(3, 4)) << QVector<int>{} << QPoint(3, 4);
    QTest::newRow("a point in an int")
        << 13 << QVariant(QPoint(3, 4)) << QVector<int>{0} << QPoint(3, 4);
}

void TestCodeNode::vectors()
{
    QFETCH(int, type);
    QFETCH(QVariant, stored);
    QFETCH(QVector<int>, ints);
    QFETCH(QPoint, point);
    const Tree tree(QStringLiteral("g"));
    const auto *const value =
        new Plain::Value(tree.nodes[1], QStringLiteral("n"), ValueCode::Type(type), stored);
    QCOMPARE(value->rawValue(), stored);
    QCOMPARE(value->asIntVector(), ints);
    QCOMPARE(value->asVector().size(), ints.size());
    QCOMPARE(value->asRealVector().size(), ints.size());
    QCOMPARE(value->asPoint(), point);
    QCOMPARE(value->asSize(), QSize(point.x(), point.y()));
}

void TestCodeNode::storedStringIsKept()
{
    const Tree tree(QStringLiteral("g"));
    const auto *const value = new Plain::Value(tree.nodes[1], QStringLiteral("n"), ValueCode::Point,
                                               QStringLiteral("oops, 3"));
    QCOMPARE(value->valueText(), QStringLiteral("oops, 3"));
}

void TestCodeNode::namedProperties()
{
    const Tree tree(QStringLiteral("gv"));
    auto *const group = static_cast<Plain::Group *>(tree.nodes[1]);
    QCOMPARE(group->propertyNames(), (QStringList{"DisplayName", "Name"}));
    QCOMPARE(group->property(QStringLiteral("DisplayName")), QVariant(QStringLiteral("1")));
    QCOMPARE(group->property(QStringLiteral("Name")), QVariant(QStringLiteral("1")));
    QVERIFY(!group->property(QStringLiteral("name")).isValid());
    QCOMPARE(group->valueByName(QStringLiteral("2")), tree.nodes[2]);
    QCOMPARE(group->value(QStringLiteral("2")), QVariant(1));
    QVERIFY(!group->value(QStringLiteral("3")).isValid());
    QCOMPARE(group->valueAt(1), nullptr);
}

QTEST_GUILESS_MAIN(TestCodeNode)
#include "tst_codenode.moc"
