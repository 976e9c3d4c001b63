#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/graphicsworkspace.h>
#include <kilnx/render/renderwidget.h>
#include <tests/project/fakes.h>
#include <tests/render/contexts.h>
#include <tests/render/fakeboxes.h>
#include <tests/render/fakeview.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <memory>

using namespace Kiln;

namespace
{

class StageProject : public FakeProject
{
public:
    using FakeProject::FakeProject;
    QSize stageSize() override { return size; }
    QSizeF stageScale() override { return scale; }

    QSize size;
    QSizeF scale;
};

/// The other kind of renderer that the workspace shows: an image editor's.
class OtherView : public GraphicsRendererBase
{
public:
    void render(QPainter &painter) override { painter.fillRect(0, 0, 9999, 9999, Qt::green); }
    float zoomFactor() const override { return zoom; }
    void addZoom() override { zoom *= 2; }
    void subZoom() override { zoom /= 2; }
    void zoomActual() override { zoom = 1; }
    void centralize() override { ++centralized; }

    float zoom = 8;
    int centralized = 0;
};

} // namespace

class TestGraphicsWorkspace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        Texture::setOpenGLEnabled(true);
        m_host = std::make_unique<TestHost>();
        m_host->options = {{"native_painting", true},
                           {"show_cross1", true},
                           {"show_guides", true},
                           {"zoom_level", 3}};
        m_host->colors = {{"back_start", Qt::black},
                          {"back_end", Qt::black},
                          {"attackbox", Qt::red},
                          {"collisionbox", Qt::blue}};
        m_workspace = new GraphicsWorkspace(*m_host);
        m_workspace->widget()->resize(300, 280);
    }

    void cleanup()
    {
        if (m_workspace)
            m_workspace->release();
        m_workspace = nullptr;
        m_host.reset();
    }

    void registersActions()
    {
        QCOMPARE(m_workspace->name(), "graphics");
        QVERIFY(!m_host->action("view_center_origin")->isCheckable());
        const std::pair<const char *, bool> states[] = {
            {"view_main_cross", true},    {"view_secondary_cross", false},
            {"view_extra_cross", false},  {"view_rulers", false},
            {"view_guide_lines", true},   {"view_attack_box", false},
            {"view_collision_box", false}};
        const char *const crosses[] = {"view_main_cross", "view_secondary_cross",
                                       "view_extra_cross"};
        int textId = 4;
        for (const auto &[key, checked] : states) {
            const QAction *action = m_host->action(key);
            QVERIFY2(action->isCheckable() && m_host->control(key), key);
            QVERIFY(m_host->menu("view")->actions().contains(m_host->action(key)));
            QCOMPARE(action->text(), KilnTranslator::instance()->text(textId++));
            QCOMPARE(action->isChecked(), checked);
        }
        m_workspace->enableCross(GraphicsWorkspace::Cross(3), false);
        for (const char *key : crosses)
            QVERIFY(m_host->action(key)->isEnabled());
        for (int cross : {0, 2, 1}) {
            m_workspace->enableCross(GraphicsWorkspace::Cross(cross), false);
            QVERIFY(!m_host->action(crosses[cross])->isEnabled());
            QCOMPARE(m_host->action(crosses[1])->isEnabled(), cross != 1);
        }

        // A switched action shows at once, and is kept.
        m_workspace->reconfig();
        FakeView view;
        m_workspace->setRenderer(&view);
        const QImage before = picture();
        m_host->action("view_rulers")->trigger();
        QVERIFY(picture() != before);
        QCOMPARE(m_host->options["show_rulers"], QVariant(true));
        QCOMPARE(m_host->options["show_cross1"], QVariant(true));
        GraphicsRenderer::setOrigin({1, 1});
        m_host->action("view_center_origin")->trigger();
        QCOMPARE(GraphicsRenderer::origin(), QPoint(150, 140));

        const QSignalSpy moved(m_workspace, &GraphicsWorkspace::extraAxisChanged);
        m_workspace->setExtraAxis({7, 8});
        m_workspace->setExtraAxis({7, 8});
        QCOMPARE(moved.count(), 1);
        FakeView next;
        m_workspace->setRenderer(&next);
        for (const FakeView *shown : {&view, &next})
            QCOMPARE(shown->itemPosition(GraphicsRenderer::ItemCrossExtra), QPoint(7, 8));
        const QSignalSpy clicked(m_workspace, &GraphicsWorkspace::statusBarClicked);
        m_workspace->statusClicked();
        QCOMPARE(clicked.count(), 1);
        m_workspace->setRenderer(nullptr);
    }

    void readsOptions()
    {
        QTemporaryDir directory;
        QImage red(10, 10, QImage::Format_RGB32);
        red.fill(QColor(250, 1, 2));
        red.save(directory.filePath("red.png"));
        QImage green(9, 9, QImage::Format_RGB32);
        green.fill(QColor(3, 251, 4));
        green.save(directory.filePath("green.png"));
        m_host->colors["back_start"] = m_host->colors["back_end"] = QColor(9, 8, 7);
        FakeView view;
        m_workspace->reconfig();
        m_workspace->setRenderer(&view);
        FakeBoxes attack(ContactBoxCode::Attack, {QRect(40, 0, 40, 40)});
        FakeBoxes collision(ContactBoxCode::Collision, {QRect(40, 0, 40, 40)});
        view.setContactBoxes(ContactBoxCode::Attack, &attack);
        view.setContactBoxes(ContactBoxCode::Collision, &collision);
        for (const char *key : {"view_attack_box", "view_collision_box", "view_guide_lines"})
            m_host->action(key)->trigger();
        // Each row changes one option after another, and says what colour a point has then.
        const struct {
            const char *option;
            QVariant value;
            QPoint point;
            QColor color;
        } rows[] = {
            {"background_type", 2, {210, 200}, {9, 8, 7}},
            {"background_file", directory.filePath("red.png"), {105, 105}, {250, 1, 2}},
            {"background_x", 100, {205, 105}, {250, 1, 2}},
            {"background_y", 90, {205, 195}, {250, 1, 2}},
            {"crosshair_type", 2, {140, 120}, Qt::red},
            {"crosshair_main", directory.filePath("green.png"), {102, 98}, {3, 251, 4}},
            {"zoom_level", 5, {181, 140}, Qt::red},  // 2.0
            {"zoom_center", 1, {261, 140}, Qt::red}, // whole steps: 4.0
            {"zoom_level", 3, {181, 140}, Qt::red},
            {"box_opacity", 1.0, {200, 140}, {130, 2, 66}},
        };
        for (const auto &row : rows) {
            m_host->options[row.option] = row.value;
            m_workspace->reconfig();
            GraphicsRenderer::setOrigin({100, 100});
            const QColor color = colorAt(row.point);
            QVERIFY2(qAbs(color.red() - row.color.red()) <= 2 &&
                         qAbs(color.green() - row.color.green()) <= 2 &&
                         qAbs(color.blue() - row.color.blue()) <= 2,
                     qPrintable(QString("%1: %2").arg(row.option, color.name())));
        }
        QVERIFY(!GraphicsRenderer::contactOverCross() && !GraphicsRenderer::spriteOverGuides());
        m_host->options["contact_over_cross"] = true;
        m_host->options["sprite_over_guides"] = true;
        set("zoom_mode", 1);
        QVERIFY(GraphicsRenderer::contactOverCross() && GraphicsRenderer::spriteOverGuides());
        GraphicsRenderer::setOrigin({100, 100});
        m_workspace->zoomActual();
        QCOMPARE(GraphicsRenderer::origin(), QPoint(125, 120)); // around the middle, (150, 140)
        m_workspace->zoomIn();
        m_workspace->zoomIn();
        m_workspace->zoomOut();
        QCOMPARE(view.zoomFactor(), 2.0F);
        GraphicsRenderer::setZoomMode(GraphicsRenderer::ZoomOrigin);
        GraphicsRenderer::setPriority(false, false);
    }

    void stages_data()
    {
        columns<QSize, QSizeF, QPoint>("size", "scale", "corner");
        addRow("no project", QSize(), QSizeF(), QPoint(-212, -207));
        addRow("scaled by two", QSize(640, 480), QSizeF(2, 2), QPoint(-212, -207));
        addRow("scaled by nothing", QSize(640, 480), QSizeF(0, 0), QPoint(-424, -415));
        addRow("cut, not rounded", QSize(1279, 720), QSizeF(1, 1), QPoint(-424, -415));
        addRow("720 lines", QSize(1280, 720), QSizeF(1, 1), QPoint(-638, -623));
        addRow("1080 lines", QSize(1920, 1080), QSizeF(1, 1), QPoint(-958, -936));
    }

    void stages()
    {
        auto [size, scale, corner] = row<QSize, QSizeF, QPoint>();
        QTemporaryDir directory;
        auto *parent = new FakeParent(directory.path() + '/');
        auto *project = new StageProject(parent, new FakeDocument);
        project->addToParent();
        project->size = size;
        project->scale = scale;
        m_host->activeProject = size.isValid() ? project : nullptr;
        m_host->options["background_type"] = 1;
        m_host->options["show_cross1"] = false;
        FakeView view;
        m_workspace->reconfig();
        m_workspace->setRenderer(&view);
        view.setVisibility(false, false, false, false, false, false, false);
        // The picture's own corner and nothing outside of it lie around this point.
        GraphicsRenderer::setOrigin(QPoint(20, 20) - corner);
        QCOMPARE(colorAt({19, 60}), QColor(Qt::black));
        QCOMPARE(colorAt({60, 19}), QColor(Qt::black));
        QVERIFY(colorAt({20, 60}) != QColor(Qt::black));
        QVERIFY(colorAt({60, 20}) != QColor(Qt::black));
        m_workspace->setRenderer(nullptr);
        m_host->activeProject = nullptr;
        project->release();
    }

    void keepsTheOrigin()
    {
        m_host->options["origin_x"] = 31;
        m_host->options["origin_y"] = -7;
        m_workspace->activate();
        QCOMPARE(GraphicsRenderer::origin(), QPoint(31, -7));
        GraphicsRenderer::setOrigin({55, 66});
        m_workspace->deactivate();
        GraphicsRenderer::setOrigin({});
        m_workspace->activate();
        QCOMPARE(GraphicsRenderer::origin(), QPoint(55, 66));
        m_workspace->deactivate();
    }

    void otherRenderers()
    {
        OtherView other;
        m_workspace->setRenderer(&other); // before there is a widget
        QCOMPARE(m_workspace->renderer(), &other);
        m_workspace->reconfig();
        QCOMPARE(m_workspace->renderer(), &other);
        QCOMPARE(other.widget(), viewport());
        QCOMPARE(other.zoom, 8.0F);
        m_workspace->zoomIn();
        QCOMPARE(other.zoom, 16.0F);
        m_workspace->centralizeOrigin();
        QCOMPARE(other.centralized, 1);
        QCOMPARE(colorAt({5, 5}), QColor(Qt::green));
        m_workspace->setRenderer(nullptr);
        QVERIFY(!other.widget());
        m_workspace->zoomIn();
    }

    void swapsTheWidget()
    {
        FakeView view;
        m_workspace->setRenderer(&view);
        m_workspace->reconfig();
        const QPointer<QWidget> native = viewport();
        QVERIFY(qobject_cast<RenderWidget *>(native));
        m_workspace->reconfig();
        QCOMPARE(viewport(), native.data());
        QCOMPARE(native->parentWidget()->layout()->contentsMargins(), QMargins());
        set("native_painting", false);
        QCOMPARE(m_workspace->isOnOpenGL(), !Contexts::none());
        QCOMPARE(m_host->statusTexts.value(5).isEmpty(), !Contexts::none());
        if (Contexts::none()) {
            m_host->statusTexts.clear();
            m_workspace->reconfig();
            QVERIFY(m_host->statusTexts.isEmpty()); // told once
            QCOMPARE(view.widget(), native.data());
            return;
        }
        QTRY_VERIFY(!native);
        m_workspace->widget()->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_workspace->widget()));
        QTRY_VERIFY(view.onOpenGL);
        QCOMPARE(view.widget(), viewport());
        const QPointer<QWidget> card = viewport();
        m_workspace->reconfig();
        QCOMPARE(viewport(), card.data());
        set("native_painting", true);
        QTRY_VERIFY(!card);
        QCOMPARE(view.widget(), viewport());
        QVERIFY(!view.onOpenGL);
    }

    void swapsInTheMiddleOfADrag_data()
    {
        columns<bool>("ends");
        addRow("and goes on", false);
        addRow("where the drag's end is the workspace's", true);
    }

    void swapsInTheMiddleOfADrag()
    {
        QFETCH(bool, ends);
        if (Contexts::none())
            return;
        FakeView view;
        FakeBoxes attack(ContactBoxCode::Attack, {QRect(0, 0, 30, 30)});
        m_workspace->setRenderer(&view);
        m_workspace->reconfig();
        m_host->action("view_attack_box")->trigger();
        m_workspace->widget()->show();
        GraphicsRenderer::setOrigin({100, 100});
        view.setContactBoxes(ContactBoxCode::Attack, &attack);
        QObject::connect(&view, &GraphicsRenderer::itemReleased, [&] {
            view.updateSelectedBoxes();
            if (ends)
                std::exchange(m_workspace, nullptr)->release();
        });
        view.mousePressed({120, 120}, Qt::LeftButton, {});
        view.mouseMoved({125, 121}, {});
        GraphicsWorkspace *swapping = m_workspace;
        m_host->options["native_painting"] = false;
        swapping->reconfig();
        QCOMPARE(m_workspace == nullptr, ends);
        if (ends)
            return;
        QTRY_VERIFY(view.onOpenGL);
        // The drag has ended as if the button had been released.
        QCOMPARE(attack.rects().first(), QRect(5, 1, 30, 30));
        view.mouseMoved({140, 140}, {});
        QCOMPARE(view.boxesSelectionRect(), QRect(5, 1, 30, 30));
        QCOMPARE(view.selectedContactBoxes().size(), 1);
    }

    // The release goes to a box: what was dragged stays where it was seen, and is written once.
    void endsDragsUnderABox_data()
    {
        columns<QPoint, int, QPoint, int>("from", "item", "step", "writes");
        addRow("a contact box", QPoint(120, 120), 0, QPoint(7, 3), 1);
        addRow("a sprite", QPoint(200, 200), 1, QPoint(7, 3), 1);
        addRow("a guide", QPoint(250, 60), 2, QPoint(7, 0), 0);
        addRow("the origin", QPoint(60, 60), 3, QPoint(7, 3), 0);
        addRow("a box being drawn", QPoint(60, 60), 4, QPoint(8, 4), 1);
    }

    void endsDragsUnderABox()
    {
        auto [from, item, step, writes] = row<QPoint, int, QPoint, int>();
        FakeView view;
        FakeBoxes attack(ContactBoxCode::Attack, {QRect(0, 0, 30, 30)});
        FakeSprite sprite(QImage(20, 20, QImage::Format_RGB32));
        FakeProvider provider;
        provider.add(&sprite, {90, 90});
        m_workspace->setRenderer(&view);
        m_workspace->reconfig();
        for (const char *key : {"view_attack_box", "view_main_cross"})
            m_host->action(key)->trigger();
        m_workspace->widget()->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_workspace->widget()));
        GraphicsRenderer::setOrigin({100, 100});
        view.setGuideLines({150, 900});
        view.setSprites(&provider);
        view.setContactBoxes(ContactBoxCode::Attack, &attack);
        if (item == 4)
            view.setDrawContactBoxMode(ContactBoxCode::Attack);
        int written = 0;
        attack.changed = [&written] { ++written; };
        QPoint released(90, 90);
        QObject::connect(&view, &GraphicsRenderer::itemReleased,
                         [&](GraphicsRenderer::ItemType type, void *, QPoint position) {
                             view.updateSelectedBoxes();
                             if (type == GraphicsRenderer::ItemSprite) {
                                 released = position;
                                 ++written;
                             }
                         });
        const auto places = [&] {
            const QRect drawn = attack.count() > 1 ? attack.rects().last() : QRect();
            return QVector<QPoint>{attack.rects().first().topLeft(), released, view.guideLines(),
                                   GraphicsRenderer::origin(),
                                   QPoint(drawn.width(), drawn.height())};
        };
        QVector<QPoint> wanted = places();
        wanted[item] += step;
        QWindow *window = m_workspace->widget()->windowHandle();
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        QTest::mouseMove(window, from + QPoint(7, 3));
        QDialog box(m_workspace->widget());
        box.open();
        QTest::mouseRelease(window, Qt::LeftButton, {}, {20, 20});
        QCOMPARE(written, 0);
        box.close();
        QCoreApplication::processEvents();
        QCOMPARE(places(), wanted);
        for (QPoint at : {QPoint(90, 90), QPoint(150, 60)})
            QTest::mouseMove(window, at);
        QCOMPARE(places(), wanted);
        QCOMPARE(written, writes);
        m_workspace->setRenderer(nullptr);
    }

    void fallsBackWhenTheContextIsLost()
    {
        if (Contexts::none())
            return;
        m_host->options["native_painting"] = false;
        FakeView view;
        FakeBoxes attack(ContactBoxCode::Attack, {QRect(0, 0, 30, 30)});
        view.setContactBoxes(ContactBoxCode::Attack, &attack);
        m_workspace->setRenderer(&view);
        m_workspace->reconfig();
        m_workspace->widget()->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_workspace->widget()));
        QTRY_VERIFY(view.onOpenGL);
        QSurfaceFormat impossible;
        impossible.setRenderableType(QSurfaceFormat::OpenVG);
        QOpenGLContext *context = static_cast<GLRenderWidget *>(viewport())->context();
        context->setFormat(impossible);
        QVERIFY(!context->create());
        m_workspace->update();
        QTRY_VERIFY(view.widget() && !m_workspace->isOnOpenGL());
        QVERIFY(m_host->statusTexts[5].contains("Native painter"));
        // Everything can be edited still, and is seen.
        m_host->action("view_attack_box")->trigger();
        GraphicsRenderer::setOrigin({100, 100});
        view.setDrawContactBoxMode(ContactBoxCode::Attack);
        view.mousePressed({150, 150}, Qt::LeftButton, {});
        view.mouseMoved({170, 180}, {});
        view.mouseReleased({170, 180}, Qt::LeftButton, {});
        QCOMPARE(attack.rects().last(), QRect(50, 50, 21, 31));
        view.setPositioningMode();
        QTRY_COMPARE(colorAt({129, 110}), QColor(Qt::red)); // the new widget takes its place
        // It stays native until the user chooses again.
        m_workspace->reconfig();
        QVERIFY(!m_workspace->isOnOpenGL());
        set("native_painting", true);
        set("native_painting", false);
        QVERIFY(m_workspace->isOnOpenGL());
    }

    void survivesWhatDiesFirst()
    {
        auto view = std::make_unique<FakeView>();
        m_workspace->setRenderer(view.get());
        view.reset(); // while it waits for a widget
        QVERIFY(!m_workspace->renderer());
        m_workspace->reconfig();
        view = std::make_unique<FakeView>();
        m_workspace->setRenderer(view.get());
        view.reset();
        QVERIFY(!m_workspace->renderer());
        picture();
        // Boxes, and then the workspace, end while the view shows them, in the middle of a drag.
        view = std::make_unique<FakeView>();
        m_workspace->setRenderer(view.get());
        auto attack = std::make_unique<FakeBoxes>(ContactBoxCode::Attack,
                                                  QVector<QRect>{QRect(0, 0, 30, 30)});
        m_host->action("view_attack_box")->trigger();
        GraphicsRenderer::setOrigin({100, 100});
        view->setContactBoxes(ContactBoxCode::Attack, attack.get());
        view->mousePressed({120, 120}, Qt::LeftButton, {});
        QCOMPARE(view->selectedContactBoxes().size(), 1);
        attack.reset();
        view->mouseMoved({130, 120}, {});
        view->updateSelectedBoxes();
        QVERIFY(view->selectedContactBoxes().isEmpty());
        QVERIFY(!view->boxes(ContactBoxCode::Attack));
        picture();
        view->mouseReleased({130, 120}, Qt::LeftButton, {});
        view->mousePressed({106, 106}, Qt::LeftButton, {});
        view->removeSelectedContactBoxes();
        m_workspace->release();
        m_workspace = nullptr;
        QVERIFY(!view->widget());
        view->mouseMoved({140, 130}, {});
        // The host's window goes, and its widgets with it.
        m_workspace = new GraphicsWorkspace(*m_host);
        delete m_workspace->widget();
        m_workspace->setRenderer(view.get());
        QVERIFY(!m_workspace->timeLine());
        m_workspace->reconfig();
        QCOMPARE(m_workspace->renderer(), view.get());
        m_workspace->release();
        m_workspace = nullptr;
    }

private:
    void set(const char *option, const QVariant &value)
    {
        m_host->options[option] = value;
        m_workspace->reconfig();
    }
    QWidget *viewport() const { return m_workspace->widget()->findChild<QWidget *>("viewport"); }
    QImage picture() { return m_workspace->widget()->grab().toImage(); }

    /// At a logical pixel.
    QColor colorAt(QPoint point)
    {
        const QImage image = picture();
        const int ratio = qRound(image.devicePixelRatioF());
        return image.pixelColor(point * ratio);
    }

    std::unique_ptr<TestHost> m_host;
    GraphicsWorkspace *m_workspace = nullptr;
};

int main(int argc, char **argv)
{
    return Contexts::run<TestGraphicsWorkspace>(argc, argv);
}

#include "tst_graphicsworkspace.moc"
