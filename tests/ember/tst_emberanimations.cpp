#include <ember/animationnodes.h>
#include <ember/emberanimations.h>
#include <ember/emberdocument.h>
#include <ember/emberparentproject.h>

#include <enginetest/freshdocument.h>
#include <kilnx/code/messages.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/archive.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtGui/QtGui>
#include <QtTest/QtTest>

#include <functional>
#include <memory>

using namespace Kiln;
using EmberAnimationText::Line;

namespace
{

using Document = std::unique_ptr<EmberDocument, Release>;

Document fileOf(const QString &text)
{
    Document document(new EmberDocument(EmberDocument::Animations));
    document->fromString(text);
    return document;
}

QString difference(EmberDocument &document)
{
    return EngineTest::difference(document,
                                  [] { return new EmberDocument(EmberDocument::Animations); });
}

QStringList messages(const EmberDocument *document)
{
    const Messages *list = static_cast<const ProjectFile *>(document)->messages();
    QStringList texts;
    for (unsigned int i = 0; i < list->count(Message::All); ++i) {
        const Message message = list->at(i, Message::All);
        texts << QString("%1: %2").arg(message.line + 1).arg(message.text);
    }
    return texts;
}

FrameCode *firstFrame(const Document &document)
{
    return document->animations()->at(0)->frameAt(0);
}

const char *const walk = "; He walks.\n"
                         "@animation walk, title Walking\n"
                         "    body: -10, -60, 10, 0\n"
                         "    frame: w1, at 2 0, for 6 ; left\n"
                         "    strike: 4, -50, 20, -40\n"
                         "    frame: w2\n";

} // namespace

/// Ember's animation files: their language, their setters, and the list under random edits.

class EmberAnimationsTest : public QObject
{
    Q_OBJECT

private slots:
    void values_data()
    {
        const auto add = columns<QString, QString>("line", "values");
        add("nothing but a sprite", "frame: w1", "w1 0,0 1 1,1 0 0 -");
        add("all of it", "frame: w 1, at -2 3, for 6, flip hv, scale 2 0.5, angle -45, loop",
            "w 1 -2,3 6 2,0.5 -45 3 loop");
        add("one factor for both", "frame: w, scale 1.5", "w 0,0 1 1.5,1.5 0 0 -");
        add("for ever", "frame: w, for ever", "w 0,0 -1 1,1 0 0 -");
        add("no sprite, blanks", "  frame :  ,  for   9 ,flip  v;x", " 0,0 9 1,1 0 1 -");
        add("the first counts", "frame: w, for 2, for 3", "w 0,0 2 1,1 0 0 -");
        add("unreadable ones are as if not there",
            "frame: w, at 1, for -1, scale x, angle 1 2, flip z, loop 1, opacity 1.5",
            "w 0,0 1 1,1 0 0 -");
        add("an opacity", "frame: w, opacity 0.25", "w 0,0 1 1,1 0 0 - 0.25");
        add("no finite numbers", "frame: w, scale nan, angle inf", "w 0,0 1 1,1 0 0 -");
    }

    void values()
    {
        QFETCH(QString, line);
        const Document document = fileOf(QString("@animation a\n") + line);
        FrameCode *frame = firstFrame(document);
        QVERIFY(frame);
        const double opacity = frame->property("Opacity").toDouble();
        const QString values = QString("%1 %2,%3 %4 %5,%6 %7 %8 %9")
                                   .arg(frame->identifier())
                                   .arg(frame->offset().x())
                                   .arg(frame->offset().y())
                                   .arg(frame->delay())
                                   .arg(frame->scale().x())
                                   .arg(frame->scale().y())
                                   .arg(frame->angle())
                                   .arg(frame->flip())
                                   .arg(frame->isLoopPoint() ? "loop" : "-");
        QTEST(opacity == 1 ? values : values + QString(" %1").arg(opacity), "values");
    }

    void setters_data()
    {
        const auto add =
            columns<QString, QString, QVariant, QString>("line", "property", "value", "after");
        const QString full = QString("    frame: w, at 1 2, for 3, odd ; note");
        add("in its place, the comment stays", full, "Offset", QPoint(-4, 5),
            "    frame: w, at -4 5, for 3, odd ; note");
        add("behind the others", full, "Angle", 22.5,
            "    frame: w, at 1 2, for 3, odd, angle 22.5 ; note");
        add("what holds anyway goes", full, "Delay", 1, "    frame: w, at 1 2, odd ; note");
        add("for ever", full, "Delay", -9, "    frame: w, at 1 2, for ever, odd ; note");
        add("the value that it has", full, "Offset", QPoint(1, 2), full);
        add("a sprite", full, "Identifier", "x,y;z", "    frame: x y z, at 1 2, for 3, odd ; note");
        add("a sprite where none was", "frame:", "Identifier", "w", "frame: w");
        add("flip", "frame: w", "Flip", 2, "frame: w, flip h");
        add("scale, equal factors", "frame: w, scale 1 2", "Scale", QPointF(2, 2),
            "frame: w, scale 2");
        add("an unreadable clause is replaced", "frame: w, at x", "Offset", QPoint(1, 1),
            "frame: w, at 1 1");
        add("an unknown property", full, "Colour", 1, full);
        add("a doubled clause is set", "frame: w, for 5, flip h, for 3,for 5 ; x", "Delay", 7,
            "frame: w, for 7, flip h ; x");
        add("a doubled clause goes", "frame: w, for 5, flip h, for 3", "Delay", 1,
            "frame: w, flip h");
        add("a doubled mark goes", "frame: w, loop, loop, at 1 1", "LoopPoint", false,
            "frame: w, at 1 1");
        add("a doubled clause of a header", "@animation b, once, layer 2, once", "Once", false,
            "@animation b, layer 2");
        add("a number as a name", full, "Identifier", 7, "    frame: 7, at 1 2, for 3, odd ; note");
        add("a number as text", "frame: w", "Angle", "4.5", "frame: w, angle 4.5");
        add("an opacity", "frame: w", "Opacity", 0.25, "frame: w, opacity 0.25");
        add("as far as it goes", "frame: w, opacity 0.5", "Opacity", -2, "frame: w, opacity 0");
        add("opaque anyway", "frame: w, opacity 0.5", "Opacity", 7, "frame: w");
        const QVariant wrong[] = {QVariant(),
                                  "soon",
                                  2.5,
                                  1e99,
                                  qInf(),
                                  qQNaN(),
                                  QPointF(1e99, 0),
                                  QVariant::fromValue<void *>(nullptr),
                                  QVariantList{1, 2},
                                  true};
        const QVector<QPair<QString, QVector<int>>> kinds{
            {"Offset", {0, 1, 2, 3, 4, 5, 6, 7, 8}},
            {"Delay", {0, 1, 2, 3, 4, 5, 6, 7, 8}},
            {"Scale", {0, 1, 2, 4, 5, 7, 8}},
            {"Angle", {0, 1, 4, 5, 6, 7, 8}},
            {"Opacity", {0, 1, 4, 5, 6, 7, 8}},
            {"Flip", {0, 1, 2, 3, 4, 5, 6, 7, 8}},
            {"LoopPoint", {0, 1, 2, 3, 4, 5, 6, 7, 8}},
            {"Identifier", {0, 2, 6, 7, 8, 9}},
            {"Title", {0, 2, 6, 7, 8, 9}},
            {"Name", {0, 2, 6, 7, 8, 9}},
            {"Layer", {0, 1, 2, 3, 4, 5, 6, 7, 8}},
            {"Once", {0, 1, 2, 3, 4, 5, 6, 7, 8}}};
        for (const auto &kind : kinds) {
            for (const int index : kind.second) {
                for (const QString &line :
                     {full + ", loop", QString("@animation b, title T, once")})
                    QTest::addRow("refused by a %s: %s %d",
                                  line.startsWith('@') ? "header" : "frame", qPrintable(kind.first),
                                  index)
                        << line << kind.first << wrong[index] << line;
            }
        }
    }

    void setters()
    {
        auto [line, property, value] = row<QString, QString, QVariant>();
        const bool isHeader = line.startsWith('@');
        const Document document = fileOf(QString("@animation a\n") + line);
        AnimationCode *animation = document->animations()->at(isHeader ? 1 : 0);
        FrameCode *frame = animation->frameAt(0);
        PropertyItem *item = animation;
        if (!isHeader)
            item = frame;
        item->setProperty(property, value);
        QTEST(document->findBlockByNumber(1).text(), "after");
        QCOMPARE(animation->frameAt(0), frame);
        QCOMPARE(difference(*document), QString());
    }

    void badValues()
    {
        const Document document = fileOf(walk);
        FrameCode *frame = firstFrame(document);
        frame->setScale({qInf(), 1});
        frame->setAngle(qQNaN());
        frame->setScale({1.0 / 3, 1});
        frame->setScale({1.0 / 3, 1});
        QVERIFY(qAbs(frame->scale().x() - 1.0 / 3) < 1e-9);
        AnimationCode *animation = document->animations()->at(0);
        animation->setProperty("Identifier", " ,; ");
        QCOMPARE(animation->name(), "walk");
        QVERIFY(messages(document.get()).isEmpty());
        QCOMPARE(difference(*document), QString());
    }

    void boxes_data()
    {
        const auto add = columns<bool>("parsesInBrackets");
        add("in brackets too", true);
        add("after brackets", false);
    }

    void boxes()
    {
        QFETCH(bool, parsesInBrackets);
        const Document document = fileOf(walk);
        document->setOption("parseCode", parsesInBrackets, false, false);
        FrameCode *frame = firstFrame(document);
        FrameCode *second = document->animations()->at(0)->frameAt(1);
        ContactBoxesCode *strikes = frame->attackBoxes();
        ContactBoxesCode *bodies = frame->collisionBoxes();
        QCOMPARE(strikes->count(), 0u);
        QCOMPARE(bodies->at(0)->rect(), QRect(-10, -60, 20, 60));
        QCOMPARE(second->attackBoxes()->count(), 1u);
        QCOMPARE(bodies->at(1), nullptr);

        ContactBoxCode *added = bodies->add(QRect(QPoint(5, 5), QPoint(0, 0)));
        QVERIFY(added);
        QCOMPARE(bodies->indexOf(added), 1);
        QCOMPARE(added->rect(), QRect(QPoint(5, 5), QPoint(0, 0)).normalized());
        QCOMPARE(added->boxType(), ContactBoxCode::Collision);
        added->setRect(QRect(1, 2, 3, 4));
        QCOMPARE(bodies->at(1), added);
        QCOMPARE(document->findBlockByNumber(3).text(), "    body: 1, 2, 4, 6");
        strikes->add(QRect(0, 0, 1, 1));
        QCOMPARE(document->findBlockByNumber(4).text(), "    strike: 0, 0, 1, 1");
        bodies->remove(strikes->at(0));
        bodies->remove(nullptr);
        QCOMPARE(bodies->count(), 2u);
        bodies->remove(bodies->at(0));
        QCOMPARE(bodies->rects(), QVector<QRect>{QRect(1, 2, 3, 4)});
        const QVector<QRect> three{QRect(0, 0, 2, 2), QRect(1, 1, 1, 1), QRect(2, 2, 9, 9)};
        bodies->setRects(three);
        QCOMPARE(bodies->rects(), three);
        document->beginChange();
        bodies->setRects({QRect(7, 7, 7, 7)});
        QCOMPARE(bodies->rects(), QVector<QRect>{QRect(7, 7, 7, 7)});
        QVERIFY(bodies->add(QRect(8, 8, 8, 8)));
        bodies->remove(bodies->at(0));
        frame->setDelay(9);
        frame->setDelay(6);
        document->endChange();
        QCOMPARE(bodies->rects(), QVector<QRect>{QRect(8, 8, 8, 8)});
        QCOMPARE(frame->delay(), 6);
        document->QTextDocument::undo();
        QCOMPARE(bodies->rects(), three);
        QCOMPARE(firstFrame(document), frame);
        QCOMPARE(second->attackBoxes()->count(), 1u);
        QCOMPARE(difference(*document), QString());
        const Document damaged = fileOf("@animation a\n body: 1, 2, x ; y\nframe: b");
        CodeNode *box = damaged->nodeInBlock(damaged->findBlockByNumber(1));
        static_cast<ValueCode *>(box)->setName("strike");
        QCOMPARE(damaged->findBlockByNumber(1).text(), " strike: 1, 2, x ; y");
        const Document stray = fileOf("frame: x");
        frame = static_cast<FrameCode *>(stray->nodeInBlock(stray->firstBlock()));
        QVERIFY(frame->collisionBoxes()->add(QRect(1, 1, 1, 1)));
        QVERIFY(frame->attackBoxes()->add(QRect(2, 2, 1, 1)));
        QCOMPARE(frame->collisionBoxes()->count() + frame->attackBoxes()->count(), 2u);
        QCOMPARE(stray->nodeInBlock(stray->lastBlock()), frame);
        const int most = std::numeric_limits<int>::max();
        bodies->at(0)->setRect(QRect(QPoint(most - 99, 0), QPoint(most, 0)));
        QCOMPARE(difference(*document), QString());
    }

    void loopPoint()
    {
        const Document document = fileOf(walk);
        AnimationCode *animation = document->animations()->at(0);
        animation->frameAt(0)->setLoopPoint(true);
        animation->frameAt(1)->setLoopPoint(true);
        QVERIFY(!animation->frameAt(0)->isLoopPoint());
        QVERIFY(animation->frameAt(1)->isLoopPoint());
        QVERIFY(document->toPlainText().endsWith("    frame: w2, loop\n"));
        document->QTextDocument::undo();
        QVERIFY(animation->frameAt(0)->isLoopPoint());
        QVERIFY(!animation->frameAt(1)->isLoopPoint());
        // Marks that were typed twice.
        document->insert("    frame: w3, loop");
        QCOMPARE(messages(document.get()).size(), 1);
        animation->frameAt(2)->setLoopPoint(true);
        QVERIFY(!animation->frameAt(0)->isLoopPoint());
        QCOMPARE(messages(document.get()), QStringList());
    }

    void insertFrame()
    {
        const Document document = fileOf("@animation a\n");
        AnimationCode *animation = document->animations()->at(0);
        FrameCode *frame = animation->insertFrame(5, "one");
        QVERIFY(frame);
        frame->setDelay(7);
        frame->setLoopPoint(true);
        frame->collisionBoxes()->add(QRect(0, 0, 1, 1));
        FrameCode *last = animation->insertFrame(1, "two");
        QCOMPARE(last->index(), 1);
        QCOMPARE(last->delay(), 7);
        QVERIFY(!last->isLoopPoint());
        FrameCode *middle = animation->insertFrame(0, "zero");
        QCOMPARE(middle->index(), 0);
        QCOMPARE(middle->collisionBoxes()->count(), 0u);
        QCOMPARE(frame->collisionBoxes()->count(), 1u);
        QCOMPARE(difference(*document), QString());

        // What stands above a frame is its own, and stays there.
        const Document other = fileOf(walk);
        other->animations()->at(0)->insertFrame(0, "w0");
        other->animations()->at(0)->insertFrame(2, "w15");
        QCOMPARE(other->toPlainText(), "; He walks.\n"
                                       "@animation walk, title Walking\n"
                                       "    frame: w0, at 2 0, for 6\n"
                                       "    body: -10, -60, 10, 0\n"
                                       "    frame: w1, at 2 0, for 6 ; left\n"
                                       "    frame: w15, at 2 0, for 6\n"
                                       "    strike: 4, -50, 20, -40\n"
                                       "    frame: w2\n");
    }

    /// An operation that finds its node gone when it catches up with the bracket around it does
    /// nothing.
    void nodesThatABracketTookAway()
    {
        using Operation = std::function<bool(AnimationCode *, FrameCode *)>;
        const QList<Operation> operations{
            [](AnimationCode *animation, FrameCode *) { return animation->insertFrame(1, "x"); },
            [](AnimationCode *, FrameCode *frame) {
                return frame->attackBoxes()->add(QRect(0, 0, 1, 1));
            },
            [](AnimationCode *, FrameCode *frame) {
                frame->attackBoxes()->setRects({QRect(0, 0, 1, 1)});
                return false;
            },
            [](AnimationCode *, FrameCode *frame) {
                frame->setLoopPoint(true);
                return false;
            },
            [](AnimationCode *animation, FrameCode *) { return animation->optimize() != 0; },
        };
        for (const Operation &operation : operations) {
            const Document document = fileOf(walk);
            document->setOption("parseCode", false, false, false);
            AnimationCode *const animation = document->animations()->at(0);
            FrameCode *const frame = animation->frameAt(1);
            document->beginChange();
            for (const int line : {1, 5}) {
                QTextCursor cursor(document->findBlockByNumber(line));
                cursor.insertText(";");
            }
            const QString text = document->toPlainText();
            QVERIFY(!operation(animation, frame));
            QCOMPARE(document->toPlainText(), text);
            document->endChange();
            QCOMPARE(difference(*document), QString());
        }
    }

    void optimize()
    {
        const QString text = QString(
            "@animation a, layer 0, once, title, once\n\n\n    body: 0, 0, 1, 1\n"
            "    frame: w, at 0 0, for 1, scale 1 1, flip none, angle 0, opacity 1, for 4 ; x\n"
            "    frame: v, for  2, loop, for 3, loop\n    body: 9, 9, 10, 10 ; stray\n\n\n"
            "@animation b\n");
        const Document document = fileOf(text);
        const int removed = document->animations()->at(0)->optimize();
        QCOMPARE(removed, 3);
        QCOMPARE(document->toPlainText(),
                 "@animation a, once\n\n    body: 0, 0, 1, 1\n    frame: w ; x\n"
                 "    frame: v, for 2, loop\n\n@animation b\n");
        QCOMPARE(document->animations()->at(0)->optimize(), 0);
        QCOMPARE(difference(*document), QString());
        document->QTextDocument::undo();
        QCOMPARE(document->toPlainText(), text);
    }

    void header()
    {
        const Document document = fileOf(QString(walk) + "@animation 0\n@animation 2\n");
        EmberAnimations *list = document->animations();
        AnimationCode *animation = list->at(0);
        QCOMPARE(animation->displayName(), "walk - Walking");
        QCOMPARE(animation->firstLine(), 0);
        QCOMPARE(list->freeIdentifier(), "1");
        animation->setProperty("Layer", 3);
        animation->setProperty("Once", true);
        animation->setProperty("Title", QString());
        animation->setName("run");
        QCOMPARE(document->findBlockByNumber(1).text(), "@animation run, layer 3, once");
        QCOMPARE(animation->property("Layer").toInt(), 3);
        list->duplicate(0, "dash");
        QCOMPARE(list->at(1)->name(), "dash");
        QCOMPARE(list->at(1)->frameCount(), 2u);
        QCOMPARE(list->at(1)->property("Once").toBool(), true);
        AnimationCode *added = list->add(list->freeIdentifier());
        QCOMPARE(added->name(), "1");
        QCOMPARE(added, list->at(4));
        QCOMPARE(difference(*document), QString());
    }

    /// The animations of the sample project are in it, and say what they should.
    void hero()
    {
        TestHost host;
        EmberParentProject *parent =
            EmberParentProject::open(QString(KILN_SOURCE_DIR "/examples/hero/tidewater.hearth"),
                                     FileSystemArchive::instance());
        QVERIFY(parent);
        auto *file = dynamic_cast<EmberDocument *>(
            parent->openFile(QString(KILN_SOURCE_DIR "/examples/hero/heroes/wren/wren.flick")));
        QVERIFY(file);
        EmberAnimations *list = file->animations();
        QVERIFY(list->count() >= 12);
        QCOMPARE(messages(file), QStringList());
        QSet<QString> sprites;
        for (AnimationCode *animation : list->animations()) {
            QVERIFY2(animation->frameCount() > 0, qPrintable(animation->name()));
            for (const FrameCode *frame : animation->frames())
                sprites.insert(frame->identifier());
        }
        const auto *pictures =
            dynamic_cast<Sprites *>(list->project()->file(Project::FileID::Sprites));
        QVERIFY(pictures);
        for (const QString &sprite : qAsConst(sprites))
            QVERIFY2(pictures->indexOf(0, sprite) >= 0, qPrintable(sprite));
        AnimationCode *jab = list->at(unsigned(list->find(0, "jab")));
        QCOMPARE(jab->frameAt(1)->attackBoxes()->count(), 1u);
        QVERIFY(list->project()->fileID(file).has(Project::FileID::Animations));
        QCOMPARE(list->capabilities(), 0u);
        QVERIFY(list->canSave());

        // A list on a definition is saved with it.
        auto *definition =
            static_cast<EmberDocument *>(list->project()->file(Project::FileID::Definition));
        auto *inside = new EmberAnimations(definition);
        QCOMPARE(inside->capabilities(), 1u);
        QVERIFY(!inside->canSave());
        parent->close();
    }

    /// Any line can be read, and rewriting any clause of a readable frame reads back.
    void randomLines()
    {
        QRandomGenerator random(11);
        const QString letters = QString("@:,; frameatforbody12-.\u00e9\t\"");
        for (int round = 0; round < 20000; ++round) {
            QString text = random.bounded(2) ? QString("frame:") : QString();
            for (int i = random.bounded(30); i > 0; --i)
                text += letters.at(random.bounded(letters.size()));
            const Line line = Line::read(text);
            EmberAnimationText::readAnimation(line);
            EmberAnimationText::readBox(line);
            if (line.kind != EmberAnimationText::Frame)
                continue;
            const QString changed = line.withClause("at", "3 -4");
            QVERIFY2(EmberAnimationText::readFrame(Line::read(changed)).offset == QPoint(3, -4),
                     qPrintable(text + " -> " + changed));
            const QString renamed = line.withSubject("new");
            QCOMPARE(EmberAnimationText::readFrame(Line::read(renamed)).identifier, "new");
        }
    }
};

QTEST_MAIN(EmberAnimationsTest)
#include "tst_emberanimations.moc"
