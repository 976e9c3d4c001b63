#include "fuzz.h"

#include <kilnx/image/codecs.h>

/// READER is loadRLE8, loadRLE5 or loadLZ5.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    PreparedPicture picture(data, size);
    Input device(data, size);
    Kiln::READER(picture.image, &device);
    use(picture.image);
    require(device.pos() <= static_cast<qint64>(size));
    return 0;
}
