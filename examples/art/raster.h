#pragma once

#include <QtCore/QVector>
#include <QtGui/QImage>
#include <QtGui/QPolygonF>

#include <array>

// Draws shaded pixel art out of a few simple shapes. Shapes are sampled sixteen times a pixel; a
// pixel takes the shape that most of its samples hit, and one of the five tones of the shape's
// material by how its bulging surface faces the light. No colour is mixed: what comes out has the
// materials' tones and nothing else, with clear pixels around.

/// The tones of a material: contour, shadow, middle, light, shine.
using Ramp = std::array<QRgb, 5>;

struct Shape {
    enum Kind { Capsule, Polygon };

    Kind kind = Capsule;
    /// A capsule has two points with a radius at each; a polygon has its corners.
    QVector<QPointF> points;
    double firstRadius = 1;
    double lastRadius = 1;
    int material = 0;
    /// How far from its edge a polygon bulges, in pixels.
    double bulge = 4;
    /// Whole tones to add: -1 for what lies in the shade of the figure.
    int tone = 0;
    /// Shapes of one group have no contour between them.
    int group = 0;
    /// Shines by itself: always the light tone inside, without shading.
    bool glows = false;
};

/// A picture under work: shapes in the order in which they cover each other. Coordinates are
/// pixels, y downward, from a point that lies `origin` inside the canvas.
class Canvas
{
public:
    Canvas(QSize size, QPointF origin, const QVector<Ramp> &ramps);

    void capsule(QPointF a, QPointF b, double ra, double rb, int material, int group, int tone = 0);
    void polygon(const QVector<QPointF> &corners,
                 int material,
                 int group,
                 int tone = 0,
                 double bulge = 4);
    void add(const Shape &shape);
    /// One pixel of a tone of a material, set after all shapes.
    void dot(QPointF at, int material, int tone);
    /// A lamp: surfaces that face it from within `reach` pixels are one tone lighter.
    void setLamp(QPointF at, double reach);

    /// ARGB32, every pixel clear or opaque.
    QImage render(bool contour = true) const;

private:
    struct Dot {
        QPointF at;
        int material;
        int tone;
    };
    struct Pixel {
        int shape = -1;
        double light = 0;
        double lamp = 0;
    };

    Pixel pixelAt(int x, int y) const;
    QRgb colorOf(const Pixel &pixel) const;

    QSize m_size;
    QPointF m_origin;
    QVector<Ramp> m_ramps;
    QVector<Shape> m_shapes;
    QVector<QRectF> m_bounds; // of the shapes
    QVector<Dot> m_dots;
    QPointF m_lamp;
    double m_reach = 0;
};
