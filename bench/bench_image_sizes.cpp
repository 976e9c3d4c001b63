#include <tests/image/plain.h>

#include <kilnx/image/imageops.h>

#include <QTransform>
#include <QtMath>

#include <benchmark/benchmark.h>

#include <wand/MagickWand.h>

#include <memory>

using namespace Kiln;

namespace
{

constexpr QSize Source(256, 256);
constexpr double Degrees = 30;

/// Sizes by factors of a hundredth: to a half, 2, 2.5 and 4 times.
QSize targetSize(const benchmark::State &state)
{
    return Source * static_cast<int>(state.range(1)) / 100;
}

QImage sprite(bool isIndexed)
{
    std::mt19937 random(5);
    const QImage image = Plain::sprite(Source, 32, random);
    return isIndexed ? image : image.convertToFormat(QImage::Format_ARGB32);
}

struct MagickSprite {
    MagickSprite()
        : wand(NewMagickWand())
    {
        const QImage image = sprite(false);
        MagickConstituteImage(wand, size_t(image.width()), size_t(image.height()), "BGRA",
                              CharPixel, image.constBits());
    }
    ~MagickSprite() { DestroyMagickWand(wand); }
    MagickWand *wand;
};

void resize(benchmark::State &state, bool isIndexed)
{
    const QImage image = sprite(isIndexed);
    RGBA palette[256];
    const QVector<QRgb> table = sprite(true).colorTable();
    std::transform(table.cbegin(), table.cend(), palette, fromQRgb);
    const QSize size = targetSize(state);
    const auto filter = static_cast<ImageResizeFilter>(state.range(0));
    for (auto _ : state) {
        const QImage result = resizeImage(image, size, palette, filter);
        benchmark::DoNotOptimize(result.constBits());
    }
}
void resizeTrueColor(benchmark::State &state)
{
    resize(state, false);
}
void resizeIndexed(benchmark::State &state)
{
    resize(state, true);
}

void resizeQt(benchmark::State &state)
{
    const QImage image = sprite(false);
    const QSize size = targetSize(state);
    const auto mode = state.range(0) == 0 ? Qt::FastTransformation : Qt::SmoothTransformation;
    for (auto _ : state) {
        const QImage result = image.scaled(size, Qt::IgnoreAspectRatio, mode);
        benchmark::DoNotOptimize(result.constBits());
    }
}

void resizeMagick(benchmark::State &state)
{
    const MagickSprite source;
    const QSize size = targetSize(state);
    const FilterTypes filter = state.range(0) == 0 ? PointFilter : TriangleFilter;
    for (auto _ : state) {
        MagickWand *wand = CloneMagickWand(source.wand);
        MagickResizeImage(wand, size_t(size.width()), size_t(size.height()), filter, 1.0);
        DestroyMagickWand(wand);
    }
}

void resizePlainly(benchmark::State &state)
{
    const QImage image = sprite(false);
    RGBA palette[256] = {};
    const QSize size = targetSize(state);
    for (auto _ : state) {
        const QImage result = state.range(0) == 0 ? Plain::resizeNearest(image, size)
                                                  : Plain::resizeBilinear(image, size, palette);
        benchmark::DoNotOptimize(result.constBits());
    }
}

void everyFilter(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"filter", "percent"})
        ->ArgsProduct({{0, 1, 2, 3, 4, 5}, {50, 200, 250, 400}})
        ->Unit(benchmark::kMicrosecond);
}
void plainFilters(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"filter", "percent"})
        ->ArgsProduct({{0, 1}, {50, 200, 250, 400}})
        ->Unit(benchmark::kMicrosecond);
}
BENCHMARK(resizeTrueColor)->Apply(everyFilter);
BENCHMARK(resizeIndexed)->Apply(everyFilter);
BENCHMARK(resizePlainly)->Apply(plainFilters);
BENCHMARK(resizeQt)->Apply(plainFilters);
BENCHMARK(resizeMagick)->Apply(plainFilters);

void rotate(benchmark::State &state)
{
    const QImage image = sprite(state.range(0) == 0);
    for (auto _ : state) {
        const QImage result = rotateImage(image, float(qDegreesToRadians(Degrees)), 0);
        benchmark::DoNotOptimize(result.constBits());
    }
}
void rotatePlainly(benchmark::State &state)
{
    const QImage image = sprite(state.range(0) == 0);
    for (auto _ : state) {
        const QImage result = Plain::rotate(image, float(qDegreesToRadians(Degrees)), 0);
        benchmark::DoNotOptimize(result.constBits());
    }
}
void rotateQt(benchmark::State &state)
{
    const QImage image = sprite(state.range(0) == 0);
    for (auto _ : state) {
        const QImage result = image.transformed(QTransform().rotate(Degrees));
        benchmark::DoNotOptimize(result.constBits());
    }
}
void rotateMagick(benchmark::State &state)
{
    const MagickSprite source;
    PixelWand *background = NewPixelWand();
    PixelSetColor(background, "none");
    for (auto _ : state) {
        MagickWand *wand = CloneMagickWand(source.wand);
        MagickRotateImage(wand, background, Degrees);
        DestroyMagickWand(wand);
    }
    DestroyPixelWand(background);
}
BENCHMARK(rotate)->ArgName("trueColor")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(rotatePlainly)->ArgName("trueColor")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(rotateQt)->ArgName("trueColor")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(rotateMagick)->ArgName("trueColor")->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace
