// A file of 2,000 animations with 20 frames each, beside a bare QTextDocument with the same text
// whose QSyntaxHighlighter takes each line apart and paints it alike, but keeps no nodes, no model
// and no messages. Each row times both, turn by turn.

#include "besidebare.h"

#include <ember/animationnodes.h>
#include <ember/emberanimations.h>
#include <ember/emberdocument.h>

#include <QtCore/QRandomGenerator>
#include <QtGui/QTextBlock>

#include <algorithm>

using namespace Kiln;
using BesideBare::Comparison;
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

struct BareDocument : BesideBare::BareDocument<BareHighlighter> {
    /// Takes an animation's lines out and puts them in so that it is in row `to`, as one change.
    void move(int from, int to)
    {
        QTextCursor cursor = startOf(from);
        cursor.beginEditBlock();
        cursor.setPosition(startOf(from + 1).position(), QTextCursor::KeepAnchor);
        const QString lines = cursor.selectedText();
        cursor.removeSelectedText();
        cursor.setPosition(startOf(to).position());
        cursor.insertText(lines);
        cursor.endEditBlock();
    }

    QTextCursor startOf(int row) { return QTextCursor(text.findBlockByNumber(row * linesEach)); }
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

/// The same animations as a file of Ember and as bare text.
struct Both {
    explicit Both(const QVector<int> &identifiers)
        : document(new EmberDocument(EmberDocument::Animations))
    {
        const QString text = fileText(identifiers);
        document->fromString(text);
        bare.text.setPlainText(text);
    }

    Kiln::Animations *list() const { return document->animations(); }

    Document document;
    BareDocument bare;
};

void load(benchmark::State &state)
{
    const QString text = fileText(numbers(fullCount));
    Comparison comparison(state);
    for (auto _ : state) {
        const Document document(new EmberDocument(EmberDocument::Animations));
        BareDocument bare;
        comparison.add([&] { document->fromString(text); }, [&] { bare.text.setPlainText(text); });
        if (document->animations()->count() != fullCount)
            state.SkipWithError("not loaded");
    }
}

/// Boxes that no header stands above: each looks for one.
void loadHeadless(benchmark::State &state)
{
    const QString text =
        QStringLiteral("    body: -14, -70, 14, 0\n").repeated(int(state.range(0)));
    Comparison comparison(state);
    for (auto _ : state) {
        const Document document(new EmberDocument(EmberDocument::Animations));
        BareDocument bare;
        comparison.add([&] { document->fromString(text); }, [&] { bare.text.setPlainText(text); });
    }
}

void changeFrame(benchmark::State &state)
{
    Both both(numbers(fullCount));
    FrameCode *frame = both.list()->at(fullCount / 2)->frameAt(0);
    const int line = frame->lineNo();
    int x = 100;
    Comparison comparison(state);
    for (auto _ : state) {
        ++x;
        comparison.add([&] { frame->setProperty(QStringLiteral("Offset"), QPoint(x, 0)); },
                       [&] {
                           QTextCursor cursor(both.bare.text.findBlockByNumber(line));
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
    Both both(numbers(fullCount));
    Comparison comparison(state);
    for (auto _ : state) {
        const QString last = both.list()->at(fullCount - 1)->name();
        comparison.add([&] { both.list()->move(fullCount - 1, 0); },
                       [&] { both.bare.move(fullCount - 1, 0); });
        if (both.list()->at(0)->name() != last)
            state.SkipWithError("not moved");
    }
}

/// The bare text is told each move; it has nothing to find out.
void autoOrganize(benchmark::State &state)
{
    QVector<int> shuffled = numbers(int(state.range(0)));
    QRandomGenerator random(1);
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    QVector<QPair<int, int>> moves;
    Comparison comparison(state);
    for (auto _ : state) {
        Both both(shuffled);
        moves.clear();
        QObject::connect(both.list(), &QAbstractItemModel::rowsMoved, both.list(),
                         [&](const QModelIndex &, int from, int, const QModelIndex &, int to) {
                             moves.append({from, to});
                         });
        comparison.add([&] { both.list()->autoOrganize(); },
                       [&] {
                           QTextCursor bracket(&both.bare.text);
                           bracket.beginEditBlock();
                           for (const auto &move : qAsConst(moves))
                               both.bare.move(move.first, move.second);
                           bracket.endEditBlock();
                       });
        for (unsigned int i = 0; i < both.list()->count(); ++i) {
            if (both.list()->at(i)->name().toUInt() != i)
                state.SkipWithError("not sorted");
        }
        if (both.bare.text.toPlainText() != both.document->toPlainText())
            state.SkipWithError("the bare text differs");
    }
    state.counters["moves"] = moves.size();
    state.counters["us_per_move"] =
        comparison.own() / double(state.iterations()) / moves.size() * 1e6;
}

} // namespace

BENCHMARK(load)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(loadHeadless)
    ->Arg(10000)
    ->Arg(20000)
    ->Arg(40000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
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
    return BesideBare::run(argc, argv);
}
