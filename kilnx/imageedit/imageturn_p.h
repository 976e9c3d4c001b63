#pragma once

#include <kilnx/image/palette.h>

#include <QtGui/QImage>

namespace Kiln
{

/// The picture turned clockwise, large enough for all corners; what is new there is `fill`, an
/// index or 0xAARRGGBB. A `filter` other than 0, an ImageResizeFilter, turns at double size. Null
/// without memory for it.
QImage turnedPicture(const QImage &image,
                     float degrees,
                     int filter,
                     RGBA (&colors)[256],
                     unsigned int fill);

} // namespace Kiln
