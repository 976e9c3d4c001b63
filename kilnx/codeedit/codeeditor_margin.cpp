#include <kilnx/codeedit/codeeditor_p.h>

#include <kilnx/code/codedocument.h>

#include <QtCore/QTimerEvent>
#include <QtGui/QHelpEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStyle>
#include <QtWidgets/QToolTip>

namespace Kiln
{

namespace
{
constexpr int NumberGap = 4;          // pixels between the numbers and what follows
constexpr int PlainGap = 2;           // pixels where there are no icons
constexpr int OtherLineAlpha = 100;   // of the numbers outside the current line
constexpr int HoverDelay = 150;       // milliseconds until the marker under the mouse lights up
constexpr int ScrollStrength = 4900;  // milliseconds times square pixels of a drag's distance
constexpr int MinimumDistance = 7;    // pixels
constexpr int CursorUpdateWidth = 16; // pixels; narrower updates are a blinking cursor
} // namespace

CodeEditorExtraArea::CodeEditorExtraArea(CodeEditor *editor, CodeEditorPrivate *d)
    : QWidget(editor)
    , d(d)
{
    setObjectName(QStringLiteral("codeEditorMargin"));
    setAutoFillBackground(true);
    setMouseTracking(true);
}

void CodeEditorExtraArea::paintEvent(QPaintEvent *event)
{
    d->paintMargin(event);
}

void CodeEditorExtraArea::mousePressEvent(QMouseEvent *event)
{
    d->marginMouse(event);
}

void CodeEditorExtraArea::mouseMoveEvent(QMouseEvent *event)
{
    d->marginMouse(event);
}

void CodeEditorExtraArea::mouseReleaseEvent(QMouseEvent *event)
{
    d->marginMouse(event);
}

void CodeEditorExtraArea::leaveEvent(QEvent *)
{
    d->marginLeft();
}

void CodeEditorExtraArea::wheelEvent(QWheelEvent *event)
{
    QCoreApplication::sendEvent(d->q->viewport(), event);
}

bool CodeEditorExtraArea::event(QEvent *event)
{
    if (event->type() == QEvent::WindowBlocked)
        d->endDrag(); // the release will not come
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    d->marginToolTip(static_cast<QHelpEvent *>(event));
    return true;
}

int CodeEditorPrivate::markerWidth() const
{
    if (!format.foldingMarkers)
        return 0;
    const int spacing = extraArea->fontMetrics().lineSpacing();
    return 1 + spacing + spacing % 2;
}

int CodeEditorPrivate::marginWidth() const
{
    const QFontMetrics metrics = extraArea->fontMetrics();
    int width = 0;
    if (format.lineNumbers) {
        int digits = 2;
        for (int rest = q->document()->blockCount() / 100; rest > 0; rest /= 10)
            ++digits;
        width = digits * metrics.horizontalAdvance(QLatin1Char('9'));
    }
    width += format.iconArea ? metrics.lineSpacing() : PlainGap;
    return width + NumberGap + markerWidth();
}

void CodeEditorPrivate::updateMarginGeometry()
{
    const int width = marginWidth();
    const bool rightToLeft = q->isRightToLeft();
    q->setViewportMargins(rightToLeft ? 0 : width, 0, rightToLeft ? width : 0, 0);
    const QRect contents = q->contentsRect();
    const QRect view = q->viewport()->geometry();
    const int left = rightToLeft ? view.right() + 1 : contents.left();
    extraArea->setGeometry(left, view.top(), width, view.height());
}

QRect CodeEditorPrivate::markerColumn() const
{
    const int width = markerWidth();
    const int left = q->isRightToLeft() ? 0 : extraArea->width() - width;
    return QRect(left, 0, width, extraArea->height());
}

void CodeEditorPrivate::updateMarginStrip(const QTextBlock &block)
{
    if (!block.isValid() || !block.isVisible())
        return;
    const QRectF rect = q->blockBoundingGeometry(block).translated(q->contentOffset());
    extraArea->update(0, qRound(rect.top()), extraArea->width(), qRound(rect.height()));
}

// A line's marker hangs on the depth of the next line, which an edit may change alone.
void CodeEditorPrivate::updateMarkers()
{
    QVector<int> heads;
    QTextBlock block = q->firstVisibleBlock();
    for (int row = q->displayedLineCount(); row >= 0 && block.isValid(); --row) {
        if (isFoldHead(block))
            heads.append(block.blockNumber());
        block = shownBelow(block);
    }
    if (heads == shownHeads)
        return;
    shownHeads = heads;
    extraArea->update();
}

void CodeEditorPrivate::viewUpdated(const QRect &rect, int dy)
{
    if (dy) {
        extraArea->scroll(0, dy);
        return;
    }
    if (rect.width() <= CursorUpdateWidth)
        return;
    // Qt adds a pixel above and below, where lines have neighbours; numbers never reach into them.
    const int top = rect.top() > 0 ? rect.top() + 1 : 0;
    const int bottom =
        rect.bottom() < q->viewport()->height() - 1 ? rect.bottom() - 1 : extraArea->height();
    extraArea->update(0, top, extraArea->width(), bottom - top + 1);
}

void CodeEditorPrivate::paintMargin(QPaintEvent *event)
{
    QPainter painter(extraArea);
    const QPalette palette = extraArea->palette();
    const QColor background = palette.color(QPalette::Window);
    const QRect clip = event->rect();
    painter.fillRect(clip, background);
    const int edge = q->isRightToLeft() ? 0 : extraArea->width() - 1;
    painter.fillRect(edge, clip.top(), 1, clip.height(), background.darker(115));

    QRect column = markerColumn();
    const int numbersLeft = q->isRightToLeft() ? column.right() + 1 : 0;
    const int numbersWidth = extraArea->width() - column.width() - NumberGap;
    const int current = q->textCursor().blockNumber();
    QColor faint = palette.color(QPalette::WindowText);
    faint.setAlpha(OtherLineAlpha);

    for (const ShownLine &line : linesBetween(clip.top(), clip.bottom())) {
        const int top = qRound(line.top);
        const int height = qRound(line.height);
        const int number = line.block.blockNumber();
        if (format.lineNumbers) {
            painter.setPen(number == current ? palette.color(QPalette::WindowText) : faint);
            painter.drawText(numbersLeft, top, numbersWidth, height, Qt::AlignRight,
                             QString::number(number + 1));
        }
        if (format.foldingMarkers) {
            column.setTop(top);
            column.setHeight(height);
            paintConnection(painter, number, column);
            paintMarker(painter, line.block, column);
        }
    }
}

void CodeEditorPrivate::paintMarker(QPainter &painter, const QTextBlock &block, const QRect &column)
{
    if (!isFoldHead(block))
        return;
    const int size = column.width() - 1 - (column.width() - 1) % 2;
    QRect box(column.left(), column.top() + (q->fontMetrics().lineSpacing() - size) / 2, size,
              size);
    const QByteArray style = q->style()->metaObject()->className();
    if (style == "QGtkStyle" || style == "QMacStyle")
        box.translate(-2, -1);
    const QPalette palette = extraArea->palette();
    painter.fillRect(box, palette.color(QPalette::Window));
    if (block.blockNumber() == hoveredMarker) {
        QColor light = palette.color(QPalette::Highlight);
        light.setAlpha(OtherLineAlpha);
        painter.fillRect(box, light);
    }
    const QIcon &icon = block.next().isVisible() ? contractIcon : expandIcon;
    icon.paint(&painter, box.adjusted(1, 1, -1, -1));
}

void CodeEditorPrivate::paintConnection(QPainter &painter, int number, const QRect &column)
{
    bool above = false;
    bool below = false;
    bool ends = false;
    for (int i = 0; i < blockStart.size(); ++i) {
        above |= blockStart.at(i) < number && number <= blockEnd.at(i);
        below |= blockStart.at(i) <= number && number < blockEnd.at(i);
        ends |= blockEnd.at(i) == number;
    }
    if (!above && !below)
        return;
    const QPoint center = column.center();
    painter.setPen(Qt::gray);
    painter.drawLine(center.x(), above ? column.top() : center.y(), center.x(),
                     below ? column.bottom() : center.y());
    if (ends) {
        const int tick = q->isRightToLeft() ? column.left() + 2 : column.right() - 2;
        painter.drawLine(center.x(), center.y(), tick, center.y());
    }
}

QTextBlock CodeEditorPrivate::blockAt(int y) const
{
    for (const ShownLine &line : linesBetween(0, extraArea->height())) {
        if (y < line.bottom())
            return line.block;
    }
    return QTextBlock();
}

void CodeEditorPrivate::marginMouse(QMouseEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: // the second press of two quick ones
        if (event->button() == Qt::LeftButton)
            marginPress(event);
        break;
    case QEvent::MouseMove:
        if (dragAnchor >= 0)
            marginDrag(event->pos());
        else
            marginHover(event->pos());
        break;
    case QEvent::MouseButtonRelease:
        endDrag();
        break;
    default:
        break;
    }
}

void CodeEditorPrivate::marginPress(QMouseEvent *event)
{
    const QTextBlock block = blockAt(event->pos().y());
    if (markerColumn().contains(event->pos())) {
        if (block.isValid() && isFoldHead(block))
            q->toggleBlockVisible(block);
        return;
    }
    const bool extend = event->modifiers() & Qt::ShiftModifier;
    const QTextCursor cursor =
        extend ? q->textCursor() : q->cursorForPosition(QPoint(0, event->pos().y()));
    dragAnchor = q->document()->findBlock(cursor.anchor()).blockNumber();
    marginDrag(event->pos());
}

void CodeEditorPrivate::marginDrag(const QPoint &position)
{
    dragPosition = position;
    const int height = extraArea->height();
    const QTextBlock anchor = q->document()->findBlockByNumber(dragAnchor);
    const QTextBlock target =
        q->cursorForPosition(QPoint(0, qBound(0, position.y(), height - 1))).block();
    if (!anchor.isValid() || !target.isValid())
        return;
    // Whole lines with their ends, whichever way the mouse goes.
    const bool down = target.blockNumber() >= anchor.blockNumber();
    QTextCursor cursor(down ? anchor : target);
    cursor.setVisualNavigation(true);
    cursor.setPosition((down ? target : anchor).position(), QTextCursor::KeepAnchor);
    if (!cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor))
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    if (!down) {
        const int end = cursor.position();
        cursor.setPosition(end);
        cursor.setPosition(target.position(), QTextCursor::KeepAnchor);
    }
    q->setTextCursor(cursor);

    const int outside = position.y() < 0 ? -position.y() : position.y() - height;
    if (outside > 0) {
        const int distance = qMax(MinimumDistance, outside);
        scrollTimer.start(ScrollStrength / (distance * distance), this);
    } else {
        scrollTimer.stop();
    }
}

void CodeEditorPrivate::endDrag()
{
    dragAnchor = -1;
    scrollTimer.stop();
}

void CodeEditorPrivate::marginHover(const QPoint &position)
{
    const bool inColumn = markerColumn().contains(position);
    const QTextBlock block = inColumn ? blockAt(position.y()) : QTextBlock();
    extraArea->setCursor(inColumn ? Qt::PointingHandCursor : Qt::ArrowCursor);
    const int marker = block.isValid() && isFoldHead(block) ? block.blockNumber() : -1;
    if (marker == pendingMarker)
        return;
    pendingMarker = marker;
    if (marker < 0) {
        markerTimer.stop();
        setHoveredMarker(-1);
    } else {
        markerTimer.start(HoverDelay, this);
    }
}

void CodeEditorPrivate::marginLeft()
{
    markerTimer.stop();
    pendingMarker = -1;
    setHoveredMarker(-1);
}

void CodeEditorPrivate::setHoveredMarker(int block)
{
    if (hoveredMarker == block)
        return;
    updateMarginStrip(q->document()->findBlockByNumber(hoveredMarker));
    hoveredMarker = block;
    updateMarginStrip(q->document()->findBlockByNumber(block));
}

void CodeEditorPrivate::marginToolTip(QHelpEvent *event)
{
    const CodeBlockData *record = blockRecord(blockAt(event->pos().y()));
    QStringList lines;
    if (record && document) {
        for (const CodeBlockData::SyntaxMessage &message : record->syntaxMessages())
            lines.append(message.text);
    }
    if (lines.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(event->globalPos(), plainToolTip(lines.join(QLatin1Char('\n'))),
                           extraArea);
}

void CodeEditorPrivate::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == markerTimer.timerId()) {
        markerTimer.stop();
        setHoveredMarker(pendingMarker);
    } else if (event->timerId() == scrollTimer.timerId()) {
        q->verticalScrollBar()->triggerAction(dragPosition.y() < 0
                                                  ? QAbstractSlider::SliderSingleStepSub
                                                  : QAbstractSlider::SliderSingleStepAdd);
        QMouseEvent move(QEvent::MouseMove, dragPosition, Qt::LeftButton, Qt::LeftButton,
                         QApplication::keyboardModifiers());
        QCoreApplication::sendEvent(extraArea, &move);
    }
}

} // namespace Kiln
