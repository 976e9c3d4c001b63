#include <kilnx/project/messages.h>

#include <kilnx/project/projectfile.h>

#include <QtCore/QFileInfo>

namespace Kiln
{
MessageList::MessageList(Project *project, QObject *parent)
    : QAbstractTableModel(parent)
    , m_project(project)
{
}

MessageList::~MessageList()
{
    for (Messages *source : qAsConst(m_sources))
        source->m_list = nullptr;
}

void MessageList::registerMessages(Messages *messages)
{
    if (!messages || messages->m_list == this)
        return;
    if (messages->m_list)
        messages->m_list->unregisterMessages(messages);
    messages->m_list = this;
    m_sources.append(messages);
    update();
}

void MessageList::unregisterMessages(Messages *messages)
{
    if (!messages || messages->m_list != this)
        return;
    messages->m_list = nullptr;
    m_sources.removeAll(messages);
    update();
}

void MessageList::update()
{
    if (m_rowCount != 0) {
        beginRemoveRows(QModelIndex(), 0, int(m_rowCount) - 1);
        m_rowCount = 0;
        endRemoveRows();
    }
    m_errorCount = m_warningCount = m_informationCount = 0;
    for (const Messages *source : qAsConst(m_sources)) {
        m_errorCount += source->count(Message::Error);
        m_warningCount += source->count(Message::Warning);
        m_informationCount += source->count(Message::Information);
    }
    const unsigned int counts[] = {m_errorCount, m_warningCount, m_informationCount,
                                   m_errorCount + m_warningCount + m_informationCount};
    const unsigned int rows = counts[m_filter];
    if (rows != 0) {
        beginInsertRows(QModelIndex(), 0, int(rows) - 1);
        m_rowCount = rows;
        endInsertRows();
    }
    emit updated();
}

Message MessageList::messageAt(int row, const Messages *&source) const
{
    unsigned int offset = 0;
    for (const Messages *candidate : m_sources) {
        const unsigned int count = candidate->count(Message::All);
        if (row >= 0 && unsigned(row) - offset < count) {
            source = candidate;
            return candidate->at(unsigned(row) - offset, m_filter);
        }
        offset += count;
    }
    return Message();
}

int MessageList::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rowCount);
}

int MessageList::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : 3;
}

QVariant MessageList::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::DecorationRole))
        return QVariant();
    const Messages *source = nullptr;
    const Message message = messageAt(index.row(), source);
    if (role == Qt::DecorationRole)
        return index.column() == 0 ? Message::icon(message.type) : QIcon();
    switch (index.column()) {
    case 0:
        return message.text;
    case 1: {
        ProjectFile *file = source ? source->file() : nullptr;
        return file ? QFileInfo(file->fileName()).fileName() : QString();
    }
    case 2:
        return message.line + 1;
    default:
        return QVariant();
    }
}

QVariant MessageList::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole) {
        switch (section) {
        case 0:
            return tr("Message");
        case 1:
            return tr("File");
        case 2:
            return tr("Line");
        default:
            break;
        }
    }
    return QAbstractTableModel::headerData(section, orientation, role);
}
} // namespace Kiln
