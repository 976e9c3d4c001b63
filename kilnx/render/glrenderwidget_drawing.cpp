#include <kilnx/render/glrenderwidget.h>

#include <kilnx/render/glrenderwidget_p.h>
#include <kilnx/render/texture.h>

#include <QtCore/QtMath>
#include <QtGui/QOpenGLContext>
#include <QtGui/QOpenGLExtraFunctions>
#include <QtGui/QOpenGLFunctions>
#include <QtGui/QOpenGLShaderProgram>

#include <cmath>

namespace Kiln
{

namespace
{

constexpr GLenum blendAdd = 0x8006;
constexpr GLenum vertexArrayBinding = 0x85B5;
constexpr int floatsPerVertex = 4; // the position, then the texture coordinate
/// More tiles than this on an axis are too small to be seen.
constexpr int mostTiles = 4096;
constexpr int mostAtOnce = 1 << 20; // numbers that one call hands to the card

const char vertexShader[] = "attribute highp vec2 position;\n"
                            "attribute highp vec2 texCoord;\n"
                            "uniform highp mat4 matrix;\n"
                            "varying mediump vec2 uv;\n"
                            "void main() {\n"
                            "    uv = texCoord;\n"
                            "    gl_Position = matrix * vec4(position, 0.0, 1.0);\n"
                            "}\n";

// The two standard pixel shaders differ in where a pixel's colour comes from.
#define KILNX_SHADE_AND_END                                                                        \
    "    if (mask < 1.0)\n"                                                                        \
    "       color.a = 1.0;\n"                                                                      \
    "    if (color.a == 0.0)\n"                                                                    \
    "        discard;\n"                                                                           \
    "#if defined(GRAYSCALE)\n"                                                                     \
    "    gl_FragColor = vec4(color.rrr, color.a * opacity);\n"                                     \
    "#elif defined(LIGHTER)\n"                                                                     \
    "    gl_FragColor = vec4(color.rgb + vec3(0.5, 0.5, 0.5), color.a * opacity);\n"               \
    "#elif defined(DARKER)\n"                                                                      \
    "    gl_FragColor = vec4(color.rgb - vec3(0.5, 0.5, 0.5), color.a * opacity);\n"               \
    "#else\n"                                                                                      \
    "    gl_FragColor = vec4(color.rgb, color.a * opacity);\n"                                     \
    "#endif\n"                                                                                     \
    "}\n"

const char indexedShader[] =
    "uniform sampler2D image;\n"
    "uniform sampler2D palette;\n"
    "uniform highp float opacity;\n"
    "uniform lowp float mask;\n"
    "varying mediump vec2 uv;\n"
    "void main() {\n"
    "    float index = texture2D(image, uv.st).r;\n"
    "    vec4 color = texture2D(palette, vec2(index, 0.5));\n" KILNX_SHADE_AND_END;

const char rgbaShader[] = "uniform sampler2D image;\n"
                          "uniform highp float opacity;\n"
                          "uniform lowp float mask;\n"
                          "varying mediump vec2 uv;\n"
                          "void main() {\n"
                          "    vec4 color = texture2D(image, uv.st);\n" KILNX_SHADE_AND_END;

#undef KILNX_SHADE_AND_END

/// What a core profile needs in front of the shaders, which are written in the language of before.
const char coreVertexHead[] = "#version 150\n"
                              "#define attribute in\n"
                              "#define varying out\n";
const char corePixelHead[] = "#version 150\n"
                             "#define varying in\n"
                             "#define texture2D texture\n"
                             "#define gl_FragColor fragmentColor\n"
                             "out vec4 fragmentColor;\n";

bool isCore()
{
    return QOpenGLContext::currentContext()->format().profile() == QSurfaceFormat::CoreProfile;
}

QByteArray pixelHead()
{
    if (isCore())
        return corePixelHead;
    return QOpenGLContext::openGLModuleType() == QOpenGLContext::LibGLES
               ? "precision mediump float;\n"
               : "";
}

QOpenGLFunctions *functions()
{
    return QOpenGLContext::currentContext()->functions();
}

/// The texture coordinates of an image's edges.
struct Edges {
    float left, right, bottom, top;
};

Edges edgesOf(const Texture &image, unsigned char flip)
{
    const auto u = float(image.maximumUV().width());
    const auto v = float(image.maximumUV().height());
    return {(flip & 1) ? u : 0, (flip & 1) ? 0 : u, (flip & 2) ? v : 0, (flip & 2) ? 0 : v};
}

/// Appends the two triangles of a quad. The upper left is (x, y); y grows downwards, while images
/// begin with their bottom row.
template<typename Out>
void appendQuad(Out &out, float x, float y, float width, float height, const Edges &uv)
{
    const float right = x + width;
    const float bottom = y + height;
    const float vertices[] = {
        x,     bottom, uv.left,  uv.bottom, x,     y,      uv.left,  uv.top,
        right, y,      uv.right, uv.top,    right, y,      uv.right, uv.top,
        right, bottom, uv.right, uv.bottom, x,     bottom, uv.left,  uv.bottom,
    };
    for (float value : vertices)
        out.append(value);
}

/// Where tiles stand on one axis, in terms of the tile's length.
struct Tiling {
    int first = 0;  // tiles before the one that was asked for
    int count = 1;  // of tiles
    float step = 1; // from one to the next
    bool wanted = false;
};

/// `origin`, `length` and `spacing` of a tile, and the widget's `extent`, all in pixels.
Tiling tiling(int count, float origin, float length, int spacing, int extent)
{
    Tiling tiles;
    if (!(length > 0) || !std::isfinite(origin) || !std::isfinite(length))
        return tiles;
    const float step = qMax(length + float(spacing), 1.0F);
    tiles.wanted = true;
    tiles.step = step / length;
    if (count >= 2) {
        tiles.count = qMin(count, mostTiles);
        return tiles;
    }
    const float before = std::ceil(origin / step);
    const float start = origin - before * step;
    tiles.count = qBound(1, int(std::ceil((float(extent) - start) / step)), mostTiles);
    tiles.first = int(qBound(-1e6F, before, 1e6F));
    return tiles;
}

/// Leaves out the tiles that end before the widget or begin behind it.
void clip(Tiling &tiles, float origin, float length, int extent)
{
    const float step = tiles.step * length;
    const float start = origin - float(tiles.first) * step;
    const int unseen = int(qBound(0.0F, std::floor((-start - length) / step), float(tiles.count)));
    const int end =
        int(qBound(0.0F, std::ceil((float(extent) - start) / step), float(tiles.count)));
    tiles.first -= unseen;
    tiles.count = qMax(0, end - unseen);
}

bool repeatsEverySize()
{
    static const bool repeats = functions()->hasOpenGLFeature(QOpenGLFunctions::NPOTTextures);
    return repeats;
}

} // namespace

GLRenderWidgetPrivate::GLRenderWidgetPrivate(GLRenderWidget *widget)
    : q(widget)
    , input(widget, widget)
{
}

bool GLRenderWidgetPrivate::createResources()
{
    releaseResources();
    for (ShaderSet *set : {&indexedShaders, &rgbaShaders}) {
        for (QOpenGLShaderProgram *&program : set->programs)
            program = new QOpenGLShaderProgram(q);
    }
    if (isCore())
        vertexArray.create();
    return vertexBuffer.create() && buildShaders(nullptr, nullptr);
}

void GLRenderWidgetPrivate::releaseResources()
{
    q->makeCurrent();
    for (ShaderSet *set : {&indexedShaders, &rgbaShaders}) {
        for (QOpenGLShaderProgram *program : set->programs)
            delete program;
        *set = ShaderSet();
    }
    vertexBuffer.destroy();
    vertexArray.destroy();
    holdsQuad = false;
    currentProgram = nullptr;
    currentPalette = nullptr;
    forgetBlend();
    blendEnabled = false;
}

bool GLRenderWidgetPrivate::buildShaders(const char *indexedSource, const char *rgbaSource)
{
    const bool indexed = buildSet(indexedShaders, indexedSource ? indexedSource : indexedShader);
    return buildSet(rgbaShaders, rgbaSource ? rgbaSource : rgbaShader) && indexed;
}

bool GLRenderWidgetPrivate::buildSet(ShaderSet &set, const char *source)
{
    static const char *const effects[] = {
        "",
        "#define GRAYSCALE\n",
        "#define LIGHTER\n",
        "#define DARKER\n",
    };
    const QByteArray vertexSource = (isCore() ? coreVertexHead : "") + QByteArray(vertexShader);
    const QByteArray head = pixelHead();
    bool works = true;
    for (int effect = 0; effect < 4; ++effect) {
        QOpenGLShaderProgram *program = set.programs[effect];
        program->removeAllShaders();
        works &= program->addShaderFromSourceCode(QOpenGLShader::Vertex, vertexSource);
        works &= program->addShaderFromSourceCode(QOpenGLShader::Fragment,
                                                  head + effects[effect] + source);
        works &= program->link();
    }
    const QOpenGLShaderProgram *first = set.programs[0];
    set.matrix = first->uniformLocation("matrix");
    set.opacity = first->uniformLocation("opacity");
    set.mask = first->uniformLocation("mask");
    set.image = first->uniformLocation("image");
    set.palette = first->uniformLocation("palette");
    set.position = first->attributeLocation("position");
    set.texCoord = first->attributeLocation("texCoord");
    return works;
}

void GLRenderWidgetPrivate::setScissor()
{
    const qreal ratio = q->devicePixelRatioF();
    const int left = qFloor(area.left() * ratio);
    const int right = qCeil((area.left() + area.width()) * ratio);
    const int top = qFloor(area.top() * ratio);
    const int bottom = qCeil((area.top() + area.height()) * ratio);
    functions()->glEnable(GL_SCISSOR_TEST);
    functions()->glScissor(left, qRound(q->height() * ratio) - bottom, right - left, bottom - top);
}

void GLRenderWidgetPrivate::begin()
{
    if (!area.isEmpty())
        setScissor();
    currentPalette = nullptr;
    currentProgram = nullptr;
    forgetBlend();
    if (vertexArray.isCreated())
        functions()->glGetIntegerv(vertexArrayBinding, &painterVertexArray);
}

void GLRenderWidgetPrivate::end()
{
    QOpenGLFunctions *gl = functions();
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glBindTexture(GL_TEXTURE_2D, 0);
    gl->glActiveTexture(GL_TEXTURE1);
    gl->glBindTexture(GL_TEXTURE_2D, 0);
    if (blendEnabled)
        setBlend(false);
    setBlendEquation(blendAdd);
    setBlendFunction(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    if (currentProgram)
        currentProgram->release();
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glDisable(GL_SCISSOR_TEST);
}

void GLRenderWidgetPrivate::drawImage(const TextureDrawing &drawing,
                                      const QMatrix4x4 &matrix,
                                      unsigned char flip,
                                      unsigned char effect)
{
    const Texture *image = drawing.image;
    if (!image || !image->isOnCard() || image->type() < Texture::TypeIndexed || effect > 3)
        return;
    const ShaderSet &set = image->type() == Texture::TypeIndexed ? indexedShaders : rgbaShaders;
    useSet(set, effect, drawing);
    setUniforms(set, matrix, drawing);
    const Edges uv = edgesOf(*image, flip);
    const float wanted[] = {uv.left, uv.right, uv.bottom, uv.top};
    if (holdsQuad && std::equal(wanted, wanted + 4, quad)) {
        drawVertices(set, nullptr, 6);
        return;
    }
    QVarLengthArray<float, 6 * floatsPerVertex> vertices;
    appendQuad(vertices, 0, 0, 1, 1, uv);
    drawVertices(set, vertices.constData(), 6);
    std::copy(wanted, wanted + 4, quad);
    holdsQuad = true;
}

void GLRenderWidgetPrivate::drawTiled(const TextureDrawing &drawing,
                                      const QMatrix4x4 &matrix,
                                      unsigned char flip,
                                      QPoint count,
                                      QPoint spacing)
{
    const Texture *image = drawing.image;
    if (!image || !image->isOnCard())
        return;
    const QPointF origin = matrix.map(QPointF(0, 0));
    const QPointF extent = matrix.map(QPointF(1, 1)) - origin;
    Tiling columns =
        tiling(count.x(), float(origin.x()), float(extent.x()), spacing.x(), q->width());
    Tiling rows = tiling(count.y(), float(origin.y()), float(extent.y()), spacing.y(), q->height());
    if (!columns.wanted || !rows.wanted)
        return;
    const bool isTurned = !qFuzzyIsNull(matrix(0, 1)) || !qFuzzyIsNull(matrix(1, 0));
    if (!isTurned) {
        clip(columns, float(origin.x()), float(extent.x()), q->width());
        clip(rows, float(origin.y()), float(extent.y()), q->height());
    }
    QMatrix4x4 moved = matrix;
    moved.translate(-float(columns.first) * columns.step, -float(rows.first) * rows.step);
    const ShaderSet &set = drawing.palette ? indexedShaders : rgbaShaders;
    useSet(set, 0, drawing);
    setUniforms(set, moved, drawing);

    QVector<float> vertices;
    Edges uv = edgesOf(*image, flip);
    const bool evenSize = image->width() % 2 == 0 && image->height() % 2 == 0;
    if (spacing.isNull() && (repeatsEverySize() || evenSize)) {
        const auto width = float(columns.count);
        const auto height = float(rows.count);
        uv = {uv.left * width, uv.right * width, uv.bottom * height, uv.top * height};
        appendQuad(vertices, 0, 0, width, height, uv);
    } else {
        for (int row = 0; row < rows.count; ++row) {
            for (int column = 0; column < columns.count; ++column)
                appendQuad(vertices, float(column) * columns.step, float(row) * rows.step, 1, 1,
                           uv);
            if (vertices.size() >= mostAtOnce) {
                drawVertices(set, vertices.constData(), vertices.size() / floatsPerVertex);
                vertices.clear();
            }
        }
    }
    holdsQuad = false;
    if (!vertices.isEmpty())
        drawVertices(set, vertices.constData(), vertices.size() / floatsPerVertex);
}

/// Binds the program, the image on unit 0 and the palette on unit 1, each only if it is another.
void GLRenderWidgetPrivate::useSet(const ShaderSet &set,
                                   unsigned char effect,
                                   const TextureDrawing &drawing)
{
    QOpenGLFunctions *gl = functions();
    QOpenGLShaderProgram *program = set.programs[effect];
    if (program != currentProgram) {
        currentProgram = program;
        program->bind();
        program->setUniformValue(set.image, 0);
        if (drawing.palette)
            program->setUniformValue(set.palette, 1);
    }
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glBindTexture(GL_TEXTURE_2D, drawing.image->id());
    if (drawing.palette && drawing.palette != currentPalette) {
        currentPalette = drawing.palette;
        if (drawing.palette->isOnCard()) {
            gl->glActiveTexture(GL_TEXTURE1);
            gl->glBindTexture(GL_TEXTURE_2D, drawing.palette->id());
        }
    }
}

void GLRenderWidgetPrivate::setUniforms(const ShaderSet &set,
                                        const QMatrix4x4 &matrix,
                                        const TextureDrawing &drawing)
{
    currentProgram->setUniformValue(set.mask, drawing.mask ? 1.0F : 0.0F);
    currentProgram->setUniformValue(set.opacity, drawing.opacity);
    currentProgram->setUniformValue(set.matrix, projection * matrix);
    Q_EMIT q->setCustomShaderUniformValues(currentProgram);
}

/// Draws `count` vertices; null for those that the buffer holds.
void GLRenderWidgetPrivate::drawVertices(const ShaderSet &set, const float *vertices, int count)
{
    constexpr int stride = floatsPerVertex * int(sizeof(float));
    if (vertexArray.isCreated())
        vertexArray.bind();
    vertexBuffer.bind();
    if (vertices)
        vertexBuffer.allocate(vertices, count * stride);
    QOpenGLShaderProgram *program = currentProgram;
    program->enableAttributeArray(set.position);
    program->enableAttributeArray(set.texCoord);
    program->setAttributeBuffer(set.position, GL_FLOAT, 0, 2, stride);
    program->setAttributeBuffer(set.texCoord, GL_FLOAT, stride / 2, 2, stride);
    functions()->glDrawArrays(GL_TRIANGLES, 0, count);
    program->disableAttributeArray(set.texCoord);
    program->disableAttributeArray(set.position);
    vertexBuffer.release();
    if (vertexArray.isCreated()) {
        QOpenGLContext::currentContext()->extraFunctions()->glBindVertexArray(
            GLuint(painterVertexArray));
    }
}

void GLRenderWidgetPrivate::forgetBlend()
{
    blendEquation = 0;
    blendSource = -1;
    blendDestination = -1;
}

void GLRenderWidgetPrivate::setBlend(bool enabled)
{
    if (enabled == blendEnabled)
        return;
    if (enabled) {
        functions()->glEnable(GL_BLEND);
    } else {
        functions()->glDisable(GL_BLEND);
        forgetBlend();
    }
    blendEnabled = enabled;
}

void GLRenderWidgetPrivate::setBlendEquation(int equation)
{
    if (equation == blendEquation)
        return;
    blendEquation = equation;
    functions()->glBlendEquation(GLenum(equation));
}

void GLRenderWidgetPrivate::setBlendFunction(int source, int destination)
{
    if (source == blendSource && destination == blendDestination)
        return;
    blendSource = source;
    blendDestination = destination;
    functions()->glBlendFunc(GLenum(source), GLenum(destination));
}

} // namespace Kiln
