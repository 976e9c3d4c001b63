#pragma once

#include <QtCore/QPoint>
#include <QtCore/QtGlobal>

namespace Kiln
{

/// Farther out no picture has pixels: a line from there is as good as one from its end, and sums
/// of such places stay far from where numbers end.
constexpr int farthestPixel = 1 << 20;

inline QPoint withinReach(QPoint point)
{
    return {qBound(-farthestPixel, point.x(), farthestPixel),
            qBound(-farthestPixel, point.y(), farthestPixel)};
}

} // namespace Kiln
