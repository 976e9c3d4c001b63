// The code document beside a bare QTextDocument whose QSyntaxHighlighter sets the same formats on
// the same text. Each row times both, turn by turn.

#include "besidebare.h"

#include <kilnx/project/archive.h>
#include <tests/code/plaincode.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryFile>

#include <malloc.h>

using namespace Kiln;

namespace
{

constexpr int sectionSize = 500;

class BareHighlighter : public QSyntaxHighlighter, public CodeParserSyntax
{
public:
    explicit BareHighlighter(QTextDocument *document)
        : QSyntaxHighlighter(document)
    {
        for (int type = 0; type < 10; ++type) {
            m_formats[type] = CodeDocument::syntaxFormat(TokenType(type));
            m_marked[type] = m_formats[type];
            m_marked[type].setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
            m_marked[type].setUnderlineColor(Qt::red);
        }
    }

    void setToken(TokenType type, int begin, int end) override
    {
        setFormat(begin, end - begin, m_formats[type]);
    }
    void setError(TokenType type, const QString &, int begin, int end) override
    {
        setFormat(begin, end - begin, m_marked[type]);
    }
    void setDeprecation(TokenType type, const QString &text, int begin, int end) override
    {
        setError(type, text, begin, end);
    }
    void setWarning(TokenType type, const QString &text, int begin, int end) override
    {
        setError(type, text, begin, end);
    }
    void addParenthesis(bool, QChar, int) override {}

protected:
    void highlightBlock(const QString &text) override { Plain::paint(text, *this); }

private:
    QTextCharFormat m_formats[10];
    QTextCharFormat m_marked[10];
};

using BareDocument = BesideBare::BareDocument<BareHighlighter>;
using BesideBare::Comparison;

void load(benchmark::State &state)
{
    const QString text = Plain::sampleText(int(state.range(0)), sectionSize);
    Plain::Parser parser;
    Comparison comparison(state);
    for (auto _ : state) {
        const Plain::DocumentPointer document(new Plain::Document(&parser));
        BareDocument bare;
        comparison.add([&] { document->fromString(text); }, [&] { bare.text.setPlainText(text); });
    }
}

/// Types a digit into a value's line, each time another one near the place: the start (0), the
/// middle (1) or the end (2) of the text.
void keystroke(benchmark::State &state)
{
    const int lines = int(state.range(0));
    const int step = state.range(1) == 2 ? -1 : 1;
    const QString text = Plain::sampleText(lines, sectionSize);
    Plain::Parser parser;
    const Plain::DocumentPointer document(new Plain::Document(&parser));
    document->fromString(text);
    BareDocument bare;
    bare.text.setPlainText(text);
    int line = qMin(int(lines * state.range(1) / 2), lines - 1);
    const auto cursorOnLine = [&line](QTextDocument &target) {
        QTextCursor cursor(target.findBlockByNumber(line));
        cursor.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, 5);
        return cursor;
    };
    Comparison comparison(state);
    for (auto _ : state) {
        do
            line += step;
        while (!bare.text.findBlockByNumber(line).text().startsWith(QLatin1String("speed")));
        QTextCursor own = cursorOnLine(*document);
        QTextCursor other = cursorOnLine(bare.text);
        comparison.add([&] { own.insertText(QStringLiteral("1")); },
                       [&] { other.insertText(QStringLiteral("1")); });
    }
}

/// Ends one document and loads another of the same size.
void closeAndOpen(benchmark::State &state)
{
    const QString text = Plain::sampleText(int(state.range(0)), sectionSize);
    Plain::Parser parser;
    Plain::DocumentPointer document;
    auto bare = std::make_unique<BareDocument>();
    Comparison comparison(state);
    for (auto _ : state) {
        comparison.add(
            [&] {
                document.reset(new Plain::Document(&parser));
                document->fromString(text);
            },
            [&] {
                bare = std::make_unique<BareDocument>();
                bare->text.setPlainText(text);
            });
    }
}

/// A header at the top gets another kind: its own section is parsed anew, whatever follows.
void headerEdit(benchmark::State &state)
{
    Plain::Parser parser;
    const Plain::DocumentPointer document(new Plain::Document(&parser));
    document->fromString(Plain::sampleText(int(state.range(0)), sectionSize));
    int calls = 0;
    bool other = false;
    for (auto _ : state) {
        parser.calls = 0;
        QTextCursor cursor(document->firstBlock());
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        other = !other;
        cursor.insertText(other ? QStringLiteral("[head:3]") : QStringLiteral("[head:1]"));
        calls = qMax(calls, parser.calls);
    }
    state.counters["parser_calls"] = calls;
}

/// Opens a file of so many megabytes: with all (0), without colours (1), or the text only (2),
/// beside a bare document that is given the text in UTF-8. Tells the bytes of the heap by the bytes
/// of the file while it is open and when it is closed, and the time that reading the file once
/// more, to know it again, would take in terms of the whole.
void openLargeFile(benchmark::State &state)
{
    const auto bytesInUse = [] { return double(mallinfo2().uordblks + mallinfo2().hblkhd); };
    constexpr int lineLength = 24;
    QTemporaryFile file;
    const QByteArray data =
        Plain::sampleText(int(state.range(0) << 20) / lineLength, sectionSize).toUtf8();
    if (!file.open() || file.write(data) != data.size() || !file.flush())
        qFatal("no room for the file");
    Plain::Parser parser;
    Comparison comparison(state);
    for (auto _ : state) {
        const double before = bytesInUse();
        Plain::DocumentPointer document(new Plain::Document(&parser));
        const auto detail = CodeDocument::Detail(state.range(1));
        document->setDetail(detail);
        QTextDocument bare;
        bare.setDocumentLayout(new QPlainTextDocumentLayout(&bare));
        const auto load = [&] {
            QFile source(file.fileName());
            if (detail != CodeDocument::WithColors)
                document->fromFile(FileSystemArchive::instance(), file.fileName(), false);
            else if (source.open(QIODevice::ReadOnly)) // a file would lose its colours
                document->fromString(QString::fromUtf8(source.readAll()));
        };
        const auto loadBare = [&] {
            QFile source(file.fileName());
            if (source.open(QIODevice::ReadOnly))
                bare.setPlainText(QString::fromUtf8(source.readAll()));
        };
        QElapsedTimer clock;
        clock.start();
        comparison.add(
            [&] {
                load();
                state.counters["ms"] = double(clock.elapsed());
            },
            loadBare);
        const double digest = BesideBare::seconds([&] {
            QFile source(file.fileName());
            QCryptographicHash hash(QCryptographicHash::Sha1);
            benchmark::DoNotOptimize(source.open(QIODevice::ReadOnly) && hash.addData(&source));
        });
        state.counters["digest"] = digest / comparison.own();
        bare.clear();
        state.counters["memory"] = (bytesInUse() - before) / data.size();
        document.reset();
        state.counters["left"] = (bytesInUse() - before) / data.size();
    }
}

BENCHMARK(load)->Arg(1000)->Iterations(50)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(load)->Arg(10000)->Iterations(10)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(load)->Arg(100000)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(keystroke)
    ->ArgsProduct({{1000, 10000, 100000}, {0, 1, 2}})
    ->Iterations(300)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(closeAndOpen)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(openLargeFile)
    ->ArgsProduct({{20}, {0, 1, 2}})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(headerEdit)->Arg(1000)->Arg(100000)->Iterations(20)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    return BesideBare::run(argc, argv);
}
