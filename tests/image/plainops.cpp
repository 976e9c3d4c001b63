#include "plain.h"

#include <kilnx/image/codecs.h>

#include <QtMath>

#include <climits>
#include <memory>

using Kiln::RGBA;

namespace Plain
{

namespace
{

struct Node {
    bool leaf = false;
    quint64 count = 0;
    quint64 sum[4] = {};
    Node *next = nullptr;
    std::unique_ptr<Node> children[8];
};

struct Tree {
    int maxBits = 8;
    std::unique_ptr<Node> root;
    int leaves = 0;
    Node *chains[8] = {};

    void add(std::unique_ptr<Node> &node, QRgb c, int level)
    {
        if (!node) {
            node = std::make_unique<Node>();
            if (level == maxBits) {
                node->leaf = true;
                ++leaves;
            } else {
                node->next = chains[level];
                chains[level] = node.get();
            }
        }
        if (node->leaf) {
            const int channels[] = {qRed(c), qGreen(c), qBlue(c), qAlpha(c)};
            ++node->count;
            for (int i = 0; i < 4; ++i)
                node->sum[i] += quint64(channels[i]);
            return;
        }
        const int bit = 1 << (7 - level);
        const int child =
            (qRed(c) & bit ? 4 : 0) + (qGreen(c) & bit ? 2 : 0) + (qBlue(c) & bit ? 1 : 0);
        add(node->children[child], c, level + 1);
    }

    void reduce()
    {
        int level = maxBits - 1;
        while (level > 0 && !chains[level])
            --level;
        Node *node = chains[level];
        chains[level] = node->next;
        for (std::unique_ptr<Node> &child : node->children) {
            if (!child)
                continue;
            node->count += child->count;
            for (int i = 0; i < 4; ++i)
                node->sum[i] += child->sum[i];
            child.reset();
            --leaves;
        }
        node->leaf = true;
        ++leaves;
    }

    void list(const Node &node, RGBA *&out) const
    {
        const auto mean = [&node](int i) {
            return static_cast<unsigned char>(node.sum[i] / node.count);
        };
        if (node.leaf) {
            *out++ = {mean(0), mean(1), mean(2), mean(3)};
            return;
        }
        for (const std::unique_ptr<Node> &child : node.children) {
            if (child)
                list(*child, out);
        }
    }
};

RGBA colorAt(const QImage &image, int x, int y, const RGBA *palette)
{
    if (image.format() == QImage::Format_Indexed8)
        return palette[image.pixelIndex(x, y)];
    return Kiln::fromQRgb(reinterpret_cast<const QRgb *>(image.constScanLine(y))[x]);
}

/// Pixels of 1 or 4 bytes as plain numbers.
unsigned rawPixel(const QImage &image, int x, int y)
{
    return image.depth() == 8 ? image.constScanLine(y)[x]
                              : reinterpret_cast<const QRgb *>(image.constScanLine(y))[x];
}

void setRawPixel(QImage &image, int x, int y, unsigned value)
{
    if (image.depth() == 8)
        image.scanLine(y)[x] = uchar(value);
    else
        reinterpret_cast<QRgb *>(image.scanLine(y))[x] = value;
}

} // namespace

QImage adapt(const QImage &image, const RGBA *palette)
{
    bool forceOpaque = image.format() != QImage::Format_ARGB32;
    if (image.format() == QImage::Format_Indexed8) {
        for (QRgb color : image.colorTable()) {
            if (qAlpha(color) < 255)
                forceOpaque = false;
        }
    }
    QVector<QRgb> table;
    for (int i = 0; i < 256; ++i)
        table.append(
            qRgba(palette[i].r, palette[i].g, palette[i].b, forceOpaque ? 255 : palette[i].a));
    const QImage source = image.convertToFormat(QImage::Format_ARGB32);
    QImage result(image.size(), QImage::Format_Indexed8);
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(source.constScanLine(y));
        uchar *target = result.scanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            const QRgb c = row[x];
            const int a = qAlpha(c);
            int bestCost = INT_MAX;
            for (int i = 0; i < 256; ++i) {
                const QRgb entry = table.at(i);
                const int dr = qRed(c) - qRed(entry);
                const int dg = qGreen(c) - qGreen(entry);
                const int db = qBlue(c) - qBlue(entry);
                const int d = dr * dr + dg * dg + db * db;
                int cost = a == 0 ? 0 : a == 255 ? d : a * d / 255;
                cost += (a - qAlpha(entry)) * (a - qAlpha(entry));
                if (cost < bestCost) {
                    bestCost = cost;
                    target[x] = uchar(i);
                }
            }
        }
    }
    result.setColorTable(table);
    return result;
}

int quantize(const QVector<QImage> &images, int maxColors, int maxBits, RGBA (&table)[256])
{
    Tree tree;
    tree.maxBits = maxBits;
    for (const QImage &image : images) {
        const QImage source = image.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < source.height(); ++y) {
            for (int x = 0; x < source.width(); ++x) {
                tree.add(tree.root, source.pixel(x, y), 0);
                while (tree.leaves > maxColors)
                    tree.reduce();
            }
        }
    }
    std::fill(std::begin(table), std::end(table), RGBA());
    RGBA *out = table;
    tree.list(*tree.root, out);
    return tree.leaves;
}

QImage resizeNearest(const QImage &image, QSize size)
{
    QImage result(size, image.format());
    memset(result.bits(), 0, size_t(result.sizeInBytes()));
    const int bytes = image.format() == QImage::Format_Indexed8 ? 1
                      : image.format() == QImage::Format_RGB32  ? 3
                                                                : 4;
    const int stepX = (image.width() << 16) / size.width() + 1;
    const int stepY = (image.height() << 16) / size.height() + 1;
    for (int y = 0, accY = 0; y < size.height(); ++y, accY += stepY) {
        for (int x = 0, accX = 0; x < size.width(); ++x, accX += stepX)
            memcpy(result.scanLine(y) + x * bytes,
                   image.constScanLine(qMin(accY >> 16, image.height() - 1)) +
                       qMin(accX >> 16, image.width() - 1) * bytes,
                   size_t(bytes));
    }
    return result;
}

QImage resizeBilinear(const QImage &image, QSize size, RGBA (&palette)[256])
{
    Kiln::PaletteObject colors(&palette);
    QImage result(size, image.format());
    const double rx = double(image.width()) / size.width();
    const double ry = double(image.height()) / size.height();
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const int x0 = qFloor(x * rx);
            const int y0 = qFloor(y * ry);
            const int x1 = x0 + 1 < image.width() ? x0 + 1 : x0;
            const int y1 = y0 + 1 < image.height() ? y0 + 1 : y0;
            const double fx = x * rx - x0;
            const double fy = y * ry - y0;
            const RGBA p00 = colorAt(image, x0, y0, palette);
            const RGBA p10 = colorAt(image, x1, y0, palette);
            const RGBA p01 = colorAt(image, x0, y1, palette);
            const RGBA p11 = colorAt(image, x1, y1, palette);
            const auto mix = [&](unsigned char RGBA::*c) {
                const int top = int(p00.*c * (1 - fx) + p10.*c * fx) & 255;
                const int bottom = int(p01.*c * (1 - fx) + p11.*c * fx) & 255;
                return static_cast<unsigned char>(int(bottom * fy + top * (1 - fy)));
            };
            const RGBA mixed = {mix(&RGBA::r), mix(&RGBA::g), mix(&RGBA::b), mix(&RGBA::a)};
            setRawPixel(result, x, y,
                        image.depth() == 8 ? colors.index(mixed) : Kiln::toQRgb(mixed));
        }
    }
    return result;
}

QImage scale(const QImage &image, int factor)
{
    QImage result(image.size() * factor, image.format());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const unsigned E = rawPixel(image, x, y);
            const auto at = [&](int dx, int dy) {
                return image.valid(x + dx, y + dy) ? rawPixel(image, x + dx, y + dy) : E;
            };
            const unsigned A = at(-1, -1), B = at(0, -1), C = at(1, -1), D = at(-1, 0),
                           F = at(1, 0), G = at(-1, 1), H = at(0, 1), I = at(1, 1);
            unsigned out[9] = {E, E, E, E, E, E, E, E, E};
            if (B != H && D != F) {
                if (factor == 2) {
                    out[0] = D == B ? D : E;
                    out[1] = B == F ? F : E;
                    out[2] = D == H ? D : E;
                    out[3] = H == F ? F : E;
                } else {
                    out[0] = D == B ? D : E;
                    out[1] = (D == B && E != C) || (B == F && E != A) ? B : E;
                    out[2] = B == F ? F : E;
                    out[3] = (D == B && E != G) || (D == H && E != A) ? D : E;
                    out[5] = (B == F && E != I) || (H == F && E != C) ? F : E;
                    out[6] = D == H ? D : E;
                    out[7] = (D == H && E != I) || (H == F && E != G) ? H : E;
                    out[8] = H == F ? F : E;
                }
            }
            for (int i = 0; i < factor * factor; ++i)
                setRawPixel(result, x * factor + i % factor, y * factor + i / factor, out[i]);
        }
    }
    return result;
}

QImage rotate(const QImage &image, float radians, unsigned fill)
{
    const float c = std::cos(radians);
    const float s = std::sin(radians);
    const int w = image.width();
    const int h = image.height();
    const int xs[] = {0, int(-h * s), int(w * c - h * s), int(w * c)};
    const int ys[] = {0, int(h * c), int(h * c + w * s), int(w * s)};
    const int minX = *std::min_element(xs, xs + 4);
    const int minY = *std::min_element(ys, ys + 4);
    QImage result(*std::max_element(xs, xs + 4) - minX, *std::max_element(ys, ys + 4) - minY,
                  image.format());
    for (int y = 0; y < result.height(); ++y) {
        for (int x = 0; x < result.width(); ++x) {
            const int u = int((x + minX) * c + (y + minY) * s);
            const int v = int((y + minY) * c - (x + minX) * s);
            setRawPixel(result, x, y, image.valid(u, v) ? rawPixel(image, u, v) : fill);
        }
    }
    return result;
}

QByteArray fileOf(const char *format, const QImage &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return Kiln::saveImage(&buffer, format, image) ? buffer.data() : QByteArray("refused");
}

QByteArray pixelsOf(const QImage &image)
{
    QByteArray pixels;
    for (int y = 0; y < image.height(); ++y)
        pixels.append(reinterpret_cast<const char *>(image.constScanLine(y)),
                      image.width() * image.depth() / 8);
    return pixels;
}

QImage noise(QSize size, QImage::Format format, int colors, std::mt19937 &random)
{
    QImage image(size, format);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            unsigned value = random();
            if (format == QImage::Format_Indexed8)
                value %= unsigned(colors);
            else if (format == QImage::Format_RGB32)
                value |= 0xFF000000;
            setRawPixel(image, x, y, value);
        }
    }
    if (format == QImage::Format_Indexed8) {
        QVector<QRgb> table;
        for (int i = 0; i < 256; ++i)
            table.append(random() | 0xFF000000);
        image.setColorTable(table);
    }
    return image;
}

QImage sprite(QSize size, int colors, std::mt19937 &random)
{
    QImage image(size, QImage::Format_Indexed8);
    image.fill(0);
    QVector<QRgb> table;
    for (int i = 0; i < 256; ++i)
        table.append(random() | 0xFF000000);
    image.setColorTable(table);
    const int w = size.width();
    const int h = size.height();
    const auto pick = [&](int limit) { return int(random() % unsigned(qMax(limit, 1))); };
    for (int shape = 0; shape < 12; ++shape) {
        const int cx = w / 4 + pick(w / 2);
        const int cy = h / 4 + pick(h / 2);
        const int rx = 1 + pick(w / 4);
        const int ry = 1 + pick(h / 4);
        const int first = 1 + pick(colors - 1);
        const int second = 1 + pick(colors - 1);
        const int kind = pick(3);
        for (int y = qMax(0, cy - ry); y < qMin(h, cy + ry); ++y) {
            for (int x = qMax(0, cx - rx); x < qMin(w, cx + rx); ++x) {
                const double u = double(x - cx) / rx;
                const double v = double(y - cy) / ry;
                const double distance = u * u + v * v;
                if (distance > 1)
                    continue;
                int color = first;
                if (distance > 0.85)
                    color = 1;
                else if (kind == 1 && (x + y) % 2)
                    color = second;
                else if (kind == 2)
                    color = 1 + (first + (x % 8) * (y % 4) / 3) % qMax(colors - 1, 1);
                image.scanLine(y)[x] = uchar(color % colors);
            }
        }
    }
    return image;
}

QImage photo(QSize size, std::mt19937 &random)
{
    QImage image(size, QImage::Format_RGB32);
    const double phase = random() % 628 / 100.0;
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const double u = 6.0 * x / size.width();
            const double v = 6.0 * y / size.height();
            const auto channel = [&](double wave) {
                return qBound(0, int(128 + 100 * wave) + int(random() % 17) - 8, 255);
            };
            row[x] = qRgb(channel(std::sin(u + phase) * std::cos(v)),
                          channel(std::sin(v + 0.5 * u)), channel(std::cos(u * v / 4 + phase)));
        }
    }
    return image;
}

void rampPalette(RGBA (&palette)[256], std::mt19937 &random)
{
    for (int ramp = 0; ramp < 16; ++ramp) {
        const QColor base = QColor::fromHsv(int(random() % 360), 60 + int(random() % 190), 255);
        for (int i = 0; i < 16; ++i)
            palette[ramp * 16 + i] =
                Kiln::fromQRgb(QColor(base.red() * (i + 1) / 16, base.green() * (i + 1) / 16,
                                      base.blue() * (i + 1) / 16)
                                   .rgba());
    }
    palette[0] = {0, 0, 0, 0};
}

} // namespace Plain
