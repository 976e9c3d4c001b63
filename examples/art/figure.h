#pragma once

#include "raster.h"

#include <QtCore/QString>

/// How a figure stands in one frame. It looks to the right; lengths are pixels, heights go up from
/// the ground, angles are degrees, clockwise.
struct Pose {
    QString name;
    QPointF hip;      ///< forward, height
    double lean;      ///< of the trunk, from upright
    double nod;       ///< of the head, beyond the lean
    QPointF nearFoot; ///< forward, height
    QPointF farFoot;
    QPointF nearHand; ///< from the shoulder: forward, up
    QPointF farHand;
    double tool; ///< what the near hand holds, from upright
    double wind; ///< how far cloth streams back, -1 to 1
    double turn; ///< of the whole figure about its hip
};

/// How long the limbs of a figure are, and how thick.
struct Build {
    double thigh;
    double shin;
    double trunk;
    double arm; ///< upper arm; the forearm has the same length
    double head;
    double girth; ///< half the width of the trunk
    double limb;  ///< half the width of an arm; a leg is wider by a third
};

/// Where the joints of a posed figure are; y goes down.
struct Joints {
    QPointF hip, chest, neck, head;
    QPointF nearKnee, nearFoot, farKnee, farFoot;
    QPointF nearElbow, nearHand, farElbow, farHand;
    double lean; ///< of trunk and turn together
    double nod;

    /// A point beside the trunk: `forward` of its line, `up` along it from the hip.
    QPointF onTrunk(double forward, double up) const;
    /// The same about the head.
    QPointF onHead(double forward, double up) const;
};

Joints posed(const Build &build, const Pose &pose);

/// The figures, each drawn in its own materials.
enum class Figure { Wren, Moss };
/// The tones of a figure's materials; `variant` 1 and 2 are the same materials in other clothes.
QVector<Ramp> figureRamps(Figure figure, int variant = 0);
const QVector<Pose> &posesOf(Figure figure);
QImage drawFigure(Figure figure, const Pose &pose, QSize size, QPointF origin, int variant = 0);
