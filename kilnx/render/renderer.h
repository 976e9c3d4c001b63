#pragma once

#include <kilnx/export.h>

#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/Qt>
#include <QtGui/QColor>
#include <QtGui/QOpenGLFunctions>

class QMatrix4x4;
class QPainter;
class QWidget;

namespace Kiln
{

class GLRenderWidget;
class Renderer;
class RenderInput;
class Texture;

/// The face that RenderWidget and GLRenderWidget share: a widget that shows a Renderer, and does
/// not own it.
class KILNX_EXPORT RenderWidgetBase
{
public:
    virtual ~RenderWidgetBase();
    /// What is shown; null for nothing.
    virtual Renderer *renderer() const = 0;
    /// Shows another renderer, or none for null. The renderer leaves the widget that showed it.
    virtual void setRenderer(Renderer *renderer) = 0;
    /// Asks for a repaint.
    virtual void update() = 0;
    /// Asks for a repaint of a part, in logical pixels; of everything unless overridden. The
    /// painter that Renderer::render() gets is clipped to it.
    virtual void updateArea(const QRect &area);
};

/// A view: draws itself with a painter and takes the input of the widget that shows it. It can move
/// from one widget to another and keeps its state, so the user may switch how views are painted.
///
/// On a GLRenderWidget (`onOpenGL`) a renderer may draw textures too, between beginTextureDrawing()
/// and endTextureDrawing(). On a RenderWidget those operations do nothing, and render() does it all
/// with the painter. All positions and sizes are in logical pixels.
class KILNX_EXPORT Renderer : public QOpenGLFunctions
{
public:
    /// How a textured pixel joins what is there. Every value but BlendReverseSubtract adds.
    enum BlendEquation { BlendAdd = 0, BlendReverseSubtract = 1 };
    /// The factor of the textured pixel, and of what is there.
    enum BlendFactor {
        BlendZero = 0,
        BlendOne = 1,
        BlendSrcColor = 2,
        BlendDstColor = 3,
        BlendSrcAlpha = 4,
        BlendOneMinusSrcAlpha = 5
    };
    /// What glDrawImage() does to the colours; each is a program of its own.
    enum Effect : unsigned char {
        EffectNone = 0,
        EffectGrayscale = 1, ///< the red channel for all three
        EffectLighter = 2,   ///< half of the full scale more
        EffectDarker = 3     ///< half of the full scale less
    };

    Renderer();
    Renderer(const Renderer &other);
    Renderer &operator=(const Renderer &other);
    /// Leaves the widget that shows it.
    virtual ~Renderer();

    virtual void keyPressed(int key, Qt::KeyboardModifiers modifiers);
    virtual void keyReleased(int key, Qt::KeyboardModifiers modifiers);
    virtual void
    mousePressed(QPoint position, Qt::MouseButton button, Qt::KeyboardModifiers modifiers);
    virtual void
    mouseReleased(QPoint position, Qt::MouseButton button, Qt::KeyboardModifiers modifiers);
    /// Also without a button held.
    virtual void mouseMoved(QPoint position, Qt::KeyboardModifiers modifiers);
    /// `delta` is the vertical angle in eighths of a degree: 120 for one notch.
    virtual void mouseWheel(int delta);
    /// The widget's size, when it changes and when the renderer comes to a widget.
    virtual void sizeChanged(int width, int height);
    /// Draws the whole view: a RenderWidget clears nothing before.
    virtual void render(QPainter &painter) = 0;
    /// What a GLRenderWidget is filled with before render(), without its alpha. Magenta unless
    /// overridden, so that a renderer that forgets it shows.
    virtual QColor clearColor() const;

    /// Asks the widget for a repaint; nothing without a widget.
    void update();
    /// Asks the widget for a repaint of a part; nothing without a widget.
    void updateArea(const QRect &area);
    /// The widget that shows the renderer; null for none.
    QWidget *widget() const;

    /// Whether textures can be drawn. Set by the widget.
    bool onOpenGL = false;
    /// The widget that shows the renderer; null for none. Set by the widget.
    RenderWidgetBase *renderWidget = nullptr;

protected:
    /// Hands the view over from the painter to OpenGL. Blending is off.
    void beginTextureDrawing(QPainter &painter);
    /// Gives it back, with the state of OpenGL as the painter expects it.
    void endTextureDrawing(QPainter &painter);
    /// Draws one image. `matrix` takes the unit square, (0, 0) at the image's upper left, to
    /// pixels. Indices need a `palette`; for true colour it is null. `flip` bit 0 mirrors
    /// horizontally, bit 1 vertically. Without `mask`, transparent pixels are drawn as opaque ones.
    /// Draws nothing for a null or empty texture, or a palette as the image.
    void glDrawImage(const QMatrix4x4 &matrix,
                     const Texture *image,
                     const Texture *palette,
                     unsigned char flip,
                     float opacity,
                     bool mask,
                     unsigned char effect);
    /// Draws an image again and again, `count` columns and rows, `spacing` pixels apart. On an axis
    /// with a count below 2 the tiles fill the widget, from the left of or above it; one of them
    /// stands where `matrix` puts the image.
    void glDrawImageTiled(QPoint count,
                          QPoint spacing,
                          const QMatrix4x4 &matrix,
                          const Texture *image,
                          const Texture *palette,
                          unsigned char flip,
                          float opacity,
                          bool mask);
    /// Switches blending. Returns the argument; on a RenderWidget false.
    bool glSetBlend(bool enabled);
    void glSetBlendEquation(BlendEquation equation);
    void glSetBlendFunction(BlendFactor source, BlendFactor destination);

private:
    friend class RenderInput;
    GLRenderWidget *glWidget() const;

    // What the widgets have told it, so that none owes it a release.
    Qt::MouseButtons m_held;
    QPoint m_mouse;
};

} // namespace Kiln
