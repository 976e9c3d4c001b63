#pragma once

#include <kilnx/image/palette.h>

#include <QtCore/QPoint>

class QPainter;
class QWidget;

namespace Kiln
{

namespace PaletteCells
{

/// Draws one colour of a palette as a cell of `size` pixels with its upper left at `at`: sunken, or
/// filled with an inner outline when selected. Translucent colours stand over a check, which with
/// the frame is a dim one in `widget` where its palette is dark.
void paint(QPainter &painter,
           const QWidget &widget,
           QPoint at,
           int size,
           RGBA color,
           bool selected);

} // namespace PaletteCells
} // namespace Kiln
