#pragma once

#include <QtGui/QImage>

namespace Kiln
{

/// The picture, in ARGB32, scaled by hq2x, hq3x or hq4x for a `factor` of 2, 3 or 4. Null if it
/// is too large.
QImage scaleHqx(const QImage &image, int factor);

} // namespace Kiln
