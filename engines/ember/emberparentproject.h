#pragma once

#include "emberproject.h"

#include <kilnx/project/parentproject.h>

/// A directory with a game of Ember, or with single characters and stages.
///
/// The tree shows the files that the definitions name, and two directories by convention: "shared"
/// for code that several definitions use, and "notes" for text. It destroys itself with its last
/// project: close() releases them all.
class EMBER_EXPORT EmberParentProject : public Kiln::ParentProject
{
    Q_OBJECT

public:
    /// Opens what the user chose and returns the object, which then owns itself.
    ///
    /// `path` is a directory, or a definition file. A directory with a game (a ".hearth" file)
    /// opens the game and its cast; one without opens the definitions that lie in it and in the
    /// directories directly below it. Of a game's file the same; a character's or a stage's opens
    /// alone. Null when there is no definition that can be opened.
    static EmberParentProject *open(const QString &path, Kiln::Archive &archive);
    /// An untitled project of one empty definition, to be saved below `directory`.
    static EmberParentProject *
    create(const QString &directory, Kiln::Archive &archive, EmberDocument::FileType type);
    /// Releases every project; the object is gone when this returns.
    void close();

    /// The open file of that absolute name, of whichever project; else it is loaded into the
    /// project whose definition's directory is nearest above it. Null for a file that is no
    /// file of Ember (show such a file as the host likes) or cannot be opened.
    Kiln::ProjectFile *openFile(const QString &fileName);

    Kiln::Engine *engine() override;
    void collectFiles(const QString &path, QStringList &out) override;
    bool prepareRun(QString &executable, QStringList &temporaries) override;
    void release() override;

protected:
    QIcon fileIcon(Kiln::Project::FileID id) override;

private:
    EmberParentProject(const QString &directory, Kiln::Archive &archive);
    ~EmberParentProject() override;
    bool openProjects(const QStringList &definitions);
    EmberProject *projectAround(const QString &fileName) const;
};
