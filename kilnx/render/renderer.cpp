#include <kilnx/render/renderer.h>

#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/glrenderwidget_p.h>
#include <kilnx/render/renderinput_p.h>

#include <QtCore/QPointer>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtGui/QWheelEvent>
#include <QtWidgets/QWidget>

namespace Kiln
{

RenderWidgetBase::~RenderWidgetBase() = default;

void RenderWidgetBase::updateArea(const QRect &)
{
    update();
}

Renderer::Renderer() = default;
Renderer::Renderer(const Renderer &other) = default;
Renderer &Renderer::operator=(const Renderer &other) = default;

Renderer::~Renderer()
{
    // A copy knows the widget, too, but is not shown by it.
    if (renderWidget && renderWidget->renderer() == this)
        renderWidget->setRenderer(nullptr);
}

void Renderer::keyPressed(int, Qt::KeyboardModifiers)
{
}

void Renderer::keyReleased(int, Qt::KeyboardModifiers)
{
}

void Renderer::mousePressed(QPoint, Qt::MouseButton, Qt::KeyboardModifiers)
{
}

void Renderer::mouseReleased(QPoint, Qt::MouseButton, Qt::KeyboardModifiers)
{
}

void Renderer::mouseMoved(QPoint, Qt::KeyboardModifiers)
{
}

void Renderer::mouseWheel(int)
{
}

void Renderer::sizeChanged(int, int)
{
}

QColor Renderer::clearColor() const
{
    return Qt::magenta;
}

void Renderer::update()
{
    if (renderWidget)
        renderWidget->update();
}

void Renderer::updateArea(const QRect &area)
{
    if (renderWidget)
        renderWidget->updateArea(area);
}

QWidget *Renderer::widget() const
{
    return dynamic_cast<QWidget *>(renderWidget);
}

GLRenderWidget *Renderer::glWidget() const
{
    return dynamic_cast<GLRenderWidget *>(renderWidget);
}

void Renderer::beginTextureDrawing(QPainter &painter)
{
    const GLRenderWidget *shown = glWidget();
    if (!shown)
        return;
    painter.beginNativePainting();
    shown->d->begin();
}

void Renderer::endTextureDrawing(QPainter &painter)
{
    const GLRenderWidget *shown = glWidget();
    if (!shown)
        return;
    shown->d->end();
    painter.endNativePainting();
}

void Renderer::glDrawImage(const QMatrix4x4 &matrix,
                           const Texture *image,
                           const Texture *palette,
                           unsigned char flip,
                           float opacity,
                           bool mask,
                           unsigned char effect)
{
    if (const GLRenderWidget *shown = glWidget())
        shown->d->drawImage({image, palette, opacity, mask}, matrix, flip, effect);
}

void Renderer::glDrawImageTiled(QPoint count,
                                QPoint spacing,
                                const QMatrix4x4 &matrix,
                                const Texture *image,
                                const Texture *palette,
                                unsigned char flip,
                                float opacity,
                                bool mask)
{
    if (const GLRenderWidget *shown = glWidget())
        shown->d->drawTiled({image, palette, opacity, mask}, matrix, flip, count, spacing);
}

bool Renderer::glSetBlend(bool enabled)
{
    const GLRenderWidget *shown = glWidget();
    if (!shown)
        return false;
    shown->d->setBlend(enabled);
    return enabled;
}

void Renderer::glSetBlendEquation(BlendEquation equation)
{
    constexpr int reverseSubtract = 0x800B;
    constexpr int add = 0x8006;
    if (const GLRenderWidget *shown = glWidget())
        shown->d->setBlendEquation(equation == BlendReverseSubtract ? reverseSubtract : add);
}

void Renderer::glSetBlendFunction(BlendFactor source, BlendFactor destination)
{
    constexpr int factors[] = {
        GL_ZERO, GL_ONE, GL_SRC_COLOR, GL_DST_COLOR, GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA,
    };
    const auto known = [](BlendFactor factor) {
        return factor >= 0 && factor <= BlendOneMinusSrcAlpha;
    };
    const GLRenderWidget *shown = glWidget();
    if (shown && known(source) && known(destination))
        shown->d->setBlendFunction(factors[source], factors[destination]);
}

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
