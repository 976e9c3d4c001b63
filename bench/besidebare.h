#pragma once

#include <benchmark/benchmark.h>

#include <QtGui/QSyntaxHighlighter>
#include <QtGui/QTextDocument>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPlainTextDocumentLayout>

#include <ctime>
#include <memory>

/// A document of the library beside a bare QTextDocument: what the benchmarks of both share.
namespace BesideBare
{

/// A plain text document that a highlighter paints, without nodes, model and messages.
template<typename Highlighter>
struct BareDocument {
    BareDocument()
    {
        text.setDocumentLayout(new QPlainTextDocumentLayout(&text));
        highlighter = std::make_unique<Highlighter>(&text);
    }

    QTextDocument text;
    std::unique_ptr<Highlighter> highlighter;
};

/// Of the processor, so that other work on the machine does not count.
inline double now()
{
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

template<typename Function>
double seconds(Function function)
{
    const double start = now();
    function();
    return now() - start;
}

/// Adds up both times over the iterations of a row: the time of the row is the library's, "bare_us"
/// the other's, and "ratio" the library's in terms of the other's.
class Comparison
{
public:
    explicit Comparison(benchmark::State &state)
        : m_state(state)
    {
    }
    ~Comparison()
    {
        m_state.counters["bare_us"] = m_bare / double(m_state.iterations()) * 1e6;
        m_state.counters["ratio"] = m_own / m_bare;
    }

    /// One turn of each.
    template<typename Own, typename Bare>
    void add(Own own, Bare bare)
    {
        const double time = seconds(own);
        m_own += time;
        m_bare += seconds(bare);
        m_state.SetIterationTime(time);
    }

    /// The library's time so far.
    double own() const { return m_own; }

private:
    benchmark::State &m_state;
    double m_own = 0;
    double m_bare = 0;
};

/// The body of main(): runs the registered rows. They need no display.
inline int run(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace BesideBare
