#include "fuzz.h"

#include <kilnx/image/codecs.h>
#include <kilnx/image/gif.h>

#include <cstring>

namespace
{

bool sameBytes(const QImage &one, const QImage &other)
{
    const auto used = static_cast<size_t>(one.width()) * static_cast<size_t>(one.depth()) / 8;
    for (int y = 0; y < one.height(); ++y) {
        if (std::memcmp(one.constScanLine(y), other.constScanLine(y), used) != 0)
            return false;
    }
    return one.size() == other.size();
}

/// What a writer took comes back from the reader of the same codec.
template<class Save, class Load>
void roundTrip(const QImage &image, Save &&save, Load &&load)
{
    QBuffer device;
    if (!save(image, &device))
        return;
    use(device.data());
    device.close();
    QImage back(image.size(), image.format());
    back.fill(0);
    require(load(back, &device));
    require(sameBytes(image, back));
}

void writeFile(const QImage &image, const char *word)
{
    QBuffer device;
    device.open(QIODevice::ReadWrite);
    if (!Kiln::saveImage(&device, word, image))
        return;
    use(device.data());
    device.seek(0);
    QImage back;
    if (!Kiln::loadImage(&device, word, back))
        return;
    require(back.size() == image.size());
    use(back);
}

} // namespace

/// Every writer, on pictures of every size and format.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const PreparedPicture picture(data, size, true);
    const QImage &image = picture.image;
    using Kiln::AnimImageFrame;
    // The other formats have bytes that mean nothing, or come back in another one.
    if (image.format() == QImage::Format_Indexed8 || image.format() == QImage::Format_ARGB32) {
        roundTrip(image, Kiln::saveRLE8, Kiln::loadRLE8);
        roundTrip(image, Kiln::savePNG, Kiln::loadPNG);
    }
    for (const char *word : {"PNG", "BMP", "PCX", "GIF"})
        writeFile(image, word);
    const int axis = static_cast<int>(size % 50) - 20;
    const QVector<AnimImageFrame> frames = {
        {image, {axis, 3}, 6}, {QImage(), {0, 0}, 1}, {image.mirrored(), {0, axis}, axis}};
    for (bool singlePalette : {true, false}) {
        QBuffer device;
        if (Kiln::saveGIF(&device, frames, singlePalette, true))
            use(device.data());
    }
    return 0;
}
