#include <kilnx/project/textmatch_p.h>

#include <QtCore/QSet>

#include <algorithm>

namespace Kiln
{

QString TextMatch::wellFormed(QString text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (!text.at(i).isSurrogate())
            continue;
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i;
        else
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

QStringList TextMatch::captures(const QString &text, const QRegularExpressionMatch &match)
{
    QStringList captured;
    for (int i = 1; i <= match.lastCapturedIndex(); ++i)
        captured.append(text.mid(match.capturedStart(i), match.capturedLength(i)));
    return captured;
}

QString TextMatch::replaced(const QString &text,
                            const QRegularExpression &expression,
                            const std::function<QString(const QRegularExpressionMatch &)> &fill)
{
    QString result;
    int copied = 0;
    QRegularExpressionMatchIterator matches = expression.globalMatch(wellFormed(text));
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        result += text.midRef(copied, match.capturedStart() - copied) + fill(match);
        copied = match.capturedEnd();
    }
    return result + text.midRef(copied);
}

QString TextMatch::filledIn(const QString &text, const QStringList &captured)
{
    static const QRegularExpression marker(QStringLiteral("%L?(\\d{1,2})"));
    const auto numberOf = [](const QRegularExpressionMatch &match) {
        return match.capturedRef(1).toInt();
    };
    QSet<int> found;
    QRegularExpressionMatchIterator matches = marker.globalMatch(wellFormed(text));
    while (matches.hasNext())
        found.insert(numberOf(matches.next()));
    QList<int> numbers = found.values();
    std::sort(numbers.begin(), numbers.end());
    return replaced(text, marker, [&](const QRegularExpressionMatch &match) {
        const int capture = numbers.indexOf(numberOf(match)) + 1;
        return capture < captured.size() ? captured.at(capture) : match.captured();
    });
}

} // namespace Kiln
