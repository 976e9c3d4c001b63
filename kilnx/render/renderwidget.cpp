#include <kilnx/render/renderwidget.h>

#include <kilnx/render/renderinput_p.h>

#include <QtCore/QPointer>
#include <QtGui/QPaintEvent>
#include <QtGui/QPainter>

namespace Kiln
{

RenderWidget::RenderWidget(QWidget *parent)
    : QWidget(parent)
    , m_input(std::make_unique<RenderInput>(this, this))
{
    setAutoFillBackground(false);
    setAttribute(Qt::WA_MouseTracking, true);
}

RenderWidget::~RenderWidget()
{
    RenderInput::detach(m_renderer, nullptr, this);
}

Renderer *RenderWidget::renderer() const
{
    return m_renderer;
}

void RenderWidget::setRenderer(Renderer *renderer)
{
    RenderInput::detach(m_renderer, renderer, this);
    m_renderer = renderer;
    if (!m_renderer)
        return;
    m_renderer->onOpenGL = false;
    m_renderer->renderWidget = this;
    m_renderer->sizeChanged(width(), height());
}

void RenderWidget::update()
{
    QWidget::update();
}

void RenderWidget::updateArea(const QRect &area)
{
    QWidget::update(area);
}

bool RenderWidget::event(QEvent *event)
{
    const bool enabled = isEnabled();
    const QPointer<RenderWidget> self(this); // a handler may destroy the widget
    const bool used = QWidget::event(event);
    if (self && enabled)
        m_input->forward(event);
    return used;
}

void RenderWidget::paintEvent(QPaintEvent *event)
{
    if (!m_renderer)
        return;
    QPainter painter(this);
    if (event->rect() != rect())
        painter.setClipRect(event->rect());
    m_renderer->render(painter);
}

void RenderWidget::resizeEvent(QResizeEvent *)
{
    if (m_renderer)
        m_renderer->sizeChanged(width(), height());
}

} // namespace Kiln
