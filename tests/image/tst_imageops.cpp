#include "plain.h"

#include <kilnx/image/bilinear_p.h>
#include <kilnx/image/colorquantizer.h>
#include <kilnx/image/imageops.h>
#include <tests/support/rows.h>

#include <QTest>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
}

using namespace Kiln;
using Plain::pixelsOf;

namespace
{

constexpr QImage::Format Formats[] = {QImage::Format_Indexed8, QImage::Format_RGB32,
                                      QImage::Format_ARGB32};

QByteArray bytesOf(const RGBA (&palette)[256])
{
    return QByteArray(reinterpret_cast<const char *>(palette), sizeof palette);
}

/// A scene with soft and hard parts of every kind of alpha.
QImage translucent(QSize size, std::mt19937 &random)
{
    QImage image = Plain::photo(size, random).convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            row[x] = (row[x] & 0x00FFFFFF) | (x * 5 + y / 4 * 3) % 256 << 24;
    }
    return image;
}

/// The filter of FFmpeg, by a graph of its own.
QImage filteredByFfmpeg(const QImage &image, int factor)
{
    AVFilterGraph *graph = avfilter_graph_alloc();
    AVFilterInOut *inputs = nullptr;
    AVFilterInOut *outputs = nullptr;
    const QByteArray text =
        QString::asprintf("buffer@in=video_size=%dx%d:pix_fmt=bgra:time_base=1/1,hqx@x=%d,"
                          "buffersink@out",
                          image.width(), image.height(), factor)
            .toLatin1();
    QImage result;
    if (avfilter_graph_parse2(graph, text.constData(), &inputs, &outputs) >= 0 &&
        avfilter_graph_config(graph, nullptr) >= 0) {
        AVFrame *frame = av_frame_alloc();
        frame->format = AV_PIX_FMT_BGRA;
        frame->width = image.width();
        frame->height = image.height();
        av_frame_get_buffer(frame, 0);
        for (int y = 0; y < image.height(); ++y)
            memcpy(frame->data[0] + y * frame->linesize[0], image.constScanLine(y),
                   size_t(image.width()) * 4);
        AVFrame *scaled = av_frame_alloc();
        if (av_buffersrc_add_frame(avfilter_graph_get_filter(graph, "buffer@in"), frame) >= 0 &&
            av_buffersink_get_frame(avfilter_graph_get_filter(graph, "buffersink@out"), scaled) >=
                0) {
            result = QImage(scaled->data[0], scaled->width, scaled->height, scaled->linesize[0],
                            QImage::Format_ARGB32)
                         .copy();
        }
        av_frame_free(&scaled);
        av_frame_free(&frame);
    }
    avfilter_graph_free(&graph);
    return result;
}

/// What a quantizer of another kind may use.
class OpenQuantizer : public ColorQuantizer
{
public:
    using ColorQuantizer::addColor;
    using ColorQuantizer::ColorQuantizer;
    using ColorQuantizer::getPaletteColors;
    using ColorQuantizer::reduceTree;
};

} // namespace

class TestImageOps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void adaptsLikeThePlainScan_data()
    {
        columns<QImage, QVector<QRgb>>("image", "palette");
        std::mt19937 random(1);
        RGBA ramps[256];
        Plain::rampPalette(ramps, random);
        QVector<QRgb> ramp, wild, alphas, equal(256, 0xFF808080), close;
        for (int i = 0; i < 256; ++i) {
            ramp.append(toQRgb(ramps[i]));
            wild.append(random());
            alphas.append(qRgba(i % 4 * 60, 0, i % 3 * 90, i));
            close.append(qRgba(100 + i % 4, 100 + i / 4 % 4, 100 + i / 16, 250 + i % 6));
        }
        const QSize size(97, 61);
        const QVector<QPair<const char *, QImage>> images = {
            {"photo", Plain::photo(size, random)},
            {"photo with alpha", translucent(size, random)},
            {"noise", Plain::noise(size, QImage::Format_ARGB32, 0, random)},
            {"opaque noise", Plain::noise(size, QImage::Format_RGB32, 0, random)},
            {"indexed", Plain::noise(size, QImage::Format_Indexed8, 256, random)},
            {"sprite", Plain::sprite(size, 32, random)}};
        const QVector<QPair<const char *, QVector<QRgb>>> palettes = {{"ramps", ramp},
                                                                      {"wild", wild},
                                                                      {"alphas", alphas},
                                                                      {"equal", equal},
                                                                      {"close", close}};
        for (const auto &image : images) {
            for (const auto &palette : palettes)
                QTest::addRow("%s, %s", image.first, palette.first)
                    << image.second << palette.second;
        }
        QImage table = Plain::noise({16, 9}, QImage::Format_Indexed8, 256, random);
        table.setColorTable(wild);
        addRow("a table with alpha", table, alphas);
        table.setColorTable(ramp.mid(0, 7));
        addRow("indexes past the table", table, wild);
        table.setColorTable({});
        addRow("no table", table, wild);
        QImage mono(19, 5, QImage::Format_Mono);
        mono.fill(1);
        addRow("mono", mono, ramp);
    }

    void adaptsLikeThePlainScan()
    {
        auto [image, palette] = row<QImage, QVector<QRgb>>();
        RGBA table[256];
        std::transform(palette.cbegin(), palette.cend(), table, fromQRgb);
        const QImage expected = Plain::adapt(image, table);
        adaptImageToPalette(image, table);
        QCOMPARE(int(image.format()), int(QImage::Format_Indexed8));
        QCOMPARE(image.colorTable(), expected.colorTable());
        QCOMPARE(pixelsOf(image), pixelsOf(expected));
    }

    void adaptedTable()
    {
        RGBA palette[256];
        for (int i = 0; i < 256; ++i)
            palette[i] = {uchar(i), uchar(i), uchar(i), 255};
        palette[40] = {255, 0, 0, 0};
        palette[50] = {0, 0, 0, 0};
        QImage image(2, 1, QImage::Format_ARGB32);
        image.setPixel(0, 0, 0x00000000);
        image.setPixel(1, 0, 0xFF2A2A2A);
        adaptImageToPalette(image, palette);
        // A transparent pixel takes the first entry without alpha, not the nearest colour.
        QCOMPARE(image.pixelIndex(0, 0), 40);
        QCOMPARE(image.pixelIndex(1, 0), 42);
        QCOMPARE(image.color(40), qRgba(255, 0, 0, 0));
        QImage opaque(1, 1, QImage::Format_RGB32);
        opaque.fill(0xFFFF0000);
        adaptImageToPalette(opaque, palette);
        QCOMPARE(opaque.pixelIndex(0, 0), 40);
        QCOMPARE(opaque.color(40), 0xFFFF0000);
        QImage null;
        adaptImageToPalette(null, palette);
        QVERIFY(null.isNull());
    }

    void quantizesLikeThePlainTree_data()
    {
        columns<QVector<QImage>, int, int>("images", "maxColors", "maxBits");
        std::mt19937 random(2);
        const QImage photo = Plain::photo({90, 70}, random);
        const QImage other = Plain::photo({33, 40}, random);
        const QImage alpha = translucent({50, 50}, random);
        const QImage noise = Plain::noise({120, 90}, QImage::Format_ARGB32, 0, random);
        addRow("photo", QVector<QImage>{photo}, 255, 8);
        addRow("photo, few colours", QVector<QImage>{photo}, 7, 8);
        addRow("photo, one colour", QVector<QImage>{photo}, 1, 8);
        addRow("photo, flat tree", QVector<QImage>{photo}, 64, 3);
        addRow("noise", QVector<QImage>{noise}, 255, 8);
        addRow("alpha", QVector<QImage>{alpha}, 255, 8);
        addRow("several pictures", QVector<QImage>{photo, alpha, other, photo}, 255, 8);
        addRow("few colours", QVector<QImage>{Plain::sprite({64, 64}, 32, random)}, 255, 8);
    }

    void quantizesLikeThePlainTree()
    {
        auto [images, maxColors, maxBits] = row<QVector<QImage>, int, int>();
        RGBA expected[256];
        const int leaves = Plain::quantize(images, maxColors, maxBits, expected);
        OpenQuantizer quantizer(maxColors, maxBits);
        for (const QImage &image : images)
            QVERIFY(quantizer.processImage(image));
        RGBA table[256];
        quantizer.getColorTable(table);
        QCOMPARE(quantizer.colorCount(), leaves);
        QVERIFY(leaves <= maxColors);
        QCOMPARE(bytesOf(table).toHex(), bytesOf(expected).toHex());
    }

    void quantizerLimits()
    {
        RGBA table[256];
        table[0] = {1, 1, 1, 1};
        ColorQuantizer unused(255, 8);
        unused.getColorTable(table);
        QCOMPARE(bytesOf(table), QByteArray(1024, 0));

        QImage image(300, 1, QImage::Format_RGB32);
        for (int x = 0; x < 300; ++x)
            image.setPixel(x, 0, qRgb(x % 256, x, x / 2));
        for (const auto &limits : {qMakePair(255, 8), qMakePair(0, 0), qMakePair(-5, 99)}) {
            ColorQuantizer quantizer(limits.first, limits.second);
            quantizer.processImage(image);
            ColorQuantizer copy(1, 1);
            copy = quantizer;
            QVERIFY(copy.colorCount() <= qMax(limits.first, 1));
            RGBA other[256];
            quantizer.getColorTable(table);
            copy.getColorTable(other);
            QCOMPARE(bytesOf(table), bytesOf(other));
        }

        // 20 million pixels of one colour do not fit the sums of a leaf.
        QImage large(5000, 4000, QImage::Format_RGB32);
        large.fill(0xFFFEFDFC);
        ColorQuantizer quantizer(255, 8);
        quantizer.processImage(large);
        quantizer.getColorTable(table);
        QCOMPARE(table[0], (RGBA{0xFE, 0xFD, 0xFC, 0xFF}));
    }

    void resizesLikeThePlainFilter_data()
    {
        columns<int, int>("format", "filter");
        for (QImage::Format format : Formats) {
            QTest::addRow("nearest, format %d", format) << int(format) << int(NearestNeighbor);
            QTest::addRow("bilinear, format %d", format) << int(format) << int(Bilinear);
        }
    }

    void resizesLikeThePlainFilter()
    {
        auto [format, filter] = row<int, int>();
        std::mt19937 random(3);
        RGBA palette[256];
        for (RGBA &entry : palette)
            entry = fromQRgb(random());
        for (const QSize &from : {QSize(1, 1), QSize(3, 2), QSize(33, 17), QSize(61, 70)}) {
            QImage image = Plain::noise(from, QImage::Format(format), 256, random);
            for (const QSize &to :
                 {QSize(1, 1), QSize(2, 7), QSize(33, 17), QSize(64, 5), QSize(131, 512)}) {
                const QImage result = resizeImage(image, to, palette, ImageResizeFilter(filter));
                const QImage expected = filter == NearestNeighbor
                                            ? Plain::resizeNearest(image, to)
                                            : Plain::resizeBilinear(image, to, palette);
                QCOMPARE(result.size(), to);
                QCOMPARE(int(result.format()), format);
                QCOMPARE(pixelsOf(result), pixelsOf(expected));
                QVERIFY(result.colorTable().isEmpty());
            }
        }
    }

    /// The rounded steps of far larger pictures add up to more than the source has.
    void nearestBeyondTheLastPosition()
    {
        std::mt19937 random(10);
        RGBA palette[256] = {};
        for (QImage::Format format : Formats) {
            const QImage image = Plain::noise({3, 3}, format, 256, random);
            for (const QSize &size : {QSize(200000, 2), QSize(2, 200000)})
                QCOMPARE(pixelsOf(resizeImage(image, size, palette, NearestNeighbor)),
                         pixelsOf(Plain::resizeNearest(image, size)));
        }
    }

    /// Processors without vectors give the same pixels.
    void scalesWithoutVectors()
    {
        std::mt19937 random(11);
        RGBA palette[256] = {};
        for (const QSize &size : {QSize(1, 5), QSize(67, 31), QSize(130, 90)}) {
            const QImage image = Plain::noise({37, 23}, QImage::Format_ARGB32, 0, random);
            const QImage expected = Plain::resizeBilinear(image, size, palette);
            for (bool useVectors : {true, false}) {
                BilinearScaler scaler(image, size, palette, useVectors);
                QImage scaled(size, image.format());
                for (int y = 0; y < size.height(); ++y)
                    scaler.scale(y, reinterpret_cast<QRgb *>(scaled.scanLine(y)));
                QCOMPARE(scaled, expected);
            }
        }
    }

    void scalesLikeThePlainModel()
    {
        std::mt19937 random(4);
        RGBA palette[256] = {};
        for (const QSize &size :
             {QSize(1, 1), QSize(1, 9), QSize(7, 1), QSize(15, 8), QSize(40, 33)}) {
            for (QImage::Format format : Formats) {
                for (const QImage &image :
                     {Plain::noise(size, QImage::Format_Indexed8, 3, random)
                          .convertToFormat(format),
                      Plain::sprite(size, 8, random).convertToFormat(format)}) {
                    for (int factor : {2, 3}) {
                        const QImage result =
                            resizeImage(image, size * factor, palette,
                                        factor == 2 ? EpxNearestNeighbor : EpxBilinear);
                        QCOMPARE(pixelsOf(result), pixelsOf(Plain::scale(image, factor)));
                    }
                }
            }
        }
    }

    void epxChoosesItsSteps()
    {
        const struct {
            QSize size;
            QVector<int> steps;
        } rows[] = {{{10, 8}, {2}},     {{40, 32}, {2}}, {{50, 40}, {3}},     {{60, 48}, {3}},
                    {{62, 20}, {2, 2}}, {{20, 48}, {3}}, {{200, 160}, {2, 2}}};
        std::mt19937 random(5);
        RGBA palette[256];
        for (RGBA &entry : palette)
            entry = fromQRgb(random());
        for (QImage::Format format : {QImage::Format_Indexed8, QImage::Format_ARGB32}) {
            const QImage image = Plain::sprite({20, 16}, 9, random).convertToFormat(format);
            for (const auto &[size, steps] : rows) {
                QImage grown = image;
                for (int step : steps)
                    grown = Plain::scale(grown, step);
                const bool fits = grown.size() == size;
                QCOMPARE(pixelsOf(resizeImage(image, size, palette, EpxNearestNeighbor)),
                         pixelsOf(fits ? grown : Plain::resizeNearest(grown, size)));
                QCOMPARE(pixelsOf(resizeImage(image, size, palette, EpxBilinear)),
                         pixelsOf(fits ? grown : Plain::resizeBilinear(grown, size, palette)));
            }
        }
    }

    void hqEqualsFfmpeg_data()
    {
        columns<QImage, int>("image", "factor");
        std::mt19937 random(6);
        const QImage sprite = Plain::sprite({33, 18}, 20, random);
        // Steps of alpha alone, and colours below no alpha, as cut-out sprites have them.
        QImage cutOut = sprite.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < cutOut.height(); ++y) {
            for (int x = 0; x < cutOut.width(); ++x)
                cutOut.setPixel(x, y,
                                (cutOut.pixel(x, y) & 0x00FFFFFF) |
                                    QRgb(sprite.pixelIndex(x, y) * 51 % 256) << 24);
        }
        // Wider and higher than the pieces that the filter works on.
        addRow("large, hq2x", translucent({131, 64}, random), 2);
        addRow("large, hq3x", Plain::sprite({62, 190}, 20, random), 3);
        addRow("one pixel, hq2x", Plain::noise({1, 1}, QImage::Format_RGB32, 0, random), 2);
        for (int factor : {2, 3, 4}) {
            QTest::addRow("indexed, hq%dx", factor) << sprite << factor;
            QTest::addRow("true colour, hq%dx", factor)
                << sprite.convertToFormat(QImage::Format_RGB32) << factor;
            QTest::addRow("alpha, hq%dx", factor) << cutOut << factor;
            QTest::addRow("any alpha, hq%dx", factor) << translucent({40, 21}, random) << factor;
        }
    }

    void hqEqualsFfmpeg()
    {
        auto [image, factor] = row<QImage, int>();
        RGBA palette[256] = {};
        const QVector<QRgb> colors = image.colorTable();
        std::transform(colors.cbegin(), colors.cend(), palette, fromQRgb);
        PaletteObject table(&palette);
        const QImage expected =
            filteredByFfmpeg(image.convertToFormat(QImage::Format_ARGB32), factor);
        const QImage result = resizeImage(image, image.size() * factor, palette, HqNearestNeighbor);
        QCOMPARE(result.size(), image.size() * factor);
        QCOMPARE(result.size(), expected.size());
        for (int y = 0; y < result.height(); ++y) {
            const auto *wanted = reinterpret_cast<const QRgb *>(expected.constScanLine(y));
            const auto *row = reinterpret_cast<const QRgb *>(result.constScanLine(y));
            for (int x = 0; x < result.width(); ++x) {
                if (image.format() == QImage::Format_Indexed8)
                    QCOMPARE(result.pixelIndex(x, y), int(table.index(fromQRgb(wanted[x]))));
                else
                    QCOMPARE(row[x], wanted[x]);
            }
        }
    }

    void hqFitsOtherSizes()
    {
        std::mt19937 random(7);
        RGBA palette[256] = {};
        const QImage image =
            Plain::sprite({16, 12}, 9, random).convertToFormat(QImage::Format_ARGB32);
        const struct {
            QSize size;
            int factor;
        } cases[] = {{{8, 6}, 2}, {{40, 30}, 3}, {{100, 20}, 4}};
        for (const auto &c : cases) {
            const QImage grown = filteredByFfmpeg(image, c.factor);
            QCOMPARE(resizeImage(image, c.size, palette, HqNearestNeighbor),
                     Plain::resizeNearest(grown, c.size));
            QCOMPARE(resizeImage(image, c.size, palette, HqBilinear),
                     Plain::resizeBilinear(grown, c.size, palette));
        }
    }

    void resizeRefuses_data()
    {
        columns<QImage, QSize, int>("image", "size", "filter");
        const QImage image(4, 4, QImage::Format_ARGB32);
        addRow("filter 6", image, QSize(8, 8), 6);
        addRow("filter -1", image, QSize(8, 8), -1);
        addRow("null", QImage(), QSize(8, 8), 0);
        for (int filter = 0; filter <= HqBilinear; ++filter) {
            QTest::addRow("no width, filter %d", filter) << image << QSize(0, 8) << filter;
            QTest::addRow("negative, filter %d", filter) << image << QSize(8, -8) << filter;
            QTest::addRow("far too large, filter %d", filter)
                << image << QSize(1 << 30, 1 << 30) << filter;
            QTest::addRow("far too wide, filter %d", filter)
                << image << QSize((1 << 20) + 1, 1) << filter;
            QTest::addRow("far too high, filter %d", filter)
                << image << QSize(1, (1 << 20) + 1) << filter;
            if (filter > 0)
                QTest::addRow("16 bits, filter %d", filter)
                    << QImage(4, 4, QImage::Format_RGB16) << QSize(8, 8) << filter;
        }
    }

    void resizeRefuses()
    {
        auto [image, size, filter] = row<QImage, QSize, int>();
        RGBA palette[256] = {};
        QVERIFY(resizeImage(image, size, palette, ImageResizeFilter(filter)).isNull());
    }

    void rotatesLikeThePlainModel()
    {
        const QImage little(3, 3, QImage::Format_ARGB32);
        QVERIFY(rotateImage(QImage(), 1, 0).isNull());
        for (float radians : {std::numeric_limits<float>::infinity(), std::nanf("")})
            QVERIFY(rotateImage(little, radians, 0).isNull());
        QVERIFY(rotateImage(QImage(3, 3, QImage::Format_RGB16), 1, 0).isNull());
        QVERIFY(!rotateImage(little, 1e30f, 0).isNull());
        std::mt19937 random(8);
        for (QImage::Format format : Formats) {
            for (const QSize &size : {QSize(1, 1), QSize(8, 3), QSize(33, 47)}) {
                const QImage image = Plain::noise(size, format, 256, random);
                for (int degrees = -370; degrees <= 370; degrees += 10) {
                    const auto radians = float(degrees * M_PI / 180);
                    const QImage result = rotateImage(image, radians, 0x80FF0177);
                    const QImage expected = Plain::rotate(image, radians, 0x80FF0177);
                    QCOMPARE(result.size(), expected.size());
                    QCOMPARE(pixelsOf(result), pixelsOf(expected));
                }
                const QImage same = rotateImage(image, 0, 0);
                QCOMPARE(pixelsOf(same), pixelsOf(image));
                QVERIFY(same.colorTable().isEmpty());
            }
        }
    }

    void cropRectangles_data()
    {
        columns<int, QVector<QPoint>, int, QRect>("format", "dots", "margin", "rect");
        const QRect none(QPoint(100000, 100000), QPoint(0, 0));
        for (QImage::Format format : {QImage::Format_Indexed8, QImage::Format_RGB32,
                                      QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied}) {
            const auto row = [format](const char *name, const QVector<QPoint> &dots, int margin,
                                      const QRect &rect) {
                QTest::addRow("%s, format %d", name, format)
                    << int(format) << dots << margin << rect;
            };
            row("nothing", {}, 0, none);
            row("nothing, margin", {}, 1000000, none);
            row("one dot", {{4, 5}}, 0, {4, 5, 1, 1});
            row("two dots", {{9, 2}, {3, 7}}, 0, {3, 2, 7, 6});
            row("margin", {{9, 2}, {3, 7}}, 2, {1, 0, 11, 10});
            row("margin within the picture", {{9, 2}, {3, 7}}, INT_MAX, {0, 0, 13, 11});
            row("negative margin", {{4, 5}}, -3, {4, 5, 1, 1});
        }
        addRow("16 bits", int(QImage::Format_RGB16), QVector<QPoint>{{1, 1}}, 0, QRect());
    }

    void cropRectangles()
    {
        auto [format, dots, margin, rect] = row<int, QVector<QPoint>, int, QRect>();
        QImage image(13, 11, QImage::Format(format));
        image.fill(0);
        for (const QPoint &dot : dots) {
            if (image.depth() == 8)
                image.scanLine(dot.y())[dot.x()] = 9;
            else if (image.depth() == 32)
                reinterpret_cast<QRgb *>(image.scanLine(dot.y()))[dot.x()] = 0x01000001;
        }
        QCOMPARE(cropImageRect(image, margin), rect);
    }

    void crops()
    {
        std::mt19937 random(9);
        QImage image = Plain::noise({9, 8}, QImage::Format_Indexed8, 256, random);
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 9; ++x)
                image.setPixel(x, y, x < 2 || y < 3 ? 5 : 6);
        }
        const QImage whole = image;
        QPoint topLeft(-1, -1);
        QVERIFY(cropImage(image, &topLeft, 1));
        QCOMPARE(topLeft, QPoint(1, 2));
        QCOMPARE(image, whole.copy(1, 2, 8, 6));
        QVERIFY(cropImage(image, nullptr, 0));
        QCOMPARE(image.size(), QSize(7, 5));

        // Nothing to cut: no content, or content up to all edges.
        QImage full = whole;
        full.setPixel(0, 4, 7);
        full.setPixel(4, 0, 7);
        QImage blank(4, 4, QImage::Format_ARGB32);
        blank.fill(0);
        for (QImage kept : {full, blank, QImage()}) {
            const QImage before = kept;
            topLeft = QPoint(-1, -1);
            QVERIFY(!cropImage(kept, &topLeft, 0));
            QCOMPARE(kept, before);
            QCOMPARE(topLeft, QPoint(-1, -1));
        }
    }
};

QTEST_APPLESS_MAIN(TestImageOps)
#include "tst_imageops.moc"
