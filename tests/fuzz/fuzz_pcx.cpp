#include "fuzz.h"

#include <kilnx/image/codecs.h>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input device(data, size);
    QImage image;
    require(Kiln::loadImage(&device, "PCX", image) == !image.isNull());
    use(image);
    return 0;
}
