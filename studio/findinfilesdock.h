#pragma once

#include "findoptions.h"

#include <hostkit/filesearch.h>

#include <QDockWidget>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace HostKit
{
class HostBase;
}

namespace Studio
{

/// Finds text in all files of the project, lists the hits under their files while it goes on, and
/// replaces those that are checked: each line is shown as it will be then, and each file takes it
/// back in one step.
class FindInFilesDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit FindInFilesDock(HostKit::HostBase &host, QWidget *parent = nullptr);

    /// Shows the dock with the focus in the search field; `text`, unless empty, replaces its
    /// contents.
    void start(const QString &text);

    /// Starts a search, or stops the one that goes on.
    void search();
    bool isSearching() const { return m_search.isRunning(); }
    void clearResults();

    int hitCount() const { return m_hits.size(); }

private:
    void makeFields();
    void addHits(const QString &fileName,
                 Kiln::ProjectFile *file,
                 const QVector<HostKit::FileHit> &hits);
    QTreeWidgetItem *fileItem(const QString &fileName, Kiln::ProjectFile *file);
    void end(HostKit::FileSearch::End how);
    void showPreview();
    void updateButtons();
    void activate(QTreeWidgetItem *item);
    void replaceChecked();
    int replaceIn(QTreeWidgetItem *item, int *missed);
    Kiln::ProjectFile *openFile(QTreeWidgetItem *item);

    HostKit::HostBase &m_host;
    HostKit::FileSearch m_search;
    QVector<HostKit::FileHit> m_hits; ///< by the number that their rows have
    QLineEdit *m_text;
    QLineEdit *m_replacement;
    QPushButton *m_start;
    QPushButton *m_replace;
    FindOptions m_options;
    QLabel *m_summary;
    QTreeWidget *m_results;
};

} // namespace Studio
