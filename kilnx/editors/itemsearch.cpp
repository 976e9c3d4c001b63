#include <kilnx/editors/itemsearch_p.h>

#include <kilnx/project/editor.h>
#include <kilnx/project/propertyitem.h>

namespace Kiln
{

ItemMatch::ItemMatch(const QString &text, unsigned int flags)
    : m_text(text)
    , m_isPattern(flags & Editor::RegularExpression)
    , m_case(flags & Editor::CaseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive)
    , m_pattern(text, m_case)
{
}

bool ItemMatch::isPossible() const
{
    return !m_text.isEmpty() && (!m_isPattern || m_pattern.isValid());
}

bool ItemMatch::operator()(PropertyItem *item) const
{
    const QString identifier = item->property(QStringLiteral("Identifier")).toString();
    return m_isPattern ? m_pattern.indexIn(identifier) >= 0
                       : identifier.compare(m_text, m_case) == 0;
}

QVector<int> rowsToSearch(int count, int current, unsigned int flags)
{
    const int way = flags & Editor::Backward ? -1 : 1;
    QVector<int> rows;
    for (int row = current + way; row >= 0 && row < count; row += way)
        rows.append(row);
    if (flags & Editor::WrapAround) {
        for (int row = way > 0 ? 0 : count - 1; row != current && row >= 0 && row < count;
             row += way)
            rows.append(row);
        if (current >= 0 && current < count)
            rows.append(current);
    }
    return rows;
}

} // namespace Kiln
