#include <tests/image/plain.h>

#include <kilnx/image/colorquantizer.h>
#include <kilnx/image/imageops.h>

#include <benchmark/benchmark.h>

#include <libimagequant.h>

#include <memory>

using namespace Kiln;

namespace
{

constexpr QSize Large(1024, 1024);

/// 0: as many colours as a photograph; 1: a sprite of 32 colours; 2: a sprite of true colour.
QImage picture(const benchmark::State &state)
{
    std::mt19937 random(3);
    switch (state.range(0)) {
    case 0:
        return Plain::photo(Large, random);
    case 1:
        return Plain::sprite(Large, 32, random);
    default:
        return Plain::sprite(Large, 32, random).convertToFormat(QImage::Format_ARGB32);
    }
}

struct Palette {
    RGBA entries[256];
    Palette()
    {
        std::mt19937 random(4);
        Plain::rampPalette(entries, random);
        entries[0].a = 255; // Qt's conversion has no rule for alpha of its own
    }
};

template<class Adapt>
void adapt(benchmark::State &state, Adapt &&adapt)
{
    const QImage image = picture(state);
    Palette palette;
    for (auto _ : state) {
        const QImage result = adapt(image, palette.entries);
        benchmark::DoNotOptimize(result.constBits());
    }
    state.SetItemsProcessed(state.iterations() * Large.width() * Large.height());
}

QImage adapted(QImage image, const RGBA *palette)
{
    adaptImageToPalette(image, palette);
    return image;
}

void adaptColors(benchmark::State &state)
{
    const Palette palette;
    if (adapted(picture(state), palette.entries) != Plain::adapt(picture(state), palette.entries)) {
        state.SkipWithError("not the indexes of the plain scan");
        return;
    }
    adapt(state, adapted);
}
void adaptColorsPlainly(benchmark::State &state)
{
    adapt(state, Plain::adapt);
}
void adaptColorsQt(benchmark::State &state)
{
    adapt(state, [](const QImage &image, const RGBA *palette) {
        QVector<QRgb> table(256);
        std::transform(palette, palette + 256, table.begin(), toQRgb);
        return image.convertToFormat(QImage::Format_ARGB32)
            .convertToFormat(QImage::Format_Indexed8, table, Qt::ThresholdDither | Qt::AvoidDither);
    });
}

template<auto Destroy>
struct Free {
    template<class T>
    void operator()(T *object) const
    {
        Destroy(object);
    }
};
using Attributes = std::unique_ptr<liq_attr, Free<liq_attr_destroy>>;
using Picture = std::unique_ptr<liq_image, Free<liq_image_destroy>>;
using Result = std::unique_ptr<liq_result, Free<liq_result_destroy>>;

QImage rgbaOf(const QImage &image)
{
    return image.convertToFormat(QImage::Format_RGBA8888);
}

Picture liqPicture(liq_attr *attributes, const QImage &rgba)
{
    return Picture(
        liq_image_create_rgba(attributes, rgba.constBits(), rgba.width(), rgba.height(), 0));
}

/// Remapping alone: the palette is given to it before.
void adaptColorsImagequant(benchmark::State &state)
{
    const QImage rgba = rgbaOf(picture(state));
    Palette palette;
    const Attributes attributes(liq_attr_create());
    liq_set_speed(attributes.get(), 10);
    QImage target(Large, QImage::Format_Indexed8);
    for (auto _ : state) {
        state.PauseTiming();
        const Picture source = liqPicture(attributes.get(), rgba);
        for (RGBA entry : palette.entries)
            liq_image_add_fixed_color(source.get(), {entry.r, entry.g, entry.b, entry.a});
        liq_result *made = nullptr;
        if (liq_image_quantize(source.get(), attributes.get(), &made) != LIQ_OK) {
            state.SkipWithError("the peer refused");
            break;
        }
        const Result result(made);
        liq_set_dithering_level(made, 0);
        state.ResumeTiming();
        liq_write_remapped_image(made, source.get(), target.bits(), size_t(target.sizeInBytes()));
    }
    state.SetItemsProcessed(state.iterations() * Large.width() * Large.height());
}

void kinds(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgName("kind")->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
}
BENCHMARK(adaptColors)->Apply(kinds);
BENCHMARK(adaptColorsPlainly)->Apply(kinds);
BENCHMARK(adaptColorsQt)->Apply(kinds);
BENCHMARK(adaptColorsImagequant)->Apply(kinds);

/// The mean squared distance of red, green and blue between a picture and itself in the colours.
double meanError(const QImage &image, const RGBA (&table)[256])
{
    QImage adapted = image;
    adaptImageToPalette(adapted, table);
    const QImage source = image.convertToFormat(QImage::Format_RGB32);
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb a = source.pixel(x, y);
            const QRgb b = adapted.pixel(x, y);
            const int r = qRed(a) - qRed(b);
            const int g = qGreen(a) - qGreen(b);
            const int blue = qBlue(a) - qBlue(b);
            sum += r * r + g * g + blue * blue;
        }
    }
    return sum / (double(image.width()) * image.height());
}

void quantize(benchmark::State &state)
{
    const QImage image = picture(state);
    RGBA table[256];
    for (auto _ : state) {
        ColorQuantizer quantizer(255, 8);
        quantizer.processImage(image);
        quantizer.getColorTable(table);
    }
    state.counters["error"] = meanError(image, table);
}

void quantizePlainly(benchmark::State &state)
{
    const QImage image = picture(state);
    RGBA table[256];
    for (auto _ : state)
        Plain::quantize({image}, 255, 8, table);
    state.counters["error"] = meanError(image, table);
}

void quantizeImagequant(benchmark::State &state)
{
    const QImage image = picture(state);
    RGBA table[256] = {};
    const Attributes attributes(liq_attr_create());
    liq_set_speed(attributes.get(), 10);
    liq_set_max_colors(attributes.get(), 255);
    for (auto _ : state) {
        const QImage rgba = rgbaOf(image);
        const Picture source = liqPicture(attributes.get(), rgba);
        liq_result *made = nullptr;
        if (liq_image_quantize(source.get(), attributes.get(), &made) != LIQ_OK) {
            state.SkipWithError("the peer refused");
            break;
        }
        const Result result(made);
        const liq_palette *palette = liq_get_palette(made);
        for (unsigned i = 0; i < palette->count; ++i)
            table[i] = {palette->entries[i].r, palette->entries[i].g, palette->entries[i].b,
                        palette->entries[i].a};
    }
    state.counters["error"] = meanError(image, table);
}
BENCHMARK(quantize)->Apply(kinds);
BENCHMARK(quantizePlainly)->Apply(kinds);
BENCHMARK(quantizeImagequant)->Apply(kinds);

} // namespace
