#pragma once

#include <kilnx/export.h>

#include <QtCore/QMap>
#include <QtCore/QRect>
#include <QtGui/QImage>

namespace Kiln
{

class ImagePalette;

/// Which pixels of a canvas can be painted.
struct KILNX_EXPORT ImageSelection {
    /// False: every pixel can, whatever the mask says.
    bool active = false;
    /// Indexed8 of the canvas's size: 1 is selected, 0 not. Its two colours make it an overlay that
    /// dims what is not selected.
    QImage mask;
    /// What the rectangle tool chose last; empty for none.
    QRect rect;

    /// A mask of that size with every pixel selected, and no rectangle. False, and nothing changed,
    /// when there is no memory for it.
    bool reset(QSize size);
    /// Selects what of `area` lies inside the mask, and nothing else.
    void select(const QRect &area);
    /// Whether painters may write that pixel.
    bool contains(int x, int y) const;
};

/// Writes pixels into the picture of one layer: points of a square pen, lines and fills, in the
/// current colour or, with replacements, by a map of indexes.
///
/// Nothing here is undone by itself, and nothing is announced: who paints pushes a RasterLayerEdit
/// first and tells the canvas afterwards what it touched. Points outside the picture or the mask
/// are left out, so strokes may start and end anywhere.
class KILNX_EXPORT ImagePainter
{
public:
    /// `palette` and `selection` must outlive the painter, or be null: no selection means all.
    ImagePainter(ImagePalette *palette, ImageSelection *selection);
    virtual ~ImagePainter();
    ImagePainter(const ImagePainter &) = delete;
    ImagePainter &operator=(const ImagePainter &) = delete;

    /// The current colour: that palette index, in the pixels of this form.
    virtual void setColor(unsigned char index) = 0;
    /// The palette index of a pixel, or the nearest one; 0 outside the picture.
    virtual unsigned char colorAt(const QPoint &at) const = 0;
    /// Fills the square of `penSize` whose top left corner is `at`.
    virtual void drawPoint(const QPoint &at);
    /// Bresenham's line ("Algorithm for computer control of a digital plotter", 1965): a point for
    /// each of the max(|dx|, |dy|) + 1 steps.
    virtual void drawLine(const QPoint &from, const QPoint &to);
    /// Fills what has the value of the pixel at `at` and hangs together with it across edges, as
    /// far as the selection goes. Nothing if that is the current colour already. It does not ask
    /// canPaint(). Takes time and memory by the area that it fills.
    virtual void floodFill(const QPoint &at);
    /// Whether the pixel may be written: always without replacements, else if its index is a key.
    virtual bool canPaint(int x, int y) const = 0;
    /// The pixel as it stands in the picture: an index, or 0xAARRGGBB; 0 outside.
    virtual unsigned int rawPixel(int x, int y) const = 0;
    /// Writes the current colour, or what the replacements give for the pixel's index: without a
    /// pair for it the pixel stays.
    virtual void setPixel(int x, int y) = 0;

    /// Index to index: when not empty, only pixels with a key are painted, each with its value.
    QMap<unsigned char, unsigned char> replacements;
    ImagePalette *palette;
    /// The picture that is painted, not owned; null paints nothing. Of the painter's own format.
    QImage *image = nullptr;
    /// An index, or 0xAARRGGBB.
    unsigned int color = 255;
    ImageSelection *selection;
    /// Side of the pen's square in pixels.
    int penSize = 1;

protected:
    bool inPicture(int x, int y) const;
};

/// Paints Indexed8 pictures: a colour is an index.
class KILNX_EXPORT IndexPainter : public ImagePainter
{
public:
    using ImagePainter::ImagePainter;

    void setColor(unsigned char index) override;
    unsigned char colorAt(const QPoint &at) const override;
    bool canPaint(int x, int y) const override;
    unsigned int rawPixel(int x, int y) const override;
    void setPixel(int x, int y) override;
};

/// Paints ARGB32 pictures: a colour is 0xAARRGGBB, taken from the palette.
class KILNX_EXPORT RGBAPainter : public ImagePainter
{
public:
    using ImagePainter::ImagePainter;

    void setColor(unsigned char index) override;
    unsigned char colorAt(const QPoint &at) const override;
    bool canPaint(int x, int y) const override;
    unsigned int rawPixel(int x, int y) const override;
    void setPixel(int x, int y) override;
};

} // namespace Kiln
