#include "fuzz.h"

#include <kilnx/image/codecs.h>
#include <kilnx/image/gif.h>

/// What could be read whole and has colours can be written, and reads back with as many pictures.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input whole(data, size);
    QImage image;
    Kiln::loadImage(&whole, "GIF", image);
    requireTidy(image);
    Input device(data, size);
    Kiln::GIFImage gif;
    const bool isRead = gif.load(&device);
    require(isRead || image.isNull());
    if (!isRead || gif.images().isEmpty())
        return 0;
    bool hasColors = true;
    for (const Kiln::GIFImage::SubImage &picture : gif.images())
        hasColors = hasColors && !(picture.colorMap.isEmpty() && gif.globalColorMap().isEmpty());
    QBuffer copy;
    require(gif.save(&copy) == hasColors);
    if (hasColors) {
        copy.close();
        Kiln::GIFImage back;
        require(back.load(&copy));
        require(back.images().size() == gif.images().size());
    }
    return 0;
}
