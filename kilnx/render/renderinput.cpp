#include <kilnx/render/renderinput_p.h>

#include <kilnx/render/renderer.h>

#include <QtCore/QPointer>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>
#include <QtWidgets/QWidget>

namespace Kiln
{

RenderInput::RenderInput(QWidget *widget, const RenderWidgetBase *face)
    : m_widget(widget)
    , m_face(face)
{
    m_afterBox.setSingleShot(true);
    // Of what is still pressed then, Qt tells neither moves nor the release.
    QObject::connect(&m_afterBox, &QTimer::timeout, &m_afterBox,
                     [this] { releaseAllBut(Qt::NoButton, QGuiApplication::keyboardModifiers()); });
}

void RenderInput::forward(QEvent *event)
{
    Renderer *renderer = m_face->renderer();
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (renderer && event->type() == QEvent::KeyPress)
            renderer->keyPressed(key->key(), key->modifiers());
        else if (renderer)
            renderer->keyReleased(key->key(), key->modifiers());
        break;
    }
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseMove:
        forwardMouse(*static_cast<QMouseEvent *>(event));
        break;
    case QEvent::Wheel:
        if (renderer)
            renderer->mouseWheel(static_cast<QWheelEvent *>(event)->angleDelta().y());
        break;
    case QEvent::WindowBlocked:
        m_afterBox.stop();
        break;
    case QEvent::WindowUnblocked:
        m_afterBox.start(0); // not within the call that has opened the box
        break;
    default:
        break;
    }
}

void RenderInput::forwardMouse(const QMouseEvent &event)
{
    const QPointer<QWidget> alive(m_widget);
    const bool isRelease = event.type() == QEvent::MouseButtonRelease;
    // What is pressed now was released before.
    Qt::MouseButtons down = event.buttons();
    down.setFlag(event.button(), isRelease);
    releaseAllBut(down, event.modifiers());
    if (!alive)
        return;
    Renderer *renderer = m_face->renderer();
    if (!renderer)
        return;
    renderer->m_mouse = event.pos();
    renderer->m_held.setFlag(event.button(), !isRelease);
    if (event.type() == QEvent::MouseMove) {
        renderer->mouseMoved(event.pos(), event.modifiers());
    } else if (isRelease) {
        renderer->mouseReleased(event.pos(), event.button(), event.modifiers());
    } else {
        m_afterBox.stop();
        renderer->mousePressed(event.pos(), event.button(), event.modifiers());
    }
}

/// Tells the release of the buttons that are not down any more, where the mouse was told last.
void RenderInput::releaseAllBut(Qt::MouseButtons down, Qt::KeyboardModifiers modifiers)
{
    const QPointer<QWidget> alive(m_widget);
    while (alive && m_face->renderer() && (m_face->renderer()->m_held & ~down)) {
        Renderer *renderer = m_face->renderer();
        const auto lost = uint(renderer->m_held & ~down);
        const auto button = Qt::MouseButton(lost & ~(lost - 1));
        renderer->m_held.setFlag(button, false);
        renderer->mouseReleased(renderer->m_mouse, button, modifiers);
    }
}

void RenderInput::detach(Renderer *old, Renderer *renderer, const RenderWidgetBase *widget)
{
    if (old)
        old->renderWidget = nullptr;
    if (!renderer || !renderer->renderWidget || renderer->renderWidget == widget)
        return;
    RenderWidgetBase *other = renderer->renderWidget;
    renderer->renderWidget = nullptr;
    if (other->renderer() == renderer)
        other->setRenderer(nullptr);
}

} // namespace Kiln
