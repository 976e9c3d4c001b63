#pragma once

#include <kilnx/code/contactboxes.h>
#include <kilnx/export.h>
#include <kilnx/render/renderer.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointF>
#include <QtCore/QRect>
#include <QtCore/QSize>
#include <QtGui/QTransform>

#include <memory>

namespace Kiln
{

class GraphicsRendererPrivate;
class Sprite;
class SpriteProvider;

/// A renderer that can be zoomed: what GraphicsWorkspace shows.
class KILNX_EXPORT GraphicsRendererBase : public Renderer
{
public:
    ~GraphicsRendererBase() override;
    /// 1.0 for pixels in their own size.
    virtual float zoomFactor() const = 0;
    virtual void addZoom() = 0;
    virtual void subZoom() = 0;
    /// Back to pixels in their own size.
    virtual void zoomActual() = 0;
    /// Brings the middle of what is shown to the middle of the view.
    virtual void centralize() = 0;
};

/// The viewport of the animation and sprite editors: a background, the onion skin, the sprites of a
/// SpriteProvider, crosses, guide lines, contact boxes and rulers, around a movable origin, at one
/// of twelve zoom steps.
///
/// A host derives one class from it, in which it draws a sprite's pixels: paintSprite() and
/// paintOnionSprite() with a painter, drawSprite() and drawOnionSprite() with glDrawImage(). In all
/// four a picture covers the rectangle of `size` pixels whose upper left is `anchor` + `offset`, in
/// the widget's logical pixels. The viewport does the rest. It borrows the provider and the boxes,
/// and lets go of both when they are destroyed; no sprite may be destroyed before changed() of
/// their provider.
///
/// Drags change the viewport's own copies alone: itemMoved() tells each step, itemReleased() that
/// the new place is to be written to the text. setContactBoxes() brings the text's boxes back.
///
/// Image pixels are those of sprites and boxes at zoom 1; screen pixels the widget's logical ones.
/// Fractions of a pixel are rounded half away from zero.
class KILNX_EXPORT GraphicsRenderer : public QObject, public GraphicsRendererBase
{
    Q_OBJECT

public:
    enum ItemType {
        ItemCrossMain = 0,
        ItemCrossSecondary = 1,
        ItemCrossExtra = 2,
        ItemSprite = 3,
        ItemContactBoxes = 4
    };
    Q_ENUM(ItemType)
    /// What the left button does.
    enum ClickMode { ClickPositioning = 0, ClickDrawContactBox = 1, ClickCapture = 2 };
    /// What stays in place when the zoom changes.
    enum ZoomMode { ZoomOrigin = 0, ZoomCentre = 1 };
    enum BackgroundType { BackgroundGradient = 0, BackgroundStage = 1, BackgroundFile = 2 };
    enum CrossHairType { CrossHairBuiltIn = 0, CrossHairKept = 1, CrossHairFiles = 2 };
    /// How the onion skin is coloured; the numbers are those of Renderer::Effect.
    enum OnionEffect { OnionNormal = 0, OnionGrayscale = 1, OnionLighter = 2, OnionDarker = 3 };
    /// The parts of a position mode. `mode & PlaceMask` says what a position is relative to, and
    /// the two bits that it can be dragged along an axis.
    enum PositionMode : unsigned char {
        PlaceOnScreen = 0, ///< screen pixels, whatever zoom and origin
        PlaceOrigin = 1,   ///< image pixels from the origin
        PlaceCross = 2,    ///< image pixels from the cross that the parent number names
        PlaceSprite = 3,   ///< image pixels from the sprite that the parent number names
        DragX = 4,
        DragY = 8,
        PlaceMask = 0xF3
    };

    /// Of the rulers at the top and at the left, in screen pixels.
    static constexpr int RulerWidth = 30;

    explicit GraphicsRenderer(QObject *parent = nullptr);
    ~GraphicsRenderer() override;

    // What all viewports share: a change shows in all of them.

    /// The screen pixel at which image pixel (0, 0) stands.
    static QPoint origin();
    static void setOrigin(QPoint origin);
    /// A gradient from `top` to `bottom` and, over it, a picture: one of the built-in stages, by
    /// the width of `stage`, or `file` with its upper left at image pixel `position`.
    static void setBackground(const QColor &top,
                              const QColor &bottom,
                              BackgroundType type,
                              QPoint position,
                              const QString &file,
                              QSize stage);
    /// The pictures of the crosses. A file that does not exist gives the built-in picture.
    static void setCrossHair(CrossHairType type,
                             const QString &main,
                             const QString &secondary,
                             const QString &extra);
    /// The colours of boxes that hit and of boxes that can be hit, and how much their areas cover.
    static void setupContactBoxes(const QColor &first, const QColor &second, float opacity);
    /// What is drawn and hit above what.
    static void setPriority(bool spriteOverGuides, bool contactOverCross);
    static bool spriteOverGuides();
    static bool contactOverCross();
    static void setZoomMode(ZoomMode mode);
    /// The row of zoom factors that the steps mean: 0 finer ones up to 4, 1 whole ones up to 10.
    static void setZoomTable(unsigned char row);

    // Sprites.

    /// Shows what `provider` gives, or nothing for null. The provider stays the caller's.
    void setSprites(SpriteProvider *provider);
    SpriteProvider *spriteProvider() const;

    /// A turn by degrees, counter-clockwise, about a point in pixels of the mirrored picture.
    struct Turn {
        double angle = 0;
        QPointF pivot;

        /// What it does to a picture of `size` pixels that covers `area` of the view, whose y grows
        /// downwards.
        QTransform transform(const QRect &area, QSize size) const;
    };
    /// That of a sprite, by its provider's SpriteProvider::Angle and SpriteProvider::Pivot. The
    /// mouse finds the sprite where it is drawn so.
    Turn spriteTurn(int index) const;

    // What is shown.

    void setVisibility(bool cross1,
                       bool cross2,
                       bool cross3,
                       bool attackBoxes,
                       bool collisionBoxes,
                       bool rulers,
                       bool guides);
    /// x of the vertical and y of the horizontal guide, in image pixels.
    void setGuideLines(QPoint guides);
    QPoint guideLines() const;
    void setOnionSkin(bool enabled, OnionEffect effect, float opacity);
    /// The sprite of the onion skin, null for none, and its offset in image pixels. The caller
    /// takes it away before it is destroyed.
    void setOnionSkinSprite(const Sprite *sprite, QPoint offset);
    /// `index` counts sprites. Nothing for ItemContactBoxes and a sprite out of range.
    void setItemPosition(ItemType type, QPoint position, unsigned int index = 0);
    /// (0, 0) for ItemContactBoxes and a sprite out of range.
    QPoint itemPosition(ItemType type, unsigned int index = 0) const;
    /// `mode` is of PositionMode; `parent` the number of the cross or sprite that it is relative
    /// to. ItemContactBoxes stands for all boxes, and requests no repaint.
    void setItemPositionMode(ItemType type,
                             unsigned char mode,
                             unsigned int parent = 0,
                             unsigned int index = 0);
    /// The number of a cross, the first index of a sprite, -1 for all else.
    int indexOfItem(ItemType type, void *item) const;

    // Zoom.

    /// Step 0 to 11; 255 is step 0 and all above 11 step 11.
    void setZoomLevel(unsigned char level);
    unsigned char zoomLevel() const;
    float zoomFactor() const override;
    void addZoom() override;
    void subZoom() override;
    void zoomActual() override;
    /// Brings the origin to the middle of the view.
    void centralize() override;

    // Contact boxes.

    /// The boxes of a kind that are shown; null for none, and after they were destroyed.
    ContactBoxesCode *boxes(ContactBoxCode::BoxType type) const;
    /// Shows the boxes of one kind of a frame, or none for null. Boxes that did not change stay
    /// selected; kind 1 comes first, and starts a new selection.
    void setContactBoxes(ContactBoxCode::BoxType type, ContactBoxesCode *boxes);
    QList<ContactBoxCode *> selectedContactBoxes() const;
    /// The bounding box of the selected boxes in image pixels; not valid for none.
    QRect boxesSelectionRect() const;
    void deselectContactBoxes();
    /// Moves the viewport's copies of the selected boxes by image pixels, along the axes that they
    /// can be dragged on. updateSelectedBoxes() writes them to the text.
    void moveSelectedContactBoxes(QPoint step);
    /// Removes the selected boxes from the text.
    void removeSelectedContactBoxes();
    /// Writes the rectangles of the selected boxes to the text.
    void updateSelectedBoxes();

    /// The left button draws boxes of a kind, until the right one is clicked or Escape pressed.
    void setDrawContactBoxMode(ContactBoxCode::BoxType type);
    /// The left button picks and drags.
    void setPositioningMode();
    /// The left button picks the colour under it from a sprite.
    void setCaptureMode();
    ClickMode clickMode() const;

    /// Arrows move the selected boxes and Delete removes them; Escape takes a drag back, and
    /// without one it ends ClickDrawContactBox.
    void keyPressed(int key, Qt::KeyboardModifiers modifiers) override;
    void keyReleased(int key, Qt::KeyboardModifiers modifiers) override;
    void
    mousePressed(QPoint position, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) override;
    void mouseReleased(QPoint position,
                       Qt::MouseButton button,
                       Qt::KeyboardModifiers modifiers) override;
    void mouseMoved(QPoint mouse, Qt::KeyboardModifiers modifiers) override;
    /// One zoom step a notch, up to step 9.
    void mouseWheel(int delta) override;
    void sizeChanged(int width, int height) override;
    void render(QPainter &painter) override;

public Q_SLOTS:
    /// Reads one sprite of the provider anew.
    virtual void spriteChangedAt(unsigned int index);
    /// Reads all sprites of the provider anew.
    virtual void spritesChanged();

public:
    /// Draws one sprite with the painter. `flip` and `opacity` (0.0 to 1.0) are as the provider
    /// gives them, 0 where it says nothing. `sprite` is not null.
    virtual void paintSprite(QPainter &painter,
                             QPoint anchor,
                             QPoint offset,
                             QSize size,
                             float opacity,
                             unsigned char flip,
                             Sprite *sprite,
                             int index) = 0;
    /// Draws the onion skin with the painter.
    virtual void paintOnionSprite(QPainter &painter,
                                  const Sprite *sprite,
                                  QPoint anchor,
                                  QPoint offset,
                                  QSize size,
                                  float opacity,
                                  OnionEffect effect) = 0;
    /// paintSprite() through glDrawImage(). Blending is off at the first of a frame.
    virtual void drawSprite(QPoint anchor,
                            QPoint offset,
                            QSize size,
                            float opacity,
                            unsigned char flip,
                            Sprite *sprite,
                            int index) = 0;
    /// paintOnionSprite() through glDrawImage(). Blending is off at the first of a frame.
    virtual void drawOnionSprite(const Sprite *sprite,
                                 QPoint anchor,
                                 QPoint offset,
                                 QSize size,
                                 float opacity,
                                 OnionEffect effect) = 0;
    /// Adds a drawn box to the text and returns it; null refuses it, and it vanishes. Adds to the
    /// boxes that are shown unless overridden.
    virtual ContactBoxCode *appendContactBox(ContactBoxCode::BoxType type, const QRect &rect);

Q_SIGNALS:
    /// All sprites were read anew, and one of them.
    void changed();
    void changedAt(unsigned int index);
    /// A palette index was picked in ClickCapture.
    void colorCaptured(unsigned char index);
    /// The user left ClickDrawContactBox with the right button or Escape.
    void contactDrawingExit();
    /// The image pixel under the mouse.
    void cursorChanged(QPoint position);
    /// The user drags an item. `item` is the Sprite, null for a cross; `position` in image pixels,
    /// or screen pixels for PlaceOnScreen.
    void itemMoved(Kiln::GraphicsRenderer::ItemType type, void *item, QPoint position);
    /// The drag has ended: the position is to be written. For ItemContactBoxes by
    /// updateSelectedBoxes(), with `item` null and `position` (0, 0).
    void itemReleased(Kiln::GraphicsRenderer::ItemType type, void *item, QPoint position);
    /// Selected boxes are about to be removed from the text (true), and have been (false): whoever
    /// shows the boxes makes one step of undo of what is between.
    void removingContactBoxes(bool begins);
    /// The user drags a guide; see guideLines().
    void guideLinesMoved(QPoint guides);

protected:
    // The parts of a frame, in the order in which render() draws them.
    void renderBackground(QPainter &painter);
    void renderGuides(QPainter &painter);
    void renderOnionSkin(QPainter &painter);
    /// The sprites of one layer, in the order of the provider. render() draws layer 0.
    void renderSprites(QPainter &painter, unsigned char layer);
    void renderCross(QPainter &painter);
    /// The boxes of one kind. An invalid colour is the kind's own.
    void renderContactBoxes(QPainter &painter,
                            ContactBoxCode::BoxType type,
                            const QColor &fill,
                            const QColor &edge);
    void renderContactBoxSizers(QPainter &painter);
    void renderRulers(QPainter &painter);

private:
    friend class GraphicsRendererPrivate;
    std::unique_ptr<GraphicsRendererPrivate> d;
};

} // namespace Kiln
