#include "scenery.h"

#include <QtCore/QRandomGenerator>
#include <QtCore/QtMath>

#include <cmath>

namespace
{

constexpr QRgb rgb(unsigned value)
{
    return 0xff000000u | value;
}

/// A tone between two colours by an ordered pattern of 4 by 4: no colour is mixed.
QRgb dithered(const QVector<QRgb> &tones, double place, int x, int y)
{
    static const int pattern[16] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
    const double at = qBound(0.0, place, 1.0) * (tones.size() - 1);
    const int below = qMin(int(at), int(tones.size()) - 2);
    return at - below > (pattern[(y % 4) * 4 + x % 4] + 0.5) / 16.0 ? tones[below + 1]
                                                                    : tones[below];
}

QImage clear(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(0);
    return image;
}

QImage gradient(int width, int height, const QVector<QRgb> &tones)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, dithered(tones, double(y) / height, x, y));
    return image;
}

void fill(QImage &image, QRect area, QRgb color)
{
    area &= image.rect();
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            image.setPixel(x, y, color);
}

/// A heap of round clouds along a line, lit from above; goes on at the other side of the picture.
void cloud(QImage &image,
           double x,
           double y,
           double width,
           double height,
           const QVector<QRgb> &tones,
           int seed)
{
    QRandomGenerator dice(seed);
    const int balls = 4 + int(width / 14);
    for (int i = 0; i < balls; ++i) {
        const double t = (i + 0.5) / balls;
        const double r =
            height * (0.35 + 0.65 * std::sin(t * M_PI)) * (0.8 + 0.4 * dice.generateDouble());
        const double cx = x + width * (t - 0.5);
        const double cy = y - r * 0.4;
        for (int py = int(cy - r); py <= int(y); ++py) {
            for (int px = int(cx - r * 1.5); px <= int(cx + r * 1.5); ++px) {
                const double dx = (px - cx) / 1.5;
                const double dy = py - cy;
                if (dx * dx + dy * dy > r * r || py < 0 || py >= image.height())
                    continue;
                const int wrapped = (px % image.width() + image.width()) % image.width();
                image.setPixel(wrapped, py,
                               dithered(tones, (dy / r + 1) * 0.5 + dx / r * 0.1, px & 3, py));
            }
        }
    }
}

// --- The quay

QImage sky()
{
    QImage image = gradient(240, 220,
                            {rgb(0x2c2f5a), rgb(0x4a3f72), rgb(0x7c4f82), rgb(0xb8647c),
                             rgb(0xe58a6c), rgb(0xf8b878), rgb(0xfddc9a)});
    QRandomGenerator dice(7);
    for (int i = 0; i < 26; ++i)
        image.setPixel(dice.bounded(240), dice.bounded(70), i % 3 ? rgb(0x7c4f82) : rgb(0xfddc9a));
    cloud(image, 60, 96, 90, 11, {rgb(0xb8647c), rgb(0x7c4f82), rgb(0x4a3f72)}, 1);
    cloud(image, 176, 132, 120, 13, {rgb(0xf8b878), rgb(0xb8647c), rgb(0x7c4f82)}, 2);
    cloud(image, 20, 168, 100, 9, {rgb(0xfddc9a), rgb(0xe58a6c), rgb(0xb8647c)}, 3);
    return image;
}

QImage farMasts()
{
    const Ramp hull = {rgb(0x2a2140), rgb(0x3a2c50), rgb(0x4c3860), rgb(0x664a72), rgb(0x866084)};
    const Ramp sail = {rgb(0x5a3f62), rgb(0x7c5674), rgb(0xa07088), rgb(0xc48e96), rgb(0xe0b0a4)};
    Canvas c({300, 150}, {0, 150}, {hull, sail});
    const auto ship = [&](double x, double size) {
        c.polygon({{x - 44 * size, -16 * size},
                   {x + 46 * size, -20 * size},
                   {x + 36 * size, 0},
                   {x - 36 * size, 0}},
                  0, 1, 0, 8);
        for (double mast : {-22.0, 4.0, 27.0}) {
            const double top = (mast == 4.0 ? 112 : 88) * size;
            c.capsule({x + mast * size, -14 * size}, {x + mast * size, -top}, 1.6 * size,
                      0.9 * size, 0, 2);
            for (double yard : {0.45, 0.7, 0.9}) {
                const double half = (17 - 12 * (yard - 0.45)) * size;
                c.capsule({x + mast * size - half, -top * yard},
                          {x + mast * size + half, -top * yard}, 0.8, 0.8, 0, 2);
                if (yard < 0.8) // furled
                    c.capsule({x + mast * size - half * 0.8, -top * yard + 2},
                              {x + mast * size + half * 0.8, -top * yard + 2}, 1.7, 1.7, 1, 3);
            }
        }
    };
    ship(70, 0.85);
    ship(208, 1.1);
    return c.render();
}

QImage lampPost()
{
    const Ramp iron = {rgb(0x10141f), rgb(0x1e2634), rgb(0x323f50), rgb(0x50627a), rgb(0x8296ae)};
    const Ramp glow = {rgb(0x6e5424), rgb(0xe89428), rgb(0xffb43c), rgb(0xffd86a), rgb(0xfff6c8)};
    Canvas c({64, 150}, {32, 148}, {iron, glow});
    c.setLamp({12, -118}, 40);
    c.polygon({{-9, 0}, {9, 0}, {6, -7}, {-6, -7}}, 0, 1, 0, 4);
    c.capsule({0, -6}, {0, -128}, 3.0, 2.0, 0, 1);
    c.capsule({0, -30}, {0, -30}, 4.4, 4.4, 0, 1);
    c.capsule({0, -130}, {0, -130}, 3.4, 3.4, 0, 1);
    c.capsule({0, -126}, {12, -134}, 1.4, 1.2, 0, 2);
    c.capsule({12, -134}, {12, -127}, 1.0, 1.0, 0, 2);
    Shape light;
    light.points = {QPointF(12, -121), QPointF(12, -114)};
    light.firstRadius = 6.2;
    light.lastRadius = 4.6;
    light.material = 1;
    light.group = 3;
    light.glows = true;
    c.add(light);
    c.polygon({{3.6, -125}, {12, -132}, {20.4, -125}}, 0, 4, 0, 3);
    c.capsule({8, -108.6}, {16, -108.6}, 1.3, 1.3, 0, 4);
    c.capsule({12, -125}, {12, -109}, 0.6, 0.6, 0, 4);
    return c.render();
}

QImage planks()
{
    const QVector<QRgb> wood = {rgb(0x2a1a1c), rgb(0x4a2f2a), rgb(0x6b4636),
                                rgb(0x8c6046), rgb(0xb08058), rgb(0xd8a878)};
    QImage image = clear(160, 46);
    QRandomGenerator dice(11);
    for (int board = 0; board < 8; ++board) {
        const int left = board * 20;
        const int base = 2 + dice.bounded(2);
        for (int y = 0; y < 26; ++y) {
            for (int x = 0; x < 20; ++x) {
                int tone = base + (y < 3 ? 1 : 0) - (y > 20 ? 1 : 0);
                if (std::sin(x * 0.9 + board * 2.1 + std::sin(y * 0.25 + board) * 1.6) > 0.86)
                    --tone;
                if (x == 0)
                    tone = 0;
                if (x == 1 && y < 24)
                    ++tone;
                image.setPixel(left + x, y, wood[qBound(0, y == 25 ? 0 : tone, 5)]);
            }
        }
        for (int nail : {5, 19})
            image.setPixel(left + 10, nail, wood[0]);
    }
    for (int post = 0; post < 2; ++post) { // the piles below, in the shade
        for (int y = 26; y < 46; ++y)
            for (int x = 0; x < 14; ++x)
                image.setPixel(34 + post * 80 + x, y,
                               wood[x == 0 || x == 13 ? 0
                                    : x < 5           ? 2
                                    : x < 10          ? 1
                                                      : 0]);
    }
    fill(image, {0, 26, 160, 4}, wood[0]);
    return image;
}

QImage ropes()
{
    const Ramp hemp = {rgb(0x33261a), rgb(0x5c4630), rgb(0x8a6c48), rgb(0xb89466), rgb(0xe0c494)};
    const Ramp wood = {rgb(0x1e1318), rgb(0x3a2626), rgb(0x5c3c34), rgb(0x7e5644), rgb(0xa87a5a)};
    Canvas c({260, 70}, {0, 68}, {hemp, wood});
    for (double x : {24.0, 236.0}) {
        c.capsule({x, 0}, {x, -44}, 9, 8, 1, 1);
        c.capsule({x, -48}, {x, -48}, 11, 11, 1, 1);
        for (double turn : {-34.0, -29.0, -24.0})
            c.capsule({x - 9, turn + 1}, {x + 9, turn - 1}, 2.6, 2.6, 0, 2);
    }
    QPointF last(30, -32);
    for (int i = 1; i <= 24; ++i) {
        const double t = i / 24.0;
        const QPointF next(30 + 200 * t, -32 + 22 * std::sin(t * M_PI));
        c.capsule(last, next, 2.8, 2.8, 0, 3);
        last = next;
    }
    QImage image = c.render();
    for (int i = 0; i < 40; ++i) { // the strands
        const double t = (i + 0.5) / 40;
        const int x = int(30 + 200 * t);
        const int y = int(68 - 32 + 22 * std::sin(t * M_PI));
        image.setPixel(x, y + 1, hemp[1]);
        image.setPixel(x + 1, y, hemp[1]);
    }
    return image;
}

// --- The roofs

QImage clouds()
{
    QImage image = gradient(
        280, 200, {rgb(0x10131f), rgb(0x171c2c), rgb(0x20283a), rgb(0x2c374a), rgb(0x3c495c)});
    cloud(image, 70, 60, 150, 22, {rgb(0x3c495c), rgb(0x2c374a), rgb(0x20283a)}, 21);
    cloud(image, 210, 92, 170, 26, {rgb(0x505e70), rgb(0x3c495c), rgb(0x2c374a)}, 22);
    cloud(image, 40, 130, 180, 20, {rgb(0x64727f), rgb(0x505e70), rgb(0x3c495c)}, 23);
    cloud(image, 190, 160, 150, 16, {rgb(0x64727f), rgb(0x505e70), rgb(0x3c495c)}, 24);
    return image;
}

QImage chimneys()
{
    const Ramp brick = {rgb(0x1c1416), rgb(0x3a2626), rgb(0x5c3a34), rgb(0x7c5246), rgb(0xa2745e)};
    const Ramp pot = {rgb(0x24181a), rgb(0x4c3430), rgb(0x7a5648), rgb(0xa87e66), rgb(0xd0aa8a)};
    Canvas c({150, 120}, {0, 118}, {brick, pot});
    for (const auto &[x, height] :
         {std::pair(30.0, 78.0), std::pair(78.0, 96.0), std::pair(122.0, 64.0)}) {
        for (double off : {-7.0, 6.0})
            c.polygon({{x + off - 3, -height},
                       {x + off + 4, -height},
                       {x + off + 3, -height - 12},
                       {x + off - 2, -height - 12}},
                      1, 2, 0, 3);
        c.polygon({{x - 14, 0}, {x + 14, 0}, {x + 14, -height}, {x - 14, -height}}, 0, 1, 0, 7);
        c.polygon(
            {{x - 17, -height + 7}, {x + 17, -height + 7}, {x + 17, -height}, {x - 17, -height}}, 0,
            3, 1, 3);
    }
    QImage image = c.render();
    for (int y = 20; y < 118; y += 5) { // courses of brick
        for (int x = 0; x < 150; ++x) {
            if (image.pixel(x, y) == brick[2] || image.pixel(x, y) == brick[3])
                image.setPixel(x, y, brick[1]);
            const bool joint = (x + (y / 5 % 2) * 5) % 10 == 0;
            for (int i = 1; joint && i < 5 && y + i < 118; ++i)
                if (image.pixel(x, y + i) == brick[2] || image.pixel(x, y + i) == brick[3])
                    image.setPixel(x, y + i, brick[1]);
        }
    }
    return image;
}

QImage tiles()
{
    const QVector<QRgb> slate = {rgb(0x10141e), rgb(0x1e2634), rgb(0x2f3b4e),
                                 rgb(0x465468), rgb(0x667690), rgb(0x94a6b8)};
    QImage image = clear(96, 54);
    for (int row = 0; row < 6; ++row) {
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 96; ++x) {
                const int across = (x + (row % 2) * 8) % 16;
                const int which = ((x + (row % 2) * 8) / 16 * 7 + row * 5) % 4;
                const bool edge = across == 0 || (y == 8 && across > 1) ||
                                  (y == 7 && (across < 3 || across > 13));
                int tone = 3 - (row > 2) - (y > 5) + (y < 2) + (which == 0) - (which == 3);
                if (across < 3 && y < 6)
                    ++tone;
                image.setPixel(x, row * 9 + y, slate[edge ? 0 : qBound(1, tone, 5)]);
            }
        }
    }
    for (int x = 0; x < 96; ++x) // the wet ridge
        image.setPixel(x, 0, slate[x % 7 < 5 ? 5 : 4]);
    return image;
}

QImage weatherVane()
{
    const Ramp copper = {rgb(0x12241f), rgb(0x24483c), rgb(0x3c7460), rgb(0x62a088), rgb(0x9ccfb4)};
    Canvas c({70, 90}, {34, 88}, {copper});
    c.capsule({0, 0}, {0, -84}, 1.8, 1.0, 0, 1);
    c.capsule({-14, -40}, {14, -40}, 1.1, 1.1, 0, 2);
    c.capsule({0, -40}, {0, -40}, 3, 3, 0, 2);
    c.polygon(
        {{-28, -60}, {10, -60}, {10, -64}, {28, -57}, {10, -50}, {10, -55}, {-20, -55}, {-28, -50}},
        0, 3, 0, 3);
    c.polygon({{-12, -62},
               {-16, -72},
               {-8, -69},
               {-4, -76},
               {2, -74},
               {7, -78},
               {6, -72},
               {1, -66},
               {-2, -62}},
              0, 4, 0, 3);
    return c.render();
}

// --- Effects: frame `step` of `steps`, from the first moment to the last wisp.

enum EffectRamp { Light, Water, Dust, Splinter };

const QVector<Ramp> &effectRamps()
{
    static const QVector<Ramp> ramps = {
        {rgb(0x8a3a18), rgb(0xe06a20), rgb(0xffa030), rgb(0xffd060), rgb(0xfff8d8)},
        {rgb(0x1c3f66), rgb(0x2f6a96), rgb(0x4e9cc2), rgb(0x8ccbe0), rgb(0xe6f8fb)},
        {rgb(0x4a3c32), rgb(0x74604e), rgb(0xa08a70), rgb(0xc8b498), rgb(0xece0c8)},
        {rgb(0x2c1a10), rgb(0x5a381f), rgb(0x8a5c34), rgb(0xb88a54), rgb(0xe2bc84)},
    };
    return ramps;
}

QPointF onCircle(double degrees, double radius)
{
    const double a = qDegreesToRadians(degrees);
    return {std::cos(a) * radius, std::sin(a) * radius};
}

void star(Canvas &c, int points, double radius, double waist, double turn)
{
    QVector<QPointF> corners;
    for (int i = 0; i < points * 2; ++i)
        corners.append(onCircle(turn + i * 180.0 / points, i % 2 ? waist : radius));
    Shape shape;
    shape.kind = Shape::Polygon;
    shape.points = corners;
    shape.material = Light;
    shape.bulge = radius * 0.4;
    shape.glows = true;
    c.add(shape);
}

void glint(Canvas &c, double t)
{
    star(c, 4, 4 + 12 * std::sin(t * M_PI), 1.6, 0);
}

void flash(Canvas &c, double t)
{
    star(c, 8, 14 + 14 * t, (1 - t) * 9 + 2, t * 20);
}

void lampBurst(Canvas &c, double t)
{
    if (t < 0.6)
        star(c, 6, 10 + 22 * t, 5 - 4 * t, t * 30);
    for (int i = 0; i < 11; ++i) {
        const double reach = 6 + (26 + i % 3 * 6) * t;
        const double size = (1 - t) * 3.4 + 0.5;
        c.capsule(onCircle(i * 33 + 8, reach), onCircle(i * 33 + 8, reach * 0.82), size, size * 0.5,
                  Light, i, 1);
    }
}

void splash(Canvas &c, double t)
{
    for (int i = 0; i < 9; ++i) {
        const double x = (i - 4) * (3 + 5.5 * t);
        const double height =
            (30 - 2.2 * (i - 4) * (i - 4)) * std::sin(qMin(1.0, t * 1.15 + 0.2) * M_PI);
        const double size = 3.2 * (1.05 - t);
        c.capsule({x, -height}, {x * 0.8, -height * 0.5}, size, size * 0.5, Water, i);
    }
    c.capsule({-14 - 10 * t, -1}, {14 + 10 * t, -1}, 3 * (1.1 - t), 3 * (1.1 - t), Water, 20);
}

void waterWall(Canvas &c, double t)
{
    const double height = 78 * std::sin(qMin(1.0, 0.25 + t) * M_PI * 0.62);
    QVector<QPointF> corners = {{16, 0}, {-16, 0}};
    for (int i = 0; i <= 6; ++i)
        corners.append({-16 + i * 5.3, -height * (0.86 + 0.14 * std::sin(i * 2.2 + t * 9))});
    c.polygon(corners, Water, 1, 0, 9);
    for (int i = 0; i < 5; ++i) {
        const double x = -11 + i * 5.6;
        const double at = std::fmod(i * 0.37 + t, 1.0);
        c.capsule({x, -height * at * 0.85}, {x + 1, -height * at * 0.85 - 9}, 1.1, 0.7, Water, 1,
                  2);
    }
    for (int i = 0; i < 6; ++i)
        c.capsule({-18 + i * 7.2, -height - 3 - (i % 3) * 4 * t},
                  {-18 + i * 7.2, -height - 3 - (i % 3) * 4 * t}, 2.2, 2.2, Water, 4 + i, 1);
}

void dust(Canvas &c, double t, double reach, bool bothWays)
{
    for (int i = 0; i < 7; ++i) {
        const double way = bothWays ? (i - 3) / 3.0 : -i / 6.0;
        const double x = way * reach * (0.35 + 0.65 * t);
        const double r = (4.6 - qAbs(way) * 1.6) * std::sin((0.2 + 0.8 * t) * M_PI) + 0.6;
        c.capsule({x, -r * 0.7 - 5 * t * (i % 2)}, {x, -r * 0.7 - 5 * t * (i % 2)}, r, r, Dust, i);
    }
}

void emberRise(Canvas &c, double t)
{
    for (int i = 0; i < 8; ++i) {
        const double life = std::fmod(t + i * 0.37, 1.0);
        const double x = std::sin(i * 2.4 + life * 5) * (5 + 5 * life);
        c.capsule({x, -42 * life}, {x, -42 * life - 2}, 2.3 * (1 - life) + 0.4,
                  1.2 * (1 - life) + 0.4, Light, i, 1);
    }
}

void splinters(Canvas &c, double t)
{
    for (int i = 0; i < 7; ++i) {
        const QPointF at = onCircle(-160 + i * 24, 6 + 26 * t) + QPointF(0, 20 * t * t);
        c.capsule(at + onCircle(i * 50 + t * 220, 4.5), at - onCircle(i * 50 + t * 220, 4.5), 1.4,
                  0.9, Splinter, i);
    }
}

QVector<Scenery>
frames(const QString &name, int steps, QSize size, QPoint origin, void (*draw)(Canvas &, double))
{
    QVector<Scenery> list;
    for (int i = 0; i < steps; ++i) {
        Canvas canvas(size, origin, effectRamps());
        draw(canvas, steps > 1 ? double(i) / (steps - 1) * 0.92 : 0.0);
        list.append({QStringLiteral("%1_%2").arg(name).arg(i + 1), origin, canvas.render()});
    }
    return list;
}

} // namespace

QVector<Scenery> harbour()
{
    return {{QStringLiteral("sky"), {120, 0}, sky()},
            {QStringLiteral("far masts"), {150, 150}, farMasts()},
            {QStringLiteral("lamp posts"), {32, 148}, lampPost()},
            {QStringLiteral("planks"), {80, 0}, planks()},
            {QStringLiteral("front ropes"), {130, 68}, ropes()}};
}

QVector<Scenery> rooftops()
{
    return {{QStringLiteral("clouds"), {140, 0}, clouds()},
            {QStringLiteral("chimneys"), {75, 118}, chimneys()},
            {QStringLiteral("tiles"), {48, 0}, tiles()},
            {QStringLiteral("old weather vane"), {34, 88}, weatherVane()}};
}

QVector<Scenery> effects()
{
    return frames("glint", 3, {40, 40}, {20, 20}, glint) +
           frames("flash", 3, {64, 64}, {32, 32}, flash) +
           frames("lamp_burst", 5, {96, 96}, {48, 48}, lampBurst) +
           frames("splash", 4, {96, 48}, {48, 44}, splash) +
           frames("water_wall", 4, {64, 104}, {32, 100}, waterWall) +
           frames("dust_long", 4, {72, 28}, {60, 24},
                  [](Canvas &c, double t) { dust(c, t, 48, false); }) +
           frames("dust_ring", 4, {96, 28}, {48, 24},
                  [](Canvas &c, double t) { dust(c, t, 38, true); }) +
           frames("ember_rise", 4, {40, 60}, {20, 54}, emberRise) +
           frames("splinter", 4, {88, 72}, {44, 44}, splinters);
}
