#include <kilnx/code/originalbytes_p.h>

#include <kilnx/code/codedocument_p.h>
#include <kilnx/code/rawutf8_p.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/code/textcodecs_p.h>

#include <QtCore/QHash>
#include <QtCore/QTextCodec>
#include <QtGui/QTextBlock>
#include <QtGui/QTextDocument>

#include <algorithm>

namespace Kiln
{
namespace
{
using TextCodecsPrivate::codecOf;

/// What a QTextDocument takes for line ends: the paragraph separator and the ends of its frames.
/// U+10FD00 and the two behind it stand for them; in front of one of these four that a file has of
/// its own stands the fourth.
constexpr ushort separators[] = {0x2029, 0xFDD0, 0xFDD1};
constexpr ushort standInHigh = 0xDBFF;
constexpr ushort standInLow = 0xDD00;
constexpr int separatorCount = 3;

/// What some codecs have in place of a byte that they cannot read; others have U+FFFD.
constexpr ushort substitute = 0x1A;

/// Which of the four stands at `position`, -1 for none.
int standInAt(const QString &text, int position)
{
    if (text.at(position).unicode() != standInHigh || position + 1 >= text.size())
        return -1;
    const int number = text.at(position + 1).unicode() - standInLow;
    return number >= 0 && number <= separatorCount ? number : -1;
}

void appendStandIn(QString *text, int number)
{
    *text += QChar(standInHigh);
    *text += QChar(ushort(standInLow + number));
}

int separatorNumber(QChar character)
{
    const ushort *end = separators + separatorCount;
    const ushort *found = std::find(separators, end, character.unicode());
    return found == end ? -1 : int(found - separators);
}

bool isShieldNeeded(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar character) {
        return character.unicode() == standInHigh || separatorNumber(character) >= 0;
    });
}

QString shielded(const QString &text)
{
    if (!isShieldNeeded(text))
        return text;
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        const int number = separatorNumber(text.at(i));
        if (standInAt(text, i) >= 0)
            appendStandIn(&result, separatorCount);
        if (number >= 0)
            appendStandIn(&result, number);
        else
            result += text.at(i);
    }
    return result;
}

QString unshielded(const QString &text)
{
    if (!text.contains(QChar(standInHigh)))
        return text;
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        const int number = standInAt(text, i);
        if (number < 0) {
            result += text.at(i);
            continue;
        }
        ++i;
        if (number < separatorCount) {
            result += QChar(separators[number]);
        } else {
            result += text.midRef(i + 1, 2);
            i += 2;
        }
    }
    return result;
}

/// The lines of a text or of bytes, without their ends of any of the three kinds.
template<typename Text, typename Character>
QList<Text> linesOf(const Text &text, Character carriageReturn, Character lineFeed)
{
    QList<Text> lines;
    int start = 0;
    for (int i = 0; i < text.size(); ++i) {
        const bool isReturn = text.at(i) == carriageReturn;
        if (!isReturn && text.at(i) != lineFeed)
            continue;
        lines.append(text.mid(start, i - start));
        if (isReturn && i + 1 < text.size() && text.at(i + 1) == lineFeed)
            ++i;
        start = i + 1;
    }
    lines.append(text.mid(start));
    return lines;
}

QStringList linesOf(const QString &text)
{
    return linesOf(text, QChar(QLatin1Char('\r')), QChar(QLatin1Char('\n')));
}

/// Unlike toPlainText() it keeps no-break spaces.
QString textOf(const QTextDocument &document)
{
    QString text = document.toRawText();
    text.replace(QChar::ParagraphSeparator, QLatin1String("\r\n"));
    return unshielded(text);
}

int commonStart(const QByteArray &one, const QByteArray &other)
{
    const auto end = one.cbegin() + std::min(one.size(), other.size());
    return int(std::mismatch(one.cbegin(), end, other.cbegin()).first - one.cbegin());
}
} // namespace

QByteArray OriginalBytes::encode(const QString &text, bool *isComplete) const
{
    // Some codecs start with a header, an empty file does not.
    if (text.isEmpty())
        return QByteArray();
    const QTextCodec *codec = codecOf(m_codecId);
    const QByteArray data = TextCodecsPrivate::encode(text, codec, m_mark);
    if (isComplete && !TextCodecsPrivate::hasEncoded(text, data, codec, m_mark))
        *isComplete = false;
    return data;
}

QString OriginalBytes::decode(const QByteArray &data) const
{
    return TextCodecsPrivate::decode(data, codecOf(m_codecId), m_mark);
}

QString OriginalBytes::read(const QByteArray &data, int *codecId)
{
    *this = OriginalBytes();
    const QString text = TextCodecs::stringFromData(data, codecId);
    const QTextCodec *codec = codecOf(*codecId);
    m_codecId = *codecId;
    m_mark = TextCodecsPrivate::markOf(data, codec);
    if (TextCodecsPrivate::isLossless(codec))
        return shielded(text);
    const QByteArray body = data.mid(m_mark.size());
    const QByteArray encoded = encode(text);
    if (encoded != body && !keepLines(body, text, encoded)) {
        m_whole = data;
        m_unreadLine = linesOf(decode(body.left(commonStart(encoded, body)))).size() - 1;
    }
    return shielded(text);
}

/// Keeps the bytes of the lines that are written in another way than they were read. False if the
/// lines of the file are not independent of each other.
bool OriginalBytes::keepLines(const QByteArray &body,
                              const QString &text,
                              const QByteArray &encoded)
{
    const QByteArray carriageReturn = encode(QStringLiteral("\r"));
    const QByteArray lineFeed = encode(QStringLiteral("\n"));
    if (carriageReturn.size() != 1 || lineFeed.size() != 1)
        return false;
    const QStringList texts = linesOf(text);
    const QList<QByteArray> bytes = linesOf(body, carriageReturn.at(0), lineFeed.at(0));
    const QList<QByteArray> written = linesOf(encoded, carriageReturn.at(0), lineFeed.at(0));
    if (bytes.size() != texts.size() || written.size() != texts.size())
        return false;
    for (int i = 0; i < texts.size(); ++i) {
        if (bytes.at(i) != written.at(i))
            m_lines.append({i, shielded(texts.at(i)), bytes.at(i)});
    }
    if (isByLines(texts, bytes, lineFeed))
        return true;
    m_lines.clear();
    return false;
}

/// Whether the kept lines and what is between them can be read one without the other. A codec says
/// what it makes of a cut-off character only when it sees what follows: lines go with their ends.
bool OriginalBytes::isByLines(const QStringList &texts,
                              const QList<QByteArray> &bytes,
                              const QByteArray &lineFeed) const
{
    const auto reads = [&](int from, int to) {
        QByteArray data = QByteArrayList(bytes.mid(from, to - from)).join(lineFeed);
        QStringList lines = texts.mid(from, to - from);
        if (to < texts.size()) {
            data += lineFeed;
            lines += QString();
        }
        return linesOf(decode(data)) == lines;
    };
    int from = 0;
    for (int i = 0; i <= m_lines.size(); ++i) {
        const int to = i < m_lines.size() ? m_lines.at(i).number : texts.size();
        if (from < to && (encode(texts.at(from)) != bytes.at(from) || !reads(from, to)))
            return false;
        if (to < texts.size() && !reads(to, to + 1))
            return false;
        from = to + 1;
    }
    return true;
}

QVector<int> OriginalBytes::keptLines() const
{
    QVector<int> numbers;
    for (const Line &line : m_lines)
        numbers.append(line.number);
    return numbers;
}

QByteArray OriginalBytes::write(const QTextDocument &document, int codecId, bool *isComplete) const
{
    *isComplete = true;
    if (codecId == m_codecId && !m_lines.isEmpty())
        return writeLines(document, isComplete);
    const QString text = codecId == m_codecId ? textOf(document) : textWithBytes(document);
    if (codecId != m_codecId) {
        *isComplete = TextCodecs::canEncode(text, codecId);
        return TextCodecs::stringToData(text, codecId);
    }
    if (m_whole.isEmpty())
        return m_mark + encode(text, isComplete);
    if (linesOf(decode(m_whole.mid(m_mark.size()))) == linesOf(text))
        return m_whole;
    return m_mark + encode(withoutReplacements(text), isComplete);
}

bool OriginalBytes::canEncode(const QString &line, int codecId) const
{
    const bool isReplaced = codecId == m_codecId && !(m_lines.isEmpty() && m_whole.isEmpty());
    const QString text = unshielded(line);
    return TextCodecs::canEncode(isReplaced ? withoutReplacements(text) : text, codecId);
}

/// A replacement character in a file that has bytes which could not be read stands for such bytes,
/// on a line that was edited: it is no reason to take another encoding.
QString OriginalBytes::withoutReplacements(QString text) const
{
    if (!TextCodecs::canEncode(QStringLiteral("\ufffd\r\n"), m_codecId))
        text.replace(QChar::ReplacementCharacter, QLatin1Char('?'));
    return text;
}

/// The kept line of each line of the document, null for those that have none. What moved to another
/// block takes what is left of its text, in order.
QVector<const OriginalBytes::Line *> OriginalBytes::assigned(const QTextDocument &document) const
{
    QVector<const Line *> kept(document.blockCount());
    QVector<bool> taken(m_lines.size());
    int number = 0;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next(), ++number) {
        const int original = CodeDocumentPrivate::originalLineOf(block);
        if (original < 0 || original >= m_lines.size() || taken.at(original) ||
            m_lines.at(original).text != block.text())
            continue;
        kept[number] = &m_lines.at(original);
        taken[original] = true;
    }
    QHash<QString, QList<const Line *>> left;
    for (int i = 0; i < m_lines.size(); ++i) {
        if (!taken.at(i))
            left[m_lines.at(i).text].append(&m_lines.at(i));
    }
    number = 0;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next(), ++number) {
        if (kept.at(number) || left.isEmpty())
            continue;
        const auto found = left.find(block.text());
        if (found != left.end() && !found->isEmpty())
            kept[number] = found->takeFirst();
    }
    return kept;
}

/// The text, with characters of RawUtf8 for the bytes of kept lines that could not be read.
QString OriginalBytes::textWithBytes(const QTextDocument &document) const
{
    if (m_lines.isEmpty())
        return textOf(document);
    const QVector<const Line *> kept = assigned(document);
    QStringList lines;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const Line *line = kept.at(lines.size());
        lines += line ? withBytes(*line) : unshielded(block.text());
    }
    return lines.join(QLatin1String("\r\n"));
}

/// Where the line cannot be read character by character, none of its bytes beyond ASCII is one.
QString OriginalBytes::withBytes(const Line &line) const
{
    const auto isReplacement = [](QChar character) {
        return character == QChar::ReplacementCharacter || character.unicode() == substitute;
    };
    const auto readable = [&isReplacement](QString text) {
        text.resize(int(std::remove_if(text.begin(), text.end(), isReplacement) - text.begin()));
        return text;
    };
    QString text;
    QString read;
    for (int at = 0; at < line.bytes.size();) {
        QString character;
        const int length = characterAt(line.bytes, at, &character);
        text += length > 0 ? character : RawUtf8::decode(line.bytes.mid(at, 1));
        read += character;
        at += qMax(length, 1);
    }
    return readable(read) == readable(unshielded(line.text)) ? text : RawUtf8::decode(line.bytes);
}

/// Reads the shortest run of bytes that is a character; returns its length, 0 if there is none.
int OriginalBytes::characterAt(const QByteArray &bytes, int position, QString *character) const
{
    constexpr int longest = 4;
    for (int length = 1; length <= qMin(longest, bytes.size() - position); ++length) {
        const QByteArray run = bytes.mid(position, length);
        const QString text = decode(run);
        const bool isOne = text.size() == 1 && text.at(0) != QChar::ReplacementCharacter &&
                           text.at(0).unicode() != substitute;
        if (!isOne && encode(text) != run)
            continue;
        *character = text;
        return length;
    }
    return 0;
}

QByteArray OriginalBytes::writeLines(const QTextDocument &document, bool *isComplete) const
{
    const QByteArray lineEnd = encode(QStringLiteral("\r\n"));
    const QVector<const Line *> kept = assigned(document);
    QByteArray data = m_mark;
    QString between;
    int number = 0;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const Line *line = kept.at(number++);
        const bool isLast = number == kept.size();
        if (!line) {
            between += unshielded(block.text());
            between += QLatin1String(isLast ? "" : "\r\n");
            continue;
        }
        if (!between.isEmpty())
            data += encode(withoutReplacements(between), isComplete);
        between.clear();
        data += line->bytes;
        data += isLast ? QByteArray() : lineEnd;
    }
    return between.isEmpty() ? data : data + encode(withoutReplacements(between), isComplete);
}
} // namespace Kiln
