#pragma once

#include <QDockWidget>

class QTreeView;

namespace Kiln
{
class ProjectFile;
}

namespace HostKit
{
class MessageTable;
}

namespace Studio
{

/// The table of messages of the whole project; a row that is activated leads to its line.
class MessagesDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit MessagesDock(HostKit::MessageTable *table, QWidget *parent = nullptr);

    HostKit::MessageTable *table() const { return m_table; }
    QTreeView *view() const { return m_view; }

    /// Leads to the place of a row, as if the user had activated it.
    void activate(const QModelIndex &index);

signals:
    /// The user wants to see a place; both numbers count from 0.
    void placeActivated(Kiln::ProjectFile *file, int line, int column);

private:
    HostKit::MessageTable *m_table;
    QTreeView *m_view;
};

} // namespace Studio
