#include "fuzz.h"

#include <kilnx/image/palette.h>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    for (const char *format : {"ACT", "ACO", "PAL", "GIF", "PCX"}) {
        Input device(data, size);
        Kiln::RGBA table[256];
        Kiln::PaletteObject palette(&table);
        if (palette.fromFile(&device, format))
            use(QByteArray::fromRawData(reinterpret_cast<const char *>(table), sizeof table));
    }
    return 0;
}
