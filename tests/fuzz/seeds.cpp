#include <kilnx/image/codecs.h>
#include <kilnx/image/gif.h>
#include <tests/image/plain.h>

#include <QBuffer>
#include <QDir>
#include <QFile>

#include <cstdio>

using namespace Kiln;

namespace
{

bool write(const QString &directory, const char *target, const char *name, const QByteArray &bytes)
{
    const QString folder = directory + QLatin1Char('/') + QLatin1String(target);
    QFile file(folder + QLatin1Char('/') + QLatin1String(name));
    return QDir().mkpath(folder) && file.open(QIODevice::WriteOnly) &&
           file.write(bytes) == bytes.size();
}

QByteArray fileOf(const char *word, const QImage &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return saveImage(&buffer, word, image) ? buffer.data() : QByteArray();
}

/// What PreparedPicture takes for the size and the format: 96 by 64 pixels.
QByteArray head(QImage::Format format)
{
    return QByteArray("\x5F\x3F", 2).append(char(format - 1));
}

} // namespace

/// Writes seeds of more than 4,096 bytes into DIRECTORY/TARGET/: whole files, as people have them.
int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    const QString directory = QString::fromLocal8Bit(argv[1]);
    std::mt19937 random(1);
    const QImage noise = Plain::noise({96, 64}, QImage::Format_Indexed8, 32, random);
    const QImage sprite = Plain::sprite({300, 200}, 32, random);
    const QImage photo = Plain::photo({120, 90}, random);
    const QByteArray pixels = Plain::pixelsOf(noise);
    QBuffer animation;
    saveGIF(&animation, {{sprite, {3, 4}, 6}, {photo, {0, 0}, 9}, {noise, {50, 1}, 2}}, false,
            true);
    QBuffer lz5;
    saveLZ5(noise, &lz5, true);
    QByteArray text("JASC-PAL\r\n0100\r\n256\r\n");
    for (int i = 0; i < 600; ++i)
        text += QByteArray::number(i % 256) + " 20 300 40\r\n";
    const struct {
        const char *target;
        const char *name;
        QByteArray bytes;
    } seeds[] = {
        {"gif", "large", animation.data()},
        {"info", "large.gif", animation.data()},
        {"pcx", "large", fileOf("PCX", photo)},
        {"qt", "large.png", fileOf("PNG", photo)},
        {"qt", "large.bmp", fileOf("BMP", sprite)},
        {"palette", "large.pal", text},
        {"palette", "large.gif",
         fileOf("GIF", Plain::noise({90, 90}, noise.format(), 256, random))},
        {"lz5", "large", head(noise.format()) + lz5.data()},
        {"rle5", "large", head(noise.format()) + Plain::saveRle5(noise)},
        {"rle8", "large", head(noise.format()) + Plain::saveRle8(noise)},
        {"lz5_write", "large", pixels},
        {"write", "large", head(QImage::Format_Indexed8) + pixels},
        {"write", "large-true-colour", head(QImage::Format_ARGB32) + Plain::pixelsOf(photo)},
        {"ops", "large", head(QImage::Format_Indexed8) + pixels},
        {"ops", "large-true-colour",
         head(QImage::Format_ARGB32) + Plain::pixelsOf(photo) + '\x10'}};
    for (const auto &seed : seeds) {
        if (seed.bytes.size() <= 4096 || !write(directory, seed.target, seed.name, seed.bytes)) {
            std::fprintf(stderr, "no seed %s/%s\n", seed.target, seed.name);
            return 1;
        }
    }
    return 0;
}
