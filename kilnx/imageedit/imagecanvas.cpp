#include <kilnx/imageedit/imagecanvas.h>

#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/imagecommands.h>
#include <kilnx/imageedit/imageflatten_p.h>

namespace Kiln
{

namespace
{

/// A topLeft of setSize() that puts the old picture in the middle.
const QPoint inTheMiddle(-0x10000, 0);

} // namespace

ImageCanvas::ImageCanvas(ImagePalette *palette, QObject *parent)
    : QObject(parent)
    , palette(palette)
    , layers(this)
{
    setFormat(IndexedCanvas, false);
}

ImageCanvas::~ImageCanvas()
{
    undoStack.clear(); // its steps know layers and canvas
}

QImage::Format ImageCanvas::pixelFormat(int format)
{
    return format == RGBACanvas ? QImage::Format_ARGB32 : QImage::Format_Indexed8;
}

unsigned int ImageCanvas::fillColor() const
{
    if (!palette)
        return 0;
    const unsigned char background = palette->backgroundIndex();
    return format == RGBACanvas ? palette->rgbAt(background) : background;
}

void ImageCanvas::announceImage(const QRect &area)
{
    Q_EMIT imageChanged(area.isEmpty() ? QRect(QPoint(), size) : area);
}

void ImageCanvas::announceSelection()
{
    Q_EMIT selectionChanged();
}

void ImageCanvas::setOpenEdit(RasterLayerEdit *edit)
{
    settleEdit();
    m_openEdit = edit;
}

void ImageCanvas::forgetEdit(RasterLayerEdit *edit)
{
    if (m_openEdit == edit)
        m_openEdit = nullptr;
}

void ImageCanvas::settleEdit()
{
    if (RasterLayerEdit *edit = std::exchange(m_openEdit, nullptr))
        edit->settle();
}

void ImageCanvas::setFormat(int newFormat, bool undo)
{
    if (undo) {
        undoStack.beginMacro(QStringLiteral("setFormat"));
        undoStack.push(new ImageCanvasFormat(this, format));
    }
    const bool differs = newFormat != format;
    if (differs || !painter) {
        format = newFormat;
        if (format == RGBACanvas)
            painter = std::make_unique<RGBAPainter>(palette, &selection);
        else
            painter = std::make_unique<IndexPainter>(palette, &selection);
    }
    if (undo) {
        for (ImageLayer *layer : qAsConst(layers.list))
            layer->setFormat(format, palette);
        undoStack.endMacro();
    }
    if (differs) {
        Q_EMIT formatChanged();
        announceImage();
    }
}

void ImageCanvas::storeSize(QSize newSize)
{
    if (!selection.reset(newSize))
        return;
    size = newSize;
    Q_EMIT sizeChanged();
    Q_EMIT selectionChanged();
}

void ImageCanvas::setSize(QSize newSize, QPoint topLeft, bool undo)
{
    if (!undo) {
        storeSize(newSize);
        return;
    }
    if (newSize.isEmpty())
        return;
    undoStack.beginMacro(QStringLiteral("setSize"));
    undoStack.push(new ImageCanvasSize(this, size));
    storeSize(newSize);
    const unsigned int fill = fillColor();
    for (ImageLayer *layer : qAsConst(layers.list))
        layer->setSize(size, topLeft, fill);
    undoStack.endMacro();
    announceImage();
}

void ImageCanvas::resize(QSize newSize, int filter)
{
    if (newSize.isEmpty() || filter < NearestNeighbor || filter > HqBilinear)
        return;
    undoStack.beginMacro(QStringLiteral("resize"));
    undoStack.push(new ImageCanvasSize(this, size));
    storeSize(newSize);
    for (ImageLayer *layer : qAsConst(layers.list))
        layer->resize(size, filter);
    undoStack.endMacro();
    announceImage();
}

void ImageCanvas::rotate(float degrees, int filter)
{
    if (!qIsFinite(degrees) || filter < NearestNeighbor || filter > HqBilinear)
        return;
    undoStack.beginMacro(QStringLiteral("rotate"));
    QSize largest(0, 0);
    for (ImageLayer *layer : qAsConst(layers.list)) {
        layer->rotate(degrees, filter);
        if (const auto *raster = dynamic_cast<RasterLayer *>(layer))
            largest = largest.expandedTo(raster->image.size());
    }
    if (!largest.isEmpty() && largest != size)
        setSize(largest, inTheMiddle, true);
    else
        announceImage();
    undoStack.endMacro();
}

void ImageCanvas::flip(bool horizontal, bool vertical)
{
    undoStack.beginMacro(QStringLiteral("flip"));
    for (ImageLayer *layer : qAsConst(layers.list))
        layer->flip(horizontal, vertical);
    undoStack.endMacro();
    announceImage();
}

QPoint ImageCanvas::crop()
{
    QRect content;
    for (const ImageLayer *layer : qAsConst(layers.list)) {
        const QRect own = layer->contentRect();
        content = own.isValid() ? content | own : content;
    }
    content &= QRect(QPoint(), size);
    if (content.isEmpty())
        return QPoint();
    undoStack.beginMacro(QStringLiteral("crop"));
    setSize(content.size(), -content.topLeft(), true);
    undoStack.endMacro();
    return -content.topLeft();
}

void ImageCanvas::mergeAll()
{
    merge(QStringLiteral("mergeAll"), false);
}

void ImageCanvas::mergeVisible()
{
    merge(QStringLiteral("mergeVisible"), true);
}

void ImageCanvas::merge(const QString &step, bool visibleOnly)
{
    QString name;
    const QImage merged = flatten(&name);
    if (merged.isNull() || layers.list.isEmpty())
        return;
    undoStack.beginMacro(step);
    for (int row = layers.list.size() - 1; row >= 0; --row) {
        if (visibleOnly && !layers.at(row)->visible)
            continue;
        undoStack.push(new RasterLayerDel(this, layers.at(row), row));
        layers.removeLayer(row, false);
    }
    if (ImageLayer *layer = layers.addLayer(&merged))
        layer->setName(name, false);
    undoStack.endMacro();
}

QImage ImageCanvas::flatten(QString *name) const
{
    for (int row = layers.list.size() - 1; name && row >= 0; --row) {
        if (layers.at(row)->visible) {
            *name = layers.at(row)->name;
            break;
        }
    }
    QImage flat(size, pixelFormat(format));
    flat.fill(0);
    if (format != RGBACanvas && palette) {
        QVector<QRgb> table(256);
        for (int i = 0; i < 256; ++i)
            table[i] = palette->rgbAt(static_cast<unsigned char>(i));
        flat.setColorTable(table);
    }
    flattenInto(flat, flat.rect());
    return flat;
}

void ImageCanvas::flattenInto(QImage &target, const QRect &area) const
{
    const QRect inside = area.intersected(QRect(QPoint(), size)).intersected(target.rect());
    if (inside.isEmpty() || target.format() != pixelFormat(format))
        return;
    if (format == RGBACanvas)
        flattenColors(layers.list, target, inside);
    else if (palette)
        flattenIndexes(layers.list, *palette, target, inside);
}

} // namespace Kiln
