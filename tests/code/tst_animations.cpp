#include "tinyanimations.h"

#include <enginetest/treedump.h>

#include <kilnx/project/archive.h>

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTextBlock>
#include <QtTest>

namespace TreeDump = EngineTest::TreeDump;

using namespace Kiln;

namespace
{

QString lines(const QStringList &list)
{
    return list.join(QLatin1Char('\n'));
}

/// The text with line `line` replaced by `with`; null `with` takes the line out.
void replaceLine(Tiny::Document *document, int line, const QString &with)
{
    const QTextBlock block = document->findBlockByNumber(line);
    QTextCursor cursor(block);
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    if (!with.isNull()) {
        document->insertOnCursor(with, cursor);
        return;
    }
    cursor.setPosition(qMin(block.position() + block.length(), document->characterCount() - 1),
                       QTextCursor::KeepAnchor);
    document->insertOnCursor(QString(), cursor);
}

/// What every state of a file must fulfil: the list is what stands in the text, and all of it is
/// what a fresh file with the same text has.
QString difference(const Tiny::File &file)
{
    if (file.list->animations() != file.inText())
        return QStringLiteral("list and text differ");
    const Tiny::File fresh(file.text());
    const QString expected = TreeDump::all(*fresh.document) + TreeDump::rows(*fresh.list);
    const QString actual = TreeDump::all(*file.document) + TreeDump::rows(*file.list);
    if (actual == expected)
        return QString();
    return QStringLiteral("\n%1\n-- is --\n%2\n-- should be --\n%3")
        .arg(file.text(), actual, expected);
}

/// The order that the rule asks for, found the slow way: each identifier goes before the first one
/// that it is compared with and that is greater.
QStringList organized(QStringList identifiers)
{
    for (int i = 1; i < identifiers.size(); ++i) {
        for (int j = 0; j < i; ++j) {
            bool firstIsNumber = false;
            bool secondIsNumber = false;
            const int first = identifiers.at(i).toInt(&firstIsNumber, 10);
            const int second = identifiers.at(j).toInt(&secondIsNumber, 10);
            const bool before =
                firstIsNumber
                    ? secondIsNumber && first < second
                    : !secondIsNumber &&
                          identifiers.at(i).compare(identifiers.at(j), Qt::CaseInsensitive) < 0;
            if (before) {
                identifiers.move(i, j);
                break;
            }
        }
    }
    return identifiers;
}

QStringList identifiers(const Tiny::File &file)
{
    QStringList names;
    for (AnimationCode *animation : file.list->animations())
        names << animation->name();
    return names;
}

/// The rows of a list as somebody has them who reads them at each signal and at no other time.
class CachedRows : public QObject
{
public:
    explicit CachedRows(QAbstractItemModel *list)
        : m_list(list)
    {
        const auto read = [this](int row) { return m_list->index(row, 0).data().toString(); };
        const auto readAll = [this, read] {
            rows.clear();
            for (int row = 0; row < m_list->rowCount(); ++row)
                rows << read(row);
        };
        connect(list, &QAbstractItemModel::modelReset, this, readAll);
        connect(list, &QAbstractItemModel::rowsInserted, this,
                [this, read](const QModelIndex &, int row) { rows.insert(row, read(row)); });
        connect(list, &QAbstractItemModel::rowsRemoved, this,
                [this](const QModelIndex &, int row) { rows.removeAt(row); });
        connect(list, &QAbstractItemModel::rowsMoved, this,
                [this](const QModelIndex &, int from, int, const QModelIndex &, int to) {
                    rows.move(from, from < to ? to - 1 : to);
                });
        connect(list, &QAbstractItemModel::dataChanged, this,
                [this, read](const QModelIndex &index) { rows[index.row()] = read(index.row()); });
        readAll();
    }

    QStringList rows;

private:
    QAbstractItemModel *m_list;
};

QString fileOf(const QStringList &names)
{
    QString text;
    for (const QString &name : names)
        text += QStringLiteral("anim %1\nframe %1.1\n\n").arg(name);
    return text;
}

} // namespace

class AnimationsTest : public QObject
{
    Q_OBJECT

private slots:
    void adoption_data();
    void adoption();
    void extent_data();
    void extent();
    void boxesByType();
    void code();
    void removeFrame();
    void strangers();
    void framesWhileTheyAreMade();
    void moveEverywhere_data();
    void moveEverywhere();
    void moveSignals_data();
    void moveSignals();
    void bracketsWithoutParsing();
    void add_data();
    void add();
    void insert_data();
    void insert();
    void duplicate_data();
    void duplicate();
    void templates();
    void organize_data();
    void organize();
    void organizeAtRandom();
    void find();
    void dataDuringChange();
    void fileFace();
    void listSignals();
    void movesParseLittle();
    void randomEdits_data();
    void randomEdits();
};

void AnimationsTest::adoption_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("with");
    QTest::addColumn<QString>("animations");
    const QString removed;
    QTest::newRow("a header above frames adopts them")
        << QStringList{"-", "frame 1", "frame 2"} << 0 << "anim a"
        << "a(1 2)";
    QTest::newRow("a header amid frames takes those below")
        << QStringList{"anim a", "frame 1", "-", "frame 2", "frame 3"} << 2 << "anim b"
        << "a(1) b(2 3)";
    QTest::newRow("a header stops at the next one")
        << QStringList{"-", "frame 1", "anim b", "frame 2"} << 0 << "anim a"
        << "a(1) b(2)";
    QTest::newRow("a header stops at a group")
        << QStringList{"-", "frame 1", "group 1", "frame 2"} << 0 << "anim a"
        << "a(1)";
    QTest::newRow("frames go back in their order")
        << QStringList{"anim a", "frame 1", "anim b", "frame 2", "frame 3", "anim c", "frame 4"}
        << 2 << "-"
        << "a(1 2 3) c(4)";
    QTest::newRow("frames of the first header stay alone")
        << QStringList{"anim a", "frame 1", "anim b", "frame 2"} << 0 << "-"
        << "b(2)";
    QTest::newRow("no way back past a group")
        << QStringList{"anim a", "group 1", "anim b", "frame 2"} << 2 << "-"
        << "a()";
    QTest::newRow("a removed header line")
        << QStringList{"anim a", "frame 1", "anim b", "frame 2"} << 2 << removed << "a(1 2)";
    QTest::newRow("a header becomes another") << QStringList{"anim a", "frame 1"} << 0 << "anim b"
                                              << "b(1)";
    QTest::newRow("a header becomes a group")
        << QStringList{"anim a", "frame 1", "anim b", "frame 2"} << 2 << "group 1"
        << "a(1)";
    QTest::newRow("a group becomes a header")
        << QStringList{"anim a", "frame 1", "group 2", "frame 2"} << 2 << "anim b"
        << "a(1) b(2)";
    QTest::newRow("a group takes the frames away")
        << QStringList{"anim a", "frame 1", "-", "frame 2"} << 2 << "group 7"
        << "a(1)";
    QTest::newRow("a group that goes gives them back")
        << QStringList{"anim a", "frame 1", "group 7", "frame 2"} << 2 << "-"
        << "a(1 2)";
    QTest::newRow("a group of the same state that goes")
        << QStringList{"anim a", "group 7", "value v", "group 7", "frame 2"} << 3 << "-"
        << "a()";
    QTest::newRow("a group that goes, with another above the animation")
        << QStringList{"group 7", "anim a", "frame 1", "group 7", "-", "frame 2"} << 3 << "value v"
        << "a(1 2)";
    QTest::newRow("values do not reach past an animation")
        << QStringList{"group 1", "anim a", "-", "frame 1", "value v"} << 2 << "group 2\nanim b"
        << "a() b(1)";
    QTest::newRow("a frame in the middle")
        << QStringList{"anim a", "frame 1", "-", "frame 2"} << 2 << "frame n"
        << "a(1 n 2)";
    QTest::newRow("a frame changes in place")
        << QStringList{"anim a", "frame 1", "frame 2"} << 1 << "frame n"
        << "a(n 2)";
    QTest::newRow("a frame without a header")
        << QStringList{"-", "frame 1", "anim a"} << 0 << "frame n"
        << "a()";
    QTest::newRow("two headers with one identifier")
        << QStringList{"anim a", "frame 1", "-", "frame 2"} << 2 << "anim a"
        << "a(1) a(2)";
}

void AnimationsTest::adoption()
{
    QFETCH(QStringList, before);
    QFETCH(int, line);
    QFETCH(QString, with);
    Tiny::File file(lines(before));
    QAbstractItemModelTester tree(file.document->model(),
                                  QAbstractItemModelTester::FailureReportingMode::QtTest);
    QAbstractItemModelTester list(file.list,
                                  QAbstractItemModelTester::FailureReportingMode::QtTest);
    const QString start = file.animations();
    replaceLine(file.document, line, with);
    QTEST(file.animations(), "animations");
    QCOMPARE(difference(file), QString());
    file.list->undo();
    QCOMPARE(file.animations(), start);
    QCOMPARE(difference(file), QString());
}

void AnimationsTest::extent_data()
{
    QTest::addColumn<QStringList>("text");
    QTest::addColumn<QString>("extents");
    QTest::newRow("an animation ends before the next")
        << QStringList{"anim a", "frame 1", "", "anim b", "frame 2"} << "0-2[1-1] 3-5[4-4]";
    QTest::newRow("a comment between two frames belongs to the later")
        << QStringList{"anim a", "frame 1", "; x", "", "frame 2"} << "0-5[1-1 2-4]";
    QTest::newRow("a comment above the first frame")
        << QStringList{"anim a", "; x", "frame 1"} << "0-3[1-2]";
    QTest::newRow("a comment above a header ends the animation before")
        << QStringList{"anim a", "frame 1", "", "; b", "anim b"} << "0-2[1-1] 3-5[]";
    QTest::newRow("a group ends an animation")
        << QStringList{"anim a", "frame 1", "group 1", "value v", "anim b"} << "0-1[1-1] 4-5[]";
}

void AnimationsTest::extent()
{
    QFETCH(QStringList, text);
    const Tiny::File file(lines(text));
    QStringList extents;
    for (AnimationCode *animation : file.list->animations()) {
        QStringList frames;
        for (FrameCode *frame : animation->frames()) {
            QCOMPARE(animation->indexOfFrame(frame), frame->index());
            frames << QStringLiteral("%1-%2").arg(frame->firstLine()).arg(frame->lastLine());
        }
        extents << QStringLiteral("%1-%2[%3]")
                       .arg(animation->firstLine())
                       .arg(animation->lastLine())
                       .arg(frames.join(' '));
    }
    QTEST(extents.join(' '), "extents");
}

void AnimationsTest::boxesByType()
{
    struct Boxes : ContactBoxesCode {
        unsigned int count() const override { return 0; }
        ContactBoxCode *at(unsigned int) const override { return nullptr; }
        ContactBoxCode *add(const QRect &) override { return nullptr; }
        void remove(ContactBoxCode *) override {}
        void setRects(const QVector<QRect> &) override {}
    };
    Boxes attack;
    Boxes collision;
    Tiny::File file(QStringLiteral("anim a"));
    auto *frame = new Tiny::Frame(file.list->at(0), &attack, &collision);
    QCOMPARE(frame->contactBoxes(ContactBoxCode::Attack), &attack);
    QCOMPARE(frame->contactBoxes(ContactBoxCode::Collision), &collision);
    QCOMPARE(frame->contactBoxes(ContactBoxCode::BoxType(7)), &attack);
    QCOMPARE(frame->contactBoxes(ContactBoxCode::BoxType(8)), &collision);
    QCOMPARE(int(frame->childCount()), 0);
    QCOMPARE(attack.indexOf(nullptr), -1);
    frame->release();
}

void AnimationsTest::code()
{
    Tiny::File file(QStringLiteral("anim a\nframe 1\n\n\n\nanim b\nframe 2"));
    AnimationCode *first = file.list->at(0);
    QCOMPARE(first->code(), QStringLiteral("anim a\u2029frame 1"));
    first->setCode(QStringLiteral("  \nanim c\nframe 3\n\n"));
    QCOMPARE(file.text(), QStringLiteral("anim c\nframe 3\n\nanim b\nframe 2"));
    file.list->at(1)->setCode(file.list->at(0)->code());
    QCOMPARE(file.text(), QStringLiteral("anim c\nframe 3\n\nanim c\nframe 3\n\n"));
    file.list->at(0)->setCode(QStringLiteral("frame 5"));
    QCOMPARE(file.animations(), QStringLiteral("c(3)"));
    QCOMPARE(difference(file), QString());
}

void AnimationsTest::removeFrame()
{
    Tiny::File file(QStringLiteral("anim a\nframe 1\n; two\nframe 2\nframe 3\n"));
    AnimationCode *animation = file.list->at(0);
    animation->setSelectedFrame(2);
    QCOMPARE(animation->selectedFrame(), 2u);
    animation->removeFrame(3);
    animation->removeFrame(1);
    QCOMPARE(file.text(), QStringLiteral("anim a\nframe 1\nframe 3\n"));
    QCOMPARE(file.list->at(0), animation);
    QCOMPARE(difference(file), QString());
}

/// Indexes out of range and nodes of other files do nothing.
void AnimationsTest::strangers()
{
    const QString text = fileOf({"a", "b"});
    Tiny::File file(text);
    Tiny::File other(text);
    QCOMPARE(file.list->at(2), nullptr);
    QCOMPARE(file.list->indexOf(other.list->at(0)), -1);
    QCOMPARE(file.list->at(0)->frameAt(1), nullptr);
    QCOMPARE(file.list->at(0)->indexOfFrame(other.list->at(0)->frameAt(0)), -1);
    QCOMPARE(file.list->at(0)->indexOfFrame(nullptr), -1);
    file.list->remove(2);
    file.list->duplicate(2, QString());
    file.list->move(0, 2);
    file.list->move(2, 0);
    file.list->move(1, 1);
    file.list->setSelected(9);
    QCOMPARE(file.list->selected(), 9u);
    QCOMPARE(file.text(), text);
    QVERIFY(!file.list->data(QModelIndex(), Qt::DisplayRole).isValid());
    QVERIFY(!file.list->data(file.list->index(0), Qt::EditRole).isValid());
    QCOMPARE(AnimationCode::Type(file.list->at(0)->type()), CodeNode::Animation);
    QCOMPARE(file.list->at(0)->propertyNames(), QStringList({"DisplayName", "Name", "Identifier"}));
    QCOMPARE(file.list->at(0)->frameAt(0)->propertyNames(),
             QStringList({"Identifier", "Offset", "Delay", "Scale", "Angle", "Flip", "LoopPoint"}));
}

/// A view may ask for the text of a row as soon as it is announced, before the engine's part of the
/// node is there.
void AnimationsTest::framesWhileTheyAreMade()
{
    Tiny::File file(QStringLiteral("anim a"));
    QAbstractItemModel *tree = file.document->model();
    QStringList seen;
    connect(tree, &QAbstractItemModel::rowsInserted, this,
            [&](const QModelIndex &parent, int first, int) {
                seen << tree->index(first, 0, parent).data().toString();
            });
    file.document->insert(QStringLiteral("\nframe x"));
    QCOMPARE(seen, QStringList{"Frame 1"});
    QCOMPARE(tree->index(0, 0, tree->index(0, 0)).data().toString(), QStringLiteral("Frame - x"));

    // A frame without a name is shown by its number, which a frame above changes.
    file.document->insert(QStringLiteral("\nframe"));
    connect(tree, &QAbstractItemModel::dataChanged, this,
            [&](const QModelIndex &, const QModelIndex &last) { seen << last.data().toString(); });
    replaceLine(file.document, 1, QStringLiteral("frame w\nframe x"));
    QVERIFY(seen.contains(QStringLiteral("Frame 3")));
    seen.clear();
    replaceLine(file.document, 1, QString());
    QVERIFY(seen.contains(QStringLiteral("Frame 2")));
}

void AnimationsTest::moveEverywhere_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("blank lines") << fileOf({"a", "b", "c", "d"});
    QTest::newRow("no line end at the end")
        << "anim a\nframe 1\nanim b\nframe 2\nanim c\nanim d\nframe 4";
    QTest::newRow("comments of headers")
        << "; a\nanim a\nframe 1\n\n; b 1\n; b 2\nanim b\n; c\nanim c\nframe 3\n\nanim d\n\n";
    QTest::newRow("groups around")
        << "group 1\nvalue v\nanim a\nframe 1\nanim b\nframe 2\nanim c\nanim d\ngroup 2\nvalue w\n";
}

/// Every move there is: the order of list and text, the rows that views keep, and one step of undo.
void AnimationsTest::moveEverywhere()
{
    QFETCH(QString, text);
    for (int from = 0; from < 4; ++from) {
        for (int to = 0; to < 4; ++to) {
            Tiny::File file(text);
            QAbstractItemModelTester checker(
                file.list, QAbstractItemModelTester::FailureReportingMode::QtTest);
            QStringList expected = identifiers(file);
            QStringList codes;
            for (AnimationCode *animation : file.list->animations())
                codes << animation->code();
            expected.move(from, to);
            codes.move(from, to);
            QList<AnimationCode *> others = file.list->animations();
            others.removeAt(from);
            const QPersistentModelIndex moved = file.list->index(from);
            file.list->move(unsigned(from), unsigned(to));
            QCOMPARE(identifiers(file), expected);
            for (int row = 0; row < 4; ++row)
                QCOMPARE(file.list->at(unsigned(row))->code(), codes.at(row));
            QCOMPARE(moved.row(), to);
            QList<AnimationCode *> kept = file.list->animations();
            kept.removeAt(to);
            QCOMPARE(kept, others);
            QCOMPARE(difference(file), QString());
            if (from == to)
                continue;
            file.list->undo();
            QCOMPARE(file.text(), text);
            QCOMPARE(difference(file), QString());
            file.list->redo();
            QCOMPARE(identifiers(file), expected);
        }
    }
}

void AnimationsTest::moveSignals_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<int>("destination");
    QTest::newRow("up") << 2 << 0 << 0;
    QTest::newRow("down") << 0 << 2 << 3;
    QTest::newRow("down by one") << 0 << 1 << 2;
}

void AnimationsTest::moveSignals()
{
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(int, destination);
    Tiny::File file(fileOf({"a", "b", "c"}));
    QSignalSpy moved(file.list, &QAbstractItemModel::rowsMoved);
    QSignalSpy inserted(file.list, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(file.list, &QAbstractItemModel::rowsRemoved);
    file.list->move(unsigned(from), unsigned(to));
    QCOMPARE(moved.count(), 1);
    QCOMPARE(moved.at(0).at(1).toInt(), from);
    QCOMPARE(moved.at(0).at(2).toInt(), from);
    QCOMPARE(moved.at(0).at(4).toInt(), destination);
    QCOMPARE(inserted.count() + removed.count(), 0);
}

/// Without "parseCode" lines that are edited in a bracket are parsed when it closes. The list does
/// not wait for that: the rows of each operation are those that the last one left.
void AnimationsTest::bracketsWithoutParsing()
{
    const QString text = fileOf({"a", "b", "c"});
    Tiny::File file(text);
    file.document->setOption(QStringLiteral("parseCode"), false, false, false);
    QAbstractItemModelTester checker(file.list,
                                     QAbstractItemModelTester::FailureReportingMode::QtTest);
    file.list->move(0, 2);
    const QString moved = file.text();
    file.list->beginChange();
    file.document->catchUp();
    QCOMPARE(file.list->add(QStringLiteral("z"))->name(), QStringLiteral("z"));
    file.list->move(0, 3);
    file.list->move(0, 1);
    QCOMPARE(identifiers(file), QStringList({"a", "c", "z", "b"}));
    file.list->beginChange();
    QCOMPARE(file.list->insert(1, QStringLiteral("y"))->name(), QStringLiteral("y"));
    file.list->duplicate(4, QStringLiteral("x"));
    file.list->remove(5);
    file.list->at(4)->removeFrame(0);
    file.list->at(0)->setCode(QStringLiteral("anim q\nframe 1\nframe 2"));
    QCOMPARE(file.animations(), QStringLiteral("q(1 2) y(new) c(c.1) z(new) b()"));
    QVERIFY(file.document->isCodeBeingChanged());
    file.list->endChange();
    file.list->endChange();
    QCOMPARE(difference(file), QString());
    file.list->undo();
    QCOMPARE(file.text(), moved);
    file.list->undo();
    QCOMPARE(file.text(), text);
    QCOMPARE(difference(file), QString());

    // In an edit block of somebody else's cursor the list has to wait after all.
    QTextCursor cursor = file.document->cursor();
    cursor.beginEditBlock();
    file.list->move(2, 0);
    QCOMPARE(file.list->rowCount(), 2);
    cursor.endEditBlock();
    QCOMPARE(identifiers(file), QStringList({"c", "a", "b"}));
    QCOMPARE(difference(file), QString());
}

void AnimationsTest::add_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::newRow("to an empty file") << ""
                                      << "anim n\nframe new\n";
    QTest::newRow("behind a line end") << "anim a\n\n"
                                       << "anim a\n\nanim n\nframe new\n";
    QTest::newRow("behind an open line") << "anim a\nframe 1"
                                         << "anim a\nframe 1\nanim n\nframe new\n";
}

void AnimationsTest::add()
{
    QFETCH(QString, before);
    Tiny::File file(before);
    AnimationCode *added = file.list->add(QStringLiteral("n"));
    QVERIFY(added);
    QCOMPARE(added->name(), QStringLiteral("n"));
    QCOMPARE(added, file.list->animations().last());
    QTEST(file.text(), "after");
    QCOMPARE(difference(file), QString());
}

void AnimationsTest::insert_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("after");
    QTest::newRow("at the start of the text") << "anim a\nframe 1\n"
                                              << 0 << "anim n\nframe new\n\nanim a\nframe 1\n";
    QTest::newRow("between") << "anim a\nframe 1\nanim b" << 1
                             << "anim a\nframe 1\nanim n\nframe new\n\nanim b";
    QTest::newRow("before the comments of the next")
        << "anim a\nframe 1\n\n; of b\n; too\nanim b" << 1
        << "anim a\nframe 1\n\nanim n\nframe new\n\n; of b\n; too\nanim b";
    QTest::newRow("past the end") << "anim a\n" << 7 << "anim a\nanim n\nframe new\n";
}

void AnimationsTest::insert()
{
    QFETCH(QString, before);
    QFETCH(int, index);
    for (const bool bracketed : {false, true}) {
        Tiny::File file(before);
        QList<AnimationCode *> nodes = file.list->animations();
        const CachedRows rows(file.list);
        QSignalSpy inserted(file.list, &QAbstractItemModel::rowsInserted);
        if (bracketed)
            file.list->beginChange();
        AnimationCode *added = file.list->insert(unsigned(index), QStringLiteral("n"));
        if (bracketed)
            file.list->endChange();
        QVERIFY(added);
        QCOMPARE(added->name(), QStringLiteral("n"));
        QTEST(file.text(), "after");
        const int row = qMin(index, nodes.size());
        nodes.insert(row, added);
        QCOMPARE(file.list->animations(), nodes);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(inserted.at(0).at(1).toInt(), row);
        QCOMPARE(rows.rows, identifiers(file));
        QCOMPARE(difference(file), QString());
        file.list->undo();
        QCOMPARE(rows.rows, identifiers(file));
        QCOMPARE(difference(file), QString());
    }
}

void AnimationsTest::duplicate_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("after");
    QTest::newRow("unchanged") << "anim a\nframe 1\n\nanim b\n"
                               << 0 << ""
                               << "anim a\nframe 1\n\nanim a\nframe 1\n\nanim b\n";
    QTest::newRow("renamed") << "anim a\nframe 1\n\nanim b\n"
                             << 0 << "n"
                             << "anim a\nframe 1\n\nanim n\nframe 1\n\nanim b\n";
    QTest::newRow("renamed everywhere, in capitals or not")
        << "; like Anim A\nanim a\nframe 1\n"
        << 0 << "n"
        << "; like Anim A\nanim a\nframe 1\n; like anim n\nanim n\nframe 1\n";
    QTest::newRow("a longer identifier is another")
        << "; like anim 10\nanim 1\n"
        << 0 << "n\\1"
        << "; like anim 10\nanim 1\n; like anim 10\nanim n\\1\n";
    QTest::newRow("the last one") << "anim a\n\nanim b\nframe 2\n"
                                  << 1 << "n"
                                  << "anim a\n\nanim b\nframe 2\nanim n\nframe 2\n";
    QTest::newRow("the last one without a line end") << "anim a\nframe 1" << 0 << "n"
                                                     << "anim a\nframe 1\nanim n\nframe 1";
    QTest::newRow("before the comments of the next")
        << "anim a\nframe 1\n; of b\nanim b" << 0 << ""
        << "anim a\nframe 1\nanim a\nframe 1\n; of b\nanim b";
    QTest::newRow("past a group") << "anim a\nframe 1\ngroup 1\nanim b" << 0 << ""
                                  << "anim a\nframe 1\ngroup 1\nanim a\nframe 1\nanim b";
}

void AnimationsTest::duplicate()
{
    QFETCH(QString, before);
    QFETCH(int, index);
    QFETCH(QString, identifier);
    Tiny::File file(before);
    const QList<AnimationCode *> nodes = file.list->animations();
    file.list->duplicate(unsigned(index), identifier);
    QTEST(file.text(), "after");
    QCOMPARE(difference(file), QString());
    for (AnimationCode *node : nodes)
        QVERIFY(file.list->animations().contains(node));
    file.list->undo();
    QCOMPARE(file.text(), before);
}

/// A template that makes no animation, one without a place for the identifier, and one with two.
void AnimationsTest::templates()
{
    Tiny::File file(QString{});
    file.list->pattern = QStringLiteral("frame %1\n");
    QCOMPARE(file.list->add(QStringLiteral("n")), nullptr);
    QCOMPARE(file.list->insert(3, QStringLiteral("n")), nullptr);
    file.document->fromString(QStringLiteral("anim a\n\nanim b\n"));
    QCOMPARE(file.list->add(QStringLiteral("n")), file.list->at(1));
    QCOMPARE(file.list->insert(1, QStringLiteral("n")), file.list->at(1));
    QCOMPARE(file.animations(), QStringLiteral("a(n) b(n)"));
    file.list->pattern = QString();
    file.list->duplicate(0, QStringLiteral("n"));
    QCOMPARE(file.animations(), QStringLiteral("a(n) a(n) b(n)"));
    file.list->pattern = QStringLiteral("anim %1\n\nframe %1.1\n");
    file.list->add(QStringLiteral("c"));
    file.list->duplicate(3, QStringLiteral("d"));
    QCOMPARE(file.animations(), QStringLiteral("a(n) a(n) b(n) c(c.1) d(d.1)"));
    QCOMPARE(difference(file), QString());
}

void AnimationsTest::organize_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QStringList>("after");
    QTest::newRow("numbers and names apart")
        << QStringList{"10", "2", "b", "A"} << QStringList{"2", "10", "A", "b"};
    QTest::newRow("mixed") << QStringList{"b", "10", "A", "2"} << QStringList{"A", "b", "2", "10"};
    QTest::newRow("equal ones stay")
        << QStringList{"b", "B", "a", "02", "2", "1"} << QStringList{"a", "b", "B", "1", "02", "2"};
    QTest::newRow("negative and nearly numbers")
        << QStringList{"3", "-1", "0x2", "1.5"} << QStringList{"-1", "3", "0x2", "1.5"};
    QTest::newRow("one") << QStringList{"5"} << QStringList{"5"};
    QTest::newRow("none") << QStringList{} << QStringList{};
}

void AnimationsTest::organize()
{
    QFETCH(QStringList, before);
    Tiny::File file(fileOf(before));
    const QString text = file.text();
    file.list->autoOrganize();
    QTEST(identifiers(file), "after");
    QCOMPARE(identifiers(file), organized(before));
    QCOMPARE(difference(file), QString());
    if (file.text() != text)
        file.list->undo();
    QCOMPARE(file.text(), text);
}

void AnimationsTest::organizeAtRandom()
{
    QRandomGenerator random(3);
    const QStringList pool{"0", "1", "2", "3", "11", "-4", "a", "A", "b", "B", "run", "Run 2", "é"};
    for (int round = 0; round < 150; ++round) {
        QStringList names;
        for (int i = random.bounded(14); i > 0; --i)
            names << pool.at(random.bounded(pool.size()));
        Tiny::File file(fileOf(names));
        QAbstractItemModelTester checker(file.list,
                                         QAbstractItemModelTester::FailureReportingMode::QtTest);
        file.list->autoOrganize();
        QCOMPARE(identifiers(file), organized(names));
        QCOMPARE(difference(file), QString());
    }
}

void AnimationsTest::find()
{
    const Tiny::File file(fileOf({"7", "run", "7", "Run"}));
    QCOMPARE(file.list->find(0, 7), 0);
    QCOMPARE(file.list->find(1, QStringLiteral("7")), 2);
    QCOMPARE(file.list->find(0, QStringLiteral("Run")), 3);
    QCOMPARE(file.list->find(3, QStringLiteral("7")), -1);
    QCOMPARE(file.list->find(4, QStringLiteral("7")), -1);
    QCOMPARE(file.list->find(0, QVariant()), -1);
}

void AnimationsTest::dataDuringChange()
{
    Tiny::File file(fileOf({"a", "b"}));
    const CachedRows rows(file.list);
    QCOMPARE(file.list->index(1).data().toString(), QStringLiteral("b"));
    file.list->beginChange();
    QVERIFY(!file.list->index(1).data().isValid());
    file.list->at(1)->setProperty(QStringLiteral("Identifier"), QStringLiteral("c"));
    QCOMPARE(file.list->at(1)->name(), QStringLiteral("c"));
    file.document->insert(QStringLiteral("anim d"));
    file.list->endChange();
    QCOMPARE(file.list->index(1).data().toString(), QStringLiteral("c"));
    QCOMPARE(rows.rows, QStringList({"a", "c", "d"}));
}

void AnimationsTest::fileFace()
{
    QTemporaryDir directory;
    const QString name = directory.filePath(QStringLiteral("a.tiny"));
    Tiny::File file(QStringLiteral("anim a\n"));
    ProjectFile *face = file.list;
    QCOMPARE(face->capabilities(), 0u);
    QVERIFY(face->canSave());
    QVERIFY(!face->isModified());
    QCOMPARE(face->model(), file.document->model());
    QCOMPARE(face->messages(), static_cast<ProjectFile *>(file.document)->messages());
    QVERIFY(!face->project());
    file.list->add(QStringLiteral("b"));
    QVERIFY(face->isModified());
    QVERIFY(face->toFile(FileSystemArchive::instance(), name, false));
    QCOMPARE(face->fileName(), name);
    QVERIFY(!face->isModified());
    QCOMPARE(&face->archive(), &static_cast<ProjectFile *>(file.document)->archive());

    const auto hits = face->search(QRegularExpression(QStringLiteral("anim (.)")));
    QCOMPARE(hits.size(), 2);
    face->replace(hits, QStringLiteral("anim z"));
    QCOMPARE(identifiers(file), QStringList({"z", "z"}));
    face->undo();
    QCOMPARE(identifiers(file), QStringList({"a", "b"}));
    face->redo();
    face->setOption(QStringLiteral("key"), 5, false, false);
    QCOMPARE(file.document->option(QStringLiteral("key")).toInt(), 5);
    QCOMPARE(face->option(QStringLiteral("key")).toInt(), 5);
    QVERIFY(face->fromFile(FileSystemArchive::instance(), name, false));
    QCOMPARE(identifiers(file), QStringList({"a", "b"}));
    face->reset();
    QVERIFY(face->isEmpty());
    QCOMPARE(file.list->rowCount(), 0);

    // An engine's document may have its own answer.
    struct Asked : Tiny::Document {
        using Tiny::Document::Document;
        Project *project() const override
        {
            ++count;
            return Tiny::Document::project();
        }
        mutable int count = 0;
    };
    auto *const asked = new Asked(&file.parser);
    QVERIFY(!(new Tiny::Animations(asked))->project());
    QCOMPARE(asked->count, 1);
    asked->release();
}

void AnimationsTest::listSignals()
{
    Tiny::File file(fileOf({"a", "b"}));
    QSignalSpy changed(file.list, &OrganizableObject::changed);
    QSignalSpy modified(file.list, &OrganizableObject::modified);
    QSignalSpy data(file.list, &QAbstractItemModel::dataChanged);
    file.list->at(1)->setName(QStringLiteral("c"));
    QCOMPARE(data.count(), 1);
    QCOMPARE(data.at(0).at(0).toModelIndex().row(), 1);
    QCOMPARE(modified.count(), 1);
    QCOMPARE(changed, QList<QVariantList>{{true}});
    file.list->undo();
    QCOMPARE(changed.count(), 2);
    QCOMPARE(changed.last(), QVariantList{false});
}

/// A move over the whole file parses what it moves, not what lies between; also within a bracket.
void AnimationsTest::movesParseLittle()
{
    QStringList names;
    for (int i = 0; i < 300; ++i)
        names << QString::number(i);
    for (const bool bracketed : {false, true}) {
        Tiny::File file(fileOf(names));
        file.parser.calls = 0;
        if (bracketed)
            file.list->beginChange();
        file.list->move(299, 0);
        if (bracketed)
            file.list->endChange();
        QVERIFY2(file.parser.calls < 40, qPrintable(QString::number(file.parser.calls)));
        QCOMPARE(difference(file), QString());
    }
    // And a move costs no more lines when a long list is sorted than when a short one is.
    qreal shortest = 0;
    QRandomGenerator random(4);
    for (const int count : {75, 300}) {
        std::shuffle(names.begin(), names.end(), random);
        Tiny::File file(fileOf(names.mid(0, count)));
        QSignalSpy moves(file.list, &QAbstractItemModel::rowsMoved);
        file.parser.calls = 0;
        file.list->autoOrganize();
        QVERIFY(moves.count() > count / 2);
        const qreal perMove = qreal(file.parser.calls) / moves.count();
        shortest = shortest > 0 ? shortest : perMove;
        QVERIFY2(perMove < 1.1 * shortest,
                 qPrintable(QStringLiteral("%1 against %2").arg(perMove).arg(shortest)));
    }
}

void AnimationsTest::randomEdits_data()
{
    QTest::addColumn<int>("seed");
    for (int seed = 1; seed <= 8; ++seed)
        QTest::addRow("seed %d", seed) << seed;
}

/// All operations of the list mixed with typed lines, groups among them, and with undo and redo.
void AnimationsTest::randomEdits()
{
    QFETCH(int, seed);
    QRandomGenerator random(static_cast<quint32>(seed));
    Tiny::File file(fileOf({"1", "2", "x"}));
    QAbstractItemModelTester tree(file.document->model(),
                                  QAbstractItemModelTester::FailureReportingMode::QtTest);
    QAbstractItemModelTester list(file.list,
                                  QAbstractItemModelTester::FailureReportingMode::QtTest);
    const QStringList words{"anim %1", "frame %1", "group %1", "value %1", "; %1", "", "junk"};
    const auto name = [&] { return QString::number(random.bounded(9)); };
    const CachedRows rows(file.list);
    // A group hands its values only to the group next above it, so each has a number of its own.
    int groups = 0;
    const auto word = [&] {
        const QString form = words.at(random.bounded(words.size()));
        const int number = form.startsWith("group") ? ++groups : 1 + random.bounded(3);
        return form.contains('%') ? form.arg(number) : form;
    };
    for (int step = 0; step < 250; ++step) {
        const unsigned int count = file.list->count();
        const unsigned int row = count ? random.bounded(count) : 0;
        const int line = random.bounded(file.document->blockCount());
        AnimationCode *animation = file.list->at(row);
        const bool bracketed = random.bounded(4) == 0;
        const int action = random.bounded(12);
        if (bracketed)
            file.list->beginChange();
        if (action == 0)
            file.list->add(name());
        else if (action == 1)
            file.list->insert(row, name());
        else if (action == 2)
            file.list->remove(row);
        else if (action == 3)
            file.list->duplicate(row, random.bounded(2) ? name() : QString());
        else if (action == 4 && count)
            file.list->move(row, random.bounded(count));
        else if (action == 5 && animation)
            animation->setCode(random.bounded(2) ? QString(animation->code())
                                                 : word() + "\n" + word());
        else if (action == 6 && animation && animation->frameCount())
            animation->frameAt(0)->setProperty(QStringLiteral("Identifier"), name());
        else if (action == 7 && random.bounded(3) == 0)
            file.list->autoOrganize();
        else if (action == 8 && !bracketed)
            file.list->undo();
        else if (action == 9 && !bracketed)
            file.list->redo();
        else if (action == 10)
            replaceLine(file.document, line, random.bounded(4) ? word() : QString());
        else
            replaceLine(file.document, line, word() + "\n" + word());
        if (bracketed)
            file.list->endChange();
        const QString fault = difference(file);
        QCOMPARE(rows.rows, identifiers(file));
        QVERIFY2(fault.isEmpty(),
                 qPrintable(QStringLiteral("step %1, action %2").arg(step).arg(action) + fault));
        if (file.document->blockCount() > 120)
            file.document->fromString(fileOf({"1", "b"}));
    }
}

QTEST_MAIN(AnimationsTest)
#include "tst_animations.moc"
