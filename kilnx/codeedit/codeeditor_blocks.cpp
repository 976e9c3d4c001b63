#include <kilnx/codeedit/codeeditor_p.h>

#include <kilnx/code/codedocument.h>

#include <QtGui/QPainter>
#include <QtGui/QTextLayout>
#include <QtWidgets/QPlainTextDocumentLayout>
#include <QtWidgets/QScrollBar>

namespace Kiln
{

namespace
{
constexpr int DarkestLight = 128; // the value() up to which a colour counts as dark

QColor shifted(const QColor &color, int by)
{
    return QColor(qBound(0, color.red() + by, 255), qBound(0, color.green() + by, 255),
                  qBound(0, color.blue() + by, 255));
}
} // namespace

// The nesting around a line, from the inside out: each turn finds the head above the lines that
// stand as deep as this one, and the last of them.
void CodeEditorPrivate::findBlocks()
{
    QTextBlock block = q->document()->findBlockByNumber(blockLine);
    if (!document || !format.highlightBlocks || !block.isValid())
        return;
    if (isFoldHead(block))
        block = block.next();
    QList<int> starts;
    QList<int> ends;
    QList<int> indents;
    QTextBlock last = block;
    while (block.isValid()) {
        const unsigned int level = blockDepth(block);
        while (block.previous().isValid() && blockDepth(block) >= level)
            block = block.previous();
        if (blockDepth(block) >= level)
            break;
        for (QTextBlock next = last.next(); next.isValid() && blockDepth(next) >= level;
             next = last.next())
            last = next;
        starts.append(block.blockNumber());
        ends.append(last.blockNumber());
        indents.append(qRound(qMin(visualIndent(block), visualIndent(last))));
    }
    if (starts == blockStart && ends == blockEnd && indents == blockIndent)
        return;
    blockStart = starts;
    blockEnd = ends;
    blockIndent = indents;
    q->viewport()->update();
    extraArea->update();
}

void CodeEditorPrivate::clearBlocks()
{
    if (blockStart.isEmpty())
        return;
    blockStart = blockEnd = blockIndent = QList<int>();
    q->viewport()->update();
    extraArea->update();
}

// Where the text of a line begins, in pixels of the unscrolled view. Folded and blank lines have no
// text to look at and don't count: they answer with the far right.
qreal CodeEditorPrivate::visualIndent(const QTextBlock &block) const
{
    const int length = block.length() - 1;
    int column = 0;
    while (column < length && q->document()->characterAt(block.position() + column).isSpace())
        ++column;
    if (!block.isVisible() || column == length)
        return q->viewport()->width();
    layout()->blockBoundingRect(block); // lays the line out if it is not
    const QTextLine line = block.layout()->lineForTextPosition(column);
    return line.isValid() ? line.cursorToX(column) : 0;
}

QColor CodeEditorPrivate::levelColor(int level, int count) const
{
    const QColor &base = format.blockColor;
    const bool dark = base.value() <= DarkestLight;
    const QColor first = shifted(base, dark ? 40 : -30);
    const QColor second = shifted(base, dark ? 20 : -15);
    if (level == count)
        return base;
    if (level == 0)
        return first;
    if (level == count - 1)
        return second;
    const int k = (256 / (count - 2)) * level;
    const auto mix = [k](int a, int b) { return (b * k + a * (256 - k)) / 256; };
    return QColor(mix(first.red(), second.red()), mix(first.green(), second.green()),
                  mix(first.blue(), second.blue()));
}

// The innermost block has level 0, which stands out most; it is filled last, over the outer ones.
void CodeEditorPrivate::paintBlocks(QPainter &painter, const QVector<ShownLine> &lines) const
{
    const int scrolled = q->horizontalScrollBar()->value();
    const int width = q->viewport()->width();
    const int count = blockStart.size();
    for (const ShownLine &line : lines) {
        const int number = line.block.blockNumber();
        const bool rightToLeft = line.block.textDirection() == Qt::RightToLeft;
        for (int i = count - 1; i >= 0; --i) {
            if (number < blockStart.at(i) || number > blockEnd.at(i))
                continue;
            const qreal indent = blockIndent.at(i) - scrolled;
            const QRectF range = rightToLeft
                                     ? QRectF(0, line.top, indent, line.height)
                                     : QRectF(indent, line.top, width - indent, line.height);
            painter.fillRect(range.toAlignedRect(), levelColor(i, count));
        }
    }
}

} // namespace Kiln
