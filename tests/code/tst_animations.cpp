#include <enginetest/modelmirror.h>
#include <enginetest/treedump.h>
#include <kilnx/project/archive.h>
#include <tests/code/plaincode.h>
#include <tests/support/modeltester.h>
#include <tests/support/rows.h>

#include <QtGui/QtGui>
#include <QtTest/QtTest>

namespace TreeDump = EngineTest::TreeDump;

using namespace Kiln;

namespace
{

/// The text with line `line` replaced by `with`; null `with` takes the line out.
void replaceLine(CodeDocument *document, int line, const QString &with)
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

/// Registers itself with its document, which destroys it.
class List : public Animations
{
public:
    explicit List(CodeDocument *document)
        : Animations(document)
    {
        document->registerDocumentEditor(this, CodeNode::Animation, 0);
    }
    QString freeIdentifier() const override { return QString::number(count()); }
    QString animationTemplate() const override { return pattern; }
    void release() override { delete this; }

    QString pattern = "anim %1\nframe new\n";
};

/// A document in which every section counts.
class Document : public Plain::Document
{
public:
    using Plain::Document::Document;
    bool groupEnabled(unsigned int) const override { return true; }
};

/// A parser, a document and its list in one, destroyed in the right order.
struct File {
    explicit File(const QString &text)
        : document(new Document(&parser))
        , list(new List(document.get()))
    {
        document->fromString(text);
    }

    QString text() const { return document->toPlainText(); }
    /// The animations of the list with their frames, as in "a(1 2) b()".
    QString animations() const
    {
        QStringList texts;
        for (AnimationCode *animation : list->animations()) {
            QStringList frames;
            for (FrameCode *frame : animation->frames())
                frames << frame->identifier();
            texts << QString("%1(%2)").arg(animation->name(), frames.join(' '));
        }
        return texts.join(' ');
    }
    /// The animations that stand in the node list, found without the list of animations.
    QList<AnimationCode *> inText() const
    {
        QList<AnimationCode *> found;
        for (CodeNode *node = document->next(); node; node = node->next()) {
            if (node->type() == CodeNode::Animation)
                found << static_cast<AnimationCode *>(node);
        }
        return found;
    }

    Plain::Parser parser;
    Plain::DocumentPointer document;
    List *list;
};

/// What every state of a file must fulfil: the list is what stands in the text, and all of it is
/// what a fresh file with the same text has.
QString difference(const File &file)
{
    if (file.list->animations() != file.inText())
        return QString("list and text differ");
    const File fresh(file.text());
    const QString expected = TreeDump::all(*fresh.document) + TreeDump::rows(*fresh.list);
    const QString actual = TreeDump::all(*file.document) + TreeDump::rows(*file.list);
    if (actual == expected)
        return QString();
    return QString("\n%1\n-- is --\n%2\n-- should be --\n%3").arg(file.text(), actual, expected);
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

QStringList identifiers(const File &file)
{
    QStringList names;
    for (AnimationCode *animation : file.list->animations())
        names << animation->name();
    return names;
}

/// The rows of a list as somebody has them who reads them at each signal and at no other time.
struct CachedRows : EngineTest::ModelMirror {
    explicit CachedRows(QAbstractItemModel *list)
        : ModelMirror(list)
    {
        text();
        connect(list, &QAbstractItemModel::modelReset, this, &ModelMirror::text);
        connect(list, &QAbstractItemModel::rowsInserted, this, &ModelMirror::text);
        connect(list, &QAbstractItemModel::dataChanged, this, &ModelMirror::text);
    }
};

QString fileOf(const QStringList &names)
{
    QString text;
    for (const QString &name : names)
        text += QString("anim %1\nframe %1.1\n\n").arg(name);
    return text;
}

} // namespace

class AnimationsTest : public QObject
{
    Q_OBJECT

private slots:
    void adoption_data()
    {
        const auto add =
            columns<QString, int, QString, QString>("before", "line", "with", "animations");
        const QString removed;
        add("a header above frames adopts them", "?\nframe 1\nframe 2", 0, "anim a", "a(1 2)");
        add("a header amid frames takes those below", "anim a\nframe 1\n?\nframe 2\nframe 3", 2,
            "anim b", "a(1) b(2 3)");
        add("a header stops at the next one", "?\nframe 1\nanim b\nframe 2", 0, "anim a",
            "a(1) b(2)");
        add("a header stops at a group", "?\nframe 1\n[g:1]\nframe 2", 0, "anim a", "a(1)");
        add("frames go back in their order",
            "anim a\nframe 1\nanim b\nframe 2\nframe 3\nanim c\nframe 4", 2, "?", "a(1 2 3) c(4)");
        add("frames of the first header stay alone", "anim a\nframe 1\nanim b\nframe 2", 0, "?",
            "b(2)");
        add("no way back past a group", "anim a\n[g:1]\nanim b\nframe 2", 2, "?", "a()");
        add("a removed header line", "anim a\nframe 1\nanim b\nframe 2", 2, removed, "a(1 2)");
        add("a header becomes another", "anim a\nframe 1", 0, "anim b", "b(1)");
        add("a header becomes a group", "anim a\nframe 1\nanim b\nframe 2", 2, "[g:1]", "a(1)");
        add("a group becomes a header", "anim a\nframe 1\n[g:2]\nframe 2", 2, "anim b",
            "a(1) b(2)");
        add("a group takes the frames away", "anim a\nframe 1\n?\nframe 2", 2, "[g:7]", "a(1)");
        add("a group that goes gives them back", "anim a\nframe 1\n[g:7]\nframe 2", 2, "?",
            "a(1 2)");
        add("a group of the same state that goes", "anim a\n[g:7]\nv\n[g:7]\nframe 2", 3, "?",
            "a()");
        add("a group that goes, with another above the animation",
            "[g:7]\nanim a\nframe 1\n[g:7]\n?\nframe 2", 3, "v", "a(1 2)");
        add("values do not reach past an animation", "[g:1]\nanim a\n?\nframe 1\nv", 2,
            "[g:2]\nanim b", "a() b(1)");
        add("a frame in the middle", "anim a\nframe 1\n?\nframe 2", 2, "frame n", "a(1 n 2)");
        add("a frame changes in place", "anim a\nframe 1\nframe 2", 1, "frame n", "a(n 2)");
        add("a frame without a header", "?\nframe 1\nanim a", 0, "frame n", "a()");
        add("two headers with one identifier", "anim a\nframe 1\n?\nframe 2", 2, "anim a",
            "a(1) a(2)");
    }

    void adoption()
    {
        const auto [before, line, with] = row<QString, int, QString>();
        File file(before);
        const ModelTester tree(file.document->model());
        const ModelTester list(file.list);
        const QString start = file.animations();
        replaceLine(file.document.get(), line, with);
        QTEST(file.animations(), "animations");
        QCOMPARE(difference(file), QString());
        file.list->undo();
        QCOMPARE(file.animations(), start);
        QCOMPARE(difference(file), QString());
    }

    void extent_data()
    {
        const auto add = columns<QString, QString>("text", "extents");
        add("an animation ends before the next", "anim a\nframe 1\n\nanim b\nframe 2",
            "0-2[1-1] 3-5[4-4]");
        add("a comment between two frames belongs to the later", "anim a\nframe 1\n; x\n\nframe 2",
            "0-5[1-1 2-4]");
        add("a comment above the first frame", "anim a\n; x\nframe 1", "0-3[1-2]");
        add("a comment above a header ends the animation before", "anim a\nframe 1\n\n; b\nanim b",
            "0-2[1-1] 3-5[]");
        add("a group ends an animation", "anim a\nframe 1\n[g:1]\nv\nanim b", "0-1[1-1] 4-5[]");
    }

    void extent()
    {
        QFETCH(QString, text);
        const File file(text);
        QStringList extents;
        for (AnimationCode *animation : file.list->animations()) {
            QStringList frames;
            for (FrameCode *frame : animation->frames()) {
                QCOMPARE(animation->indexOfFrame(frame), frame->index());
                frames << QString("%1-%2").arg(frame->firstLine()).arg(frame->lastLine());
            }
            extents << QString::asprintf("%d-%d", animation->firstLine(), animation->lastLine()) +
                           '[' + frames.join(' ') + ']';
        }
        QTEST(extents.join(' '), "extents");
    }

    void boxesByType()
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
        File file(QString("anim a"));
        auto *frame = new Plain::Frame(file.list->at(0), &attack, &collision);
        QCOMPARE(frame->contactBoxes(ContactBoxCode::Attack), &attack);
        QCOMPARE(frame->contactBoxes(ContactBoxCode::Collision), &collision);
        QCOMPARE(frame->contactBoxes(ContactBoxCode::BoxType(7)), &attack);
        QCOMPARE(frame->contactBoxes(ContactBoxCode::BoxType(8)), &collision);
        QCOMPARE(int(frame->childCount()), 0);
        QCOMPARE(attack.indexOf(nullptr), -1);
        frame->release();
    }

    void code()
    {
        File file(QString("anim a\nframe 1\n\n\n\nanim b\nframe 2"));
        AnimationCode *first = file.list->at(0);
        QCOMPARE(first->code(), QString("anim a\u2029frame 1"));
        first->setCode(QString("  \nanim c\nframe 3\n\n"));
        QCOMPARE(file.text(), QString("anim c\nframe 3\n\nanim b\nframe 2"));
        file.list->at(1)->setCode(file.list->at(0)->code());
        QCOMPARE(file.text(), QString("anim c\nframe 3\n\nanim c\nframe 3\n\n"));
        file.list->at(0)->setCode(QString("frame 5"));
        QCOMPARE(file.animations(), QString("c(3)"));
        QCOMPARE(difference(file), QString());
    }

    void removeFrame()
    {
        File file(QString("anim a\nframe 1\n; two\nframe 2\nframe 3\n"));
        AnimationCode *animation = file.list->at(0);
        animation->setSelectedFrame(2);
        QCOMPARE(animation->selectedFrame(), 2u);
        animation->removeFrame(3);
        animation->removeFrame(1);
        QCOMPARE(file.text(), QString("anim a\nframe 1\nframe 3\n"));
        QCOMPARE(file.list->at(0), animation);
        QCOMPARE(difference(file), QString());
    }

    /// Indexes out of range and nodes of other files do nothing.
    void strangers()
    {
        const QString text = fileOf({"a", "b"});
        File file(text);
        File other(text);
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
        QCOMPARE(file.list->at(0)->propertyNames(),
                 QStringList({"DisplayName", "Name", "Identifier"}));
        QCOMPARE(
            file.list->at(0)->frameAt(0)->propertyNames(),
            QStringList({"Identifier", "Offset", "Delay", "Scale", "Angle", "Flip", "LoopPoint"}));
    }

    /// A view may ask for the text of a row as soon as it is announced, before the engine's part of
    /// the node is there.
    void framesWhileTheyAreMade()
    {
        File file(QString("anim a"));
        QAbstractItemModel *tree = file.document->model();
        QStringList seen;
        connect(tree, &QAbstractItemModel::rowsInserted, this,
                [&](const QModelIndex &parent, int first, int) {
                    seen << tree->index(first, 0, parent).data().toString();
                });
        file.document->insert(QString("\nframe x"));
        QCOMPARE(seen, QStringList{"Frame 1"});
        QCOMPARE(tree->index(0, 0, tree->index(0, 0)).data().toString(), QString("Frame - x"));

        // A frame without a name is shown by its number, which a frame above changes.
        file.document->insert(QString("\nframe"));
        connect(
            tree, &QAbstractItemModel::dataChanged, this,
            [&](const QModelIndex &, const QModelIndex &last) { seen << last.data().toString(); });
        replaceLine(file.document.get(), 1, QString("frame w\nframe x"));
        QVERIFY(seen.contains(QString("Frame 3")));
        seen.clear();
        replaceLine(file.document.get(), 1, QString());
        QVERIFY(seen.contains(QString("Frame 2")));
    }

    void moveEverywhere_data()
    {
        const auto add = columns<QString>("text");
        add("blank lines", fileOf({"a", "b", "c", "d"}));
        add("no line end at the end", "anim a\nframe 1\nanim b\nframe 2\nanim c\nanim d\nframe 4");
        add("comments of headers",
            "; a\nanim a\nframe 1\n\n; b 1\n; b 2\nanim b\n; c\nanim c\nframe 3\n\nanim d\n\n");
        add("groups around", "[g:1]\nv\nanim a\nframe 1\nanim b\nframe 2\nanim c\nanim "
                             "d\n[g:2]\nw\n");
    }

    /// Every move there is: the order of list and text, the rows that views keep, and one step of
    /// undo.
    void moveEverywhere()
    {
        QFETCH(QString, text);
        for (int from = 0; from < 4; ++from) {
            for (int to = 0; to < 4; ++to) {
                File file(text);
                const ModelTester checker(file.list);
                CachedRows rows(file.list);
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
                QCOMPARE(rows.fault(), QString());
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

    /// Without "parseCode" lines that are edited in a bracket are parsed when it closes. The list
    /// does not wait for that: the rows of each operation are those that the last one left.
    void bracketsWithoutParsing()
    {
        const QString text = fileOf({"a", "b", "c"});
        File file(text);
        file.document->setOption(QString("parseCode"), false, false, false);
        const ModelTester checker(file.list);
        file.list->move(0, 2);
        const QString moved = file.text();
        file.list->beginChange();
        file.document->catchUp();
        QCOMPARE(file.list->add(QString("z"))->name(), QString("z"));
        file.list->move(0, 3);
        file.list->move(0, 1);
        QCOMPARE(identifiers(file), QStringList({"a", "c", "z", "b"}));
        file.list->beginChange();
        QCOMPARE(file.list->insert(1, QString("y"))->name(), QString("y"));
        file.list->duplicate(4, QString("x"));
        file.list->remove(5);
        file.list->at(4)->removeFrame(0);
        file.list->at(0)->setCode(QString("anim q\nframe 1\nframe 2"));
        QCOMPARE(file.animations(), QString("q(1 2) y(new) c(c.1) z(new) b()"));
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

    void insert_data()
    {
        const auto add =
            columns<QString, int, QString>("before", "index", "after"); // an index of -1 adds
        add("added to an empty file", "", -1, "anim n\nframe new\n");
        add("added behind a line end", "anim a\n\n", -1, "anim a\n\nanim n\nframe new\n");
        add("added behind an open line", "anim a\nframe 1", -1,
            "anim a\nframe 1\nanim n\nframe new\n");
        add("at the start of the text", "anim a\nframe 1\n", 0,
            "anim n\nframe new\n\nanim a\nframe 1\n");
        add("between", "anim a\nframe 1\nanim b", 1,
            "anim a\nframe 1\nanim n\nframe new\n\nanim b");
        add("before the comments of the next", "anim a\nframe 1\n\n; of b\n; too\nanim b", 1,
            "anim a\nframe 1\n\nanim n\nframe new\n\n; of b\n; too\nanim b");
        add("past the end", "anim a\n", 7, "anim a\nanim n\nframe new\n");
    }

    void insert()
    {
        const auto [before, index] = row<QString, int>();
        for (const bool bracketed : {false, true}) {
            File file(before);
            QList<AnimationCode *> nodes = file.list->animations();
            CachedRows rows(file.list);
            QSignalSpy inserted(file.list, &QAbstractItemModel::rowsInserted);
            if (bracketed)
                file.list->beginChange();
            AnimationCode *added = index < 0 ? file.list->add(QString("n"))
                                             : file.list->insert(unsigned(index), QString("n"));
            if (bracketed)
                file.list->endChange();
            QVERIFY(added);
            QCOMPARE(added->name(), QString("n"));
            QTEST(file.text(), "after");
            const int row = index < 0 ? nodes.size() : qMin(index, nodes.size());
            nodes.insert(row, added);
            QCOMPARE(file.list->animations(), nodes);
            QCOMPARE(inserted.count(), 1);
            QCOMPARE(inserted.at(0).at(1).toInt(), row);
            QCOMPARE(rows.fault(), QString());
            QCOMPARE(difference(file), QString());
            file.list->undo();
            QCOMPARE(rows.fault(), QString());
            QCOMPARE(difference(file), QString());
        }
    }

    void duplicate_data()
    {
        const auto add =
            columns<QString, int, QString, QString>("before", "index", "identifier", "after");
        add("unchanged", "anim a\nframe 1\n\nanim b\n", 0, "",
            "anim a\nframe 1\n\nanim a\nframe 1\n\nanim b\n");
        add("renamed", "anim a\nframe 1\n\nanim b\n", 0, "n",
            "anim a\nframe 1\n\nanim n\nframe 1\n\nanim b\n");
        add("renamed everywhere, in capitals or not", "; like Anim A\nanim a\nframe 1\n", 0, "n",
            "; like Anim A\nanim a\nframe 1\n; like anim n\nanim n\nframe 1\n");
        add("a longer identifier is another", "; like anim 10\nanim 1\n", 0, "n\\1",
            "; like anim 10\nanim 1\n; like anim 10\nanim n\\1\n");
        add("the last one", "anim a\n\nanim b\nframe 2\n", 1, "n",
            "anim a\n\nanim b\nframe 2\nanim n\nframe 2\n");
        add("the last one without a line end", "anim a\nframe 1", 0, "n",
            "anim a\nframe 1\nanim n\nframe 1");
        add("before the comments of the next", "anim a\nframe 1\n; of b\nanim b", 0, "",
            "anim a\nframe 1\nanim a\nframe 1\n; of b\nanim b");
        add("past a group", "anim a\nframe 1\n[g:1]\nanim b", 0, "",
            "anim a\nframe 1\n[g:1]\nanim a\nframe 1\nanim b");
    }

    void duplicate()
    {
        const auto [before, index, identifier] = row<QString, int, QString>();
        File file(before);
        const QList<AnimationCode *> nodes = file.list->animations();
        file.list->duplicate(unsigned(index), identifier);
        QTEST(file.text(), "after");
        QCOMPARE(difference(file), QString());
        for (AnimationCode *node : nodes)
            QVERIFY(file.list->animations().contains(node));
        file.list->undo();
        QCOMPARE(file.text(), before);
    }

    /// A template that makes no animation, one without a place for the identifier, and one with
    /// two.
    void templates()
    {
        File file(QString{});
        file.list->pattern = QString("frame %1\n");
        QCOMPARE(file.list->add(QString("n")), nullptr);
        QCOMPARE(file.list->insert(3, QString("n")), nullptr);
        file.document->fromString(QString("anim a\n\nanim b\n"));
        QCOMPARE(file.list->add(QString("n")), file.list->at(1));
        QCOMPARE(file.list->insert(1, QString("n")), file.list->at(1));
        QCOMPARE(file.animations(), QString("a(n) b(n)"));
        file.list->pattern = QString();
        file.list->duplicate(0, QString("n"));
        QCOMPARE(file.animations(), QString("a(n) a(n) b(n)"));
        file.list->pattern = QString("anim %1\n\nframe %1.1\n");
        file.list->add(QString("c"));
        file.list->duplicate(3, QString("d"));
        QCOMPARE(file.animations(), QString("a(n) a(n) b(n) c(c.1) d(d.1)"));
        QCOMPARE(difference(file), QString());
    }

    void organize_data()
    {
        const auto add = columns<QStringList, QStringList>("before", "after");
        add("numbers and names apart", {"10", "2", "b", "A"}, {"2", "10", "A", "b"});
        add("mixed", {"b", "10", "A", "2"}, {"A", "b", "2", "10"});
        add("equal ones stay", {"b", "B", "a", "02", "2", "1"}, {"a", "b", "B", "1", "02", "2"});
        add("negative and nearly numbers", {"3", "-1", "0x2", "1.5"}, {"-1", "3", "0x2", "1.5"});
        add("one", {"5"}, {"5"});
        QRandomGenerator random(3);
        const QStringList pool{"0", "1", "2", "3",   "11",    "-4", "a",
                               "A", "b", "B", "run", "Run 2", "é"};
        for (int round = 0; round < 150; ++round) {
            QStringList names;
            for (int i = random.bounded(14); i > 0; --i)
                names << pool.at(random.bounded(pool.size()));
            QTest::addRow("any, %d", round) << names << organized(names);
        }
    }

    void organize()
    {
        QFETCH(QStringList, before);
        File file(fileOf(before));
        const ModelTester checker(file.list);
        const QString text = file.text();
        file.list->autoOrganize();
        QTEST(identifiers(file), "after");
        QCOMPARE(difference(file), QString());
        if (file.text() != text)
            file.list->undo();
        QCOMPARE(file.text(), text);
    }

    void find()
    {
        const File file(fileOf({"7", "run", "7", "Run"}));
        QCOMPARE(file.list->find(0, 7), 0);
        QCOMPARE(file.list->find(1, QString("7")), 2);
        QCOMPARE(file.list->find(0, QString("Run")), 3);
        QCOMPARE(file.list->find(3, QString("7")), -1);
        QCOMPARE(file.list->find(4, QString("7")), -1);
        QCOMPARE(file.list->find(0, QVariant()), -1);
    }

    void dataDuringChange()
    {
        File file(fileOf({"a", "b"}));
        CachedRows rows(file.list);
        QCOMPARE(file.list->index(1).data().toString(), QString("b"));
        file.list->beginChange();
        QVERIFY(!file.list->index(1).data().isValid());
        file.list->at(1)->setProperty(QString("Identifier"), QString("c"));
        QCOMPARE(file.list->at(1)->name(), QString("c"));
        file.document->insert(QString("anim d"));
        file.list->endChange();
        QCOMPARE(file.list->index(1).data().toString(), QString("c"));
        QCOMPARE(rows.text(), QString("a\nc\nd\n"));
    }

    void fileFace()
    {
        QTemporaryDir directory;
        const QString name = directory.filePath(QString("a.plain"));
        File file(QString("anim a\n"));
        ProjectFile *face = file.list;
        QCOMPARE(face->capabilities(), 0u);
        QVERIFY(face->canSave());
        QVERIFY(!face->isModified());
        QCOMPARE(face->model(), file.document->model());
        QCOMPARE(face->messages(), static_cast<ProjectFile *>(file.document.get())->messages());
        QVERIFY(!face->project());
        file.list->add(QString("b"));
        QVERIFY(face->isModified());
        QVERIFY(face->toFile(FileSystemArchive::instance(), name, false));
        QCOMPARE(face->fileName(), name);
        QVERIFY(!face->isModified());
        QCOMPARE(&face->archive(), &static_cast<ProjectFile *>(file.document.get())->archive());

        const auto hits = face->search(QRegularExpression(QString("anim (.)")));
        QCOMPARE(hits.size(), 2);
        face->replace(hits, QString("anim z"));
        QCOMPARE(identifiers(file), QStringList({"z", "z"}));
        face->undo();
        QCOMPARE(identifiers(file), QStringList({"a", "b"}));
        face->redo();
        face->setOption(QString("key"), 5, false, false);
        QCOMPARE(file.document->option(QString("key")).toInt(), 5);
        QCOMPARE(face->option(QString("key")).toInt(), 5);
        QVERIFY(face->fromFile(FileSystemArchive::instance(), name, false));
        QCOMPARE(identifiers(file), QStringList({"a", "b"}));
        face->reset();
        QVERIFY(face->isEmpty());
        QCOMPARE(file.list->rowCount(), 0);

        // An engine's document may have its own answer.
        struct Asked : Plain::Document {
            using Plain::Document::Document;
            Project *project() const override
            {
                ++count;
                return Plain::Document::project();
            }
            mutable int count = 0;
        };
        auto *const asked = new Asked(&file.parser);
        QVERIFY(!(new List(asked))->project());
        QCOMPARE(asked->count, 1);
        asked->release();
    }

    void listSignals()
    {
        File file(fileOf({"a", "b"}));
        QSignalSpy changed(file.list, &OrganizableObject::changed);
        QSignalSpy modified(file.list, &OrganizableObject::modified);
        QSignalSpy data(file.list, &QAbstractItemModel::dataChanged);
        file.list->at(1)->setName(QString("c"));
        QCOMPARE(data.count(), 1);
        QCOMPARE(data.at(0).at(0).toModelIndex().row(), 1);
        QCOMPARE(modified.count(), 1);
        QCOMPARE(changed, QList<QVariantList>{{true}});
        file.list->undo();
        QCOMPARE(changed.count(), 2);
        QCOMPARE(changed.last(), QVariantList{false});
    }

    /// A move over the whole file parses what it moves, not what lies between; also within a
    /// bracket.
    void movesParseLittle()
    {
        QStringList names;
        for (int i = 0; i < 300; ++i)
            names << QString::number(i);
        for (const bool bracketed : {false, true}) {
            File file(fileOf(names));
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
            File file(fileOf(names.mid(0, count)));
            QSignalSpy moves(file.list, &QAbstractItemModel::rowsMoved);
            file.parser.calls = 0;
            file.list->autoOrganize();
            QVERIFY(moves.count() > count / 2);
            const qreal perMove = qreal(file.parser.calls) / moves.count();
            shortest = shortest > 0 ? shortest : perMove;
            QVERIFY2(perMove < 1.1 * shortest,
                     qPrintable(QString("%1 against %2").arg(perMove).arg(shortest)));
        }
    }

    void randomEdits_data()
    {
        columns<int>("seed");
        for (int seed = 1; seed <= 8; ++seed)
            QTest::addRow("seed %d", seed) << seed;
    }

    /// All operations of the list mixed with typed lines, groups among them, and with undo and
    /// redo.
    void randomEdits()
    {
        QFETCH(int, seed);
        QRandomGenerator random(static_cast<quint32>(seed));
        File file(fileOf({"1", "2", "x"}));
        const ModelTester tree(file.document->model());
        const ModelTester list(file.list);
        const QStringList words{"anim %1", "frame %1", "[g:%1]", "v%1", "; %1", "", "? junk"};
        const auto name = [&] { return QString::number(random.bounded(9)); };
        CachedRows rows(file.list);
        // A group hands its values only to the group next above it, so each has a number of its
        // own.
        int groups = 0;
        const auto word = [&] {
            const QString form = words.at(random.bounded(words.size()));
            const int number = form.startsWith("[") ? ++groups : 1 + random.bounded(3);
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
                animation->frameAt(0)->setProperty(QString("Identifier"), name());
            else if (action == 7 && random.bounded(3) == 0)
                file.list->autoOrganize();
            else if (action == 8 && !bracketed)
                file.list->undo();
            else if (action == 9 && !bracketed)
                file.list->redo();
            else if (action == 10)
                replaceLine(file.document.get(), line, random.bounded(4) ? word() : QString());
            else
                replaceLine(file.document.get(), line, word() + "\n" + word());
            if (bracketed)
                file.list->endChange();
            const QString fault = difference(file) + rows.fault();
            QVERIFY2(fault.isEmpty(),
                     qPrintable(QString("step %1, action %2").arg(step).arg(action) + fault));
            if (file.document->blockCount() > 120)
                file.document->fromString(fileOf({"1", "b"}));
        }
    }
};

QTEST_MAIN(AnimationsTest)
#include "tst_animations.moc"
