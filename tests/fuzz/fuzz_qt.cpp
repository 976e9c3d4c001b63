#include "fuzz.h"

#include <kilnx/image/codecs.h>

#include <algorithm>

/// PNG and BMP are Qt's work; the bound on sizes and what follows the reading are ours.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    for (const char *format : {"PNG", "BMP"}) {
        Input device(data, size);
        QImage image;
        Kiln::loadImage(&device, format, image);
        require(image.format() == QImage::Format_Invalid ||
                image.format() == QImage::Format_Indexed8 ||
                image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32);
        if (image.format() != QImage::Format_Indexed8 || image.colorCount() == 0)
            continue;
        for (int y = 0; y < image.height(); ++y) {
            const uchar *row = image.constScanLine(y);
            require(*std::max_element(row, row + image.width()) < image.colorCount());
        }
    }
    return 0;
}
