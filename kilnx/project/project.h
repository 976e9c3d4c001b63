#pragma once

#include <kilnx/export.h>
#include <kilnx/project/fileid.h>

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QSizeF>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <memory>

namespace Kiln
{

class Archive;
class CodeDocument;
class MessageList;
class ParentProject;
class ProjectFile;
class ProjectPrivate;

/// One entry of Project::fileList().
struct ReferencedFile {
    int id = 0;   ///< the Project::FileID bits
    QString path; ///< as written, relative to the definition's directory; "/" ends a directory
};

/// A definition file and the files that it refers to: a character, a background, a level.
///
/// An engine derives from it. Life: the engine makes the definition's CodeDocument, then the
/// project on it (both with `new`), loads the document, and calls addToParent() once the object is
/// fully constructed. release() destroys it, never `delete` from outside; the ParentProject
/// destroys itself with its last project. The project is a QObject child of its ParentProject, and
/// owns its files.
class KILNX_EXPORT Project : public QObject
{
    Q_OBJECT

public:
    /// What a definition file describes.
    enum Type { Character, Background, Font, Scene, Motif, Level, Game };

    using FileID = Kiln::FileID;

    /// Keeps its place in the order for the engine; never called by the library.
    virtual void engineReserved1() = 0;
    /// Destroys the project: flushes and lets go of the archive, leaves the parent (which goes
    /// with its last project), destroys all files, and deletes this object. An override does its
    /// own work first and calls this last.
    virtual void release();
    /// True when every file is empty, also without files.
    virtual bool isEmpty() const;
    /// True when any file is modified.
    virtual bool isModified() const;
    /// The name shown in lists.
    virtual QString displayName() = 0;
    /// Keeps its place in the order for the engine; never called by the library.
    virtual void engineReserved6() = 0;
    /// The size of the engine's stage for this project, in pixels.
    virtual QSize stageSize() = 0;
    /// The two factors by which stageSize() is divided.
    virtual QSizeF stageScale() = 0;
    /// The selected file of a type; the first one when the selection is beyond the list, null
    /// without files of that type.
    virtual ProjectFile *file(FileID::Type type) const;
    /// Appends the files that the definition refers to, as it stands now in memory.
    virtual void fileList(QList<ReferencedFile> &out) = 0;
    /// Writes or copies all files below `path`, which ends in "/". With `backup` the project stays
    /// where it is; without, it moves to the plain file system, and the caller saves the
    /// definition. Appends the paths of all referenced files to `copied` unless that is null.
    virtual void saveAll(const QString &path, bool backup, QStringList *copied);
    /// Keep their places in the order for the engine; never called by the library.
    virtual void engineReserved12() = 0;
    virtual void engineReserved13() = 0;
    virtual void engineReserved14() = 0;

    ParentProject *parent() const;
    Archive &archive() const;
    /// The messages of all files, as one table.
    MessageList *messages() const;
    Type type() const { return m_type; }

    /// The definition's absolute name; empty for a new project.
    QString fileName() const;
    /// The definition's directory, ending in "/".
    QString absolutePath() const;
    /// absolutePath() without the parent's base path.
    QString basePath() const;

    /// Lists a file under all bits of `id`, makes it the selected one of each new bit, and takes it
    /// over. A file that is listed already gets the missing bits.
    void addFile(ProjectFile *file, FileID id);
    /// Changes a file's place in the list of a type; nothing when a place is out of range.
    void moveFile(FileID::Type type, int from, int to);
    /// Takes a file out of the list of a type, and destroys it when that was its last bit.
    void removeFile(FileID::Type type, int index);
    /// Takes a file out of the project and destroys it; nothing for a file of another project.
    void removeFile(ProjectFile *file);
    QList<ProjectFile *> files() const;
    const QList<ProjectFile *> &filesByType(FileID::Type type) const;
    const QMap<ProjectFile *, FileID> &filesWithIDs() const;
    /// The bits of a file; 0 for a file of another project.
    FileID fileID(ProjectFile *file) const;
    /// The index of the selected file of a type; 0 until one was added.
    unsigned int selectedFile(FileID::Type type) const;
    void setSelectedFile(FileID::Type type, unsigned int index);

    /// True for a new, untitled project: one empty, unmodified definition that has no name.
    bool isSingle() const;

    /// The project's own option; where it has none, the host's setting.
    QVariant option(const QString &key) const;
    /// Sets the project's option, and the host's setting too with `toSettings`. A null value
    /// removes the project's.
    void setOption(const QString &key, const QVariant &value, bool toSettings);

Q_SIGNALS:
    /// A file joined, or got the given bits.
    void fileAdded(const ProjectFile *file, Project::FileID id);
    /// A file left one of its lists or all; `id` is what it had before. It is still alive.
    void fileRemoved(const ProjectFile *file, Project::FileID id);

protected:
    /// Takes the definition over as a file with the bits `id`, and moves its options "parseCode",
    /// "highlightCode" and "modelCode" up to the project. `definition` tells the Type with
    /// RootCode::fileType().
    Project(ParentProject *parent, CodeDocument *definition, FileID id);
    ~Project() override;

    /// Enters the project in its parent's tree; call it once when the object is complete.
    void addToParent();
    /// Takes a file out of the project and hands it to the caller; null for a file of another
    /// project.
    ProjectFile *takeFile(ProjectFile *file);
    /// Loads every file again that still exists.
    virtual void reload();

private:
    friend class ParentProject;
    friend class ParentProjectPrivate;
    void moveOptionsUp(CodeDocument *definition);
    void moveTo(Archive &archive);
    void releaseFiles();

    Type m_type;
    std::unique_ptr<ProjectPrivate> d;
    Archive *m_archive;
};

} // namespace Kiln
