#pragma once

#include <optional>

#include <QtCore/QRegExp>
#include <QtCore/QString>

namespace Kiln
{

// Searches that come back. Some expressions take longer on a long text than anyone will wait, and
// QRegExp cannot be stopped: such a search is left to end by itself on another thread, and counts
// as having found nothing.

struct TextMatch {
    int position = -1;
    int length = 0;
};

/// The expression that find and replace use; `flags` are those of CodeFileEditor::find().
QRegExp searchExpression(const QString &text, unsigned int flags);

/// The first match at or after `from` or, `backward`, the last one that starts at or before it.
/// Position -1 where there is none, or when the time is over.
TextMatch searchText(const QRegExp &expression, const QString &text, int from, bool backward);

/// The text with every match replaced, as QString::replace() does it; nothing when the time is
/// over.
std::optional<QString>
replaceText(const QRegExp &expression, const QString &text, const QString &replacement);

/// Whether the whole of `text` matches; false when the time is over.
bool matchesExactly(const QRegExp &expression, const QString &text);

} // namespace Kiln
