#include <kilnx/codeedit/codefileeditor.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/codenode.h>
#include <kilnx/codeedit/codeeditor.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/codeedit/textsearch_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/controls.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/messages.h>

#include <QtCore/QItemSelectionModel>
#include <QtWidgets/QTreeView>

namespace Kiln
{

namespace
{
constexpr unsigned int CodeAreas = 5;
constexpr int InTheMiddle = -1; // of the view, for a place that is gone to later

// The match after the selection of `cursor` or, backward, before it. An empty match right at an
// empty selection is passed over, so that every search gets on.
std::optional<TextMatch>
matchFrom(const QTextCursor &cursor, const QRegExp &expression, const QString &text, bool backward)
{
    if (backward)
        return searchText(expression, text, qMax(0, cursor.selectionStart() - 1), true);
    const int from = cursor.selectionEnd();
    const std::optional<TextMatch> match = searchText(expression, text, from, false);
    if (!match || match->length > 0 || match->position != from || cursor.hasSelection() ||
        from >= text.size())
        return match;
    return searchText(expression, text, from + 1, false);
}

/// The open rows of a tree: closing them costs as much as they are, and not as the whole tree.
class OpenRows : public QObject
{
public:
    /// Those of `tree`, to which they belong; first asked for before a row is opened.
    static OpenRows *of(QTreeView *tree)
    {
        for (QObject *child : tree->children()) {
            if (auto *rows = dynamic_cast<OpenRows *>(child))
                return rows;
        }
        return new OpenRows(tree);
    }

    void close()
    {
        const QList<QPersistentModelIndex> rows = m_rows;
        m_rows.clear();
        for (const QPersistentModelIndex &row : rows)
            m_tree->collapse(row);
    }

private:
    explicit OpenRows(QTreeView *tree)
        : QObject(tree)
        , m_tree(tree)
    {
        connect(tree, &QTreeView::expanded, this,
                [this](const QModelIndex &row) { m_rows.append(row); });
        connect(tree, &QTreeView::collapsed, this,
                [this](const QModelIndex &row) { m_rows.removeAll(row); });
    }

    QTreeView *m_tree;
    QList<QPersistentModelIndex> m_rows; ///< voided by a model that is reset or replaced
};
} // namespace

CodeFileEditor::CodeFileEditor(CodeWorkspace *codeWorkspace, const char *treeKey)
    : workspace(codeWorkspace)
{
    if (!treeKey)
        return;
    const QString key = QString::fromLatin1(treeKey);
    m_tree = qobject_cast<QTreeView *>(interface->control(key));
    if (m_tree) {
        connect(m_tree, &QTreeView::activated, this, &CodeFileEditor::selectedItem);
        return;
    }
    TreeViewControl control;
    control.receiver = this;
    control.slot = SLOT(selectedItem(QModelIndex));
    interface->addControl(key, control);
    m_tree = qobject_cast<QTreeView *>(interface->control(key));
    if (m_tree)
        OpenRows::of(m_tree);
}

unsigned int CodeFileEditor::areas() const
{
    return CodeAreas;
}

void CodeFileEditor::activate()
{
    active = true;
    CodeEditor *editor = workspace->editor();
    disconnect(m_lineChanged);
    disconnect(m_cursorChanged);
    m_lineChanged =
        connect(editor, &CodeEditor::currentLineChanged, this, &CodeFileEditor::currLineChanged);
    m_cursorChanged =
        connect(editor, &CodeEditor::cursorChanged, this, &CodeFileEditor::cursorChanged);
    // Another editor may have shown a document of its own since.
    if (workspace->editor()->codeDocument() != document())
        workspace->setDocument(document());
    showTree();
    watchModified();
    showPlace();
    interface->setEditorWidget(workspace->widget());
}

void CodeFileEditor::deactivate()
{
    disconnect(m_lineChanged);
    disconnect(m_cursorChanged);
    disconnect(m_modified);
    active = false;
    for (int field : {Interface::PlaceField, Interface::ErrorField})
        interface->setStatusText(field, QString());
    interface->setEditorWidget(nullptr);
}

void CodeFileEditor::retranslate()
{
    if (active)
        showPlace();
}

// The status fields say where the cursor is.
void CodeFileEditor::showPlace()
{
    if (!document())
        return;
    const CodeEditor::LinePos place = workspace->editor()->currentLine();
    cursorChanged(QPoint(place.line, place.column));
}

void CodeFileEditor::setCurrentFile(ProjectFile *file)
{
    disconnect(m_ended);
    const CodeDocument *old = document();
    const CodeDocument *shown = workspace->editor()->codeDocument();
    FileEditor::setCurrentFile(file);
    m_document = dynamic_cast<CodeDocument *>(file);
    m_alive = m_document ? m_document->model() : nullptr;
    if (m_alive)
        m_ended = connect(m_alive, &QObject::destroyed, this,
                          [this] { FileEditor::setCurrentFile(nullptr); });
    // Letting go of a file takes no other editor's document from the view.
    if (m_document || shown == old)
        workspace->setDocument(m_document);
    showTree();
    watchModified();
}

// The tree belongs to the view: it shows the document that is there, if that is this editor's.
void CodeFileEditor::showTree()
{
    if (!m_tree || workspace->editor()->codeDocument() != document() || m_tree->model() == m_alive)
        return;
    QItemSelectionModel *oldSelection = m_tree->selectionModel();
    if (m_alive)
        disconnect(m_alive, &QAbstractItemModel::modelReset, this, nullptr);
    m_tree->setModel(m_alive);
    delete oldSelection; // views don't
    if (m_alive) {
        // A file that is loaded anew has other rows. The cursor is put back after them.
        connect(
            m_alive, &QAbstractItemModel::modelReset, this,
            [this] {
                if (isShown() && m_tree && m_tree->model() == m_alive)
                    currLineChanged(workspace->editor()->currentLine().line);
            },
            Qt::QueuedConnection);
    }
    const CodeEditor::LinePos place = workspace->editor()->currentLine();
    if (active && document())
        currLineChanged(place.line);
}

void CodeFileEditor::watchModified()
{
    disconnect(m_modified);
    if (!document())
        return;
    m_modified = connect(static_cast<QTextDocument *>(m_document),
                         &QTextDocument::modificationChanged, this, &CodeFileEditor::modified);
}

CodeDocument *CodeFileEditor::document() const
{
    return m_alive ? m_document : nullptr;
}

// The view is shared: another editor's document may be in it.
bool CodeFileEditor::isShown() const
{
    return document() && workspace->editor()->codeDocument() == m_document;
}

void CodeFileEditor::navigateTo(unsigned int line, unsigned int column)
{
    if (!document())
        return;
    const int lastLine = m_document->blockCount() - 1;
    const int row = static_cast<int>(qMin(line, static_cast<unsigned int>(lastLine)));
    const QTextBlock block = m_document->findBlockByNumber(row);
    const unsigned int length = static_cast<unsigned int>(block.length() - 1);
    const int place = static_cast<int>(qMin(column, length));
    if (!isShown()) {
        CodeWorkspace::rememberPlace(m_document, {row, place, InTheMiddle});
        return;
    }
    CodeEditor *editor = workspace->editor();
    const CodeDocument *const file = m_document;
    const int position = block.position() + place;
    editor->setCurrentLine(row, CodeEditor::MiddlePlacement);
    if (document() != file || !isShown()) // closed, or left, by who heard of the line
        return;
    QTextCursor cursor = editor->textCursor();
    cursor.setPosition(position);
    editor->setTextCursor(cursor);
}

void CodeFileEditor::undo()
{
    FileEditor::undo();
    showChange();
}

void CodeFileEditor::redo()
{
    FileEditor::redo();
    showChange();
}

void CodeFileEditor::showChange()
{
    if (!isShown())
        return;
    QTextCursor cursor = workspace->editor()->textCursor();
    cursor.setPosition(m_document->cursor().position());
    workspace->editor()->setTextCursor(cursor);
}

void CodeFileEditor::cut()
{
    if (isShown())
        workspace->editor()->cut();
}

void CodeFileEditor::copy()
{
    if (isShown())
        workspace->editor()->copy();
}

void CodeFileEditor::paste()
{
    if (isShown())
        workspace->editor()->paste();
}

void CodeFileEditor::selectedItem(const QModelIndex &index)
{
    if (!active || !isShown())
        return;
    workspace->editor()->setCurrentLine(m_document->lineNo(index), CodeEditor::TopPlacement);
    workspace->editor()->setFocus();
}

void CodeFileEditor::currLineChanged(int line)
{
    if (!document())
        return;
    m_lineNode = m_document->nodeInBlock(m_document->findBlockByNumber(line));
    if (!m_tree || m_tree->model() != m_alive ||
        !interface->option(QStringLiteral("auto_expand_tree"), QVariant()).toBool())
        return;
    OpenRows::of(m_tree)->close();
    const QModelIndex index = m_document->indexInLine(line);
    m_tree->selectionModel()->select(index, QItemSelectionModel::ClearAndSelect);
    m_tree->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    m_tree->expand(index);
    m_tree->scrollTo(index, QAbstractItemView::EnsureVisible);
}

void CodeFileEditor::cursorChanged(const QPoint &place)
{
    if (!isShown())
        return;
    // Typing may make another node of a line although the cursor does not leave it.
    if (m_document->nodeInBlock(m_document->findBlockByNumber(place.x())) != m_lineNode)
        currLineChanged(place.x());
    interface->setStatusText(Interface::PlaceField, tr("Line: %1, Column: %2, Line count: %3")
                                                        .arg(place.x() + 1)
                                                        .arg(place.y() + 1)
                                                        .arg(m_document->blockCount()));
    const Messages *messages = static_cast<const ProjectFile *>(m_document)->messages();
    interface->setStatusText(Interface::ErrorField,
                             tr("Syntax error count: %1").arg(messages->count(Message::Error)));
}

bool CodeFileEditor::selectMatch(QTextCursor &cursor, const QString &sought, unsigned int flags)
{
    const QRegExp expression = searchExpression(sought, flags);
    const bool backward = flags & Editor::Backward;
    const QString text = searchedText(cursor.document());
    std::optional<TextMatch> match = matchFrom(cursor, expression, text, backward);
    if (match && match->position < 0 && (flags & Editor::WrapAround)) {
        cursor.movePosition(backward ? QTextCursor::End : QTextCursor::Start);
        match = backward ? matchFrom(cursor, expression, text, true)
                         : searchText(expression, text, 0, false);
    }
    m_ranOutOfTime = !match;
    if (!match || match->position < 0)
        return false;
    cursor.setPosition(match->position);
    cursor.setPosition(match->position + match->length, QTextCursor::KeepAnchor);
    return true;
}

bool CodeFileEditor::find(const ProjectFile *file, const QString &text, unsigned int flags)
{
    if (text.isEmpty() || !file)
        return false;
    if (file == currentFile() && isShown()) {
        QTextCursor cursor = workspace->editor()->textCursor();
        if (!selectMatch(cursor, text, flags))
            return false;
        workspace->editor()->setTextCursor(cursor);
        return true;
    }
    const auto *other = dynamic_cast<const CodeDocument *>(file);
    if (!other)
        return false;
    QTextCursor cursor = other->cursor();
    cursor.movePosition(QTextCursor::Start);
    if (!selectMatch(cursor, text, flags))
        return false;
    const QTextBlock block = cursor.document()->findBlock(cursor.selectionStart());
    CodeWorkspace::rememberPlace(
        cursor.document(),
        {block.blockNumber(), cursor.selectionStart() - block.position(), InTheMiddle});
    return true;
}

void CodeFileEditor::replace(const QString &text,
                             const QString &replacement,
                             unsigned int flags,
                             bool all)
{
    m_replacedCount = 0;
    if (text.isEmpty() || !isShown() || workspace->editor()->isReadOnly())
        return;
    if (all) {
        replaceAll(text, replacement, flags);
        return;
    }
    const QRegExp expression = searchExpression(text, flags);
    QTextCursor cursor = workspace->editor()->textCursor();
    const QString selected =
        cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    const std::optional<bool> matches =
        selected.isEmpty() ? false : matchesExactly(expression, selected);
    std::optional<ReplacedText> changed = ReplacedText{selected};
    if (matches.value_or(false))
        changed = replaceText(expression, selected, replacement);
    m_ranOutOfTime = !matches || !changed;
    if (m_ranOutOfTime) {
        giveUp(flags);
        return;
    }
    if (*matches)
        cursor.insertText(changed->text);
    find(text, flags);
}

void CodeFileEditor::replaceAll(const QString &text, const QString &replacement, unsigned int flags)
{
    CodeEditor *editor = workspace->editor();
    const QString before = searchedText(m_document);
    const std::optional<ReplacedText> after =
        replaceText(searchExpression(text, flags), before, replacement);
    m_ranOutOfTime = !after;
    if (!after)
        giveUp(flags);
    if (!after || after->text == before)
        return;
    m_replacedCount = after->count;
    const CodeEditor::LinePos place = editor->currentLine();
    QTextCursor cursor = editor->textCursor();
    cursor.beginEditBlock(); // undo brings the cursor back to here
    QTextCursor all(m_document);
    all.select(QTextCursor::Document);
    all.insertText(after->text);
    cursor.endEditBlock();
    editor->setCurrentLine(place);
}

void CodeFileEditor::giveUp(unsigned int flags)
{
    if (flags & Silent)
        return;
    showInformation(interface->mainWindow(), interface->text(Interface::NothingFoundTitle),
                    tr("The expression takes too long!"));
}

} // namespace Kiln
