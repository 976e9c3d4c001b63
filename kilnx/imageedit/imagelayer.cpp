#include <kilnx/imageedit/imagelayer.h>

#include <kilnx/imageedit/imagecanvas.h>
#include <kilnx/imageedit/imagecommands.h>

namespace Kiln
{

ImageLayer::ImageLayer(ImageCanvas *canvas)
    : canvas(canvas)
{
}

ImageLayer::ImageLayer(const ImageLayer &other)
    : canvas(other.canvas)
    , visible(other.visible)
    , name(other.name)
    , blendMode(other.blendMode)
    , opacity(other.opacity)
{
}

ImageLayer::~ImageLayer() = default;

void ImageLayer::paint(QPainter &painter) const
{
    painter.setCompositionMode(static_cast<QPainter::CompositionMode>(blendMode));
    painter.setOpacity(opacity);
}

void ImageLayer::release()
{
    if (--refCount == 0)
        delete this;
}

void ImageLayer::setName(const QString &newName, bool undo)
{
    if (newName == name)
        return;
    if (undo)
        canvas->undoStack.push(new ImageLayerName(this, name));
    name = newName;
    canvas->layers.layerChanged(this);
}

void ImageLayer::setBlendMode(int mode, bool undo)
{
    if (mode == blendMode)
        return;
    if (undo)
        canvas->undoStack.push(new ImageLayerBlend(this, blendMode));
    blendMode = mode;
    canvas->announceImage();
}

void ImageLayer::setOpacity(double newOpacity, bool undo)
{
    newOpacity = qBound(0.0, newOpacity, 1.0);
    if (newOpacity == opacity)
        return;
    if (undo)
        canvas->undoStack.push(new ImageLayerOpacity(this, opacity));
    opacity = newOpacity;
    canvas->announceImage();
}

} // namespace Kiln
