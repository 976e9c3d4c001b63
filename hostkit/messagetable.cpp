#include <hostkit/messagetable.h>

#include <kilnx/project/projectfile.h>

namespace HostKit
{

MessageTable::MessageTable(QObject *parent)
    : QAbstractTableModel(parent)
{
}

void MessageTable::addList(Kiln::MessageList *list)
{
    m_parts.append({list, 0});
    connect(list, &Kiln::MessageList::updated, this, [this, list] { follow(list); });
    connect(list, &QObject::destroyed, this, &MessageTable::dropPart);
    follow(list);
}

void MessageTable::removeList(Kiln::MessageList *list)
{
    list->disconnect(this);
    dropPart(list);
}

Kiln::Message MessageTable::messageAt(int row, Kiln::ProjectFile *&file) const
{
    file = nullptr;
    const int part = partOf(&row);
    if (part < 0 || !m_parts[part].list)
        return {};
    const Kiln::Messages *source = nullptr;
    const Kiln::Message message = m_parts[part].list->messageAt(row, source);
    if (source)
        file = source->file();
    return message;
}

int MessageTable::errorCount() const
{
    int count = 0;
    for (const Part &part : m_parts)
        count += part.list ? int(part.list->errorCount()) : 0;
    return count;
}

int MessageTable::warningCount() const
{
    int count = 0;
    for (const Part &part : m_parts)
        count += part.list ? int(part.list->warningCount()) : 0;
    return count;
}

int MessageTable::rowCount(const QModelIndex &parent) const
{
    int rows = 0;
    if (!parent.isValid()) {
        for (const Part &part : m_parts)
            rows += part.rows;
    }
    return rows;
}

int MessageTable::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : 3;
}

QVariant MessageTable::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    int row = index.row();
    const int part = partOf(&row);
    if (part < 0 || !m_parts[part].list)
        return {};
    if (role == Qt::TextAlignmentRole && index.column() == 2)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::ToolTipRole) {
        Kiln::ProjectFile *file = nullptr;
        const QString text = messageAt(index.row(), file).text;
        return file ? text + QLatin1Char('\n') + file->fileName() : text;
    }
    const Kiln::MessageList *list = m_parts[part].list;
    return list->data(list->index(row, index.column()), role);
}

QVariant MessageTable::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const Kiln::MessageList titles(nullptr);
    return titles.headerData(section, orientation, role);
}

// A list announces all its rows anew at each change; the views only hear of the difference.
void MessageTable::follow(Kiln::MessageList *list)
{
    int first = 0;
    for (Part &part : m_parts) {
        if (part.list != list) {
            first += part.rows;
            continue;
        }
        const int rows = list->rowCount();
        if (rows > part.rows) {
            beginInsertRows({}, first + part.rows, first + rows - 1);
            part.rows = rows;
            endInsertRows();
        } else if (rows < part.rows) {
            beginRemoveRows({}, first + rows, first + part.rows - 1);
            part.rows = rows;
            endRemoveRows();
        }
        if (rows > 0)
            Q_EMIT dataChanged(index(first, 0), index(first + rows - 1, 2));
        Q_EMIT countsChanged();
        return;
    }
}

void MessageTable::dropPart(QObject *list)
{
    int first = 0;
    for (int i = 0; i < m_parts.size(); ++i) {
        const int rows = m_parts[i].rows;
        if (m_parts[i].list != list) {
            first += rows;
            continue;
        }
        // Views may ask for data while the rows go, and the list may be half gone already.
        m_parts[i].list = nullptr;
        if (rows > 0)
            beginRemoveRows({}, first, first + rows - 1);
        m_parts.remove(i);
        if (rows > 0)
            endRemoveRows();
        Q_EMIT countsChanged();
        return;
    }
}

// The place in m_parts of a row of the table, and in `row` the row within that list; -1 for a
// bad row.
int MessageTable::partOf(int *row) const
{
    for (int i = 0; i < m_parts.size() && *row >= 0; ++i) {
        if (*row < m_parts[i].rows)
            return i;
        *row -= m_parts[i].rows;
    }
    return -1;
}

} // namespace HostKit
