#include <hostkit/textcompare.h>

#include <hostkit/theme.h>

#include <QFontDatabase>
#include <QTextBlock>

#include <algorithm>

namespace HostKit
{

namespace
{
constexpr int MostDifferences = 1000;
constexpr int Around = 3; // lines shown beside a difference
constexpr int MostShown = 20000;

// The furthest places on the diagonals -d to d, for each number of differences d that was tried.
using Trace = QVector<QVector<int>>;

int stepTo(const QVector<int> &furthest, int d, int diagonal, int offset)
{
    const bool isDown = diagonal == -d || (diagonal != d && furthest.at(offset + diagonal - 1) <
                                                                furthest.at(offset + diagonal + 1));
    return isDown ? diagonal + 1 : diagonal - 1;
}

// Walks forward until both texts are at their end; empty if that takes too many differences.
Trace trace(const QStringList &before, const QStringList &after)
{
    const int most = std::min(before.size() + after.size(), MostDifferences);
    const int offset = most + 1;
    QVector<int> furthest(2 * offset + 1, 0);
    Trace tried;
    for (int d = 0; d <= most; ++d) {
        tried.append(furthest);
        for (int diagonal = -d; diagonal <= d; diagonal += 2) {
            const int from = d == 0 ? 0 : stepTo(furthest, d, diagonal, offset);
            int x = furthest.at(offset + from) + (d > 0 && from < diagonal ? 1 : 0);
            while (x < before.size() && x - diagonal < after.size() && x - diagonal >= 0 &&
                   before.at(x) == after.at(x - diagonal))
                ++x;
            furthest[offset + diagonal] = x;
            if (x >= before.size() && x - diagonal >= after.size())
                return tried;
        }
    }
    return {};
}

QVector<ComparedLine> compareMiddle(const QStringList &before, const QStringList &after)
{
    QVector<ComparedLine> lines;
    const Trace tried = trace(before, after);
    if (tried.isEmpty()) {
        for (const QString &line : before)
            lines.append({ComparedLine::Removed, line});
        for (const QString &line : after)
            lines.append({ComparedLine::Added, line});
        return lines;
    }
    const int offset = (tried.first().size() - 1) / 2;
    int x = before.size();
    int y = after.size();
    for (int d = tried.size() - 1; d >= 0; --d) {
        const QVector<int> &furthest = tried.at(d);
        const int from = d == 0 ? 0 : stepTo(furthest, d, x - y, offset);
        const bool isDown = from > x - y;
        const int startX = d == 0 ? 0 : furthest.at(offset + from);
        const int startY = startX - from;
        // Back over the lines that are the same, then over the one that differs.
        const int sameFrom = d == 0 ? 0 : startX + (isDown ? 0 : 1);
        for (; x > sameFrom; --x, --y)
            lines.append({ComparedLine::Same, before.at(x - 1)});
        if (d > 0)
            lines.append(isDown ? ComparedLine{ComparedLine::Added, after.at(startY)}
                                : ComparedLine{ComparedLine::Removed, before.at(startX)});
        x = startX;
        y = startY;
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
}
} // namespace

QVector<ComparedLine> compareLines(const QStringList &before, const QStringList &after)
{
    const int shorter = std::min(before.size(), after.size());
    int start = 0;
    while (start < shorter && before.at(start) == after.at(start))
        ++start;
    int end = 0;
    while (end < shorter - start &&
           before.at(before.size() - 1 - end) == after.at(after.size() - 1 - end))
        ++end;
    QVector<ComparedLine> lines;
    for (const QString &line : before.mid(0, start))
        lines.append({ComparedLine::Same, line});
    lines += compareMiddle(before.mid(start, before.size() - start - end),
                           after.mid(start, after.size() - start - end));
    for (const QString &line : before.mid(before.size() - end))
        lines.append({ComparedLine::Same, line});
    return lines;
}

CompareView::CompareView(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setLineWrapMode(NoWrap);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

void CompareView::compare(const QString &before, const QString &after)
{
    clear();
    const QVector<ComparedLine> lines =
        compareLines(before.split(QLatin1Char('\n')), after.split(QLatin1Char('\n')));
    QVector<int> near(lines.size() + 1, 0); // differences that show a line, as a running sum
    for (int i = 0; i < lines.size(); ++i) {
        if (lines.at(i).kind == ComparedLine::Same)
            continue;
        ++near[std::max(0, i - Around)];
        --near[std::min(lines.size(), i + Around + 1)];
    }
    QTextCursor whole(document());
    whole.beginEditBlock(); // the view lays out once, and not for each line
    int shown = 0;
    bool isCut = false;
    for (int i = 0; i < lines.size() && document()->blockCount() <= MostShown; ++i) {
        shown += near.at(i);
        if (shown > 0)
            addLine(lines.at(i));
        else if (!isCut)
            addLine({ComparedLine::Same, QString(QChar(0x2026))});
        isCut = shown == 0;
    }
    if (document()->blockCount() > MostShown)
        addLine({ComparedLine::Same, tr("Here the comparison ends: the files differ too much.")});
    whole.endEditBlock();
    moveCursor(QTextCursor::Start);
}

void CompareView::addLine(const ComparedLine &line)
{
    const bool isDark = Theme::isDark();
    QTextBlockFormat format;
    if (line.kind == ComparedLine::Removed)
        format.setBackground(isDark ? QColor(90, 30, 30) : QColor(255, 220, 220));
    else if (line.kind == ComparedLine::Added)
        format.setBackground(isDark ? QColor(25, 75, 35) : QColor(215, 245, 215));
    static const char marks[] = {' ', '-', '+'};
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    if (!document()->isEmpty())
        cursor.insertBlock(format);
    else
        cursor.setBlockFormat(format);
    cursor.insertText(QLatin1Char(marks[line.kind]) + QStringLiteral(" ") + line.text);
}

} // namespace HostKit
