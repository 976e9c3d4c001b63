#pragma once

#include <hostkit/export.h>

#include <QtCore/QList>
#include <QtCore/QObject>

#include <functional>

class QWidget;

namespace Kiln
{
class ParentProject;
class ProjectFile;
} // namespace Kiln

namespace HostKit
{

class EditorDeck;
class FileDesk;
class ProjectSession;

/// Saving, with a question before something is replaced and a word about what did not work out.
/// Without a project, or a file shown, nothing happens.
class HOSTKIT_EXPORT SaveDesk : public QObject
{
    Q_OBJECT

public:
    SaveDesk(ProjectSession *session, EditorDeck *deck, FileDesk *desk, QWidget *window);

    /// Who asks before files are written over that other programs have changed; false keeps them
    /// as they are.
    void setOverwriteTest(const std::function<bool(const QList<Kiln::ProjectFile *> &)> &test)
    {
        m_mayOverwrite = test;
    }

    /// Saves the file that is shown. One that is gone from the disk is written there again; where
    /// that fails, the reason is told and another place is asked for.
    void save();
    /// Asks for a name and saves the file that is shown under it.
    void saveAs();
    /// Writes files that are gone from the disk there again, by their names.
    void writeAgain(const QStringList &files);
    /// Saves every modified file of the project, and offers to write those again that are gone.
    void saveAll();
    /// Asks for a place and saves the whole project there; true if it was moved.
    bool saveProjectAs();
    /// Keeps a dated copy of the project; true if it is complete.
    bool backup(const QString &name);
    /// Goes back to a copy, which `name` tells as ParentProject::restoreBackup() does, after
    /// questions. True if it was restored.
    bool restore(const QString &name);

private:
    bool saveFile(Kiln::ProjectFile *file);
    bool settle();
    static bool changesLineEnds(Kiln::ProjectFile *file);
    void tellLineEnds(const QStringList &files);
    void dropTwin(Kiln::ProjectFile *file);
    QString chooseTarget(Kiln::ParentProject *project);
    bool mayOverwrite(const QList<Kiln::ProjectFile *> &files) const;
    bool mayReplace(const QString &title, const QStringList &files);
    bool tellReport(const QString &title, const Kiln::ParentProject *project);
    void saveKept(Kiln::ParentProject *project);
    void tellWhyNot(const QString &title, Kiln::ProjectFile *file);

    ProjectSession *m_session;
    EditorDeck *m_deck;
    FileDesk *m_desk;
    QWidget *m_window;
    std::function<bool(const QList<Kiln::ProjectFile *> &)> m_mayOverwrite;
};

} // namespace HostKit
