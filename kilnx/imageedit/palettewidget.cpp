#include <kilnx/imageedit/palettewidget.h>

#include <kilnx/image/palette.h>
#include <kilnx/imageedit/palettecells_p.h>

#include <QtCore/QPointer>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QStyle>
#include <QtWidgets/QStyleOptionFocusRect>
#include <QtWidgets/QToolTip>

#include <algorithm>
#include <cstring>

namespace Kiln
{

namespace
{

constexpr int pageCount = 12;
constexpr int entryCount = 256;

} // namespace

/// The ring of palettes and the state of a press. The held cell and the drag are void when the
/// button is released, the widget is hidden, disabled or blocked by a dialog, or another button is
/// pressed.
class PaletteWidgetPrivate : public QObject
{
public:
    explicit PaletteWidgetPrivate(PaletteWidget *widget);

    void takePage();
    void showPage(int page);
    void edited();

    int rows() const { return (colorCount + columnCount - 1) / columnCount; }
    int left() const { return (widget->width() - columnCount * cellSize) / 2; }
    QPoint placeOf(int cell) const;
    int shownAt(int cell, int target) const;
    void dropPress();

    void move(int from, int to);
    void click(int cell, Qt::MouseButton button, Qt::KeyboardModifiers modifiers);
    bool selectRange(int cell);
    int cellFor(int key) const;
    void goTo(int cell, bool extends);

    RGBA history[pageCount][entryCount];
    PaletteObject object;
    unsigned char current = 0; ///< the page on show
    unsigned char last = 0;    ///< pages in use
    bool locked = false;
    bool multiSelect = true;
    bool selectable = true;
    bool dragging = false;
    QPoint dragOffset; ///< where in its cell the press fell
    QPoint dragPos;
    short pressedCell = -1;
    int cursor = 0; ///< the cell that keys and clicks went to last
    int anchor = 0; ///< where a range that keys extend began
    unsigned short colorCount = entryCount;
    unsigned char cellSize = 12;
    unsigned char columnCount = 16;
    bool redistributable = false;
    PaletteWidget *const widget;
};

PaletteWidgetPrivate::PaletteWidgetPrivate(PaletteWidget *widget)
    : object(&history[0])
    , widget(widget)
{
    std::fill(&history[0][0], &history[0][0] + pageCount * entryCount, RGBA{0, 0, 0, 255});
    connect(&object, &PaletteObject::changing, this, &PaletteWidgetPrivate::takePage);
    connect(&object, &PaletteObject::changed, this, &PaletteWidgetPrivate::edited);
}

void PaletteWidgetPrivate::takePage()
{
    if (locked)
        return;
    if (last == 0) {
        last = 1;
        return;
    }
    last = static_cast<unsigned char>(current + 1);
    if (last == pageCount) {
        std::memmove(history[0], history[1], sizeof(history[0]) * (pageCount - 1));
        --last;
        --current;
    }
    ++last;
    ++current;
    std::memcpy(history[current], history[current - 1], sizeof(history[0]));
    object = &history[current];
}

void PaletteWidgetPrivate::showPage(int page)
{
    current = static_cast<unsigned char>(page);
    object = &history[current];
    edited();
}

void PaletteWidgetPrivate::edited()
{
    widget->update();
    Q_EMIT widget->changed();
}

QPoint PaletteWidgetPrivate::placeOf(int cell) const
{
    return {left() + cell % columnCount * cellSize, cell / columnCount * cellSize};
}

/// Which cell shows where, while the held one is over `target`: those between make room.
int PaletteWidgetPrivate::shownAt(int cell, int target) const
{
    if (target < 0 || !redistributable)
        return cell;
    if (cell > pressedCell && cell <= target)
        return cell - 1;
    return cell < pressedCell && cell >= target ? cell + 1 : cell;
}

void PaletteWidgetPrivate::dropPress()
{
    dragging = false;
    pressedCell = -1;
    widget->update();
}

/// As one step: a listener hears of it as of every other edit.
void PaletteWidgetPrivate::move(int from, int to)
{
    const QPointer<PaletteWidget> alive(widget);
    Q_EMIT object.changing();
    if (!alive)
        return;
    RGBA(&colors)[entryCount] = object.palette();
    if (from < to)
        std::rotate(colors + from, colors + from + 1, colors + to + 1);
    else
        std::rotate(colors + to, colors + from, colors + from + 1);
    Q_EMIT object.changed();
    if (alive)
        Q_EMIT alive->colorMoved(static_cast<unsigned short>(from),
                                 static_cast<unsigned short>(to));
}

/// From the highest selected cell to this one. Whether there was one.
bool PaletteWidgetPrivate::selectRange(int cell)
{
    bool(&selection)[entryCount] = widget->selection;
    int highest = entryCount - 1;
    while (highest >= 0 && !selection[highest])
        --highest;
    widget->clearSelection();
    const int other = highest < 0 ? cell : highest;
    std::fill(selection + qMin(cell, other), selection + qMax(cell, other) + 1, true);
    return highest >= 0;
}

/// Changes the selection; whoever hears of it may end the widget.
void PaletteWidgetPrivate::click(int cell, Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
{
    const QPointer<PaletteWidget> alive(widget);
    bool range = false;
    cursor = anchor = cell;
    if (button == Qt::RightButton) {
        widget->selection[cell] = false;
    } else if (button != Qt::LeftButton) {
        return;
    } else if (multiSelect && modifiers & Qt::ControlModifier) {
        widget->selection[cell] = true;
    } else if (multiSelect && modifiers & Qt::ShiftModifier) {
        range = selectRange(cell);
    } else {
        widget->clearSelection();
        widget->selection[cell] = true;
    }
    widget->update();
    Q_EMIT widget->selectionChanged();
    if (alive && range)
        Q_EMIT alive->multiColorClick();
}

/// Where a key leads from the cursor; -1 for another key.
int PaletteWidgetPrivate::cellFor(int key) const
{
    const int last = colorCount - 1;
    const int down = cursor + columnCount;
    switch (key) {
    case Qt::Key_Left:
        return qMax(0, cursor - 1);
    case Qt::Key_Right:
        return qMin(last, cursor + 1);
    case Qt::Key_Up:
        return cursor < columnCount ? cursor : cursor - columnCount;
    case Qt::Key_Down:
        return down > last ? cursor : down;
    case Qt::Key_Home:
        return qMin(last, 0);
    case Qt::Key_End:
        return last;
    default:
        return -1;
    }
}

void PaletteWidgetPrivate::goTo(int cell, bool extends)
{
    cursor = cell;
    if (!extends)
        anchor = cell;
    widget->clearSelection();
    std::fill(widget->selection + qMin(anchor, cell), widget->selection + qMax(anchor, cell) + 1,
              true);
    const QPointer<PaletteWidget> alive(widget);
    Q_EMIT widget->selectionChanged();
    if (alive && extends)
        Q_EMIT alive->multiColorClick();
}

PaletteWidget::PaletteWidget(QWidget *parent)
    : QWidget(parent)
    , d(std::make_unique<PaletteWidgetPrivate>(this))
{
    setObjectName(QStringLiteral("paletteWidget"));
    setAccessibleName(tr("Palette"));
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus); // a click leaves the keys to where the user draws
}

PaletteWidget::~PaletteWidget() = default;

PaletteObject *PaletteWidget::palette() const
{
    return &d->object;
}

void PaletteWidget::setCellSize(int size)
{
    d->cellSize = static_cast<unsigned char>(qBound(1, size, 255));
    d->dropPress();
    updateGeometry();
}

void PaletteWidget::setColumnCount(int count)
{
    d->columnCount = static_cast<unsigned char>(qBound(1, count, 255));
    d->dropPress();
    updateGeometry();
}

void PaletteWidget::setColorCount(unsigned short count)
{
    d->colorCount = qMin<unsigned short>(count, entryCount);
    std::fill(selection + d->colorCount, selection + entryCount, false);
    d->cursor = d->anchor = 0;
    d->dropPress();
    updateGeometry();
}

void PaletteWidget::setMultiSelect(bool enabled)
{
    d->multiSelect = enabled;
}

bool PaletteWidget::multiSelect() const
{
    return d->multiSelect;
}

void PaletteWidget::setSelect(bool enabled)
{
    d->selectable = enabled;
}

void PaletteWidget::setRedistributable(bool enabled)
{
    d->redistributable = enabled;
    update();
}

void PaletteWidget::lock()
{
    d->locked = true;
}

void PaletteWidget::unlock()
{
    d->locked = false;
}

bool PaletteWidget::isLocked() const
{
    return d->locked;
}

int PaletteWidget::firstSelection() const
{
    const bool *first = std::find(selection, selection + entryCount, true);
    return first == selection + entryCount ? -1 : int(first - selection);
}

void PaletteWidget::clearSelection()
{
    std::fill_n(selection, entryCount, false);
    update();
}

void PaletteWidget::select(unsigned char index)
{
    if (selection[index] || index >= d->colorCount)
        return;
    clearSelection();
    selection[index] = true;
    d->cursor = d->anchor = index;
}

int PaletteWidget::cellAt(QPoint point) const
{
    const int x = point.x() - d->left();
    if (x < 0 || point.y() < 0 || x >= d->columnCount * d->cellSize)
        return -1;
    const int row = point.y() / d->cellSize;
    const int cell = row * d->columnCount + x / d->cellSize;
    return row < d->rows() && cell < d->colorCount ? cell : -1;
}

void PaletteWidget::undo()
{
    if (!d->locked && d->current > 0)
        d->showPage(d->current - 1);
}

void PaletteWidget::redo()
{
    if (!d->locked && d->current + 1 < d->last)
        d->showPage(d->current + 1);
}

void PaletteWidget::reset()
{
    if (d->locked)
        return;
    d->current = 0;
    d->last = 0;
    d->object = &d->history[0];
    d->object.empty();
    update();
}

void PaletteWidget::flatten()
{
    if (d->locked || d->current == 0)
        return;
    std::memcpy(d->history[0], d->history[d->current], sizeof(d->history[0]));
    d->current = 0;
    d->last = 0;
    d->object = &d->history[0];
}

void PaletteWidget::load(const RGBA *colors)
{
    std::memmove(d->history[0], colors, sizeof(d->history[0]));
    d->current = 0;
    d->last = 1;
    d->object = &d->history[0];
    d->dropPress();
}

QSize PaletteWidget::sizeHint() const
{
    return {d->columnCount * d->cellSize, d->rows() * d->cellSize};
}

QSize PaletteWidget::minimumSizeHint() const
{
    return sizeHint();
}

bool PaletteWidget::event(QEvent *event)
{
    // A release that is due will not come any more.
    const auto type = event->type();
    if (type == QEvent::Hide || type == QEvent::WindowBlocked ||
        (type == QEvent::EnabledChange && !isEnabled()))
        d->dropPress();
    return QWidget::event(event);
}

void PaletteWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (!isEnabled())
        painter.setOpacity(0.2); // cells of no palette are all checks
    const RGBA *colors = d->object.palette();
    const bool lifted = d->dragging && rect().contains(d->dragPos);
    const int target = lifted ? cellAt(d->dragPos) : -1;
    for (int cell = 0; cell < d->colorCount; ++cell) {
        if (lifted && cell == d->pressedCell)
            continue;
        PaletteCells::paint(painter, *this, d->placeOf(d->shownAt(cell, target)), d->cellSize,
                            colors[cell], selection[cell]);
    }
    if (hasFocus() && d->colorCount > 0) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = QRect(d->placeOf(d->cursor), QSize(d->cellSize, d->cellSize));
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
    if (d->dragging)
        PaletteCells::paint(painter, *this, d->dragPos - d->dragOffset, d->cellSize,
                            colors[d->pressedCell], false);
}

void PaletteWidget::keyPressEvent(QKeyEvent *event)
{
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    const bool control = event->modifiers() & Qt::ControlModifier;
    const int cell = d->cellFor(event->key());
    if (d->selectable && cell >= 0 && d->colorCount > 0) {
        d->goTo(cell, shift && d->multiSelect);
    } else if (d->selectable && d->multiSelect && event->matches(QKeySequence::SelectAll)) {
        d->anchor = 0;
        if (d->colorCount > 0)
            d->goTo(d->colorCount - 1, true);
    } else if (event->key() == Qt::Key_Space && d->colorCount > 0) {
        Q_EMIT colorClick(static_cast<unsigned short>(d->cursor),
                          control ? Qt::RightButton : Qt::LeftButton);
    } else {
        QWidget::keyPressEvent(event);
    }
}

void PaletteWidget::mousePressEvent(QMouseEvent *event)
{
    d->dropPress();
    const int cell = cellAt(event->pos());
    if (event->button() != Qt::LeftButton || cell < 0)
        return;
    d->pressedCell = static_cast<short>(cell);
    d->dragOffset = event->pos() - d->placeOf(cell);
}

void PaletteWidget::mouseMoveEvent(QMouseEvent *event)
{
    const int cell = cellAt(event->pos());
    if (d->pressedCell >= 0 && (d->dragging || cell != d->pressedCell)) {
        d->dragging = true;
        d->dragPos = event->pos();
        update();
    } else if (cell >= 0) {
        const RGBA color = d->object.at(static_cast<unsigned char>(cell));
        QToolTip::showText(
            event->globalPos(),
            QStringLiteral("%1, %2, %3, %4").arg(color.r).arg(color.g).arg(color.b).arg(color.a),
            this, QRect(d->placeOf(cell), QSize(d->cellSize, d->cellSize)));
    }
}

void PaletteWidget::mouseReleaseEvent(QMouseEvent *event)
{
    const QPointer<PaletteWidget> alive(this);
    const int cell = cellAt(event->pos());
    const int held = d->pressedCell;
    const bool dragged = d->dragging;
    // Before anything is told: what hears it may run events of its own.
    d->dropPress();
    if (cell < 0 || (dragged && cell == held))
        return;
    if (dragged)
        d->move(held, cell);
    else if (d->selectable)
        d->click(cell, event->button(), event->modifiers());
    if (alive)
        Q_EMIT colorClick(static_cast<unsigned short>(cell), event->button());
}

void PaletteWidget::mouseDoubleClickEvent(QMouseEvent *event)
{
    d->dropPress();
    const int cell = cellAt(event->pos());
    if (cell >= 0)
        Q_EMIT colorDblClick(static_cast<unsigned short>(cell));
}

} // namespace Kiln
