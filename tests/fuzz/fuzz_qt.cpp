#include "fuzz.h"

#include <kilnx/image/codecs.h>

/// PNG and BMP are Qt's work; the bound on sizes and what follows the reading are ours.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    for (const char *format : {"PNG", "BMP"}) {
        Input device(data, size);
        QImage image;
        Kiln::loadImage(&device, format, image);
        requireTidy(image);
    }
    return 0;
}
