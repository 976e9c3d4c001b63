// Indentation by keys.

#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/codeeditor.h>
#include <kilnx/codeedit/codeeditor_p.h>

#include <QtGui/QKeyEvent>
#include <QtGui/QTextBlock>

namespace Kiln
{

namespace
{
QString blanksBefore(const QString &line, int end)
{
    int size = 0;
    while (size < end && (line.at(size) == QLatin1Char(' ') || line.at(size) == QLatin1Char('\t')))
        ++size;
    return line.left(size);
}

int columnOf(const QString &text, int tabWidth)
{
    int column = 0;
    for (const QChar character : text)
        column += character == QLatin1Char('\t') ? tabWidth - column % tabWidth : 1;
    return column;
}
} // namespace

/// Whether the key was one for the indentation of lines, and is done.
bool CodeEditorPrivate::indentKey(const QKeyEvent *event)
{
    const bool isBack = event->key() == Qt::Key_Backtab;
    const bool isTab = event->key() == Qt::Key_Tab;
    if (!(isTab || isBack) || q->isReadOnly() || !document ||
        event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return false;
    QTextCursor cursor = q->textCursor();
    const QTextDocument *text = document;
    if (text->findBlock(cursor.selectionStart()) != text->findBlock(cursor.selectionEnd())) {
        shiftLines(cursor, isBack);
        return true;
    }
    if (isBack || !indentation.spaces)
        return false;
    const QTextBlock block = text->findBlock(cursor.selectionStart());
    const QString before = block.text().left(cursor.selectionStart() - block.position());
    const int width = indentation.tabWidth;
    document->insertOnCursor(QString(width - columnOf(before, width) % width, QLatin1Char(' ')),
                             cursor);
    q->ensureCursorVisible();
    return true;
}

/// One step of indentation more or, `back`, less for each line of the selection. A last line of
/// which nothing is selected is left alone, and so are empty lines.
void CodeEditorPrivate::shiftLines(QTextCursor cursor, bool back)
{
    const QTextDocument *text = document;
    const int first = text->findBlock(cursor.selectionStart()).blockNumber();
    const QTextBlock end = text->findBlock(cursor.selectionEnd());
    const int last = end.blockNumber() - (cursor.selectionEnd() == end.position() ? 1 : 0);
    const int width = indentation.tabWidth;
    const QString step =
        indentation.spaces ? QString(width, QLatin1Char(' ')) : QStringLiteral("\t");
    cursor.beginEditBlock(); // undo brings the cursor back to here
    for (int number = first; number <= last; ++number) {
        const QTextBlock block = text->findBlockByNumber(number);
        const QString line = block.text();
        QTextCursor start(block);
        if (!back) {
            if (!line.isEmpty())
                start.insertText(step);
            continue;
        }
        const QString blanks = blanksBefore(line, line.size());
        int size = 0;
        while (size < blanks.size() && columnOf(blanks.left(size), width) < width)
            ++size;
        start.setPosition(block.position() + size, QTextCursor::KeepAnchor);
        start.removeSelectedText();
    }
    cursor.endEditBlock();
    const QTextBlock shifted = text->findBlockByNumber(last);
    cursor.setPosition(text->findBlockByNumber(first).position());
    cursor.setPosition(shifted.position() + shifted.length() - 1, QTextCursor::KeepAnchor);
    q->setTextCursor(cursor);
}

/// Gives a line that the Return key has just begun the blanks of the one above, in the same step of
/// undo. A line of blanks alone hands them down.
void CodeEditorPrivate::keepIndentation()
{
    QTextCursor cursor = q->textCursor();
    const QString above = cursor.block().previous().text();
    const QString blanks = blanksBefore(above, above.size());
    if (!indentation.keep || blanks.isEmpty() || !cursor.atBlockStart())
        return;
    cursor.joinPreviousEditBlock();
    cursor.insertText(blanks);
    if (blanks == above) {
        QTextCursor line(cursor.block().previous());
        line.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        line.removeSelectedText();
    }
    cursor.endEditBlock();
    q->ensureCursorVisible();
}

void CodeEditor::setIndentation(const Indentation &indentation)
{
    d->indentation = indentation;
    d->indentation.tabWidth = qBound(1, indentation.tabWidth, 32);
    d->updateTabStop();
}

const CodeEditor::Indentation &CodeEditor::indentation() const
{
    return d->indentation;
}

} // namespace Kiln
