#pragma once

#include <kilnx/export.h>

#include <QtCore/QString>
#include <QtGui/QColor>
#include <QtWidgets/QWidget>

#include <memory>

namespace Kiln
{

class TimeLinePrivate;

/// What a row shows at a tick.
struct TimeLineCell {
    QColor color;
    int reserved = 0; ///< not read by the strip
    int length = 1;   ///< ticks that the item lasts that starts here
};

/// A row of the strip, which its maker owns and keeps until TimeLineWidget::clearTimeLines().
class KILNX_EXPORT TimeLine
{
public:
    virtual ~TimeLine() = default;
    /// The label at the left of the row.
    virtual QString name() = 0;
    /// Fills `cell` with what starts at a tick; false when nothing does.
    virtual bool at(unsigned int tick, TimeLineCell &cell) = 0;
};

/// A strip of rows against a ruler of ticks, and the clock of playback. A tick is the engine's unit
/// of time; playback runs at 60 of them a second.
///
/// The strip is exactly as high as its rows, and hidden without any. It turns over a page at a time
/// when the current tick leaves it. A click on a row sets the tick, the cursor can be dragged, and
/// the arrow keys go one tick to the left and right; the mouse does nothing during playback. GUI
/// thread only.
class KILNX_EXPORT TimeLineWidget : public QWidget
{
    Q_OBJECT

public:
    explicit TimeLineWidget(QWidget *parent = nullptr);
    ~TimeLineWidget() override;

    /// Appends a row, borrowed, and shows the strip.
    void addTimeLine(TimeLine *line);
    /// Forgets all rows and hides the strip. Playback goes on.
    void clearTimeLines();

    unsigned int currentTick() const;
    /// Goes to a tick and emits tickChanged(); with the same tick only if `force` is set.
    void setCurrentTick(unsigned int tick, bool force);

    unsigned int ticksPerSecond() const;
    /// For what reads it: playback keeps its pace.
    void setTicksPerSecond(unsigned int ticks);

    /// Plays from the current tick on, which is told at once, until stop(). A tick that comes late
    /// is paid back by shorter ones, so that the pace holds on the whole. Playing again starts
    /// anew.
    void play();
    void stop();
    bool isPlaying() const;
    /// The ticks a second that were shown lately, measured about once a second; 60 at first.
    float framesPerSecond() const;
    /// The row under the mouse when it was pressed, moved or released last.
    unsigned int hoverRow() const;
    /// The tick of the page that stands at an x of the strip, the first one at most 0 for labels.
    unsigned int tickAt(int x) const;

Q_SIGNALS:
    /// The current tick, which the user, the program or playback has gone to.
    void tickChanged(unsigned int tick);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    friend class TimeLinePrivate;
    std::unique_ptr<TimeLinePrivate> d;
};

} // namespace Kiln
