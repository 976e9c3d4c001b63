#include "raster.h"

#include <QtCore/QVarLengthArray>

#include <cmath>

namespace
{

constexpr int samples = 4; // along each side of a pixel

struct Normal {
    double x = 0;
    double y = 0;
    double z = 1;
};

double dot(QPointF a, QPointF b)
{
    return a.x() * b.x() + a.y() * b.y();
}

double lengthOf(QPointF v)
{
    return std::hypot(v.x(), v.y());
}

QPointF nearestOn(QPointF a, QPointF b, QPointF p, double &t)
{
    const QPointF along = b - a;
    const double square = dot(along, along);
    t = square > 0 ? qBound(0.0, dot(p - a, along) / square, 1.0) : 0.0;
    return a + along * t;
}

/// The surface of a half-sphere over a disc: `off` is the way from its middle, in radii.
Normal bulging(QPointF off)
{
    const double square = qMin(1.0, dot(off, off));
    return {off.x(), off.y(), std::sqrt(1.0 - square)};
}

bool hitCapsule(const Shape &shape, QPointF p, Normal &normal)
{
    double t = 0;
    const QPointF off = p - nearestOn(shape.points[0], shape.points[1], p, t);
    const double radius = shape.firstRadius + (shape.lastRadius - shape.firstRadius) * t;
    if (radius <= 0 || lengthOf(off) > radius)
        return false;
    normal = bulging(off / radius);
    return true;
}

bool hitPolygon(const Shape &shape, QPointF p, Normal &normal)
{
    if (!QPolygonF(shape.points).containsPoint(p, Qt::WindingFill))
        return false;
    QPointF toEdge;
    double nearest = 1e9;
    for (int i = 0; i < shape.points.size(); ++i) {
        double t = 0;
        const QPointF edge =
            nearestOn(shape.points[i], shape.points[(i + 1) % shape.points.size()], p, t);
        if (lengthOf(edge - p) < nearest) {
            nearest = lengthOf(edge - p);
            toEdge = edge - p;
        }
    }
    const double steep = qMax(0.0, 1.0 - nearest / shape.bulge);
    normal = bulging(nearest > 1e-6 ? toEdge / nearest * steep : QPointF());
    return true;
}

bool hits(const Shape &shape, QPointF p, Normal &normal)
{
    return shape.kind == Shape::Capsule ? hitCapsule(shape, p, normal)
                                        : hitPolygon(shape, p, normal);
}

/// The light comes from the upper left, a little from the front.
double lightOn(const Normal &n)
{
    return n.x * -0.48 + n.y * -0.68 + n.z * 0.55;
}

} // namespace

Canvas::Canvas(QSize size, QPointF origin, const QVector<Ramp> &ramps)
    : m_size(size)
    , m_origin(origin)
    , m_ramps(ramps)
{
}

void Canvas::capsule(QPointF a, QPointF b, double ra, double rb, int material, int group, int tone)
{
    Shape shape;
    shape.points = {a, b};
    shape.firstRadius = ra;
    shape.lastRadius = rb;
    shape.material = material;
    shape.group = group;
    shape.tone = tone;
    add(shape);
}

void Canvas::polygon(const QVector<QPointF> &corners,
                     int material,
                     int group,
                     int tone,
                     double bulge)
{
    Shape shape;
    shape.kind = Shape::Polygon;
    shape.points = corners;
    shape.material = material;
    shape.group = group;
    shape.tone = tone;
    shape.bulge = bulge;
    add(shape);
}

void Canvas::add(const Shape &shape)
{
    const double reach =
        shape.kind == Shape::Capsule ? qMax(shape.firstRadius, shape.lastRadius) : 0.0;
    const double rest = reach + 0.01; // for what rounding adds
    m_shapes.append(shape);
    m_bounds.append(
        QPolygonF(shape.points).boundingRect().normalized().adjusted(-rest, -rest, rest, rest));
}

void Canvas::dot(QPointF at, int material, int tone)
{
    m_dots.append({at, material, tone});
}

void Canvas::setLamp(QPointF at, double reach)
{
    m_lamp = at;
    m_reach = reach;
}

Canvas::Pixel Canvas::pixelAt(int x, int y) const
{
    const QRectF area(QPointF(x, y) - m_origin, QSizeF(1, 1));
    QVarLengthArray<int, 64> near; // the shapes that can cover the pixel
    for (int i = 0; i < m_shapes.size(); ++i) {
        if (m_bounds[i].intersects(area))
            near.append(i);
    }
    if (near.isEmpty())
        return Pixel();
    QVector<int> counts(m_shapes.size(), 0);
    QVector<double> lights(m_shapes.size(), 0.0);
    QVector<double> lamps(m_shapes.size(), 0.0);
    int covered = 0;
    for (int i = 0; i < samples * samples; ++i) {
        const QPointF p =
            QPointF(x + (i % samples + 0.5) / samples, y + (i / samples + 0.5) / samples) -
            m_origin;
        Normal normal;
        int rank = near.size() - 1;
        while (rank >= 0 && !hits(m_shapes[near[rank]], p, normal))
            --rank;
        if (rank < 0)
            continue;
        const int top = near[rank];
        ++covered;
        ++counts[top];
        lights[top] += lightOn(normal);
        const QPointF way = m_lamp - p;
        const double distance = lengthOf(way);
        if (m_reach > 0 && distance < m_reach && distance > 0)
            lamps[top] +=
                qMax(0.0, (normal.x * way.x() + normal.y * way.y()) / distance * 0.8 + 0.35) *
                (1.0 - distance / m_reach);
    }
    Pixel pixel;
    if (covered * 2 < samples * samples)
        return pixel;
    for (int i = 0; i < m_shapes.size(); ++i) {
        if (counts[i] > 0 && (pixel.shape < 0 || counts[i] > counts[pixel.shape]))
            pixel.shape = i;
    }
    pixel.light = lights[pixel.shape] / counts[pixel.shape];
    pixel.lamp = lamps[pixel.shape] / counts[pixel.shape];
    return pixel;
}

QRgb Canvas::colorOf(const Pixel &pixel) const
{
    const Shape &shape = m_shapes[pixel.shape];
    const Ramp &ramp = m_ramps[shape.material];
    if (shape.glows)
        return ramp[pixel.light > 0.35 ? 4 : 3];
    const double light = pixel.light + pixel.lamp * 1.1;
    int tone = light > 0.92 ? 4 : light > 0.62 ? 3 : light > 0.1 ? 2 : 1;
    tone += shape.tone;
    return ramp[qBound(1, tone, 4)];
}

QImage Canvas::render(bool contour) const
{
    const int width = m_size.width();
    const int height = m_size.height();
    QVector<Pixel> pixels(width * height);
    for (int i = 0; i < pixels.size(); ++i)
        pixels[i] = pixelAt(i % width, i / width);

    const auto shapeAt = [&](int x, int y) {
        return x >= 0 && y >= 0 && x < width && y < height ? pixels[y * width + x].shape : -1;
    };
    QImage image(m_size, QImage::Format_ARGB32);
    image.fill(0);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int own = shapeAt(x, y);
            if (own < 0)
                continue;
            QRgb color = colorOf(pixels[y * width + x]);
            const Shape &shape = m_shapes[own];
            const int around[4] = {shapeAt(x - 1, y), shapeAt(x + 1, y), shapeAt(x, y - 1),
                                   shapeAt(x, y + 1)};
            bool outside = false;
            bool below = false; // another part of the figure lies over this one here
            for (int other : around) {
                outside = outside || other < 0;
                below = below || (other > own && m_shapes[other].group != shape.group);
            }
            if (contour && !shape.glows && (outside || below))
                color = m_ramps[shape.material][outside ? 0 : 1];
            if (contour && below && !outside && !shape.glows)
                color = m_ramps[shape.material][0];
            image.setPixel(x, y, color);
        }
    }
    for (const Dot &dot : m_dots) {
        const QPoint at(int(std::floor(dot.at.x() + m_origin.x())),
                        int(std::floor(dot.at.y() + m_origin.y())));
        if (image.rect().contains(at))
            image.setPixel(at, m_ramps[dot.material][dot.tone]);
    }
    return image;
}
