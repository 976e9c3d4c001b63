#include <kilnx/code/codedocument.h>

#include <kilnx/code/codedocument_p.h>
#include <kilnx/code/codelayout_p.h>
#include <kilnx/code/noderows_p.h>
#include <kilnx/project/interface.h>

#include <QtCore/QFileInfo>

#include <utility>

namespace Kiln
{
CodeDocument::CodeDocument(short fileType)
    : RootCode(fileType)
{
    QTextDocument *text = this;
    setDocumentLayout(new CodeLayout(text));
    QFont font(QStringLiteral("Courier"), 10);
    font.setFixedPitch(true);
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    setDefaultFont(font);
    createCodecData();
    // The highlighter listens between these two, so that one edit is one update of the messages.
    QObject::connect(text, &QTextDocument::contentsChange, text, [this] { d->beginUpdate(); });
    d = new CodeDocumentPrivate(this);
    QObject::connect(text, &QTextDocument::contentsChange, text,
                     [this](int from, int removed, int added) {
                         if (d->detail == WithNodes)
                             d->visitChanged(from, removed, added);
                         d->endUpdate();
                     });
}

CodeDocument::~CodeDocument()
{
    QList<CodeDocumentEditor *> editors;
    for (CodeDocumentEditor *editor : qAsConst(d->documentEditors)) {
        if (!editors.contains(editor))
            editors.append(editor);
    }
    d->documentEditors.clear();
    for (CodeDocumentEditor *editor : qAsConst(editors))
        editor->release();
    d->parser = nullptr;
    // Nobody is to read the text of a file that is going; the model's views are told.
    QTextDocument::blockSignals(true);
    d->resetting = true;
    beginResetModel();
    QTextDocument::clear();
    endResetModel();
    d->resetting = false;
    delete d;
}

void CodeDocument::beginChange()
{
    if (d->changeDepth == 0)
        d->undoStepsBefore = availableUndoSteps();
    d->cursor.beginEditBlock();
    ++d->changeDepth;
}

void CodeDocument::endChange()
{
    if (d->changeDepth == 0)
        return;
    // The highlighter still sees the bracket as open.
    d->cursor.endEditBlock();
    if (--d->changeDepth > 0)
        return;
    const QSet<CodeNode *> changed = std::exchange(d->changedInBracket, {});
    for (CodeNode *child : changed)
        childChanged(child);
    d->revisionBehind = revision();
}

void CodeDocument::continueChange()
{
    // An edit block without an edit cannot be opened again: that would open the one before it.
    if (d->changeDepth > 0 || revision() != d->revisionBehind ||
        availableUndoSteps() == d->undoStepsBefore) {
        beginChange();
        return;
    }
    d->cursor.joinPreviousEditBlock();
    ++d->changeDepth;
}

void CodeDocument::dropChange()
{
    if (d->changeDepth > 0 || revision() != d->revisionBehind ||
        availableUndoSteps() == d->undoStepsBefore)
        return;
    undo();
    clearUndoRedoStacks(RedoStack);
}

bool CodeDocument::isCodeBeingChanged() const
{
    return d->changeDepth != 0;
}

/// Qt parses when its outermost edit block closes. An edit block without an edit cannot be opened
/// again: that would open the one before it.
void CodeDocument::catchUp()
{
    const bool isEdited = !isUndoRedoEnabled() || availableUndoSteps() != d->undoStepsBefore;
    if (d->changeDepth == 0 || !isEdited || d->option(QStringLiteral("parseCode")))
        return;
    for (int depth = d->changeDepth; depth > 0; --depth)
        d->cursor.endEditBlock();
    d->cursor.joinPreviousEditBlock();
    for (int depth = d->changeDepth; depth > 1; --depth)
        d->cursor.beginEditBlock();
}

void CodeDocument::undo()
{
    QTextDocument::undo(&d->cursor);
}

void CodeDocument::redo()
{
    QTextDocument::redo(&d->cursor);
}

QTextCursor CodeDocument::cursor() const
{
    return d->cursor;
}

void CodeDocument::setPlace(int position)
{
    d->cursor.setPosition(position);
}

void CodeDocument::insertOnCursor(const QString &text, QTextCursor cursor)
{
    if (cursor.isNull() || cursor.document() != this)
        return;
    const int start = cursor.selectionStart();
    const QTextBlock below = findBlock(cursor.selectionEnd()).next();
    cursor.insertText(text);
    d->parseInBracket(findBlock(start), below);
}

void CodeDocument::insert(const QString &text)
{
    d->cursor.movePosition(QTextCursor::End);
    insertOnCursor(text, d->cursor);
}

/// Line `line` of what `node` covers. A further node of a line knows no line by itself and has that
/// of the line's head. Invalid past the end, and for the document itself.
QTextBlock CodeDocument::lineOfNode(const CodeNode *node, int line) const
{
    return findBlockByNumber(line >= 0 ? line : NodeRows::line(node));
}

void CodeDocument::insertAfter(const CodeNode *node, const QString &text, bool ownLine)
{
    if (!node) {
        insert(text + QLatin1Char('\n'));
        return;
    }
    if (!node->isValid())
        return;
    const QTextBlock block = lineOfNode(node, ownLine ? node->lineNo() : node->lastLine());
    const QTextBlock target = block.isValid() ? block : lastBlock();
    d->cursor.setPosition(target.position() + target.length() - 1);
    insertOnCursor(QLatin1Char('\n') + text, d->cursor);
}

void CodeDocument::insertBefore(const CodeNode *node, const QString &text, bool ownLine)
{
    if (node && !node->isValid())
        return;
    QTextBlock target;
    if (node)
        target = lineOfNode(node, ownLine ? node->lineNo() : node->firstLine());
    const QTextBlock above = target.isValid() ? target.previous() : QTextBlock();
    if (above.isValid()) {
        d->cursor.setPosition(above.position() + above.length() - 1);
        insertOnCursor(QLatin1Char('\n') + text, d->cursor);
    } else {
        const QTextBlock below = begin().next();
        d->cursor.movePosition(QTextCursor::Start);
        d->cursor.beginEditBlock();
        d->cursor.insertText(text + QLatin1Char('\n'));
        d->moveData(begin(), d->cursor.block());
        d->cursor.endEditBlock();
        d->parseInBracket(begin(), below);
    }
}

CodeDocument *CodeDocument::document() const
{
    return const_cast<CodeDocument *>(this);
}

CodeNode *CodeDocument::nodeInBlock(const QTextBlock &block) const
{
    const CodeBlockData *data = CodeBlockData::testBlockData(block);
    return data ? data->codeNode() : nullptr;
}

int CodeDocument::lineNo(const QModelIndex &index) const
{
    const auto *node =
        index.isValid() ? static_cast<const CodeNode *>(index.internalPointer()) : nullptr;
    return node && node->isValid() ? NodeRows::line(node) : 0;
}

QModelIndex CodeDocument::indexInLine(int line) const
{
    const auto isContainer = [](const CodeNode *node) {
        return node->type() == Group || node->type() == Animation;
    };
    const ParentCode *container = this;
    while (true) {
        // Those above the next line, the nearest first: one on the line, or else a container.
        int row = container == this && !isInTextOrder()
                      ? int(container->childCount())
                      : NodeRows::countBeforeLine(container, line + 1);
        const CodeNode *inner = nullptr;
        while (--row >= 0 && !inner) {
            const CodeNode *child = container->childAt(unsigned(row));
            const int childLine = NodeRows::line(child);
            if (childLine == line && child->block().isValid())
                return indexOfNode(child);
            if (childLine < line && isContainer(child))
                inner = child;
            else if (childLine < line && container->type() == Group)
                break;
        }
        if (!inner)
            return indexOfNode(container);
        container = static_cast<const ParentCode *>(inner);
    }
}

QModelIndex CodeDocument::indexOfNode(const CodeNode *node) const
{
    if (!node || node->type() == Root)
        return QModelIndex();
    const ParentCode *container = node->parent() ? node->parent() : this;
    return index(container->childIndex(const_cast<CodeNode *>(node)), 0, indexOfNode(container));
}

int CodeDocument::rowCount(const QModelIndex &parent) const
{
    return d->resetting || !d->isModelShown() ? 0 : RootCode::rowCount(parent);
}

void CodeDocument::enableGroups(std::initializer_list<unsigned int> subTypes)
{
    for (const unsigned int subType : subTypes) {
        if (!d->enabledGroups.contains(subType))
            d->enabledGroups.append(subType);
    }
    if (!hasSyntaxHighlight())
        return;
    d->beginUpdate();
    d->parseAll();
    d->endUpdate();
}

void CodeDocument::followHostOptions()
{
    d->followsHostOptions = true;
}

QVariant CodeDocument::option(const QString &key)
{
    const QVariant told = ProjectFile::option(key);
    const bool isOfCode = key == QLatin1String("parseCode") || key == QLatin1String("modelCode") ||
                          key == QLatin1String("highlightCode");
    if (told.isValid() || !d->followsHostOptions || !isOfCode)
        return told;
    const Interface *host = Interface::instance();
    return host ? host->option(key, true) : true;
}

bool CodeDocument::groupEnabled(unsigned int subType) const
{
    if (!d->option(QStringLiteral("parseCode")))
        return false;
    return subType == 0 || d->enabledGroups.contains(subType);
}

void CodeDocument::insertChild(CodeNode *child, unsigned int index)
{
    RootCode::insertChild(child, index);
    CodeDocumentEditor *editor = d->documentEditors.value(CodeDocumentPrivate::kindOf(child));
    if (editor)
        editor->insertChild(child, d->insertOfKind(child));
}

void CodeDocument::removeChild(CodeNode *child)
{
    CodeDocumentEditor *editor = d->documentEditors.value(CodeDocumentPrivate::kindOf(child));
    if (editor) {
        editor->removeChild(child);
        d->removeOfKind(child);
        d->changedInBracket.remove(child);
    }
    RootCode::removeChild(child);
}

void CodeDocument::childChanged(CodeNode *child)
{
    CodeDocumentEditor *editor = d->documentEditors.value(CodeDocumentPrivate::kindOf(child));
    if (!editor)
        return;
    if (d->changeDepth > 0)
        d->changedInBracket.insert(child);
    editor->childChanged(child);
}

void CodeDocument::registerDocumentEditor(CodeDocumentEditor *editor,
                                          CodeNode::Type type,
                                          unsigned int subType)
{
    if (!editor)
        return;
    const unsigned int kind = subType << 16 | unsigned(type);
    d->documentEditors.insert(kind, editor);
    d->kinds.remove(kind);
    for (CodeNode *child : qAsConst(m_childs)) {
        if (CodeDocumentPrivate::kindOf(child) == kind)
            d->insertOfKind(child);
    }
}

void CodeDocument::unregisterDocumentEditor(CodeDocumentEditor *editor)
{
    const unsigned int kind = d->documentEditors.key(editor, 0);
    d->documentEditors.remove(kind);
    d->kinds.remove(kind);
}

CodeDocumentEditor *CodeDocument::documentEditor(CodeNode::Type type, unsigned int subType) const
{
    return d->documentEditors.value(subType << 16 | unsigned(type));
}

void CodeDocument::setParser(CodeParser *parser)
{
    if (d->parser == parser)
        return;
    d->parser = parser;
    reparse();
}

bool CodeDocument::hasSyntaxHighlight() const
{
    return d->isHighlighting();
}

void CodeDocument::setSyntaxHighlight(bool enabled)
{
    if (hasSyntaxHighlight() == enabled)
        return;
    setOption(QStringLiteral("highlightCode"), enabled, false, false);
    reparse();
}

void CodeDocument::blockHighlighted()
{
}

void CodeDocument::linesHighlighted(const QTextBlock &, const QTextBlock &)
{
}

void CodeDocument::reparse()
{
    if (d->isModelShown()) {
        d->resetting = true;
        beginResetModel();
    }
    d->beginUpdate();
    d->releaseNodes();
    endResetModel();
    d->parseAll();
    d->endUpdate();
    announceRows();
}

void CodeDocument::rehighlight()
{
    const bool reset = d->isModelShown();
    if (reset) {
        d->resetting = true;
        beginResetModel();
    }
    d->beginUpdate();
    d->parseAll();
    d->endUpdate();
    if (reset) {
        endResetModel();
        announceRows();
    }
}

/// Ends a reset: the rows appear, as an insertion into the empty model that the reset left.
void CodeDocument::announceRows()
{
    if (!d->resetting)
        return;
    const bool announced = !m_childs.isEmpty() && d->isModelShown();
    if (announced)
        beginInsertRows(QModelIndex(), 0, m_childs.size() - 1);
    d->resetting = false;
    if (announced)
        endInsertRows();
}

Messages *CodeDocument::fileMessages() const
{
    return d;
}

void CodeDocument::beginInsert(const ParentCode *parent, int row)
{
    if (d->resetting || !d->isModelShown())
        return;
    d->rowChangeOpen = true;
    RootCode::beginInsert(parent, row);
}

void CodeDocument::endInsert()
{
    if (!d->rowChangeOpen)
        return;
    d->rowChangeOpen = false;
    RootCode::endInsert();
}

void CodeDocument::beginRemove(const ParentCode *parent, int row)
{
    if (d->resetting || !d->isModelShown())
        return;
    d->rowChangeOpen = true;
    RootCode::beginRemove(parent, row);
}

void CodeDocument::endRemove()
{
    if (!d->rowChangeOpen)
        return;
    d->rowChangeOpen = false;
    RootCode::endRemove();
}
} // namespace Kiln
