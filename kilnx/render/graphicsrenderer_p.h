#pragma once

#include <kilnx/render/graphicsrenderer.h>

#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QVector>
#include <QtGui/QBrush>
#include <QtGui/QImage>
#include <QtGui/QPixmap>
#include <QtWidgets/QWidget>

#include <cmath>
#include <memory>

namespace Kiln
{

/// Pixels from fractions and from sums, half away from zero. Results are kept where sums of a few
/// of them stay within int, far outside of every view.
namespace Pixels
{

constexpr int limit = 1 << 28;

inline int bounded(double value)
{
    return int(qBound(-double(limit), value, double(limit)));
}
inline QPoint bounded(QPoint point)
{
    return {bounded(double(point.x())), bounded(double(point.y()))};
}
inline int rounded(double value)
{
    return bounded(std::round(value));
}
inline QPoint rounded(const QPointF &point)
{
    return {rounded(point.x()), rounded(point.y())};
}
inline QPoint sum(QPoint a, QPoint b)
{
    return {bounded(double(a.x()) + b.x()), bounded(double(a.y()) + b.y())};
}
inline QPointF scaled(QPoint point, double factor)
{
    return {point.x() * factor, point.y() * factor};
}
/// A stored position, which may be anything, moved by a step.
inline int moved(int value, int step)
{
    return int(qBound<qint64>(INT_MIN, qint64(value) + step, INT_MAX));
}
inline QPoint moved(QPoint value, QPoint step)
{
    return {moved(value.x(), step.x()), moved(value.y(), step.y())};
}
/// Whether a point lies in a rectangle, which may have a negative size and then holds nothing.
inline bool holds(QPoint topLeft, QSize size, QPoint point)
{
    const qint64 x = qint64(point.x()) - topLeft.x();
    const qint64 y = qint64(point.y()) - topLeft.y();
    return x >= 0 && y >= 0 && x < size.width() && y < size.height();
}

} // namespace Pixels

/// A cross.
struct Item {
    bool visible = true;
    unsigned char mode = 13; // relative to the origin, free on both axes
    unsigned short parent = 0;
    QPoint position;
};

struct SpriteItem {
    unsigned char mode = 0;
    unsigned char layer = 0;
    unsigned short parent = 0;
    QPoint position;
    QSize size;
    QPointF scale;
    unsigned char flip = 0;
    float opacity = 0;
    Sprite *sprite = nullptr;
    GraphicsRenderer::Turn turn;
};

/// The view's copy of a box, in image pixels, and in fractions so that scaling a selection again
/// and again loses nothing.
struct ContactBox {
    ContactBoxCode *code = nullptr; // null while the box is being drawn
    QPointF position;
    QSizeF size;
    bool selected = false;
    QRectF base; // the rectangle in the text when a resize began

    QRect rect() const;
    void setRect(const QRect &rect);
};

struct ContactBoxGroup {
    ContactBoxesCode *source = nullptr;
    std::weak_ptr<const void> sourceLife;
    QVector<ContactBox> boxes; // those of the source, in order, then one that is being drawn
    bool visible = false;

    ContactBoxesCode *living() const { return sourceLife.expired() ? nullptr : source; }
    QVector<ContactBoxCode *> codes() const;
};

/// What all viewports share.
struct GraphicsStyle {
    QPoint origin;
    QPoint backgroundPosition;
    QColor backgroundTop = QColor(72, 76, 84);
    QColor backgroundBottom = QColor(40, 43, 48);
    QBrush backgroundBrush;
    QPixmap backgroundPixmap;
    QPixmap crossHairs[3];
    GraphicsRenderer::ZoomMode zoomMode = GraphicsRenderer::ZoomOrigin;
    unsigned char zoomTable = 0;
    bool spriteOverGuides = false;
    bool contactOverCross = false;
    QColor boxColors[2] = {QColor(220, 60, 60), QColor(70, 110, 230)};
    float boxOpacity = 1;
    QSet<GraphicsRenderer *> views;

    /// Made on first use, and gone when the application ends.
    static GraphicsStyle &instance();
    void setGradient(int height);
    void updateViews() const;
};

/// It and the viewport are defined in graphicsrenderer.cpp, graphicsrenderer_boxes.cpp (contact
/// boxes), graphicsrenderer_input.cpp (mouse and keys) and graphicsrenderer_paint.cpp; what all
/// viewports share, in graphicsrenderer_style.cpp.
class GraphicsRendererPrivate
{
public:
    /// Where the mouse is. Above HitBox come the handles of the selection.
    enum Hit {
        HitNone = 0,
        HitSprite = 1,
        HitCross = 2, // and 3 and 4: the number of the cross is added
        HitGuideHorizontal = 5,
        HitGuideVertical = 6,
        HitBox = 7,
        HitTopLeft = 8,
        HitTop = 9,
        HitLeft = 10,
        HitTopRight = 11,
        HitBottomLeft = 12,
        HitBottom = 13,
        HitBottomRight = 14,
        HitRight = 15
    };
    struct Target {
        int hit = HitNone;
        int group = -1; // of a box
        int index = -1; // of a box in its group, or of a sprite
    };

    explicit GraphicsRendererPrivate(GraphicsRenderer *renderer);

    GraphicsRenderer *const q;
    QSize viewSize;
    QPoint viewCentre;
    unsigned char zoomLevel = 3;
    float zoom = 1.0F;
    float previousZoom = 1.0F;
    bool guidesVisible = false;
    QPoint guides;
    GraphicsRenderer::OnionEffect onionEffect = GraphicsRenderer::OnionNormal;
    float onionOpacity = 0;
    bool onionEnabled = false;
    const Sprite *onionSprite = nullptr;
    QPoint onionOffset;
    bool rulersVisible = false;
    Item crosses[3];
    ContactBoxGroup contactBoxes[8]; // by BoxType - 1
    QRect selectionStart;
    QRect selectionRect;
    bool anySelected = false;
    unsigned char boxMode =
        GraphicsRenderer::PlaceCross | GraphicsRenderer::DragX | GraphicsRenderer::DragY;
    unsigned short boxParent = 0;
    QVector<SpriteItem> items;
    QPointer<SpriteProvider> provider;
    QImage captureImage;
    GraphicsRenderer::ClickMode clickMode = GraphicsRenderer::ClickPositioning;

    // The press.
    bool pressed = false;
    bool moved = false;
    QPoint lastPosition;
    QPoint dragStart; ///< where the sprite or cross stood that is dragged
    int currentBox = -1;
    int currentGroup = 0;
    int boxCountAtDrawStart = 0;
    int hit = HitNone;
    QPointer<QWidget> pressWidget; // the drag ends when another widget shows the view

    int readDepth = 0;             // of spritesChanged() within itself, by a provider that changes
    bool writing = false;          // boxes to the text; what comes back waits in `pending`
    bool pending = false;          // something came meanwhile
    QHash<qint64, QPixmap> labels; // of the rulers; void when colour, font or screen change
    QString labelLook;
    QColor labelInk;

    int thickness() const { return zoom > 1 ? Pixels::rounded(double(zoom)) : 1; }
    static int place(unsigned char mode) { return mode & GraphicsRenderer::PlaceMask; }
    static bool draggable(unsigned char mode)
    {
        return mode & (GraphicsRenderer::DragX | GraphicsRenderer::DragY);
    }

    Item *cross(GraphicsRenderer::ItemType type);
    SpriteItem *item(unsigned int index);
    QPoint *position(GraphicsRenderer::ItemType type, unsigned int index);

    // Places on the screen.
    QPoint anchor(unsigned char mode, unsigned short parent) const;
    QPoint onScreen(unsigned char mode, QPoint position) const;
    QPoint offset(const SpriteItem &item) const;
    QSize size(const SpriteItem &item) const;
    QPoint crossPoint(int cross) const;
    QPoint spritePoint(int index) const;
    QRect boxArea(const ContactBox &box, QPoint boxAnchor) const;
    QPoint boxAnchor() const { return anchor(boxMode, boxParent); }
    /// The eight places of the handles, in the order of the codes.
    void handlePoints(QPoint (&points)[8]) const;

    void prepareLabels(const QPainter &painter, const QColor &ink);
    void drawLabel(QPainter &painter, qint64 value, const QRect &area);

    void applyZoom();
    void setLevel(int level);

    // The mouse.
    Target hitTest(QPoint point) const;
    int fixedHit(unsigned char mode, unsigned short parent) const;
    Target hitGuides(QPoint point) const;
    Target hitBoxes(QPoint point) const;
    Target hitSprites(QPoint point) const;
    bool spriteHolds(int index, QPoint point) const;
    Target boxBelow(QPoint point, int group, int index) const;
    void showCursor(int code, Qt::KeyboardModifiers modifiers);
    void setCursor(Qt::CursorShape shape);
    void press(QPoint point, Qt::KeyboardModifiers modifiers);
    void pick(QPoint point, bool toggle);
    void capture(QPoint point);
    void drag(QPoint delta, QPoint scaled);
    QPoint *draggedPosition();
    void tellItem(void (GraphicsRenderer::*what)(GraphicsRenderer::ItemType, void *, QPoint));
    void dragSprite(QPoint delta, QPoint scaled);
    void dragCross(QPoint delta, QPoint scaled);
    void release(Qt::MouseButton button);
    void leaveDrawing();
    void endStrayDrag();

    // Boxes.
    bool boxesDraggable() const { return draggable(boxMode); }
    void startDrawing(QPoint point);
    void finishDrawing();
    ContactBox *drawn();
    void dropDrawing();
    void abandonDrag();
    template<typename Function>
    void forSelected(Function function);
    bool anySelectedIn(int group) const;
    void select(int group, int index);
    void clearSelection();
    void mergeSelection(const QRect &rect);
    void recomputeSelection();
    void startResize();
    void moveSelection(QPoint step);
    void resizeSelection(QPoint step, QPoint sizeStep);
    void readBoxes(ContactBoxGroup &group);
    void readAllBoxes();
    void beginWriting();
    void endWriting();
    QRect selectionArea() const;
};

template<typename Function>
void GraphicsRendererPrivate::forSelected(Function function)
{
    for (ContactBoxGroup &group : contactBoxes) {
        for (ContactBox &box : group.boxes) {
            if (box.selected)
                function(box);
        }
    }
}

} // namespace Kiln
