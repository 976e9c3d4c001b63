#include <kilnx/codeedit/codeeditor_p.h>

#include <kilnx/code/codedocument.h>

#include <QtGui/QTextLayout>
#include <QtWidgets/QPlainTextDocumentLayout>

namespace Kiln
{

namespace
{
bool isFolded(const QTextBlock &block)
{
    const CodeBlockData *record = blockRecord(block);
    return record && record->isFolded();
}

void setFolded(const QTextBlock &block, bool folded)
{
    if (CodeBlockData *record = CodeBlockData::testBlockData(block))
        record->setFolded(folded);
}
} // namespace

void CodeEditorPrivate::setVisible(QTextBlock &block, bool visible) const
{
    block.setVisible(visible);
    // A line separator in its text makes more than one row of a line that is not wrapped.
    block.setLineCount(visible ? qMax(1, block.layout()->lineCount()) : 0);
}

// Shows the lines deeper than `indent` from `block` on, and any hidden ones right behind them, so
// that no hidden line is left without a fold. What stands in folds among them stays hidden.
void CodeEditorPrivate::show(QTextBlock block, unsigned int indent)
{
    while (block.isValid() && (blockDepth(block) > indent || !block.isVisible())) {
        setVisible(block, true);
        const QTextBlock head = block;
        const unsigned int depth = blockDepth(head);
        block = block.next();
        // An edit may have taken its lines from a fold that nobody saw.
        const bool folded = isFolded(head) && isFoldHead(head) && !block.isVisible();
        setFolded(head, folded);
        while (folded && block.isValid() && blockDepth(block) > depth)
            block = block.next();
    }
}

// Hides the lines deeper than `indent` from `block` on, but never the last of the document.
void CodeEditorPrivate::hide(QTextBlock block, unsigned int indent)
{
    for (; block.isValid() && block.next().isValid() && blockDepth(block) > indent;
         block = block.next())
        setVisible(block, false);
}

bool CodeEditorPrivate::toggle(const QTextBlock &block)
{
    if (!block.isValid() || !isFoldHead(block))
        return false;
    const QTextBlock next = block.next();
    const bool visible = !next.isVisible();
    if (visible)
        show(next, blockDepth(block));
    else
        hide(next, blockDepth(block));
    setFolded(block, !next.isVisible()); // the last line is never hidden
    return true;
}

// The hidden lines take no room now: the scroll bars, the margin and the view follow.
void CodeEditorPrivate::foldingChanged()
{
    moveCursorOut();
    QPlainTextDocumentLayout *textLayout = layout();
    textLayout->requestUpdate();
    emit textLayout->documentSizeChanged(textLayout->documentSize());
    q->viewport()->update();
    extraArea->update();
}

// Takes the cursor, and the other end of its selection, out of folded text to the end of the line
// that stands for it.
void CodeEditorPrivate::moveCursorOut()
{
    QTextCursor cursor = q->textCursor();
    const auto outside = [this](int position) {
        const QTextBlock block = q->document()->findBlock(position);
        if (block.isVisible())
            return position;
        const QTextBlock head = foldOf(block);
        return head.position() + qMax(0, head.length() - 1);
    };
    const int anchor = outside(cursor.anchor());
    const int position = outside(cursor.position());
    if (anchor == cursor.anchor() && position == cursor.position())
        return;
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    q->setTextCursor(cursor);
}

// Where a key that moved the cursor into folded text takes it: to the line behind or, going
// backward, to the end of the one that stands for it.
void CodeEditorPrivate::stepOverFold()
{
    QTextCursor cursor = q->textCursor();
    QTextBlock block = cursor.block();
    while (!block.isVisible() && block.next().isValid())
        block = block.next();
    int place = block.position();
    if (cursor.position() < navigatedFrom || !block.isVisible()) {
        block = foldOf(cursor.block());
        place = block.position() + qMax(0, block.length() - 1);
    }
    cursor.setPosition(place,
                       cursor.hasSelection() ? QTextCursor::KeepAnchor : QTextCursor::MoveAnchor);
    q->setTextCursor(cursor);
}

// The head of the fold that hides a line: the visible line before it.
QTextBlock CodeEditorPrivate::foldOf(QTextBlock block)
{
    while (block.isValid() && !block.isVisible())
        block = block.previous();
    return block;
}

void CodeEditorPrivate::reveal(const QTextBlock &block)
{
    if (block.isVisible()) // as one that is not valid is, too
        return;
    while (!block.isVisible()) {
        const QTextBlock head = foldOf(block);
        setFolded(head, false);
        const QTextBlock first = head.isValid() ? head.next() : q->document()->firstBlock();
        show(first, blockDepth(head));
    }
    foldingChanged();
}

void CodeEditorPrivate::charactersChanged(int from, int to)
{
    changedTo = qMax(changedFrom < 0 ? from : changedTo, to);
    changedFrom = changedFrom < 0 ? from : qMin(changedFrom, from);
}

// After an edit: lines that were put into a fold are hidden with it, and hidden lines whose fold
// went away come back. Looks at the changed lines and no further than what is wrong, or to the end
// of a fold whose lines may not be below its head any more.
void CodeEditorPrivate::restoreFolds()
{
    if (changedFrom < 0)
        return;
    QTextDocument *text = q->document();
    const auto lineAt = [text](int position) {
        const QTextBlock line = text->findBlock(position);
        return line.isValid() ? line.blockNumber() : text->blockCount() - 1;
    };
    QTextBlock block = text->findBlock(changedFrom);
    const int limit = changedTo < 0 ? 0 : lineAt(changedTo) + 1;
    const int last = qMax(limit - 1, lineAt(qMax(0, depthChangedTo)));
    const bool newLines = text->blockCount() != foldedBlocks;
    const bool runsOn = depthChangedTo >= 0 || newLines;
    changedFrom = changedTo = depthChangedTo = -1;
    foldedBlocks = text->blockCount();
    if (block.previous().isValid())
        block = block.previous();
    Fold fold;
    if (!block.isVisible())
        fold = foldFrom(foldOf(block), block, qMax(limit, block.blockNumber()));
    bool changed = false;
    for (; block.isValid(); block = block.next()) {
        const bool mended = restoreFold(block, fold, newLines ? limit : 0);
        changed |= mended;
        if (!mended && block.blockNumber() > last && (block.isVisible() || !runsOn))
            break;
    }
    if (!changed)
        return;
    if (!q->textCursor().block().isVisible())
        reveal(q->textCursor().block());
    foldingChanged();
}

// The fold of `head`, as far as its lines from `block` to number `limit` tell; none if none of
// these is hidden.
CodeEditorPrivate::Fold
CodeEditorPrivate::foldFrom(const QTextBlock &head, QTextBlock block, int limit)
{
    Fold fold;
    int number = block.blockNumber();
    for (; block.isValid() && number <= limit && blockDepth(block) > blockDepth(head);
         block = block.next(), ++number) {
        if (!block.isVisible())
            fold.lastHidden = number;
    }
    if (fold.lastHidden >= 0)
        fold.head = head;
    setFolded(head, fold.head.isValid());
    return fold;
}

// Puts one line right; `fold` is the one that it may stand in, and goes on to the next line.
bool CodeEditorPrivate::restoreFold(const QTextBlock &block, Fold &fold, int limit)
{
    if (fold.head.isValid() && blockDepth(block) <= blockDepth(fold.head))
        fold = Fold();
    // The head of hidden lines may be a new block: a line end was typed before its text.
    const QTextBlock above = block.previous();
    if (!fold.head.isValid() && !block.isVisible() && above.isValid() &&
        above.blockNumber() < limit && isFoldHead(above))
        fold = foldFrom(above, block, qMax(limit, block.blockNumber()));
    // A shown line belongs into the fold only if the fold goes on behind it.
    const bool hidden = fold.head.isValid() && block.next().isValid() &&
                        (!block.isVisible() || block.blockNumber() < fold.lastHidden);
    const bool changed = hidden == block.isVisible();
    QTextBlock line = block;
    if (changed)
        setVisible(line, !hidden);
    if (!hidden && above.isVisible())
        setFolded(above, false); // nothing is left in it
    if (!hidden && isFolded(block))
        fold = foldFrom(block, block.next(), qMax(limit, block.blockNumber() + 1));
    return changed;
}

void CodeEditor::toggleBlockVisible(const QTextBlock &block)
{
    if (d->toggle(block))
        d->foldingChanged();
}

// What toggling each visible line above a deeper one would do, in one pass.
void CodeEditor::foldAll()
{
    bool changed = false;
    bool inFold = false;
    unsigned int headDepth = 0;
    QTextBlock previous = document()->firstBlock();
    unsigned int previousDepth = blockDepth(previous);
    for (QTextBlock block = previous.next(), next; block.isValid(); block = next) {
        next = block.next();
        const unsigned int depth = blockDepth(block);
        if (block.isVisible()) {
            inFold = inFold && depth > headDepth && next.isValid();
            if (!inFold && depth > previousDepth && next.isValid()) {
                inFold = changed = true;
                headDepth = previousDepth;
                setFolded(previous, true);
            }
            if (inFold)
                d->setVisible(block, false);
        }
        previous = block;
        previousDepth = depth;
    }
    if (changed)
        d->foldingChanged();
}

void CodeEditor::unfoldAll()
{
    for (QTextBlock block = document()->firstBlock(); block.isValid(); block = block.next()) {
        setFolded(block, false);
        if (!block.isVisible())
            d->setVisible(block, true);
    }
    d->foldingChanged();
}

} // namespace Kiln
