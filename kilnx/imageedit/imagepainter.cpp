#include <kilnx/imageedit/imagepainter.h>

#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/reach_p.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace Kiln
{

namespace
{

int direction(int difference)
{
    return difference > 0 ? 1 : difference < 0 ? -1 : 0;
}

/// The pixels of a picture that a fill may still take: rows in the picture's own type, and the
/// mask.
template<class Pixel>
class FillArea
{
public:
    FillArea(QImage &image, const QImage *mask, Pixel target)
        : m_rows(image.height())
        , m_masks(mask ? image.height() : 0)
        , m_target(target)
        , m_width(mask ? qMin(image.width(), mask->width()) : image.width())
        , m_height(mask ? qMin(image.height(), mask->height()) : image.height())
    {
        for (int y = 0; y < m_height; ++y) {
            m_rows[y] = reinterpret_cast<Pixel *>(image.scanLine(y));
            if (mask)
                m_masks[y] = mask->constScanLine(y);
        }
    }

    int width() const { return m_width; }
    int height() const { return m_height; }
    Pixel *row(int y) { return m_rows[y]; }

    bool open(int x, int y) const
    {
        return m_rows[y][x] == m_target && (m_masks.empty() || m_masks[y][x] > 0);
    }
    int firstOpen(int x, int end, int y) const
    {
        while (x < end && !open(x, y))
            ++x;
        return x;
    }
    int endOfOpen(int x, int end, int y) const
    {
        while (x < end && open(x, y))
            ++x;
        return x;
    }
    int startOfOpen(int x, int y) const
    {
        while (x > 0 && open(x - 1, y))
            --x;
        return x;
    }
    bool holds(QPoint at) const
    {
        return at.x() >= 0 && at.y() >= 0 && at.x() < m_width && at.y() < m_height &&
               open(at.x(), at.y());
    }

private:
    std::vector<Pixel *> m_rows;
    std::vector<const uchar *> m_masks;
    Pixel m_target;
    int m_width;
    int m_height;
};

/// Fills whole spans of rows and looks for the next ones above and below each: a pixel is looked at
/// a few times, and what waits is a span, not a pixel.
template<class Pixel>
void fillSpans(FillArea<Pixel> area, QPoint from, Pixel color)
{
    if (!area.holds(from))
        return;
    std::vector<QPoint> waiting = {from};
    while (!waiting.empty()) {
        const QPoint at = waiting.back();
        waiting.pop_back();
        if (!area.open(at.x(), at.y()))
            continue;
        const int start = area.startOfOpen(at.x(), at.y());
        const int end = area.endOfOpen(at.x(), area.width(), at.y());
        std::fill(area.row(at.y()) + start, area.row(at.y()) + end, color);
        for (int y : {at.y() - 1, at.y() + 1}) {
            if (y < 0 || y >= area.height())
                continue;
            for (int x = area.firstOpen(start, end, y); x < end;) {
                waiting.push_back({x, y});
                x = area.firstOpen(area.endOfOpen(x, end, y), end, y);
            }
        }
    }
}

} // namespace

// --- ImageSelection

bool ImageSelection::reset(QSize size)
{
    QImage made;
    if (!size.isEmpty()) {
        made = QImage(size, QImage::Format_Indexed8);
        if (made.isNull())
            return false;
        made.setColorTable({0x64000000, 0x00ffffff});
        made.fill(1);
    }
    mask = made;
    rect = QRect();
    return true;
}

void ImageSelection::select(const QRect &area)
{
    mask.fill(0);
    const QRect inside = area.intersected(mask.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        std::fill_n(mask.scanLine(y) + inside.left(), inside.width(), uchar(1));
}

bool ImageSelection::contains(int x, int y) const
{
    return mask.valid(x, y) && (!active || mask.constScanLine(y)[x] > 0);
}

// --- ImagePainter

ImagePainter::ImagePainter(ImagePalette *palette, ImageSelection *selection)
    : palette(palette)
    , selection(selection)
{
}

ImagePainter::~ImagePainter() = default;

bool ImagePainter::inPicture(int x, int y) const
{
    return image && image->valid(x, y);
}

void ImagePainter::drawPoint(const QPoint &at)
{
    if (!image)
        return;
    const QRect pen = QRect(withinReach(at), QSize(penSize, penSize))
                          .intersected(image->rect())
                          .intersected(selection ? selection->mask.rect() : image->rect());
    for (int y = pen.top(); y <= pen.bottom(); ++y) {
        for (int x = pen.left(); x <= pen.right(); ++x) {
            if ((!selection || selection->contains(x, y)) && canPaint(x, y))
                setPixel(x, y);
        }
    }
}

void ImagePainter::drawLine(const QPoint &from, const QPoint &to)
{
    QPoint at = withinReach(from);
    const QPoint way = withinReach(to) - at;
    const QPoint step(direction(way.x()), direction(way.y()));
    const bool steep = std::abs(way.y()) > std::abs(way.x());
    const int steps = qMax(std::abs(way.x()), std::abs(way.y()));
    const int aside = qMin(std::abs(way.x()), std::abs(way.y()));
    int error = steps >> 1;
    drawPoint(at);
    for (int i = 0; i < steps; ++i) {
        (steep ? at.ry() : at.rx()) += steep ? step.y() : step.x();
        error += aside;
        if (error >= steps) {
            (steep ? at.rx() : at.ry()) += steep ? step.x() : step.y();
            error -= steps;
        }
        drawPoint(at);
    }
}

void ImagePainter::floodFill(const QPoint &at)
{
    if (!inPicture(at.x(), at.y()))
        return;
    const unsigned int target = rawPixel(at.x(), at.y());
    if (target == color || (selection && !selection->contains(at.x(), at.y())))
        return;
    // What the first pixel becomes, the others become too.
    setPixel(at.x(), at.y());
    const unsigned int written = rawPixel(at.x(), at.y());
    if (written == target)
        return;
    const QImage *mask = selection && selection->active ? &selection->mask : nullptr;
    if (image->depth() == 8) {
        image->scanLine(at.y())[at.x()] = uchar(target);
        fillSpans(FillArea<uchar>(*image, mask, uchar(target)), at, uchar(written));
    } else {
        reinterpret_cast<QRgb *>(image->scanLine(at.y()))[at.x()] = target;
        fillSpans(FillArea<QRgb>(*image, mask, target), at, QRgb(written));
    }
}

// --- IndexPainter

void IndexPainter::setColor(unsigned char index)
{
    color = index;
}

unsigned char IndexPainter::colorAt(const QPoint &at) const
{
    return static_cast<unsigned char>(rawPixel(at.x(), at.y()));
}

bool IndexPainter::canPaint(int x, int y) const
{
    return inPicture(x, y) && (replacements.isEmpty() ||
                               replacements.contains(static_cast<unsigned char>(rawPixel(x, y))));
}

unsigned int IndexPainter::rawPixel(int x, int y) const
{
    return inPicture(x, y) ? image->constScanLine(y)[x] : 0;
}

void IndexPainter::setPixel(int x, int y)
{
    if (!inPicture(x, y))
        return;
    uchar &pixel = image->scanLine(y)[x];
    pixel = replacements.isEmpty() ? uchar(color) : replacements.value(pixel, pixel);
}

// --- RGBAPainter

void RGBAPainter::setColor(unsigned char index)
{
    if (palette)
        color = palette->rgbAt(index);
}

unsigned char RGBAPainter::colorAt(const QPoint &at) const
{
    return palette && inPicture(at.x(), at.y()) ? palette->indexOf(QColor(rawPixel(at.x(), at.y())))
                                                : 0;
}

bool RGBAPainter::canPaint(int x, int y) const
{
    return inPicture(x, y) &&
           (replacements.isEmpty() || (palette && replacements.contains(colorAt({x, y}))));
}

unsigned int RGBAPainter::rawPixel(int x, int y) const
{
    return inPicture(x, y) ? reinterpret_cast<const QRgb *>(image->constScanLine(y))[x] : 0;
}

void RGBAPainter::setPixel(int x, int y)
{
    if (!inPicture(x, y))
        return;
    QRgb value = color;
    if (!replacements.isEmpty()) {
        const auto pair = replacements.constFind(colorAt({x, y}));
        if (pair == replacements.constEnd() || !palette)
            return;
        value = palette->rgbAt(*pair);
    }
    reinterpret_cast<QRgb *>(image->scanLine(y))[x] = value;
}

} // namespace Kiln
