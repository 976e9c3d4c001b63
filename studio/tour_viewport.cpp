// The steps of the tour in the editor of animations.

#include "tour_p.h"

#include "mainactions.h"

#include <hostkit/actionregistry.h>
#include <hostkit/animationview.h>
#include <hostkit/codesurface.h>
#include <hostkit/settings.h>
#include <hostkit/theme.h>
#include <hostkit/viewport.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/framecode.h>
#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/graphicsworkspace.h>
#include <kilnx/render/timelinewidget.h>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QTest>
#include <QTreeWidget>
#include <QWheelEvent>

namespace Studio
{

using namespace HostKit;

namespace
{

const char animationFile[] = "heroes/wren/wren.flick";

int strikesIn(const QString &text)
{
    return text.count(QLatin1String("strike:"));
}

} // namespace

void Tour::goToText(const QString &part)
{
    const QString all = text();
    goToLine(all.leftRef(all.indexOf(part)).count(QLatin1Char('\n')));
    QTest::keyClick(d->window->host().surface()->editor(), Qt::Key_Home); // so that it can be read
}

void Tour::dragInView(QPoint from, QPoint to)
{
    const Viewport &view = d->window->host().animationView()->viewport();
    const auto place = [&view](QPoint at) {
        return Viewport::origin() + at * double(view.zoomFactor());
    };
    sendMouse(view.widget(), QEvent::MouseButtonPress, place(from));
    sendMouse(view.widget(), QEvent::MouseMove, place((from + to) / 2));
    sendMouse(view.widget(), QEvent::MouseMove, place(to));
    sendMouse(view.widget(), QEvent::MouseButtonRelease, place(to));
}

bool Tour::showFrame()
{
    const AnimationView *editor = d->window->host().animationView();
    if (!openFromTree(QLatin1String(animationFile)))
        return false;
    goToText(QStringLiteral("frame: wren_jab_2"));
    const Kiln::FrameCode *frame = editor->currentFrame();
    return check(editor->isActive(), "the editor is there") &&
           check(frame && frame->identifier() == QLatin1String("wren_jab_2"),
                 "the frame of the cursor's line is shown") &&
           check(editor->viewport().boxes(Kiln::ContactBoxCode::Attack)->count() == 1,
                 "so are its boxes") &&
           check(editor->graphicsWorkspace()->isOnOpenGL() == Kiln::GLRenderWidget::isSupported(),
                 "OpenGL paints where it works");
}

bool Tour::zoomFrame()
{
    const AnimationView *editor = d->window->host().animationView();
    Viewport &view = editor->viewport();
    const float before = view.zoomFactor();
    QWidget *widget = view.widget();
    const QPoint middle = widget->rect().center();
    QWheelEvent notch(middle, widget->mapToGlobal(middle), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(widget, &notch);
    return check(view.zoomFactor() > before, "the wheel zooms in");
}

// Plays a walk that has no end, types into the text meanwhile, and takes that back.
bool Tour::playFrames()
{
    AnimationView *editor = d->window->host().animationView();
    const QString before = text();
    goToText(QStringLiteral("@animation walk"));
    d->window->host().actionByKey("anim_play")->trigger();
    Kiln::TimeLineWidget *strip = editor->graphicsWorkspace()->timeLine();
    const bool ran = QTest::qWaitFor([strip] { return strip->currentTick() > 12; });
    QTextCursor cursor(d->window->host().surface()->document());
    cursor.insertText(QStringLiteral("; while she walks\n"));
    const bool plays = check(ran && editor->isPlaying(), "it plays, whatever is typed") &&
                       check(editor->currentFrame()->index() > 0, "another frame is shown");
    picture(d->step);
    d->window->host().actionByKey("anim_stop")->trigger();
    d->window->actions()->undo->trigger();
    goToText(QStringLiteral("frame: wren_jab_2"));
    return plays && check(!editor->isPlaying() && text() == before, "it stops");
}

bool Tour::alignFrames()
{
    const QString before = text();
    const auto open = [this] { d->window->host().actionByKey("anim_frame_align")->trigger(); };
    const bool answered = throughDialog(open, [this](QDialog *dialog) {
        auto *y = dialog->findChild<QDoubleSpinBox *>(QStringLiteral("y"));
        y->setValue(-8);
        picture(d->step);
        dialog->accept();
        return true;
    });
    const bool moved = answered && check(text() != before, "all frames of the animation are moved");
    d->window->actions()->undo->trigger();
    return moved && check(text() == before, "one step of undo takes it back");
}

bool Tour::showKeys()
{
    const auto open = [this] { d->window->actions()->keys->trigger(); };
    return throughDialog(open, [this](QDialog *dialog) {
        const auto *tree = dialog->findChild<QTreeWidget *>(QStringLiteral("keys_tree"));
        picture(d->step);
        dialog->reject();
        return check(tree && tree->topLevelItemCount() > 2, "the keys of all editors are listed");
    });
}

// Draws a box, drags one of its handles and moves it by a key, and takes all that back.
bool Tour::editBoxes()
{
    const AnimationView *editor = d->window->host().animationView();
    Viewport &view = editor->viewport();
    QWidget *widget = view.widget();
    const QString before = text();
    d->window->findChild<QAction *>(QStringLiteral("anim_box_add_attack"))->trigger();
    dragInView({-34, -66}, {-16, -44});
    const bool drawn =
        check(strikesIn(text()) == strikesIn(before) + 1, "the text has the new box");
    QTest::mouseClick(widget, Qt::RightButton);
    const QRect box = view.boxesSelectionRect();
    const QString drawnText = text();
    dragInView(box.topLeft(), box.topLeft() - QPoint(4, 3));
    QTest::keyClick(widget, Qt::Key_Down);
    const bool changed =
        drawn && check(view.boxesSelectionRect() == box.adjusted(-4, -2, 0, 1), "it is changed") &&
        check(strikesIn(text()) == strikesIn(drawnText) && text() != drawnText,
              "and so is its line");
    picture(d->step);
    for (int i = 0; i < 3; ++i)
        d->window->actions()->undo->trigger();
    return changed && check(text() == before, "three steps of undo take it all back");
}

// Plays and edits on the other render path, too.
bool Tour::paintNatively()
{
    const AnimationView *editor = d->window->host().animationView();
    d->window->host().settings().setValue("native_painting", true);
    d->window->host().settings().apply();
    const bool native = check(!editor->graphicsWorkspace()->isOnOpenGL(), "the painter paints") &&
                        check(editor->currentFrame(), "the same frame is shown") && playFrames() &&
                        editBoxes();
    d->window->host().settings().setValue("native_painting", false);
    d->window->host().settings().apply();
    return native;
}

bool Tour::darkFrame()
{
    if (!openFromTree(QLatin1String(animationFile)))
        return false;
    goToText(QStringLiteral("frame: wren_hook_2"));
    return check(Theme::isDark(), "the palette is dark") &&
           check(d->window->host().animationView()->currentFrame(), "the frame is shown");
}

} // namespace Studio
