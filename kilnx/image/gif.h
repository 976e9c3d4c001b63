#pragma once

#include <kilnx/export.h>
#include <kilnx/image/palette.h>

#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QVector>
#include <QtGui/QImage>

#include <functional>

class QIODevice;

namespace Kiln
{

/// A GIF file in memory: the logical screen, the global colour map and the pictures as they are
/// stored, not yet laid over one another.
class KILNX_EXPORT GIFImage
{
public:
    /// One stored picture.
    struct SubImage {
        QImage image;          ///< Indexed8, or Mono for a file of one bit
        QVector<RGB> colorMap; ///< its own colours, empty if it uses the global map
        short left = 0;        ///< place on the logical screen
        short top = 0;
        short delay = 0;        ///< hundredths of a second; save() writes it, load() leaves 0
        short transparent = -1; ///< the index that is not drawn, negative for none
    };

    GIFImage();
    GIFImage(unsigned short width, unsigned short height, bool loop);

    /// Whether a player goes on from the start after the last picture.
    bool canLoop() const { return m_loop; }
    void setLoop(bool loop) { m_loop = loop; }
    /// The logical screen in pixels; 16 bits of each are kept.
    int width() const { return m_width; }
    void setWidth(int width) { m_width = static_cast<unsigned short>(width); }
    int height() const { return m_height; }
    void setHeight(int height) { m_height = static_cast<unsigned short>(height); }

    /// Colours of every picture without a map of its own; empty for none.
    QVector<RGB> &globalColorMap() { return m_globalColorMap; }
    QVector<RGB> globalColorMap() const { return m_globalColorMap; }
    QList<SubImage> &images() { return m_images; }
    QList<SubImage> images() const { return m_images; }

    /// Reads a file, opening the device if needed. False if it cannot be opened or decoded to its
    /// end; pictures that were decoded before the fault are kept and the faulty one is blank. A
    /// file with one picture gives that picture's size as the screen's. Files that claim far
    /// more pixels than their bytes can hold are refused.
    bool load(QIODevice *device);
    /// Writes "GIF89a". With two pictures or more, those with a transparent index get their
    /// delay and are cleared before the next one. False for an empty list, for pictures that are
    /// neither Indexed8 nor Mono or have no colours, and when the device refuses.
    /// `step` is called behind each picture; false from it ends the writing, and false is returned.
    bool save(QIODevice *device, const std::function<bool()> &step = {});

private:
    bool m_loop = false;
    unsigned short m_width = 0;
    unsigned short m_height = 0;
    QVector<RGB> m_globalColorMap;
    QList<SubImage> m_images;
};

/// One frame of an animation for saveGIF(), which is defined in gif_animation.cpp.
struct AnimImageFrame {
    QImage image;
    QPoint offset;  ///< the point of the picture that lies on the axis
    int ticks = 0;  ///< how long it is shown, in 1/60 s
    int delay = -1; ///< the same in hundredths of a second; negative: as many as `ticks` are, cut
};

/// Writes an animation. Frames are laid out by their offsets; null pictures are skipped. True
/// colour frames are reduced, with index 0 kept for pixels of alpha below 128: to one table for
/// all of them if no frame is indexed, else each for itself. With `singlePalette` the first
/// picture's colours serve all. False for no frames, no device, a screen above 65,535 pixels a
/// side, when the last of frames without an indexed one is null (the shared table is taken there),
/// and when the file cannot be written. `step` is called GifStepsOfFrame times for each frame that
/// is not null, to show how far it is; false from it ends the work, and false is returned.
KILNX_EXPORT bool saveGIF(QIODevice *device,
                          const QVector<AnimImageFrame> &frames,
                          bool singlePalette,
                          bool loop,
                          const std::function<bool()> &step = {});
constexpr int GifStepsOfFrame = 3;

} // namespace Kiln
