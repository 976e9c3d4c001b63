// The viewport beside bare programs that draw the same pictures, quads and lines.

#include <bench/besidebare.h>
#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/graphicsrenderer.h>
#include <kilnx/render/renderwidget.h>
#include <kilnx/render/texture.h>
#include <tests/render/fakeboxes.h>
#include <tests/render/fakeview.h>

#include <QtGui/QOffscreenSurface>
#include <QtGui/QOpenGLContext>
#include <QtGui/QOpenGLShaderProgram>
#include <QtGui/QPainter>
#include <QtGui/QWindow>
#include <QtWidgets/QOpenGLWidget>

using namespace Kiln;

namespace
{

constexpr QSize viewSize(1280, 720);
constexpr QPoint stageOrigin(640, 600);
constexpr int zoom = 2;
constexpr QPoint guides(30, -40);
const QColor top(72, 76, 84);
const QColor bottom(40, 43, 48);
const QColor boxColor(220, 60, 60);

QImage spritePicture(const QSize &size)
{
    QImage image(size, QImage::Format_Indexed8);
    QVector<QRgb> colors(256);
    for (int i = 1; i < 256; ++i)
        colors[i] = qRgb(i, 255 - i, i * 7 % 256);
    image.setColorTable(colors);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, (x / 8 + y / 8) % 3 ? uint(1 + (x * y) % 255) : 0U);
    }
    return image;
}

QVector<QRect> boxRects(int count)
{
    QVector<QRect> rects;
    for (int i = 0; i < count; ++i)
        rects.append(QRect(-280 + i * 37 % 540, -280 + i * 53 % 300, 20 + i % 30, 15 + i % 25));
    return rects;
}

/// What both programs draw.
struct Scene {
    Scene(int boxCount)
        : attack(ContactBoxCode::Attack, boxRects(boxCount))
    {
        for (int i = 0; i < 5; ++i) {
            sprites.push_back(std::make_unique<FakeSprite>(spritePicture({120, 140})));
            provider.add(sprites.back().get(), spritePlace(i));
        }
    }
    static QPoint spritePlace(int index) { return {-250 + 100 * index, -150}; }

    std::vector<std::unique_ptr<FakeSprite>> sprites;
    FakeProvider provider;
    FakeBoxes attack;
};

/// The library's view of it.
class OwnView : public FakeView
{
public:
    explicit OwnView(Scene &scene)
    {
        setZoomTable(0);
        setZoomLevel(5);
        setOrigin(stageOrigin);
        setBackground(top, bottom, BackgroundStage, {}, {}, {320, 240});
        setCrossHair(CrossHairBuiltIn, {}, {}, {});
        setupContactBoxes(boxColor, boxColor, 0.6F);
        setPriority(false, false);
        setSprites(&scene.provider);
        setOnionSkinSprite(scene.sprites[0].get(), Scene::spritePlace(0) + QPoint(20, 10));
        setOnionSkin(true, OnionNormal, 0.5F);
        setContactBoxes(ContactBoxCode::Attack, &scene.attack);
        setGuideLines(guides);
        setVisibility(true, true, true, true, true, true, true);
    }
    ~OwnView() override { setSprites(nullptr); }
};

/// The same frame by a painter alone, as one would write it for this scene.
class BareFrame
{
public:
    explicit BareFrame(const Scene &scene)
        : m_boxes(scene.attack.rects())
    {
        for (const auto &sprite : scene.sprites)
            m_sprites.append(QPixmap::fromImage(sprite->picture));
    }
    void below(QPainter &painter) const
    {
        QLinearGradient gradient(0, 0, 0, viewSize.height());
        gradient.setColorAt(0, top);
        gradient.setColorAt(1, bottom);
        painter.fillRect(QRect(QPoint(), viewSize), gradient);
        painter.drawPixmap(QRect(stageOrigin + QPoint(-212, -207) * zoom, m_stage.size() * zoom),
                           m_stage);
    }
    void sprites(QPainter &painter) const
    {
        painter.setOpacity(0.5);
        painter.drawPixmap(area(Scene::spritePlace(0) + QPoint(20, 10)), m_sprites.first());
        painter.setOpacity(1);
        for (int i = 0; i < m_sprites.size(); ++i)
            painter.drawPixmap(area(Scene::spritePlace(i)), m_sprites[i]);
    }
    static QRect area(QPoint place) { return {stageOrigin + place * zoom, QSize(120, 140) * zoom}; }
    void above(QPainter &painter) const
    {
        for (const QRect &box : m_boxes) {
            const QRect r(stageOrigin + box.topLeft() * zoom, box.size() * zoom);
            painter.setOpacity(0.3);
            painter.fillRect(r.adjusted(zoom, zoom, 0, 0), boxColor);
            painter.setOpacity(1);
            painter.fillRect(r.x(), r.y(), zoom, r.height(), boxColor);
            painter.fillRect(r.x(), r.y(), r.width(), zoom, boxColor);
            painter.fillRect(r.right() + 1 - zoom, r.y(), zoom, r.height(), boxColor);
            painter.fillRect(r.x(), r.bottom() + 1 - zoom, r.width(), zoom, boxColor);
        }
        for (const QPixmap &cross : m_crosses)
            painter.drawPixmap(QRect(stageOrigin - QPoint(10, 10) * zoom, cross.size() * zoom),
                               cross);
        painter.fillRect(0, guides.y() * zoom + stageOrigin.y(), viewSize.width(), zoom, Qt::cyan);
        painter.fillRect(guides.x() * zoom + stageOrigin.x(), 0, zoom, viewSize.height(), Qt::cyan);
        rulers(painter);
    }

private:
    static void rulers(QPainter &painter)
    {
        painter.fillRect(0, 0, 30, viewSize.height(), top);
        painter.fillRect(30, 0, viewSize.width() - 30, 30, top);
        painter.fillRect(10, 10, 10, viewSize.height(), bottom);
        painter.fillRect(20, 10, viewSize.width() - 10, 10, bottom);
        painter.setPen(QColor(183, 179, 171));
        for (int at = 30; at < viewSize.width(); at += 10) {
            const int k = (at - stageOrigin.x()) / 10;
            painter.drawLine(at, k % 5 ? 24 : 20, at, 29);
            if (k % 5 == 0)
                painter.drawText(QRect(at - 50, 0, 100, 30), Qt::AlignCenter,
                                 QString::number(k * 5));
        }
        for (int at = 30; at < viewSize.height(); at += 10) {
            const int k = (at - stageOrigin.y()) / 10;
            painter.drawLine(k % 5 ? 24 : 20, at, 29, at);
            if (k % 5 == 0)
                painter.drawText(QRect(0, at - 50, 30, 100), Qt::AlignCenter,
                                 QString::number(k * 5));
        }
    }

    QVector<QRect> m_boxes;
    QVector<QPixmap> m_sprites;
    QPixmap m_stage{":/kiln_icons/icons/240p.png"};
    QPixmap m_crosses[3] = {QPixmap(":/kiln_icons/icons/extra.png"),
                            QPixmap(":/kiln_icons/icons/air.png"),
                            QPixmap(":/kiln_icons/icons/sff.png")};
};

/// A bare program for the same frame through OpenGL, with the library's shader for indices.
class BareCard : public QOpenGLWidget
{
public:
    explicit BareCard(Scene &scene)
        : m_frame(scene)
    {
        for (const auto &sprite : scene.sprites)
            m_images.push_back(std::make_unique<Texture>(sprite->picture));
        RGBA colors[256];
        for (int i = 0; i < 256; ++i)
            colors[i] = fromQRgb(scene.sprites[0]->picture.color(i));
        for (int i = 0; i < 5; ++i)
            m_palettes.push_back(std::make_unique<Texture>(colors));
    }
    ~BareCard() override
    {
        makeCurrent();
        m_program.reset();
        doneCurrent();
    }

protected:
    void initializeGL() override
    {
        m_program = std::make_unique<QOpenGLShaderProgram>();
        m_program->addShaderFromSourceCode(
            QOpenGLShader::Vertex,
            "attribute highp vec2 position;\nattribute highp vec2 texCoord;\n"
            "uniform highp mat4 matrix;\nvarying mediump vec2 uv;\nvoid main() {\n"
            "    uv = texCoord;\n    gl_Position = matrix * vec4(position, 0.0, 1.0);\n}\n");
        m_program->addShaderFromSourceCode(
            QOpenGLShader::Fragment,
            "uniform sampler2D image;\nuniform sampler2D palette;\nuniform highp float opacity;\n"
            "uniform lowp float mask;\nvarying mediump vec2 uv;\nvoid main() {\n"
            "    float index = texture2D(image, uv.st).r;\n"
            "    vec4 color = texture2D(palette, vec2(index, 0.5));\n"
            "    if (mask < 1.0)\n       color.a = 1.0;\n    if (color.a == 0.0)\n        "
            "discard;\n"
            "    gl_FragColor = vec4(color.rgb, color.a * opacity);\n}\n");
        m_program->link();
    }
    void paintGL() override
    {
        QOpenGLFunctions *gl = context()->functions();
        gl->glClear(GL_COLOR_BUFFER_BIT);
        QPainter painter(this);
        m_frame.below(painter);
        painter.beginNativePainting();
        m_program->bind();
        m_program->setUniformValue("image", 0);
        m_program->setUniformValue("palette", 1);
        m_program->setUniformValue("mask", 1.0F);
        gl->glEnable(GL_BLEND);
        gl->glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        quad(gl, 0, Scene::spritePlace(0) + QPoint(20, 10), 0.5F);
        for (int i = 0; i < 5; ++i)
            quad(gl, i, Scene::spritePlace(i), 1);
        gl->glDisable(GL_BLEND);
        m_program->release();
        painter.endNativePainting();
        m_frame.above(painter);
    }

private:
    void quad(QOpenGLFunctions *gl, int sprite, QPoint place, float opacity)
    {
        static const float positions[] = {0, 1, 0, 0, 1, 0, 1, 0, 1, 1, 0, 1};
        static const float coordinates[] = {0, 0, 0, 1, 1, 1, 1, 1, 1, 0, 0, 0};
        const QRect area = BareFrame::area(place);
        QMatrix4x4 matrix;
        matrix.ortho(QRect(QPoint(), viewSize));
        matrix.translate(float(area.x()), float(area.y()));
        matrix.scale(float(area.width()), float(area.height()));
        m_program->setUniformValue("matrix", matrix);
        m_program->setUniformValue("opacity", opacity);
        gl->glActiveTexture(GL_TEXTURE1);
        gl->glBindTexture(GL_TEXTURE_2D, m_palettes[size_t(sprite)]->id());
        gl->glActiveTexture(GL_TEXTURE0);
        gl->glBindTexture(GL_TEXTURE_2D, m_images[size_t(sprite)]->id());
        m_program->enableAttributeArray("position");
        m_program->enableAttributeArray("texCoord");
        m_program->setAttributeArray("position", positions, 2);
        m_program->setAttributeArray("texCoord", coordinates, 2);
        gl->glDrawArrays(GL_TRIANGLES, 0, 6);
        m_program->disableAttributeArray("texCoord");
        m_program->disableAttributeArray("position");
    }

    BareFrame m_frame;
    std::vector<std::unique_ptr<Texture>> m_images;
    std::vector<std::unique_ptr<Texture>> m_palettes;
    std::unique_ptr<QOpenGLShaderProgram> m_program;
};

void show(QWidget &widget)
{
    widget.setFixedSize(viewSize);
    widget.show();
    while (!widget.windowHandle()->isExposed())
        QApplication::processEvents();
    QApplication::processEvents();
}

/// One frame, drawn to its end and shown.
void frame(QOpenGLWidget &widget)
{
    bool shown = false;
    const auto connection = QObject::connect(&widget, &QOpenGLWidget::frameSwapped, &widget,
                                             [&shown] { shown = true; });
    widget.update();
    while (!shown)
        QApplication::processEvents();
    QObject::disconnect(connection);
    widget.makeCurrent();
    widget.context()->functions()->glFinish();
}

void frameOpenGL(benchmark::State &state)
{
    Scene scene(60);
    OwnView view(scene);
    GLRenderWidget own;
    show(own);
    own.setRenderer(&view);
    BareCard bare(scene);
    show(bare);
    BesideBare::Comparison comparison(state);
    for (auto _ : state)
        comparison.add([&] { frame(own); }, [&] { frame(bare); });
}
BENCHMARK(frameOpenGL)->UseManualTime()->Unit(benchmark::kMicrosecond);

void frameNative(benchmark::State &state)
{
    Scene scene(60);
    // As a host does it: the palette's colours are looked up once a picture, not once a frame.
    class View : public OwnView
    {
    public:
        using OwnView::OwnView;
        void paintSprite(QPainter &painter,
                         QPoint anchor,
                         QPoint offset,
                         QSize size,
                         float,
                         unsigned char,
                         Sprite *sprite,
                         int) override
        {
            painter.drawPixmap(QRect(anchor + offset, size), picture(sprite));
        }
        void paintOnionSprite(QPainter &painter,
                              const Sprite *sprite,
                              QPoint anchor,
                              QPoint offset,
                              QSize size,
                              float opacity,
                              OnionEffect) override
        {
            painter.setOpacity(qreal(opacity));
            painter.drawPixmap(QRect(anchor + offset, size), picture(sprite));
            painter.setOpacity(1);
        }

    private:
        const QPixmap &picture(const Sprite *sprite)
        {
            QPixmap &pixmap = m_pictures[sprite];
            if (pixmap.isNull())
                pixmap = QPixmap::fromImage(sprite->image());
            return pixmap;
        }
        QHash<const Sprite *, QPixmap> m_pictures;
    };
    View view(scene);
    view.sizeChanged(viewSize.width(), viewSize.height());
    const BareFrame bare(scene);
    QImage own(viewSize, QImage::Format_RGB32);
    QImage other(viewSize, QImage::Format_RGB32);
    BesideBare::Comparison comparison(state);
    for (auto _ : state) {
        comparison.add(
            [&] {
                QPainter painter(&own);
                view.render(painter);
            },
            [&] {
                QPainter painter(&other);
                bare.below(painter);
                bare.sprites(painter);
                bare.above(painter);
            });
    }
}
BENCHMARK(frameNative)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// Another palette, with 1,000 sprites on the card, and the next frame, beside a frame alone.
void paletteChange(benchmark::State &state)
{
    Scene scene(60);
    OwnView view(scene);
    GLRenderWidget own;
    show(own);
    own.setRenderer(&view);
    std::vector<std::unique_ptr<Texture>> images;
    for (int i = 0; i < 1000; ++i)
        images.push_back(std::make_unique<Texture>(scene.sprites[0]->picture));
    RGBA colors[256] = {};
    Texture palette(colors);
    BesideBare::Comparison comparison(state);
    for (auto _ : state) {
        comparison.add(
            [&] {
                colors[7].r++;
                palette.fromPalette(colors);
                frame(own);
            },
            [&] { frame(own); });
    }
}
BENCHMARK(paletteChange)->UseManualTime()->Unit(benchmark::kMicrosecond);

void dataFromImage(benchmark::State &state)
{
    const bool indexed = state.range(0);
    QImage image = spritePicture({640, 480});
    if (!indexed)
        image = image.convertToFormat(QImage::Format_ARGB32);
    Texture::hasContext();
    Texture::ImageData data;
    QByteArray copy(int(image.sizeInBytes()), '\0');
    BesideBare::Comparison comparison(state);
    for (auto _ : state) {
        comparison.add([&] { Texture::dataFromImage(image, data); },
                       [&] { memcpy(copy.data(), image.constBits(), size_t(copy.size())); });
        benchmark::DoNotOptimize(copy.data());
    }
}
BENCHMARK(dataFromImage)
    ->ArgName("indexed")
    ->Arg(1)
    ->Arg(0)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

void fromData(benchmark::State &state)
{
    const bool indexed = state.range(0);
    QImage image = spritePicture({640, 480});
    if (!indexed)
        image = image.convertToFormat(QImage::Format_ARGB32);
    Texture::hasContext();
    Texture::ImageData data;
    Texture::dataFromImage(image, data);
    Texture texture;
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    context.create();
    context.makeCurrent(&surface);
    QOpenGLFunctions *gl = context.functions();
    const GLenum format = indexed ? GL_LUMINANCE : GL_RGBA;
    GLuint name = 0;
    context.doneCurrent();
    BesideBare::Comparison comparison(state);
    for (auto _ : state) {
        comparison.add([&] { texture.fromData(data); },
                       [&] {
                           context.makeCurrent(&surface);
                           gl->glDeleteTextures(1, &name);
                           gl->glGenTextures(1, &name);
                           gl->glBindTexture(GL_TEXTURE_2D, name);
                           gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
                           gl->glTexImage2D(GL_TEXTURE_2D, 0, GLint(format), 640, 480, 0, format,
                                            GL_UNSIGNED_BYTE, data.data.constData());
                           context.doneCurrent();
                       });
    }
}
BENCHMARK(fromData)->ArgName("indexed")->Arg(1)->Arg(0)->UseManualTime()->Unit(
    benchmark::kMicrosecond);

/// A step of the drag of one box among 2,000, with its painting, beside one among 20.
void dragOfOneBox(benchmark::State &state)
{
    struct Side {
        Side(int count, bool openGL)
            : scene(count)
            , view(scene)
        {
            RenderWidgetBase *face = &native;
            QWidget *widget = &native;
            if (openGL) {
                face = &card;
                widget = &card;
            }
            show(*widget);
            face->setRenderer(&view);
            m_at = stageOrigin + boxRects(count).last().center() * zoom;
            view.mousePressed(m_at, Qt::LeftButton, {});
            if (view.selectedContactBoxes().size() != 1)
                qFatal("no box was hit");
        }
        void step()
        {
            m_aside = !m_aside;
            view.mouseMoved(m_at + QPoint(m_aside ? zoom : 0, 0), {});
            QApplication::sendPostedEvents();
            QApplication::processEvents();
        }
        Scene scene;
        OwnView view;
        RenderWidget native;
        GLRenderWidget card;
        QPoint m_at;
        bool m_aside = false;
    };
    const bool openGL = state.range(0);
    Side many(2000, openGL);
    Side few(20, openGL);
    BesideBare::Comparison comparison(state);
    for (auto _ : state)
        comparison.add([&] { many.step(); }, [&] { few.step(); });
}
BENCHMARK(dragOfOneBox)
    ->ArgName("OpenGL")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    QSurfaceFormat format;
    format.setSwapInterval(0);
    QSurfaceFormat::setDefaultFormat(format);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    const QApplication application(argc, argv);
    Texture::setOpenGLEnabled(true);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
