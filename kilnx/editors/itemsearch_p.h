#pragma once

#include <QtCore/QRegExp>
#include <QtCore/QVector>

namespace Kiln
{

class PropertyItem;

/// Whether items have the identifier that the user looks for. `flags` are of Editor::FindFlag.
class ItemMatch
{
public:
    ItemMatch(const QString &text, unsigned int flags);

    /// False for an empty text and for a faulty expression.
    bool isPossible() const;
    /// Whether the expression is found in the identifier, or the text is all of it.
    bool operator()(PropertyItem *item) const;

private:
    const QString m_text;
    const bool m_isPattern;
    const Qt::CaseSensitivity m_case;
    const QRegExp m_pattern;
};

/// The rows that a search goes through, from the one behind `current`, which comes last when the
/// search wraps around.
QVector<int> rowsToSearch(int count, int current, unsigned int flags);

} // namespace Kiln
