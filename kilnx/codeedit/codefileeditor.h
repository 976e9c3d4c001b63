#pragma once

#include <kilnx/export.h>
#include <kilnx/project/fileeditor.h>

#include <QtCore/QModelIndex>
#include <QtCore/QPointer>

class QAbstractItemModel;
class QTextCursor;
class QTreeView;

namespace Kiln
{

class CodeDocument;
class CodeNode;
class CodeWorkspace;

/// The editor of code files. It shows one CodeDocument at a time in the shared CodeWorkspace, keeps
/// a tree dock of the document in step with the cursor, writes fields 0 (place) and 1 (errors) of
/// the status bar, and finds and replaces. An engine derives one class for each type of code file
/// and adds action(), name() and canEditFileType().
///
/// A current file that is no CodeDocument shows as an empty text. The document stays its
/// project's, and may be destroyed while it is shown: then there is no current file. While the view
/// shows another document, cut(), copy(), paste() and replace() do nothing.
class KILNX_EXPORT CodeFileEditor : public FileEditor
{
    Q_OBJECT

public:
    /// `treeKey` is the key under which the host is asked for a tree dock, or null for none.
    /// Editors with the same key share the tree, as they share the view.
    CodeFileEditor(CodeWorkspace *workspace, const char *treeKey);

    /// 5: the host's screen areas of a code editor.
    unsigned int areas() const override;
    void activate() override;
    void deactivate() override;
    void retranslate() override;
    void setCurrentFile(ProjectFile *file) override;
    /// The document shown; null if there is none.
    CodeDocument *document() const;
    /// Puts `line` in the middle of the view and the cursor at `column`, cut to what there is. A
    /// document that is not in the view will open there.
    void navigateTo(unsigned int line, unsigned int column) override;

    /// Selects the next match after the cursor and shows it. False, with the selection as it was,
    /// when there is none, or when an expression takes too long.
    ///
    /// In a file that is not the one shown the search begins at the start; a match becomes the
    /// place at which that file will open.
    bool find(const ProjectFile *file, const QString &text, unsigned int flags) override;
    using FileEditor::find;
    /// Replaces every match in one step of undo when `all` is true. Otherwise replaces the
    /// selection if the whole of it matches, and goes on to the next match. In `replacement`, "\1"
    /// stands for the first capture of an expression. An expression that takes too long changes
    /// nothing, and the user is told unless `flags` has Silent.
    void
    replace(const QString &text, const QString &replacement, unsigned int flags, bool all) override;

    /// These lead the cursor to the change.
    void undo() override;
    void redo() override;
    /// Whether the last find() or replace() was given up because its expression takes too long.
    bool ranOutOfTime() const { return m_ranOutOfTime; }
    /// How many matches the last replace() of all has changed.
    int replacedCount() const { return m_replacedCount; }

public Q_SLOTS:
    void cut() override;
    void copy() override;
    void paste() override;
    /// Goes to the line of a row of the tree.
    void selectedItem(const QModelIndex &index);

protected:
    CodeWorkspace *workspace;

private:
    bool isShown() const;
    void currLineChanged(int line);
    void cursorChanged(const QPoint &place);
    void showTree();
    void showPlace();
    void watchModified();
    void replaceAll(const QString &text, const QString &replacement, unsigned int flags);
    bool selectMatch(QTextCursor &cursor, const QString &sought, unsigned int flags);
    void giveUp(unsigned int flags);
    void showChange();

    CodeDocument *m_document = nullptr;
    QPointer<QAbstractItemModel> m_alive; ///< the document's model, null once that is gone
    QPointer<QTreeView> m_tree;
    const CodeNode *m_lineNode = nullptr; ///< of the cursor's line; only ever compared
    bool m_ranOutOfTime = false;
    int m_replacedCount = 0;
    QMetaObject::Connection m_ended;
    QMetaObject::Connection m_modified;
    QMetaObject::Connection m_lineChanged;
    QMetaObject::Connection m_cursorChanged;
};

} // namespace Kiln
