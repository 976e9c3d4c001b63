#include <kilnx/codeedit/codefont_p.h>

#include <QtGui/QFontDatabase>
#include <QtGui/QFontInfo>
#include <QtGui/QFontMetricsF>

#include <algorithm>

namespace Kiln
{
namespace
{
// A family that no machine has shows what stands in for just any missing one.
const char unknownFamily[] = "no such family of kilnx";

QFont ofFamily(const QString &family, int points)
{
    QFont font(family, points);
    font.setStyleHint(QFont::Monospace);
    return font;
}

// A family in the list may be followed by its maker in brackets. QFontDatabase::hasFamily() would
// also say yes to a name that the system leads to another family.
bool isInstalled(const QString &family)
{
    const QStringList all = QFontDatabase().families();
    return std::any_of(all.begin(), all.end(), [&family](const QString &name) {
        return name.section(QLatin1String(" ["), 0, 0).compare(family, Qt::CaseInsensitive) == 0;
    });
}

// Whether the machine has the family, or a match of its own for it.
bool isKnown(const QFont &font)
{
    if (isInstalled(font.family()))
        return true;
    const QFont unknown = ofFamily(QLatin1String(unknownFamily), font.pointSize());
    return QFontInfo(font).family() != QFontInfo(unknown).family() && showsColumns(font);
}
} // namespace

bool showsColumns(const QFont &font)
{
    QFont bold = font;
    bold.setBold(true);
    const QFontMetricsF metrics(font);
    const QFontMetricsF boldMetrics(bold);
    const qreal width = metrics.horizontalAdvance(QLatin1Char('i'));
    for (const char letter : {' ', '.', 'W', 'm', '9'}) {
        if (!qFuzzyCompare(metrics.horizontalAdvance(QLatin1Char(letter)), width) ||
            !qFuzzyCompare(boldMetrics.horizontalAdvance(QLatin1Char(letter)), width))
            return false;
    }
    return true;
}

QFont codeFont(const QString &family, int points)
{
    const QFont wanted = ofFamily(family.isEmpty() ? QStringLiteral("Courier") : family, points);
    if (isKnown(wanted))
        return wanted;
    const QString fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
    for (const QString &name : {fixed, QStringLiteral("monospace")}) {
        const QFont font = ofFamily(name, points);
        if (showsColumns(font))
            return font;
    }
    const QFontDatabase fonts;
    const QStringList families = fonts.families(QFontDatabase::Latin);
    for (const QString &name : families) {
        const QFont font = ofFamily(name, points);
        if (fonts.isSmoothlyScalable(name) && showsColumns(font))
            return font;
    }
    return wanted;
}
} // namespace Kiln
