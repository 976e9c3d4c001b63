#include <kilnx/render/renderer.h>

#include <kilnx/render/glrenderwidget.h>
#include <kilnx/render/glrenderwidget_p.h>

#include <QtGui/QPainter>
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

} // namespace Kiln
