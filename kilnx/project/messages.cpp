#include <kilnx/project/messages.h>

#include <kilnx/project/interface.h>

#include <QtCore/QtAlgorithms>

namespace Kiln
{
QIcon Message::icon(Type type)
{
    const char *name = "error";
    const char *resource = ":/kiln_icons/icons/error.png";
    if (type == Warning) {
        name = "warning";
        resource = ":/kiln_icons/icons/warn.png";
    } else if (type == Information) {
        name = "information";
        resource = ":/kiln_icons/icons/info.png";
    }
    Interface *host = Interface::instance();
    return host ? host->icon(QLatin1String(name)) : QIcon(QLatin1String(resource));
}

Messages::Messages(QObject *parent)
    : QAbstractListModel(parent)
{
}

Messages::~Messages()
{
    if (m_list)
        m_list->unregisterMessages(this);
}

int Messages::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(count(Message::All));
}

QVariant Messages::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || unsigned(index.row()) >= count(Message::All))
        return QVariant();
    if (role == Qt::DisplayRole)
        return at(unsigned(index.row()), Message::All).text;
    if (role == Qt::DecorationRole)
        return index.column() == 0 ? Message::icon(at(unsigned(index.row()), Message::All).type)
                                   : QIcon();
    return QVariant();
}

void Messages::notifyUpdate()
{
    if (m_list)
        m_list->update();
}

SimpleMessages::SimpleMessages(ProjectFile *file, QObject *parent)
    : Messages(parent)
    , m_file(file)
{
}

SimpleMessages::~SimpleMessages()
{
    // The list asks for the counts once more when the base leaves it.
    if (list())
        list()->unregisterMessages(this);
    qDeleteAll(m_messages);
}

void SimpleMessages::add(Message::Type type,
                         const QString &text,
                         unsigned int line,
                         unsigned int column)
{
    if (type < Message::Error || type > Message::Information)
        return;
    const int row = m_messages.size();
    beginInsertRows(QModelIndex(), row, row);
    m_messages.append(new Message{type, int(line), int(column), text});
    ++m_counts[type];
    endInsertRows();
    changed();
}

void SimpleMessages::clear()
{
    const int rows = m_messages.size();
    if (rows == 0)
        return;
    beginRemoveRows(QModelIndex(), 0, rows - 1);
    qDeleteAll(m_messages);
    m_messages.clear();
    for (int &count : m_counts)
        count = 0;
    endRemoveRows();
    changed();
}

void SimpleMessages::beginChange()
{
    ++m_changeDepth;
}

void SimpleMessages::endChange()
{
    if (m_changeDepth > 0 && --m_changeDepth == 0)
        notifyUpdate();
}

void SimpleMessages::changed()
{
    if (m_changeDepth == 0)
        notifyUpdate();
}

ProjectFile *SimpleMessages::file() const
{
    return m_file;
}

unsigned int SimpleMessages::count(Message::Type type) const
{
    if (type >= Message::Error && type <= Message::Information)
        return unsigned(m_counts[type]);
    return type == Message::All ? unsigned(m_messages.size()) : 0;
}

Message SimpleMessages::at(unsigned int index, Message::Type type) const
{
    if (type == Message::All)
        return index < unsigned(m_messages.size()) ? *m_messages.at(int(index)) : Message();
    for (const Message *message : m_messages) {
        if (message->type == type && index-- == 0)
            return *message;
    }
    return Message();
}
} // namespace Kiln
