#pragma once

#include <hostkit/export.h>

#include <QtWidgets/QTabBar>

#include <functional>

class QMenu;

namespace Kiln
{
class ProjectFile;
}

namespace HostKit
{

/// One tab for each file that the user has opened; a dot marks changes that are not saved. The
/// middle button closes a tab, and a menu the others, too.
class HOSTKIT_EXPORT FileTabs : public QTabBar
{
    Q_OBJECT

public:
    explicit FileTabs(QWidget *parent = nullptr);

    /// Makes `file` the current tab, with a new one if it has none; null selects nothing.
    void showFile(Kiln::ProjectFile *file);
    void removeFile(Kiln::ProjectFile *file);

    Kiln::ProjectFile *currentFile() const;
    /// In the order of the tabs.
    QList<Kiln::ProjectFile *> files() const;
    int indexOf(const Kiln::ProjectFile *file) const;

    /// Reads names and marks again.
    void refresh();
    /// What tells whether a file has changes; until then the file itself.
    void setModifiedTest(const std::function<bool(Kiln::ProjectFile *)> &test);
    /// What tells whether a file is gone from the disk, which its tab says; an empty one says that
    /// none is.
    void setGoneTest(const std::function<bool(Kiln::ProjectFile *)> &test) { m_isGone = test; }

    /// The name that a file is shown under: without its directory, or "Untitled".
    static QString title(Kiln::ProjectFile *file);
    /// The same beside other files: of two with one name, each has as many of its directories as
    /// tell it from the other.
    static QStringList titles(const QList<Kiln::ProjectFile *> &files);
    /// The name on the tab of a file, without the marks; as title() where it has none.
    QString shownTitle(Kiln::ProjectFile *file) const;

Q_SIGNALS:
    /// The user chose another tab.
    void fileChosen(Kiln::ProjectFile *file);
    void closeRequested(Kiln::ProjectFile *file);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QMenu *makeMenu(Kiln::ProjectFile *file);
    void closeAll(const QList<Kiln::ProjectFile *> &files);
    void follow(Kiln::ProjectFile *file);
    Kiln::ProjectFile *fileAt(int index) const;
    void choose(int index);

    std::function<bool(Kiln::ProjectFile *)> m_isModified;
    std::function<bool(Kiln::ProjectFile *)> m_isGone;
    bool m_changing = false;
};

} // namespace HostKit
