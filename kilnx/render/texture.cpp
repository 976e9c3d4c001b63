#include <kilnx/render/texture.h>

#include <kilnx/image/palette.h>
#include <kilnx/render/texture_p.h>

#include <QtCore/QMutex>
#include <QtCore/QSet>
#include <QtCore/QThread>
#include <QtCore/QtEndian>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QOffscreenSurface>
#include <QtGui/QOpenGLContext>
#include <QtGui/QOpenGLFunctions>

#include <atomic>
#include <limits>
#include <memory>

namespace Kiln
{

namespace
{

// Names of OpenGL that the headers of OpenGL ES lack.
constexpr unsigned int glRed = 0x1903;
constexpr unsigned int glR8 = 0x8229;

std::atomic<bool> enabled{false};
std::atomic<bool> anySize{false};
QOffscreenSurface *surface = nullptr;
QOpenGLContext *context = nullptr;
Resetter *resetter = nullptr;
bool contextFailed = false;

/// All textures that are alive, of every thread.
struct Living {
    QMutex mutex;
    QSet<Texture *> textures;
};

/// Never destroyed: textures of static lifetime leave it after main() has ended.
Living &living()
{
    static Living *all = new Living;
    return *all;
}

void deleteContext()
{
    delete context;
    context = nullptr;
    delete surface;
    surface = nullptr;
    delete resetter;
    resetter = nullptr;
    anySize = false;
    contextFailed = false;
}

/// Makes the library's context current, and gives back on destruction what was current before: an
/// upload may come in the middle of a view's painting.
class CurrentContext
{
public:
    CurrentContext()
        : m_before(QOpenGLContext::currentContext())
        , m_surfaceBefore(m_before ? m_before->surface() : nullptr)
    {
        QOpenGLContext *own = TextureContext::get();
        m_current = own && own->thread() == QThread::currentThread() && own->makeCurrent(surface);
    }
    ~CurrentContext()
    {
        if (m_current)
            leave();
    }
    CurrentContext(const CurrentContext &) = delete;
    CurrentContext &operator=(const CurrentContext &) = delete;

    explicit operator bool() const { return m_current; }
    QOpenGLFunctions *functions() const { return context->functions(); }
    /// Leaves the context current.
    void stay() { m_current = m_before && m_before != context; }

private:
    void leave()
    {
        context->doneCurrent();
        if (m_before && m_before != context && m_surfaceBefore)
            m_before->makeCurrent(m_surfaceBefore);
    }

    QOpenGLContext *m_before;
    QSurface *m_surfaceBefore;
    bool m_current = false;
};

void deleteName(unsigned int id)
{
    const CurrentContext current;
    if (current)
        current.functions()->glDeleteTextures(1, &id);
}

int powerOfTwo(int value)
{
    unsigned int bits = static_cast<unsigned int>(value) - 1;
    for (int shift = 1; shift <= 16; shift *= 2)
        bits |= bits >> shift;
    return static_cast<int>(qMin(bits + 1, 1U << 30));
}

/// Bytes that `size` takes; -1 for a size that no texture can have.
qint64 byteCount(const QSize &size, bool indexed)
{
    if (size.width() <= 0 || size.height() <= 0)
        return -1;
    const qint64 pixels = qint64(size.width()) * size.height();
    const qint64 bytes = indexed ? pixels : pixels * 4;
    // QByteArray counts in int, and keeps some bytes for itself.
    return pixels > (qint64(1) << 40) || bytes > std::numeric_limits<int>::max() - 64 ? -1 : bytes;
}

/// Rows of one byte a pixel, each padded to `stride` bytes.
void copyIndices(const QImage &image, int stride, char *out)
{
    for (int y = image.height() - 1; y >= 0; --y, out += stride)
        memcpy(out, image.constScanLine(y), size_t(image.width()));
}

/// Rows of four bytes a pixel without padding. A row begins at the stride of the image that was
/// handed in: for a source of 32 bits that is the row's own, for one of fewer bits the rows
/// overlap.
void copyColors(const QImage &image, char *out)
{
    const QImage colors = image.convertToFormat(QImage::Format_ARGB32);
    const int width = colors.width();
    const qint64 stride = qMin(image.bytesPerLine(), colors.bytesPerLine());
    for (int y = colors.height() - 1; y >= 0; --y) {
        const uchar *source = colors.constBits() + y * stride;
        auto *pixels = reinterpret_cast<quint32 *>(out);
        for (int x = 0; x < width; ++x, source += sizeof(QRgb)) {
            const auto c = qFromUnaligned<quint32>(source); // strides may be odd
            pixels[x] = qToLittleEndian((c & 0xFF00FF00U) | (c & 0xFFU) << 16 | (c >> 16 & 0xFFU));
        }
        out += qint64(width) * 4;
    }
}

/// What the card calls one byte a pixel, as format and as internal format.
struct IndexFormat {
    unsigned int format;
    unsigned int internal;
};

IndexFormat indexFormat()
{
    if (context->format().profile() == QSurfaceFormat::CoreProfile)
        return {glRed, glR8};
    return {GL_LUMINANCE, GL_LUMINANCE};
}

} // namespace

QOpenGLContext *TextureContext::get()
{
    if (context || contextFailed)
        return context;
    const QCoreApplication *application = QCoreApplication::instance();
    if (!qobject_cast<const QGuiApplication *>(application) ||
        application->thread() != QThread::currentThread()) {
        return nullptr;
    }
    surface = new QOffscreenSurface;
    surface->setFormat(QSurfaceFormat::defaultFormat());
    surface->create();
    context = new QOpenGLContext;
    context->setFormat(QSurfaceFormat::defaultFormat());
    context->setShareContext(QOpenGLContext::globalShareContext());
    const bool works = context->create() && context->makeCurrent(surface);
    if (works)
        anySize = context->functions()->hasOpenGLFeature(QOpenGLFunctions::NPOTTextures);
    qAddPostRoutine(deleteContext);
    if (!works) {
        deleteContext();
        contextFailed = true;
        return nullptr;
    }
    resetter = new Resetter;
    QObject::connect(resetter, &Resetter::resetOnRenderThread, resetter, deleteName);
    return context;
}

Texture::Texture()
{
    Living &all = living();
    const QMutexLocker lock(&all.mutex);
    all.textures.insert(this);
}

Texture::Texture(const ImageData &data)
    : Texture()
{
    m_type = data.indexed ? TypeIndexed : TypeRGBA;
    fromData(data);
}

Texture::Texture(const QImage &image)
    : Texture()
{
    fromImage(image);
}

Texture::Texture(const RGBA *palette)
    : Texture()
{
    m_type = TypePalette;
    fromPalette(palette);
}

Texture::~Texture()
{
    Living &all = living();
    QMutexLocker lock(&all.mutex);
    all.textures.remove(this);
    lock.unlock();
    if (isOnCard() && resetter)
        Q_EMIT resetter->resetOnRenderThread(m_id);
}

void Texture::dataFromImage(const QImage &image, ImageData &data)
{
    data.indexed = image.format() == QImage::Format_Indexed8;
    data.size = image.size();
    data.textureSize = data.size;
    if (!anySize)
        data.textureSize = {powerOfTwo(image.width()), powerOfTwo(image.height())};
    const qint64 bytes = byteCount(data.textureSize, data.indexed);
    data.data.resize(int(qMax<qint64>(bytes, 0)));
    if (bytes < 0)
        return;
    if (data.indexed)
        copyIndices(image, data.textureSize.width(), data.data.data());
    else
        copyColors(image, data.data.data());
}

void Texture::fromData(const ImageData &data)
{
    if (!isOpenGLEnabled())
        return;
    CurrentContext current;
    if (!current)
        return;
    removeOld();
    if (data.data.isEmpty()) {
        current.stay();
        return;
    }
    const qint64 bytes = byteCount(data.textureSize, data.indexed);
    GLint largest = 0;
    current.functions()->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &largest);
    m_id = 0;
    m_deleted = false;
    if (bytes < 0 || data.data.size() < bytes || data.textureSize.width() > largest ||
        data.textureSize.height() > largest) {
        return;
    }
    upload(data.textureSize, data.indexed ? GL_LUMINANCE : GL_RGBA, data.data.constData());
    m_size = data.size;
    m_maximumUV = QSizeF(float(data.size.width()) / float(data.textureSize.width()),
                         float(data.size.height()) / float(data.textureSize.height()));
    m_type = data.indexed ? TypeIndexed : TypeRGBA;
}

void Texture::fromImage(const QImage &image)
{
    ImageData data;
    dataFromImage(image, data);
    fromData(data);
}

void Texture::fromPalette(const RGBA *palette)
{
    if (!isOpenGLEnabled() || !palette)
        return;
    const CurrentContext current;
    if (!current)
        return;
    removeOld();
    upload({256, 1}, GL_RGBA, palette);
    // The coordinate of index 255 reaches 1.0, and is still the last entry.
    current.functions()->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    m_size = {256, 1};
    m_maximumUV = {1.0, 1.0};
    m_type = TypePalette;
}

/// Deletes the name on the card. The context is current.
void Texture::removeOld()
{
    if (isOnCard())
        context->functions()->glDeleteTextures(1, &m_id);
    m_deleted = m_id != 0;
}

/// Makes a name and fills it. The context is current.
void Texture::upload(const QSize &textureSize, unsigned int format, const void *pixels)
{
    QOpenGLFunctions *gl = context->functions();
    if (context->format().profile() != QSurfaceFormat::CoreProfile)
        gl->glEnable(GL_TEXTURE_2D);
    gl->glGenTextures(1, &m_id);
    m_deleted = false;
    gl->glBindTexture(GL_TEXTURE_2D, m_id);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    const IndexFormat names =
        format == GL_LUMINANCE ? indexFormat() : IndexFormat{GL_RGBA, GL_RGBA};
    gl->glTexImage2D(GL_TEXTURE_2D, 0, GLint(names.internal), textureSize.width(),
                     textureSize.height(), 0, names.format, GL_UNSIGNED_BYTE, pixels);
}

void Texture::reset()
{
    if (m_id == 0)
        return;
    const CurrentContext current;
    if (current)
        removeOld();
    m_id = 0;
    m_deleted = false;
}

void Texture::swap(Texture &other)
{
    qSwap(m_id, other.m_id);
    qSwap(m_deleted, other.m_deleted);
}

void Texture::setOpenGLEnabled(bool enable)
{
    if (enabled && !enable) {
        Living &all = living();
        const QMutexLocker lock(&all.mutex);
        for (Texture *texture : qAsConst(all.textures))
            texture->reset();
    }
    enabled = enable;
}

bool Texture::isOpenGLEnabled()
{
    return enabled;
}

bool Texture::hasContext()
{
    QOpenGLContext *before = QOpenGLContext::currentContext();
    QSurface *surfaceBefore = before ? before->surface() : nullptr;
    const bool has = TextureContext::get() != nullptr && context->isValid();
    if (before && surfaceBefore && QOpenGLContext::currentContext() != before)
        before->makeCurrent(surfaceBefore);
    return has;
}

} // namespace Kiln
