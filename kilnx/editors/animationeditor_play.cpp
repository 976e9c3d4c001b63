// Playback, and the animation as a row of the time line.

#include <kilnx/editors/animationeditor_p.h>
#include <kilnx/project/interface.h>
#include <kilnx/render/graphicsworkspace.h>

#include <QtCore/QScopedValueRollback>
#include <QtGui/QGuiApplication>
#include <QtGui/QPalette>

#include <algorithm>
#include <limits>

namespace Kiln
{

namespace
{

constexpr qint64 lastTick = std::numeric_limits<int>::max();

const QColor loopColor(70, 160, 90);
const QColor frameColor(90, 130, 190);

} // namespace

bool AnimationEditorPrivate::isPlaying() const
{
    const TimeLineWidget *strip = graphics->timeLine();
    return editor->isActive() && strip && strip->isPlaying();
}

/// Frames of 0 ticks are never seen, and nothing is behind one that is shown for ever.
void AnimationEditorPrivate::readTicks()
{
    starts.clear();
    startRows.clear();
    length = 0;
    endless = false;
    const AnimationCode *shown = animation();
    const int count = shown ? int(shown->frameCount()) : 0;
    for (int i = 0; i < count && !endless; ++i) {
        const int ticks = shown->frameAt(unsigned(i))->delay();
        if (ticks == 0)
            continue;
        starts.append(length);
        startRows.append(i);
        endless = ticks < 0;
        length = qMin(lastTick, length + (endless ? 1 : ticks));
    }
}

/// The row of the frame at a tick, the last one behind the end; -1 for none.
int AnimationEditorPrivate::frameAtTick(qint64 tick) const
{
    const auto behind = std::upper_bound(starts.cbegin(), starts.cend(), tick);
    return behind == starts.cbegin() ? -1 : startRows.at(int(behind - starts.cbegin()) - 1);
}

QString AnimationEditorPrivate::name()
{
    const AnimationCode *shown = animation();
    const TimeLineWidget *strip = graphics->timeLine();
    if (strip && isPlaying())
        return AnimationEditor::tr("%1 FPS").arg(qRound(strip->framesPerSecond()));
    const int frames = shown ? int(shown->frameCount()) : 0;
    return AnimationEditor::tr("%1 / %2 - %3 ticks")
        .arg(frames > 0 ? frameRow + 1 : 0)
        .arg(frames)
        .arg(length);
}

bool AnimationEditorPrivate::at(unsigned int tick, TimeLineCell &cell)
{
    const auto found = std::lower_bound(starts.cbegin(), starts.cend(), qint64(tick));
    const AnimationCode *shown = animation();
    if (!shown || found == starts.cend() || *found != qint64(tick))
        return false;
    const int index = int(found - starts.cbegin());
    const int at = startRows.at(index);
    const FrameCode *cellFrame = shown->frameAt(unsigned(at));
    cell.length = int((index + 1 < starts.size() ? starts.at(index + 1) : length) - *found);
    cell.color = at == frameRow ? QGuiApplication::palette().highlight().color()
                 : cellFrame && cellFrame->isLoopPoint() ? loopColor
                                                         : frameColor;
    return true;
}

/// The strip goes to where the frame begins, unless it is in the middle of it.
void AnimationEditorPrivate::showTick()
{
    TimeLineWidget *strip = graphics->timeLine();
    if (!strip || !editor->isActive())
        return;
    const QScopedValueRollback<bool> guard(settingTick, true);
    const auto begin = std::lower_bound(startRows.cbegin(), startRows.cend(), frameRow);
    const bool isIn = frameAtTick(strip->currentTick()) == frameRow;
    if (isIn && (isPlaying() || strip->currentTick() < length)) {
        strip->update();
        return;
    }
    if (isPlaying() && frame())
        return; // the next tick brings what it says now
    const qint64 tick = begin == startRows.cend() ? (starts.isEmpty() ? 0 : length - 1)
                                                  : starts.at(int(begin - startRows.cbegin()));
    strip->setCurrentTick(unsigned(qMax(qint64(0), tick)), false);
}

/// Whether playback ends: the last frame stays, or an animation says that it is played once.
bool AnimationEditorPrivate::endsBehindLastFrame() const
{
    AnimationCode *shown = animation();
    return endless || length == 0 || !shown || shown->property(QStringLiteral("Once")).toBool();
}

/// A tick behind the end as one from the loop point on; -1 for a loop that lasts no tick.
qint64 AnimationEditorPrivate::tickWithinLoop(qint64 tick) const
{
    const AnimationCode *shown = animation();
    qint64 from = 0;
    for (int i = 0; i < starts.size(); ++i) {
        // A loop point of 0 ticks stands for the frame behind it.
        const int after = i > 0 ? startRows.at(i - 1) : -1;
        for (int at = after + 1; at <= startRows.at(i); ++at) {
            if (shown->frameAt(unsigned(at))->isLoopPoint())
                from = starts.at(i);
        }
    }
    return length > from ? from + (tick - from) % (length - from) : -1;
}

void AnimationEditorPrivate::play()
{
    TimeLineWidget *strip = graphics->timeLine();
    if (!strip || !editor->isActive() || !frame() || length == 0) {
        Q_EMIT playing(false);
        return;
    }
    drawBoxes(ContactBoxCode::Attack, false);
    renderer->deselectContactBoxes();
    {
        const QScopedValueRollback<bool> guard(settingTick, true);
        if (strip->currentTick() + 1 >= length && endsBehindLastFrame())
            strip->setCurrentTick(0, false);
    }
    const QPointer<AnimationEditorPrivate> self(this);
    strip->play();
    if (!self)
        return;
    showAll();
    Q_EMIT playing(isPlaying());
    Q_EMIT stopped(!isPlaying());
}

void AnimationEditorPrivate::stop()
{
    if (!isPlaying())
        return;
    graphics->timeLine()->stop();
    Q_EMIT playing(false);
    Q_EMIT stopped(true);
    editor->stoppedAnimation();
}

void AnimationEditorPrivate::playChanged(bool on)
{
    if (on)
        play();
    else
        stop();
}

void AnimationEditorPrivate::stopChanged(bool)
{
    stop();
    Q_EMIT stopped(!isPlaying());
}

void AnimationEditorPrivate::tickChanged(unsigned int tick)
{
    if (settingTick || !editor->isActive() || !frame())
        return;
    qint64 shown = tick;
    if (isPlaying() && shown >= length) {
        const qint64 again = endsBehindLastFrame() ? -1 : tickWithinLoop(shown);
        if (again < 0) {
            const QScopedValueRollback<bool> guard(settingTick, true);
            graphics->timeLine()->setCurrentTick(unsigned(qMax(qint64(0), length - 1)), false);
            stop();
            return;
        }
        const QScopedValueRollback<bool> guard(settingTick, true);
        graphics->timeLine()->setCurrentTick(unsigned(again), false);
        shown = again;
    }
    const int at = frameAtTick(shown);
    if (at < 0)
        return;
    if (at != frameRow) {
        if (isPlaying())
            showPlayed(at);
        else
            select(lastRow, at, true);
    }
    const auto begin = std::lower_bound(startRows.cbegin(), startRows.cend(), at);
    if (isPlaying() && begin != startRows.cend() &&
        editor->interpolateFrames(frame(), int(shown - starts.at(int(begin - startRows.cbegin())))))
        Q_EMIT changed();
}

/// Another frame of the animation that is played: what does not depend on it stays as it is.
void AnimationEditorPrivate::showPlayed(int at)
{
    frameRow = at;
    animation()->setSelectedFrame(unsigned(at));
    shownFrame = frame();
    ++stamp;
    editor->frameChanged(frame());
}

} // namespace Kiln
