#include "plain.h"

#include <kilnx/image/colorwidget.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/image/palette.h>

#include <QSignalSpy>
#include <QTest>

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
    return QStringLiteral("%1,%2,%3,%4").arg(c.r).arg(c.g).arg(c.b).arg(c.a);
}

using Change = std::function<void(PaletteObject &)>;
using Moves = QMap<int, int>;

} // namespace

Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(Kiln::RGBA)

class TestPalette : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void layout();
    void everyWriteSignalsOnceBeforeAndAfter_data();
    void everyWriteSignalsOnceBeforeAndAfter();
    void emptyAndRebindingAreSilent();
    void index_data();
    void index();
    void indexAgreesWithItsRule();
    void effects_data();
    void effects();
    void addRgbClamps();
    void addHueSaturation();
    void addColorsFillsFromTheEnd();
    void gradientByRange_data();
    void gradientByRange();
    void gradientByMask_data();
    void gradientByMask();
    void clearDuplicated();
    void sortByTones();
    void switchColors_data();
    void switchColors();
    void monoPalette();
    void colorWidgetPaints();
};

void TestPalette::layout()
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

void TestPalette::everyWriteSignalsOnceBeforeAndAfter_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("changes");
    static RGBA other[256];
    other[9] = {9, 9, 9, 9};
    const auto row = [](const char *name, bool changes, const Change &change) {
        QTest::newRow(name) << change << changes;
    };
    row("fromPalette", true, [](PaletteObject &p) { p.fromPalette(other); });
    row("setColor", true, [](PaletteObject &p) { p.setColor(1, {5, 5, 5, 5}); });
    row("setColor, mask", true, [](PaletteObject &p) { p.setColor(nullptr, {5, 5, 5, 5}); });
    row("setColor, empty mask", false, [](PaletteObject &p) {
        p.setColor(maskOf({}), {5, 5, 5, 5});
    });
    row("addColors", true, [](PaletteObject &p) { p.addColors(other); });
    row("addColors of its own", false, [](PaletteObject &p) { p.addColors(p.palette()); });
    row("addRGB", true, [](PaletteObject &p) { p.addRGB(nullptr, 1, -1, 0); });
    row("addHueSaturation", true, [](PaletteObject &p) { p.addHueSaturation(nullptr, 0, 0); });
    row("applyEffect", true, [](PaletteObject &p) { p.applyEffect(Gray, nullptr); });
    row("applyEffect 0", false,
        [](PaletteObject &p) { p.applyEffect(RGBPaletteEffect(0), nullptr); });
    row("applyEffect 15", false,
        [](PaletteObject &p) { p.applyEffect(RGBPaletteEffect(15), nullptr); });
    row("clearDuplicated", false, [](PaletteObject &p) { p.clearDuplicated({1, 2, 3}); });
    row("gradient by range", true, [](PaletteObject &p) {
        p.gradient(0, {1, 1, 1, 1}, 9, {2, 2, 2, 2});
    });
    row("gradient backwards", false, [](PaletteObject &p) {
        p.gradient(9, {1, 1, 1, 1}, 9, {2, 2, 2, 2});
    });
    row("gradient by mask", true, [](PaletteObject &p) {
        p.gradient(nullptr, {1, 1, 1, 1}, {2, 2, 2, 2});
    });
    row("sortByTones", true, [](PaletteObject &p) { p.sortByTones(); });
    row("switchColors", true, [](PaletteObject &p) { p.switchColors(nullptr, false); });
}

void TestPalette::everyWriteSignalsOnceBeforeAndAfter()
{
    QFETCH(Change, change);
    QFETCH(bool, changes);
    Bench bench;
    bench.fillDistinct();
    const QByteArray start = bench.bytes();
    change(bench.object);
    QCOMPARE(bench.before, QVector<QByteArray>{start});
    QCOMPARE(bench.after, QVector<QByteArray>{bench.bytes()});
    QCOMPARE(bench.bytes() != start, changes);
}

void TestPalette::emptyAndRebindingAreSilent()
{
    Bench bench;
    bench.fillDistinct();
    bench.object.empty();
    QCOMPARE(bench.bytes(), QByteArray(1024, 0));
    RGBA other[256] = {{1, 2, 3, 4}};
    PaletteObject &same = (bench.object = &other);
    QCOMPARE(&same, &bench.object);
    QCOMPARE(text(same.at(0)), QStringLiteral("1,2,3,4"));
    QVERIFY(bench.before.isEmpty() && bench.after.isEmpty());
}

void TestPalette::index_data()
{
    QTest::addColumn<QVector<RGBA>>("entries");
    QTest::addColumn<RGBA>("wanted");
    QTest::addColumn<int>("found");
    using Entries = QVector<RGBA>;
    QTest::newRow("nearest by red, green and blue")
        << Entries{{0, 0, 0, 255}, {10, 10, 10, 255}, {11, 10, 10, 255}} << RGBA{12, 10, 10, 255}
        << 2;
    QTest::newRow("first of equals")
        << Entries{{9, 9, 9, 255}, {9, 9, 9, 255}} << RGBA{9, 9, 9, 255} << 0;
    QTest::newRow("a nearer alpha wins")
        << Entries{{9, 9, 9, 255}, {9, 9, 9, 130}} << RGBA{9, 9, 9, 128} << 1;
    QTest::newRow("a farther alpha above does not")
        << Entries{{9, 9, 9, 130}, {9, 9, 9, 255}} << RGBA{9, 9, 9, 128} << 0;
    QTest::newRow("an alpha below the wanted one wins")
        << Entries{{9, 9, 9, 128}, {9, 9, 9, 0}} << RGBA{9, 9, 9, 128} << 1;
    QTest::newRow("a kept negative difference counts as large")
        << Entries{{9, 9, 9, 100}, {9, 9, 9, 255}} << RGBA{9, 9, 9, 128} << 1;
    QTest::newRow("distance goes before alpha")
        << Entries{{9, 9, 9, 0}, {9, 9, 8, 255}} << RGBA{9, 9, 9, 255} << 0;
}

void TestPalette::index()
{
    QFETCH(QVector<RGBA>, entries);
    QFETCH(RGBA, wanted);
    QFETCH(int, found);
    Bench bench;
    bench.object.setColor(nullptr, {200, 0, 200, 255});
    std::copy(entries.cbegin(), entries.cend(), bench.table);
    QCOMPARE(int(bench.object.index(wanted)), found);
}

void TestPalette::indexAgreesWithItsRule()
{
    std::mt19937 random(1);
    Bench bench;
    for (RGBA &entry : bench.table)
        entry = fromQRgb(random() & 0xFF030303); // few colours, so that alphas decide
    for (int round = 0; round < 2000; ++round) {
        const RGBA c = fromQRgb(random() & 0xFF070707);
        int best = 0, distance = 0x7FFFFFFF, kept = 255;
        for (int i = 0; i < 256; ++i) {
            const RGBA e = bench.table[i];
            const int d =
                (e.r - c.r) * (e.r - c.r) + (e.g - c.g) * (e.g - c.g) + (e.b - c.b) * (e.b - c.b);
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

void TestPalette::effects_data()
{
    QTest::addColumn<int>("effect");
    QTest::addColumn<RGBA>("from");
    QTest::addColumn<RGBA>("to");
    const RGBA c = {10, 100, 240, 7}; // avg 116
    QTest::newRow("SwapRedBlue") << 1 << c << RGBA{240, 100, 10, 7};
    QTest::newRow("SwapGreenBlue") << 2 << c << RGBA{10, 240, 100, 7};
    QTest::newRow("SwapRedGreen") << 3 << c << RGBA{100, 10, 240, 7};
    QTest::newRow("SwapBlueGreen") << 4 << c << RGBA{10, 240, 100, 7};
    QTest::newRow("SwapGreenRed") << 5 << c << RGBA{100, 10, 240, 7};
    QTest::newRow("SwapBlueRed") << 6 << c << RGBA{240, 100, 10, 7};
    QTest::newRow("Lighter") << 7 << c << RGBA{42, 132, 255, 7};
    QTest::newRow("Darker") << 8 << c << RGBA{0, 68, 208, 7};
    QTest::newRow("Gray") << 9 << c << RGBA{116, 116, 116, 7};
    QTest::newRow("WarmTint") << 10 << c << RGBA{216, 58, 0, 7};
    QTest::newRow("WarmTint, clamped") << 10 << RGBA{255, 255, 255, 7} << RGBA{255, 127, 0, 7};
    QTest::newRow("VioletTint") << 11 << c << RGBA{89, 0, 118, 7};
    QTest::newRow("Washed, dark") << 12 << RGBA{127, 127, 128, 7} << RGBA{177, 177, 177, 7};
    QTest::newRow("Washed, light") << 12 << RGBA{128, 128, 128, 7} << RGBA{78, 78, 78, 7};
    QTest::newRow("MuchLighter") << 13 << c << RGBA{138, 228, 255, 7};
    QTest::newRow("MuchDarker") << 14 << c << RGBA{0, 0, 112, 7};
}

void TestPalette::effects()
{
    QFETCH(int, effect);
    QFETCH(RGBA, from);
    QFETCH(RGBA, to);
    Bench bench;
    bench.object.setColor(nullptr, from);
    bench.object.applyEffect(RGBPaletteEffect(effect), maskOf({0, 255}));
    QCOMPARE(text(bench.table[0]), text(to));
    QCOMPARE(text(bench.table[255]), text(to));
    QCOMPARE(text(bench.table[1]), text(from));
}

void TestPalette::addRgbClamps()
{
    Bench bench;
    bench.object.setColor(nullptr, {10, 100, 240, 7});
    bench.object.addRGB(maskOf({4}), -300, 32767, -32768);
    QCOMPARE(text(bench.table[4]), QStringLiteral("0,255,0,7"));
    bench.object.addRGB(nullptr, 5, -5, 20);
    QCOMPARE(text(bench.table[4]), QStringLiteral("5,250,20,7"));
    QCOMPARE(text(bench.table[5]), QStringLiteral("15,95,255,7"));
}

void TestPalette::addHueSaturation()
{
    Bench bench;
    bench.table[0] = {255, 0, 0, 0};
    bench.table[1] = {90, 90, 90, 9};
    bench.table[2] = {0, 0, 255, 9};
    bench.table[3] = {255, 0, 0, 9};
    bench.object.addHueSaturation(maskOf({0, 1}), 120, 0);
    QCOMPARE(text(bench.table[0]),
             text(fromQRgb(QColor::fromHsl(120, 255, QColor(Qt::red).lightness()).rgb())));
    QCOMPARE(text(bench.table[1]), QStringLiteral("90,90,90,255"));
    QCOMPARE(text(bench.table[3]), QStringLiteral("255,0,0,9"));
    bench.object.addHueSaturation(maskOf({2}), 400, 0);
    QCOMPARE(text(bench.table[2]),
             text(fromQRgb(QColor::fromHsl(359, 255, QColor(Qt::red).lightness()).rgb())));
    bench.object.addHueSaturation(maskOf({3}), -10, -400);
    QCOMPARE(text(bench.table[3]),
             text(fromQRgb(QColor::fromHsl(0, 0, QColor(Qt::red).lightness()).rgb())));
}

void TestPalette::addColorsFillsFromTheEnd()
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
    QCOMPARE(text(bench.table[255]), QStringLiteral("1,2,3,4"));
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

void TestPalette::gradientByRange_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QVector<int>>("reds");
    QTest::newRow("one step") << 10 << 11 << QVector<int>{200};
    QTest::newRow("two steps") << 0 << 2 << QVector<int>{200, 10};
    QTest::newRow("down in four") << 100 << 104 << QVector<int>{200, 137, 74, 10};
    QTest::newRow("nothing") << 11 << 10 << QVector<int>{};
}

void TestPalette::gradientByRange()
{
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(QVector<int>, reds);
    Bench bench;
    bench.fillDistinct();
    QVector<int> expected = reds;
    for (int i = reds.size(); i < 256; ++i)
        expected.append(bench.table[i].r);
    bench.object.gradient(uchar(from), {200, 0, 5, 255}, uchar(to), {10, 0, 5, 0});
    QVector<int> found;
    for (RGBA entry : bench.table)
        found.append(entry.r);
    QCOMPARE(found, expected);
}

void TestPalette::gradientByMask_data()
{
    QTest::addColumn<QVector<int>>("selected");
    QTest::addColumn<QVector<int>>("alphas");
    QTest::newRow("none") << QVector<int>{} << QVector<int>{};
    QTest::newRow("one") << QVector<int>{200} << QVector<int>{0};
    QTest::newRow("three, apart") << QVector<int>{0, 9, 255} << QVector<int>{0, 127, 255};
}

void TestPalette::gradientByMask()
{
    QFETCH(QVector<int>, selected);
    QFETCH(QVector<int>, alphas);
    Bench bench;
    bool mask[256] = {};
    for (int i : selected)
        mask[i] = true;
    bench.object.gradient(mask, {1, 2, 3, 0}, {1, 2, 3, 255});
    int k = 0;
    for (int i = 0; i < 256; ++i)
        QCOMPARE(text(bench.table[i]), text(mask[i] ? RGBA{1, 2, 3, uchar(alphas[k++])} : RGBA()));
    bench.object.gradient(nullptr, {0, 0, 0, 0}, {255, 255, 255, 255});
    for (int i = 0; i < 256; ++i)
        QCOMPARE(int(bench.table[i].g), i);
}

void TestPalette::clearDuplicated()
{
    Bench bench;
    bench.object.setColor(nullptr, {5, 5, 5, 5});
    bench.object.clearDuplicated({1, 2, 3});
    for (int i = 0; i < 256; ++i)
        QCOMPARE(text(bench.table[i]),
                 i == 0 || i == 255 ? QStringLiteral("5,5,5,5") : QStringLiteral("1,2,3,255"));
    // The later copy stays, and so does a copy of entry 0.
    bench.fillDistinct();
    bench.table[9] = bench.table[0];
    bench.table[100] = bench.table[50];
    bench.object.clearDuplicated({1, 2, 3});
    QCOMPARE(text(bench.table[50]), QStringLiteral("1,2,3,255"));
    QCOMPARE(text(bench.table[100]), text({50, 205, uchar(350), 150}));
    QCOMPARE(text(bench.table[9]), text(bench.table[0]));
}

void TestPalette::sortByTones()
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
        return (a.r - b.r) * (a.r - b.r) + (a.g - b.g) * (a.g - b.g) + (a.b - b.b) * (a.b - b.b);
    };
    for (int i = 0; i < 255; ++i) {
        for (int j = i + 1; j < 256; ++j)
            QVERIFY(distance(i, i + 1) <= distance(i, j));
    }
}

void TestPalette::switchColors_data()
{
    QTest::addColumn<QVector<int>>("mask");
    QTest::addColumn<bool>("keepAlpha");
    QTest::addColumn<Moves>("moved");
    QTest::newRow("some") << QVector<int>{3, 9, 250} << false << Moves{{3, 250}, {250, 3}};
    QTest::newRow("an even number")
        << QVector<int>{0, 1, 8, 255} << false << Moves{{0, 255}, {255, 0}, {1, 8}, {8, 1}};
    QTest::newRow("one") << QVector<int>{7} << false << Moves{};
    QTest::newRow("none, ends kept") << QVector<int>{} << true << Moves{};
}

void TestPalette::switchColors()
{
    QFETCH(QVector<int>, mask);
    QFETCH(bool, keepAlpha);
    QFETCH(Moves, moved);
    bool flags[256] = {};
    for (int i : mask)
        flags[i] = true;
    Bench bench;
    bench.fillDistinct();
    bench.object.switchColors(flags, keepAlpha);
    for (int i = 0; i < 256; ++i)
        QCOMPARE(int(bench.table[i].r), moved.value(i, i));
    QCOMPARE(int(bench.table[0].a), keepAlpha           ? uchar(255 * 3)
                                    : moved.contains(0) ? uchar(765)
                                                        : 0);

    bench.fillDistinct();
    bench.object.switchColors(nullptr, true);
    for (int i = 0; i < 256; ++i) {
        QCOMPARE(int(bench.table[i].r), 255 - i);
        const int alphaOf = i == 0 || i == 255 ? i : 255 - i;
        QCOMPARE(bench.table[i].a, uchar(alphaOf * 3));
    }
}

void TestPalette::monoPalette()
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
    QCOMPARE(text(mono.colors()[0]), QStringLiteral("0,0,0,255"));
    QCOMPARE(text(mono.colors()[1]), QStringLiteral("255,255,255,255"));
    QCOMPARE(text(mono.colors()[255]), QStringLiteral("0,0,0,0"));
    RGBA out[256] = {{1, 2, 3, 4}};
    mono.copyTo(out);
    QCOMPARE(text(out[0]), QStringLiteral("1,2,3,4"));
}

void TestPalette::colorWidgetPaints()
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

QTEST_MAIN(TestPalette)
#include "tst_palette.moc"
