#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/renderwidget.h>
#include <tests/render/contexts.h>
#include <tests/render/fakeboxes.h>
#include <tests/render/fakeview.h>
#include <tests/render/plainscene.h>
#include <tests/support/rows.h>
#include <tests/support/screen.h>

#include <QtGui/QtGui>
#include <QtTest/QtTest>

#include <limits>

using namespace Kiln;

namespace
{

constexpr QSize viewSize(180, 140);
constexpr float zooms[2][12] = {
    {0.25F, 0.5F, 0.75F, 1.0F, 1.5F, 2.0F, 2.25F, 2.5F, 2.75F, 3.0F, 3.5F, 4.0F},
    {0.25F, 0.5F, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F, 8.0F, 9.0F, 10.0F},
};

/// A view that asks for repaints of nothing but a count.
struct CountingWidget : RenderWidgetBase {
    Renderer *renderer() const override { return shown; }
    void setRenderer(Renderer *renderer) override { shown = renderer; }
    void update() override { ++updates; }

    Renderer *shown = nullptr;
    int updates = 0;
};

/// A scene in a view and in the plain model, the same.
struct Scene {
    Scene();
    ~Scene() { view.setSprites(nullptr); }
    /// Everything at random; `zoom` is a step of the table's row.
    void randomize(QRandomGenerator &random, int row, int zoom);
    void applyToView(int row, int level);

    QTemporaryDir directory;
    PlainScene plain;
    std::vector<std::unique_ptr<FakeSprite>> sprites;
    FakeProvider provider;
    FakeBoxes attack{ContactBoxCode::Attack};
    FakeBoxes collision{ContactBoxCode::Collision};
    FakeView view;
};

Scene::Scene()
{
    QRandomGenerator random(3);
    const QSize sizes[] = {{13, 13}, {9, 8}, {6, 11}};
    QStringList files;
    for (int i = 0; i < 3; ++i) {
        plain.crossPictures[i] = randomPicture(random, sizes[i], false);
        files.append(directory.filePath(QString("%1.png").arg(i)));
        plain.crossPictures[i].save(files.last());
    }
    GraphicsRenderer::setCrossHair(GraphicsRenderer::CrossHairFiles, files[0], files[1], files[2]);
    GraphicsRenderer::setCrossHair(GraphicsRenderer::CrossHairKept, {}, {}, {});
    randomPicture(random, {60, 40}, false).save(directory.filePath("stage.png"));
}

void Scene::randomize(QRandomGenerator &random, int row, int level)
{
    const auto below = [&random](int bound) { return random.bounded(bound); };
    const auto point = [&below](int reach) {
        return QPoint(below(2 * reach) - reach, below(2 * reach) - reach);
    };
    const auto color = [&below] { return QColor(below(256), below(256), below(256)); };
    const auto zoom = double(zooms[row][level]);
    const int reach = int(60 / zoom);
    plain.view = viewSize;
    plain.zoom = zoom;
    plain.origin = QPoint(90, 70) + point(60);
    plain.top = color();
    plain.bottom = color();
    plain.stage = below(3) ? QImage() : QImage(directory.filePath("stage.png"));
    plain.stagePosition = point(reach);
    for (int i = 0; i < 3; ++i) // a cross hangs on those before it, so nothing goes in circles
        plain.crosses[i] = {below(4) != 0, i && below(2) ? 14 : 13, below(i + 1) ? i - 1 : 0,
                            point(reach)};
    plain.crosses[2].mode = below(4) ? plain.crosses[2].mode : 12;
    plain.sprites.clear();
    const int count = below(5);
    for (int own = 0; own < count; ++own) {
        const int mode = own && below(3) == 0 ? 15 : QVector<int>{13, 14, 12, 1}[below(4)];
        const double scales[] = {1, 1, 2, 0.5, -1};
        plain.sprites.append({randomPicture(random, {1 + below(24), 1 + below(24)}, below(2)), mode,
                              (mode & 3) == 3 && below(4) ? below(own)
                              : (mode & 3) == 3           ? count
                                                          : below(4),
                              point(reach), scales[below(5)], scales[below(5)], below(4),
                              below(2) ? 1.0 : below(100) / 100.0, below(6) ? 0 : 1});
    }
    plain.onion = below(2) ? randomPicture(random, {20, 15}, below(2)) : QImage();
    plain.onionOffset = point(reach);
    plain.onionOpacity = 0.4;
    plain.onionEffect = below(4);
    plain.boxMode = below(2) ? 13 : 14;
    plain.boxParent = below(3);
    for (int group = 0; group < 2; ++group) {
        plain.boxes[group].clear();
        for (int i = below(5); i > 0; --i)
            plain.boxes[group].append(
                {QRect(point(reach), QSize(below(reach), below(reach))), false});
        plain.boxesVisible[group] = below(5) != 0;
        plain.boxColors[group] = color();
    }
    plain.boxOpacity = below(101) / 100.0;
    plain.guidesVisible = below(2);
    plain.guides = point(reach);
    plain.rulersVisible = below(2);
    plain.spriteOverGuides = below(2);
    plain.contactOverCross = below(2);
    applyToView(row, level);
}

void Scene::applyToView(int row, int level)
{
    GraphicsRenderer::setZoomTable(static_cast<unsigned char>(row));
    GraphicsRenderer::setZoomMode(GraphicsRenderer::ZoomOrigin);
    view.setZoomLevel(static_cast<unsigned char>(level));
    GraphicsRenderer::setOrigin(plain.origin);
    GraphicsRenderer::setBackground(plain.top, plain.bottom,
                                    plain.stage.isNull() ? GraphicsRenderer::BackgroundGradient
                                                         : GraphicsRenderer::BackgroundFile,
                                    plain.stagePosition, directory.filePath("stage.png"), {});
    view.sizeChanged(viewSize.width(), viewSize.height());
    GraphicsRenderer::setPriority(plain.spriteOverGuides, plain.contactOverCross);
    GraphicsRenderer::setupContactBoxes(plain.boxColors[0], plain.boxColors[1],
                                        float(plain.boxOpacity));
    for (int i = 0; i < 3; ++i) {
        view.setItemPosition(GraphicsRenderer::ItemType(i), plain.crosses[i].position);
        view.setItemPositionMode(GraphicsRenderer::ItemType(i),
                                 static_cast<unsigned char>(plain.crosses[i].mode),
                                 unsigned(plain.crosses[i].parent));
    }
    view.setSprites(nullptr);
    provider.rows.clear();
    sprites.clear();
    for (const PlainScene::Sprite &sprite : qAsConst(plain.sprites)) {
        sprites.push_back(std::make_unique<FakeSprite>(sprite.picture));
        const ImageInfo info = sprites.back()->imageInfo();
        provider.rows.push_back(
            {sprites.back().get(),
             {sprite.position, sprite.mode, sprite.parent, QSize(info.width, info.height),
              QPointF(sprite.scaleX, sprite.scaleY), sprite.flip, float(sprite.opacity),
              sprite.layer}});
    }
    view.setSprites(&provider);
    sprites.push_back(std::make_unique<FakeSprite>(plain.onion));
    view.setOnionSkin(!plain.onion.isNull(), GraphicsRenderer::OnionEffect(plain.onionEffect),
                      float(plain.onionOpacity));
    view.setOnionSkinSprite(plain.onion.isNull() ? nullptr : sprites.back().get(),
                            plain.onionOffset);
    view.setItemPositionMode(GraphicsRenderer::ItemContactBoxes,
                             static_cast<unsigned char>(plain.boxMode), unsigned(plain.boxParent));
    QVector<QRect> rects[2];
    for (int group = 0; group < 2; ++group) {
        for (const PlainScene::Box &box : qAsConst(plain.boxes[group]))
            rects[group].append(box.rect.toRect());
    }
    attack.setRects(rects[0]);
    collision.setRects(rects[1]);
    view.setContactBoxes(ContactBoxCode::Attack, &attack);
    view.setContactBoxes(ContactBoxCode::Collision, &collision);
    view.deselectContactBoxes();
    view.setVisibility(plain.crosses[0].visible, plain.crosses[1].visible, plain.crosses[2].visible,
                       plain.boxesVisible[0], plain.boxesVisible[1], plain.rulersVisible,
                       plain.guidesVisible);
    view.setGuideLines(plain.guides);
}

} // namespace

class TestGraphicsRenderer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { Texture::setOpenGLEnabled(true); }

    void drawsAsAPlainModel_data()
    {
        columns<bool, int>("openGL", "row");
        addRow("native, fine steps", false, 0);
        addRow("native, whole steps", false, 1);
        if (Contexts::none())
            return;
        addRow("OpenGL, fine steps", true, 0);
        addRow("OpenGL, whole steps", true, 1);
    }

    void drawsAsAPlainModel()
    {
        auto [openGL, table] = row<bool, int>();
        Scene scene;
        const FakeView other; // takes what all views share as it is
        RenderWidget native;
        std::unique_ptr<GLRenderWidget> card;
        native.setFixedSize(viewSize);
        QWidget *widget = &native;
        if (openGL) {
            card = std::make_unique<GLRenderWidget>();
            card->setFixedSize(viewSize);
            card->show();
            QVERIFY(QTest::qWaitForWindowExposed(card.get()));
            card->setRenderer(&scene.view);
            widget = card.get();
        } else {
            native.setRenderer(&scene.view);
        }
        scene.plain.ratio = qRound(widget->devicePixelRatioF());
        QRandomGenerator random(unsigned(17 + table));
        for (int step = 0; step < 36; ++step) {
            scene.randomize(random, table, step % 12);
            // Clicks select boxes; which ones, the view itself must agree with.
            for (int click = random.bounded(3); click > 0; --click) {
                const QPoint at(random.bounded(180), random.bounded(140));
                scene.view.mousePressed(at, Qt::LeftButton, Qt::ShiftModifier);
                scene.view.mouseReleased(at, Qt::LeftButton, Qt::ShiftModifier);
            }
            const QList<ContactBoxCode *> selected = scene.view.selectedContactBoxes();
            if (scene.view.boxesSelectionRect().isValid() || selected.isEmpty()) {
                FakeBoxes *const sources[] = {&scene.attack, &scene.collision};
                for (int group = 0; group < 2; ++group) {
                    for (int i = 0; i < scene.plain.boxes[group].size(); ++i)
                        scene.plain.boxes[group][i].selected =
                            selected.contains(sources[group]->at(unsigned(i)));
                }
            } else {
                scene.view.deselectContactBoxes();
            }
            scene.plain.selected = scene.plain.selection();
            scene.plain.handlesShown = !scene.plain.selected.isNull();
            scene.plain.paint();
            const QImage picture = card ? card->grabFramebuffer() : native.grab().toImage();
            const QString wrong = scene.plain.differences(picture);
            QVERIFY2(wrong.isEmpty(), qPrintable(QString("scene %1: %2").arg(step).arg(wrong)));
        }
    }

    void repaintsWhatADragChanges_data()
    {
        columns<QPoint, bool>("from", "draws");
        addRow("body", QPoint(60, 60), false);
        addRow("handle", QPoint(85, 75), false);
        addRow("drawn", QPoint(95, 85), true);
    }

    // On a card, of which Qt paints the whole always.
    void repaintsWhatADragChanges()
    {
        auto [from, draws] = row<QPoint, bool>();
        if (Contexts::none())
            return;
        Scene scene;
        QRandomGenerator random(11);
        scene.randomize(random, 0, 5);
        GLRenderWidget card;
        card.setFixedSize(viewSize);
        card.show();
        QVERIFY(QTest::qWaitForWindowExposed(&card));
        card.setRenderer(&scene.view);
        GraphicsRenderer::setOrigin({10, 10});
        scene.view.setItemPositionMode(GraphicsRenderer::ItemContactBoxes, 13);
        scene.attack.setRects({QRect(20, 20, 15, 12), QRect(10, 10, 60, 40)});
        scene.view.setVisibility(false, false, false, true, true, true, true);
        scene.view.setContactBoxes(ContactBoxCode::Attack, &scene.attack);
        scene.view.mousePressed({60, 60}, Qt::LeftButton, {});
        scene.view.mouseReleased({60, 60}, Qt::LeftButton, {});
        if (draws) { // far from all other boxes
            scene.view.setContactBoxes(ContactBoxCode::Collision, nullptr);
            scene.attack.setRects({QRect(0, 0, 5, 5)});
            scene.view.setContactBoxes(ContactBoxCode::Attack, &scene.attack);
            scene.view.setDrawContactBoxMode(ContactBoxCode::Attack);
        }
        scene.view.mousePressed(from, Qt::LeftButton, {});
        const auto painted = [&] {
            for (const int frames = scene.view.frames; scene.view.frames == frames;)
                QApplication::processEvents(QEventLoop::WaitForMoreEvents);
            return onScreen(card);
        };
        card.update();
        QImage before = painted();
        for (int step = 1; step < 5; ++step) {
            scene.view.mouseMoved(from + QPoint(9, 7) * step, {});
            const QImage partly = painted();
            QVERIFY(partly != before);
            QVERIFY(scene.view.isPartial);
            card.update();
            before = painted();
            QCOMPARE(partly, before);
        }
        card.setRenderer(nullptr);
    }

    void asksForRepaintsOnlyOnChanges()
    {
        CountingWidget widget;
        FakeView view;
        view.renderWidget = &widget;
        widget.shown = &view;
        view.setVisibility(true, true, true, true, true, false, false); // as it is from the start
        QCOMPARE(widget.updates, 0);
        FakeSprite sprite(QImage(4, 4, QImage::Format_RGB32));
        FakeProvider provider;
        provider.add(&sprite, {1, 2});
        view.setSprites(&provider);
        FakeBoxes boxes(ContactBoxCode::Attack);
        boxes.setRects({QRect(-500, -500, 1000, 1000)});
        view.setContactBoxes(ContactBoxCode::Attack, &boxes);
        view.mousePressed({60, 60}, Qt::LeftButton, {});
        view.mouseReleased({60, 60}, Qt::LeftButton, {});
        QCOMPARE(view.selectedContactBoxes().size(), 1);
        const std::pair<const char *, std::function<void()>> calls[] = {
            {"deselection", [&] { view.deselectContactBoxes(); }},
            {"setVisibility",
             [&] { view.setVisibility(true, false, true, true, true, true, true); }},
            {"cross position",
             [&] { view.setItemPosition(GraphicsRenderer::ItemCrossExtra, QPoint(3, 4)); }},
            {"sprite position",
             [&] { view.setItemPosition(GraphicsRenderer::ItemSprite, QPoint(3, 4), 0); }},
            {"cross mode",
             [&] { view.setItemPositionMode(GraphicsRenderer::ItemCrossMain, 12, 1); }},
            {"sprite mode",
             [&] { view.setItemPositionMode(GraphicsRenderer::ItemSprite, 12, 1, 0); }},
            {"onion skin", [&] { view.setOnionSkin(true, GraphicsRenderer::OnionDarker, 0.5F); }},
            {"onion sprite", [&] { view.setOnionSkinSprite(&sprite, QPoint(5, 6)); }},
            {"guides", [&] { view.setGuideLines(QPoint(7, 8)); }},
        };
        for (const auto &[name, call] : calls) {
            widget.updates = 0;
            call();
            QVERIFY2(widget.updates > 0, name);
            widget.updates = 0;
            call();
            QVERIFY2(widget.updates == 0, name);
        }
        // Opacity and effect don't matter while the onion skin is off.
        view.setOnionSkin(false, GraphicsRenderer::OnionDarker, 0.5F);
        widget.updates = 0;
        view.setOnionSkin(false, GraphicsRenderer::OnionLighter, 0.2F);
        view.setItemPosition(GraphicsRenderer::ItemContactBoxes, {9, 9});
        view.setItemPositionMode(GraphicsRenderer::ItemContactBoxes, 12, 0);
        view.setItemPosition(GraphicsRenderer::ItemSprite, {9, 9}, 1);
        view.setItemPositionMode(GraphicsRenderer::ItemSprite, 12, 9, 1);
        QCOMPARE(widget.updates, 0);
        QCOMPARE(view.itemPosition(GraphicsRenderer::ItemContactBoxes), QPoint());
        QCOMPARE(view.itemPosition(GraphicsRenderer::ItemSprite, 0), QPoint(3, 4));
        QCOMPARE(view.itemPosition(GraphicsRenderer::ItemSprite, 1), QPoint());
        QCOMPARE(view.indexOfItem(GraphicsRenderer::ItemCrossExtra, nullptr), 2);
        QCOMPARE(view.indexOfItem(GraphicsRenderer::ItemContactBoxes, nullptr), -1);
        QCOMPARE(view.indexOfItem(GraphicsRenderer::ItemSprite, static_cast<Sprite *>(&sprite)), 0);
        QCOMPARE(view.indexOfItem(GraphicsRenderer::ItemSprite, &view), -1);
        widget.shown = nullptr;
        view.renderWidget = nullptr;
    }

    void zooms_data()
    {
        columns<int, int, QString, int>("row", "from", "step", "level");
        addRow("up", 0, 3, "add", 4);
        addRow("up at the end", 0, 11, "add", 11);
        addRow("down", 1, 3, "sub", 2);
        addRow("down at the start", 0, 0, "sub", 0);
        addRow("255 is the first", 0, 5, "255", 0);
        addRow("too large is the last", 0, 5, "200", 11);
        addRow("actual size, fine", 0, 9, "actual", 3);
        addRow("actual size, whole", 1, 9, "actual", 2);
        addRow("wheel up", 0, 3, "wheel 120", 4);
        addRow("wheel ends early", 0, 9, "wheel 120", 9);
        addRow("wheel back from the end", 0, 11, "wheel -120", 9);
        addRow("wheel far down", 0, 3, "wheel -2400", 0);
        addRow("wheel less than a notch", 0, 11, "wheel 60", 11);
    }

    void zooms()
    {
        auto [table, from, step, level] = row<int, int, QString, int>();
        GraphicsRenderer::setZoomTable(static_cast<unsigned char>(table));
        FakeView view;
        view.setZoomLevel(static_cast<unsigned char>(from));
        if (step == "add")
            view.addZoom();
        else if (step == "sub")
            view.subZoom();
        else if (step == "actual")
            view.zoomActual();
        else if (step.startsWith("wheel"))
            view.mouseWheel(step.mid(6).toInt());
        else
            view.setZoomLevel(static_cast<unsigned char>(step.toInt()));
        QCOMPARE(int(view.zoomLevel()), level);
        QCOMPARE(view.zoomFactor(), ::zooms[table][level]);
    }

    void readsProviders()
    {
        FakeView view;
        FakeSprite sprite(QImage(4, 4, QImage::Format_RGB32));
        auto provider = std::make_unique<FakeProvider>();
        for (int i = 0; i < 4; ++i)
            provider->add(&sprite, {i, i});
        QSignalSpy changed(&view, &GraphicsRenderer::changed);
        QSignalSpy changedAt(&view, &GraphicsRenderer::changedAt);
        view.setSprites(provider.get());
        QCOMPARE(view.itemPosition(GraphicsRenderer::ItemSprite, 3), QPoint(3, 3));
        provider->rows[2].properties[0] = QPoint(9, 9);
        Q_EMIT provider->changedAt(2);
        QCOMPARE(view.itemPosition(GraphicsRenderer::ItemSprite, 2), QPoint(9, 9));
        Q_EMIT provider->changedAt(4);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changedAt.count(), 1);

        // It loses a row in the middle of being read, once and for ever.
        bool lost = false;
        provider->beforeProperty = [&](unsigned int id) {
            if (id != 5 || lost)
                return;
            lost = true;
            provider->rows.pop_back();
            Q_EMIT provider->changed();
        };
        Q_EMIT provider->changed();
        QCOMPARE(view.itemPosition(GraphicsRenderer::ItemSprite, 2), QPoint(9, 9));
        QCOMPARE(view.itemPosition(GraphicsRenderer::ItemSprite, 3), QPoint());
        provider->beforeProperty = [&](unsigned int) {
            provider->add(nullptr, {});
            Q_EMIT provider->changed();
        };
        Q_EMIT provider->changed();
        provider->beforeProperty = nullptr;

        FakeProvider other;
        other.add(&sprite, {5, 5});
        view.setSprites(&other);
        Q_EMIT provider->changed();
        QCOMPARE(view.itemPosition(GraphicsRenderer::ItemSprite, 0), QPoint(5, 5));
        view.setSprites(provider.get());
        provider.reset();
        QVERIFY(!view.spriteProvider());
        QCOMPARE(view.indexOfItem(GraphicsRenderer::ItemSprite, static_cast<Sprite *>(&sprite)),
                 -1);
        // It deletes itself while it is read.
        auto *fickle = new FakeProvider;
        fickle->add(&sprite, {1, 1});
        fickle->beforeProperty = [&fickle](unsigned int) {
            FakeProvider *gone = fickle;
            fickle = nullptr;
            delete gone;
        };
        view.setSprites(fickle);
        QVERIFY(!fickle && !view.spriteProvider());
        // It deletes the view when it is asked how many there are.
        struct Deleting : FakeProvider {
            unsigned int count() override
            {
                view.reset();
                return 3;
            }
            std::unique_ptr<FakeView> view = std::make_unique<FakeView>();
        };
        Deleting deleting;
        deleting.view->setSprites(&deleting);
        QVERIFY(!deleting.view);
    }

    // A box that the host has added beside the boxes that are shown.
    void keepsWhatTheHostAdds()
    {
        struct Adding : FakeView {
            ContactBoxCode *appendContactBox(ContactBoxCode::BoxType, const QRect &rect) override
            {
                elsewhere.setRects({rect});
                return elsewhere.at(0);
            }
            FakeBoxes elsewhere{ContactBoxCode::Attack};
        } view;
        GraphicsRenderer::setOrigin({100, 100});
        view.setDrawContactBoxMode(ContactBoxCode::Attack);
        view.mousePressed({160, 155}, Qt::LeftButton, {});
        view.mouseMoved({150, 150}, {});
        view.mouseReleased({150, 150}, Qt::LeftButton, {});
        QCOMPARE(view.boxesSelectionRect(), QRect(51, 51, 9, 4));
        view.setPositioningMode();
        QCOMPARE(view.boxesSelectionRect(), QRect(51, 51, 9, 4));
    }

    // Boxes of every kind are drawn and removed, also by a host that says nothing of it.
    void takesEveryKindOfBoxes()
    {
        FakeView view;
        GraphicsRenderer::setZoomTable(0);
        std::vector<std::unique_ptr<FakeBoxes>> kinds;
        for (int kind = 0; kind <= 9; ++kind) {
            GraphicsRenderer::setOrigin({0, 0});
            const auto type = ContactBoxCode::BoxType(kind);
            kinds.push_back(std::make_unique<FakeBoxes>(type, QVector<QRect>{QRect(0, 0, 9, 9)}));
            FakeBoxes *boxes = kinds.back().get();
            const bool isKnown = kind >= 1 && kind <= 8;
            view.setContactBoxes(type, boxes);
            QCOMPARE(view.boxes(type), isKnown ? boxes : nullptr);
            view.setPositioningMode();
            view.setDrawContactBoxMode(type);
            QCOMPARE(view.clickMode() == GraphicsRenderer::ClickDrawContactBox, isKnown);
            view.mousePressed({50, 50}, Qt::LeftButton, {});
            view.mouseMoved({60, 55}, {});
            view.mouseReleased({60, 55}, Qt::LeftButton, {});
            view.setPositioningMode();
            QCOMPARE(boxes->count(), isKnown ? 2U : 1U);
            if (!isKnown)
                continue;
            QCOMPARE(view.selectedContactBoxes(), QList<ContactBoxCode *>{boxes->at(1)});
            view.moveSelectedContactBoxes({3, 0});
            view.updateSelectedBoxes();
            QCOMPARE(boxes->rects().last(), QRect(53, 50, 11, 6));
            view.removeSelectedContactBoxes();
            QCOMPARE(boxes->count(), 1U);
            QVERIFY(view.selectedContactBoxes().isEmpty());
            view.mousePressed({55, 52}, Qt::LeftButton, {}); // nothing is there any more
            QVERIFY(view.selectedContactBoxes().isEmpty());
            view.mouseReleased({55, 52}, Qt::LeftButton, {});
        }
    }

    void survivesCirclesAndExtremes_data()
    {
        columns<bool>("openGL");
        addRow("native", false);
        if (!Contexts::none())
            addRow("OpenGL", true);
    }

    void survivesCirclesAndExtremes()
    {
        QFETCH(bool, openGL);
        // Its size is none that the picture has; there may be no picture, or few colours.
        struct Lying : FakeSprite {
            ImageInfo imageInfo() const override { return info; }
            ImageInfo info;
        } lying;
        Scene scene;
        QRandomGenerator random(23);
        RenderWidget native;
        GLRenderWidget card;
        QWidget &widget = openGL ? static_cast<QWidget &>(card) : native;
        widget.setFixedSize(viewSize);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        openGL ? card.setRenderer(&scene.view) : native.setRenderer(&scene.view);
        QCOMPARE(scene.view.onOpenGL, openGL);
        const int ends[] = {INT_MIN, INT_MIN + 1, -65536, 0, 65536, INT_MAX - 1, INT_MAX};
        const auto end = [&] { return ends[random.bounded(7)]; };
        for (int step = 0; step < 40; ++step) {
            scene.randomize(random, step % 2, random.bounded(12));
            for (int i = 0; i < 3; ++i) {
                scene.view.setItemPositionMode(GraphicsRenderer::ItemType(i), random.bounded(256),
                                               unsigned(random.bounded(4)));
                scene.view.setItemPosition(GraphicsRenderer::ItemType(i), {end(), end()});
            }
            for (int i = 0; i < int(scene.provider.rows.size()); ++i) {
                QVariant *properties = scene.provider.rows[size_t(i)].properties;
                properties[0] = QPoint(end(), end());
                properties[1] = random.bounded(256);
                properties[2] = random.bounded(5);
                properties[3] = QSize(end(), end());
                properties[4] = QPointF(end(), std::numeric_limits<double>::quiet_NaN());
            }
            const unsigned short lengths[] = {0, 1, 9, 0xFFFF};
            lying.info = {lengths[random.bounded(4)], lengths[random.bounded(4)],
                          QImage::Format_Indexed8};
            lying.picture = random.bounded(3) ? QImage(9, 7, QImage::Format_Indexed8) : QImage();
            lying.picture.fill(200);
            lying.picture.setColorTable({0xFF112233, 0xFF445566});
            scene.provider.add(&lying, {random.bounded(9), 0}, 13);
            scene.view.setOnionSkin(true, GraphicsRenderer::OnionEffect(random.bounded(4)), 0.5F);
            scene.view.setOnionSkinSprite(&lying, {end(), end()});
            Q_EMIT scene.provider.changed();
            GraphicsRenderer::setOrigin({random.bounded(2) ? end() : 60, 60});
            scene.view.setGuideLines({end(), end()});
            scene.view.setItemPositionMode(GraphicsRenderer::ItemContactBoxes, random.bounded(256),
                                           1);
            scene.attack.setRects(
                {QRect(end() / 2, end() / 2, 10, 10), QRect({end(), end()}, QPoint(end(), end()))});
            scene.view.setContactBoxes(ContactBoxCode::Attack, &scene.attack);
            for (int click = 0; click < 4; ++click) {
                const QPoint at(random.bounded(180), random.bounded(140));
                scene.view.mousePressed(at, Qt::LeftButton, Qt::NoModifier);
                scene.view.mouseMoved(at + QPoint(3, 5), Qt::NoModifier);
                scene.view.mouseReleased(at, Qt::LeftButton, Qt::NoModifier);
                scene.view.mouseWheel(120 * (random.bounded(5) - 2));
                click % 2 ? scene.view.setCaptureMode() : scene.view.setPositioningMode();
            }
            widget.grab();
        }
        GraphicsRenderer::setOrigin({});
        scene.view.setPositioningMode();
        scene.view.mousePressed({INT_MAX, INT_MAX}, Qt::LeftButton, Qt::ControlModifier);
        scene.view.mouseMoved({INT_MIN, INT_MIN}, {});
        scene.view.mouseReleased({}, Qt::LeftButton, {});
        QVERIFY(GraphicsRenderer::origin().x() < -65536);
        scene.view.sizeChanged(0, 0);
        widget.grab();
        scene.view.sizeChanged(29, 29);
        widget.grab();
        GraphicsRenderer::setOrigin({});
    }
};

int main(int argc, char **argv)
{
    return Contexts::run<TestGraphicsRenderer>(argc, argv);
}

#include "tst_graphicsrenderer.moc"
