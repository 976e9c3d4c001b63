#include "figure.h"

#include <QtCore/QtMath>

#include <cmath>

namespace
{

QPointF turned(QPointF v, double degrees)
{
    const double a = qDegreesToRadians(degrees);
    return {v.x() * std::cos(a) - v.y() * std::sin(a), v.x() * std::sin(a) + v.y() * std::cos(a)};
}

/// The joint between two bones of the given lengths from `a` to `b`, on the side of `bend`; `b`
/// comes nearer when it is out of reach.
QPointF jointBetween(QPointF a, QPointF &b, double first, double second, double bend)
{
    QPointF way = b - a;
    double distance = std::hypot(way.x(), way.y());
    if (distance < 0.01) {
        way = {0, 0.01};
        distance = 0.01;
    }
    const double reach = first + second - 0.05;
    if (distance > reach) {
        way *= reach / distance;
        distance = reach;
        b = a + way;
    }
    const double along = (first * first - second * second + distance * distance) / (2 * distance);
    const double aside = std::sqrt(qMax(0.0, first * first - along * along));
    const QPointF unit = way / distance;
    return a + unit * along + QPointF(unit.y(), -unit.x()) * aside * bend;
}

} // namespace

QPointF Joints::onTrunk(double forward, double up) const
{
    return hip + turned({forward, -up}, lean);
}

QPointF Joints::onHead(double forward, double up) const
{
    return head + turned({forward, -up}, lean + nod);
}

Joints posed(const Build &build, const Pose &pose)
{
    Joints j;
    j.hip = {pose.hip.x(), -pose.hip.y()};
    j.lean = pose.lean + pose.turn;
    j.nod = pose.nod;
    j.chest = j.onTrunk(0, build.trunk * 0.82);
    j.neck = j.onTrunk(0, build.trunk);
    j.head = j.neck + turned({1, -build.head * 0.85}, j.lean + j.nod);

    const auto ground = [&](QPointF foot) {
        return j.hip + turned(QPointF(foot.x(), -foot.y()) - j.hip, pose.turn);
    };
    const double ankle = build.limb;
    j.nearFoot = ground(pose.nearFoot + QPointF(0, ankle));
    j.farFoot = ground(pose.farFoot + QPointF(0, ankle));
    j.nearKnee = jointBetween(j.hip, j.nearFoot, build.thigh, build.shin, 1);
    j.farKnee = jointBetween(j.hip, j.farFoot, build.thigh, build.shin, 1);

    const auto reach = [&](QPointF hand) {
        return j.chest + turned({hand.x(), -hand.y()}, pose.turn);
    };
    j.nearHand = reach(pose.nearHand);
    j.farHand = reach(pose.farHand);
    j.nearElbow = jointBetween(j.chest, j.nearHand, build.arm, build.arm, -1);
    j.farElbow = jointBetween(j.chest, j.farHand, build.arm, build.arm, -1);
    return j;
}
