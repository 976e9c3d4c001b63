#pragma once

#include <QtCore/QRegularExpression>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

namespace Kiln
{

/// Searching and replacing by regular expressions in any text.
namespace TextMatch
{

/// The text with U+FFFD in place of halves of surrogate pairs that stand alone, every other
/// character at its place. QRegularExpression finds nothing at all in a text that holds one.
QString wellFormed(QString text);

/// The captures of a match in wellFormed(text), without the whole match, as `text` has them.
QStringList captures(const QString &text, const QRegularExpressionMatch &match);

/// `text` with what `fill` makes of each match in its place.
QString replaced(const QString &text,
                 const QRegularExpression &expression,
                 const std::function<QString(const QRegularExpressionMatch &)> &fill);

/// `text` with the captures from the second on in place of its lowest-numbered marker, the next
/// higher, and so on, as QString::arg() has it. What was put in is not looked at again.
QString filledIn(const QString &text, const QStringList &captured);

} // namespace TextMatch

} // namespace Kiln
