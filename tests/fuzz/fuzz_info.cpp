#include "fuzz.h"

#include <kilnx/image/codecs.h>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    for (const char *format : {"PNG", "BMP", "PCX", "GIF"}) {
        Input device(data, size);
        Kiln::imageInfoFromFile(&device, format);
    }
    return 0;
}
