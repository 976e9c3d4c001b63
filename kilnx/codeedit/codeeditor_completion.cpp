#include <kilnx/codeedit/codeeditor_p.h>

#include <QtCore/QAbstractItemModel>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QCompleter>
#include <QtWidgets/QScrollBar>

namespace Kiln
{

namespace
{
const QString Terminators = QStringLiteral("~!@#$%^&*)_+{}|:\"<>?,./;'[]\\-=");

bool continuesWord(QChar character)
{
    return character.isLetterOrNumber() || character == QLatin1Char('.');
}

bool isPopupKey(int key)
{
    return key == Qt::Key_Escape || key == Qt::Key_Tab || key == Qt::Key_Backtab ||
           key == Qt::Key_Return || key == Qt::Key_Enter;
}

// Commands and the Escape key come with control characters, which are no text; Control and the
// space bar ask for the words.
bool bringsText(const QKeyEvent *event)
{
    const QString typed = event->text();
    if (typed.isEmpty() || event->key() == Qt::Key_Escape)
        return false;
    const bool command = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier);
    return !command || event->key() == Qt::Key_Space || typed.back().isPrint();
}

// Whether the text up to the cursor ends with `prefix`, blanks aside, and what stands before it
// lets it begin there. A prefix that opens with a blank may follow a word that such a blank ends.
bool fits(const QString &prefix, const QString &text)
{
    const bool opensWithBlank = prefix.startsWith(QLatin1Char(' '));
    int at = text.size();
    for (int i = prefix.size() - 1; i >= int(opensWithBlank); --i) {
        do {
            --at;
        } while (at >= 0 && text.at(at).isSpace());
        if (at < 0 || text.at(at).toCaseFolded() != prefix.at(i).toCaseFolded())
            return false;
    }
    const int begin = at;
    while (at > 0 && text.at(at - 1).isSpace())
        --at;
    return at == 0 || !continuesWord(text.at(at - 1)) || (opensWithBlank && at < begin);
}
} // namespace

void CodeEditorPrivate::setUpCompleter()
{
    completer = new QCompleter(q);
    completer->setWidget(q);
    completer->setModelSorting(QCompleter::CaseInsensitivelySortedModel);
    completer->setCaseSensitivity(Qt::CaseInsensitive);
    completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    completer->setWrapAround(false);
    completer->popup()->setObjectName(QStringLiteral("codeCompletionPopup"));
    connect(completer, QOverload<const QString &>::of(&QCompleter::activated), this,
            &CodeEditorPrivate::complete);
}

QAbstractItemModel *CodeEditorPrivate::wordsBefore(const QTextCursor &cursor) const
{
    const QString text = cursor.block().text().left(cursor.positionInBlock());
    int best = -1;
    QAbstractItemModel *words = nullptr;
    for (auto list = wordLists.begin(); list != wordLists.end(); ++list) {
        const int length = list.key().size();
        const bool atIndent = !text.isEmpty() && text.trimmed().isEmpty();
        if (length <= best || !(length == 0 ? atIndent : fits(list.key(), text)))
            continue;
        best = length;
        words = list.value();
    }
    return words;
}

// Opens, follows up or closes the list of words after a key has been typed.
void CodeEditorPrivate::offerWords(QKeyEvent *event)
{
    QAbstractItemView *popup = completer->popup();
    QTextCursor cursor = q->textCursor();
    QAbstractItemModel *words = wordLists.isEmpty() ? nullptr : wordsBefore(cursor);
    if ((!words && !popup->isVisible()) ||
        (event->modifiers() & ~(Qt::ControlModifier | Qt::AltModifier)) || !bringsText(event) ||
        Terminators.contains(event->text().back())) {
        popup->hide();
        return;
    }
    if (words && completer->model() != words)
        completer->setModel(words);
    // Behind the last letter of a word it is still that word, whatever sign follows.
    if (q->document()->characterAt(cursor.position() - 1).isLetterOrNumber())
        cursor.movePosition(QTextCursor::Left);
    cursor.select(QTextCursor::WordUnderCursor);
    const QString prefix = cursor.selectedText();
    if (completer->completionPrefix() != prefix) {
        completer->setCompletionPrefix(prefix);
        popup->setCurrentIndex(completer->completionModel()->index(0, 0));
    }
    QRect place = q->cursorRect();
    place.setWidth(popup->sizeHintForColumn(0) + popup->verticalScrollBar()->sizeHint().width());
    place.translate(q->viewport()->pos());
    completer->complete(place);
    // Qt makes the best match the current row, but leaves another one selected. Before a letter is
    // typed no word is chosen, or the Return key of an empty line would bring one.
    popup->setCurrentIndex(prefix.isEmpty() ? QModelIndex() : popup->currentIndex());
    if (prefix.isEmpty())
        popup->clearSelection();
}

void CodeEditorPrivate::complete(const QString &word)
{
    if (q->isReadOnly() || !document)
        return;
    QTextCursor cursor = q->textCursor();
    const int begun = completer->completionPrefix().size();
    if (begun > 0) {
        cursor.movePosition(QTextCursor::Left);
        cursor.movePosition(QTextCursor::EndOfWord);
    }
    cursor.beginEditBlock(); // a step of undo of its own
    cursor.insertText(word.mid(begun));
    cursor.endEditBlock();
    q->setTextCursor(cursor);
}

void CodeEditor::setWordList(const QString &prefix, QAbstractItemModel *words)
{
    if (!words) {
        d->wordLists.remove(prefix);
        return;
    }
    d->wordLists.insert(prefix, words);
    connect(words, &QObject::destroyed, d, [this, words] {
        for (auto list = d->wordLists.begin(); list != d->wordLists.end();)
            list = list.value() == words ? d->wordLists.erase(list) : ++list;
    });
}

void CodeEditor::clearWordLists()
{
    d->completer->popup()->hide();
    d->wordLists.clear();
}

void CodeEditor::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Insert && event->modifiers() == Qt::NoModifier) {
        setOverwriteMode(!overwriteMode());
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    if (viewport()->cursor().shape() != Qt::BlankCursor)
        viewport()->setCursor(Qt::BlankCursor);
    d->marginLeft();
    QAbstractItemView *words = d->completer->popup();
    if (words->isVisible() && isPopupKey(event->key())) {
        if (event->key() == Qt::Key_Escape || words->currentIndex().isValid()) {
            event->ignore();
            return;
        }
        words->hide(); // nothing is chosen: the key is for the text
    }
    if (d->indentKey(event))
        return;
    const int revision = document()->revision();
    const int place = textCursor().position();
    d->navigatedRevision = revision;
    d->navigatedFrom = place;
    // A line separator inside a line would split it in the file but not in the tree.
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && event == QKeySequence::InsertLineSeparator && !isReadOnly()) {
        QKeyEvent lineEnd(event->type(), Qt::Key_Return, Qt::NoModifier, event->text());
        QPlainTextEdit::keyPressEvent(&lineEnd);
    } else {
        QPlainTextEdit::keyPressEvent(event);
    }
    if (isReturn && d->document && document()->revision() != revision)
        d->keepIndentation();
    d->navigatedRevision = -1;
    const bool command = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier);
    if (command && !bringsText(event)) {
        // The words were those of another place.
        if (document()->revision() != revision || textCursor().position() != place)
            words->hide();
        return;
    }
    if (!isReadOnly() && d->document)
        d->offerWords(event);
}

} // namespace Kiln
