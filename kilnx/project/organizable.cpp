#include <kilnx/project/organizable.h>

#include <QtCore/QDataStream>
#include <QtCore/QMap>
#include <QtCore/QMimeData>
#include <QtCore/QVariant>

#include <algorithm>

namespace Kiln
{

namespace
{

/// The rows of an item list in Qt's own drag format, ascending, each once. Rows that a list of
/// `count` rows doesn't have are left out, and a damaged stream ends the list where it breaks.
QVector<int> draggedRows(const QByteArray &bytes, int count)
{
    QVector<int> rows;
    QDataStream stream(bytes);
    while (!stream.atEnd()) {
        int row = -1;
        int column = -1;
        QMap<int, QVariant> roles;
        stream >> row >> column >> roles;
        if (stream.status() != QDataStream::Ok)
            break;
        if (row >= 0 && row < count)
            rows.append(row);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

} // namespace

OrganizableListModel::OrganizableListModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

Qt::ItemFlags OrganizableListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this || index.row() >= rowCount())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled |
           Qt::ItemNeverHasChildren;
}

bool OrganizableListModel::dropMimeData(const QMimeData *data,
                                        Qt::DropAction action,
                                        int row,
                                        int column,
                                        const QModelIndex &parent)
{
    Q_UNUSED(column)
    Q_UNUSED(parent)
    auto list = qobject_cast<OrganizableObject *>(this);
    if (!data || action != Qt::MoveAction || !list)
        return false;

    const int count = rowCount();
    int target = std::min(std::max(row, 0), count);
    QVector<int> pending = draggedRows(data->data(mimeTypes().constFirst()), count);
    if (pending.isEmpty())
        return false;

    list->beginChange();
    while (!pending.isEmpty()) {
        const int from = pending.takeLast();
        if (from < target && from != target - 1)
            list->move(unsigned(from), unsigned(target - 1));
        if (from <= target)
            continue;
        // What is still pending stands above `from`: only a move upwards pushes some of it down.
        list->move(unsigned(from), unsigned(target));
        for (int &other : pending) {
            if (other >= target)
                ++other;
        }
        ++target;
    }
    list->endChange();
    return false;
}

Qt::DropActions OrganizableListModel::supportedDragActions() const
{
    return Qt::MoveAction;
}

Qt::DropActions OrganizableListModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

OrganizableObject::OrganizableObject(QObject *parent)
    : OrganizableListModel(parent)
{
}

} // namespace Kiln
