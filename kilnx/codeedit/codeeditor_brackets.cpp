#include <kilnx/codeedit/codeeditor_p.h>

#include <kilnx/code/codedocument.h>

namespace Kiln
{

namespace
{
using Parenthesis = CodeBlockData::Parenthesis;

constexpr int Opening = 0;
constexpr int Closing = 1;

bool areParenPair(QChar open, QChar close)
{
    switch (open.unicode()) {
    case '(':
        return close == QLatin1Char(')');
    case '[':
        return close == QLatin1Char(']');
    case '{':
        return close == QLatin1Char('}');
    case '<':
        return close == QLatin1Char('>');
    default:
        return open == close;
    }
}

int indexOfParen(const CodeBlockData *record, int type, int position)
{
    if (!record)
        return -1;
    const QVector<Parenthesis> &parens = record->parenthesis();
    for (int i = 0; i < parens.size(); ++i) {
        if (parens.at(i).type == type && parens.at(i).position == position)
            return i;
    }
    return -1;
}
} // namespace

// From the closing bracket before the cursor back to its partner, which the cursor then selects.
CodeEditorPrivate::ParenResult CodeEditorPrivate::findOpening(QTextCursor &cursor) const
{
    QTextBlock block = cursor.block();
    const CodeBlockData *record = blockRecord(block);
    int index = indexOfParen(record, Closing, cursor.positionInBlock() - 1);
    if (index < 0)
        return NoPartner;
    const QChar close = record->parenthesis().at(index).character;
    int depth = 0;
    for (; block.isValid(); block = block.previous()) {
        record = blockRecord(block);
        if (!record || record->parenthesis().isEmpty())
            continue;
        const QVector<Parenthesis> &parens = record->parenthesis();
        for (int i = index >= 0 ? index : parens.size() - 1; i >= 0; --i) {
            depth += parens.at(i).type == Closing ? 1 : -1;
            if (depth > 0)
                continue;
            cursor.setPosition(block.position() + parens.at(i).position, QTextCursor::KeepAnchor);
            return areParenPair(parens.at(i).character, close) ? Partner : WrongPartner;
        }
        index = -1;
    }
    return NoPartner;
}

// From the opening bracket behind the cursor on to its partner, which the cursor then selects.
CodeEditorPrivate::ParenResult CodeEditorPrivate::findClosing(QTextCursor &cursor) const
{
    QTextBlock block = cursor.block();
    const CodeBlockData *record = blockRecord(block);
    int index = indexOfParen(record, Opening, cursor.positionInBlock());
    if (index < 0)
        return NoPartner;
    const QChar open = record->parenthesis().at(index).character;
    int depth = 0;
    for (; block.isValid(); block = block.next()) {
        record = blockRecord(block);
        if (!record || record->parenthesis().isEmpty())
            continue;
        const QVector<Parenthesis> &parens = record->parenthesis();
        for (int i = index; i < parens.size(); ++i) {
            depth += parens.at(i).type == Opening ? 1 : -1;
            if (depth > 0)
                continue;
            cursor.setPosition(block.position() + parens.at(i).position + 1,
                               QTextCursor::KeepAnchor);
            return areParenPair(open, parens.at(i).character) ? Partner : WrongPartner;
        }
        index = 0;
    }
    return NoPartner;
}

void CodeEditorPrivate::selectParens(const QTextCursor &cursor, ParenResult result)
{
    if (result == NoPartner)
        return;
    QTextEdit::ExtraSelection range;
    range.cursor = cursor;
    range.format = result == WrongPartner ? format.parenError : format.parenRange;
    if (result == WrongPartner || paintParenRange)
        parenSelections.append(range);
    if (result == WrongPartner)
        return;
    for (int position : {cursor.selectionStart(), cursor.selectionEnd() - 1}) {
        QTextEdit::ExtraSelection bracket;
        bracket.cursor = cursor;
        bracket.cursor.setPosition(position);
        bracket.cursor.setPosition(position + 1, QTextCursor::KeepAnchor);
        bracket.format = format.parenMatch;
        parenSelections.append(bracket);
    }
}

void CodeEditorPrivate::matchParens()
{
    if (q->isReadOnly() || !document || !format.parenMatching) {
        if (!parenSelections.isEmpty()) {
            parenSelections.clear();
            updateSelections();
        }
        return;
    }
    QTextCursor backward = q->textCursor();
    backward.clearSelection();
    QTextCursor forward = backward;
    const ParenResult before = findOpening(backward);
    const ParenResult after = findClosing(forward);
    if (before == NoPartner && after == NoPartner && parenSelections.isEmpty())
        return;
    parenSelections.clear();
    selectParens(backward, before);
    selectParens(forward, after);
    updateSelections();
}

} // namespace Kiln
