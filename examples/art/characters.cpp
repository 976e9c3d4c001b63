#include "figure.h"

#include <QtCore/QtMath>

#include <cmath>

namespace
{

enum Material { Skin, Hair, Coat, Trim, Cloth, Leather, Metal, Glow };
enum Group { FarArm, FarLeg, Tails, NearLeg, Trunk, Head, Face, Scarf, Tool, NearArm, Lamp };

const Build wren = {17.5, 17.5, 21, 11.5, 7.6, 6.2, 2.9};
const Build moss = {17, 17, 26, 15, 8.6, 10.5, 4.3};

QPointF along(double degrees, double length)
{
    const double a = qDegreesToRadians(degrees);
    return {std::sin(a) * length, -std::cos(a) * length};
}

QPointF between(QPointF a, QPointF b, double t)
{
    return a + (b - a) * t;
}

/// A leg with its trousers and boot. The foot points forward, and hangs when it is in the air.
void leg(Canvas &c,
         const Build &build,
         const Joints &j,
         QPointF knee,
         QPointF foot,
         double height,
         int group,
         int tone)
{
    const double r = build.limb * 1.32;
    c.capsule(j.hip, knee, r * 1.2, r, Cloth, group, tone);
    c.capsule(knee, between(knee, foot, 0.4), r, r * 0.9, Cloth, group, tone);
    c.capsule(between(knee, foot, 0.36), foot, r * 1.12, r * 0.92, Leather, group, tone);
    const double hang = qBound(0.0, height * 4.0, 50.0);
    const QPointF toe =
        foot + along(90 + hang + (height > 0.5 ? j.lean * 0.3 : 0), build.limb * 2.2);
    c.capsule(foot + QPointF(-0.5, 0.6), toe + QPointF(0, 0.6), r * 0.86, r * 0.7, Leather, group,
              tone);
}

void arm(Canvas &c,
         const Build &build,
         const Joints &j,
         QPointF elbow,
         QPointF hand,
         int group,
         int tone)
{
    c.capsule(j.chest, elbow, build.limb * 1.2, build.limb, Coat, group, tone);
    c.capsule(elbow, between(elbow, hand, 0.7), build.limb, build.limb * 0.95, Coat, group, tone);
    c.capsule(between(elbow, hand, 0.66), between(elbow, hand, 0.82), build.limb * 1.15,
              build.limb * 1.15, Trim, group, tone);
    c.capsule(hand, hand, build.limb * 0.98, build.limb * 0.98, Skin, group, tone);
}

/// A strip of cloth that starts at `from` and streams back by the wind.
void stream(Canvas &c,
            QPointF from,
            double wind,
            double length,
            double width,
            int material,
            int group)
{
    QVector<QPointF> upper;
    QVector<QPointF> lower;
    for (int i = 0; i <= 5; ++i) {
        const double t = i / 5.0;
        const double wave = std::sin(t * 5.2 + wind * 2.0) * 1.8 * t;
        const QPointF at =
            from + QPointF(-length * t * (0.35 + 0.65 * qAbs(wind)) * (wind < 0 ? -1 : 1),
                           length * t * (0.75 - 0.85 * qAbs(wind)) + wave);
        upper.append(at + QPointF(0, -width * (0.6 + 0.4 * t)));
        lower.prepend(at + QPointF(0, width * (0.6 + 0.4 * t)));
    }
    c.polygon(upper + lower, material, group, 0, 3);
}

// --- Wren: a short coat with tails, a long scarf, tousled hair, a lantern on a hook.

void wrenTails(Canvas &c, const Joints &j, double wind)
{
    const double back = 5 + qMax(0.0, wind) * 9;
    const double lift = qMax(0.0, wind) * 8;
    c.polygon({j.onTrunk(-6, 6), j.onTrunk(1, 6), j.onTrunk(-1, -6) + QPointF(0, -lift * 0.2),
               j.onTrunk(-back, -13) + QPointF(-2, -lift),
               j.onTrunk(-back - 3, -9) + QPointF(0, -lift)},
              Coat, Tails, -1, 3);
}

void wrenTrunk(Canvas &c, const Joints &j)
{
    c.polygon({j.onTrunk(-5.2, 20.5), j.onTrunk(3.2, 21), j.onTrunk(6.4, 16), j.onTrunk(5.6, 8),
               j.onTrunk(5.2, 2), j.onTrunk(6.6, -4.5), j.onTrunk(-6.4, -4.5), j.onTrunk(-5.4, 3),
               j.onTrunk(-6.2, 11), j.onTrunk(-6.8, 17)},
              Coat, Trunk, 0, 6);
    c.polygon(
        {j.onTrunk(-5.9, 3.6), j.onTrunk(5.6, 3.6), j.onTrunk(5.7, 1.2), j.onTrunk(-5.9, 1.2)},
        Leather, Trunk, 0, 2);
    c.capsule(j.onTrunk(3.4, 2.4), j.onTrunk(3.6, 2.4), 1.3, 1.3, Metal, Trunk);
    c.capsule(j.onTrunk(3.4, 7), j.onTrunk(3.8, 16), 0.55, 0.55, Trim, Trunk);
}

void wrenHead(Canvas &c, const Joints &j, double wind)
{
    // Hair behind, face, then fringe and cap.
    c.polygon({j.onHead(-2, 8.6), j.onHead(-8.2, 5), j.onHead(-10.5 - wind * 2, 0.4),
               j.onHead(-8.6, -1), j.onHead(-9.2 - wind * 3, -5.4), j.onHead(-5.4, -4.4),
               j.onHead(-4, -7.2), j.onHead(0, -4), j.onHead(3, 5)},
              Hair, Head, -1, 5);
    c.capsule(j.neck, j.head, 2.4, 2.6, Skin, Face, -1);
    c.polygon({j.onHead(-4.5, 5), j.onHead(5.6, 5), j.onHead(6.6, 0.6), j.onHead(7.5, -1.2),
               j.onHead(6.3, -2.4), j.onHead(5.4, -5.6), j.onHead(2.2, -7.2), j.onHead(-2.2, -5.4),
               j.onHead(-4.8, -1)},
              Skin, Face, 0, 6);
    c.polygon({j.onHead(-6.6, 6), j.onHead(-3, 9), j.onHead(3, 9), j.onHead(7.6, 5.4),
               j.onHead(6.6, 2.6), j.onHead(3.8, 4.4), j.onHead(1.8, 2), j.onHead(-1.2, 4),
               j.onHead(-2, -0.6), j.onHead(-3.8, 0.6), j.onHead(-4.6, -3), j.onHead(-7.8, 0)},
              Hair, Head, 0, 4);
    // The cap of the lamplighters, with its brass badge.
    c.polygon({j.onHead(-7.6, 5.6), j.onHead(-7, 9.8), j.onHead(-2, 12), j.onHead(4, 11.4),
               j.onHead(7.2, 8.4), j.onHead(7.2, 6), j.onHead(0, 7)},
              Coat, Head, 0, 5);
    c.polygon({j.onHead(1, 6.6), j.onHead(7.4, 7), j.onHead(11, 4.6), j.onHead(6.4, 4.8)}, Leather,
              Head, 0, 2);
    c.capsule(j.onHead(4.6, 8.4), j.onHead(4.6, 8.4), 1.1, 1.1, Metal, Head);
    c.dot(j.onHead(3.6, 0.9), Cloth, 0);
    c.dot(j.onHead(3.6, -0.1), Cloth, 0);
    c.dot(j.onHead(6.0, 0.9), Cloth, 0);
    c.dot(j.onHead(6.0, -0.1), Cloth, 0);
    c.dot(j.onHead(5.2, -3.4), Skin, 0);
    c.dot(j.onHead(4.4, -3.4), Skin, 1);
}

QPointF wrenLamp(const Joints &j, const Pose &pose)
{
    return j.nearHand + along(pose.tool + pose.turn, 12) +
           QPointF(-pose.wind * 2.2, 6.4 - qAbs(pose.wind) * 1.4);
}

void wrenTool(Canvas &c, const Joints &j, const Pose &pose)
{
    const double angle = pose.tool + pose.turn;
    const QPointF tip = j.nearHand + along(angle, 12);
    const QPointF lamp = wrenLamp(j, pose);
    c.capsule(j.nearHand - along(angle, 6), tip, 1.1, 1.0, Leather, Tool);
    c.capsule(tip, tip, 1.6, 1.6, Metal, Tool);
    c.capsule(tip, between(tip, lamp, 0.4), 0.6, 0.6, Metal, Tool);
    Shape light;
    light.points = {lamp + QPointF(0, -0.8), lamp + QPointF(0, 1.6)};
    light.firstRadius = 3.1;
    light.lastRadius = 3.4;
    light.material = Glow;
    light.group = Lamp;
    light.glows = true;
    c.add(light);
    c.polygon({lamp + QPointF(-2.4, -2.6), lamp + QPointF(0, -5.2), lamp + QPointF(2.4, -2.6)},
              Metal, Lamp, 0, 2);
    c.capsule(lamp + QPointF(-2.6, 4.4), lamp + QPointF(2.6, 4.4), 0.9, 0.9, Metal, Lamp);
    c.dot(lamp + QPointF(-3.6, 0), Metal, 1);
    c.dot(lamp + QPointF(-3.6, 1), Metal, 1);
    c.dot(lamp + QPointF(3.2, 0), Metal, 1);
    c.dot(lamp + QPointF(3.2, 1), Metal, 1);
}

void drawWren(Canvas &c, const Pose &pose)
{
    const Joints j = posed(wren, pose);
    c.setLamp(wrenLamp(j, pose), 34);
    arm(c, wren, j, j.farElbow, j.farHand, FarArm, -1);
    stream(c, j.onTrunk(-4, 21), pose.wind * 0.8 + 0.25, 25, 2.5, Trim, Scarf);
    leg(c, wren, j, j.farKnee, j.farFoot, pose.farFoot.y(), FarLeg, -1);
    wrenTails(c, j, pose.wind);
    leg(c, wren, j, j.nearKnee, j.nearFoot, pose.nearFoot.y(), NearLeg, 0);
    wrenTrunk(c, j);
    wrenHead(c, j, pose.wind);
    c.polygon({j.onTrunk(-6, 19), j.onTrunk(-5, 23.4), j.onTrunk(0, 24.2), j.onTrunk(5.2, 23),
               j.onTrunk(6.4, 19.8), j.onTrunk(3, 17.4), j.onTrunk(-3, 17)},
              Trim, Scarf, 0, 3);
    wrenTool(c, j, pose);
    arm(c, wren, j, j.nearElbow, j.nearHand, NearArm, 0);
}

// --- Moss: a long coat, a wide hat, a grey beard, the pole of the lock.

void mossTails(Canvas &c, const Joints &j, const Pose &pose)
{
    const double back = qMax(0.0, pose.wind) * 8;
    c.polygon({j.onTrunk(-11, 6), j.onTrunk(10, 6), j.onTrunk(11.5, -6), j.onTrunk(12 - back, -19),
               j.onTrunk(3 - back, -17), j.onTrunk(-4 - back, -21), j.onTrunk(-14 - back, -18),
               j.onTrunk(-12.5, -6)},
              Coat, Trunk, 0, 8);
}

void mossTrunk(Canvas &c, const Joints &j)
{
    c.polygon({j.onTrunk(-8, 26), j.onTrunk(6, 26), j.onTrunk(11, 20), j.onTrunk(11.6, 10),
               j.onTrunk(10.4, 3), j.onTrunk(-11, 3), j.onTrunk(-12, 11), j.onTrunk(-11.4, 21)},
              Coat, Trunk, 0, 9);
    c.polygon(
        {j.onTrunk(-11.2, 6.4), j.onTrunk(10.6, 6.4), j.onTrunk(10.6, 3), j.onTrunk(-11.2, 3)},
        Leather, Trunk, 0, 2);
    c.capsule(j.onTrunk(5, 4.7), j.onTrunk(6, 4.7), 1.9, 1.9, Metal, Trunk);
    c.capsule(j.onTrunk(6.4, 10), j.onTrunk(6.4, 10), 1.1, 1.1, Metal, Trunk);
    c.capsule(j.onTrunk(6.2, 15), j.onTrunk(6.2, 15), 1.1, 1.1, Metal, Trunk);
}

void mossHead(Canvas &c, const Joints &j)
{
    c.capsule(j.neck, j.head, 3.4, 3.4, Skin, Face, -1);
    c.polygon({j.onHead(-7, 6), j.onHead(6.4, 6), j.onHead(7.4, 1.6), j.onHead(9.8, -1.4),
               j.onHead(7.2, -3), j.onHead(4, -7), j.onHead(-5, -6), j.onHead(-7.4, 0)},
              Skin, Face, 0, 6);
    c.polygon({j.onHead(-7.6, 4), j.onHead(-4, 2), j.onHead(-2, -2), j.onHead(4, -2.4),
               j.onHead(8.4, -3.2), j.onHead(9, -7), j.onHead(6, -13), j.onHead(1, -16.5),
               j.onHead(-4, -11), j.onHead(-7.6, -6)},
              Hair, Head, 0, 6);
    c.polygon({j.onHead(-15, 3.4), j.onHead(-8, 5.6), j.onHead(-7, 12.6), j.onHead(-2, 15.4),
               j.onHead(4, 14.6), j.onHead(7, 11), j.onHead(7.6, 5.8), j.onHead(16, 3.2),
               j.onHead(8, 2.4), j.onHead(-6, 2.4)},
              Trim, Head, 0, 5);
    c.polygon({j.onHead(-7.6, 7.4), j.onHead(7.4, 7.4), j.onHead(7.6, 4.8), j.onHead(-7.8, 4.8)},
              Leather, Head, 0, 2);
    c.dot(j.onHead(4.2, 0.6), Cloth, 0);
    c.dot(j.onHead(4.2, -0.4), Cloth, 0);
    c.dot(j.onHead(7.0, 0.6), Cloth, 0);
    c.dot(j.onHead(7.0, -0.4), Cloth, 0);
    c.dot(j.onHead(3.4, 1.8), Hair, 3);
    c.dot(j.onHead(4.4, 1.8), Hair, 3);
}

void mossTool(Canvas &c, const Joints &j, const Pose &pose)
{
    const double angle = pose.tool + pose.turn;
    const QPointF tip = j.nearHand + along(angle, 40);
    c.capsule(j.nearHand - along(angle, 30), tip, 1.5, 1.5, Leather, Tool);
    c.capsule(between(j.nearHand, tip, 0.86), tip, 2.2, 1.8, Metal, Tool);
    c.polygon({tip + along(angle, 4), tip + along(angle + 90, 2.4), tip + along(angle + 130, 8),
               tip + along(angle + 112, 8.6), tip + along(angle + 78, 5)},
              Metal, Tool, 0, 2);
}

void drawMoss(Canvas &c, const Pose &pose)
{
    const Joints j = posed(moss, pose);
    arm(c, moss, j, j.farElbow, j.farHand, FarArm, -1);
    leg(c, moss, j, j.farKnee, j.farFoot, pose.farFoot.y(), FarLeg, -1);
    leg(c, moss, j, j.nearKnee, j.nearFoot, pose.nearFoot.y(), NearLeg, 0);
    mossTails(c, j, pose);
    mossTrunk(c, j);
    mossHead(c, j);
    mossTool(c, j, pose);
    arm(c, moss, j, j.nearElbow, j.nearHand, NearArm, 0);
}

Ramp ramp(QRgb contour, QRgb shadow, QRgb middle, QRgb light, QRgb shine)
{
    return {contour, shadow, middle, light, shine};
}

constexpr QRgb rgb(unsigned value)
{
    return 0xff000000u | value;
}

QVector<Ramp> ownRamps(Figure figure)
{
    if (figure == Figure::Wren) {
        return {ramp(rgb(0x5a2d2c), rgb(0xa8624a), rgb(0xe0a078), rgb(0xf6c79a), rgb(0xffe6bf)),
                ramp(rgb(0x37181f), rgb(0x6b2b2a), rgb(0xa0462f), rgb(0xd1703a), rgb(0xf0a052)),
                ramp(rgb(0x0f2430), rgb(0x1c4450), rgb(0x2c6b72), rgb(0x4a9a94), rgb(0x86c9b0)),
                ramp(rgb(0x4a1620), rgb(0x8e2a2e), rgb(0xd04a36), rgb(0xee7d48), rgb(0xffb870)),
                ramp(rgb(0x161a2b), rgb(0x262c47), rgb(0x3a4266), rgb(0x565f88), rgb(0x7d86ac)),
                ramp(rgb(0x24140f), rgb(0x472a1c), rgb(0x6f452a), rgb(0x9c6a3d), rgb(0xc79a5e)),
                ramp(rgb(0x3a2a14), rgb(0x6e5424), rgb(0xb08c3c), rgb(0xe0c062), rgb(0xfff0a8)),
                ramp(rgb(0x6e5424), rgb(0xe89428), rgb(0xffb43c), rgb(0xffd86a), rgb(0xfff6c8))};
    }
    return {ramp(rgb(0x4f2b26), rgb(0x94583f), rgb(0xc98a63), rgb(0xe6b389), rgb(0xf8d7ae)),
            ramp(rgb(0x3c4148), rgb(0x6b7178), rgb(0x9ba0a2), rgb(0xc9cbc6), rgb(0xf0efe4)),
            ramp(rgb(0x1a2617), rgb(0x2f4526), rgb(0x4b6a38), rgb(0x71924e), rgb(0xa3bd72)),
            ramp(rgb(0x1b1a1a), rgb(0x33302c), rgb(0x514b40), rgb(0x776d58), rgb(0xa2977a)),
            ramp(rgb(0x17171f), rgb(0x292a36), rgb(0x40424f), rgb(0x5d606d), rgb(0x838691)),
            ramp(rgb(0x23150d), rgb(0x46301c), rgb(0x70502e), rgb(0x9c7646), rgb(0xc8a46c)),
            ramp(rgb(0x332a1c), rgb(0x63563a), rgb(0x9d8c5a), rgb(0xcfc084), rgb(0xf6eebb)),
            ramp(rgb(0x63563a), rgb(0x9d8c5a), rgb(0xcfc084), rgb(0xf6eebb), rgb(0xfffbe0))};
}

} // namespace

QVector<Ramp> figureRamps(Figure figure, int variant)
{
    QVector<Ramp> ramps = ownRamps(figure);
    if (variant == 0)
        return ramps;
    if (figure == Figure::Wren && variant == 1) { // dusk: plum and gold
        ramps[Coat] =
            ramp(rgb(0x22142e), rgb(0x40254f), rgb(0x65397a), rgb(0x9059a2), rgb(0xc08ecb));
        ramps[Trim] =
            ramp(rgb(0x4a3210), rgb(0x8c6418), rgb(0xcf9a2a), rgb(0xf0c850), rgb(0xffee9a));
    } else if (figure == Figure::Wren) { // winter: slate blue and white
        ramps[Coat] =
            ramp(rgb(0x1a2136), rgb(0x2f3d60), rgb(0x4a6190), rgb(0x7390bd), rgb(0xacc6e2));
        ramps[Trim] =
            ramp(rgb(0x4a5060), rgb(0x858ca0), rgb(0xbfc6d4), rgb(0xe6eaf0), rgb(0xffffff));
        ramps[Hair] =
            ramp(rgb(0x1c1614), rgb(0x362a26), rgb(0x57443a), rgb(0x7e6552), rgb(0xa88c72));
    } else if (variant == 1) { // rust
        ramps[Coat] =
            ramp(rgb(0x331611), rgb(0x5e2a1c), rgb(0x8f452a), rgb(0xbd6f45), rgb(0xe4a274));
        ramps[Trim] =
            ramp(rgb(0x1a1f28), rgb(0x303a48), rgb(0x4d5b6c), rgb(0x748495), rgb(0xa5b3c0));
    } else { // deep water
        ramps[Coat] =
            ramp(rgb(0x10202e), rgb(0x1d3a52), rgb(0x2f5c7c), rgb(0x5086a6), rgb(0x88b8cf));
        ramps[Hair] =
            ramp(rgb(0x4a2a18), rgb(0x84502c), rgb(0xb97a42), rgb(0xdfa766), rgb(0xf7d59c));
    }
    return ramps;
}

QImage drawFigure(Figure figure, const Pose &pose, QSize size, QPointF origin, int variant)
{
    Canvas canvas(size, origin, figureRamps(figure, variant));
    if (figure == Figure::Wren)
        drawWren(canvas, pose);
    else
        drawMoss(canvas, pose);
    return canvas.render();
}
