#include <kilnx/render/renderwidget.h>
#include <tests/render/contexts.h>
#include <tests/render/fakeboxes.h>
#include <tests/render/fakeview.h>
#include <tests/render/plainuser.h>
#include <tests/support/rows.h>
#include <tests/support/screen.h>

#include <QtTest/QtTest>

#include <malloc.h>

using namespace Kiln;

namespace
{

constexpr QSize viewSize(180, 140);

/// A view with a text behind it, and the plain model of both, at the start alike.
struct Bench {
    Bench(int boxMode, bool rulers, bool keepsMiddle);
    ~Bench();
    void answer();
    void tell(const QString &what);
    /// What differs between the view and the model; empty for nothing.
    QString differences();
    QString pictureDifferences();

    PlainUser plain;
    QTemporaryDir directory;
    FakeSprite sprite;
    FakeProvider provider;
    FakeBoxes boxes[2] = {FakeBoxes(ContactBoxCode::Attack), FakeBoxes(ContactBoxCode::Collision)};
    RenderWidget widget;
    std::unique_ptr<FakeView> view = std::make_unique<FakeView>();
    QStringList log;
    int tellings = 0; ///< until the view is destroyed by who hears of something; 0 for never
    QVector<QVector<QRect>> history[2]; ///< the text before each change
};

Bench::Bench(int boxMode, bool rulers, bool keepsMiddle)
{
    PlainScene &scene = plain.scene;
    scene.view = viewSize;
    scene.origin = {90, 70};
    scene.top = scene.bottom = QColor(60, 70, 80);
    scene.boxColors[0] = Qt::red;
    scene.boxColors[1] = Qt::blue;
    scene.boxOpacity = 0;
    scene.guidesVisible = true;
    scene.guides = {30, 25};
    const char *const colors[] = {"#808000", "#008080", "#800080"};
    QStringList files;
    for (int i = 0; i < 3; ++i) {
        scene.crossPictures[i] = QImage(9 + 2 * i, 9, QImage::Format_ARGB32);
        scene.crossPictures[i].fill(QColor(colors[i]));
        files.append(directory.filePath(QString("%1.png").arg(i)));
        scene.crossPictures[i].save(files.last());
    }
    scene.crosses[0] = {true, 13, 0, {5, 8}};
    scene.crosses[1] = {true, 14, 0, {-20, -10}};
    scene.crosses[2] = {true, 5, 0, {25, -20}}; // on x alone
    sprite.picture = QImage(14, 12, QImage::Format_Indexed8);
    for (int i = 0; i < 14 * 12; ++i) {
        sprite.picture.setColor(i, qRgb(200 - i, 200, i));
        sprite.picture.setPixel(i % 14, i / 14, uint(i));
    }
    const int modes[] = {14, 13, 2, 15, 12};
    for (int i = 0; i < 5; ++i)
        scene.sprites.append({sprite.picture, modes[i], i == 3 ? 1 : 0,
                              QPoint(15 * i - 30, 7 * i - 20), i == 1 ? 2.0 : 1.0, 1.0, 0, 1.0, 0});
    scene.boxMode = boxMode;
    scene.rulersVisible = rulers;
    plain.keepsMiddle = keepsMiddle;
    scene.crosses[1].mode = keepsMiddle ? 12 : 14;

    GraphicsRenderer::setCrossHair(GraphicsRenderer::CrossHairFiles, files[0], files[1], files[2]);
    GraphicsRenderer::setBackground(scene.top, scene.bottom, GraphicsRenderer::BackgroundGradient,
                                    {}, {}, {});
    GraphicsRenderer::setupContactBoxes(scene.boxColors[0], scene.boxColors[1], 0);
    GraphicsRenderer::setPriority(false, false);
    GraphicsRenderer::setZoomTable(0);
    GraphicsRenderer::setZoomMode(GraphicsRenderer::ZoomMode(keepsMiddle));
    widget.setFixedSize(viewSize);
    widget.move(0, 0); // far from the mouse
    widget.setRenderer(view.get());
    GraphicsRenderer::setOrigin(scene.origin);
    view->setVisibility(true, true, true, true, true, rulers, true);
    view->setGuideLines(scene.guides);
    for (int i = 0; i < 3; ++i) {
        view->setItemPositionMode(GraphicsRenderer::ItemType(i),
                                  static_cast<unsigned char>(scene.crosses[i].mode));
        view->setItemPosition(GraphicsRenderer::ItemType(i), scene.crosses[i].position);
    }
    for (const PlainScene::Sprite &item : qAsConst(scene.sprites)) {
        provider.add(&sprite, item.position, item.mode, item.parent);
        provider.rows.back().properties[4] = QPointF(item.scaleX, item.scaleY);
    }
    view->setSprites(&provider);
    view->setItemPositionMode(GraphicsRenderer::ItemContactBoxes,
                              static_cast<unsigned char>(boxMode));
    answer();
}

/// The client: it writes what was released, and shows what the text says after each change.
void Bench::answer()
{
    const auto note = [this](const char *what, int type, QPoint position) {
        tell(QString("%1 %2 %3 %4").arg(what).arg(type).arg(position.x()).arg(position.y()));
    };
    QObject::connect(view.get(), &GraphicsRenderer::itemMoved,
                     [=](GraphicsRenderer::ItemType type, void *, QPoint position) {
                         note("moved", type, position);
                     });
    QObject::connect(view.get(), &GraphicsRenderer::itemReleased,
                     [=](GraphicsRenderer::ItemType type, void *, QPoint position) {
                         note("released", type, position);
                         if (view && type == GraphicsRenderer::ItemContactBoxes)
                             view->updateSelectedBoxes();
                     });
    for (auto signal : {&GraphicsRenderer::changed, &GraphicsRenderer::contactDrawingExit})
        QObject::connect(view.get(), signal,
                         [=] { tell(signal == &GraphicsRenderer::changed ? "changed" : "exit"); });
    QObject::connect(view.get(), &GraphicsRenderer::changedAt,
                     [=](unsigned int index) { note("changed", int(index), {}); });
    QObject::connect(view.get(), &GraphicsRenderer::removingContactBoxes,
                     [this](bool begins) { tell(begins ? "removing" : "removed"); });
    QObject::connect(view.get(), &GraphicsRenderer::cursorChanged,
                     [=](QPoint position) { note("cursor", -1, position); });
    QObject::connect(view.get(), &GraphicsRenderer::guideLinesMoved,
                     [=](QPoint guides) { note("guides", -1, guides); });
    QObject::connect(view.get(), &GraphicsRenderer::colorCaptured,
                     [=](unsigned char index) { note("color", index, {}); });
    for (int kind = 0; kind < 2; ++kind) {
        boxes[kind].changed = [this] {
            tell("text");
            for (int i = 0; i < 2 && view; ++i) {
                if (history[i].isEmpty() || history[i].last() != boxes[i].rects())
                    history[i].append(boxes[i].rects());
                view->setContactBoxes(ContactBoxCode::BoxType(i + 1), &boxes[i]);
            }
        };
    }
    boxes[0].changed();
}

Bench::~Bench()
{
    if (view)
        view->setSprites(nullptr);
}

void Bench::tell(const QString &what)
{
    log.append(what);
    if (--tellings == 0)
        view.reset();
}

QString Bench::differences()
{
    const auto differ = [](const char *what, auto got, auto wanted) {
        QString text;
        if (!(got == wanted))
            QDebug(&text) << what << got << "instead of" << wanted;
        return text;
    };
    log.removeAll("text");
    QString text = differ("log", log, plain.log) +
                   differ("origin", GraphicsRenderer::origin(), plain.scene.origin) +
                   differ("guides", view->guideLines(), plain.scene.guides) +
                   differ("mode", int(view->clickMode()), plain.mode) +
                   differ("cursor", widget.cursor().shape(), plain.shape);
    for (int i = 0; i < 3; ++i)
        text += differ("cross", view->itemPosition(GraphicsRenderer::ItemType(i)),
                       plain.scene.crosses[i].position);
    for (int i = 0; i < plain.scene.sprites.size(); ++i)
        text += differ("sprite", view->itemPosition(GraphicsRenderer::ItemSprite, unsigned(i)),
                       plain.scene.sprites[i].position);
    QList<ContactBoxCode *> selected;
    for (int kind = 0; kind < 2; ++kind) {
        text += differ("text", boxes[kind].rects(), plain.text[kind]);
        for (int i = 0; i < plain.text[kind].size(); ++i) {
            if (plain.scene.boxes[kind].value(i).selected)
                selected.append(boxes[kind].at(unsigned(i)));
        }
    }
    text += differ("selection", view->selectedContactBoxes(), selected);
    const QRect around = view->boxesSelectionRect();
    return text + differ("selected area", around.x() == 4444 ? QRect() : around, plain.around);
}

QString Bench::pictureDifferences()
{
    PlainScene &scene = plain.scene;
    scene.ratio = qRound(widget.devicePixelRatioF());
    const bool handles = scene.handlesShown;
    scene.handlesShown = handles && plain.mode != 1;
    scene.paint();
    scene.handlesShown = handles;
    return scene.differences(widget.grab().toImage());
}

} // namespace

class TestViewportUser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Whoever reads what is gone finds no view there any more.
    void initTestCase() { mallopt(M_PERTURB, 0x5A); }
    void randomUser_data()
    {
        columns<unsigned int, int, bool, bool>("seed", "boxMode", "rulers", "keepsMiddle");
        addRow("boxes at the cross", 1U, 14, false, false);
        addRow("boxes at the origin, on y alone", 2U, 9, true, false);
        addRow("boxes that stand for their cross", 3U, 2, false, false);
        addRow("boxes that stand for their sprite", 4U, 3, false, false);
        addRow("boxes on the screen, zoomed around the middle", 5U, 12, true, true);
    }

    void randomUser()
    {
        auto [seed, boxMode, rulers, keepsMiddle] = row<unsigned int, int, bool, bool>();
        Bench bench(boxMode, rulers, keepsMiddle);
        bench.widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&bench.widget));
        PlainUser &plain = bench.plain;
        bench.history[0].clear();
        bench.history[1].clear();
        bench.boxes[0].changed();
        QRandomGenerator random(seed);
        const auto below = [&random](int bound) { return random.bounded(bound); };
        const auto somewhere = [&] { return QPoint(20 + below(160), 20 + below(120)); };
        QPoint mouse = somewhere();
        QStringList steps;
        QVector<std::function<void(Bench &)>> actions;
        const auto act = [&](const std::function<void(Bench &)> &action) {
            actions.append(action);
            action(bench);
        };
        for (int step = 0; step < 900; ++step) {
            const int what = below(100);
            const bool shift = below(3) == 0;
            const bool control = below(8) == 0;
            const Qt::KeyboardModifiers modifiers =
                (shift ? Qt::ShiftModifier : Qt::NoModifier) |
                (control ? Qt::ControlModifier : Qt::NoModifier);
            const bool left = below(8) != 0;
            const Qt::MouseButton button = left ? Qt::LeftButton : Qt::RightButton;
            if (what < 40) {
                mouse = below(4) ? mouse + QPoint(below(17) - 8, below(17) - 8) : somewhere();
                steps.append(QString("move %1 %2").arg(mouse.x()).arg(mouse.y()));
                act([=](Bench &b) { b.view->mouseMoved(mouse, modifiers); });
                plain.move(mouse, modifiers == Qt::ControlModifier);
            } else if (what < 60) {
                steps.append(QString("press %1 %2 %3").arg(left).arg(shift).arg(control));
                act([=](Bench &b) { b.view->mousePressed(mouse, button, modifiers); });
                plain.press(mouse, left, shift, control);
            } else if (what < 80) {
                steps.append(QString("release %1").arg(left));
                act([=](Bench &b) { b.view->mouseReleased(mouse, button, modifiers); });
                plain.release(left, !left);
            } else if (what == 80) {
                steps.append(QString("control %1").arg(left));
                act([=](Bench &b) {
                    left ? b.view->keyPressed(Qt::Key_Control, modifiers)
                         : b.view->keyReleased(Qt::Key_Control, modifiers);
                });
                plain.shape = Qt::OpenHandCursor;
                if (!left)
                    plain.hover(bench.widget.mapFromGlobal(QCursor::pos()), false);
            } else if (what < 84) {
                const QPoint way[] = {{-1, 0}, {0, -1}, {1, 0}, {0, 1}};
                const int key = below(4);
                steps.append(QString("arrow %1 %2").arg(key).arg(shift || control));
                act([=](Bench &b) { b.view->keyPressed(Qt::Key_Left + key, modifiers); });
                if (!shift && !control)
                    plain.nudge(way[key]);
            } else if (what < 86) {
                steps.append(
                    QString("%1 %2").arg(left ? "delete" : "escape").arg(shift || control));
                act([=](Bench &b) {
                    b.view->keyPressed(left ? Qt::Key_Delete : Qt::Key_Escape, modifiers);
                });
                if (!shift && !control)
                    left ? plain.remove() : plain.escape();
            } else if (what < 90) {
                const int kind = below(2);
                steps.append(QString("draw %1").arg(kind));
                act([=](Bench &b) {
                    b.view->setDrawContactBoxMode(ContactBoxCode::BoxType(kind + 1));
                });
                plain.enter(1, kind);
            } else if (what < 93) {
                steps.append("position");
                act([](Bench &b) { b.view->setPositioningMode(); });
                plain.position();
            } else if (what < 94) {
                steps.append("capture");
                act([](Bench &b) { b.view->setCaptureMode(); });
                plain.enter(2, 0);
            } else if (what < 96) {
                const int kind = below(2);
                QVector<QRect> rects = plain.text[kind];
                if (!rects.isEmpty() && below(2))
                    rects.remove(below(rects.size()));
                else if (rects.size() < 9)
                    rects.insert(below(rects.size() + 1), QRect(below(80) - 40, below(60) - 30,
                                                                1 + below(40), 1 + below(30)));
                steps.append(QString("text %1 %2").arg(kind).arg(rects.size()));
                act([=](Bench &b) { b.boxes[kind].setRects(rects); });
                plain.setText(kind, rects);
            } else if (what < 98) {
                steps.append(QString("wheel %1").arg(left));
                act([=](Bench &b) { b.view->mouseWheel(left ? 120 : -240); });
                plain.zoom(double(bench.view->zoomFactor()));
            } else if (what == 98) {
                // The text moves a sprite, and says so of this one or of all.
                const int sprite = below(5);
                const QPoint to(below(60) - 30, below(60) - 30);
                steps.append(QString("sprite %1, all %2").arg(sprite).arg(left));
                const int flip = plain.scene.sprites[sprite].flip = below(4);
                for (int i = 0; i < 5; ++i) {
                    if (left || i == sprite)
                        plain.place(i, i == sprite ? to : plain.scene.sprites[i].position);
                    bench.provider.rows[size_t(i)].properties[0] = plain.scene.sprites[i].position;
                }
                plain.log.append(left ? "changed" : QString("changed %1 0 0").arg(sprite));
                act([=](Bench &b) {
                    b.provider.rows[size_t(sprite)].properties[5] = flip;
                    left ? b.provider.changed() : b.provider.changedAt(unsigned(sprite));
                });
            } else {
                plain.scene.spriteOverGuides = below(2);
                plain.scene.contactOverCross = below(2);
                plain.refuses = bench.boxes[0].refuses = bench.boxes[1].refuses = below(5) == 0;
                steps.append(QString("order %1 %2")
                                 .arg(plain.scene.spriteOverGuides)
                                 .arg(plain.scene.contactOverCross));
                GraphicsRenderer::setPriority(plain.scene.spriteOverGuides,
                                              plain.scene.contactOverCross);
                plain.scene.boxesVisible[0] = below(3);
                plain.scene.crosses[0].visible = below(3);
                plain.scene.crosses[0].mode = below(2) ? 13 : 1; // that stands fast
                bench.view->setItemPositionMode(
                    GraphicsRenderer::ItemCrossMain,
                    static_cast<unsigned char>(plain.scene.crosses[0].mode));
                bench.view->setVisibility(plain.scene.crosses[0].visible, true, true,
                                          plain.scene.boxesVisible[0], true, rulers, true);
            }
            if (below(150) == 0) {
                // Back to the middle, before everything is far outside.
                GraphicsRenderer::setOrigin({90, 70});
                plain.scene.origin = {90, 70};
            }
            QString wrong = bench.differences();
            if (wrong.isEmpty() && !showsItself(bench.widget))
                wrong = "something was not painted";
            if (wrong.isEmpty() && step % 12 == 0)
                wrong = bench.pictureDifferences();
            QVERIFY2(
                wrong.isEmpty(),
                qPrintable(QString("step %1: %2\n%3")
                               .arg(step)
                               .arg(wrong, QStringList(steps.mid(steps.size() - 12)).join("; "))));
            bench.log.clear();
            plain.log.clear();
        }
        // Undo takes all back.
        QVERIFY(bench.history[0].size() > 5);
        bench.view->setPositioningMode();
        plain.position();
        for (int kind = 0; kind < 2; ++kind) {
            const QVector<QVector<QRect>> history = bench.history[kind];
            for (int i = history.size() - 1; i >= 0; --i) {
                bench.boxes[kind].setRects(history[i]);
                plain.setText(kind, history[i]);
                const QString wrong = bench.differences();
                QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
            }
            QVERIFY(bench.boxes[kind].rects().isEmpty());
        }
        QCOMPARE(bench.pictureDifferences(), QString());
        QVERIFY(bench.view->selectedContactBoxes().isEmpty());

        // Whoever is told of something may destroy the view: at each telling in turn.
        for (int last = 1; last < 120; ++last) {
            Bench ending(boxMode, rulers, keepsMiddle);
            ending.tellings = last;
            for (int i = 0; ending.view; ++i)
                actions[i](ending);
        }
    }

    void mayEndAsItTakesTheKeyboard()
    {
        Bench bench(14, false, false);
        struct Filter : QObject {
            bool eventFilter(QObject *, QEvent *event) override
            {
                if (event->type() == QEvent::FocusIn)
                    view->reset();
                return false;
            }
            std::unique_ptr<FakeView> *view;
        } filter;
        filter.view = &bench.view;
        bench.widget.setFocusPolicy(Qt::StrongFocus);
        bench.widget.show();
        QApplication::setActiveWindow(&bench.widget);
        bench.widget.clearFocus();
        bench.widget.installEventFilter(&filter);
        bench.view->mousePressed({90, 70}, Qt::LeftButton, {});
        QVERIFY(!bench.view);
    }
};

int main(int argc, char **argv)
{
    return Contexts::run<TestViewportUser>(argc, argv);
}

#include "tst_viewportuser.moc"
