#include <kilnx/image/hqx_p.h>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

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

/// A filter graph of FFmpeg for one factor and size of picture. Making one takes some 50 ms and
/// 64 MB, whatever the picture.
class HqxGraph
{
public:
    HqxGraph(QSize size, int factor)
        : m_size(size)
        , m_factor(factor)
        , m_graph(avfilter_graph_alloc())
    {
        m_valid = m_graph && build();
    }

    bool isFor(QSize size, int factor) const { return size == m_size && factor == m_factor; }

    QImage scale(const QImage &image)
    {
        if (!m_valid || !push(image))
            return QImage();
        const Frame result(av_frame_alloc());
        if (!result || av_buffersink_get_frame(m_sink, result.get()) < 0)
            return QImage();
        QImage scaled(result->width, result->height, QImage::Format_ARGB32);
        for (int y = 0; y < scaled.height(); ++y) {
            std::memcpy(scaled.scanLine(y), result->data[0] + qptrdiff(y) * result->linesize[0],
                        static_cast<size_t>(scaled.width()) * sizeof(QRgb));
        }
        return scaled;
    }

private:
    bool build()
    {
        m_graph->nb_threads = 1;
        const QByteArray source = QStringLiteral("video_size=%1x%2:pix_fmt=%3:time_base=1/1")
                                      .arg(m_size.width())
                                      .arg(m_size.height())
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

    bool push(const QImage &image)
    {
        const Frame frame(av_frame_alloc());
        if (!frame)
            return false;
        frame->format = AV_PIX_FMT_RGB32;
        frame->width = m_size.width();
        frame->height = m_size.height();
        frame->pts = m_time++;
        if (av_frame_get_buffer(frame.get(), 0) < 0)
            return false;
        for (int y = 0; y < m_size.height(); ++y) {
            std::memcpy(frame->data[0] + qptrdiff(y) * frame->linesize[0], image.constScanLine(y),
                        static_cast<size_t>(m_size.width()) * sizeof(QRgb));
        }
        return av_buffersrc_add_frame(m_source, frame.get()) >= 0;
    }

    QSize m_size;
    int m_factor;
    std::unique_ptr<AVFilterGraph, GraphDeleter> m_graph;
    AVFilterContext *m_source = nullptr;
    AVFilterContext *m_sink = nullptr;
    qint64 m_time = 0;
    bool m_valid = false;
};

} // namespace

QImage scaleHqx(const QImage &image, int factor)
{
    // The last graph is kept: an animation's frames mostly have one size.
    static std::mutex mutex;
    static std::unique_ptr<HqxGraph> graph;
    const std::lock_guard<std::mutex> lock(mutex);
    if (!graph || !graph->isFor(image.size(), factor)) {
        graph.reset();
        graph = std::make_unique<HqxGraph>(image.size(), factor);
    }
    QImage scaled = graph->scale(image);
    if (scaled.isNull())
        graph.reset();
    return scaled;
}

} // namespace Kiln
