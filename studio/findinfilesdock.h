#pragma once

#include <QDockWidget>
#include <QList>

class QCheckBox;
class QLabel;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

namespace Kiln
{
class ProjectFile;
}

namespace Studio
{

/// Searches every loaded file of the project and lists the hits under their files.
class FindInFilesDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit FindInFilesDock(QWidget *parent = nullptr);

    /// Shows the dock with the focus in the search field; `text`, unless empty, replaces its
    /// contents.
    void start(const QString &text);

    /// Searches `files`, given by the host on searchRequested().
    void search(const QList<Kiln::ProjectFile *> &files);

    /// Forgets the hits; they point to files that may be gone.
    void clearResults();

    int hitCount() const { return m_hits; }

signals:
    void searchRequested();
    /// The user wants to see a hit; both numbers count from 0.
    void placeActivated(Kiln::ProjectFile *file, int line, int column);

private:
    int addHits(Kiln::ProjectFile *file, const QRegularExpression &expression);
    void activate(QTreeWidgetItem *item);

    QLineEdit *m_text;
    QCheckBox *m_regularExpression;
    QCheckBox *m_caseSensitive;
    QLabel *m_summary;
    QTreeWidget *m_results;
    int m_hits = 0;
};

} // namespace Studio
