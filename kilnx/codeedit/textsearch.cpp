#include <chrono>
#include <future>
#include <thread>

#include <kilnx/codeedit/codefileeditor.h>
#include <kilnx/codeedit/textsearch_p.h>

namespace Kiln
{

namespace
{
constexpr std::chrono::seconds Patience(3);

// Runs `work` on a thread of its own and waits for it, but not for ever.
template<typename Result>
std::optional<Result> withinTime(std::function<Result()> work)
{
    auto task = std::make_shared<std::packaged_task<Result()>>(std::move(work));
    std::future<Result> result = task->get_future();
    std::thread([task] { (*task)(); }).detach();
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

QRegExp searchExpression(const QString &text, unsigned int flags)
{
    const bool regular = flags & CodeFileEditor::RegularExpression;
    const bool caseSensitive = flags & CodeFileEditor::CaseSensitive;
    return QRegExp(text, caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive,
                   regular ? QRegExp::RegExp2 : QRegExp::FixedString);
}

TextMatch searchText(const QRegExp &expression, const QString &text, int from, bool backward)
{
    const auto work = [expression, text, from, backward]() -> TextMatch {
        const int position =
            backward ? expression.lastIndexIn(text, from) : expression.indexIn(text, from);
        return {position, position < 0 ? 0 : expression.matchedLength()};
    };
    return searched<TextMatch>(expression, work).value_or(TextMatch());
}

std::optional<QString>
replaceText(const QRegExp &expression, const QString &text, const QString &replacement)
{
    return searched<QString>(expression, [expression, text, replacement]() -> QString {
        QString changed = text;
        return changed.replace(expression, replacement);
    });
}

bool matchesExactly(const QRegExp &expression, const QString &text)
{
    return searched<bool>(expression, [expression, text] { return expression.exactMatch(text); })
        .value_or(false);
}

} // namespace Kiln
