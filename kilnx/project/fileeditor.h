#pragma once

#include <kilnx/export.h>
#include <kilnx/project/editor.h>
#include <kilnx/project/project.h>

namespace Kiln
{

class ProjectFile;

/// The editor of one file type: create, open, save, save as, discard and find, shared by the
/// editors of code, sprites, sounds and animations, which add what their type needs.
///
/// The current file belongs to its Project, not to the editor. Failures of loading and saving are
/// told as ProjectFile says.
class KILNX_EXPORT FileEditor : public Editor
{
    Q_OBJECT

public:
    explicit FileEditor(QObject *parent = nullptr);

    bool isModified() const override;
    void undo() override;
    void redo() override;
    /// Looks in the current file. Where nothing is found, tells so unless `flags` has Silent.
    void find(const QString &text, unsigned int flags) override;

    /// The one type that this editor handles.
    virtual Project::FileID::Type canEditFileType() = 0;
    /// Whether the changes of `file` may be lost; asks the user if they matter.
    virtual bool canDiscard(const ProjectFile *file) const;

public Q_SLOTS:
    virtual void cut();
    virtual void copy();
    virtual void paste();

public:
    /// Looks in `file` and shows what it finds; false when there is nothing.
    virtual bool find(const ProjectFile *file, const QString &text, unsigned int flags) = 0;
    /// Shows another file; null shows none.
    virtual void setCurrentFile(ProjectFile *file);

public Q_SLOTS:
    /// Adds a new file of this type to the current project.
    virtual void create();
    /// Asks for a file and adds it to the current project.
    virtual void open();
    /// Saves the current file if it is modified; asks for another place where that fails.
    virtual void save();
    /// Asks for a place and saves the current file there.
    virtual void saveAs();

public:
    ProjectFile *currentFile() const { return m_currentFile; }
    /// Asks for every file of this type in the current project; true if all may be discarded.
    bool canDiscard() const;
    /// Asks for a place, saves `file` there, and tells so by the editor's modified().
    static void saveFileAs(ProjectFile *file, FileEditor *editor, Interface *interface);

private:
    ProjectFile *m_currentFile = nullptr;
};

} // namespace Kiln
