#include <kilnx/codeedit/codeeditor_p.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/hitsearch_p.h>

#include <QtGui/QAbstractTextDocumentLayout>
#include <QtGui/QPainter>
#include <QtGui/QTextLayout>
#include <QtWidgets/QScrollBar>

#include <algorithm>

namespace Kiln
{

namespace
{
using PaintContext = QAbstractTextDocumentLayout::PaintContext;
using FormatRanges = QVector<QTextLayout::FormatRange>;

constexpr int LongLine = 10000; // characters; longer ones are painted in part
constexpr int PartOverlap = 80; // characters beside the part that may join in its shapes

// The formats that the selections lay over a line. They begin and end where the selections do, also
// outside the line: Qt paints the line's end as well if they go on behind it.
FormatRanges selectionsIn(const QTextBlock &block, const PaintContext &context)
{
    FormatRanges ranges;
    for (const QAbstractTextDocumentLayout::Selection &selection : context.selections) {
        const int start = selection.cursor.selectionStart() - block.position();
        const int end = selection.cursor.selectionEnd() - block.position();
        if (start < end && start < block.length() && end > 0)
            ranges.append({start, end - start, selection.format});
    }
    return ranges;
}

// The waves of warnings are bright, to be seen on a dark ground: on a light one darker ones lie
// over them.
FormatRanges darkWavesIn(const QTextBlock &block, const QColor &ground)
{
    constexpr int middle = 128;
    constexpr int percent = 180;
    FormatRanges ranges;
    if (ground.lightness() < middle)
        return ranges;
    const FormatRanges formats = block.layout()->formats();
    for (QTextLayout::FormatRange range : formats) {
        const QColor color = range.format.underlineColor();
        if (range.format.underlineStyle() != QTextCharFormat::SpellCheckUnderline ||
            qGray(color.rgb()) < middle)
            continue;
        range.format.setUnderlineColor(color.darker(percent));
        ranges.append(range);
    }
    return ranges;
}

FormatRanges movedBack(FormatRanges ranges, int by)
{
    for (QTextLayout::FormatRange &range : ranges)
        range.start -= by;
    return ranges;
}

// Whether a piece of a line looks the same by itself: the place of a tab hangs on what is before
// it, and what runs from right to left is not where its column is.
bool standsAlone(const QString &text)
{
    const QVector<uint> characters = text.toUcs4();
    return std::none_of(characters.begin(), characters.end(), [](uint character) {
        switch (QChar::direction(character)) {
        case QChar::DirR:
        case QChar::DirAL:
        case QChar::DirAN:
        case QChar::DirRLE:
        case QChar::DirRLO:
        case QChar::DirRLI:
        case QChar::DirFSI:
            return true;
        default:
            return character == '\t';
        }
    });
}

// Draws the part of a very long line that is seen. Qt draws a line from end to end. False if the
// part cannot be told from the rest, or the row holds what an input method is composing, too.
bool drawPart(QPainter &painter,
              const QTextBlock &block,
              const QPointF &origin,
              const FormatRanges &selections,
              const QRect &clip)
{
    const QTextLayout *whole = block.layout();
    if (block.length() < LongLine || whole->lineCount() != 1 ||
        !whole->preeditAreaText().isEmpty() || block.textDirection() == Qt::RightToLeft)
        return false;
    const QTextLine row = whole->lineAt(0);
    const int first = row.xToCursor(clip.left() - origin.x());
    const int last = row.xToCursor(clip.right() + 1 - origin.x());
    int begin = qMax(0, first - PartOverlap);
    while (begin > 0 && !whole->isValidCursorPosition(begin))
        --begin;
    int end = qMin(last + PartOverlap, block.length() - 1);
    while (end < block.length() - 1 && !whole->isValidCursorPosition(end))
        ++end;
    const QString text = block.text().mid(begin, end - begin);
    if (first > last || !standsAlone(text))
        return false;
    QTextLayout part(text, block.document()->defaultFont());
    part.setTextOption(whole->textOption());
    part.setFormats(movedBack(whole->formats(), begin));
    part.beginLayout();
    QTextLine partRow = part.createLine();
    partRow.setLeadingIncluded(true);
    part.endLayout();
    const QPointF place(row.cursorToX(begin), row.y() + row.ascent() - partRow.ascent());
    part.draw(&painter, origin + place, movedBack(selections, begin), clip);
    return true;
}
} // namespace

QTextBlock shownBelow(const QTextBlock &block)
{
    const QTextBlock next = block.next();
    return next.isValid() && !next.isVisible()
               ? next.document()->findBlockByLineNumber(next.firstLineNumber())
               : next;
}

// The lines on the screen between two heights. Folded lines are stepped over all at once.
QVector<CodeEditorPrivate::ShownLine> CodeEditorPrivate::linesBetween(int first, int last) const
{
    QVector<ShownLine> lines;
    qreal top = q->contentOffset().y();
    QTextBlock block = q->firstVisibleBlock();
    while (block.isValid() && top <= last) {
        const qreal height = q->blockBoundingRect(block).height();
        if (block.isVisible() && top + height >= first)
            lines.append({block, top, height});
        top += height;
        block = shownBelow(block);
    }
    return lines;
}

FormatRanges CodeEditorPrivate::hitsIn(const QTextBlock &block) const
{
    FormatRanges ranges;
    QTextCharFormat format;
    format.setBackground(this->format.hitColor);
    const QVector<TextMatch> &all = hits->hits();
    const int end = block.position() + block.length();
    for (int i = hits->firstBehind(block.position()); i < all.size() && all.at(i).position < end;
         ++i)
        ranges.append({all.at(i).position - block.position(), all.at(i).length, format});
    return ranges;
}

// Not Qt's own: that paints the text of the current line twice, once for what is behind it.
void CodeEditorPrivate::paintText(QPainter &painter, const QRect &strip)
{
    const QVector<ShownLine> lines = linesBetween(strip.top(), strip.bottom());
    paintBlocks(painter, lines);

    const PaintContext context = q->getPaintContext();
    const QTextDocument *text = q->document();
    const qreal left = q->contentOffset().x();
    // What goes over the whole width ends where the cursor of the longest line can stand.
    const qreal width =
        qMax(qreal(q->viewport()->width()), text->documentLayout()->documentSize().width());
    QRect clip = strip;
    clip.setRight(
        qMin(clip.right(), int(left + width - text->documentMargin() + q->cursorWidth())));
    painter.setClipRect(clip);
    painter.setBrushOrigin(q->contentOffset()); // the waves of underlines go on from strip to strip
    painter.setPen(context.palette.text().color());
    for (const ShownLine &line : lines) {
        const QBrush background = line.block.blockFormat().background();
        if (background.style() != Qt::NoBrush)
            painter.fillRect(QRectF(left, line.top, width, line.height), background);
        paintCurrentLine(painter, line, context, clip);
        paintLine(painter, line, context, clip);
    }
    if (q->backgroundVisible() && (lines.isEmpty() || !shownBelow(lines.last().block).isValid()))
        paintBelow(painter, lines.isEmpty() ? clip.top() : lines.last().bottom(), clip);
}

void CodeEditorPrivate::paintBelow(QPainter &painter, qreal top, const QRect &clip) const
{
    if (q->centerOnScroll() || q->verticalScrollBar()->maximum() == 0)
        painter.fillRect(QRect(QPoint(clip.left(), int(top)), clip.bottomRight()),
                         q->palette().window());
}

// A selection of no text that goes over the whole width.
void CodeEditorPrivate::paintCurrentLine(QPainter &painter,
                                         const ShownLine &line,
                                         const PaintContext &context,
                                         const QRect &clip) const
{
    for (const QAbstractTextDocumentLayout::Selection &selection : context.selections) {
        const QTextCursor &cursor = selection.cursor;
        if (cursor.hasSelection() || !line.block.contains(cursor.position()) ||
            !selection.format.boolProperty(QTextFormat::FullWidthSelection))
            continue;
        const QTextLine row =
            line.block.layout()->lineForTextPosition(cursor.position() - line.block.position());
        QRectF whole = row.rect().translated(q->contentOffset().x(), line.top);
        whole.setRight(clip.right() + 1);
        painter.fillRect(whole, selection.format.background());
    }
}

void CodeEditorPrivate::paintLine(QPainter &painter,
                                  const ShownLine &line,
                                  const PaintContext &context,
                                  const QRect &clip) const
{
    const QTextLayout *layout = line.block.layout();
    const QPointF origin(q->contentOffset().x(), line.top);
    FormatRanges selections = darkWavesIn(line.block, q->palette().color(QPalette::Base)) +
                              hitsIn(line.block) + selectionsIn(line.block, context);

    int column = context.cursorPosition - line.block.position();
    const bool takesKeys =
        !q->isReadOnly() || q->textInteractionFlags() & Qt::TextSelectableByKeyboard;
    bool showsCursor = takesKeys && line.block.contains(context.cursorPosition);
    if (showsCursor && q->overwriteMode() && column < line.block.length() - 1) {
        showsCursor = false; // it is the character instead
        QTextCharFormat format;
        format.setForeground(q->palette().base());
        format.setBackground(q->palette().text());
        selections.append({column, 1, format});
    }
    if (!drawPart(painter, line.block, origin, selections, clip))
        layout->draw(&painter, origin, selections, clip);
    paintFolded(painter, line, origin);
    // Below -1 the number tells a place in the text that an input method is composing.
    if (context.cursorPosition < -1 && !q->isReadOnly() && !layout->preeditAreaText().isEmpty()) {
        showsCursor = true;
        column = layout->preeditAreaPosition() - (context.cursorPosition + 2);
    }
    if (showsCursor)
        layout->drawCursor(&painter, origin, column, q->cursorWidth());
}

// Dots behind the text of a line whose next is folded away.
void CodeEditorPrivate::paintFolded(QPainter &painter,
                                    const ShownLine &line,
                                    const QPointF &origin) const
{
    const QTextBlock next = line.block.next();
    const QTextLayout *layout = line.block.layout();
    if (!next.isValid() || next.isVisible() || layout->lineCount() == 0)
        return;
    const QTextLine row = layout->lineAt(layout->lineCount() - 1);
    painter.save();
    painter.setPen(Qt::gray);
    painter.setFont(q->document()->defaultFont());
    painter.drawText(origin + QPointF(row.x() + row.naturalTextWidth(), row.y() + row.ascent()),
                     QStringLiteral(" ... "));
    painter.restore();
}

void CodeEditor::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    d->paintText(painter, event->rect());
    if (!document()->isEmpty() || !document()->firstBlock().layout()->preeditAreaText().isEmpty())
        return;
    const int margin = int(document()->documentMargin());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(margin, margin, 0, 0),
                     Qt::AlignTop | Qt::TextSingleLine, placeholderText());
}

} // namespace Kiln
