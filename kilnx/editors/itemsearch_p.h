#pragma once

#include <QtCore/QPointer>
#include <QtCore/QRegExp>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <algorithm>

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

/// The first of `rows` whose item matches; -1 for none. `itemAt(row)` may be null.
template<class ItemAt>
int firstMatch(const ItemMatch &matches, const QVector<int> &rows, ItemAt itemAt)
{
    const auto found = std::find_if(rows.cbegin(), rows.cend(), [&](int row) {
        auto *item = itemAt(row);
        return item && matches(item);
    });
    return found == rows.cend() ? -1 : *found;
}

/// Gives `one` the identifier `by` if it matches or, where that is null, every item of `list` that
/// does, as one step of undo. False when the list has gone meanwhile.
template<class List, class Item, class ItemAt>
bool replaceIdentifiers(List *list,
                        const ItemMatch &matches,
                        const QString &by,
                        Item *one,
                        ItemAt itemAt)
{
    const QPointer<List> alive(list);
    const auto replaceIn = [&](Item *item) {
        if (item && matches(item))
            item->setProperty(QStringLiteral("Identifier"), by);
    };
    list->beginChange();
    if (one)
        replaceIn(one);
    for (unsigned int i = 0; !one && alive && i < list->itemCount(); ++i)
        replaceIn(itemAt(i));
    if (alive)
        list->endChange();
    return alive;
}

} // namespace Kiln
