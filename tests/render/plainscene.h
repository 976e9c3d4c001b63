#pragma once

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QRandomGenerator>
#include <QRect>
#include <QRectF>
#include <QVector>

#include <cmath>

/// Rounds half away from zero.
inline int away(double value)
{
    return int(value < 0 ? -std::floor(-value + 0.5) : std::floor(value + 0.5));
}

inline QRect rounded(const QRectF &rect)
{
    return {away(rect.x()), away(rect.y()), away(rect.width()), away(rect.height())};
}

/// A picture at random, a quarter of it of the colour that is clear; `blends` makes a third of the
/// colours opaque only in part.
QImage
randomPicture(QRandomGenerator &random, const QSize &size, bool indexed, bool blends = false);

/// The handles in the order of their codes: left, middle, right and top, middle, bottom.
constexpr QPoint handlePlaces[] = {{0, 0}, {1, 0}, {0, 1}, {2, 0}, {0, 2}, {1, 2}, {2, 2}, {2, 1}};

/// A frame of the viewport, described anew and painted pixel by pixel, without a painter: what the
/// library's two ways of painting are held against.
struct PlainScene {
    enum Blend { BlendNone, BlendAlpha, BlendAdd, BlendSubtract };
    struct Cross {
        bool visible;
        int mode, parent;
        QPoint position;
    };
    struct Sprite {
        QImage picture;
        int mode, parent;
        QPoint position;
        double scaleX, scaleY;
        int flip;
        double opacity;
        int layer;
    };
    struct Box {
        QRectF rect;
        bool selected;
    };

    QSize view;
    int ratio = 1; // device pixels of a logical one
    double zoom = 1;
    QPoint origin;
    QColor top, bottom;
    QImage stage; // the background's picture
    QPoint stagePosition;
    QImage crossPictures[3];
    Cross crosses[3];
    QVector<Sprite> sprites;
    QImage onion; // null for none
    QPoint onionOffset;
    double onionOpacity = 1;
    int onionEffect = 0;
    QVector<Box> boxes[2]; // that hit, and that can be hit
    QColor boxColors[2];
    double boxOpacity = 1;
    bool boxesVisible[2] = {true, true};
    int boxMode = 13, boxParent = 0;
    QRect selected; // around the selected boxes, in image pixels
    bool handlesShown = false;
    bool guidesVisible = false, rulersVisible = false;
    QPoint guides;
    bool spriteOverGuides = false, contactOverCross = false;

    /// Paints the frame, and says for each pixel by how much of 255 a painting may differ: 0 where
    /// nothing was blended, `spread` more for each blending, and 255 where the model does not know
    /// (pixels whose middle lies on the edge of a scaled picture's pixel).
    void paint();
    // One layer after another: the background, an area, and a picture as the card draws it.
    void clear();
    void fill(const QRect &area, const QColor &color, double alpha = 1);
    void image(const QImage &image,
               const QRect &area,
               int flip,
               double opacity,
               int effect,
               bool mask = true,
               Blend blend = BlendAlpha);
    /// Which pixels of a picture differ by more than they may; empty for none.
    QString differences(const QImage &picture) const;

    QImage picture;
    QVector<int> tolerance;
    int spread = 2;

    // Places on the screen.
    QPoint anchor(int mode, int parent, int depth = 0) const;
    QPoint offset(const Sprite &sprite) const;
    QSize sizeOf(const Sprite &sprite) const;
    QPoint crossPoint(int number) const;
    QRect boxArea(const QRectF &rect) const;
    /// The corner, edge or side `place` (0 to 2 on each axis) of what is selected.
    QPoint handle(QPoint place) const;
    QRect selection() const;

    /// What the mouse is on: the code, and the box or sprite.
    struct Target {
        int hit = 0, group = -1, index = -1;
    };
    /// `mode` is 0 for positioning, 1 for drawing boxes, 2 for capturing.
    Target hitTest(QPoint point, int mode) const;
    /// The first box at a point below one of a group.
    Target boxAt(QPoint point, int group, int below) const;

private:
    Target guideAt(QPoint point) const;
    Target handleOrBoxAt(QPoint point) const;
    int thickness() const;
    void put(int x, int y, const double (&color)[3], double share, double kept, int blur);
    void hatch(const QRect &area, const QColor &color, Qt::BrushStyle style);
    void unsure(const QRect &area);
    void paintBoxes(int group);
    void paintHandles();
    void paintGuides();
    void paintCrosses();
    void paintRulers();
    void label(int number, const QRect &area, const QColor &ink);
};
