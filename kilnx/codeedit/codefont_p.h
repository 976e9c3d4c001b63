#pragma once

#include <QtGui/QFont>

namespace Kiln
{
/// The font of code in `family`, or "Courier" for an empty one, at `points`. A family that the
/// machine has is taken as it is, and one that only a metric match stands for if that shows
/// columns; for any other it is the system's fixed font, or else some family whose letters have one
/// width.
QFont codeFont(const QString &family, int points);

/// Whether narrow and wide letters, plain and bold, are as wide as each other. Some fonts of which
/// this is true do not call themselves fixed, and a system's fixed font need not be one.
bool showsColumns(const QFont &font);
} // namespace Kiln
