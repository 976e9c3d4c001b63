#include <kilnx/render/glrenderwidget.h>

#include <kilnx/render/glrenderwidget_p.h>
#include <kilnx/render/texture.h>
#include <kilnx/render/texture_p.h>

#include <QtCore/QEvent>
#include <QtCore/QPointer>
#include <QtGui/QOpenGLContext>
#include <QtGui/QPainter>

namespace Kiln
{

GLRenderWidget::GLRenderWidget(QWidget *parent)
    : QOpenGLWidget(parent)
    , d(std::make_unique<GLRenderWidgetPrivate>(this))
{
    setAutoFillBackground(false);
    setAttribute(Qt::WA_MouseTracking, true);
    setUpdateBehavior(QOpenGLWidget::PartialUpdate);
}

GLRenderWidget::~GLRenderWidget()
{
    RenderInput::detach(d->renderer, nullptr, this);
    QObject::disconnect(d->contextConnection);
    if (context())
        d->releaseResources();
}

bool GLRenderWidget::isSupported()
{
    if (!Texture::hasContext())
        return false;
    QOpenGLContext *textures = TextureContext::get();
    const auto features = textures->functions()->openGLFeatures();
    return QOpenGLContext::globalShareContext() && features.testFlag(QOpenGLFunctions::Shaders) &&
           features.testFlag(QOpenGLFunctions::Multitexture);
}

Renderer *GLRenderWidget::renderer() const
{
    return d->renderer;
}

void GLRenderWidget::setRenderer(Renderer *renderer)
{
    RenderInput::detach(d->renderer, renderer, this);
    d->renderer = context() ? renderer : nullptr;
    if (!d->renderer) {
        if (renderer)
            renderer->renderWidget = nullptr;
        return;
    }
    makeCurrent();
    d->allWanted = true;
    renderer->onOpenGL = true;
    renderer->renderWidget = this;
    if (hasWorkingContext())
        renderer->initializeOpenGLFunctions();
    renderer->sizeChanged(width(), height());
}

void GLRenderWidget::update()
{
    d->allWanted = true;
    QOpenGLWidget::update();
}

void GLRenderWidget::updateArea(const QRect &area)
{
    // Qt always asks a widget of this kind to paint all of itself.
    d->areaWanted |= area;
    QOpenGLWidget::update();
}

void GLRenderWidget::setCustomPixelShader(const char *indexedSource, const char *rgbaSource)
{
    if (!context() || !d->indexedShaders.programs[0])
        return;
    const bool wasCurrent = QOpenGLContext::currentContext() == context();
    d->allWanted = true;
    if (hasWorkingContext() && !d->buildShaders(indexedSource, rgbaSource))
        d->buildShaders(nullptr, nullptr);
    if (!wasCurrent)
        doneCurrent();
}

void GLRenderWidget::initializeGL()
{
    QOpenGLContext *current = QOpenGLContext::currentContext();
    const bool wasCurrent = current == context();
    QOpenGLFunctions *gl = current->functions();
    gl->glClearColor(1, 1, 1, 1);
    gl->glDisable(GL_DEPTH_TEST);
    gl->glDisable(GL_STENCIL_TEST);
    if (!wasCurrent)
        makeCurrent();
    d->allWanted = true;
    d->contextConnection = QObject::connect(context(), &QOpenGLContext::aboutToBeDestroyed, this,
                                            [this] { d->releaseResources(); });
    const bool works = d->createResources();
    if (d->renderer)
        d->renderer->initializeOpenGLFunctions();
    if (!wasCurrent)
        doneCurrent();
    if (!works || !QOpenGLContext::areSharing(context(), TextureContext::get())) {
        fail();
        return;
    }
    Q_EMIT initialize();
}

void GLRenderWidget::paintGL()
{
    QOpenGLFunctions *gl = QOpenGLContext::currentContext()->functions();
    if (d->renderer) {
        const QColor color = d->renderer->clearColor();
        gl->glClearColor(float(color.redF()), float(color.greenF()), float(color.blueF()), 1);
    }
    if (!d->area.isEmpty())
        d->setScissor();
    gl->glClear(GL_COLOR_BUFFER_BIT);
    gl->glDisable(GL_SCISSOR_TEST);
    if (!d->renderer)
        return;
    QPainter painter(this);
    if (!d->area.isEmpty())
        painter.setClipRect(d->area);
    d->renderer->render(painter);
}

void GLRenderWidget::resizeGL(int width, int height)
{
    d->allWanted = true;
    if (d->renderer)
        d->renderer->sizeChanged(width, height);
    d->projection.setToIdentity();
    d->projection.ortho(QRect(0, 0, width, height));
}

bool GLRenderWidget::event(QEvent *event)
{
    const bool enabled = isEnabled();
    const QPointer<GLRenderWidget> self(this); // a handler may destroy the widget
    const bool used = QOpenGLWidget::event(event);
    // In another window it gets another context, and no paint event without one.
    if (self && event->type() == QEvent::Show && !context() && !size().isEmpty() &&
        window()->windowHandle()) {
        fail();
    }
    if (self && enabled)
        d->input.forward(event);
    return used;
}

/// Qt paints without asking whether the context is still there.
void GLRenderWidget::paintEvent(QPaintEvent *event)
{
    if (context() && !hasWorkingContext()) {
        fail();
        return;
    }
    d->area = d->allWanted ? QRect() : d->areaWanted;
    d->allWanted = false;
    d->areaWanted = QRect();
    QOpenGLWidget::paintEvent(event);
    d->area = QRect();
}

void GLRenderWidget::resizeEvent(QResizeEvent *event)
{
    if (context() && !hasWorkingContext()) {
        fail();
        return;
    }
    QOpenGLWidget::resizeEvent(event);
    if (!context() && !size().isEmpty())
        fail();
}

/// Makes the context current; false if it is lost.
bool GLRenderWidget::hasWorkingContext()
{
    if (!context()->isValid())
        return false;
    makeCurrent();
    return QOpenGLContext::currentContext() == context();
}

void GLRenderWidget::fail()
{
    if (d->hasFailed)
        return;
    d->hasFailed = true;
    QMetaObject::invokeMethod(this, &GLRenderWidget::failed, Qt::QueuedConnection);
}

} // namespace Kiln
