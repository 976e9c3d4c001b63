#include <kilnx/imageedit/imagetool.h>

#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/imagerenderer.h>

namespace Kiln
{

ImageTool::ImageTool(ImageRenderer *renderer)
    : QObject(renderer)
    , options(new QWidget)
    , renderer(renderer)
{
}

ImageTool::~ImageTool()
{
    delete options;
}

void ImageTool::layerChanged()
{
}

void ImageTool::selectionChanged()
{
}

void ImageTool::activate()
{
}

bool ImageTool::keyPressed(int)
{
    return false;
}

void ImageTool::mousePressed(Qt::KeyboardModifiers,
                             Qt::MouseButton,
                             QPoint screen,
                             QPoint image,
                             QCursor &)
{
    press(screen, image);
}

void ImageTool::mouseReleased(Qt::KeyboardModifiers, Qt::MouseButton, QPoint, QPoint, QCursor &)
{
    pressed = false;
}

void ImageTool::mouseMoved(Qt::KeyboardModifiers, Qt::MouseButton, QPoint, QPoint, QCursor &)
{
}

void ImageTool::paintCursor(QPainter &, QPoint, double)
{
}

bool ImageTool::paletteClicked(bool, unsigned char)
{
    return false;
}

void ImageTool::interrupt()
{
    if (!pressed)
        return;
    pressed = false;
    if (renderer)
        renderer->canvas.settleEdit();
    layerChanged(); // what a tool keeps of the drag is void
}

QRect ImageTool::takeTouched()
{
    return std::exchange(m_touched, QRect());
}

void ImageTool::press(QPoint screen, QPoint image)
{
    pressed = true;
    screenPos = screen;
    imagePos = image;
}

// --- CanvasMoveTool

CanvasMoveTool::CanvasMoveTool(ImageRenderer *renderer)
    : ImageTool(renderer)
{
    setObjectName(QStringLiteral("spr_tool_canvasmove"));
}

void CanvasMoveTool::mousePressed(Qt::KeyboardModifiers,
                                  Qt::MouseButton,
                                  QPoint screen,
                                  QPoint image,
                                  QCursor &cursor)
{
    if (!renderer)
        return;
    press(screen, image);
    m_start = renderer->offset();
    cursor.setShape(Qt::ClosedHandCursor);
}

void CanvasMoveTool::mouseReleased(Qt::KeyboardModifiers,
                                   Qt::MouseButton,
                                   QPoint,
                                   QPoint,
                                   QCursor &cursor)
{
    pressed = false;
    cursor.setShape(Qt::OpenHandCursor);
}

void CanvasMoveTool::mouseMoved(Qt::KeyboardModifiers,
                                Qt::MouseButton,
                                QPoint screen,
                                QPoint,
                                QCursor &cursor)
{
    cursor.setShape(pressed ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
    if (pressed && renderer)
        renderer->setOffset(m_start + screen - screenPos);
}

// --- PickerTool

PickerTool::PickerTool(ImageRenderer *renderer)
    : ImageTool(renderer)
{
    setObjectName(QStringLiteral("spr_tool_picker"));
}

void PickerTool::mouseReleased(Qt::KeyboardModifiers,
                               Qt::MouseButton released,
                               QPoint,
                               QPoint,
                               QCursor &)
{
    if (!std::exchange(pressed, false) || !renderer)
        return;
    button = released;
    ImagePainter *painter = renderer->painter();
    if (painter && painter->image->valid(imagePos))
        apply(painter);
}

void PickerTool::mouseMoved(Qt::KeyboardModifiers, Qt::MouseButton, QPoint, QPoint, QCursor &cursor)
{
    cursor.setShape(Qt::CrossCursor);
}

void PickerTool::apply(ImagePainter *painter)
{
    if (!painter->palette)
        return;
    if (button == Qt::LeftButton)
        painter->palette->setForegroundIndex(painter->colorAt(imagePos));
    else if (button == Qt::RightButton)
        painter->palette->setBackgroundIndex(painter->colorAt(imagePos));
}

// --- FloodFillTool

FloodFillTool::FloodFillTool(ImageRenderer *renderer)
    : PickerTool(renderer)
{
    setObjectName(QStringLiteral("spr_tool_paintbucket"));
}

/// A fill that would change nothing leaves no step.
void FloodFillTool::apply(ImagePainter *painter)
{
    if (!painter->palette)
        return;
    painter->setColor(painter->palette->foregroundIndex());
    if (painter->rawPixel(imagePos.x(), imagePos.y()) == painter->color ||
        !renderer->canvas.selection.contains(imagePos.x(), imagePos.y()))
        return;
    const RasterLayer *layer = renderer->beginEdit();
    if (!layer || !renderer)
        return;
    renderer->painter()->floodFill(imagePos);
    touch(layer->image.rect());
    Q_EMIT changed();
    if (renderer)
        renderer->canvas.settleEdit();
}

} // namespace Kiln
