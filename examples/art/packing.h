#pragma once

#include <QtCore/QDir>
#include <QtCore/QPoint>
#include <QtCore/QSize>

/// Writes the sprite files of the sample project, which lies in `project`: one for each figure, in
/// the figure's own directory, one for each stage, and one for the effects that all share.
///
/// Each frame is trimmed to what is drawn, with its origin kept, and reduced to a palette in which
/// index 0 is clear and at most 31 colours follow: one a figure, one a picture of a stage, one for
/// the effects. The clothes of a figure's variants are further palettes for the same indices. False
/// if a file cannot be written.
bool packProject(const QDir &project);

/// The canvas that figures are drawn on, and the point of it between their feet.
constexpr QSize frameSize(180, 150);
constexpr QPoint frameOrigin(84, 130);
