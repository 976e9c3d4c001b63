#include <kilnx/imageedit/imagelayers.h>

#include <kilnx/imageedit/imagecanvas.h>
#include <kilnx/imageedit/imagecommands.h>

namespace Kiln
{

ImageLayers::ImageLayers(ImageCanvas *canvas)
    : canvas(canvas)
{
}

ImageLayers::~ImageLayers()
{
    for (ImageLayer *layer : qAsConst(list))
        layer->release();
}

int ImageLayers::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : list.size();
}

QVariant ImageLayers::data(const QModelIndex &index, int role) const
{
    const ImageLayer *layer = index.isValid() ? at(index.row()) : nullptr;
    if (!layer)
        return QVariant();
    if (role == Qt::CheckStateRole)
        return layer->visible ? Qt::Checked : Qt::Unchecked;
    return role == Qt::DisplayRole || role == Qt::EditRole ? QVariant(layer->name) : QVariant();
}

bool ImageLayers::setData(const QModelIndex &index, const QVariant &value, int role)
{
    ImageLayer *layer = index.isValid() ? at(index.row()) : nullptr;
    if (!layer)
        return false;
    if (role == Qt::CheckStateRole) {
        layer->visible = value.toInt() == Qt::Checked;
        layerChanged(layer);
        canvas->announceImage();
        return true;
    }
    if (role != Qt::EditRole)
        return false;
    layer->setName(value.toString(), true);
    return true;
}

Qt::ItemFlags ImageLayers::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::ItemIsEnabled;
    return QAbstractListModel::flags(index) | Qt::ItemIsEditable | Qt::ItemIsUserCheckable;
}

bool ImageLayers::moveRows(const QModelIndex &sourceParent,
                           int sourceRow,
                           int count,
                           const QModelIndex &destinationParent,
                           int destinationChild)
{
    const int to = destinationChild > sourceRow ? destinationChild - 1 : destinationChild;
    if (sourceParent.isValid() || destinationParent.isValid() || count != 1 || !at(sourceRow) ||
        !at(to) || to == sourceRow)
        return false;
    canvas->undoStack.push(new ImageLayerMove(canvas, sourceRow, to));
    moveLayer(sourceRow, to);
    return true;
}

ImageLayer *ImageLayers::at(int row) const
{
    return row >= 0 && row < list.size() ? list[row] : nullptr;
}

int ImageLayers::indexOf(const ImageLayer *layer) const
{
    return list.indexOf(const_cast<ImageLayer *>(layer));
}

ImageLayer *ImageLayers::addLayer(const QImage *image)
{
    QImage picture;
    if (!image) {
        picture = QImage(canvas->size, ImageCanvas::pixelFormat(canvas->format));
        picture.fill(0);
    } else if (image->format() == QImage::Format_Indexed8) {
        picture = *image;
    } else {
        picture = image->convertToFormat(QImage::Format_ARGB32);
    }
    if (picture.isNull())
        return nullptr;
    auto *layer = new RasterLayer(canvas, picture);
    canvas->undoStack.push(new RasterLayerAdd(canvas, layer));
    insertLayer(layer, 0, false);
    layer->release();
    return layer;
}

void ImageLayers::insertLayer(ImageLayer *layer, int row, bool undo)
{
    if (!layer || list.contains(layer))
        return;
    row = qBound(0, row, int(list.size()));
    if (undo)
        canvas->undoStack.push(new RasterLayerInsert(canvas, layer, row));
    beginInsertRows(QModelIndex(), row, row);
    layer->ref();
    list.insert(row, layer);
    endInsertRows();
    Q_EMIT layersChanged();
    canvas->announceImage();
}

void ImageLayers::removeLayer(int row, bool undo)
{
    ImageLayer *layer = at(row);
    if (!layer)
        return;
    if (undo)
        canvas->undoStack.push(new RasterLayerDel(canvas, layer));
    beginRemoveRows(QModelIndex(), row, row);
    list.removeAt(row);
    endRemoveRows();
    Q_EMIT layersChanged();
    canvas->announceImage();
    layer->release();
}

void ImageLayers::clearLayers()
{
    canvas->undoStack.clear();
    if (list.isEmpty())
        return;
    beginRemoveRows(QModelIndex(), 0, list.size() - 1);
    const QList<ImageLayer *> gone = list;
    list.clear();
    endRemoveRows();
    Q_EMIT layersChanged();
    canvas->announceImage();
    for (ImageLayer *layer : gone)
        layer->release();
}

void ImageLayers::layerChanged(const ImageLayer *layer)
{
    const int row = indexOf(layer);
    if (row >= 0)
        Q_EMIT dataChanged(index(row), index(row));
}

void ImageLayers::moveLayer(int from, int to)
{
    if (!at(from) || !at(to) || from == to)
        return;
    beginMoveRows(QModelIndex(), from, from, QModelIndex(), to > from ? to + 1 : to);
    list.move(from, to);
    endMoveRows();
    Q_EMIT layersChanged();
    canvas->announceImage();
}

} // namespace Kiln
