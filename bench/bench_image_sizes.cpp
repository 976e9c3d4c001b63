#include <tests/image/plain.h>

#include <kilnx/image/imageops.h>

#include <QTransform>
#include <QtMath>

#include <benchmark/benchmark.h>

#include <wand/MagickWand.h>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
}

using namespace Kiln;

namespace
{

constexpr QSize Source(256, 256);
constexpr double Degrees = 30;

/// Sizes by factors of a hundredth: to a half, 2, 2.5, 3 and 4 times.
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

void takePalette(RGBA (&palette)[256])
{
    const QVector<QRgb> table = sprite(true).colorTable();
    std::transform(table.cbegin(), table.cend(), palette, fromQRgb);
}

void resize(benchmark::State &state, bool isIndexed)
{
    const QImage image = sprite(isIndexed);
    RGBA palette[256];
    takePalette(palette);
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

void resizePlainly(benchmark::State &state, bool isIndexed)
{
    const QImage image = sprite(isIndexed);
    RGBA palette[256];
    takePalette(palette);
    const QSize size = targetSize(state);
    for (auto _ : state) {
        const QImage result = state.range(0) == 0 ? Plain::resizeNearest(image, size)
                                                  : Plain::resizeBilinear(image, size, palette);
        benchmark::DoNotOptimize(result.constBits());
    }
}

void resizeTrueColorPlainly(benchmark::State &state)
{
    resizePlainly(state, false);
}
void resizeIndexedPlainly(benchmark::State &state)
{
    resizePlainly(state, true);
}

/// ImageMagick's own doubling is Scale2x; done twice, it gives four times the size.
void magnifyMagick(benchmark::State &state)
{
    const MagickSprite source;
    for (auto _ : state) {
        MagickWand *wand = CloneMagickWand(source.wand);
        for (int percent = 100; percent < state.range(0); percent *= 2)
            MagickMagnifyImage(wand);
        DestroyMagickWand(wand);
    }
}

/// FFmpeg's filter with a picture in its hands.
class HqxFilter
{
public:
    HqxFilter(const QImage &image, int factor)
        : m_graph(avfilter_graph_alloc())
        , m_frame(av_frame_alloc())
        , m_scaled(av_frame_alloc())
    {
        m_graph->nb_threads = 1;
        const QByteArray text =
            QStringLiteral("buffer@in=video_size=%1x%2:pix_fmt=bgra:time_base=1/1,hqx@x=%3,"
                           "buffersink@out")
                .arg(image.width())
                .arg(image.height())
                .arg(factor)
                .toLatin1();
        AVFilterInOut *inputs = nullptr;
        AVFilterInOut *outputs = nullptr;
        m_isReady = avfilter_graph_parse2(m_graph, text.constData(), &inputs, &outputs) >= 0 &&
                    avfilter_graph_config(m_graph, nullptr) >= 0;
        m_frame->format = AV_PIX_FMT_BGRA;
        m_frame->width = image.width();
        m_frame->height = image.height();
        av_frame_get_buffer(m_frame, 0);
        for (int y = 0; y < image.height(); ++y)
            memcpy(m_frame->data[0] + y * m_frame->linesize[0], image.constScanLine(y),
                   size_t(image.width()) * 4);
    }
    ~HqxFilter()
    {
        av_frame_free(&m_scaled);
        av_frame_free(&m_frame);
        avfilter_graph_free(&m_graph);
    }
    Q_DISABLE_COPY(HqxFilter)

    bool scale()
    {
        ++m_frame->pts;
        const bool isScaled =
            m_isReady &&
            av_buffersrc_write_frame(avfilter_graph_get_filter(m_graph, "buffer@in"), m_frame) >=
                0 &&
            av_buffersink_get_frame(avfilter_graph_get_filter(m_graph, "buffersink@out"),
                                    m_scaled) >= 0;
        av_frame_unref(m_scaled);
        return isScaled;
    }

private:
    AVFilterGraph *m_graph;
    AVFrame *m_frame;
    AVFrame *m_scaled;
    bool m_isReady = false;
};

/// The filter alone: graph and frame are there, and its result is only fetched.
void hqxFfmpeg(benchmark::State &state)
{
    HqxFilter filter(sprite(false), static_cast<int>(state.range(0)) / 100);
    for (auto _ : state) {
        if (!filter.scale())
            state.SkipWithError("not scaled");
    }
}

void everyFilter(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"filter", "percent"})
        ->ArgsProduct({{0, 1, 2, 3, 4, 5}, {50, 200, 250, 300, 400}})
        ->Unit(benchmark::kMicrosecond);
}
void plainFilters(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"filter", "percent"})
        ->ArgsProduct({{0, 1}, {50, 200, 250, 300, 400}})
        ->Unit(benchmark::kMicrosecond);
}
BENCHMARK(resizeTrueColor)->Apply(everyFilter);
BENCHMARK(resizeIndexed)->Apply(everyFilter);
BENCHMARK(resizeTrueColorPlainly)->Apply(plainFilters);
BENCHMARK(resizeIndexedPlainly)->Apply(plainFilters);
BENCHMARK(resizeQt)->Apply(plainFilters);
BENCHMARK(resizeMagick)->Apply(plainFilters);
BENCHMARK(magnifyMagick)->ArgName("percent")->Arg(200)->Arg(400)->Unit(benchmark::kMicrosecond);
BENCHMARK(hqxFfmpeg)->ArgName("percent")->Arg(200)->Arg(300)->Arg(400)->Unit(
    benchmark::kMicrosecond);

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
