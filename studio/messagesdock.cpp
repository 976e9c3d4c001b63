#include "messagesdock.h"

#include <hostkit/messagetable.h>
#include <hostkit/widgets.h>

#include <QHeaderView>
#include <QTreeView>

namespace Studio
{

using namespace HostKit;

MessagesDock::MessagesDock(HostKit::MessageTable *table, QWidget *parent)
    : QDockWidget(tr("Messages"), parent)
    , m_table(table)
    , m_view(named(new QTreeView(this), "messages_view", tr("Messages of the project")))
{
    named(this, "dock_messages");
    m_view->setModel(m_table);
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setIconSize(QSize(16, 16));
    QHeaderView *header = m_view->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(0, QHeaderView::Stretch);
    header->resizeSection(1, 200);
    header->resizeSection(2, 60);
    setWidget(m_view);
    connect(m_view, &QTreeView::activated, this, &MessagesDock::activate);
}

void MessagesDock::activate(const QModelIndex &index)
{
    Kiln::ProjectFile *file = nullptr;
    const Kiln::Message message = m_table->messageAt(index.row(), file);
    if (file)
        emit placeActivated(file, message.line, message.column);
}

} // namespace Studio
