#pragma once

#include <kilnx/export.h>
#include <kilnx/imageedit/imagelayer.h>
#include <kilnx/imageedit/imagelayers.h>
#include <kilnx/imageedit/imagepainter.h>

#include <QtCore/QObject>
#include <QtWidgets/QUndoStack>

#include <memory>

namespace Kiln
{

class RasterLayerEdit;

/// A picture under work: layers of one size and one colour format, a selection mask, a painter and
/// an undo stack. It comes from one picture and goes back into one by flatten().
///
/// In the indexed format every layer is Indexed8 without a table of its own, and layers neither
/// blend nor fade: see flatten(). In the RGBA format layers are ARGB32 and blend as QPainter does.
///
/// Changes of several layers are one step of undo. An operation that finds no memory for its result
/// leaves the layer as it was.
class KILNX_EXPORT ImageCanvas : public QObject
{
    Q_OBJECT

public:
    /// `palette` must outlive the canvas, and be set before anything is painted.
    explicit ImageCanvas(ImagePalette *palette, QObject *parent = nullptr);
    ~ImageCanvas() override;

    /// Changes the format and makes a new painter for it. With `undo`, also turns the layers'
    /// pixels into it, as one step.
    void setFormat(int format, bool undo);
    /// Changes the size and selects everything. With `undo`, also cuts or grows the layers, as one
    /// step: their corner comes to `topLeft`, or to the middle for an x below -0xFFFF, and new
    /// pixels get fillColor().
    void setSize(QSize size, QPoint topLeft, bool undo);
    /// Scales all layers; `filter` is an ImageResizeFilter.
    void resize(QSize size, int filter);
    /// Turns all layers clockwise, and grows to hold the largest.
    void rotate(float degrees, int filter);
    void flip(bool horizontal, bool vertical);
    /// Cuts to what all layers together show. Returns how far the picture moved, (0, 0) or below,
    /// for the sprite's own offset to follow; nothing happens to a canvas without content.
    QPoint crop();
    /// Makes one layer of all, or of the visible ones, on top and named as flatten() tells.
    void mergeAll();
    void mergeVisible();

    /// The picture as it shows; `*name`, if given, becomes the name of the lowest visible layer.
    ///
    /// RGBA: QPainter draws the visible layers from below, each by its mode and opacity. Indexed:
    /// the table is the palette's; where the top layer is opaque its index stands, and below
    /// colours that are not each colour meets what lies under it half and half, and the nearest
    /// index of the result stands. Pixels without any colour are 0.
    QImage flatten(QString *name = nullptr) const;
    /// The same for a part: writes `area` of the picture into `target`, which has the canvas's size
    /// and format. What lies outside of the area stays.
    void flattenInto(QImage &target, const QRect &area) const;

    /// What new pixels get: the background, as 0xAARRGGBB or as an index.
    unsigned int fillColor() const;
    /// Indexed8, or ARGB32 for RGBACanvas.
    static QImage::Format pixelFormat(int format);

    /// Tells who shows the canvas that pixels changed, in an area or (empty) anywhere. For tools
    /// that paint, and for undo steps.
    void announceImage(const QRect &area = QRect());
    /// The same for the selection.
    void announceSelection();
    /// An edit of pixels has ended: the last step keeps only what changed.
    void settleEdit();

    ImageSelection selection;
    ImagePalette *palette;
    std::unique_ptr<ImagePainter> painter;
    ImageLayers layers;
    QSize size;
    int format = IndexedCanvas;
    QUndoStack undoStack;

Q_SIGNALS:
    /// Pixels, or how layers are put together, changed in that area of the picture.
    void imageChanged(const QRect &area);
    void sizeChanged();
    void selectionChanged();
    void formatChanged();

private:
    friend class RasterLayerEdit;

    void setOpenEdit(RasterLayerEdit *edit);
    void forgetEdit(RasterLayerEdit *edit);
    void storeSize(QSize newSize);
    void merge(const QString &step, bool visibleOnly);

    RasterLayerEdit *m_openEdit = nullptr;
};

} // namespace Kiln
