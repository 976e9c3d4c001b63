#include <kilnx/image/palette.h>
#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/renderwidget.h>
#include <kilnx/render/texture.h>
#include <tests/render/contexts.h>
#include <tests/render/plainscene.h>
#include <tests/support/rows.h>

#include <QtGui/QtGui>
#include <QtTest/QtTest>
#include <QtWidgets/QDialog>

#include <functional>
#include <list>
#include <memory>

using namespace Kiln;

namespace
{

/// A renderer that draws what the test says, and notes what it is told.
class Probe : public Renderer
{
public:
    std::function<void(Probe &, QPainter &)> drawing;
    QStringList log;

    using Renderer::beginTextureDrawing;
    using Renderer::endTextureDrawing;
    using Renderer::glDrawImage;
    using Renderer::glDrawImageTiled;
    using Renderer::glSetBlend;
    using Renderer::glSetBlendEquation;
    using Renderer::glSetBlendFunction;

    void keyPressed(int key, Qt::KeyboardModifiers modifiers) override
    {
        note("key down", key, int(modifiers));
    }
    void keyReleased(int key, Qt::KeyboardModifiers modifiers) override
    {
        note("key up", key, int(modifiers));
    }
    void mousePressed(QPoint at, Qt::MouseButton button, Qt::KeyboardModifiers) override
    {
        note("press", at.x(), at.y(), button);
    }
    void mouseReleased(QPoint at, Qt::MouseButton button, Qt::KeyboardModifiers) override
    {
        note("release", at.x(), at.y(), button);
    }
    void mouseMoved(QPoint at, Qt::KeyboardModifiers) override { note("move", at.x(), at.y()); }
    void mouseWheel(int delta) override { note("wheel", delta); }
    void sizeChanged(int width, int height) override { note("size", width, height); }
    void render(QPainter &painter) override
    {
        if (drawing)
            drawing(*this, painter);
    }

private:
    template<typename... Numbers>
    void note(const QString &what, Numbers... numbers)
    {
        QStringList words{what};
        (words.append(QString::number(numbers)), ...);
        log.append(words.join(' '));
    }
};

/// A renderer that overrides nothing that it need not.
class Bare : public Renderer
{
public:
    void render(QPainter &) override {}
};

/// One drawing of an image.
struct Quad {
    explicit Quad(QRandomGenerator &random)
    {
        const auto below = [&random](int bound) { return random.bounded(bound); };
        const QSize size(1 + below(12), 1 + below(12));
        image = randomPicture(random, size, below(2) == 0, true);
        target = QRect(QPoint(below(80) - 20, below(80) - 20), size * (1 + below(5)));
        flip = uchar(below(4));
        opacity = below(2) ? 1.0F : float(below(101)) / 100;
        mask = below(4) != 0;
        effect = uchar(below(4));
        blend = PlainScene::Blend(below(4));
    }

    QImage image;
    QRect target; // in logical pixels
    unsigned char flip, effect;
    float opacity;
    bool mask;
    PlainScene::Blend blend;
};

QImage white()
{
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

QMatrix4x4 matrix(const QRectF &target)
{
    QMatrix4x4 matrix;
    matrix.translate(float(target.x()), float(target.y()));
    matrix.scale(float(target.width()), float(target.height()));
    return matrix;
}

/// What the painter finds after textures were drawn: the unit, what is bound to both, blending with
/// its equation and factors, the program and the scissors.
QVector<GLint> stateLeft()
{
    QOpenGLFunctions *gl = QOpenGLContext::currentContext()->functions();
    QVector<GLint> all;
    const auto get = [&](GLenum what) {
        all.append(-1);
        gl->glGetIntegerv(what, &all.last());
    };
    get(GL_ACTIVE_TEXTURE);
    for (const GLenum unit : {GL_TEXTURE1, GL_TEXTURE0}) {
        gl->glActiveTexture(unit);
        get(GL_TEXTURE_BINDING_2D);
    }
    for (const GLenum what : {GL_BLEND, GL_BLEND_EQUATION, GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB,
                              GL_CURRENT_PROGRAM, GL_SCISSOR_TEST})
        get(what);
    return all;
}

/// No driver gives this kind of context.
QSurfaceFormat impossibleFormat()
{
    QSurfaceFormat impossible;
    impossible.setRenderableType(QSurfaceFormat::OpenVG);
    return impossible;
}

/// A view through OpenGL on the screen, with a probe in it, and the plain model of it.
struct Shown {
    explicit Shown(const QSize &size = QSize(64, 48))
    {
        widget.resize(size);
        QObject::connect(&widget, &GLRenderWidget::initialize, &widget,
                         [this] { widget.setRenderer(&probe); });
        widget.show();
        works = QTest::qWaitForWindowExposed(&widget) && widget.renderer() == &probe;
        plain.view = size;
        plain.ratio = qRound(widget.devicePixelRatioF());
        plain.top = plain.bottom = Qt::magenta;
        plain.spread = 1;
        plain.clear();
    }
    QImage picture(std::function<void(Probe &, QPainter &)> drawing)
    {
        probe.drawing = std::move(drawing);
        return widget.grabFramebuffer();
    }
    /// What the textures drawn in one run show.
    QImage textured(const std::function<void()> &drawing)
    {
        return picture([&](Probe &probe, QPainter &painter) {
            probe.beginTextureDrawing(painter);
            drawing();
            probe.endTextureDrawing(painter);
        });
    }
    /// Through the library, between beginTextureDrawing() and its end.
    void draw(const Quad &quad)
    {
        const Texture *image = &textures.emplace_back(quad.image);
        const Texture *palette = nullptr;
        if (const QVector<QRgb> table = quad.image.colorTable(); !table.isEmpty()) {
            RGBA colors[256];
            std::transform(table.begin(), table.end(), colors, fromQRgb);
            palette = &textures.emplace_back(colors);
        }
        probe.glSetBlend(quad.blend != PlainScene::BlendNone);
        if (quad.blend != PlainScene::BlendNone) {
            const bool fades = quad.blend == PlainScene::BlendAlpha;
            probe.glSetBlendEquation(quad.blend == PlainScene::BlendSubtract
                                         ? Renderer::BlendReverseSubtract
                                         : Renderer::BlendAdd);
            probe.glSetBlendFunction(Renderer::BlendSrcAlpha,
                                     fades ? Renderer::BlendOneMinusSrcAlpha : Renderer::BlendOne);
        }
        probe.glDrawImage(matrix(quad.target), image, palette, quad.flip, quad.opacity, quad.mask,
                          quad.effect);
    }
    void drawPlainly(const Quad &quad)
    {
        plain.image(quad.image, quad.target, quad.flip, double(quad.opacity), quad.effect,
                    quad.mask, quad.blend);
    }

    Probe probe;
    GLRenderWidget widget;
    PlainScene plain;
    std::list<Texture> textures;
    bool works = false;
};

} // namespace

class TestRenderWidgets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        Texture::setOpenGLEnabled(true);
        QCOMPARE(GLRenderWidget::isSupported(), !Contexts::none());
    }

    void drawsAsAPlainModel()
    {
        if (Contexts::none())
            return;
        Shown shown;
        QVERIFY(shown.works);
        QRandomGenerator random(41);
        for (int scene = 0; scene < 40; ++scene) {
            shown.plain.clear();
            const QImage picture = shown.picture([&](Probe &probe, QPainter &painter) {
                // Between two runs of textures the painter draws with the state that it expects.
                for (int half = 0; half < 2; ++half) {
                    const QRect rect(5 + half * 20, 7, 13, 11);
                    const QColor color(200, 100 * half, 30);
                    painter.fillRect(rect, color);
                    shown.plain.fill(rect, color);
                    probe.beginTextureDrawing(painter);
                    for (int i = 0; i < 3; ++i) {
                        const Quad quad(random);
                        shown.draw(quad);
                        shown.drawPlainly(quad);
                    }
                    probe.endTextureDrawing(painter);
                    QCOMPARE(stateLeft(),
                             QVector<GLint>({GL_TEXTURE0, 0, 0, GL_FALSE, GL_FUNC_ADD, GL_SRC_ALPHA,
                                             GL_ONE_MINUS_SRC_ALPHA, 0, GL_FALSE}));
                }
            });
            QCOMPARE(shown.plain.differences(picture), QString());
        }
    }

    void guards()
    {
        if (Contexts::none())
            return;
        Shown shown;
        QVERIFY(shown.works);
        const Texture full(white());
        Texture removed(white());
        removed.fromImage(QImage());
        const Texture empty;
        const RGBA colors[256] = {};
        const Texture palette(colors);
        const struct {
            const char *name;
            const Texture *image;
            unsigned char effect;
            QSize size;
        } rows[] = {{"no image", nullptr, 0, {30, 30}},
                    {"empty texture", &empty, 0, {30, 30}},
                    {"palette as image", &palette, 0, {30, 30}},
                    {"image removed from the card", &removed, 0, {30, 30}},
                    {"effect out of range", &full, 4, {30, 30}},
                    {"empty rectangle", &full, 0, {0, 0}}};
        for (const auto &row : rows) {
            const QMatrix4x4 target = matrix(QRectF({3, 3}, row.size));
            const QImage picture = shown.textured([&] {
                shown.probe.glDrawImage(target, row.image, nullptr, 0, 1, true, row.effect);
                if (row.image != &full || row.size.isEmpty())
                    shown.probe.glDrawImageTiled({1, 1}, {}, target, row.image, nullptr, 0, 1,
                                                 true);
            });
            QVERIFY2(shown.plain.differences(picture).isEmpty(), row.name);
        }
    }

    void tiles_data()
    {
        columns<QSize, QPoint, QPoint, QRect, int>("size", "count", "spacing", "target", "flip");
        addRow("fills the widget", QSize(8, 6), QPoint(1, 1), QPoint(), QRect(19, 23, 8, 6), 0);
        addRow("fills it from beyond the left", QSize(7, 5), QPoint(0, 0), QPoint(),
               QRect(-30, -2, 7, 5), 1);
        addRow("two columns", QSize(7, 5), QPoint(2, 1), QPoint(), QRect(10, 10, 14, 10), 2);
        addRow("exact counts", QSize(3, 3), QPoint(4, 3), QPoint(), QRect(5, 6, 6, 6), 3);
        addRow("apart", QSize(5, 4), QPoint(3, 2), QPoint(2, 3), QRect(5, 6, 5, 4), 1);
        addRow("apart, filling", QSize(5, 4), QPoint(0, 0), QPoint(2, 1), QRect(33, 20, 5, 4), 2);
        addRow("millions, of which few are seen", QSize(5, 4), QPoint(5000, 5000), QPoint(2, 3),
               QRect(-152, -99, 5, 4), 3);
        addRow("all before the widget", QSize(5, 4), QPoint(20, 20), QPoint(2, 3),
               QRect(-152, -150, 5, 4), 3);
        addRow("closer than they are wide", QSize(2, 2), QPoint(40, 1), QPoint(-9, 0),
               QRect(3, 0, 2, 2), 0);
    }

    void tiles()
    {
        if (Contexts::none())
            return;
        auto [size, count, spacing, target, flip] = row<QSize, QPoint, QPoint, QRect, int>();
        Shown shown;
        QVERIFY(shown.works);
        QRandomGenerator random(7);
        Quad quad(random);
        quad.image = quad.image.convertToFormat(QImage::Format_ARGB32).copy(QRect(QPoint(), size));
        quad.flip = uchar(flip);
        quad.opacity = 1;
        quad.mask = false;
        quad.effect = 0;
        quad.blend = PlainScene::BlendNone;

        const QPoint step(qMax(1, target.width() + spacing.x()),
                          qMax(1, target.height() + spacing.y()));
        for (int row = -60; row < 60; ++row) {
            for (int column = -60; column < 60; ++column) {
                const bool inColumns = count.x() < 2 || (column >= 0 && column < count.x());
                const bool inRows = count.y() < 2 || (row >= 0 && row < count.y());
                quad.target = target.translated(column * step.x(), row * step.y());
                if (inColumns && inRows && quad.target.intersects(shown.widget.rect()))
                    shown.drawPlainly(quad);
            }
        }
        Texture texture(quad.image);
        const QImage picture = shown.textured([&] {
            shown.probe.glDrawImageTiled(count, spacing, matrix(target), &texture, nullptr,
                                         quad.flip, 1, false);
        });
        QCOMPARE(shown.plain.differences(picture), QString());
    }

    // A column that begins far to the left comes into view in a row that leans to the right.
    void leaningTiles()
    {
        if (Contexts::none())
            return;
        Shown shown(QSize(100, 120));
        QVERIFY(shown.works);
        Texture texture(white());
        const QMatrix4x4 leaning(16, 96, 0, -340, 0, 16, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
        const QImage tiled = shown.textured([&] {
            shown.probe.glDrawImageTiled({3, 3}, {112, 16}, leaning, &texture, nullptr, 0, 1, true);
        });
        const QImage single = shown.textured([&] {
            for (int i = 0; i < 9; ++i) {
                QMatrix4x4 place = leaning;
                place.translate(float(i % 3 * 2), float(i / 3 * 2));
                shown.probe.glDrawImage(place, &texture, nullptr, 0, 1, true, 0);
            }
        });
        QCOMPARE(tiled, single);
        QCOMPARE(tiled.pixel(70 * tiled.width() / 100, 66 * tiled.height() / 120), 0xFFFFFFFF);
    }

    void replacesPixelShaders()
    {
        if (Contexts::none())
            return;
        Shown shown;
        QVERIFY(shown.works);
        Texture texture(white());
        QObject::connect(
            &shown.widget, &GLRenderWidget::setCustomShaderUniformValues, &shown.widget,
            [](QOpenGLShaderProgram *program) { program->setUniformValue("tint", 0.2F); });
        const char *const sources[] = {
            nullptr,
            "uniform sampler2D image;\nuniform lowp float mask;\nuniform highp float opacity;\n"
            "uniform mediump float tint;\nvarying mediump vec2 uv;\n"
            "void main() { gl_FragColor = texture2D(image, uv) * tint * mask * opacity; }",
            "uniform sampler2D image;\nuniform lowp float mask;\nuniform highp float opacity;\n"
            "uniform mediump float tint;\nvarying mediump vec2 uv;\n"
            "void main() { gl_FragColor = texture2D(image, uv) * (tint + 0.2) * mask * opacity; }",
            "this is no shader",
            nullptr,
        };
        const int reds[] = {255, 51, 102, 255, 255};
        for (int i = 0; i < 5; ++i) {
            if (i > 0) {
                // What is current stays so: a renderer may ask in the middle of its drawing.
                const bool drawing = i % 2;
                drawing ? shown.widget.makeCurrent() : shown.widget.doneCurrent();
                shown.widget.setCustomPixelShader(nullptr, sources[i]);
                QCOMPARE(QOpenGLContext::currentContext() == shown.widget.context(), drawing);
            }
            const QImage picture = shown.textured([&] {
                shown.probe.glDrawImage(matrix(QRectF(0, 0, 64, 48)), &texture, nullptr, 0, 1, true,
                                        0);
            });
            QCOMPARE(qRed(picture.pixel(9, 9)), reds[i]);
        }
    }

    void forwardsInput_data()
    {
        columns<bool>("openGL");
        addRow("native", false);
        addRow("OpenGL", true);
    }

    void forwardsInput()
    {
        QFETCH(bool, openGL);
        if (openGL && Contexts::none())
            return;
        Shown shown(QSize(100, 80));
        RenderWidget native;
        native.resize(100, 80);
        QWidget *widget = &shown.widget;
        if (!openGL) {
            native.setRenderer(&shown.probe);
            native.show();
            QVERIFY(QTest::qWaitForWindowExposed(&native));
            widget = &native;
        }
        QVERIFY(widget->hasMouseTracking() && !widget->autoFillBackground());
        QCOMPARE(shown.probe.onOpenGL, openGL);
        QCOMPARE(shown.probe.widget(), widget);
        QVERIFY(shown.probe.log.contains("size 100 80"));
        QVector<QRect> clips;
        shown.probe.drawing = [&clips](Probe &, QPainter &painter) {
            clips.append(painter.clipBoundingRect().toAlignedRect());
        };
        shown.probe.updateArea({20, 10, 30, 25});
        QTRY_VERIFY(clips.contains(QRect(20, 10, 30, 25)));
        // Another shader changes all of the picture.
        clips.clear();
        shown.widget.setCustomPixelShader(nullptr, nullptr);
        shown.probe.updateArea({20, 10, 30, 25});
        QTRY_VERIFY(!clips.isEmpty());
        QCOMPARE(clips.first().isEmpty(), openGL);
        shown.probe.log.clear();
        QTest::mousePress(widget, Qt::RightButton, {}, {3, 4});
        QMouseEvent move(QEvent::MouseMove, {5, 6}, Qt::NoButton, Qt::RightButton, {});
        QApplication::sendEvent(widget, &move);
        QTest::mouseRelease(widget, Qt::RightButton, {}, {5, 6});
        QTest::mouseDClick(widget, Qt::LeftButton, {}, {7, 8});
        QTest::keyClick(widget, Qt::Key_Left, Qt::ShiftModifier);
        QWheelEvent wheel({9, 9}, widget->mapToGlobal({9, 9}), {}, {240, -120}, {}, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(widget, &wheel);
        widget->resize(120, 90);
        QTRY_VERIFY(shown.probe.log.contains("size 120 90"));
        widget->setEnabled(false);
        QTest::mousePress(widget, Qt::LeftButton, {}, {3, 4});
        QStringList log = shown.probe.log;
        log.removeDuplicates(); // the window system adds moves of its own
        QStringList expected{"press 3 4 2",
                             "move 5 6",
                             "release 5 6 2",
                             "press 7 8 1",

                             "key down 16777234 33554432",
                             "key up 16777234 33554432",
                             "wheel -120"};
        for (const QString &line : expected)
            QVERIFY2(log.contains(line), qPrintable(line + " is not in: " + log.join(", ")));
        QVERIFY(!log.contains("press 3 4 1"));
    }

    // A button that is pressed and moved, and whose release may go elsewhere: to boxes that open
    // over the widget, or to nobody while it is disabled. Told is how often the release is known
    // after each step.
    void tellsReleasesThatAreLost_data()
    {
        columns<bool, QString, QString>("openGL", "steps", "told");
        for (bool openGL : {false, true}) {
            const auto add = [openGL](const char *name, const char *steps, const char *told) {
                QTest::addRow("%s, %s", name, openGL ? "OpenGL" : "native")
                    << openGL << steps << told;
            };
            add("to a box", "press move open release close", "00001");
            add("to the second of two", "press move open open release close close", "0000001");
            add("to the next of two", "press move open next release close", "000001");
            add("to a box, and pressed right behind it", "press move open release again release",
                "000012");
            add("held all the time", "press move open close move release", "000111");
            add("to nobody", "press move disable release enable move", "000001");
            add("to nobody, and pressed again", "press move disable release enable press release",
                "0000012");
            add("of one of two", "press right move disable release enable move", "0000001");
            add("of both", "press right move disable release up enable move", "00000002");
        }
    }

    void tellsReleasesThatAreLost()
    {
        auto [openGL, steps, told] = row<bool, QString, QString>();
        if (openGL && Contexts::none())
            return;
        Shown shown(QSize(100, 80));
        RenderWidget native;
        if (!openGL) {
            native.resize(100, 80);
            native.setRenderer(&shown.probe);
            native.show();
            QVERIFY(QTest::qWaitForWindowExposed(&native));
        }
        QWidget *widget = shown.probe.widget();
        QWindow *window = widget->windowHandle();
        QList<std::shared_ptr<QDialog>> boxes;
        const QPoint places[] = {{10, 20}, {12, 23}, {15, 29}};
        const QPoint *at = places;
        QString known;
        const QStringList all = steps.split(' ');
        for (const QString &step : all) {
            if (step == "again")
                boxes.clear(); // before the event loop runs again
            if (step == "press" || step == "again")
                QTest::mousePress(window, Qt::LeftButton, {}, *at);
            else if (step == "right")
                QTest::mousePress(window, Qt::RightButton, {}, *at);
            else if (step == "up")
                QTest::mouseRelease(window, Qt::RightButton, {}, {60, 60});
            else if (step == "move")
                QTest::mouseMove(window, *++at);
            else if (step == "release")
                QTest::mouseRelease(window, Qt::LeftButton, {}, {60, 60});
            else if (step == "open")
                (boxes << std::make_shared<QDialog>(boxes.isEmpty() ? widget : boxes.last().get()))
                    .last()
                    ->open();
            else if (step == "close")
                boxes.takeLast();
            else if (step == "next") // likewise
                (boxes.clear(), boxes << std::make_shared<QDialog>(widget)).last()->open();
            else
                widget->setEnabled(step == "enable");
            QCoreApplication::processEvents();
            known += QString::number(shown.probe.log.filter("release").size());
        }
        QCOMPARE(known, told);
        // Where the mouse was seen last, and of the button that came up.
        const bool isSeen = told.endsWith("12");
        const QString place = isSeen ? "60 60" : "12 23";
        const QString button = all.contains("up") ? " 2" : " 1"; // the right one comes later
        QCOMPARE(shown.probe.log.filter("release").last(), "release " + place + button);
        QTest::mouseRelease(window, Qt::RightButton, {}, {60, 60});
    }

    void rendererMoves()
    {
        Probe probe;
        QVERIFY(!probe.widget());
        probe.update();
        RenderWidget first;
        RenderWidget second;
        first.setRenderer(&probe);
        second.setRenderer(&probe);
        QVERIFY(!first.renderer());
        QCOMPARE(probe.widget(), &second);
        GLRenderWidget hidden;
        hidden.setRenderer(&probe);
        hidden.setCustomPixelShader(nullptr, nullptr); // before there is a context
        QVERIFY(!hidden.renderer());
        QVERIFY(!probe.renderWidget);
        Probe other;
        first.setRenderer(&probe);
        first.setRenderer(&other);
        QVERIFY(!probe.renderWidget);
        QCOMPARE(Bare().clearColor(), QColor(Qt::magenta));
    }

    void survivesWhatDiesFirst()
    {
        auto probe = std::make_unique<Probe>();
        auto widget = std::make_unique<RenderWidget>();
        widget->setRenderer(probe.get());
        {
            const Probe copy(*probe);
            QCOMPARE(copy.renderWidget, widget.get());
        }
        QCOMPARE(widget->renderer(), probe.get());
        widget.reset();
        QVERIFY(!probe->renderWidget);
        widget = std::make_unique<RenderWidget>();
        widget->setRenderer(probe.get());
        probe.reset();
        QVERIFY(!widget->renderer());
        widget->grab();
        if (Contexts::none())
            return;
        auto shown = std::make_unique<Shown>();
        RenderWidget native;
        native.setRenderer(&shown->probe);
        QVERIFY(!shown->widget.renderer());
        QVERIFY(!shown->probe.onOpenGL);
        shown->probe.log.clear();
        shown->widget.setRenderer(&shown->probe);
        QVERIFY(shown->probe.onOpenGL);
        const QSize side = shown->widget.size();
        QCOMPARE(shown->probe.log,
                 QStringList(QString("size %1 %2").arg(side.width()).arg(side.height())));
        shown.reset();
    }

    void makesTheContextAnew_data()
    {
        columns<bool>("works");
        addRow("which works", true);
        addRow("which fails", false);
    }

    void makesTheContextAnew()
    {
        QFETCH(bool, works);
        if (Contexts::none())
            return;
        // Without shared contexts Qt makes another one for another window.
        QApplication::setAttribute(Qt::AA_ShareOpenGLContexts, false);
        Shown shown;
        QVERIFY(shown.works);
        QWidget window;
        window.resize(64, 48);
        window.show();
        const QSignalSpy initialized(&shown.widget, &GLRenderWidget::initialize);
        const QSignalSpy failed(&shown.widget, &GLRenderWidget::failed);
        shown.widget.setParent(&window);
        if (!works)
            shown.widget.setFormat(impossibleFormat());
        shown.widget.show();
        QApplication::setAttribute(Qt::AA_ShareOpenGLContexts, true);
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_COMPARE(initialized.count(), int(works));
        QTRY_COMPARE(failed.count(), int(!works));
        if (!works) {
            shown.widget.setParent(nullptr);
            return;
        }
        QRandomGenerator random(5);
        const Quad quad(random);
        shown.drawPlainly(quad);
        const QImage picture = shown.textured([&] { shown.draw(quad); });
        QCOMPARE(shown.plain.differences(picture), QString());
        shown.widget.setParent(nullptr);
    }

    void tellsThatTheContextIsLost()
    {
        if (Contexts::none())
            return;
        Shown shown;
        QVERIFY(shown.works);
        QSignalSpy failed(&shown.widget, &GLRenderWidget::failed);
        shown.widget.context()->setFormat(impossibleFormat()); // the object is left without one
        QVERIFY(!shown.widget.context()->create());
        shown.widget.update();
        QTRY_COMPARE(failed.count(), 1);
        shown.widget.resize(90, 90);
        shown.widget.repaint();
        QCoreApplication::processEvents();
        shown.widget.setCustomPixelShader(nullptr, nullptr);
        QTest::mousePress(&shown.widget, Qt::LeftButton, {}, {3, 4});
        QVERIFY(shown.probe.log.contains("press 3 4 1"));
        RenderWidget native;
        native.setRenderer(&shown.probe);
        QVERIFY(!shown.probe.onOpenGL);
        QCOMPARE(failed.count(), 1);
    }

    void nothingWithoutOpenGL()
    {
        // On a widget of the other kind the drawing operations do nothing.
        RenderWidget widget;
        widget.resize(20, 20);
        Probe probe;
        widget.setRenderer(&probe);
        Texture texture(white());
        probe.drawing = [&](Probe &, QPainter &painter) {
            painter.fillRect(0, 0, 20, 20, Qt::blue);
            probe.beginTextureDrawing(painter);
            QVERIFY(!probe.glSetBlend(true));
            probe.glSetBlendEquation(Renderer::BlendAdd);
            probe.glSetBlendFunction(Renderer::BlendOne, Renderer::BlendOne);
            probe.glDrawImage(matrix(QRectF(0, 0, 9, 9)), &texture, nullptr, 0, 1, true, 0);
            probe.glDrawImageTiled({1, 1}, {}, matrix(QRectF(0, 0, 9, 9)), &texture, nullptr, 0, 1,
                                   true);
            probe.endTextureDrawing(painter);
        };
        QCOMPARE(widget.grab().toImage().pixelColor(2, 2), QColor(Qt::blue));
    }
};

int main(int argc, char **argv)
{
    return Contexts::run<TestRenderWidgets>(argc, argv);
}

#include "tst_renderwidgets.moc"
