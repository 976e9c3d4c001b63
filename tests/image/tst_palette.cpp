#include "plain.h"

#include <kilnx/forms/colorwidget.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/image/palette.h>

#include <QtTest/QtTest>

#include <functional>

using namespace Kiln;

namespace
{

/// A palette, its object, and what its signals found in the table.
struct Bench {
    RGBA table[256] = {};
    PaletteObject object{&table};
    QVector<QByteArray> before;
    QVector<QByteArray> after;

    Bench()
    {
        QObject::connect(&object, &PaletteObject::changing, &object,
                         [this] { before.append(bytes()); });
        QObject::connect(&object, &PaletteObject::changed, &object,
                         [this] { after.append(bytes()); });
    }
    QByteArray bytes() const
    {
        return QByteArray(reinterpret_cast<const char *>(table), sizeof table);
    }
    void fillDistinct()
    {
        for (int i = 0; i < 256; ++i)
            table[i] = {uchar(i), uchar(255 - i), uchar(i * 7), uchar(i * 3)};
    }
};

bool *maskOf(std::initializer_list<int> indexes)
{
    static bool mask[256];
    std::fill(std::begin(mask), std::end(mask), false);
    for (int i : indexes)
        mask[i] = true;
    return mask;
}

QString text(RGBA c)
{
    return QString("%1,%2,%3,%4").arg(c.r).arg(c.g).arg(c.b).arg(c.a);
}

/// The text of an entry, behind the name of what was tried.
QString text(const char *name, RGBA c)
{
    return QString::fromLatin1(name) + QString(": ") + text(c);
}

} // namespace

class TestPalette : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void layout()
    {
        QCOMPARE(int(sizeof(RGB)), 3);
        QCOMPARE(int(sizeof(RGBA[256])), 1024);
        Bench bench;
        bench.object.setColor(3, {1, 2, 3, 4});
        QCOMPARE(bench.bytes().mid(12, 4), QByteArray("\x01\x02\x03\x04"));
        QCOMPARE(bench.object.colorAt(3), QColor(1, 2, 3, 4));
        QCOMPARE(text(bench.object.at(3)), text(bench.object[3]));
        const QMetaObject *meta = &PaletteObject::staticMetaObject;
        QCOMPARE(meta->methodCount() - meta->methodOffset(), 2);
        QCOMPARE(meta->method(meta->methodOffset()).name(), QByteArray("changing"));
        QCOMPARE(meta->method(meta->methodOffset() + 1).name(), QByteArray("changed"));
        QCOMPARE(fromQRgb(toQRgb({1, 2, 3, 4})), (RGBA{1, 2, 3, 4}));
        bench.object.empty();
        bench.object.setColor(maskOf({0, 255}), {5, 6, 7, 8});
        QCOMPARE(bench.bytes(), "\5\6\7\10" + QByteArray(1016, '\0') + "\5\6\7\10");
    }

    void everyWriteSignalsOnceBeforeAndAfter()
    {
        RGBA other[256] = {};
        other[9] = {9, 9, 9, 9};
        const RGBA one = {1, 1, 1, 1};
        const RGBA two = {2, 2, 2, 2};
        const struct {
            const char *name;
            bool changes;
            std::function<void(PaletteObject &)> change;
        } rows[] = {
            {"fromPalette", true, [&](PaletteObject &p) { p.fromPalette(other); }},
            {"setColor", true, [&](PaletteObject &p) { p.setColor(1, two); }},
            {"setColor, mask", true, [&](PaletteObject &p) { p.setColor(nullptr, two); }},
            {"setColor, empty mask", false, [&](PaletteObject &p) { p.setColor(maskOf({}), two); }},
            {"addColors", true, [&](PaletteObject &p) { p.addColors(other); }},
            {"addColors of its own", false, [](PaletteObject &p) { p.addColors(p.palette()); }},
            {"addRGB", true, [](PaletteObject &p) { p.addRGB(nullptr, 1, -1, 0); }},
            {"addHueSaturation", true, [](PaletteObject &p) { p.addHueSaturation(nullptr, 0, 0); }},
            {"applyEffect", true, [](PaletteObject &p) { p.applyEffect(Gray, nullptr); }},
            {"effect 0", false,
             [](PaletteObject &p) { p.applyEffect(RGBPaletteEffect(0), nullptr); }},
            {"effect 15", false,
             [](PaletteObject &p) { p.applyEffect(RGBPaletteEffect(15), nullptr); }},
            {"clearDuplicated", false,
             [](PaletteObject &p) {
                 p.clearDuplicated(RGB{1, 2, 3});
             }},
            {"gradient by range", true, [&](PaletteObject &p) { p.gradient(0, one, 9, two); }},
            {"gradient backwards", false, [&](PaletteObject &p) { p.gradient(9, one, 9, two); }},
            {"gradient by mask", true, [&](PaletteObject &p) { p.gradient(nullptr, one, two); }},
            {"sortByTones", true, [](PaletteObject &p) { p.sortByTones(); }},
            {"switchColors", true, [](PaletteObject &p) { p.switchColors(nullptr, false); }}};
        for (const auto &row : rows) {
            Bench bench;
            bench.fillDistinct();
            const QByteArray start = bench.bytes();
            row.change(bench.object);
            QVERIFY2(bench.before == QVector<QByteArray>{start}, row.name);
            QVERIFY2(bench.after == QVector<QByteArray>{bench.bytes()}, row.name);
            QVERIFY2((bench.bytes() != start) == row.changes, row.name);
        }
    }

    void emptyAndRebindingAreSilent()
    {
        Bench bench;
        bench.fillDistinct();
        bench.object.empty();
        QCOMPARE(bench.bytes(), QByteArray(1024, 0));
        RGBA other[256] = {{1, 2, 3, 4}};
        PaletteObject &same = (bench.object = &other);
        QCOMPARE(&same, &bench.object);
        QCOMPARE(text(same.at(0)), QString("1,2,3,4"));
        QVERIFY(bench.before.isEmpty() && bench.after.isEmpty());
    }

    void indexAgreesWithItsRule()
    {
        std::mt19937 random(1);
        Bench bench;
        for (RGBA &entry : bench.table)
            entry =
                fromQRgb(random() & 0xC1030303); // few colours, so that alphas and places decide
        for (int round = 0; round < 2000; ++round) {
            const RGBA c = fromQRgb(random() & 0xFF070707);
            int best = 0, distance = 0x7FFFFFFF, kept = 255;
            for (int i = 0; i < 256; ++i) {
                const RGBA e = bench.table[i];
                const int d = (e.r - c.r) * (e.r - c.r) + (e.g - c.g) * (e.g - c.g) +
                              (e.b - c.b) * (e.b - c.b);
                const int alpha = e.a - c.a;
                if (d > distance || (d == distance && alpha >= kept))
                    continue;
                best = i;
                distance = d;
                kept = alpha & 0xFF;
            }
            QCOMPARE(int(bench.object.index(c)), best);
        }
    }

    void effects()
    {
        const RGBA c = {10, 100, 240, 7}; // avg 116
        const struct {
            const char *name;
            RGBPaletteEffect effect;
            RGBA from;
            RGBA to;
        } rows[] = {{"1", SwapRedBlue, c, {240, 100, 10, 7}},
                    {"2", SwapGreenBlue, c, {10, 240, 100, 7}},
                    {"3", SwapRedGreen, c, {100, 10, 240, 7}},
                    {"4", SwapBlueGreen, c, {10, 240, 100, 7}},
                    {"5", SwapGreenRed, c, {100, 10, 240, 7}},
                    {"6", SwapBlueRed, c, {240, 100, 10, 7}},
                    {"7", Lighter, c, {42, 132, 255, 7}},
                    {"8", Darker, c, {0, 68, 208, 7}},
                    {"9", Gray, c, {116, 116, 116, 7}},
                    {"10", WarmTint, c, {216, 58, 0, 7}},
                    {"10, clamped", WarmTint, {255, 255, 255, 7}, {255, 127, 0, 7}},
                    {"11", VioletTint, c, {89, 0, 118, 7}},
                    {"12, dark", Washed, {127, 127, 128, 7}, {177, 177, 177, 7}},
                    {"12, light", Washed, {128, 128, 128, 7}, {78, 78, 78, 7}},
                    {"13", MuchLighter, c, {138, 228, 255, 7}},
                    {"14", MuchDarker, c, {0, 0, 112, 7}}};
        for (const auto &row : rows) {
            QCOMPARE(int(row.effect), QByteArray(row.name).split(',').constFirst().toInt());
            Bench bench;
            bench.object.setColor(nullptr, row.from);
            bench.object.applyEffect(row.effect, maskOf({0, 255}));
            QCOMPARE(text(row.name, bench.table[0]), text(row.name, row.to));
            QCOMPARE(text(row.name, bench.table[255]), text(row.name, row.to));
            QCOMPARE(text(row.name, bench.table[1]), text(row.name, row.from));
        }
    }

    void addRgbClamps()
    {
        Bench bench;
        bench.object.setColor(nullptr, {10, 100, 240, 7});
        bench.object.addRGB(maskOf({4}), -300, 32767, -32768);
        QCOMPARE(text(bench.table[4]), QString("0,255,0,7"));
        bench.object.addRGB(nullptr, 5, -5, 20);
        QCOMPARE(text(bench.table[4]), QString("5,250,20,7"));
        QCOMPARE(text(bench.table[5]), QString("15,95,255,7"));
    }

    void addHueSaturation()
    {
        Bench bench;
        bench.table[0] = {255, 0, 0, 0};
        bench.table[1] = {90, 90, 90, 9};
        bench.table[2] = {0, 0, 255, 9};
        bench.table[3] = {255, 0, 0, 9};
        bench.object.addHueSaturation(maskOf({0, 1}), 120, 0);
        QCOMPARE(text(bench.table[0]),
                 text(fromQRgb(QColor::fromHsl(120, 255, QColor(Qt::red).lightness()).rgb())));
        QCOMPARE(text(bench.table[1]), QString("90,90,90,255"));
        QCOMPARE(text(bench.table[3]), QString("255,0,0,9"));
        bench.object.addHueSaturation(maskOf({2}), 400, 0);
        QCOMPARE(text(bench.table[2]),
                 text(fromQRgb(QColor::fromHsl(359, 255, QColor(Qt::red).lightness()).rgb())));
        bench.object.addHueSaturation(maskOf({2}), -400, 0);
        QCOMPARE(text(bench.table[2]),
                 text(fromQRgb(QColor::fromHsl(0, 255, QColor(Qt::red).lightness()).rgb())));
        bench.object.addHueSaturation(maskOf({3}), -10, -400);
        QCOMPARE(text(bench.table[3]),
                 text(fromQRgb(QColor::fromHsl(0, 0, QColor(Qt::red).lightness()).rgb())));
    }

    void addColorsFillsFromTheEnd()
    {
        Bench bench;
        bench.fillDistinct();
        const RGBA old = bench.table[254];
        RGBA source[256];
        std::fill(std::begin(source), std::end(source), bench.table[7]);
        source[10] = {1, 2, 3, 4};
        source[20] = bench.table[255]; // gone by then, so it comes back one place below
        source[30] = {1, 2, 3, 4};     // there already
        const RGBA last = bench.table[255];
        bench.object.addColors(source);
        QCOMPARE(text(bench.table[255]), QString("1,2,3,4"));
        QCOMPARE(text(bench.table[254]), text(last));
        QVERIFY(bench.table[254] != old);
        QCOMPARE(text(bench.table[253]), text({253, 2, uchar(253 * 7), uchar(253 * 3)}));

        Bench full;
        full.object.setColor(nullptr, {77, 7, 7, 7});
        for (int i = 0; i < 256; ++i)
            source[i] = {uchar(i), 0, 0, 255};
        full.object.addColors(source);
        for (int i = 0; i < 256; ++i)
            QCOMPARE(int(full.table[i].r), 255 - i);
    }

    void gradientByRange()
    {
        const struct {
            uchar from;
            uchar to;
            QVector<int> reds;
        } rows[] = {
            {10, 11, {200}}, {0, 2, {200, 10}}, {100, 104, {200, 137, 74, 10}}, {11, 10, {}}};
        for (const auto &row : rows) {
            Bench bench;
            bench.fillDistinct();
            QVector<int> expected = row.reds;
            for (int i = expected.size(); i < 256; ++i)
                expected.append(bench.table[i].r);
            bench.object.gradient(row.from, {200, 0, 5, 255}, row.to, {10, 0, 5, 0});
            QVector<int> found;
            for (RGBA entry : bench.table)
                found.append(entry.r);
            QCOMPARE(found, expected);
        }
    }

    void gradientByMask()
    {
        const QMap<int, int> rows[] = {{}, {{200, 0}}, {{0, 0}, {9, 127}, {255, 255}}}; // alphas
        for (const QMap<int, int> &alphas : rows) {
            Bench bench;
            bool mask[256] = {};
            for (int i : alphas.keys())
                mask[i] = true;
            bench.object.gradient(mask, {1, 2, 3, 0}, {1, 2, 3, 255});
            for (int i = 0; i < 256; ++i)
                QCOMPARE(text(bench.table[i]),
                         text(mask[i] ? RGBA{1, 2, 3, uchar(alphas[i])} : RGBA()));
            bench.object.gradient(nullptr, {0, 0, 0, 0}, {255, 255, 255, 255});
            for (int i = 0; i < 256; ++i)
                QCOMPARE(int(bench.table[i].g), i);
        }
    }

    void clearDuplicated()
    {
        Bench bench;
        bench.object.setColor(nullptr, {5, 5, 5, 5});
        bench.object.clearDuplicated({1, 2, 3});
        for (int i = 0; i < 256; ++i)
            QCOMPARE(text(bench.table[i]),
                     i == 0 || i == 255 ? QString("5,5,5,5") : QString("1,2,3,255"));
        // The later copy stays, and so does a copy of entry 0.
        bench.fillDistinct();
        bench.table[9] = bench.table[0];
        bench.table[100] = bench.table[50];
        bench.object.clearDuplicated({1, 2, 3});
        QCOMPARE(text(bench.table[50]), QString("1,2,3,255"));
        QCOMPARE(text(bench.table[100]), text({50, 205, uchar(350), 150}));
        QCOMPARE(text(bench.table[9]), text(bench.table[0]));
    }

    void sortByTones()
    {
        Bench bench;
        for (int i = 0; i < 256; ++i)
            bench.table[i] = {200, 200, 200, uchar(i)};
        bench.table[0] = {10, 0, 0, 1};
        bench.table[100] = {12, 0, 0, 2};
        bench.table[200] = {8, 0, 0, 3};
        bench.table[255] = {30, 0, 0, 4};
        bench.object.sortByTones();
        // 8 and 12 are equally near to 10: the one that stands first is taken.
        const int reds[] = {10, 12, 8, 30, 200};
        for (int i = 0; i < 5; ++i)
            QCOMPARE(int(bench.table[i].r), reds[i]);
        QCOMPARE(int(bench.table[1].a), 2);

        std::mt19937 random(2);
        for (RGBA &entry : bench.table)
            entry = fromQRgb(random());
        bench.object.sortByTones();
        const auto distance = [&bench](int x, int y) {
            const RGBA a = bench.table[x], b = bench.table[y];
            return (a.r - b.r) * (a.r - b.r) + (a.g - b.g) * (a.g - b.g) +
                   (a.b - b.b) * (a.b - b.b);
        };
        for (int i = 0; i < 255; ++i) {
            for (int j = i + 1; j < 256; ++j)
                QVERIFY(distance(i, i + 1) <= distance(i, j));
        }
    }

    void switchColors()
    {
        Bench bench;
        const struct {
            QVector<int> mask;
            bool keepAlpha;
            QMap<int, int> moved;
        } rows[] = {{{3, 9, 250}, false, {{3, 250}, {250, 3}}},
                    {{0, 1, 8, 255}, false, {{0, 255}, {255, 0}, {1, 8}, {8, 1}}},
                    {{7}, false, {}},
                    {{}, true, {}}};
        for (const auto &row : rows) {
            bool flags[256] = {};
            for (int i : row.mask)
                flags[i] = true;
            bench.fillDistinct();
            bench.object.switchColors(flags, row.keepAlpha);
            for (int i = 0; i < 256; ++i)
                QCOMPARE(int(bench.table[i].r), row.moved.value(i, i));
            QCOMPARE(bench.table[0].a, uchar(row.keepAlpha || row.moved.contains(0) ? 255 * 3 : 0));
        }
        bench.fillDistinct();
        bench.object.switchColors(nullptr, true);
        for (int i = 0; i < 256; ++i) {
            QCOMPARE(int(bench.table[i].r), 255 - i);
            const int alphaOf = i == 0 || i == 255 ? i : 255 - i;
            QCOMPARE(bench.table[i].a, uchar(alphaOf * 3));
        }
    }

    void monoPalette()
    {
        MonoPalette mono;
        mono.setForegroundIndex(9);
        mono.setBackgroundIndex(9);
        QCOMPARE(int(mono.foregroundIndex()), 1);
        QCOMPARE(int(mono.backgroundIndex()), 0);
        QCOMPARE(mono.rgbAt(0), 0xFF000000);
        QCOMPARE(mono.rgbAt(200), 0xFFFFFFFF);
        QCOMPARE(int(mono.indexOf(Qt::black)), 0);
        QCOMPARE(int(mono.indexOf(QColor(0, 0, 1))), 1);
        QCOMPARE(text(mono.colors()[0]), QString("0,0,0,255"));
        QCOMPARE(text(mono.colors()[1]), QString("255,255,255,255"));
        QCOMPARE(text(mono.colors()[255]), QString("0,0,0,0"));
        RGBA out[256] = {{1, 2, 3, 4}};
        mono.copyTo(out);
        QCOMPARE(text(out[0]), QString("1,2,3,4"));
    }

    void colorWidgetPaints()
    {
        ColorWidget widget;
        widget.resize(20, 14);
        widget.setColor(QColor(255, 0, 0));
        const auto grab = [&widget] {
            return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
        };
        QImage image = grab();
        QCOMPARE(image.pixel(5, 5), 0xFFFF0000);
        QCOMPARE(image.pixel(0, 0), 0xFF808080);
        QCOMPARE(image.pixel(18, 0), 0xFF808080);
        QCOMPARE(image.pixel(19, 0), 0xFFFFFFFF);
        QCOMPARE(image.pixel(0, 12), 0xFF808080);
        QCOMPARE(image.pixel(0, 13), 0xFFFFFFFF);
        widget.setColor(QColor(0, 0, 0, 0));
        image = grab();
        const QRgb gray = QColor(Qt::gray).rgb();
        QCOMPARE(image.pixel(2, 2), gray);
        QCOMPARE(image.pixel(5, 2), 0xFFFFFFFF);
        QCOMPARE(image.pixel(5, 5), gray);
        QCOMPARE(image.pixel(2, 5), 0xFFFFFFFF);
    }
};

QTEST_MAIN(TestPalette)
#include "tst_palette.moc"
