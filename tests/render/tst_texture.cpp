#include <kilnx/image/palette.h>
#include <kilnx/render/texture.h>
#include <tests/render/contexts.h>
#include <tests/support/rows.h>

#include <QtGui/QtGui>

#include <memory>
#include <numeric>

using Kiln::RGBA;
using Kiln::Texture;

namespace
{

constexpr unsigned int red = 0x1903;

/// A context beside the library's that sees the same textures, as a view's does.
class Witness
{
public:
    Witness()
    {
        m_surface.setFormat(QSurfaceFormat::defaultFormat());
        m_surface.create();
        m_context.setFormat(QSurfaceFormat::defaultFormat());
        m_context.setShareContext(QOpenGLContext::globalShareContext());
        m_works = m_context.create() && m_context.makeCurrent(&m_surface);
    }
    ~Witness() { m_context.doneCurrent(); }

    bool works() const { return m_works; }
    bool isCurrent() const { return QOpenGLContext::currentContext() == &m_context; }
    bool knows(unsigned int name)
    {
        m_context.makeCurrent(&m_surface);
        return m_context.functions()->glIsTexture(name);
    }
    /// The pixels of a texture as the card keeps them.
    QByteArray pixels(unsigned int name, const QSize &size, bool indexed)
    {
        m_context.makeCurrent(&m_surface);
        using GetTexImage = void (*)(GLenum, GLint, GLenum, GLenum, void *);
        const auto get = reinterpret_cast<GetTexImage>(m_context.getProcAddress("glGetTexImage"));
        QByteArray bytes(size.width() * size.height() * (indexed ? 1 : 4), '\0');
        QOpenGLFunctions *gl = m_context.functions();
        gl->glBindTexture(GL_TEXTURE_2D, name);
        gl->glPixelStorei(GL_PACK_ALIGNMENT, 1);
        get(GL_TEXTURE_2D, 0, indexed ? red : GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
        return bytes;
    }
    /// How it goes on beyond its edges, and how it looks when it is smaller and larger.
    QVector<GLint> modes(unsigned int name)
    {
        m_context.makeCurrent(&m_surface);
        QVector<GLint> all;
        m_context.functions()->glBindTexture(GL_TEXTURE_2D, name);
        for (const GLenum what :
             {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            all.append(0);
            m_context.functions()->glGetTexParameteriv(GL_TEXTURE_2D, what, &all.last());
        }
        return all;
    }

private:
    QOffscreenSurface m_surface;
    QOpenGLContext m_context;
    bool m_works = false;
};

QImage picture(const QSize &size, QImage::Format format)
{
    QImage image(size, format);
    if (image.depth() == 8)
        image.setColorTable(QVector<QRgb>(256, qRgb(1, 2, 3)));
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const int value = (x * 7 + y * 31) % 256;
            if (image.depth() == 8)
                image.setPixel(x, y, uint(value));
            else
                image.setPixel(x, y, qRgba(value, 255 - value, y % 256, 255 - x % 256));
        }
    }
    return image;
}

/// What the bytes must be, pixel by pixel; -1 where nothing is written.
QVector<int> expectedBytes(const QImage &image, const QSize &textureSize)
{
    const bool indexed = image.format() == QImage::Format_Indexed8;
    QVector<int> bytes(textureSize.width() * textureSize.height() * (indexed ? 1 : 4), -1);
    for (int y = 0; y < image.height(); ++y) {
        const int row = image.height() - 1 - y;
        for (int x = 0; x < image.width(); ++x) {
            if (indexed) {
                bytes[row * textureSize.width() + x] = image.pixelIndex(x, y);
                continue;
            }
            const QRgb color = image.pixel(x, y);
            int *pixel = &bytes[(row * image.width() + x) * 4];
            pixel[0] = qRed(color);
            pixel[1] = qGreen(color);
            pixel[2] = qBlue(color);
            pixel[3] = qAlpha(color);
        }
    }
    return bytes;
}

bool matches(const QByteArray &bytes, const QVector<int> &expected)
{
    if (bytes.size() != expected.size())
        return false;
    for (int i = 0; i < bytes.size(); ++i) {
        if (expected[i] >= 0 && uchar(bytes[i]) != expected[i])
            return false;
    }
    return true;
}

int roundedUp(int value)
{
    int power = 1;
    while (power < value)
        power *= 2;
    return power;
}

} // namespace

class TestTexture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The first two come before any context; every other one may run alone.
    void init()
    {
        const QByteArray name = QTest::currentTestFunction();
        const bool isEarly =
            name == "preparesWithoutContext" || name == "nothingHappensWhileDisabled";
        Texture::setOpenGLEnabled(!isEarly);
        if (!isEarly)
            QCOMPARE(Texture::hasContext(), !Contexts::none());
    }
    void preparesWithoutContext_data() { sizesAndFormats(); }
    void preparesWithoutContext()
    {
        auto [size, format] = row<QSize, int>();
        const QImage image = picture(size, QImage::Format(format));
        Texture::ImageData data;
        Texture::dataFromImage(image, data);
        const QSize texture(roundedUp(size.width()), roundedUp(size.height()));
        QCOMPARE(data.size, size);
        QCOMPARE(data.textureSize, texture);
        QCOMPARE(data.indexed, format == 3);
        QVERIFY(matches(data.data, expectedBytes(image, texture)));
    }

    void nothingHappensWhileDisabled()
    {
        QVERIFY(!Texture::isOpenGLEnabled());
        Texture::ImageData data;
        data.data = "old";
        Texture::dataFromImage(QImage(), data);
        QVERIFY(data.data.isEmpty());
        // Rounded up, these would be 2 GB.
        Texture::dataFromImage(QImage(40000, 20000, QImage::Format_Indexed8), data);
        QVERIFY(data.data.isEmpty());
        // Rows begin where the image's own stride says, which need not be even.
        QByteArray bytes(9 * 5, '\0');
        std::iota(bytes.begin(), bytes.end(), char(0));
        const auto *pixels = reinterpret_cast<const uchar *>(bytes.constData());
        Texture::dataFromImage(QImage(pixels, 3, 5, 9, QImage::Format_RGB888), data);
        QCOMPARE(data.data.left(4), QByteArray("\x1b\x1c\x1d\xff"));
        Texture::dataFromImage(picture({3, 5}, QImage::Format_Indexed8), data);
        const RGBA palette[256] = {};
        const Texture none;
        const Texture fromData(data);
        const Texture fromImage(picture({3, 5}, QImage::Format_RGB32));
        const Texture fromPalette(palette);
        const std::pair<const Texture *, Texture::Type> all[] = {
            {&none, Texture::TypeNone},
            {&fromData, Texture::TypeIndexed},
            {&fromImage, Texture::TypeNone},
            {&fromPalette, Texture::TypePalette},
        };
        for (const auto &[texture, type] : all) {
            QCOMPARE(texture->type(), type);
            QVERIFY(!texture->isValid());
            QCOMPARE(texture->size(), QSize());
            QCOMPARE(texture->maximumUV(), QSizeF());
        }
        Texture::setOpenGLEnabled(true);
        QVERIFY(Texture::isOpenGLEnabled());
        QCOMPARE(Texture::hasContext(), !Contexts::none());
    }

    void uploadsEverySize_data() { sizesAndFormats(); }
    void uploadsEverySize()
    {
        auto [size, format] = row<QSize, int>();
        const QImage image = picture(size, QImage::Format(format));
        Texture texture;
        // Prepared for a card that takes only powers of two, which stays valid on any card.
        Texture::ImageData data;
        Texture::dataFromImage(image, data);
        if (format == 3)
            data.textureSize = {roundedUp(size.width()), size.height()};
        data.data.resize(data.textureSize.width() * data.textureSize.height() *
                         (format == 3 ? 1 : 4));
        if (format == 3) {
            data.data.fill(9);
            for (int y = 0; y < size.height(); ++y)
                memcpy(data.data.data() + (size.height() - 1 - y) * data.textureSize.width(),
                       image.constScanLine(y), size_t(size.width()));
        }
        texture.fromData(data);
        QCOMPARE(Texture(data).isOnCard(), !Contexts::none());
        if (Contexts::none()) {
            QVERIFY(!texture.isValid());
            return;
        }
        QVERIFY(texture.isOnCard());
        QCOMPARE(texture.type(), format == 3 ? Texture::TypeIndexed : Texture::TypeRGBA);
        QCOMPARE(texture.size(), size);
        QCOMPARE(float(texture.maximumUV().width()),
                 float(size.width()) / float(data.textureSize.width()));
        QCOMPARE(texture.maximumUV().height(), 1.0);
        Witness witness;
        QVERIFY(matches(witness.pixels(texture.id(), data.textureSize, format == 3),
                        expectedBytes(image, data.textureSize)));
        const unsigned int before = texture.id();
        texture.fromImage(image);
        QCOMPARE(texture.maximumUV(), QSizeF(1, 1));
        QVERIFY(texture.id() == before || !witness.knows(before));
        QVERIFY(
            matches(witness.pixels(texture.id(), size, format == 3), expectedBytes(image, size)));
        QCOMPARE(witness.modes(texture.id()),
                 QVector<GLint>({GL_REPEAT, GL_REPEAT, GL_NEAREST, GL_NEAREST}));
    }

    void uploadsPalettes()
    {
        RGBA palette[256];
        for (int i = 0; i < 256; ++i)
            palette[i] = {uchar(i), uchar(255 - i), uchar(i ^ 0x55), uchar(i ? 255 : 0)};
        Texture texture(palette);
        QCOMPARE(texture.type(), Texture::TypePalette);
        QCOMPARE(texture.isValid(), !Contexts::none());
        if (Contexts::none())
            return;
        QCOMPARE(texture.size(), QSize(256, 1));
        QCOMPARE(texture.maximumUV(), QSizeF(1, 1));
        Witness witness;
        QCOMPARE(witness.pixels(texture.id(), {256, 1}, false),
                 QByteArray(reinterpret_cast<const char *>(palette), 1024));
        QCOMPARE(witness.modes(texture.id()),
                 QVector<GLint>({GL_CLAMP_TO_EDGE, GL_REPEAT, GL_NEAREST, GL_NEAREST}));
    }

    void nullImageKeepsADeadName()
    {
        if (Contexts::none())
            return;
        auto texture = std::make_unique<Texture>(picture({4, 4}, QImage::Format_Indexed8));
        const unsigned int name = texture->id();
        texture->fromImage(QImage());
        QVERIFY(texture->isValid());
        QVERIFY(!texture->isOnCard());
        QCOMPARE(texture->id(), name);
        Witness witness;
        QVERIFY(!witness.knows(name));
        // The name may be another texture's by now, which must not go with the old owner.
        std::vector<std::unique_ptr<Texture>> others;
        for (int i = 0; i < 4; ++i)
            others.push_back(std::make_unique<Texture>(picture({2, 2}, QImage::Format_Indexed8)));
        texture->fromImage(QImage());
        texture.reset();
        for (const auto &other : others)
            QVERIFY(witness.knows(other->id()));
    }

    void swapsNamesOnly()
    {
        if (Contexts::none())
            return;
        Texture indexed(picture({4, 4}, QImage::Format_Indexed8));
        Texture colors(picture({8, 2}, QImage::Format_RGB32));
        const unsigned int first = indexed.id();
        const unsigned int second = colors.id();
        indexed.swap(colors);
        QCOMPARE(indexed.id(), second);
        QCOMPARE(colors.id(), first);
        QCOMPARE(indexed.size(), QSize(4, 4));
        QCOMPARE(indexed.type(), Texture::TypeIndexed);
        QCOMPARE(colors.size(), QSize(8, 2));
        QCOMPARE(colors.type(), Texture::TypeRGBA);
    }

    void switchFreesEveryName()
    {
        Texture a(picture({4, 4}, QImage::Format_Indexed8));
        Texture b(picture({4, 4}, QImage::Format_RGB32));
        const unsigned int names[] = {a.id(), b.id()};
        Texture::setOpenGLEnabled(false);
        QVERIFY(!a.isValid() && !b.isValid());
        QCOMPARE(b.size(), Contexts::none() ? QSize() : QSize(4, 4));
        Witness witness;
        for (unsigned int name : names)
            QVERIFY(Contexts::none() || !witness.knows(name));
        Texture::setOpenGLEnabled(false);
        Texture::setOpenGLEnabled(true);
        QVERIFY(!a.isValid());
        a.fromImage(picture({4, 4}, QImage::Format_Indexed8));
        QCOMPARE(a.isValid(), !Contexts::none());
    }

    void diesOnAnyThread()
    {
        auto *texture = new Texture(picture({4, 4}, QImage::Format_Indexed8));
        auto *made = new Texture;
        const unsigned int name = texture->id();
        const std::unique_ptr<QThread> thread(QThread::create([texture, &made] {
            delete texture;
            delete made;
            // An upload belongs to the GUI thread; here it does nothing.
            made = new Texture(picture({4, 4}, QImage::Format_Indexed8));
        }));
        thread->start();
        QVERIFY(thread->wait());
        QVERIFY(!made->isValid());
        delete made;
        if (Contexts::none())
            return;
        Witness witness;
        QTRY_VERIFY(!witness.knows(name));
    }

    void uploadInTheMiddleOfPainting()
    {
        Witness witness;
        QCOMPARE(witness.works(), !Contexts::none());
        const Texture texture(picture({4, 4}, QImage::Format_Indexed8));
        QCOMPARE(witness.isCurrent(), !Contexts::none());
        QCOMPARE(QOpenGLContext::currentContext() == nullptr, Contexts::none());
    }

    void refusesBadData_data()
    {
        columns<QSize, QSize, int>("size", "textureSize", "bytes");
        addRow("fewer bytes than the size says", QSize(16, 16), QSize(16, 16), 255);
        addRow("no texture size", QSize(16, 16), QSize(0, 16), 256);
        addRow("negative", QSize(-4, -4), QSize(-4, -4), 16);
        addRow("overflow", QSize(65536, 65536), QSize(65536, 65536), 16);
        addRow("larger than any card takes", QSize(1 << 20, 1), QSize(1 << 20, 1), (1 << 20));
    }

    void refusesBadData()
    {
        auto [size, textureSize, bytes] = row<QSize, QSize, int>();
        Texture texture(picture({4, 4}, QImage::Format_Indexed8));
        Texture::ImageData data;
        data.size = size;
        data.textureSize = textureSize;
        data.indexed = true;
        data.data = QByteArray(bytes, 'x');
        texture.fromData(data);
        QVERIFY(!texture.isValid());
        texture.fromPalette(nullptr);
        QVERIFY(!texture.isValid());
    }

private:
    static void sizesAndFormats()
    {
        columns<QSize, int>("size", "format");
        for (const QSize &size : {QSize(1, 1), QSize(3, 5), QSize(4, 8), QSize(7, 9), QSize(8, 15),
                                  QSize(33, 2), QSize(1, 65), QSize(300, 17)}) {
            for (int format : {3, 4, 5}) {
                QTest::addRow("%d by %d, format %d", size.width(), size.height(), format)
                    << size << format;
            }
        }
    }
};

int main(int argc, char **argv)
{
    return Contexts::run<TestTexture>(argc, argv);
}

#include "tst_texture.moc"
