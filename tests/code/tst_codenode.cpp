#include <tests/code/plaincode.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>

using namespace Kiln;

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

/// Nodes without a document: linking, adoption, walks, the pool, conversions of values.
class TestCodeNode : public QObject
{
    Q_OBJECT

private slots:
    void walks_data()
    {
        columns<QString, int, bool, int, int, int>("word", "from", "forward", "type", "mask",
                                                   "found");
        addRow("a value ends the walk to a group", "gvg", 1, true, 2, -11, 0);
        addRow("a frame ends the walk to a group", "gfg", 1, true, 2, -11, 0);
        addRow("an animation does not", "gag", 1, true, 2, -11, 3);
        addRow("back over a group", "agv", 3, false, 8, -11, 1);
        addRow("the type wins over the mask", "gv", 1, true, 4, 4, 2);
        addRow("no mask goes to the end", "gvvf", 1, true, 16, 0, 4);
        addRow("end of the list", "gvv", 1, true, 8, 0, 0);
        addRow("it starts at the neighbour", "g", 1, true, 2, 0, 0);
    }

    void walks()
    {
        const auto [word, from, forward, type, mask, found] =
            row<QString, int, bool, int, int, int>();
        const Tree tree(word);
        const CodeNode *const start = tree.nodes[from];
        const auto wanted = CodeNode::Type(type);
        QCOMPARE(forward ? start->next(wanted, mask) : start->previous(wanted, mask),
                 tree.nodes[found]);
    }

    void adoption_data()
    {
        columns<QString, int, QChar, QString>("word", "after", "type", "result");
        const QChar g('g'), v('v'), a('a');
        addRow("value joins the group above", "gv", 2, v, "1(2 new)|");
        addRow("value goes between", "gvv", 2, v, "1(2 new 3)|");
        addRow("value right below the header", "gvv", 1, v, "1(new 2 3)|");
        addRow("value with no group", "v", 1, v, "|1 new");
        addRow("value below an animation", "gva", 3, v, "1(2)|new");
        addRow("value passes over frames", "gvff", 4, v, "1(2 new)|");
        addRow("value meets the group first", "agv", 3, v, "2(3 new)|");
        addRow("group takes what is below", "gvvv", 2, g, "1(2) new(3 4)|");
        addRow("group takes stray values", "vv", 1, g, "new(2)|1");
        addRow("group stops at a group", "gvgv", 1, g, "1() new(2) 3(4)|");
        addRow("group stops at an animation", "gvav", 1, g, "1() new(2)|4");
        addRow("group reaches over frames", "gvfv", 2, g, "1(2) new(4)|");
        addRow("group at the head", "gv", 0, g, "new() 1(2)|");
        addRow("animation takes nothing", "gvv", 2, a, "1(2 3)|");
    }

    void adoption()
    {
        const auto [word, after, type, result] = row<QString, int, QChar, QString>();
        Tree tree(word);
        CodeNode *const previous = after ? tree.nodes[after] : tree.root;
        CodeNode *const node = Tree::add(type, previous, QString("new"));
        QCOMPARE(node->previous(), previous);
        QCOMPARE(tree.text(), result);
    }

    void removal_data()
    {
        columns<QString, int, QString>("word", "which", "result");
        addRow("values go to the group above, in order", "gvgvv", 3, "1(2 4 5)|");
        addRow("no group above", "gvv", 1, "|2 3");
        addRow("an animation above", "gagvv", 3, "1()|4 5");
        addRow("a frame above", "gfgv", 3, "1()|4");
        addRow("a value", "gvvv", 3, "1(2 4)|");
    }

    void removal()
    {
        const auto [word, which, result] = row<QString, int, QString>();
        Tree tree(word);
        CodeNode *const before = tree.nodes[which]->previous();
        CodeNode *const after = tree.nodes[which]->next();
        tree.nodes[which]->release();
        QCOMPARE(before->next(), after);
        QCOMPARE(tree.text(), result);
    }

    /// A group ends at the next of its own depth or above, a nested one at any.
    void nestedGroups()
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
        QCOMPARE(tree.root->childIndex(first), -1); // nor are they the root's any more
        QCOMPARE(tree.root->childIndex(second), -1);
        QCOMPARE(first->parent(CodeNode::Group, CodeNode::Root), outer);
        QCOMPARE(first->parent(CodeNode::Root, 0), tree.root);
        QCOMPARE(first->parent(CodeNode::Root, CodeNode::Group), nullptr);
        QCOMPARE(tree.root->parent(CodeNode::Root, 0), nullptr);
        QCOMPARE(outer->lastLine(), 29);
        QCOMPARE(first->lastLine(), 19);
        QCOMPARE(second->lastLine(), 29);
    }

    /// A container takes a child from the one that has it, and holds what it has rows for.
    void childrenMove()
    {
        Tree tree(QString("gvvgff"));
        auto *const group = static_cast<ParentCode *>(tree.nodes[4]);
        group->insertChild(tree.nodes[2], 0);
        QCOMPARE(tree.text(), QString("1(3) 4(2)|"));
        static_cast<ParentCode *>(tree.root)->insertChild(group, 0);
        QCOMPARE(tree.text(), QString("4(2) 1(3)|"));
        // Rows that are not in the order of the text: the next group goes behind those above it.
        new Plain::Group(tree.nodes[6], QString("7"), 1);
        QCOMPARE(tree.text(), QString("4(2) 1(3) 7()|"));

        auto *const first = new Plain::Animation(tree.root, QString("first"));
        auto *const frame = new Plain::Frame(first, QString("frame"));
        auto *const second = new Plain::Animation(frame, QString("second"));
        QCOMPARE(first->childIndex(frame), 0);
        ParentCode *const taker = second;
        taker->insertChild(frame, 0);
        QCOMPARE(first->frameCount(), 0u);
        QCOMPARE(second->frameAt(0), frame);
        taker->insertChild(tree.nodes[3], 0); // no frame
        QCOMPARE(second->frameCount(), 1u);
        QCOMPARE(tree.nodes[3]->parent(), nullptr);

        second->setCode(QString("text")); // without a document they stay as they are
        second->removeFrame(0);
        QCOMPARE(second->frameAt(0), frame);

        auto *const base = new Other(CodeNode::Frame, tree.root);
        base->insertChild(frame, 0);
        QCOMPARE(second->frameCount(), 0u);
        QCOMPARE(frame->parent(), base);
        base->removeChild(frame);
        QCOMPARE(frame->parent(), nullptr);
    }

    void rootRows()
    {
        // Groups made in any order stand in the order of the list, also far from each other.
        Tree tree(QString("g") + QString(200, 'v'));
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

    void poolGivesTheSameMemoryAgain()
    {
        const Tree tree(QString("g"));
        Plain::Value *first = newValue(tree.nodes[1], QString("a"));
        Plain::Value *const second = newValue(first, QString("b"));
        QVERIFY(first->isValid());
        first->release();
        QVERIFY(!first->isValid());
        QVERIFY(second->isValid());
        first->release();
        QCOMPARE(newValue(second, QString("c")), first);
        QVERIFY(first->isValid());
        QVERIFY(newValue(second, QString("d")) != first);
        QVERIFY(tree.root->isValid());
    }

    void staleIndex()
    {
        const Tree tree(QString("gvv"));
        const QModelIndex group = tree.root->index(0, 0);
        const QModelIndex value = tree.root->index(1, 0, group);
        QCOMPARE(value.data().toString(), QString("3"));
        QCOMPARE(tree.root->parent(value), group);
        tree.nodes[3]->release();
        QCOMPARE(tree.root->parent(value), group);
        QVERIFY(!tree.root->data(value).isValid());
        QCOMPARE(tree.root->rowCount(value), 0);
        QVERIFY(!tree.root->index(0, 0, value).isValid());
        QVERIFY(!tree.root->index(1, 0, group).isValid());
        QCOMPARE(tree.root->flags(QModelIndex()), Qt::ItemFlags(Qt::NoItemFlags));
    }

    void unloadLine()
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationFilePath(),
                      {QString("poolGivesTheSameMemoryAgain")});
        QVERIFY(process.waitForFinished());
        const QString output = QString::fromLocal8Bit(process.readAll());
        static const QRegularExpression line(
            QString("maximum allocated memory for nodes: (\\d+\\.\\d+(e-\\d+)?) MB"));
        const QRegularExpressionMatch match = line.match(output);
        QVERIFY2(match.hasMatch(), qPrintable(output));
        // A group and three values at most stood at once.
        const double expected =
            double(sizeof(Plain::Group) + 8 + 3 * (sizeof(Plain::Value) + 8)) / 1048576;
        QVERIFY(qAbs(match.captured(1).toDouble() - expected) < 1e-7);
    }

    void convert_data()
    {
        const auto add =
            columns<int, QVariant, QVariant, QString>("type", "in", "stored", "written");
        const QVariantList list{1, 2.5};
        add("plain 0", 0, 7, 7, "7");
        add("plain 2", 2, list, list, "");
        add("text", 3, 7, "7", "7");
        add("other text", 4, "a b", "a b", "a b");
        add("date", 5, QDate(2020, 2, 29), QDate(2020, 2, 29), "2020-02-29");
        add("date of a text", 5, "2020-02-29", QDate(2020, 2, 29), "2020-02-29");
        add("no date", 5, "2020-02-30", "2020-02-30", "2020-02-30");
        add("enum", 6, "3", 3u, "word3");
        add("enum list of one", 7, 3, QVariantList{3u}, "");
        add("enum list", 7, list, list, "");
        add("real", 8, "2.5", 2.5, "2.5");
        add("pointf", 9, QPointF(1.5, 2), QPointF(1.5, 2), "1.5, 2");
        add("pointf of a list", 9, list, QPointF(1, 2.5), "1, 2.5");
        add("pointf of one", 9, QVariantList{3}, QPointF(3, 0), "3, 0");
        add("pointf precision", 9, QPointF(1.0 / 3, 1e9), QPointF(1.0 / 3, 1e9), "0.333333, 1e+09");
        add("reals of one", 10, 2.5, QVariantList{2.5}, "2.5");
        add("reals", 12, list, list, "1, 2.5");
        add("int", 13, "12", 12, "12");
        add("point", 14, QPoint(1, -2), QPoint(1, -2), "1, -2");
        add("point of a list", 14, QVariantList{4}, QPoint(4, 0), "4, 0");
        add("ints of one", 15, "5", QVariantList{5}, "5");
        add("ints", 17, QVariantList{1, 2, 3}, QVariantList{1, 2, 3}, "1, 2, 3");
        add("unknown", 99, 2.5, 2.5, "2.5");
    }

    void convert()
    {
        const auto [type, in, stored, written] = row<int, QVariant, QVariant, QString>();
        const Tree tree(QString("g"));
        auto *const value =
            new Plain::Value(tree.nodes[1], QString("n"), ValueCode::Type(type), QVariant());
        value->valueChanged(in);
        QCOMPARE(value->rawValue(), stored);
        QCOMPARE(value->rawValue().type(), stored.type());
        QCOMPARE(value->valueText(), written);
        QCOMPARE(value->value(), type == ValueCode::Enum ? QVariant(written) : stored);
    }

    void vectors_data()
    {
        const auto add =
            columns<int, QVariant, QVector<int>, QPoint>("type", "stored", "ints", "point");
        add("an int is one", 13, 4, {4}, {4, 0});
        add("a real is one", 8, 4.2, {4}, {4, 0});
        add("a list", 15, QVariantList{1, 2, 3}, {1, 2, 3}, {1, 2});
        add("a short list", 15, QVariantList{1}, {1}, {1, 0});
        add("an empty list", 15, QVariant(QVariantList()), {}, QPoint());
        add("a point", 14, QPoint(3, 4), {}, {3, 4});
        add("a point in an int", 13, QPoint(3, 4), {0}, {3, 4});
    }

    void vectors()
    {
        const auto [type, stored, ints, point] = row<int, QVariant, QVector<int>, QPoint>();
        const Tree tree(QString("g"));
        const auto *const value =
            new Plain::Value(tree.nodes[1], QString("n"), ValueCode::Type(type), stored);
        QCOMPARE(value->rawValue(), stored);
        QCOMPARE(value->asIntVector(), ints);
        QCOMPARE(value->asVector().size(), ints.size());
        QCOMPARE(value->asRealVector().size(), ints.size());
        QCOMPARE(value->asPoint(), point);
        QCOMPARE(value->asSize(), QSize(point.x(), point.y()));
        const double width = stored.type() == QVariant::Double ? stored.toDouble() : point.x();
        if (stored.type() != QVariant::Point)
            QCOMPARE(value->asPointF(), QPointF(width, point.y()));
    }

    void storedStringIsKept()
    {
        const Tree tree(QString("g"));
        auto *const value =
            new Plain::Value(tree.nodes[1], QString("n"), ValueCode::Point, QString("oops, 3"));
        QCOMPARE(value->valueText(), QString("oops, 3"));
        value->ValueCode::setValue(QPoint(4, 5));
        QCOMPARE(value->asPoint(), QPoint(4, 5));
    }

    void namedProperties()
    {
        const Tree tree(QString("gv"));
        auto *const group = static_cast<Plain::Group *>(tree.nodes[1]);
        QCOMPARE(group->propertyNames(), (QStringList{"DisplayName", "Name"}));
        QCOMPARE(group->property(QString("DisplayName")), QVariant(QString("1")));
        QCOMPARE(group->property(QString("Name")), QVariant(QString("1")));
        QVERIFY(!group->property(QString("name")).isValid());
        QCOMPARE(group->valueByName(QString("2")), tree.nodes[2]);
        QCOMPARE(group->value(QString("2")), QVariant(1));
        QVERIFY(!group->value(QString("3")).isValid());
        QCOMPARE(group->valueAt(1), nullptr);
    }
};

QTEST_GUILESS_MAIN(TestCodeNode)
#include "tst_codenode.moc"
