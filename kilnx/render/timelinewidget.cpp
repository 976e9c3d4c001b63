#include <kilnx/render/timelinewidget.h>

#include <kilnx/project/interface.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>

namespace Kiln
{

class TimeLinePrivate : public QObject
{
public:
    enum DragMode { DragNothing, DragRow, DragCursor };

    explicit TimeLinePrivate(TimeLineWidget *widget);

    void moveTo(unsigned int tick);
    void updateTick(unsigned int tick);
    void timeout();

    int cursorX() const;
    DragMode modeAt(QPoint position);
    unsigned int tickAt(int x) const;
    void showShape(DragMode mode);

    void paintRuler(QPainter &painter, const QRegion &wanted) const;
    void paintRow(QPainter &painter, int row, const QRegion &wanted) const;
    void paintBar(QPainter &painter, const QRect &bar, const TimeLineCell &cell) const;
    int barWidth(const TimeLineCell &cell) const;
    QRect columnAt(int column) const;
    QRect cellAt(int column, int row) const;

    TimeLineWidget *const widget;
    QList<TimeLine *> lines;
    unsigned int ticksPerSecond = 60;
    unsigned int currentTick = 0;
    QElapsedTimer elapsed;
    QTimer timer;
    float interval = 1000.0F / 60; ///< the wanted milliseconds of a tick
    float drift = 0;               ///< milliseconds carried over to the next tick
    struct {
        float framesPerSecond = 60;
        unsigned int frames = 0;       ///< since the last measure
        unsigned int milliseconds = 0; ///< likewise
    } rate;
    DragMode dragMode = DragNothing;
    unsigned int hoverRow = 0; ///< under the mouse
    bool pressed = false;
    int visibleTicks = 0; ///< beside the labels; 0 before the first layout
    unsigned int firstTick = 0;
    int rulerHeight = 20;
    int labelWidth = 125;
    int tickWidth = 6;
    int rowHeight = 30;
    bool resting = false;   ///< the timer stands still while a tick lets events through
    unsigned int plays = 0; ///< counts play() and stop(), which slots may call within a tick
};

TimeLinePrivate::TimeLinePrivate(TimeLineWidget *widget)
    : widget(widget)
{
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(int(interval));
    connect(&timer, &QTimer::timeout, this, &TimeLinePrivate::timeout);
}

void TimeLinePrivate::moveTo(unsigned int tick)
{
    const unsigned int tickBefore = currentTick;
    const unsigned int pageBefore = firstTick;
    currentTick = tick;
    firstTick = tick - tick % unsigned(qMax(1, visibleTicks));
    firstTick -= firstTick % 10;
    if (firstTick == pageBefore) {
        // What the rows say is asked for anew by whoever changes it; labels may tell the tick.
        updateTick(tickBefore);
        updateTick(tick);
        widget->update(0, rulerHeight, labelWidth, widget->height() - rulerHeight);
    } else {
        widget->update();
    }
    Q_EMIT widget->tickChanged(tick);
}

/// Nothing for a tick of another page.
void TimeLinePrivate::updateTick(unsigned int tick)
{
    const qint64 column = qint64(tick) - firstTick;
    if (column >= 0 && column <= visibleTicks)
        widget->update(columnAt(int(column)));
}

void TimeLinePrivate::timeout()
{
    const QPointer<TimeLineWidget> alive(widget);
    const unsigned int playing = plays;
    moveTo(currentTick + 1);
    if (!alive || playing != plays)
        return;
    // With its fraction: half a millisecond lost at each tick is two ticks a second.
    const float took = float(elapsed.nsecsElapsed()) / 1e6F;
    elapsed.start();
    drift += interval - took;
    rate.milliseconds += unsigned(qRound(took));
    ++rate.frames;
    if (rate.milliseconds >= 1000)
        rate = {float(rate.frames * 1000.0 / rate.milliseconds), 0, 0};
    // What waits to be painted is painted before the next tick.
    timer.stop();
    resting = true;
    QCoreApplication::processEvents();
    if (!alive || playing != plays)
        return;
    resting = false;
    timer.start(int(qMax(0.0F, drift + interval)));
}

int TimeLinePrivate::cursorX() const
{
    // Far away the cursor is out of sight.
    const qint64 column = qBound(qint64(-1), qint64(currentTick) - firstTick, qint64(1) << 16);
    return int(column) * tickWidth + labelWidth;
}

TimeLinePrivate::DragMode TimeLinePrivate::modeAt(QPoint position)
{
    const int cursor = cursorX();
    if (position.x() >= cursor && position.x() < cursor + tickWidth)
        return DragCursor;
    if (position.x() <= labelWidth)
        return DragNothing;
    hoverRow = unsigned(qMax(0, position.y() - rulerHeight) / rowHeight);
    return DragRow;
}

unsigned int TimeLinePrivate::tickAt(int x) const
{
    const qint64 tick = qint64(firstTick) + (x - labelWidth) / tickWidth;
    return unsigned(qBound(qint64(0), tick, qint64(UINT_MAX)));
}

void TimeLinePrivate::showShape(DragMode mode)
{
    widget->setCursor(mode == DragCursor ? Qt::SizeHorCursor : Qt::ArrowCursor);
}

QRect TimeLinePrivate::cellAt(int column, int row) const
{
    return {labelWidth + tickWidth * column, rulerHeight + rowHeight * row, tickWidth, rowHeight};
}

QRect TimeLinePrivate::columnAt(int column) const
{
    return {labelWidth + tickWidth * column, 0, tickWidth, widget->height()};
}

void TimeLinePrivate::paintRuler(QPainter &painter, const QRegion &wanted) const
{
    constexpr int reach = 20; // of a number to both sides
    painter.setPen(QPen(widget->palette().color(QPalette::WindowText), 0));
    for (int column = 0; column < visibleTicks; ++column) {
        if (!wanted.intersects(columnAt(column).adjusted(-reach, 0, reach, 0)))
            continue;
        const unsigned int tick = firstTick + unsigned(column);
        const int x = labelWidth + tickWidth / 2 + tickWidth * column;
        const bool isNumbered = tick % 5 == 0;
        painter.drawLine(x, rulerHeight - (isNumbered ? 10 : 6), x, rulerHeight - 1);
        if (isNumbered)
            painter.drawText(QRect(x - reach, 0, 2 * reach, rulerHeight - 10), Qt::AlignCenter,
                             QString::number(tick));
    }
}

void TimeLinePrivate::paintRow(QPainter &painter, int row, const QRegion &wanted) const
{
    const QPalette &colors = widget->palette();
    const QRect label(8, rulerHeight + rowHeight * row + 2, labelWidth - 16, rowHeight - 4);
    TimeLine *line = lines[row];
    painter.setPen(colors.color(QPalette::Text));
    painter.drawText(
        label, Qt::AlignCenter,
        widget->fontMetrics().elidedText(line->name(), Qt::ElideRight, label.width() + 1));
    painter.setPen(colors.color(QPalette::Window).darker(300));
    for (int column = 0; column < visibleTicks; ++column) {
        const QRect area = cellAt(column, row);
        TimeLineCell cell;
        const bool starts = line->at(firstTick + unsigned(column), cell);
        const QRect bar(area.x() + area.width(), area.y(), starts ? barWidth(cell) : 0, rowHeight);
        if (!bar.isEmpty() && wanted.intersects(bar))
            paintBar(painter, bar, cell);
        // The edge takes a pixel more than the area, or two where pixels are fractions.
        if (!wanted.intersects(area.adjusted(-1, -1, 2, 2)))
            continue;
        painter.setBrush(starts ? QBrush(cell.color) : QBrush(Qt::NoBrush));
        painter.drawRect(area);
    }
}

/// Of what follows the cell, as far as it can be seen.
int TimeLinePrivate::barWidth(const TimeLineCell &cell) const
{
    return qMin(qMax(0, cell.length - 1), visibleTicks + 1) * tickWidth;
}

/// It grows towards the colour as it leaves the cell.
void TimeLinePrivate::paintBar(QPainter &painter, const QRect &bar, const TimeLineCell &cell) const
{
    QLinearGradient gradient(bar.x(), 0, bar.x() + double(cell.length - 1) * tickWidth, 0);
    gradient.setColorAt(0, widget->palette().color(QPalette::Window));
    gradient.setColorAt(1, cell.color);
    painter.save();
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    painter.setOpacity(0.33);
    painter.drawRect(bar);
    painter.restore();
}

TimeLineWidget::TimeLineWidget(QWidget *parent)
    : QWidget(parent)
    , d(std::make_unique<TimeLinePrivate>(this))
{
    setObjectName(QStringLiteral("time_line"));
    setAccessibleName(tr("Time line"));
    setAutoFillBackground(false);
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);
    hide();
}

TimeLineWidget::~TimeLineWidget() = default;

void TimeLineWidget::addTimeLine(TimeLine *line)
{
    d->lines.append(line);
    if (const Interface *host = Interface::instance())
        d->rulerHeight = host->scaled(20);
    setFixedHeight(d->rowHeight * d->lines.size() + d->rulerHeight);
    show();
    update();
}

void TimeLineWidget::clearTimeLines()
{
    d->lines.clear();
    hide();
}

unsigned int TimeLineWidget::currentTick() const
{
    return d->currentTick;
}

void TimeLineWidget::setCurrentTick(unsigned int tick, bool force)
{
    if (tick != d->currentTick || force)
        d->moveTo(tick);
    else
        update();
}

unsigned int TimeLineWidget::ticksPerSecond() const
{
    return d->ticksPerSecond;
}

void TimeLineWidget::setTicksPerSecond(unsigned int ticks)
{
    d->ticksPerSecond = ticks;
    update();
}

void TimeLineWidget::play()
{
    ++d->plays;
    d->resting = false;
    d->drift = 0;
    d->rate = {};
    d->elapsed.restart();
    d->timer.start(int(d->interval));
    Q_EMIT tickChanged(d->currentTick);
}

void TimeLineWidget::stop()
{
    ++d->plays;
    d->resting = false;
    d->timer.stop();
}

bool TimeLineWidget::isPlaying() const
{
    return d->timer.isActive() || d->resting;
}

float TimeLineWidget::framesPerSecond() const
{
    return d->rate.framesPerSecond;
}

unsigned int TimeLineWidget::hoverRow() const
{
    return d->hoverRow;
}

unsigned int TimeLineWidget::tickAt(int x) const
{
    return d->tickAt(x);
}

void TimeLineWidget::mousePressEvent(QMouseEvent *event)
{
    if (!isPlaying()) {
        d->dragMode = d->modeAt(event->pos());
        d->pressed = true;
    }
    setFocus(Qt::OtherFocusReason);
}

void TimeLineWidget::mouseMoveEvent(QMouseEvent *event)
{
    if (isPlaying())
        return;
    if (event->buttons() == Qt::NoButton)
        d->pressed = false; // the release went elsewhere, to a box perhaps
    if (!d->pressed) {
        d->showShape(d->modeAt(event->pos()));
        return;
    }
    const unsigned int tick = d->tickAt(event->x());
    if (d->dragMode == TimeLinePrivate::DragCursor && tick != d->currentTick)
        d->moveTo(tick);
}

void TimeLineWidget::mouseReleaseEvent(QMouseEvent *event)
{
    const bool isClick = d->pressed && d->dragMode == TimeLinePrivate::DragRow && !isPlaying();
    d->pressed = false;
    const unsigned int tick = d->tickAt(event->x());
    const QPointer<TimeLineWidget> alive(this);
    if (isClick && tick != d->currentTick)
        d->moveTo(tick);
    if (alive && !isPlaying())
        d->showShape(d->modeAt(event->pos()));
}

void TimeLineWidget::keyPressEvent(QKeyEvent *event)
{
    const bool isLeft = event->key() == Qt::Key_Left;
    if (!isLeft && event->key() != Qt::Key_Right) {
        QWidget::keyPressEvent(event);
        return;
    }
    const unsigned int tick = d->currentTick;
    if (isLeft && tick == 0)
        update();
    else
        d->moveTo(isLeft ? tick - 1 : tick + 1);
}

void TimeLineWidget::resizeEvent(QResizeEvent *)
{
    d->visibleTicks = qMax(0, width() - d->labelWidth) / d->tickWidth;
}

void TimeLineWidget::paintEvent(QPaintEvent *event)
{
    const QRegion wanted = event->region();
    QPainter painter(this);
    d->paintRuler(painter, wanted);
    for (int row = 0; row < d->lines.size(); ++row)
        d->paintRow(painter, row, wanted);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::yellow);
    painter.drawRect(d->cursorX() + (d->tickWidth - 2) / 2, 0, 2, height());
}

} // namespace Kiln
