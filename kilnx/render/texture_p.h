#pragma once

#include <QtCore/QObject>

class QOpenGLContext;

namespace Kiln
{

/// Carries the name of a texture from the thread that destroys it to the one that made this object.
class Resetter : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void resetOnRenderThread(unsigned int id);
};

namespace TextureContext
{

/// The context in which all textures live, made on first use; null where there is none.
QOpenGLContext *get();

} // namespace TextureContext
} // namespace Kiln
