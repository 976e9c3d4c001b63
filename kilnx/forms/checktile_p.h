#pragma once

#include <QtGui/QColor>
#include <QtGui/QImage>
#include <QtGui/QPainter>

namespace Kiln
{

/// Two by two squares of two colours, `side` pixels each, `first` at the top left: the tile of the
/// ground on which pictures with clear pixels stand.
inline QImage checkTile(int side, const QColor &first, const QColor &second)
{
    QImage tile(2 * side, 2 * side, QImage::Format_RGB32);
    tile.fill(first);
    QPainter painter(&tile);
    painter.fillRect(side, 0, side, side, second);
    painter.fillRect(0, side, side, side, second);
    return tile;
}

} // namespace Kiln
