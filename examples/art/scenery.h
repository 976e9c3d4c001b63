#pragma once

#include "raster.h"

#include <QtCore/QString>

/// A picture that is no figure: furniture of a stage, or one frame of an effect.
struct Scenery {
    QString name;
    QPoint origin; ///< the point of the picture that stands at the sprite's place
    QImage image;  ///< ARGB32, every pixel clear or opaque
};

/// The quay at dusk; each picture bears the name of its layer.
QVector<Scenery> harbour();
/// The roofs above it, in the rain.
QVector<Scenery> rooftops();
/// Sparks, dust and water that strikes throw up.
QVector<Scenery> effects();
