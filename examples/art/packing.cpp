#include "packing.h"

#include "figure.h"
#include "scenery.h"

#include <ember/embersprites.h>
#include <kilnx/image/colorquantizer.h>
#include <kilnx/image/imageops.h>
#include <kilnx/project/archive.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>

namespace
{

constexpr int mostColors = 31; // beside the clear one
using Palette = std::array<Kiln::RGBA, 256>;

struct Release {
    void operator()(EmberSprites *sprites) const { sprites->release(); }
};

/// A frame as it is drawn, with the same frame in other clothes.
struct Frame {
    Scenery picture;
    QVector<QImage> variants;
};

QRect drawnPart(const QImage &image)
{
    QRect part;
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(row[x]))
                part |= QRect(x, y, 1, 1);
        }
    }
    return part;
}

/// The opaque pixels of a picture, side by side.
QImage inkOf(const QImage &image)
{
    QVector<QRgb> ink;
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        std::copy_if(row, row + image.width(), std::back_inserter(ink),
                     [](QRgb color) { return qAlpha(color) > 0; });
    }
    QImage line(qMax(1, ink.size()), 1, QImage::Format_ARGB32);
    line.fill(ink.value(0, qRgb(0, 0, 0)));
    std::copy(ink.cbegin(), ink.cend(), reinterpret_cast<QRgb *>(line.scanLine(0)));
    return line;
}

Palette paletteOf(const QVector<Frame> &frames)
{
    Kiln::ColorQuantizer quantizer(mostColors, 8);
    for (const Frame &frame : frames)
        quantizer.processImage(inkOf(frame.picture.image));
    Kiln::RGBA table[256] = {};
    quantizer.getColorTable(table);
    Palette palette = {};
    std::copy_n(table, mostColors, palette.begin() + 1);
    return palette;
}

/// The colours that a variant has where the pictures have the indices: the mean of all pixels.
Palette dressed(const QVector<Frame> &frames, const QVector<QImage> &indexed, int variant)
{
    std::array<std::array<quint64, 4>, 256> sums = {};
    for (int i = 0; i < frames.size(); ++i) {
        const QImage &clothes = frames[i].variants[variant];
        for (int y = 0; y < clothes.height(); ++y) {
            const auto *row = reinterpret_cast<const QRgb *>(clothes.constScanLine(y));
            for (int x = 0; x < clothes.width(); ++x) {
                auto &sum = sums[indexed[i].constScanLine(y)[x]];
                sum[0] += static_cast<quint64>(qRed(row[x]));
                sum[1] += static_cast<quint64>(qGreen(row[x]));
                sum[2] += static_cast<quint64>(qBlue(row[x]));
                ++sum[3];
            }
        }
    }
    Palette palette = {};
    for (size_t i = 1; i < sums.size(); ++i) {
        const auto mean = [&](int channel) {
            return static_cast<uchar>((sums[i][channel] + sums[i][3] / 2) / sums[i][3]);
        };
        if (sums[i][3])
            palette[i] = {mean(0), mean(1), mean(2), 255};
    }
    return palette;
}

/// Adds frames that share one palette and its variants.
void add(EmberSprites &sprites, const QString &title, const QVector<Frame> &frames)
{
    EmberPalettes &palettes = *sprites.palettes();
    const Palette own = paletteOf(frames);
    EmberPalette *palette = palettes.add(own.data(), title, false);
    QVector<QImage> indexed;
    for (const Frame &frame : frames) {
        indexed.append(frame.picture.image);
        Kiln::adaptImageToPalette(indexed.last(), own.data());
    }
    for (int variant = 0; variant < frames.first().variants.size(); ++variant) {
        palettes.add(dressed(frames, indexed, variant).data(),
                     QStringLiteral("%1 %2").arg(title).arg(variant + 2), false);
    }
    for (int i = 0; i < frames.size(); ++i) {
        const Scenery &picture = frames[i].picture;
        const QRect part = drawnPart(picture.image);
        EmberSprite *sprite = sprites.insert(sprites.itemCount(), picture.name, QImage());
        sprite->setImage(indexed[i].copy(part), false, Kiln::Sprite::ExchangePalette, palette);
        sprite->setProperty(QStringLiteral("Origin"), picture.origin - part.topLeft());
    }
}

bool save(const QDir &project, const QString &name, const QVector<QVector<Frame>> &groups)
{
    const std::unique_ptr<EmberSprites, Release> sprites(
        new EmberSprites(Kiln::StreamCache::Memory));
    for (const QVector<Frame> &frames : groups) {
        const QString title =
            groups.size() > 1 ? frames.first().picture.name : QFileInfo(name).baseName();
        add(*sprites, title, frames);
    }
    return QDir().mkpath(QFileInfo(project.filePath(name)).path()) &&
           sprites->toFile(Kiln::FileSystemArchive::instance(), project.filePath(name), true);
}

QVector<Frame> figure(Figure figure, const QString &prefix)
{
    QVector<Frame> frames;
    for (const Pose &pose : posesOf(figure)) {
        const auto drawn = [&](int variant) {
            return drawFigure(figure, pose, frameSize, frameOrigin, variant);
        };
        frames.append(Frame{{prefix + pose.name, frameOrigin, drawn(0)}, {drawn(1), drawn(2)}});
    }
    return frames;
}

QVector<Frame> plain(const QVector<Scenery> &pictures)
{
    QVector<Frame> frames;
    for (const Scenery &picture : pictures)
        frames.append(Frame{picture, {}});
    return frames;
}

/// Each picture in colours of its own.
QVector<QVector<Frame>> apart(const QVector<Scenery> &pictures)
{
    QVector<QVector<Frame>> groups;
    for (const Scenery &picture : pictures)
        groups.append({Frame{picture, {}}});
    return groups;
}

} // namespace

bool packProject(const QDir &project)
{
    return save(project, QStringLiteral("heroes/wren/wren.gleam"),
                {figure(Figure::Wren, QStringLiteral("wren_"))}) &&
           save(project, QStringLiteral("heroes/moss/moss.gleam"),
                {figure(Figure::Moss, QStringLiteral("moss_"))}) &&
           save(project, QStringLiteral("stages/harbour/harbour.gleam"), apart(harbour())) &&
           save(project, QStringLiteral("stages/rooftops/rooftops.gleam"), apart(rooftops())) &&
           save(project, QStringLiteral("shared/effects.gleam"), {plain(effects())});
}
