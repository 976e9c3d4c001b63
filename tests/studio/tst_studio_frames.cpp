#include "windowtest.h"

#include <hostkit/animationview.h>
#include <hostkit/statusfields.h>
#include <hostkit/viewport.h>
#include <kilnx/code/framecode.h>
#include <kilnx/image/sprite.h>
#include <kilnx/render/graphicsworkspace.h>
#include <tests/render/contexts.h>
#include <tests/render/plainuser.h>
#include <tests/support/plainanimations.h>

using namespace HostKit;
using Kiln::ContactBoxCode;

namespace
{

const QString jab2 = QStringLiteral("frame: wren_jab_2");

} // namespace

// The editor of animations in the real window on the sample project: viewport beside text.
class tst_studio_frames : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        WindowTest::init();
        QVERIFY(!isShown());
        open("heroes/wren/wren.flick");
        QVERIFY(isShown());
        QTRY_VERIFY(view().widget()); // OpenGL is there a moment later
        goTo(jab2);
    }

    // The view shows what is typed, as soon as it is typed.
    void followsTheText()
    {
        Kiln::SpriteProvider *frames = view().spriteProvider();
        const auto shown = [frames](Kiln::SpriteProvider::PropertyId id) {
            return frames->property(0, id);
        };
        using Id = Kiln::SpriteProvider::PropertyId;
        Kiln::Sprite *sprite = frames->spriteAt(0);
        QVERIFY(sprite);
        const QPoint origin = sprite->property("Origin").toPoint();
        const QSize size = shown(Id::Size).toSize();
        QCOMPARE(size, sprite->image().size());
        QCOMPARE(view().itemPosition(Viewport::ItemSprite), QPoint(5, 0) - origin);
        const auto replace = [this](const QString &before, const QString &after) {
            QTextCursor found = document()->QTextDocument::find(before);
            QVERIFY(!found.isNull());
            found.insertText(after);
        };
        replace("wren_jab_2, at 5 0", "wren_jab_2, at -7 3");
        QCOMPARE(view().itemPosition(Viewport::ItemSprite), QPoint(-7, 3) - origin);
        // Mirrored about its origin, and twice as large from there.
        replace("wren_jab_2, at -7 3", "wren_jab_2, flip h, scale 2 2, at -8 4");
        QCOMPARE(shown(Id::Mirror).toInt(), 1);
        QCOMPARE(shown(Id::Scale).toPointF(), QPointF(2, 2));
        QCOMPARE(view().itemPosition(Viewport::ItemSprite),
                 QPoint(-4, 2) - QPoint(size.width() - origin.x(), origin.y()));
        replace("strike: 8, -58, 36, -44", "strike: 1, 2, 4, 9\n    strike: 0, 0, 2, 2");
        QCOMPARE(view().boxes(ContactBoxCode::Attack)->rects(),
                 (QVector<QRect>{{1, 2, 3, 7}, {0, 0, 2, 2}}));
        // The ghost of the frame before is as large as that frame was.
        goTo("frame: wren_jab_3");
        const QImage ghost = view().widget()->grab().toImage();
        replace("flip h, scale 2 2", "scale 1 1");
        QVERIFY(view().widget()->grab().toImage() != ghost);
        goTo("wren_jab_2");
        const auto *place = m_window->findChild<QLabel *>("anim_place_lb");
        QVERIFY(!place->text().contains("no sprite"));
        replace("wren_jab_2", "nobody");
        QCOMPARE(frames->count(), 0U);
        QVERIFY(place->text().contains("no sprite \"nobody\""));
        // The palette and the pictures may change, too.
        goTo("frame: wren_jab_1");
        sprite = frames->spriteAt(0);
        QSignalSpy read(frames, &Kiln::SpriteProvider::changed);
        Kiln::RGBA colors[256];
        sprite->palette()->toPalette(colors);
        colors[1].r ^= 1;
        sprite->palette()->setColors(colors, Kiln::Palette::SetReplaced);
        QVERIFY(read.count() > 0);
        sprite->setProperty("Origin", QPoint(1, 1));
        QCOMPARE(view().itemPosition(Viewport::ItemSprite), QPoint(1, -1));
        sprite->sprites()->remove(unsigned(sprite->index()));
        QCOMPARE(frames->count(), 0U);
        sprite->sprites()->undo();
        sprite->sprites()->undo();
        sprite->sprites()->undo();
        QCOMPARE(frames->spriteAt(0), sprite);
    }

    // By the settings, and where OpenGL does not work, which is told once; the pane goes on.
    void switchesPainting()
    {
        const auto renderer = [this] { return host().status().field(5); };
        const bool works = !Contexts::none();
        QCOMPARE(editor().graphicsWorkspace()->isOnOpenGL(), works);
        QVERIFY2(renderer().endsWith(works ? "OpenGL" : "Native painter"), qPrintable(renderer()));
        for (const bool native : {true, false, true}) {
            set("native_painting", native);
            QCOMPARE(editor().graphicsWorkspace()->isOnOpenGL(), works && !native);
            QTest::qWait(50);
            QCOMPARE(view().onOpenGL, works && !native);
            QCOMPARE(view().boxes(ContactBoxCode::Attack)->count(), 1U);
        }
        // A picture is turned once: another palette turns what is shown, and nothing else.
        view().widget()->grab();
        const int kept = view().keptBytes();
        QVERIFY(kept > 0);
        view().widget()->grab();
        QCOMPARE(view().keptBytes(), kept);
        view().mouseMoved(Viewport::origin() + QPoint(8, 12), Qt::NoModifier);
        QCOMPARE(host().status().field(3), QString("Position: 4, 6"));
        view().setGuideLines({1, 2});
        view().mouseMoved({99, 99}, Qt::NoModifier);
        QCOMPARE(host().status().field(4), QString("Horizontal guide: 2, Vertical guide: 1"));
        // The zoom of the View menu is the view's while it has the keyboard.
        const float zoom = view().zoomFactor();
        view().widget()->setFocus();
        actions()->zoomIn->trigger();
        QVERIFY(view().zoomFactor() > zoom);
        open("heroes/wren/air.glow");
        QVERIFY(!isShown() && renderer().isEmpty());
    }

    void drawsTurnedAndFaint_data()
    {
        const auto add = columns<bool>("native");
        add("natively", true);
        add("through OpenGL", false);
    }

    // About the sprite's own point, mirrored and scaled or not, and the ghost like the frame.
    void drawsTurnedAndFaint()
    {
        auto [native] = row<bool>();
        if (!native && Contexts::none())
            QSKIP("OpenGL does not work here");
        set("native_painting", native);
        QTRY_COMPARE(view().onOpenGL, !native);
        const QColor ground(90, 120, 60);
        Viewport::setBackground(ground, ground, Viewport::BackgroundGradient, {}, {}, {});
        view().setVisibility(false, false, false, false, false, false, false);
        view().setOnionSkin(true, Viewport::OnionNormal, 1);
        view().zoomActual();
        const auto seen = [&](const QString &clauses, const QString &below = QString()) {
            goTo(jab2);
            QTextCursor line = document()->QTextDocument::find(jab2);
            line.movePosition(QTextCursor::StartOfBlock);
            line.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            line.insertText("    frame: nobody\n    " + jab2 + ", at 4 2" + clauses + below);
            goTo(below.isEmpty() ? jab2 : below.trimmed());
            auto *card = qobject_cast<QOpenGLWidget *>(view().widget());
            QImage image = card ? card->grabFramebuffer() : view().widget()->grab().toImage();
            image.reinterpretAsFormat(QImage::Format_RGB32); // the screen asks for no alpha
            document()->undo();
            return image;
        };
        const QPoint foot = Viewport::origin() + QPoint(4, 2);
        for (const QString shape : {"", ", flip h", ", flip hv, scale 2 1"}) {
            const QImage plain = seen(shape);
            const QImage turned = seen(shape + ", angle 90");
            QVERIFY(turned != plain);
            int wrong = 0;
            for (int x = -80; x < 80; ++x) {
                for (int y = -80; y < 80; ++y)
                    wrong +=
                        turned.pixel(foot + QPoint(y, -x - 1)) != plain.pixel(foot + QPoint(x, y));
            }
            QCOMPARE(wrong, 0);
            const QString both = shape + ", angle 30";
            QVERIFY(seen(both) == seen(both, "\n    frame: nobody else"));
        }
        const QImage plain = seen("");
        const QImage faint = seen(", opacity 0.5");
        const QImage none = seen(", opacity 0");
        for (int x = 0; x < plain.width(); ++x) {
            for (int y = 0; y < plain.height(); ++y) {
                const int red = (qRed(plain.pixel(x, y)) + ground.red()) / 2;
                QVERIFY2(qAbs(qRed(faint.pixel(x, y)) - red) < 3,
                         qPrintable(QString("%1 %2").arg(faint.pixel(x, y), 0, 16).arg(red)));
                QCOMPARE(QColor(none.pixel(x, y)), ground);
            }
        }
    }

    // What the view shows of a file that is taken away is gone at once, before the next paint.
    void lettingGoOfSprites()
    {
        Kiln::Project *project = document()->project();
        auto *sprites =
            dynamic_cast<Kiln::Sprites *>(project->file(Kiln::Project::FileID::Sprites));
        QVERIFY(sprites);
        const QString name = sprites->fileName();
        QVERIFY(sprites->fromFile(sprites->archive(), name, false));
        const int row = sprites->indexOf(0, PlainAnimations::frameAt(text(), line()).sprite);
        QCOMPARE(view().spriteProvider()->spriteAt(0), sprites->at(unsigned(row)));
        project->removeFile(sprites);
        QCOMPARE(view().spriteProvider()->count(), 0U);
        view().widget()->repaint();
        QVERIFY(editor().currentFrame());
    }

    // What is shown goes while it is dragged and drawn.
    void closesInTheMiddle()
    {
        view().mousePressed(Viewport::origin() + QPoint(60, -100), Qt::LeftButton, Qt::NoModifier);
        m_window->findChild<QAction *>("anim_box_add_attack")->trigger();
        view().mousePressed(Viewport::origin(), Qt::LeftButton, Qt::NoModifier);
        QVERIFY(host().closeProject());
        view().mouseMoved(Viewport::origin() + QPoint(30, 30), Qt::NoModifier);
        view().mouseReleased(Viewport::origin(), Qt::LeftButton, Qt::NoModifier);
        view().keyPressed(Qt::Key_Delete, Qt::NoModifier);
        QVERIFY(!isShown() && !editor().currentFrame());
        QCOMPARE(view().spriteProvider()->count(), 0U);
        QVERIFY(!view().boxes(ContactBoxCode::Attack));
        QVERIFY(host().openProject(hero()));
        open("heroes/wren/wren.flick");
        QVERIFY(isShown() && editor().currentFrame());
        // A window goes with the editor that it shows, also without a file.
        QVERIFY(host().closeProject());
        host().deck().switchTo(&editor());
        m_window.reset();
    }

    void playsByItsKey()
    {
        host().surface()->editor()->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_F9);
        QVERIFY(editor().isPlaying());
        QTRY_VERIFY(!editor().isPlaying()); // she jabs once
    }

    /// From other projects: whoever has no keyboard finds it in a menu.
    void importsByTheMenus()
    {
        for (const auto &[file, key] : {std::pair("peal", "snd_import_proj"),
                                        {"gleam", "spr_import_proj"},
                                        {"flick", "anim_import_proj"}}) {
            QVERIFY(host().desk().openFile(path("heroes/wren/wren.") + file, 0));
            QAction *command = host().actionByKey(key);
            bool isThere = false;
            for (const QAction *top : m_window->menuBar()->actions())
                isThere |= top->isVisible() && top->menu()->actions().contains(command);
            QVERIFY2(isThere && command->isVisible() && command->isEnabled(), key);
        }
    }

    void randomUser_data()
    {
        columns<unsigned int>("seed");
        for (unsigned int seed = 1; seed <= 5; ++seed)
            QTest::newRow(qPrintable(QString::number(seed))) << seed;
    }

    // A user of view and text at random, and undo that takes all of it back step by step.
    void randomUser()
    {
        QFETCH(unsigned int, seed);
        QRandomGenerator random(seed);
        const auto below = [&random](int bound) { return random.bounded(bound); };
        PlainUser plain;
        PlainScene &scene = plain.scene;
        scene.view = view().widget()->size();
        scene.guidesVisible = true;
        scene.guides = view().guideLines();
        scene.crosses[0] = {true, 1, 0, {}};
        scene.crosses[1] = scene.crosses[2] = {false, 13, 0, {}};
        scene.boxMode = 14;
        const auto origin = [this] {
            return view().spriteProvider()->spriteAt(0)->property("Origin").toPoint();
        };
        const auto read = [&] {
            const PlainAnimations::Frame frame = PlainAnimations::frameAt(text(), line());
            const QImage picture = view().spriteProvider()->spriteAt(0)->image();
            scene.sprites = {{picture, 14, 0, frame.offset - origin(), 1, 1, 0, 1, 0}};
            for (int kind = 0; kind < 2; ++kind)
                plain.setText(kind, frame.boxes[kind]);
        };
        // Upright ones, as the plain scene has them.
        const QStringList frames{"frame: wren_jab_2", "frame: wren_hook_2", "frame: wren_stand_1",
                                 "frame: wren_sweep_2", "frame: wren_walk_2"};
        scene.origin = Viewport::origin();
        scene.zoom = double(view().zoomFactor());
        read();
        QStringList history{text()};
        QStringList steps;
        bool pressed = false;
        QPoint mouse = Viewport::origin();
        for (int step = 0; step < 1200; ++step) {
            const int what = below(100);
            const bool shift = below(3) == 0;
            const bool control = below(10) == 0;
            const Qt::KeyboardModifiers modifiers =
                (shift ? Qt::ShiftModifier : Qt::NoModifier) |
                (control ? Qt::ControlModifier : Qt::NoModifier);
            const bool left = below(8) != 0;
            const Qt::MouseButton button = left ? Qt::LeftButton : Qt::RightButton;
            steps.append(QStringLiteral("%1 at %2 %3 with %4%5")
                             .arg(what)
                             .arg(mouse.x())
                             .arg(mouse.y())
                             .arg(int(left))
                             .arg(int(modifiers) >> 25));
            if (what < 45) {
                mouse = below(4) ? mouse + QPoint(below(33) - 16, below(33) - 16)
                                 : Viewport::origin() + QPoint(below(160) - 80, -below(150));
                mouse = {qBound(31, mouse.x(), scene.view.width()),
                         qBound(31, mouse.y(), scene.view.height())};
                view().mouseMoved(mouse, modifiers);
                plain.move(mouse, control);
            } else if (what < 62) {
                view().mousePressed(mouse, button, modifiers);
                plain.press(mouse, left, shift, control);
                pressed |= left;
            } else if (what < 80) {
                view().mouseReleased(mouse, button, modifiers);
                plain.release(left, !left);
                pressed &= !left;
            } else if (what < 84) {
                const QPoint way[] = {{-1, 0}, {0, -1}, {1, 0}, {0, 1}};
                const int key = below(4);
                view().keyPressed(Qt::Key_Left + key, modifiers);
                if (!shift && !control) {
                    plain.nudge(way[key]);
                    if (plain.any)
                        plain.setText(0, plain.text[0]); // what is written ends a drag
                }
            } else if (what < 86) {
                view().keyPressed(left ? Qt::Key_Delete : Qt::Key_Escape, modifiers);
                if (!shift && !control)
                    left ? plain.remove() : plain.escape();
            } else if (what < 90) {
                const int kind = below(2);
                draw(kind, true);
                plain.enter(1, kind);
                pressed = false;
            } else if (what < 92) {
                draw(0, false);
                plain.position();
            } else if (what < 94) {
                view().mouseWheel(left ? 120 : -240);
                scene.zoom = double(view().zoomFactor());
            } else if (!pressed && what < 97) {
                // A line of a box more, above all others.
                QTextCursor cursor = host().surface()->editor()->textCursor();
                while (!cursor.block().text().trimmed().startsWith("frame:"))
                    cursor.movePosition(QTextCursor::NextBlock);
                cursor.movePosition(QTextCursor::StartOfBlock);
                const int x = below(60) - 30;
                const int y = -below(60);
                cursor.insertText(QStringLiteral("    %1: %2, %3, %4, %5\n")
                                      .arg(below(2) ? "strike" : "body")
                                      .arg(x)
                                      .arg(y)
                                      .arg(x + 1 + below(30))
                                      .arg(y + 1 + below(30)));
                read();
            } else if (!pressed) {
                const Kiln::FrameCode *before = editor().currentFrame();
                goTo(frames[below(frames.size())]);
                if (editor().currentFrame() != before)
                    plain.deselect();
                read();
            }
            if (below(60) == 0 && !pressed) {
                const QPoint middle(scene.view.width() / 2, scene.view.height() * 3 / 4);
                Viewport::setOrigin(middle);
                scene.origin = middle;
            }
            if (text() != history.last()) {
                history.append(text());
                // What was dragged and not released is where the text has it again.
                plain.setText(0, plain.text[0]);
                plain.place(0, PlainAnimations::frameAt(text(), line()).offset - origin());
            }
            const QString wrong = differences(plain);
            QVERIFY2(
                wrong.isEmpty(),
                qPrintable(QStringLiteral("step %1: %2\n%3")
                               .arg(step)
                               .arg(wrong, QStringList(steps.mid(steps.size() - 10)).join("; "))));
        }
        QVERIFY(history.size() > 40);
        while (history.size() > 1) {
            QCOMPARE(text(), history.takeLast());
            document()->undo();
        }
        QCOMPARE(text(), history.first());
    }

private:
    AnimationView &editor() const { return *host().animationView(); }
    Viewport &view() const { return editor().viewport(); }
    bool isShown() const
    {
        const QWidget *splitter = m_window->findChild<QWidget *>("anim_view");
        return host().deck().current() == &editor() && splitter && splitter->isVisible();
    }
    /// Also when boxes of that kind are drawn already.
    void draw(int kind, bool on)
    {
        const char *slot = kind == 0 ? "boxAddAChanged" : "boxAddCChanged";
        QVERIFY(QMetaObject::invokeMethod(view().spriteProvider(), slot, Q_ARG(bool, on)));
    }
    QString text() const { return document()->toPlainText(); }
    int line() const { return host().surface()->editor()->textCursor().blockNumber(); }

    void goTo(const QString &text)
    {
        const QTextCursor found = document()->QTextDocument::find(text);
        QVERIFY2(!found.isNull(), qPrintable(text));
        host().surface()->editor()->setTextCursor(found);
    }

    /// What differs between view, text and the plain model of both; empty for nothing.
    QString differences(const PlainUser &plain)
    {
        QString found;
        const auto differ = [&found](const char *what, auto got, auto wanted) {
            if (!(got == wanted))
                QDebug(&found) << what << got << "instead of" << wanted;
        };
        const PlainAnimations::Frame frame = PlainAnimations::frameAt(text(), line());
        QList<ContactBoxCode *> selected;
        for (int kind = 0; kind < 2; ++kind) {
            Kiln::ContactBoxesCode *boxes = view().boxes(ContactBoxCode::BoxType(kind + 1));
            differ("text", frame.boxes[kind], plain.text[kind]);
            differ("boxes", boxes->rects(), plain.text[kind]);
            for (int i = 0; i < plain.text[kind].size(); ++i) {
                if (plain.scene.boxes[kind].value(i).selected)
                    selected.append(boxes->at(unsigned(i)));
            }
        }
        differ("selection", view().selectedContactBoxes(), selected);
        const QRect around = view().boxesSelectionRect();
        differ("selected area", around.x() == 4444 ? QRect() : around, plain.around);
        differ("mode", int(view().clickMode()), plain.mode);
        differ("origin", Viewport::origin(), plain.scene.origin);
        differ("guides", view().guideLines(), plain.scene.guides);
        differ("offset", editor().currentFrame()->offset(), frame.offset);
        differ("sprite", view().itemPosition(Viewport::ItemSprite),
               plain.scene.sprites[0].position);
        return found;
    }
};

int main(int argc, char **argv)
{
    return Contexts::run<tst_studio_frames>(argc, argv);
}

#include "tst_studio_frames.moc"
