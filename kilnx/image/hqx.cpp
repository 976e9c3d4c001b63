#include <kilnx/image/hqx_p.h>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>

namespace Kiln
{

namespace
{

struct FrameDeleter {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;

struct GraphDeleter {
    void operator()(AVFilterGraph *graph) const { avfilter_graph_free(&graph); }
};

/// The side of the pictures that the filter sees. Others are cut into tiles whose outermost pixels
/// are neighbours only.
constexpr int TileSide = 64;
constexpr int TileContent = TileSide - 2;

/// A filter graph of FFmpeg for one factor. Making one takes some 50 ms and 64 MB, so all pictures
/// go through the same one, tile by tile.
class HqxGraph
{
public:
    explicit HqxGraph(int factor)
        : m_factor(factor)
        , m_graph(avfilter_graph_alloc())
    {
        m_valid = m_graph && build();
    }

    /// Null if the filter or the memory fails. `image` has the format ARGB32.
    QImage scale(const QImage &image)
    {
        QImage scaled(image.size() * m_factor, QImage::Format_ARGB32);
        if (!m_valid || scaled.isNull())
            return QImage();
        for (int y = 0; y < image.height(); y += TileContent) {
            for (int x = 0; x < image.width(); x += TileContent) {
                if (!scaleTile(image, {x, y}, scaled))
                    return QImage();
            }
        }
        return scaled;
    }

private:
    bool build()
    {
        m_graph->nb_threads = 1;
        const QByteArray source = QStringLiteral("video_size=%1x%1:pix_fmt=%2:time_base=1/1")
                                      .arg(TileSide)
                                      .arg(AV_PIX_FMT_RGB32)
                                      .toLatin1();
        AVFilterContext *filter = nullptr;
        return avfilter_graph_create_filter(&m_source, avfilter_get_by_name("buffer"), nullptr,
                                            source.constData(), nullptr, m_graph.get()) >= 0 &&
               avfilter_graph_create_filter(&filter, avfilter_get_by_name("hqx"), nullptr,
                                            QByteArray::number(m_factor).constData(), nullptr,
                                            m_graph.get()) >= 0 &&
               avfilter_graph_create_filter(&m_sink, avfilter_get_by_name("buffersink"), nullptr,
                                            nullptr, nullptr, m_graph.get()) >= 0 &&
               avfilter_link(m_source, 0, filter, 0) >= 0 &&
               avfilter_link(filter, 0, m_sink, 0) >= 0 &&
               avfilter_graph_config(m_graph.get(), nullptr) >= 0;
    }

    bool scaleTile(const QImage &image, QPoint start, QImage &scaled)
    {
        if (!push(image, start))
            return false;
        const Frame result(av_frame_alloc());
        if (!result || av_buffersink_get_frame(m_sink, result.get()) < 0)
            return false;
        const int columns = std::min(TileContent, image.width() - start.x()) * m_factor;
        const int rows = std::min(TileContent, image.height() - start.y()) * m_factor;
        for (int y = 0; y < rows; ++y) {
            const uchar *row = result->data[0] + qptrdiff(y + m_factor) * result->linesize[0];
            std::memcpy(reinterpret_cast<QRgb *>(scaled.scanLine(start.y() * m_factor + y)) +
                            start.x() * m_factor,
                        reinterpret_cast<const QRgb *>(row) + m_factor,
                        static_cast<size_t>(columns) * sizeof(QRgb));
        }
        return true;
    }

    /// Hands the filter the tile whose content begins at `start`. Beyond the picture lie copies of
    /// its border, which is what the filter takes for neighbours there.
    bool push(const QImage &image, QPoint start)
    {
        const Frame frame(av_frame_alloc());
        if (!frame)
            return false;
        frame->format = AV_PIX_FMT_RGB32;
        frame->width = TileSide;
        frame->height = TileSide;
        frame->pts = m_time++;
        if (av_frame_get_buffer(frame.get(), 0) < 0)
            return false;
        for (int y = 0; y < TileSide; ++y) {
            const int line = qBound(0, start.y() + y - 1, image.height() - 1);
            const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(line));
            auto *tile =
                reinterpret_cast<QRgb *>(frame->data[0] + qptrdiff(y) * frame->linesize[0]);
            for (int x = 0; x < TileSide; ++x)
                tile[x] = row[qBound(0, start.x() + x - 1, image.width() - 1)];
        }
        return av_buffersrc_add_frame(m_source, frame.get()) >= 0;
    }

    int m_factor;
    std::unique_ptr<AVFilterGraph, GraphDeleter> m_graph;
    AVFilterContext *m_source = nullptr;
    AVFilterContext *m_sink = nullptr;
    qint64 m_time = 0;
    bool m_valid = false;
};

/// The graphs of the three factors. Pictures of many sizes that are brought to one size take
/// turns among them, so they are kept for a while.
class HqxGraphs
{
public:
    QImage scale(const QImage &image, int factor)
    {
        using std::chrono::steady_clock;
        constexpr std::chrono::seconds keptFor(10);
        const auto now = steady_clock::now();
        QImage scaled;
        for (int i = 0; i < Factors; ++i) {
            Entry &entry = m_entries[i];
            if (i != factor - 2) {
                if (now - entry.used > keptFor)
                    entry.graph.reset();
                continue;
            }
            if (!entry.graph)
                entry.graph = std::make_unique<HqxGraph>(factor);
            scaled = entry.graph->scale(image);
            if (scaled.isNull())
                entry.graph.reset();
            entry.used = steady_clock::now();
        }
        return scaled;
    }

private:
    static constexpr int Factors = 3; // 2, 3 and 4
    struct Entry {
        std::unique_ptr<HqxGraph> graph;
        std::chrono::steady_clock::time_point used;
    };
    Entry m_entries[Factors];
};

} // namespace

QImage scaleHqx(const QImage &image, int factor)
{
    static std::mutex mutex;
    static HqxGraphs graphs;
    const std::lock_guard<std::mutex> lock(mutex);
    return graphs.scale(image, factor);
}

} // namespace Kiln
