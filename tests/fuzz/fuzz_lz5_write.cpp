#include "fuzz.h"

#include <kilnx/image/codecs.h>
#include <tests/image/plain.h>

#include <cstring>

/// What is written with matches reads back to the same pixels, and short pictures give the bytes
/// of the plain search.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0 || size > 0x8000)
        return 0;
    QImage image(static_cast<int>(size), 1, QImage::Format_Indexed8);
    for (size_t i = 0; i < size; ++i)
        image.scanLine(0)[i] = data[i] & 0x1F;
    QBuffer device;
    require(Kiln::saveLZ5(image, &device, true));
    use(device.data());
    require(size > 200 || device.data() == Plain::saveLz5(image, true));
    device.close();
    QImage back(image.size(), image.format());
    require(Kiln::loadLZ5(back, &device));
    require(std::memcmp(back.constScanLine(0), image.constScanLine(0), size) == 0);
    return 0;
}
