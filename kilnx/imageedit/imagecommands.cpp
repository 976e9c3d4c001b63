#include <kilnx/imageedit/imagecommands.h>

#include <kilnx/imageedit/imagecanvas.h>

#include <cstring>
#include <utility>

namespace Kiln
{

namespace
{

constexpr int tileSide = 64;

bool sameRow(const QImage &a, const QImage &b, const QRect &area, int y)
{
    const int bytes = a.depth() / 8;
    return std::memcmp(a.constScanLine(y) + area.left() * bytes,
                       b.constScanLine(y) + area.left() * bytes, size_t(area.width()) * bytes) == 0;
}

bool sameArea(const QImage &a, const QImage &b, const QRect &area)
{
    for (int y = area.top(); y <= area.bottom(); ++y) {
        if (!sameRow(a, b, area, y))
            return false;
    }
    return true;
}

QByteArray pixelsOf(const QImage &image, const QRect &area)
{
    const int bytes = image.depth() / 8;
    QByteArray pixels;
    pixels.reserve(area.width() * area.height() * bytes);
    for (int y = area.top(); y <= area.bottom(); ++y)
        pixels.append(reinterpret_cast<const char *>(image.constScanLine(y)) + area.left() * bytes,
                      area.width() * bytes);
    return pixels;
}

} // namespace

ImageUndoCommand::ImageUndoCommand(ImageCanvas *canvas, ImageLayer *layer)
    : canvas(canvas)
    , layer(layer)
{
    if (layer)
        layer->ref();
}

ImageUndoCommand::~ImageUndoCommand()
{
    if (layer)
        layer->release();
}

void ImageUndoCommand::redo()
{
    if (!std::exchange(firstRedo, false))
        apply();
}

// --- Layers that come and go. A layer is found again by itself, not by its row: a deletion that
// was undone has put its layer elsewhere.

RasterLayerAdd::RasterLayerAdd(ImageCanvas *canvas, ImageLayer *layer)
    : ImageUndoCommand(canvas, layer)
{
}

void RasterLayerAdd::undo()
{
    canvas->layers.removeLayer(canvas->layers.indexOf(layer), false);
}

void RasterLayerAdd::apply()
{
    canvas->layers.insertLayer(layer, 0, false);
}

RasterLayerInsert::RasterLayerInsert(ImageCanvas *canvas, ImageLayer *layer, int row)
    : ImageUndoCommand(canvas, layer)
    , m_row(row)
{
}

void RasterLayerInsert::undo()
{
    canvas->layers.removeLayer(canvas->layers.indexOf(layer), false);
}

void RasterLayerInsert::apply()
{
    canvas->layers.insertLayer(layer, m_row, false);
}

RasterLayerDel::RasterLayerDel(ImageCanvas *canvas, ImageLayer *layer, int backTo)
    : ImageUndoCommand(canvas, layer)
    , m_backTo(backTo)
{
}

void RasterLayerDel::undo()
{
    canvas->layers.insertLayer(layer, m_backTo, false);
}

void RasterLayerDel::apply()
{
    canvas->layers.removeLayer(canvas->layers.indexOf(layer), false);
}

ImageLayerMove::ImageLayerMove(ImageCanvas *canvas, int from, int to)
    : ImageUndoCommand(canvas)
    , m_from(from)
    , m_to(to)
{
}

void ImageLayerMove::undo()
{
    canvas->layers.moveLayer(m_to, m_from);
}

void ImageLayerMove::apply()
{
    canvas->layers.moveLayer(m_from, m_to);
}

// --- RasterLayerEdit

RasterLayerEdit::RasterLayerEdit(RasterLayer *layer)
    : ImageUndoCommand(layer->canvas, layer)
    , m_image(layer->image)
{
    canvas->setOpenEdit(this);
}

RasterLayerEdit::~RasterLayerEdit()
{
    canvas->forgetEdit(this);
}

void RasterLayerEdit::settle()
{
    const QImage &now = raster()->image;
    if (m_image.isNull() || now.size() != m_image.size() || now.format() != m_image.format())
        return;
    for (int y = 0; y < now.height(); y += tileSide) {
        for (int x = 0; x < now.width(); x += tileSide) {
            const QRect area = QRect(x, y, tileSide, tileSide).intersected(now.rect());
            if (!sameArea(now, m_image, area))
                m_tiles.append({area, pixelsOf(m_image, area)});
        }
    }
    m_image = QImage();
}

QRect RasterLayerEdit::exchangeTiles()
{
    QImage &image = raster()->image;
    const int bytes = image.depth() / 8;
    QRect changed;
    for (Tile &tile : m_tiles) {
        const QByteArray now = pixelsOf(image, tile.area);
        const int row = tile.area.width() * bytes;
        for (int y = 0; y < tile.area.height(); ++y)
            std::memcpy(image.scanLine(tile.area.top() + y) + tile.area.left() * bytes,
                        tile.pixels.constData() + y * row, size_t(row));
        tile.pixels = now;
        changed |= tile.area;
    }
    return changed;
}

void RasterLayerEdit::undo()
{
    settle();
    if (m_image.isNull()) {
        canvas->announceImage(exchangeTiles());
        return;
    }
    std::swap(raster()->image, m_image);
    canvas->announceImage();
}

void RasterLayerEdit::apply()
{
    undo();
}

// --- What is exchanged

ImageLayerName::ImageLayerName(ImageLayer *layer, const QString &name)
    : ImageUndoCommand(layer->canvas, layer)
    , m_name(name)
{
}

void ImageLayerName::undo()
{
    std::swap(layer->name, m_name);
    canvas->layers.layerChanged(layer);
}

void ImageLayerName::apply()
{
    undo();
}

ImageLayerBlend::ImageLayerBlend(ImageLayer *layer, int mode)
    : ImageUndoCommand(layer->canvas, layer)
    , m_mode(mode)
{
}

void ImageLayerBlend::undo()
{
    std::swap(layer->blendMode, m_mode);
    canvas->layers.layerChanged(layer);
    canvas->announceImage();
}

void ImageLayerBlend::apply()
{
    undo();
}

ImageLayerOpacity::ImageLayerOpacity(ImageLayer *layer, double opacity)
    : ImageUndoCommand(layer->canvas, layer)
    , m_opacity(opacity)
{
}

void ImageLayerOpacity::undo()
{
    std::swap(layer->opacity, m_opacity);
    canvas->layers.layerChanged(layer);
    canvas->announceImage();
}

void ImageLayerOpacity::apply()
{
    undo();
}

ImageCanvasSize::ImageCanvasSize(ImageCanvas *canvas, QSize size)
    : ImageUndoCommand(canvas)
    , m_size(size)
{
}

void ImageCanvasSize::undo()
{
    const QSize now = canvas->size;
    canvas->setSize(m_size, QPoint(), false);
    m_size = now;
}

void ImageCanvasSize::apply()
{
    undo();
}

ImageCanvasFormat::ImageCanvasFormat(ImageCanvas *canvas, int format)
    : ImageUndoCommand(canvas)
    , m_format(format)
{
}

void ImageCanvasFormat::undo()
{
    const int now = canvas->format;
    canvas->setFormat(m_format, false);
    m_format = now;
}

void ImageCanvasFormat::apply()
{
    undo();
}

} // namespace Kiln
