#pragma once

#include <QtCore/QRegExp>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <atomic>
#include <future>
#include <memory>
#include <optional>

class QTextDocument;

namespace Kiln
{

// Searches that come back. Some expressions take longer on a long text than anyone will wait, and
// QRegExp cannot be stopped: such a search is left to end by itself on another thread, and gives no
// result. An expression that repeats something is therefore tried at one start of the text after
// the other where that costs little, and ends soon after its time. While too many searches still
// run, no further one is begun.

/// Set to true to have a search end.
using SearchStop = std::shared_ptr<std::atomic<bool>>;

struct TextMatch {
    int position = -1; ///< -1 when there is none
    int length = 0;
};

/// The text that is searched: a line feed between the lines, every other character as it stands.
/// Unlike toPlainText() it keeps no-break spaces, so that it can be put back.
QString searchedText(const QTextDocument *document);

/// The expression that find and replace use; `flags` are bits of Editor::FindFlag.
QRegExp searchExpression(const QString &text, unsigned int flags);

/// The first match at or after `from` or, `backward`, the last one that starts at or before it;
/// nothing when the time is over.
std::optional<TextMatch>
searchText(const QRegExp &expression, const QString &text, int from, bool backward);

/// All matches that are not empty, a hundred thousand at most. They come from another thread, which
/// looks at `stop`; an invalid future where too many searches still run.
std::future<QVector<TextMatch>>
searchAllText(const QRegExp &expression, const QString &text, const SearchStop &stop);

/// A text with `count` matches replaced.
struct ReplacedText {
    QString text;
    int count = 0;
};

/// The text with every match replaced, as QString::replace() does it; nothing when the time is
/// over.
std::optional<ReplacedText>
replaceText(const QRegExp &expression, const QString &text, const QString &replacement);

/// Whether the whole of `text` matches; nothing when the time is over.
std::optional<bool> matchesExactly(const QRegExp &expression, const QString &text);

} // namespace Kiln
