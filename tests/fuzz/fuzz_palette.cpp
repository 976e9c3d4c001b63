#include "fuzz.h"

#include <kilnx/image/palette.h>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    for (const char *format : {"ACT", "ACO", "PAL", "GIF", "PCX"}) {
        Input device(data, size);
        Kiln::RGBA table[256];
        Kiln::PaletteObject palette(&table);
        palette.fromFile(&device, format);
    }
    return 0;
}
