#pragma once

#include <QtCore/QList>
#include <QtCore/QRect>

class QImage;

namespace Kiln
{

class ImageLayer;
class ImagePalette;

/// Writes an area of what the visible layers show together, the top layer first in the list.
/// `area` lies inside `target`, an ARGB32 picture.
void flattenColors(const QList<ImageLayer *> &layers, QImage &target, const QRect &area);
/// The same for an Indexed8 picture.
void flattenIndexes(const QList<ImageLayer *> &layers,
                    ImagePalette &palette,
                    QImage &target,
                    const QRect &area);

} // namespace Kiln
