#include <kilnx/image/palette.h>
#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/renderwidget.h>
#include <kilnx/render/texture.h>
#include <tests/render/contexts.h>

#include <QMatrix4x4>
#include <QOpenGLContext>
#include <QOpenGLShaderProgram>
#include <QPainter>
#include <QRandomGenerator>
#include <QSignalSpy>

#include <functional>
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

enum class Blend { None, Alpha, Add, Subtract };

/// One drawing of an image.
struct Quad {
    QImage image;     // of Format_Indexed8 or Format_ARGB32
    QRgb colors[256]; // of the palette
    QRect target;     // in logical pixels
    unsigned char flip = 0;
    float opacity = 1;
    bool mask = true;
    unsigned char effect = 0;
    Blend blend = Blend::None;
};

/// Draws quads pixel by pixel, as the library should.
class PlainCard
{
public:
    PlainCard(const QSize &size, int ratio, QColor color)
        : m_picture(size * ratio, QImage::Format_RGB32)
        , m_ratio(ratio)
    {
        m_picture.fill(color);
    }
    const QImage &picture() const { return m_picture; }
    void fill(const QRect &rect, QColor color)
    {
        QPainter painter(&m_picture);
        painter.fillRect(QRect(rect.topLeft() * m_ratio, rect.size() * m_ratio), color);
    }
    void draw(const Quad &quad)
    {
        const QRect &target = quad.target;
        for (int y = 0; y < m_picture.height(); ++y) {
            for (int x = 0; x < m_picture.width(); ++x) {
                const double u = ((x + 0.5) / m_ratio - target.x()) / target.width();
                const double v = ((y + 0.5) / m_ratio - target.y()) / target.height();
                if (u >= 0 && u < 1 && v >= 0 && v < 1)
                    shade(quad, u, v, x, y);
            }
        }
    }

private:
    void shade(const Quad &quad, double u, double v, int x, int y)
    {
        const QPoint texel(int(((quad.flip & 1) ? 1 - u : u) * quad.image.width()),
                           int(((quad.flip & 2) ? 1 - v : v) * quad.image.height()));
        const bool indexed = quad.image.format() == QImage::Format_Indexed8;
        const QRgb color =
            indexed ? quad.colors[quad.image.pixelIndex(texel)] : quad.image.pixel(texel);
        double source[] = {qRed(color) / 255.0, qGreen(color) / 255.0, qBlue(color) / 255.0};
        const double alpha = quad.mask ? qAlpha(color) / 255.0 : 1.0;
        if (alpha == 0)
            return;
        const double share = alpha * double(quad.opacity);
        const QRgb old = m_picture.pixel(x, y);
        const double there[] = {qRed(old) / 255.0, qGreen(old) / 255.0, qBlue(old) / 255.0};
        int result[3];
        for (int i = 0; i < 3; ++i) {
            double value = quad.effect == 1 ? qRed(color) / 255.0 : source[i];
            value += quad.effect == 2 ? 0.5 : quad.effect == 3 ? -0.5 : 0.0;
            value = qBound(0.0, value, 1.0);
            if (quad.blend == Blend::Alpha)
                value = value * share + there[i] * (1 - share);
            else if (quad.blend == Blend::Add)
                value = value * share + there[i];
            else if (quad.blend == Blend::Subtract)
                value = there[i] - value * share;
            result[i] = qRound(qBound(0.0, value, 1.0) * 255);
        }
        m_picture.setPixel(x, y, qRgb(result[0], result[1], result[2]));
    }

    QImage m_picture;
    int m_ratio;
};

/// Draws quads through the library, which must be between beginTextureDrawing() and its end.
class Card
{
public:
    void draw(Probe &probe, const Quad &quad)
    {
        const bool indexed = quad.image.format() == QImage::Format_Indexed8;
        m_textures.push_back(std::make_unique<Texture>(quad.image));
        Texture *image = m_textures.back().get();
        Texture *palette = nullptr;
        if (indexed) {
            RGBA colors[256];
            for (int i = 0; i < 256; ++i)
                colors[i] = fromQRgb(quad.colors[i]);
            m_textures.push_back(std::make_unique<Texture>(colors));
            palette = m_textures.back().get();
        }
        probe.glSetBlend(quad.blend != Blend::None);
        if (quad.blend != Blend::None) {
            probe.glSetBlendEquation(quad.blend == Blend::Subtract ? Renderer::BlendReverseSubtract
                                                                   : Renderer::BlendAdd);
            probe.glSetBlendFunction(Renderer::BlendSrcAlpha, quad.blend == Blend::Alpha
                                                                  ? Renderer::BlendOneMinusSrcAlpha
                                                                  : Renderer::BlendOne);
        }
        probe.glDrawImage(matrix(quad.target), image, palette, quad.flip, quad.opacity, quad.mask,
                          quad.effect);
    }
    static QMatrix4x4 matrix(const QRectF &target)
    {
        QMatrix4x4 matrix;
        matrix.translate(float(target.x()), float(target.y()));
        matrix.scale(float(target.width()), float(target.height()));
        return matrix;
    }

private:
    std::vector<std::unique_ptr<Texture>> m_textures;
};

Quad randomQuad(QRandomGenerator &random)
{
    const auto below = [&random](int bound) { return random.bounded(bound); };
    Quad quad;
    const QSize size(1 + below(12), 1 + below(12));
    const bool indexed = below(2) == 0;
    quad.image = QImage(size, indexed ? QImage::Format_Indexed8 : QImage::Format_ARGB32);
    if (indexed)
        quad.image.setColorCount(256);
    for (QRgb &color : quad.colors)
        color = qRgba(below(256), below(256), below(256), below(3) ? 255 : below(256));
    quad.colors[0] &= 0xFFFFFF;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            quad.image.setPixel(x, y, indexed ? uint(below(256)) : quad.colors[below(256)]);
    }
    quad.target = QRect(QPoint(below(80) - 20, below(80) - 20), size * (1 + below(5)));
    quad.flip = uchar(below(4));
    quad.opacity = below(2) ? 1.0F : float(below(101)) / 100;
    quad.mask = below(4) != 0;
    quad.effect = uchar(below(4));
    quad.blend = Blend(below(4));
    return quad;
}

/// The greatest difference of a channel, 999 for other sizes.
int difference(const QImage &a, const QImage &b)
{
    if (a.size() != b.size())
        return 999;
    int most = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            most = qMax(most, qAbs(qRed(p) - qRed(q)));
            most = qMax(most, qAbs(qGreen(p) - qGreen(q)));
            most = qMax(most, qAbs(qBlue(p) - qBlue(q)));
        }
    }
    return most;
}

/// A view through OpenGL on the screen, with a probe in it.
struct Shown {
    explicit Shown(const QSize &size = QSize(64, 48))
    {
        widget.resize(size);
        QObject::connect(&widget, &GLRenderWidget::initialize, &widget,
                         [this] { widget.setRenderer(&probe); });
        widget.show();
        works = QTest::qWaitForWindowExposed(&widget) && widget.renderer() == &probe;
    }
    QImage picture(std::function<void(Probe &, QPainter &)> drawing)
    {
        probe.drawing = std::move(drawing);
        return widget.grabFramebuffer();
    }
    int ratio() const { return qRound(widget.devicePixelRatioF()); }

    Probe probe;
    GLRenderWidget widget;
    bool works = false;
};

} // namespace

class TestRenderWidgets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void drawsAsAPlainModel();
    void guards_data();
    void guards();
    void tiles_data();
    void tiles();
    void replacesPixelShaders();
    void forwardsInput_data();
    void forwardsInput();
    void rendererMoves();
    void survivesWhatDiesFirst();
    void makesTheContextAnew();
    void tellsThatTheContextIsLost();
    void nothingWithoutOpenGL();
};

void TestRenderWidgets::initTestCase()
{
    Texture::setOpenGLEnabled(true);
    QCOMPARE(GLRenderWidget::isSupported(), !Contexts::none());
}

void TestRenderWidgets::drawsAsAPlainModel()
{
    if (Contexts::none())
        return;
    Shown shown;
    QVERIFY(shown.works);
    QRandomGenerator random(41);
    for (int scene = 0; scene < 40; ++scene) {
        QVector<Quad> quads;
        for (int i = 0; i < 6; ++i)
            quads.append(randomQuad(random));
        PlainCard plain(shown.widget.size(), shown.ratio(), Qt::magenta);
        const QImage picture = shown.picture([&](Probe &probe, QPainter &painter) {
            // Between two runs of textures the painter draws with the state that it expects.
            for (int half = 0; half < 2; ++half) {
                const QRect rect(5 + half * 20, 7, 13, 11);
                const QColor color(200, 100 * half, 30);
                painter.fillRect(rect, color);
                plain.fill(rect, color);
                Card card;
                probe.beginTextureDrawing(painter);
                for (int i = half * 3; i < half * 3 + 3; ++i) {
                    card.draw(probe, quads[i]);
                    plain.draw(quads[i]);
                }
                probe.endTextureDrawing(painter);
            }
        });
        const int most = difference(picture, plain.picture());
        // A blended pixel is within 1; where three of them lie on each other, that adds up.
        QVERIFY2(most <= 2, qPrintable(QString("scene %1: %2").arg(scene).arg(most)));
    }
}

void TestRenderWidgets::guards_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("no image") << 0;
    QTest::newRow("empty texture") << 1;
    QTest::newRow("palette as image") << 2;
    QTest::newRow("image removed from the card") << 3;
    QTest::newRow("effect out of range") << 4;
    QTest::newRow("empty rectangle") << 5;
}

void TestRenderWidgets::guards()
{
    if (Contexts::none())
        return;
    QFETCH(int, row);
    Shown shown;
    QVERIFY(shown.works);
    QImage white(4, 4, QImage::Format_RGB32);
    white.fill(Qt::white);
    const RGBA colors[256] = {};
    Texture full(white);
    Texture removed(white);
    removed.fromImage(QImage());
    Texture empty;
    Texture palette(colors);
    Texture *const images[] = {nullptr, &empty, &palette, &removed, &full, &full};
    const QRectF target = row == 5 ? QRectF(3, 3, 0, 0) : QRectF(0, 0, 30, 30);
    const QImage picture = shown.picture([&](Probe &probe, QPainter &painter) {
        probe.beginTextureDrawing(painter);
        probe.glDrawImage(Card::matrix(target), images[row], nullptr, 0, 1, true, row == 4 ? 4 : 0);
        if (row == 5 || row == 1)
            probe.glDrawImageTiled({1, 1}, {}, Card::matrix(target), images[row], nullptr, 0, 1,
                                   true);
        probe.endTextureDrawing(painter);
    });
    const PlainCard plain(shown.widget.size(), shown.ratio(), Qt::magenta);
    QCOMPARE(difference(picture, plain.picture()), 0);
}

void TestRenderWidgets::tiles_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QPoint>("count");
    QTest::addColumn<QPoint>("spacing");
    QTest::addColumn<QRect>("target");
    QTest::addColumn<int>("flip");
    QTest::newRow("fills the widget")
        << QSize(8, 6) << QPoint(1, 1) << QPoint() << QRect(19, 23, 8, 6) << 0;
    QTest::newRow("fills it from beyond the left")
        << QSize(7, 5) << QPoint(0, 0) << QPoint() << QRect(-30, -2, 7, 5) << 1;
    QTest::newRow("two columns") << QSize(7, 5) << QPoint(2, 1) << QPoint() << QRect(10, 10, 14, 10)
                                 << 2;
    QTest::newRow("exact counts") << QSize(3, 3) << QPoint(4, 3) << QPoint() << QRect(5, 6, 6, 6)
                                  << 3;
    QTest::newRow("apart") << QSize(5, 4) << QPoint(3, 2) << QPoint(2, 3) << QRect(5, 6, 5, 4) << 1;
    QTest::newRow("apart, filling")
        << QSize(5, 4) << QPoint(0, 0) << QPoint(2, 1) << QRect(33, 20, 5, 4) << 2;
    QTest::newRow("closer than they are wide")
        << QSize(2, 2) << QPoint(40, 1) << QPoint(-9, 0) << QRect(3, 0, 2, 2) << 0;
}

void TestRenderWidgets::tiles()
{
    if (Contexts::none())
        return;
    QFETCH(QSize, size);
    QFETCH(QPoint, count);
    QFETCH(QPoint, spacing);
    QFETCH(QRect, target);
    QFETCH(int, flip);
    Shown shown;
    QVERIFY(shown.works);
    QRandomGenerator random(7);
    Quad quad;
    do {
        quad = randomQuad(random);
    } while (quad.image.format() != QImage::Format_ARGB32);
    quad.image = quad.image.copy(QRect(QPoint(), size));
    quad.flip = uchar(flip);
    quad.opacity = 1;
    quad.mask = false;
    quad.effect = 0;
    quad.blend = Blend::None;

    PlainCard plain(shown.widget.size(), shown.ratio(), Qt::magenta);
    const QPoint step(qMax(1, target.width() + spacing.x()),
                      qMax(1, target.height() + spacing.y()));
    for (int row = -60; row < 60; ++row) {
        for (int column = -60; column < 60; ++column) {
            const bool inColumns = count.x() < 2 || (column >= 0 && column < count.x());
            const bool inRows = count.y() < 2 || (row >= 0 && row < count.y());
            quad.target = target.translated(column * step.x(), row * step.y());
            if (inColumns && inRows && quad.target.intersects(shown.widget.rect()))
                plain.draw(quad);
        }
    }
    Texture texture(quad.image);
    const QImage picture = shown.picture([&](Probe &probe, QPainter &painter) {
        probe.beginTextureDrawing(painter);
        probe.glDrawImageTiled(count, spacing, Card::matrix(target), &texture, nullptr, quad.flip,
                               1, false);
        probe.endTextureDrawing(painter);
    });
    QVERIFY(difference(picture, plain.picture()) <= 1);
}

void TestRenderWidgets::replacesPixelShaders()
{
    if (Contexts::none())
        return;
    Shown shown;
    QVERIFY(shown.works);
    QImage white(4, 4, QImage::Format_RGB32);
    white.fill(Qt::white);
    Texture texture(white);
    QObject::connect(&shown.widget, &GLRenderWidget::setCustomShaderUniformValues, &shown.widget,
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
        if (i > 0)
            shown.widget.setCustomPixelShader(nullptr, sources[i]);
        const QImage picture = shown.picture([&](Probe &probe, QPainter &painter) {
            probe.beginTextureDrawing(painter);
            probe.glDrawImage(Card::matrix(QRectF(0, 0, 64, 48)), &texture, nullptr, 0, 1, true, 0);
            probe.endTextureDrawing(painter);
        });
        QCOMPARE(qRed(picture.pixel(9, 9)), reds[i]);
    }
}

void TestRenderWidgets::forwardsInput_data()
{
    QTest::addColumn<bool>("openGL");
    QTest::newRow("native") << false;
    QTest::newRow("OpenGL") << true;
}

void TestRenderWidgets::forwardsInput()
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

void TestRenderWidgets::rendererMoves()
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
    QVERIFY(!hidden.renderer());
    QVERIFY(!probe.renderWidget);
    Probe other;
    first.setRenderer(&probe);
    first.setRenderer(&other);
    QVERIFY(!probe.renderWidget);
    QCOMPARE(Bare().clearColor(), QColor(Qt::magenta));
}

void TestRenderWidgets::survivesWhatDiesFirst()
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
    shown->widget.setRenderer(&shown->probe);
    QVERIFY(shown->probe.onOpenGL);
    shown.reset();
}

void TestRenderWidgets::makesTheContextAnew()
{
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
    shown.widget.setParent(&window);
    shown.widget.show();
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts, true);
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_COMPARE(initialized.count(), 1);
    QRandomGenerator random(5);
    const Quad quad = randomQuad(random);
    PlainCard plain(shown.widget.size(), shown.ratio(), Qt::magenta);
    plain.draw(quad);
    Card card;
    const QImage picture = shown.picture([&](Probe &probe, QPainter &painter) {
        probe.beginTextureDrawing(painter);
        card.draw(probe, quad);
        probe.endTextureDrawing(painter);
    });
    QVERIFY(difference(picture, plain.picture()) <= 1);
    shown.widget.setParent(nullptr);
}

void TestRenderWidgets::tellsThatTheContextIsLost()
{
    if (Contexts::none())
        return;
    Shown shown;
    QVERIFY(shown.works);
    QSignalSpy failed(&shown.widget, &GLRenderWidget::failed);
    // No driver gives this kind of context, so the object is left without one.
    QSurfaceFormat impossible;
    impossible.setRenderableType(QSurfaceFormat::OpenVG);
    shown.widget.context()->setFormat(impossible);
    QVERIFY(!shown.widget.context()->create());
    shown.widget.update();
    QTRY_COMPARE(failed.count(), 1);
    shown.widget.resize(90, 90);
    shown.widget.repaint();
    shown.widget.setCustomPixelShader(nullptr, nullptr);
    QTest::mousePress(&shown.widget, Qt::LeftButton, {}, {3, 4});
    QVERIFY(shown.probe.log.contains("press 3 4 1"));
    RenderWidget native;
    native.setRenderer(&shown.probe);
    QVERIFY(!shown.probe.onOpenGL);
    QCOMPARE(failed.count(), 1);
}

void TestRenderWidgets::nothingWithoutOpenGL()
{
    // On a widget of the other kind the drawing operations do nothing.
    RenderWidget widget;
    widget.resize(20, 20);
    Probe probe;
    widget.setRenderer(&probe);
    QImage white(4, 4, QImage::Format_RGB32);
    white.fill(Qt::white);
    Texture texture(white);
    probe.drawing = [&](Probe &, QPainter &painter) {
        painter.fillRect(0, 0, 20, 20, Qt::blue);
        probe.beginTextureDrawing(painter);
        QVERIFY(!probe.glSetBlend(true));
        probe.glSetBlendEquation(Renderer::BlendAdd);
        probe.glSetBlendFunction(Renderer::BlendOne, Renderer::BlendOne);
        probe.glDrawImage(Card::matrix(QRectF(0, 0, 9, 9)), &texture, nullptr, 0, 1, true, 0);
        probe.glDrawImageTiled({1, 1}, {}, Card::matrix(QRectF(0, 0, 9, 9)), &texture, nullptr, 0,
                               1, true);
        probe.endTextureDrawing(painter);
    };
    QCOMPARE(widget.grab().toImage().pixelColor(2, 2), QColor(Qt::blue));
}

int main(int argc, char **argv)
{
    return Contexts::run<TestRenderWidgets>(argc, argv);
}

#include "tst_renderwidgets.moc"
