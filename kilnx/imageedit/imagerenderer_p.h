#pragma once

#include <kilnx/imageedit/imagerenderer.h>

#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtGui/QBrush>
#include <QtGui/QRegion>
#include <QtWidgets/QStackedLayout>

#include <array>

namespace Kiln
{

/// Squares of a picture for a painter that sends pictures to the card: only those that changed are
/// sent again. Void where invalidate() says so, and as a whole when the picture has another size.
class PictureTiles
{
public:
    void invalidate(const QRect &area);
    void clear() { m_tiles.clear(); }
    /// Draws what of `visible` is in the picture; the painter's unit is the picture's pixel.
    void draw(QPainter &painter, const QImage &picture, const QRect &visible);

private:
    static constexpr int side = 256;

    QHash<quint64, QImage> m_tiles;
};

class ImageRendererPrivate
{
public:
    explicit ImageRendererPrivate(ImageRenderer *renderer)
        : q(renderer)
    {
    }

    void compose();
    void composeArea(const QRect &area);
    void invalidate(const QRect &area);
    /// Screen pixels that show an area of the picture.
    QRect screenArea(const QRect &area) const;
    QRect mainView() const;
    QRect originalView() const;
    /// What the tool draws at the pointer.
    QRect overlayArea() const;
    void updateOverlay();

    void paintMain(QPainter &painter, const QRect &clip);
    void paintOriginal(QPainter &painter);
    void paintCheck(QPainter &painter, const QRect &area) const;
    void paintPicture(QPainter &painter,
                      const QImage &image,
                      PictureTiles &tiles,
                      const QRect &visible) const;
    void paintGrid(QPainter &painter, const QRect &visible) const;

    ImageRenderer *const q;
    QColor checks[2] = {QColor(204, 204, 204), QColor(255, 255, 255)};
    QColor background{96, 96, 96};
    QImage picture;     ///< what shows, but for `stale`
    QRegion stale;      ///< what of it is to be composed again
    PictureTiles tiles; ///< of the picture
    PictureTiles maskTiles;
    bool showLayers : 1;
    bool showSelection : 1;
    bool showGrid : 1;
    ImageLayer *current = nullptr;
    std::array<ImageTool *, ImageRenderer::ToolCount> tools = {};
    QPointer<QWidget> options;
    QPointer<QStackedLayout> stack;
    int active = ImageRenderer::CanvasMove;
    bool viewOriginal = false;

    QPoint offset;
    int zoomStep = 0;
    int wheelRest = 0; ///< eighths of a degree that make no notch yet
    QSize view;
    QPoint pointer; ///< where the mouse, or the keys, were last
    QPoint pointed; ///< the picture's pixel that was told of last
    bool pointerInside = false;
    QRect overlay;                       ///< what updateOverlay() asked to repaint last
    Qt::MouseButton held = Qt::NoButton; ///< the button of the drag under way
    bool heldByKey = false;              ///< and it is the Space key
    bool ownChange = false;              ///< a tool changes the canvas just now
    QPointer<QWidget> watched;           ///< the widget whose events tell that a drag is cut off
};

} // namespace Kiln
