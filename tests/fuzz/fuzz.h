#pragma once

#include <QBuffer>
#include <QImage>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

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
    PreparedPicture(const uint8_t *&data, size_t &size)
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
    }

    QImage image;
};

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
    if (image.format() != QImage::Format_Indexed8 || image.colorCount() == 0)
        return;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        require(*std::max_element(row, row + image.width()) < image.colorCount());
    }
}
