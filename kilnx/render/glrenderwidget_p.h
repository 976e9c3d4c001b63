#pragma once

#include <kilnx/render/renderinput_p.h>

#include <QtCore/QObject>
#include <QtGui/QMatrix4x4>
#include <QtGui/QOpenGLBuffer>
#include <QtGui/QOpenGLVertexArrayObject>

class QOpenGLFunctions;
class QOpenGLShaderProgram;

namespace Kiln
{

class GLRenderWidget;
class Renderer;
class Texture;

/// The programs for one kind of image, by effect, and the places of their inputs. The four link
/// alike, so the places are those of the first.
struct ShaderSet {
    QOpenGLShaderProgram *programs[4] = {};
    int matrix = -1;
    int mask = -1;
    int position = -1;
    int texCoord = -1;
    int image = -1;
    int palette = -1;
    int opacity = -1;
};

/// One textured drawing, but for what is drawn.
struct TextureDrawing {
    const Texture *image = nullptr;
    const Texture *palette = nullptr;
    float opacity = 1;
    bool mask = true;
};

/// Defined in glrenderwidget_drawing.cpp.
///
/// The state of OpenGL that is kept to save calls is void when the painter had its turn: at each
/// begin(). The context takes all of it along when it goes.
class GLRenderWidgetPrivate
{
public:
    explicit GLRenderWidgetPrivate(GLRenderWidget *widget);

    Renderer *renderer = nullptr;
    ShaderSet indexedShaders;
    ShaderSet rgbaShaders;
    const Texture *currentPalette = nullptr;
    QOpenGLShaderProgram *currentProgram = nullptr;
    QMatrix4x4 projection;
    bool blendEnabled = false;
    int blendEquation = 0;     // of OpenGL; 0: not known
    int blendSource = -1;      // of OpenGL; -1: not known
    int blendDestination = -1; // of OpenGL; -1: not known

    GLRenderWidget *const q;
    RenderInput input;
    QMetaObject::Connection contextConnection;
    bool hasFailed = false;
    QRect area; // that the paint event at hand draws, in logical pixels; empty: all
    // What the next paint event draws. The picture of before is kept until the size changes.
    QRect areaWanted;
    bool allWanted = true;

    /// Keeps drawing within `area`.
    void setScissor();

    /// Makes the programs and the buffer on the current context; false if the shaders don't work.
    bool createResources();
    void releaseResources();
    bool buildShaders(const char *indexedSource, const char *rgbaSource);

    void begin();
    void end();
    void drawImage(const TextureDrawing &drawing,
                   const QMatrix4x4 &matrix,
                   unsigned char flip,
                   unsigned char effect);
    void drawTiled(const TextureDrawing &drawing,
                   const QMatrix4x4 &matrix,
                   unsigned char flip,
                   QPoint count,
                   QPoint spacing);
    void setBlend(bool enabled);
    void setBlendEquation(int equation);
    void setBlendFunction(int source, int destination);

private:
    bool buildSet(ShaderSet &set, const char *source);
    void forgetBlend();
    void useSet(const ShaderSet &set, unsigned char effect, const TextureDrawing &drawing);
    void setUniforms(const ShaderSet &set, const QMatrix4x4 &matrix, const TextureDrawing &drawing);
    void drawVertices(const ShaderSet &set, const float *vertices, int count);

    QOpenGLBuffer vertexBuffer;
    QOpenGLVertexArrayObject vertexArray; // made only where OpenGL draws nothing without one
    int painterVertexArray = 0;
    // What the buffer holds, if that is one quad: the texture coordinates of its edges.
    float quad[4] = {};
    bool holdsQuad = false;
};

} // namespace Kiln
