#include <kilnx/codeedit/textsearch_p.h>

#include <kilnx/project/editor.h>

#include <QtGui/QTextDocument>

#include <atomic>
#include <chrono>
#include <future>
#include <system_error>
#include <thread>

namespace Kiln
{

namespace
{
constexpr std::chrono::seconds Patience(3);
constexpr int MostAbandoned = 2;

std::atomic<int> running{0};

// Runs `work` on a thread of its own and waits for it, but not for ever.
template<typename Result>
std::optional<Result> withinTime(std::function<Result()> work)
{
    if (running >= MostAbandoned)
        return std::nullopt;
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
        return std::nullopt;
    }
    if (result.wait_for(Patience) != std::future_status::ready)
        return std::nullopt;
    return result.get();
}

template<typename Result>
std::optional<Result> searched(const QRegExp &expression, std::function<Result()> work)
{
    if (expression.patternSyntax() == QRegExp::FixedString)
        return work();
    return withinTime<Result>(std::move(work));
}
} // namespace

QString searchedText(const QTextDocument *document)
{
    return document->toRawText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

QRegExp searchExpression(const QString &text, unsigned int flags)
{
    const bool regular = flags & Editor::RegularExpression;
    const bool caseSensitive = flags & Editor::CaseSensitive;
    return QRegExp(text, caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive,
                   regular ? QRegExp::RegExp2 : QRegExp::FixedString);
}

std::optional<TextMatch>
searchText(const QRegExp &expression, const QString &text, int from, bool backward)
{
    const auto work = [expression, text, from, backward]() -> TextMatch {
        const int position =
            backward ? expression.lastIndexIn(text, from) : expression.indexIn(text, from);
        return {position, position < 0 ? 0 : expression.matchedLength()};
    };
    return searched<TextMatch>(expression, work);
}

std::optional<QString>
replaceText(const QRegExp &expression, const QString &text, const QString &replacement)
{
    return searched<QString>(expression, [expression, text, replacement]() -> QString {
        QString changed = text;
        return changed.replace(expression, replacement);
    });
}

std::optional<bool> matchesExactly(const QRegExp &expression, const QString &text)
{
    return searched<bool>(expression, [expression, text] { return expression.exactMatch(text); });
}

} // namespace Kiln
