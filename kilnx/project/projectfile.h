#pragma once

#include <kilnx/export.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <memory>

class QAbstractItemModel;
class QRegularExpression;

namespace Kiln
{

class Archive;
class Messages;
class Project;
struct ProjectFilePrivate;

/// One file of a project, whatever its type: code, sprites, sounds.
///
/// Editors, Project and ParentProject load, save, search and undo through it. A file is made by
/// the engine, belongs to its Project from Project::addFile() on, and is destroyed with release(),
/// never with `delete`. Failures of fromFile() and toFile() are told by `false`, and shown by the
/// file itself but for what FileSystemArchive::lastError() says: that is the caller's to tell.
class KILNX_EXPORT ProjectFile
{
public:
    /// One hit of a search.
    struct SearchResult {
        void *reserved = nullptr; ///< neither written nor read by the library
        unsigned int line = 0;    ///< the text block of a code file, the item of other files
        unsigned int start = 0;   ///< where the hit starts in that line
        unsigned int length = 0;  ///< of the whole match, in characters
        QString text;             ///< the line, extended where the match runs past it
        QStringList captured;     ///< the captures without the whole match
    };

    ProjectFile();
    ProjectFile(const ProjectFile &) = delete;
    ProjectFile &operator=(const ProjectFile &) = delete;

    /// Where the file lives; the plain file system until it was loaded or saved elsewhere.
    virtual Archive &archive() const;
    /// The owner; null until Project::addFile().
    virtual Project *project() const;
    /// A bit set; bit 0: changes may be discarded without asking. 0 by default.
    virtual unsigned int capabilities() const;
    /// The items as a Qt model; null if there is none.
    virtual QAbstractItemModel *model();
    virtual bool canSave() const;
    virtual bool isModified() const;
    virtual bool isEmpty() const = 0;
    /// Back to a new, empty file.
    virtual void reset();
    /// Saves. With `asCopy` the file keeps its own name and archive. The base only records the
    /// archive (unless `asCopy`) and always returns false: call it, and don't pass its result on.
    virtual bool toFile(Archive &archive, const QString &name, bool asCopy);
    /// Loads. With `asCopy` the file does not take the name and counts as modified. The base only
    /// records the archive, as in toFile().
    virtual bool fromFile(Archive &archive, const QString &name, bool asCopy);
    /// The absolute name in the archive; null or empty for a file that was never saved.
    virtual QString fileName();
    /// Opens a group of edits; the calls are balanced with endChange() by the caller.
    virtual void beginChange();
    virtual void endChange();
    virtual void undo();
    virtual void redo();
    /// All hits, in order. The expression must not match empty text.
    virtual QList<SearchResult> search(const QRegularExpression &expression) = 0;
    /// Replaces hits of search(); what "%n" in `text` stands for is the file type's own.
    virtual void replace(const QList<SearchResult> &results, const QString &text) = 0;
    /// The file's own option; where it has none, the project's, and so on to the host's settings.
    virtual QVariant option(const QString &key);
    /// Sets an option of the file or, with `toProject` and a project, of the project and, with
    /// `toSettings` too, of the host. A null value removes the key.
    virtual void
    setOption(const QString &key, const QVariant &value, bool toProject, bool toSettings);
    /// Destroys the file: the final class deletes itself.
    virtual void release() = 0;

    /// Whether archive() has a file under fileName().
    bool fileExists() const;
    /// What there is to tell about the contents; never null for the library's file types.
    const Messages *messages() const { return fileMessages(); }

protected:
    virtual ~ProjectFile();
    /// The suffix of the file type without the dot; null if it has none.
    virtual const char *fileExtension() const;
    /// The list behind messages(), registered with the project's message table.
    virtual Messages *fileMessages() const = 0;

private:
    friend class Project;
    /// Lets go of the recorded archive and takes another; both counts stay right.
    bool takeArchive(Archive &archive, bool asCopy);

    std::unique_ptr<ProjectFilePrivate> d;
};

} // namespace Kiln
