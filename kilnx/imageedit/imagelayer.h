#pragma once

#include <kilnx/export.h>
#include <kilnx/image/imageops.h>
#include <kilnx/image/palette.h>

#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QImage>
#include <QtGui/QPainter>

namespace Kiln
{

class ImageCanvas;
class ImagePalette;

/// How the pixels of a canvas are stored.
enum ImageCanvasMode : int {
    IndexedCanvas = 0, ///< an index into the palette: Indexed8
    RGBACanvas = 1     ///< a colour with alpha: ARGB32
};

/// One layer of an ImageCanvas. It is shared by the list and by undo steps, by a count of its
/// owners: who makes it with `new` owns one reference and gives it up with release().
///
/// The operations that change pixels push an undo step on the canvas's stack first, and do not
/// announce anything: the canvas does, once for all of its layers.
class KILNX_EXPORT ImageLayer
{
public:
    explicit ImageLayer(ImageCanvas *canvas);
    ImageLayer(const ImageLayer &other);
    ImageLayer &operator=(const ImageLayer &) = delete;
    virtual ~ImageLayer();

    /// A new layer of the same canvas with the same contents, in no list; the caller owns it.
    virtual ImageLayer *clone() const = 0;
    /// Draws the layer at (0, 0); the base sets blend mode and opacity.
    virtual void paint(QPainter &painter) const;
    /// Turns indexes of one table of 256 colours into the nearest ones of another. Pushes no step.
    virtual void remap(const RGBA *oldPalette, const RGBA *newPalette) = 0;
    virtual void flip(bool horizontal, bool vertical) = 0;
    /// Turns clockwise and grows to hold all corners. A `filter` other than 0 turns at double size.
    virtual void rotate(float degrees, int filter) = 0;
    /// Scales; `filter` is an ImageResizeFilter.
    virtual void resize(QSize size, int filter) = 0;
    /// Cuts or grows: the old picture's corner comes to `topLeft`, the rest becomes `fill`. An x
    /// below -0xFFFF puts it in the middle.
    virtual void setSize(QSize size, QPoint topLeft, unsigned int fill) = 0;
    virtual void setFormat(int format, ImagePalette *palette) = 0;
    /// The smallest rectangle around the content, as cropImageRect() tells it.
    virtual QRect contentRect() const = 0;

    void ref() { ++refCount; }
    /// Gives up one reference; the last one destroys the layer.
    void release();

    /// With `undo`, these push a step; both announce the change.
    void setName(const QString &name, bool undo);
    /// A QPainter::CompositionMode.
    void setBlendMode(int mode, bool undo);
    /// 0.0 to 1.0; other values are brought into that range.
    void setOpacity(double opacity, bool undo);

    int refCount = 1;
    ImageCanvas *canvas;
    bool visible = true;
    QString name;
    int blendMode = QPainter::CompositionMode_SourceOver;
    double opacity = 1.0;
};

/// A layer of pixels: Indexed8 without a colour table, or ARGB32. Defined in imagelayer_raster.cpp.
class KILNX_EXPORT RasterLayer : public ImageLayer
{
public:
    /// Takes a picture as it is: the caller has brought it into one of the two formats.
    RasterLayer(ImageCanvas *canvas, const QImage &image);
    RasterLayer(const RasterLayer &other) = default;

    RasterLayer *clone() const override;
    void paint(QPainter &painter) const override;
    void remap(const RGBA *oldPalette, const RGBA *newPalette) override;
    void flip(bool horizontal, bool vertical) override;
    void rotate(float degrees, int filter) override;
    void resize(QSize size, int filter) override;
    void setSize(QSize size, QPoint topLeft, unsigned int fill) override;
    void setFormat(int format, ImagePalette *palette) override;
    QRect contentRect() const override;

    /// Makes the picture as it is now the state that one undo step comes back to. Call it before
    /// each change of `image`.
    void pushEdit();

    QImage image;

private:
    void replaceImage(QImage changed);
    QImage withColors() const;
};

} // namespace Kiln
