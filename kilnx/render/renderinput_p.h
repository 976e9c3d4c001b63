#pragma once

#include <QtCore/QTimer>

class QEvent;
class QMouseEvent;
class QWidget;

namespace Kiln
{

class Renderer;
class RenderWidgetBase;

/// A widget's way to the renderer that it shows: keys, the mouse and the wheel. It tells the end of
/// a press also when the release went elsewhere, to a box that was opened meanwhile or to nobody,
/// so that no drag goes on without a button: what was dragged stays where it was seen last.
class RenderInput
{
public:
    /// Both are the widget, which owns this.
    RenderInput(QWidget *widget, const RenderWidgetBase *face);

    /// Hands one of the widget's events on, and leaves those that are no input. The renderer, and
    /// the widget with it, may be gone afterwards.
    void forward(QEvent *event);

    /// Takes `renderer` from the widget that shows it, unless that is `widget`; and takes `old`
    /// from `widget`. Both may be null.
    static void detach(Renderer *old, Renderer *renderer, const RenderWidgetBase *widget);

private:
    void forwardMouse(const QMouseEvent &event);
    void releaseAllBut(Qt::MouseButtons down, Qt::KeyboardModifiers modifiers);

    QWidget *const m_widget;
    const RenderWidgetBase *const m_face;
    QTimer m_afterBox; // runs out when a modal box is gone; void when a button is pressed
};

} // namespace Kiln
