#include <kilnx/codeedit/textsearch_p.h>

#include <kilnx/project/editor.h>

#include <QtGui/QTextDocument>

#include <algorithm>
#include <chrono>
#include <functional>
#include <system_error>
#include <thread>

namespace Kiln
{

namespace
{
constexpr std::chrono::seconds Patience(3);
constexpr int MostMatches = 100000;
// Threads that may still run when another is to begin: of searches that nothing stops, and of such
// as end soon.
constexpr int MostUnstoppable = 2;
constexpr int MostRunning = 16;
constexpr int LongText = 1 << 18; // characters

std::atomic<int> running{0};

// The result of `work` on a thread of its own; an invalid future where no thread is to be had.
template<typename Result>
std::future<Result> onThread(int most, std::function<Result()> work)
{
    if (running >= most)
        return {};
    ++running;
    auto task = std::make_shared<std::packaged_task<Result()>>([work = std::move(work)] {
        Result done = work();
        --running;
        return done;
    });
    std::future<Result> result = task->get_future();
    try {
        std::thread([task] { (*task)(); }).detach();
    } catch (const std::system_error &) { // no more threads
        --running;
        return {};
    }
    return result;
}

// Waits for the result, but not for ever.
template<typename Result>
std::optional<Result> searched(const QRegExp &expression, int most, std::function<Result()> work)
{
    if (expression.patternSyntax() == QRegExp::FixedString)
        return work();
    std::future<Result> result = onThread<Result>(most, std::move(work));
    if (!result.valid() || result.wait_for(Patience) != std::future_status::ready)
        return std::nullopt;
    return result.get();
}

/// Whether it repeats anything: all others are done with each start at once.
bool mayTakeLong(const QRegExp &expression)
{
    const QString pattern = expression.pattern();
    return expression.patternSyntax() != QRegExp::FixedString &&
           std::any_of(pattern.begin(), pattern.end(), [](QChar sign) {
               return sign == QLatin1Char('*') || sign == QLatin1Char('+') ||
                      sign == QLatin1Char('{');
           });
}

int mostBeside(const QRegExp &expression)
{
    return mayTakeLong(expression) ? MostUnstoppable : MostRunning;
}

// A "^" of its own means the start of the text, and that of a class none.
bool isAnchorable(const QRegExp &expression)
{
    return expression.isValid() &&
           !expression.pattern().remove(QLatin1String("[^")).contains(QLatin1Char('^'));
}

/// One expression on one text.
class Search
{
public:
    Search(const QRegExp &expression, const QString &text, const SearchStop &stop)
        : m_expression(expression)
        , m_text(text)
        , m_stop(stop)
        , m_isByStarts(mayTakeLong(expression) && isAnchorable(expression) &&
                       (text.size() < LongText || running >= MostUnstoppable))
    {
        if (m_isByStarts)
            m_expression.setPattern(QStringLiteral("^(?:%1)").arg(expression.pattern()));
    }

    /// The threads beside which it may begin.
    int most() const { return m_isByStarts ? MostRunning : mostBeside(m_expression); }

    TextMatch find(int from, bool backward)
    {
        const int position = m_isByStarts ? findByStarts(from, backward ? -1 : 1)
                             : backward   ? m_expression.lastIndexIn(m_text, from)
                                          : m_expression.indexIn(m_text, from);
        return {position, position < 0 ? 0 : m_expression.matchedLength()};
    }

private:
    // QRegExp comes back soon from a single start, and can be stopped in between; for that it
    // forgoes its short ways to the next promising start.
    int findByStarts(int from, int step)
    {
        for (int at = from; at >= 0 && at <= m_text.size() && !*m_stop; at += step) {
            if (m_expression.indexIn(m_text, at, QRegExp::CaretAtOffset) == at)
                return at;
        }
        return -1;
    }

    QRegExp m_expression;
    const QString m_text;
    const SearchStop m_stop;
    const bool m_isByStarts;
};

bool isWord(QChar character)
{
    return character.isLetterOrNumber() || character.isMark() || character == QLatin1Char('_');
}

// A boundary makes sense beside the character of a word only: "@state" begins with none.
QString asWholeWords(const QString &text)
{
    const QString boundary = QStringLiteral("\\b");
    return (isWord(text.front()) ? boundary : QString()) + QRegExp::escape(text) +
           (isWord(text.back()) ? boundary : QString());
}
} // namespace

QString searchedText(const QTextDocument *document)
{
    return document->toRawText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

QRegExp searchExpression(const QString &text, unsigned int flags)
{
    const bool isWhole = flags & Editor::WholeWords && !text.isEmpty();
    const Qt::CaseSensitivity sensitivity =
        flags & Editor::CaseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
    if (!(flags & Editor::RegularExpression))
        return isWhole ? QRegExp(asWholeWords(text), sensitivity, QRegExp::RegExp2)
                       : QRegExp(text, sensitivity, QRegExp::FixedString);
    const QRegExp expression(text, sensitivity, QRegExp::RegExp2);
    if (!isWhole || !expression.isValid())
        return expression;
    return QRegExp(QStringLiteral("\\b(?:%1)\\b").arg(text), sensitivity, QRegExp::RegExp2);
}

std::optional<TextMatch>
searchText(const QRegExp &expression, const QString &text, int from, bool backward)
{
    const auto stop = std::make_shared<std::atomic<bool>>(false);
    Search search(expression, text, stop);
    const auto match =
        searched<TextMatch>(expression, search.most(), [search, from, backward]() mutable {
            return search.find(from, backward);
        });
    *stop = true;
    return match;
}

std::future<QVector<TextMatch>>
searchAllText(const QRegExp &expression, const QString &text, const SearchStop &stop)
{
    Search search(expression, text, stop);
    return onThread<QVector<TextMatch>>(
        search.most(), [search, size = text.size(), stop]() mutable {
            QVector<TextMatch> matches;
            for (int from = 0; from < size && matches.size() < MostMatches && !*stop;) {
                const TextMatch match = search.find(from, false);
                if (match.position < 0)
                    break;
                if (match.length > 0)
                    matches.append(match);
                from = match.position + qMax(1, match.length);
            }
            return matches;
        });
}

std::optional<ReplacedText>
replaceText(const QRegExp &expression, const QString &text, const QString &replacement)
{
    const auto work = [expression, text, replacement] {
        ReplacedText replaced{text};
        replaced.text.replace(expression, replacement);
        for (int at = 0; (at = expression.indexIn(text, at)) >= 0; ++replaced.count)
            at += qMax(1, expression.matchedLength());
        return replaced;
    };
    return searched<ReplacedText>(expression, mostBeside(expression), work);
}

std::optional<bool> matchesExactly(const QRegExp &expression, const QString &text)
{
    return searched<bool>(expression, mostBeside(expression),
                          [expression, text] { return expression.exactMatch(text); });
}

} // namespace Kiln
