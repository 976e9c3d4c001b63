// A file of 2,000 animations with 20 frames each, beside a bare QTextDocument with the same text
// whose QSyntaxHighlighter takes each line apart and paints it alike, but keeps no nodes, no model
// and no messages. Each row times both, turn by turn: the time of the row is the library's, `bare`
// is the other's, and `ratio` is the library's in terms of the other's.

#include <ember/animationnodes.h>
#include <ember/emberanimations.h>
#include <ember/emberdocument.h>

#include <benchmark/benchmark.h>

#include <QtCore/QRandomGenerator>
#include <QtGui/QSyntaxHighlighter>
#include <QtGui/QTextBlock>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPlainTextDocumentLayout>

#include <algorithm>
#include <chrono>
#include <memory>

using namespace Kiln;
using EmberAnimationText::Line;

namespace
{

constexpr int fullCount = 2000;
constexpr int frameCount = 20;
constexpr int linesEach = 2 + 2 * frameCount;

class BareHighlighter : public QSyntaxHighlighter
{
public:
    explicit BareHighlighter(QTextDocument *document)
        : QSyntaxHighlighter(document)
    {
        for (int type = 0; type <= CodeParserSyntax::Function; ++type)
            m_formats[type] = CodeDocument::syntaxFormat(CodeParserSyntax::TokenType(type));
    }

protected:
    void highlightBlock(const QString &text) override
    {
        const Line line = Line::read(text);
        paint(CodeParserSyntax::Comment, {line.parts.comment, text.size()});
        if (line.kind == EmberAnimationText::Frame)
            benchmark::DoNotOptimize(EmberAnimationText::readFrame(line));
        else if (line.kind == EmberAnimationText::Body)
            benchmark::DoNotOptimize(EmberAnimationText::readBox(line));
        if (!line.parts.keyRanges.isEmpty())
            paint(CodeParserSyntax::Keyword, line.parts.keyRanges.first());
        paint(CodeParserSyntax::Name, line.subjectRange);
        for (const EmberAnimationText::Clause &clause : line.clauses) {
            const int behind = clause.range.begin + clause.word.size();
            paint(CodeParserSyntax::Keyword, {clause.range.begin, behind});
            paint(CodeParserSyntax::Number, {behind, clause.range.end});
        }
    }

private:
    void paint(CodeParserSyntax::TokenType type, EmberLine::Range range)
    {
        if (range.begin < range.end)
            setFormat(range.begin, range.end - range.begin, m_formats[type]);
    }

    QTextCharFormat m_formats[CodeParserSyntax::Function + 1];
};

struct BareDocument {
    BareDocument()
    {
        text.setDocumentLayout(new QPlainTextDocumentLayout(&text));
        highlighter = std::make_unique<BareHighlighter>(&text);
    }

    /// Takes an animation's lines out and puts them in before another line, as one change.
    void move(int from, int to)
    {
        QTextCursor cursor(text.findBlockByNumber(from * linesEach));
        cursor.beginEditBlock();
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, linesEach);
        const QString lines = cursor.selectedText();
        cursor.removeSelectedText();
        cursor.setPosition(text.findBlockByNumber(to * linesEach).position());
        cursor.insertText(lines);
        cursor.endEditBlock();
    }

    QTextDocument text;
    std::unique_ptr<BareHighlighter> highlighter;
};

struct Release {
    void operator()(EmberDocument *document) const { document->release(); }
};
using Document = std::unique_ptr<EmberDocument, Release>;

QString fileText(const QVector<int> &identifiers)
{
    QString text;
    for (const int identifier : identifiers) {
        text += QStringLiteral("@animation %1\n").arg(identifier);
        for (int frame = 0; frame < frameCount; ++frame) {
            text += QStringLiteral("    body: -14, -70, 14, 0\n    frame: s%1, at %2 0, for 6\n")
                        .arg(frame)
                        .arg(frame + 1);
        }
        text += QLatin1Char('\n');
    }
    return text;
}

QVector<int> numbers(int count)
{
    QVector<int> list;
    for (int i = 0; i < count; ++i)
        list << i;
    return list;
}

template<typename Function>
double seconds(Function function)
{
    const auto start = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Adds up both times over the iterations of a row.
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

    template<typename Own, typename Bare>
    void turn(Own own, Bare bare)
    {
        const double time = seconds(own);
        m_state.SetIterationTime(time);
        m_own += time;
        m_bare += seconds(bare);
    }

private:
    benchmark::State &m_state;
    double m_own = 0;
    double m_bare = 0;
};

void load(benchmark::State &state)
{
    const QString text = fileText(numbers(fullCount));
    Comparison comparison(state);
    for (auto _ : state) {
        const Document document(new EmberDocument(EmberDocument::Animations));
        BareDocument bare;
        comparison.turn([&] { document->fromString(text); }, [&] { bare.text.setPlainText(text); });
        if (document->animations()->count() != fullCount)
            state.SkipWithError("not loaded");
    }
}

void changeFrame(benchmark::State &state)
{
    const QString text = fileText(numbers(fullCount));
    const Document document(new EmberDocument(EmberDocument::Animations));
    document->fromString(text);
    BareDocument bare;
    bare.text.setPlainText(text);
    FrameCode *frame = document->animations()->at(fullCount / 2)->frameAt(0);
    const int line = frame->lineNo();
    int x = 100;
    Comparison comparison(state);
    for (auto _ : state) {
        ++x;
        comparison.turn([&] { frame->setProperty(QStringLiteral("Offset"), QPoint(x, 0)); },
                        [&] {
                            QTextCursor cursor(bare.text.findBlockByNumber(line));
                            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
                            cursor.insertText(
                                QStringLiteral("    frame: s0, at %1 0, for 6").arg(x));
                        });
        if (frame->offset().x() != x)
            state.SkipWithError("not changed");
    }
}

void moveEndToFront(benchmark::State &state)
{
    const QString text = fileText(numbers(fullCount));
    const Document document(new EmberDocument(EmberDocument::Animations));
    document->fromString(text);
    BareDocument bare;
    bare.text.setPlainText(text);
    Comparison comparison(state);
    for (auto _ : state) {
        const QString last = document->animations()->at(fullCount - 1)->name();
        comparison.turn([&] { document->animations()->move(fullCount - 1, 0); },
                        [&] { bare.move(fullCount - 1, 0); });
        if (document->animations()->at(0)->name() != last)
            state.SkipWithError("not moved");
    }
}

void autoOrganize(benchmark::State &state)
{
    QVector<int> shuffled = numbers(int(state.range(0)));
    QRandomGenerator random(1);
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    const QString text = fileText(shuffled);
    double time = 0;
    int moves = 0;
    for (auto _ : state) {
        const Document document(new EmberDocument(EmberDocument::Animations));
        document->fromString(text);
        QObject::connect(document->animations(), &QAbstractItemModel::rowsMoved,
                         document->animations(), [&] { ++moves; });
        const double turn = seconds([&] { document->animations()->autoOrganize(); });
        state.SetIterationTime(turn);
        time += turn;
        for (unsigned int i = 0; i < document->animations()->count(); ++i) {
            if (document->animations()->at(i)->name().toUInt() != i)
                state.SkipWithError("not sorted");
        }
    }
    state.counters["moves"] = double(moves) / double(state.iterations());
    state.counters["us_per_move"] = time / moves * 1e6;
}

} // namespace

BENCHMARK(load)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(changeFrame)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(moveEndToFront)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(autoOrganize)
    ->Arg(250)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(2000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
