#pragma once

#include <kilnx/export.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QList>

namespace Kiln
{

class ImageCanvas;
class ImageLayer;

/// The layers of an ImageCanvas as a list: row 0 is the top layer. A view can rename them (undone),
/// show and hide them (not undone), and move them by moveRows() (undone). The list holds one
/// reference on each of its layers.
class KILNX_EXPORT ImageLayers : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit ImageLayers(ImageCanvas *canvas);
    ~ImageLayers() override;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool moveRows(const QModelIndex &sourceParent,
                  int sourceRow,
                  int count,
                  const QModelIndex &destinationParent,
                  int destinationChild) override;

    /// Null outside the list.
    ImageLayer *at(int row) const;
    /// -1 when the layer is not in the list.
    int indexOf(const ImageLayer *layer) const;

    /// Puts a new layer on top, as one undo step: an empty one of the canvas's size and format, or
    /// one of the picture, Indexed8 kept and everything else turned into ARGB32. Returns it, not
    /// owned by the caller; null when there is no memory for it.
    ImageLayer *addLayer(const QImage *image);
    /// Takes a reference of its own. A row out of range is brought to the nearest end; a layer that
    /// is in the list already stays where it is.
    void insertLayer(ImageLayer *layer, int row, bool undo);
    /// Nothing for a row out of range. Undoing brings the layer back on top, wherever it was.
    void removeLayer(int row, bool undo);
    /// Empties the undo stack, then the list.
    void clearLayers();

    /// For the canvas and its commands: tells that the row of a layer reads otherwise.
    void layerChanged(const ImageLayer *layer);
    /// For undo commands: moves one row to another, without a step.
    void moveLayer(int from, int to);

    ImageCanvas *canvas;
    QList<ImageLayer *> list;

Q_SIGNALS:
    /// Layers came, went or changed places.
    void layersChanged();
};

} // namespace Kiln
