#include <kilnx/codeedit/textsearch_p.h>

#include <kilnx/project/editor.h>

#include <QtGui/QTextDocument>

#include <chrono>
#include <functional>
#include <system_error>
#include <thread>

namespace Kiln
{

namespace
{
constexpr std::chrono::seconds Patience(3);
constexpr int MostAbandoned = 2;
constexpr int MostMatches = 100000;

std::atomic<int> running{0};

// The result of `work` on a thread of its own; an invalid future where no thread is to be had.
template<typename Result>
std::future<Result> onThread(std::function<Result()> work)
{
    if (running >= MostAbandoned)
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
std::optional<Result> searched(const QRegExp &expression, std::function<Result()> work)
{
    if (expression.patternSyntax() == QRegExp::FixedString)
        return work();
    std::future<Result> result = onThread<Result>(std::move(work));
    if (!result.valid() || result.wait_for(Patience) != std::future_status::ready)
        return std::nullopt;
    return result.get();
}

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
    const auto work = [expression, text, from, backward]() -> TextMatch {
        const int position =
            backward ? expression.lastIndexIn(text, from) : expression.indexIn(text, from);
        return {position, position < 0 ? 0 : expression.matchedLength()};
    };
    return searched<TextMatch>(expression, work);
}

std::future<QVector<TextMatch>> searchAllText(const QRegExp &expression,
                                              const QString &text,
                                              const std::shared_ptr<std::atomic<bool>> &isStopped)
{
    return onThread<QVector<TextMatch>>([expression, text, isStopped] {
        QVector<TextMatch> matches;
        for (int from = 0; from < text.size() && matches.size() < MostMatches && !*isStopped;) {
            const int position = expression.indexIn(text, from);
            if (position < 0)
                break;
            const int length = expression.matchedLength();
            if (length > 0)
                matches.append({position, length});
            from = position + qMax(1, length);
        }
        return matches;
    });
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
