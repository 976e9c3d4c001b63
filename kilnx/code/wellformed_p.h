#pragma once

#include <QtCore/QString>

namespace Kiln
{

/// The text with U+FFFD in place of halves of surrogate pairs that stand alone, every other
/// character at its place. QRegularExpression finds nothing at all in a text that holds one.
inline QString wellFormed(QString text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (!text.at(i).isSurrogate())
            continue;
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i;
        else
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

} // namespace Kiln
