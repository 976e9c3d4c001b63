#pragma once

#include <QBuffer>
#include <QImage>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

/// The bytes of one run as a device that is open for reading.
class Input : public QBuffer
{
public:
    Input(const uint8_t *data, size_t size)
        : m_bytes(reinterpret_cast<const char *>(data), static_cast<int>(size))
    {
        setBuffer(&m_bytes);
        open(ReadOnly);
    }

private:
    QByteArray m_bytes;
};

/// Takes three bytes off for the size and the format that a container would give a raw codec.
class PreparedPicture
{
public:
    /// With `isFilled` the pixels are the bytes that follow, over and over.
    PreparedPicture(const uint8_t *&data, size_t &size, bool isFilled = false)
    {
        uint8_t head[3] = {};
        for (uint8_t &byte : head) {
            if (size > 0) {
                byte = *data++;
                --size;
            }
        }
        image = QImage(1 + head[0] % 96, 1 + head[1] % 64, QImage::Format(1 + head[2] % 6));
        image.fill(0);
        if (image.format() == QImage::Format_Indexed8) {
            QVector<QRgb> colors;
            for (unsigned i = 0; i < 256; ++i)
                colors.append(i * 0x030507 | 0xFF000000);
            image.setColorTable(colors);
        }
        for (int y = 0, i = 0; isFilled && size > 0 && y < image.height(); ++y) {
            for (int x = 0; x < image.width() * image.depth() / 8; ++x, ++i)
                image.scanLine(y)[x] = data[static_cast<size_t>(i) % size];
        }
    }

    QImage image;
};

/// Hands bytes to the system, where valgrind sees those that nobody wrote.
inline void use(const QByteArray &bytes)
{
    static const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (write(nowhere, bytes.constData(), static_cast<size_t>(bytes.size())) < 0)
        std::abort();
}

/// The same for the pixels of a picture, without the padding.
inline void use(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y)
        use(QByteArray::fromRawData(reinterpret_cast<const char *>(image.constScanLine(y)),
                                    image.width() * image.depth() / 8));
}

/// Ends the run as a crash: a promise was broken.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// What loadImage() promises: one of the three formats, and no index past a colour table.
inline void requireTidy(const QImage &image)
{
    require(image.format() == QImage::Format_Invalid || image.format() == QImage::Format_Indexed8 ||
            image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32);
    use(image);
    if (image.format() != QImage::Format_Indexed8 || image.colorCount() == 0)
        return;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        require(*std::max_element(row, row + image.width()) < image.colorCount());
    }
}
