#pragma once

#include <kilnx/export.h>
#include <kilnx/render/renderer.h>

#include <QtWidgets/QOpenGLWidget>

#include <memory>

class QOpenGLShaderProgram;

namespace Kiln
{

class GLRenderWidgetPrivate;

/// Shows a renderer through OpenGL, with small shader programs for textures beside the painter.
///
/// It has no context before its first show: a renderer that is set earlier is dropped. The owner
/// sets it when initialize() tells that the widget is ready.
class KILNX_EXPORT GLRenderWidget : public QOpenGLWidget, public RenderWidgetBase
{
    Q_OBJECT

public:
    explicit GLRenderWidget(QWidget *parent = nullptr);
    ~GLRenderWidget() override;

    /// Whether views can be shown through OpenGL here: there is a driver with shaders, and the
    /// application shares its contexts (Qt::AA_ShareOpenGLContexts). Called on the GUI thread.
    static bool isSupported();

    Renderer *renderer() const override;
    void setRenderer(Renderer *renderer) override;
    void update() override;
    void updateArea(const QRect &area) override;
    using QOpenGLWidget::update;

    /// Replaces the text of the pixel shaders, one for indexed images and one for true colour; null
    /// stands for the standard text. Each is compiled four times, for the last three with
    /// GRAYSCALE, LIGHTER or DARKER defined in front. A text that does not compile leaves the
    /// standard one. Does nothing before initialize().
    void setCustomPixelShader(const char *indexedSource, const char *rgbaSource);

Q_SIGNALS:
    /// There is a context, and a renderer can be set. Comes again after the context was made anew.
    void initialize();
    /// In every drawing of a texture, when the standard uniforms are set: a custom shader's own
    /// are set here.
    void setCustomShaderUniformValues(QOpenGLShaderProgram *program);
    /// OpenGL does not work, or does not any more, and nothing is shown. Comes once, from the
    /// event loop, so that the widget may be deleted on it.
    void failed();

protected:
    void initializeGL() override;
    void paintGL() override;
    void resizeGL(int width, int height) override;
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    friend class Renderer;
    bool hasWorkingContext();
    void fail();

    std::unique_ptr<GLRenderWidgetPrivate> d;
};

} // namespace Kiln
