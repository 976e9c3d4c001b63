#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/imagecanvas.h>
#include <kilnx/imageedit/imagecommands.h>
#include <tests/imageedit/plaincanvas.h>
#include <tests/support/rows.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <climits>

using namespace Kiln;
using PlainCanvas::randomPicture;
using PlainCanvas::rasterAt;
using PlainCanvas::stateOf;
using PlainCanvas::UndoStates;

namespace
{

/// 256 colours of every opacity; index 0 is clear, as in a sprite's palette.
class TablePalette : public ImagePalette
{
public:
    explicit TablePalette(quint32 seed)
        : m_object(&m_table)
    {
        QRandomGenerator dice(seed);
        for (int i = 1; i < 256; ++i) {
            const int kind = dice.bounded(3);
            m_table[i] = fromQRgb(dice.generate() | (kind == 0 ? 0xff000000u : 0x40000000u));
            if (kind == 1)
                m_table[i].a = 0;
        }
    }
    unsigned char backgroundIndex() const override { return m_background; }
    unsigned char foregroundIndex() const override { return 7; }
    QRgb rgbAt(unsigned char i) override { return toQRgb(m_table[i]); }
    unsigned char indexOf(QColor color) override { return m_object.index(fromQRgb(color.rgba())); }
    void setForegroundIndex(unsigned char) override {}
    void setBackgroundIndex(unsigned char index) override { m_background = index; }
    const RGBA *colors() override { return m_table; }
    void copyTo(RGBA (&out)[256]) override { m_object.toPalette(out); }

private:
    RGBA m_table[256] = {};
    PaletteObject m_object;
    unsigned char m_background = 0;
};

QString namesOf(const ImageCanvas &canvas)
{
    QString all;
    for (const ImageLayer *layer : canvas.layers.list)
        all += layer->name;
    return all;
}

uchar plainFlat(const ImageCanvas &canvas, int x, int y)
{
    QVector<QRgb> colors;
    for (int row = 0; row < canvas.layers.list.size(); ++row) {
        const uchar index = rasterAt(canvas, row)->image.constScanLine(y)[x];
        const QRgb color = canvas.palette->rgbAt(index);
        if (!canvas.layers.at(row)->visible || qAlpha(color) == 0)
            continue;
        if (colors.isEmpty() && qAlpha(color) == 255)
            return index;
        colors.append(color);
        if (qAlpha(color) == 255)
            break;
    }
    if (colors.isEmpty())
        return 0;
    int mixed[4];
    for (int i = 0; i < 4; ++i) {
        mixed[i] = colors.last() >> (i * 8) & 255;
        for (int k = colors.size() - 2; k >= 0; --k)
            mixed[i] += (int(colors[k] >> (i * 8) & 255) - mixed[i]) >> 1;
    }
    return canvas.palette->indexOf(QColor(mixed[2], mixed[1], mixed[0], mixed[3]));
}

} // namespace

class tst_ImageCanvas : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fillsWithReplacements()
    {
        TablePalette palette(1);
        ImageCanvas canvas(&palette);
        const QStringList rows = {"1121111", "1121221", "1221211", "1112211", "2222222", "1111111"};
        canvas.setSize({7, 6}, {}, false);
        QImage image({7, 6}, QImage::Format_Indexed8);
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 7; ++x)
                image.scanLine(y)[x] = uchar(rows[y][x].digitValue());
        canvas.painter->image = &image;
        canvas.painter->replacements = {{1, 3}};
        canvas.painter->floodFill({5, 3});
        canvas.painter->floodFill({2, 0}); // no pair for this one
        canvas.painter->replacements = {{3, 3}};
        canvas.painter->floodFill({0, 0}); // nothing that would change
        QStringList shown;
        for (int y = 0; y < 6; ++y) {
            shown += QString();
            for (int x = 0; x < 7; ++x)
                shown.last() += QString::number(image.scanLine(y)[x]);
        }
        QCOMPARE(shown,
                 QStringList({"1123333", "1123223", "1223233", "1112233", "2222222", "1111111"}));
    }

    void flattensLikeThePlainLoop()
    {
        QRandomGenerator dice(5);
        for (int round = 0; round < 12; ++round) {
            TablePalette palette(dice.generate());
            ImageCanvas canvas(&palette);
            const QSize size(1 + dice.bounded(40), 1 + dice.bounded(9));
            canvas.setSize(size, {}, false);
            QString lowest = "as it was";
            for (int i = 0; i < 5; ++i) {
                const QImage image = randomPicture(size, IndexedCanvas, dice);
                ImageLayer *layer = canvas.layers.addLayer(&image);
                layer->visible = dice.bounded(3) > 0;
                layer->name = QString::number(i);
                if (layer->visible && lowest == "as it was")
                    lowest = layer->name;
            }
            QString name = "as it was";
            const QImage flat = canvas.flatten(&name);
            QCOMPARE(name, lowest);
            QCOMPARE(flat.colorTable().value(9), palette.rgbAt(9));
            QImage partly = flat;
            partly.fill(77);
            const QRect area(size.width() / 3, 0, size.width() / 2, size.height());
            canvas.flattenInto(partly, area);
            for (int y = 0; y < size.height(); ++y) {
                for (int x = 0; x < size.width(); ++x) {
                    const uchar wanted = plainFlat(canvas, x, y);
                    QCOMPARE(flat.constScanLine(y)[x], wanted);
                    QCOMPARE(partly.constScanLine(y)[x], area.contains(x, y) ? wanted : uchar(77));
                }
            }
        }
    }

    void blendsLikeABarePainter()
    {
        QRandomGenerator dice(8);
        TablePalette palette(2);
        // Indexes among colours are those of the palette.
        ImageCanvas mixed(&palette);
        mixed.setFormat(RGBACanvas, false);
        mixed.setSize({256, 1}, {}, false);
        QImage indexes({256, 1}, QImage::Format_Indexed8);
        for (int i = 0; i < 256; ++i)
            indexes.scanLine(0)[i] = uchar(i);
        mixed.layers.addLayer(&indexes);
        const QImage shown = mixed.flatten();
        for (int i = 0; i < 256; ++i)
            QVERIFY(qAlpha(palette.rgbAt(uchar(i))) < 255 ||
                    shown.pixel(i, 0) == palette.rgbAt(uchar(i)));
        for (int mode = QPainter::CompositionMode_Plus; mode <= QPainter::CompositionMode_Exclusion;
             ++mode) {
            ImageCanvas canvas(&palette);
            canvas.setFormat(RGBACanvas, false);
            canvas.setSize({9, 7}, {}, false);
            QImage bare({9, 7}, QImage::Format_ARGB32);
            bare.fill(0);
            QPainter painter(&bare);
            for (int i = 0; i < 3; ++i) {
                const QImage image = randomPicture({9, 7}, RGBACanvas, dice);
                ImageLayer *layer = canvas.layers.addLayer(&image);
                layer->setBlendMode(i ? mode : int(QPainter::CompositionMode_SourceOver), true);
                layer->setOpacity(1.0 - i * 0.3, true);
                layer->visible = i != 1;
                painter.setCompositionMode(QPainter::CompositionMode(layer->blendMode));
                painter.setOpacity(layer->opacity);
                if (layer->visible)
                    painter.drawImage(0, 0, image);
            }
            painter.end();
            QCOMPARE(canvas.flatten(), bare);
        }
    }

    void undoesToTheSameBytes_data()
    {
        columns<quint32>("seed");
        for (quint32 seed = 1; seed <= 6; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }

    /// All operations at random, undo and redo among them: each place of the stack has one state.
    void undoesToTheSameBytes()
    {
        QFETCH(quint32, seed);
        QRandomGenerator dice(seed);
        TablePalette palette(seed);
        ImageCanvas canvas(&palette);
        canvas.setFormat(int(seed & 1), false);
        canvas.setSize({70, 66}, {}, false);
        UndoStates states(canvas);
        for (int step = 0; step < 200; ++step) {
            const int before = canvas.undoStack.index();
            const bool jumps = dice.bounded(17) == 0;
            if (jumps) {
                canvas.undoStack.setIndex(dice.bounded(canvas.undoStack.count() + 1));
            } else if (canvas.layers.list.isEmpty() || dice.bounded(4) > 0) {
                PlainCanvas::randomOperation(canvas, dice);
            } else {
                RasterLayer *layer = rasterAt(canvas, dice.bounded(canvas.layers.list.size()));
                layer->pushEdit();
                canvas.painter->image = &layer->image;
                canvas.painter->setColor(uchar(dice.bounded(256)));
                canvas.painter->penSize = 1 + dice.bounded(8);
                canvas.painter->drawLine({dice.bounded(90), dice.bounded(90)},
                                         {dice.bounded(90), dice.bounded(90)});
            }
            QVERIFY2(states.holds(before, jumps), qPrintable(QString::number(step)));
        }
        QVERIFY(states.walk([] { return true; }));
    }

    void keepsWhatChanged()
    {
        TablePalette palette(1);
        ImageCanvas canvas(&palette);
        canvas.setSize({2048, 2048}, {}, false);
        canvas.layers.addLayer(nullptr);
        RasterLayer *layer = rasterAt(canvas, 0);
        layer->pushEdit();
        canvas.painter->image = &layer->image;
        canvas.painter->drawLine({10, 10}, {40, 40});
        canvas.settleEdit();
        QSignalSpy changes(&canvas, &ImageCanvas::imageChanged);
        canvas.undoStack.undo();
        QCOMPARE(changes.takeFirst()[0].toRect(), QRect(0, 0, 64, 64));
        QCOMPARE(layer->image.constScanLine(20)[20], uchar(0));
        const uchar *pixels = layer->image.constBits();
        canvas.undoStack.redo();
        QVERIFY(layer->image.constBits() == pixels); // exchanged in place, not as a whole
        QCOMPARE(layer->image.constScanLine(20)[20], uchar(255));
        layer->resize({64, 32}, 0); // by an engine, without the canvas
        changes.clear();
        canvas.undoStack.undo();
        QCOMPARE(changes.count(), 1);
        QSignalSpy rows(&canvas.layers, &ImageLayers::dataChanged);
        layer->setName("ink", true);
        canvas.undoStack.undo();
        QCOMPARE(rows.count(), 2);
        for (const bool undo : {true, false}) { // what stays as it is
            layer->setName(layer->name, undo);
            layer->setBlendMode(layer->blendMode, undo);
            layer->setOpacity(layer->opacity, undo);
        }
        QVERIFY(canvas.undoStack.canRedo());
        QCOMPARE(rows.count(), 2);
        QCOMPARE(rows[1][0].toModelIndex(), canvas.layers.index(0));
    }

    /// In another order of the same colours, a layer looks as it did.
    void layersTakeAnotherPalette()
    {
        TablePalette palette(1);
        ImageCanvas canvas(&palette);
        QRandomGenerator dice(11);
        RGBA before[256];
        for (RGBA &color : before)
            color = {uchar(dice.bounded(256)), uchar(dice.bounded(256)), uchar(dice.bounded(256)),
                     255};
        RGBA after[256];
        std::copy(std::begin(before), std::end(before), after);
        std::shuffle(std::begin(after), std::end(after), dice);
        QImage picture(33, 7, QImage::Format_Indexed8);
        for (int i = 0; i < 33 * 7; ++i)
            picture.scanLine(i / 33)[i % 33] = uchar(i * 3 / 2 + 20);
        RasterLayer layer(&canvas, picture);
        layer.remap(before, after);
        for (int i = 0; i < 33 * 7; ++i) {
            const RGBA &was = before[picture.constScanLine(i / 33)[i % 33]];
            const RGBA &is = after[layer.image.constScanLine(i / 33)[i % 33]];
            QVERIFY(std::tie(was.r, was.g, was.b) == std::tie(is.r, is.g, is.b));
        }
        QVERIFY(layer.image != picture);
        const QImage remapped = layer.image;
        layer.resize({-3, 5}, 0); // there is no such picture
        QCOMPARE(layer.image, remapped);
        const QImage colored = picture.convertToFormat(QImage::Format_ARGB32);
        RasterLayer other(&canvas, colored);
        other.remap(before, after);
        QCOMPARE(other.image, colored);
    }

    void bringsADeletedLayerBackOnTop()
    {
        TablePalette palette(1);
        ImageCanvas canvas(&palette);
        canvas.setSize({4, 4}, {}, false);
        for (const char *name : {"c", "b", "a"})
            canvas.layers.addLayer(nullptr)->name = name;
        auto *fresh = new RasterLayer(&canvas, QImage(4, 4, QImage::Format_Indexed8));
        fresh->name = "x";
        canvas.layers.insertLayer(fresh, 2, true);
        fresh->release();
        QCOMPARE(namesOf(canvas), "abxc");
        canvas.undoStack.undo();
        QCOMPARE(canvas.undoStack.count(), 4); // undoing is no step
        canvas.undoStack.redo();
        QCOMPARE(namesOf(canvas), "abxc");
        canvas.layers.removeLayer(2, true);
        QCOMPARE(namesOf(canvas), "abc");
        canvas.undoStack.undo();
        QCOMPARE(namesOf(canvas), "xabc");
        canvas.undoStack.undo(); // takes out the layer that it put in, not the one at its row
        QCOMPARE(namesOf(canvas), "abc");
        canvas.undoStack.redo();
        QCOMPARE(namesOf(canvas), "abxc");
        canvas.undoStack.redo();
        QCOMPARE(namesOf(canvas), "abc");
        canvas.layers.clearLayers();
        QCOMPARE(canvas.undoStack.count() + canvas.layers.rowCount(), 0);
    }

    void mergesAndTakesItBack()
    {
        TablePalette palette(4);
        QRandomGenerator dice(4);
        ImageCanvas canvas(&palette);
        canvas.setSize({12, 5}, {}, false);
        for (int i = 0; i < 4; ++i) {
            const QImage image = randomPicture({12, 5}, IndexedCanvas, dice);
            canvas.layers.addLayer(&image)->name = QString::number(i);
        }
        canvas.layers.setData(canvas.layers.index(1), Qt::Unchecked, Qt::CheckStateRole);
        const QByteArray before = stateOf(canvas);
        const QImage shown = canvas.flatten();
        canvas.mergeVisible();
        QCOMPARE(namesOf(canvas), "02");
        const auto topPicture = [&] {
            QImage image = rasterAt(canvas, 0)->image;
            image.setColorTable(shown.colorTable());
            return image;
        };
        QCOMPARE(topPicture(), shown);
        canvas.undoStack.undo();
        QCOMPARE(stateOf(canvas), before);
        canvas.mergeAll();
        QCOMPARE(namesOf(canvas), "0");
        QCOMPARE(topPicture(), shown);
    }

    void cropsGrowsAndTurns()
    {
        TablePalette palette(4);
        ImageCanvas canvas(&palette);
        canvas.setSize({20, 10}, {}, false);
        canvas.layers.addLayer(nullptr);
        canvas.layers.addLayer(nullptr);
        rasterAt(canvas, 0)->image.scanLine(3)[5] = 9;
        rasterAt(canvas, 1)->image.scanLine(6)[14] = 8;
        canvas.layers.addLayer(nullptr); // without content, it holds nothing open
        QCOMPARE(canvas.crop(), QPoint(-5, -3));
        QCOMPARE(canvas.size, QSize(10, 4));
        QCOMPARE(rasterAt(canvas, 1)->image.constScanLine(0)[0], uchar(9));
        QCOMPARE(rasterAt(canvas, 2)->image.constScanLine(3)[9], uchar(8));
        palette.setBackgroundIndex(3);
        canvas.setSize({14, 9}, {-0x10000, 0}, true); // into the middle
        QCOMPARE(rasterAt(canvas, 1)->image.constScanLine(2)[2], uchar(9));
        QCOMPARE(rasterAt(canvas, 1)->image.constScanLine(1)[2], uchar(3));
        canvas.rotate(90, 0);
        QSignalSpy changes(&canvas, &ImageCanvas::imageChanged);
        canvas.setFormat(RGBACanvas, true);
        QVERIFY(changes.count() > 0);
        // One filter brings new colours, and one does not.
        for (const int filter : {NearestNeighbor, Bilinear}) {
            const auto colors = [&canvas] {
                QSet<QRgb> all{canvas.fillColor()};
                const QImage &image = rasterAt(canvas, 1)->image;
                for (int i = 0; i < image.width() * image.height(); ++i)
                    all.insert(image.pixel(i % image.width(), i / image.width()));
                return all;
            };
            const QSet<QRgb> before = colors();
            canvas.rotate(30, filter);
            QCOMPARE(before.contains(colors()), filter == NearestNeighbor);
            canvas.undoStack.undo();
        }
        canvas.setSize({3, 3}, {-0xFFFF, 0}, true); // no middle: all is outside
        QCOMPARE(rasterAt(canvas, 1)->image.pixel(1, 1), canvas.fillColor());
        canvas.undoStack.undo();
        canvas.undoStack.undo();
        QCOMPARE(canvas.size, rasterAt(canvas, 0)->image.size());
        QCOMPARE(canvas.selection.mask.size(), canvas.size);
        QVERIFY(canvas.size.height() >= 14);
    }

    /// Indexes become the colours that they stand for, and colours the nearest entries.
    void changesItsFormat()
    {
        TablePalette palette(5);
        QRandomGenerator dice(17);
        ImageCanvas canvas(&palette);
        canvas.setSize({16, 16}, {}, false);
        QImage picture({16, 16}, QImage::Format_Indexed8);
        for (int i = 0; i < 256; ++i)
            picture.scanLine(i / 16)[i % 16] = uchar(i);
        canvas.layers.addLayer(&picture);
        canvas.undoStack.clear();
        canvas.setFormat(RGBACanvas, true);
        QImage image = rasterAt(canvas, 0)->image;
        QCOMPARE(image.format(), QImage::Format_ARGB32);
        for (int i = 0; i < 256; ++i)
            QCOMPARE(image.pixel(i % 16, i / 16), palette.rgbAt(uchar(i)));
        for (int i = 0; i < 256; i += 3) // what the palette lacks
            image.setPixel(i % 16, i / 16, dice.generate());
        rasterAt(canvas, 0)->image = image;
        canvas.setFormat(IndexedCanvas, true);
        for (int i = 0; i < 256; ++i)
            QCOMPARE(rasterAt(canvas, 0)->image.constScanLine(i / 16)[i % 16],
                     palette.indexOf(QColor::fromRgba(image.pixel(i % 16, i / 16))));
        canvas.undoStack.setIndex(0);
        for (int i = 0; i < 256; ++i)
            QCOMPARE(rasterAt(canvas, 0)->image.constScanLine(i / 16)[i % 16], uchar(i));
    }

    void readsAsAList()
    {
        TablePalette palette(4);
        ImageCanvas canvas(&palette);
        ImageLayers &layers = canvas.layers;
        canvas.setSize({4, 4}, {}, false);
        layers.addLayer(nullptr)->name = "sky";
        const QModelIndex sky = layers.index(0);
        QCOMPARE(layers.rowCount(sky), 0);
        QCOMPARE(layers.data(sky, Qt::EditRole).toString(), "sky");
        QCOMPARE(layers.data(sky, Qt::CheckStateRole).toInt(), int(Qt::Checked));
        QVERIFY(!layers.data(sky, Qt::ToolTipRole).isValid());
        const int steps = canvas.undoStack.count();
        QSignalSpy pictures(&canvas, &ImageCanvas::imageChanged);
        const QSignalSpy marks(&layers, &QAbstractItemModel::dataChanged);
        QVERIFY(layers.setData(sky, Qt::Unchecked, Qt::CheckStateRole));
        QCOMPARE(pictures.count(), 1);
        QCOMPARE(marks.count(), 1);
        QCOMPARE(canvas.undoStack.count(), steps);
        QVERIFY(!rasterAt(canvas, 0)->visible);
        QVERIFY(layers.setData(sky, "sea"));
        QCOMPARE(canvas.undoStack.count(), steps + 1);
        QVERIFY(!layers.setData(sky, "x", Qt::ToolTipRole));
        QVERIFY(!layers.setData(QModelIndex(), "x"));
        layers.at(0)->setOpacity(0.5, true);
        const QSignalSpy told(&layers, &QAbstractItemModel::dataChanged);
        canvas.undoStack.undo();
        QCOMPARE(told.count(), 1);
        const auto both = Qt::ItemIsEditable | Qt::ItemIsUserCheckable;
        QCOMPARE(layers.flags(sky) & both, both);
        QCOMPARE(layers.flags(QModelIndex()), Qt::ItemFlags(Qt::ItemIsEnabled));
        QSignalSpy moves(&layers, &QAbstractItemModel::rowsMoved);
        for (const QPoint &way : {QPoint(0, 0), QPoint(0, 1), QPoint(-1, 0)})
            layers.moveLayer(way.x(), way.y());
        QCOMPARE(moves.count(), 0);
        layers.addLayer(nullptr);
        const int images = pictures.count();
        layers.moveLayer(0, 1);
        QCOMPARE(moves.count(), 1);
        QCOMPARE(pictures.count(), images + 1);
        const int count = canvas.undoStack.count();
        for (const QPoint &way : {QPoint(0, 0), QPoint(0, 1), QPoint(0, 3), QPoint(5, 0)})
            QVERIFY(!layers.moveRows({}, way.x(), 1, {}, way.y()));
        QCOMPARE(canvas.undoStack.count(), count);
    }

    void holdsTheLargestPicture()
    {
        TablePalette palette(1);
        ImageCanvas canvas(&palette);
        canvas.setSize({16384, 16384}, {}, false);
        canvas.layers.addLayer(nullptr);
        RasterLayer *layer = rasterAt(canvas, 0);
        layer->pushEdit();
        canvas.painter->image = &layer->image;
        canvas.painter->drawLine({16000, 16380}, {16383, 16383});
        canvas.settleEdit();
        const auto corner = [&] {
            const QSize size = layer->image.size();
            return int(layer->image.constScanLine(size.height() - 1)[size.width() - 1]);
        };
        canvas.undoStack.undo();
        QCOMPARE(corner(), 0);
        canvas.undoStack.redo();
        QCOMPARE(corner(), 255);
        QCOMPARE(canvas.crop(), QPoint(-16000, -16380));
        QCOMPARE(canvas.size, QSize(384, 4));
        QCOMPARE(corner(), 255);
        canvas.undoStack.undo();
        QCOMPARE(layer->image.size(), QSize(16384, 16384));
        QCOMPARE(corner(), 255);
        canvas.painter->setColor(9);
        canvas.painter->floodFill({5, 5});
        QCOMPARE(layer->image.constScanLine(16383)[0], uchar(9));
    }

    /// What lies outside the picture is neither read nor written.
    void paintersStayInside()
    {
        TablePalette palette(1);
        QImage indexes({4, 4}, QImage::Format_Indexed8);
        indexes.setColorTable(QVector<QRgb>(256));
        QImage colors({4, 4}, QImage::Format_ARGB32);
        IndexPainter byIndex(&palette, nullptr);
        RGBAPainter byColor(&palette, nullptr);
        byIndex.image = &indexes;
        byColor.image = &colors;
        for (ImagePainter *painter :
             {static_cast<ImagePainter *>(&byIndex), static_cast<ImagePainter *>(&byColor)}) {
            painter->image->fill(7);
            const QImage before = painter->image->copy();
            painter->setColor(9);
            for (const QPoint &at : {QPoint(-1, 0), QPoint(4, 0), QPoint(0, -1), QPoint(0, 4)}) {
                painter->setPixel(at.x(), at.y());
                painter->floodFill(at);
                QCOMPARE(painter->rawPixel(at.x(), at.y()), 0u);
                QCOMPARE(int(painter->colorAt(at)), 0);
                QVERIFY(!painter->canPaint(at.x(), at.y()));
            }
            QCOMPARE(*painter->image, before);
        }
    }

    void standsBadInput()
    {
        TablePalette palette(4);
        ImageCanvas canvas(&palette);
        canvas.painter->drawLine({0, 0}, {9, 9}); // no picture
        canvas.painter->floodFill({0, 0});
        QVERIFY(canvas.flatten().isNull());
        QVERIFY(!canvas.layers.addLayer(nullptr));
        QCOMPARE(canvas.crop(), QPoint());
        canvas.setSize({5, 5}, {}, false);
        canvas.mergeAll(); // there are no layers
        QCOMPARE(canvas.undoStack.count(), 0);
        canvas.layers.addLayer(nullptr);
        const int steps = canvas.undoStack.count();
        const QByteArray before = stateOf(canvas);
        canvas.setSize({0, 7}, {}, true);
        canvas.resize({-1, 4}, 0);
        canvas.resize({4, 4}, 77);
        canvas.rotate(float(qQNaN()), 0);
        const QSize tooLarge(1 << 30, 1 << 30); // for any memory
        canvas.setSize(tooLarge, {}, false);
        rasterAt(canvas, 0)->setSize(tooLarge, {}, 0);
        QVERIFY(!canvas.selection.reset(tooLarge));
        canvas.layers.removeLayer(9, true);
        canvas.layers.insertLayer(nullptr, 0, true);
        QCOMPARE(stateOf(canvas), before);
        QCOMPARE(canvas.undoStack.count(), steps);
        canvas.painter->image = &rasterAt(canvas, 0)->image;
        canvas.painter->penSize = 3;
        canvas.painter->drawLine({INT_MIN, 2}, {INT_MAX, 2});
        QCOMPARE(canvas.painter->rawPixel(4, 4), 255u);
        QCOMPARE(canvas.painter->rawPixel(4, 1), 0u);
        QCOMPARE(canvas.painter->rawPixel(-1, 99), 0u);
        canvas.setSize({6, 6}, {INT_MAX, INT_MIN}, true); // nothing of the old picture is left
        QCOMPARE(rasterAt(canvas, 0)->image.constScanLine(4)[4], uchar(0));
        for (const int filter : {NearestNeighbor, HqBilinear}) { // the first and the last
            canvas.resize({4 + filter, 4}, filter);
            QCOMPARE(canvas.size, QSize(4 + filter, 4));
            const int before = canvas.undoStack.count();
            canvas.rotate(90, filter);
            QCOMPARE(canvas.undoStack.count(), before + 1);
        }
    }
};

QTEST_MAIN(tst_ImageCanvas)
#include "tst_imagecanvas.moc"
