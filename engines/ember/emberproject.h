#pragma once

#include "emberdocument.h"

#include <kilnx/project/project.h>

#include <QSet>

#include <memory>

namespace Kiln
{
class SimpleMessages;
}
class EmberParentProject;
class QFileSystemWatcher;

/// A character, a stage or a game: one definition and the code files that it names.
///
/// open() makes it; release() destroys it, like any Kiln::Project. Its message table holds, beside
/// the messages of its files, a warning for each named file that cannot be read.
class EMBER_EXPORT EmberProject : public Kiln::Project
{
    Q_OBJECT

public:
    /// Loads a definition and every file that it names, and enters the project in `parent`.
    /// `fileName` is absolute. Null when it is no definition or cannot be opened.
    static EmberProject *open(EmberParentProject &parent, const QString &fileName);
    /// A new project with an empty definition that has no name yet.
    static EmberProject *create(EmberParentProject &parent, EmberDocument::FileType type);

    /// The file that has this absolute name, null if the project holds none.
    Kiln::ProjectFile *fileByName(const QString &fileName) const;
    /// Loads a file of code or sounds into the project, or returns the one that is there already.
    /// Null for a file that is no such file or cannot be opened.
    Kiln::ProjectFile *openFile(const QString &fileName);
    /// Null after it was removed; the project then names no files and has the default stage.
    EmberDocument *definition() const;
    /// The definitions that a game names under "cast", relative to its directory.
    QStringList cast() const;

    void engineReserved1() override {}
    void release() override;
    /// The title in "@about", else the bare name of the definition.
    QString displayName() override;
    void engineReserved6() override {}
    /// "size" of a stage's "@ground", else 640 by 360.
    QSize stageSize() override;
    /// "scale" of a stage's "@ground", else 1 by 1.
    QSizeF stageScale() override;
    /// What the "@files" sections name. Absolute names, the definition itself and the cast, whose
    /// files belong to their own definitions, are left out.
    void fileList(QList<Kiln::ReferencedFile> &out) override;
    void engineReserved12() override {}
    void engineReserved13() override {}
    void engineReserved14() override {}

private:
    EmberProject(EmberParentProject &parent, EmberDocument *definition);
    ~EmberProject() override;
    void checkFiles();
    void watchForMissing();
    QString fullName(const QString &path) const;

    /// A file that is named and cannot be read.
    struct MissingFile {
        bool operator==(const MissingFile &other) const
        {
            return line == other.line && path == other.path;
        }
        int line; ///< of the definition
        QString path;
    };

    std::unique_ptr<Kiln::SimpleMessages> m_missing;
    QList<MissingFile> m_missingFiles;
    QFileSystemWatcher *m_watcher = nullptr; ///< of the directories where they would be
    /// Named files that could be read: they are not opened again at each key.
    QSet<QString> m_readable;
};
