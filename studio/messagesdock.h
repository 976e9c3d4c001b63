#pragma once

#include <QDockWidget>
#include <QTimer>

class QCheckBox;
class QToolButton;
class QTreeView;

namespace Kiln
{
class ProjectFile;
struct Message;
} // namespace Kiln

namespace HostKit
{
class MessageTable;
}

namespace Studio
{

class MessageFilter;

/// The table of messages of the whole project, or of some kinds and of the file on show alone; a
/// row that is activated leads to its line, and the line of the caret chooses its row.
class MessagesDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit MessagesDock(HostKit::MessageTable *table, QWidget *parent = nullptr);

    HostKit::MessageTable *table() const { return m_table; }
    QTreeView *view() const { return m_view; }

    /// Leads to the place of a row of the view, as if the user had activated it.
    void activate(const QModelIndex &index);
    /// Leads to the next row, or by -1 to the one before, around the end. It counts from the chosen
    /// row where the caret is still in its line, or else from the caret.
    void step(int by);
    /// Where the caret is: a file, null for none, and a line from 0.
    void setPlace(Kiln::ProjectFile *file, int line);

signals:
    /// The user wants to see a place; both numbers count from 0.
    void placeActivated(Kiln::ProjectFile *file, int line, int column);

private:
    void applyFilter();
    void showCounts();
    void chooseAtCaret();
    Kiln::Message messageAt(int row, Kiln::ProjectFile *&file) const;
    int rowFromCaret(int by) const;

    HostKit::MessageTable *m_table;
    MessageFilter *m_filter;
    QTreeView *m_view;
    QToolButton *m_kinds[3]; ///< in the order of Kiln::Message::Type
    QCheckBox *m_onlyShown;
    QTimer m_resting{this}; ///< since the caret has moved
    Kiln::ProjectFile *m_file = nullptr;
    int m_line = 0;
};

} // namespace Studio
