#include <hostkit/theme.h>

#include <hostkit/settings.h>

#include <QApplication>
#include <QHash>
#include <QStyle>

namespace HostKit
{

namespace
{

struct EntryColors {
    QColor light;
    QColor dark;
};

// Contrast against the text grounds below is at least 4.5:1 for every token colour.
const QHash<QString, EntryColors> &deliveredColors()
{
    static const QHash<QString, EntryColors> colors = {
        {"token0", {"#24292f", "#d7dce2"}},       {"token1", {"#56616b", "#a3aeb9"}},
        {"token2", {"#b8242b", "#ff8c91"}},       {"token3", {"#1b59b8", "#86b9ff"}},
        {"token4", {"#24292f", "#eef1f4"}},       {"token5", {"#186d3c", "#71cf94"}},
        {"token6", {"#9a4900", "#f2a35e"}},       {"token7", {"#0d676e", "#62c9d2"}},
        {"token8", {"#7033b4", "#c9a3f7"}},       {"token9", {"#a81f86", "#f393dc"}},
        {"line", {"#f3efe4", "#2f343b"}},         {"block_range", {"#ffffff", "#141619"}},
        {"paren", {"#ffffff", "#1f2226"}},        {"paren2", {"#b8242b", "#ff8c91"}},
        {"paren_range", {"#e8defa", "#3d3453"}},  {"paren_error", {"#b8242b", "#8f2f38"}},
        {"hit", {"#ffe9a6", "#4a4020"}},          {"back_start", {"#dfe4ea", "#33383f"}},
        {"back_end", {"#bcc6d0", "#1b1e22"}},     {"attackbox", {"#d93a3a", "#f25a5a"}},
        {"collisionbox", {"#2f6fe0", "#5c95ff"}},
    };
    return colors;
}

/// The texts of what is disabled.
void dim(QPalette &palette, const QColor &color)
{
    for (const QPalette::ColorRole role :
         {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, color);
}

QPalette lightPalette()
{
    QPalette palette(QColor("#f0f0ee"), QColor("#f7f7f5"));
    palette.setColor(QPalette::Base, "#ffffff");
    palette.setColor(QPalette::AlternateBase, "#f6f6f4");
    palette.setColor(QPalette::Text, "#24292f");
    palette.setColor(QPalette::WindowText, "#24292f");
    palette.setColor(QPalette::ButtonText, "#24292f");
    palette.setColor(QPalette::Highlight, "#3d74bd");
    palette.setColor(QPalette::HighlightedText, "#ffffff");
    palette.setColor(QPalette::Link, "#1d5fc4");
    palette.setColor(QPalette::ToolTipBase, "#fffdf2");
    palette.setColor(QPalette::ToolTipText, "#24292f");
    palette.setColor(QPalette::PlaceholderText, "#6a737d");
    dim(palette, "#a0a8b0");
    return palette;
}

QPalette darkPalette()
{
    QPalette palette(QColor("#363b42"), QColor("#2a2e33"));
    palette.setColor(QPalette::Base, "#1f2226");
    palette.setColor(QPalette::AlternateBase, "#25292e");
    palette.setColor(QPalette::Text, "#d7dce2");
    palette.setColor(QPalette::WindowText, "#d7dce2");
    palette.setColor(QPalette::ButtonText, "#d7dce2");
    palette.setColor(QPalette::BrightText, "#ff7f85");
    palette.setColor(QPalette::Highlight, "#3f6fb0");
    palette.setColor(QPalette::HighlightedText, "#ffffff");
    palette.setColor(QPalette::Link, "#7fb4ff");
    palette.setColor(QPalette::ToolTipBase, "#363b42");
    palette.setColor(QPalette::ToolTipText, "#d7dce2");
    palette.setColor(QPalette::PlaceholderText, "#8f9aa6");
    dim(palette, "#747d87");
    return palette;
}

// Boxes show what they say when they are empty only in a colour that was set, not in Qt's own.
QPalette systemPalette()
{
    QPalette palette = QApplication::style()->standardPalette();
    QColor faint = palette.color(QPalette::Text);
    faint.setAlphaF(0.6);
    palette.setColor(QPalette::PlaceholderText, faint);
    return palette;
}

} // namespace

Theme::Theme(const Settings &settings)
    : m_settings(settings)
{
}

void Theme::apply() const
{
    const QString theme = m_settings.value("theme").toString();
    if (theme == QLatin1String("dark"))
        QApplication::setPalette(darkPalette());
    else if (theme == QLatin1String("light"))
        QApplication::setPalette(lightPalette());
    else
        QApplication::setPalette(systemPalette());
}

bool Theme::isDark()
{
    const QPalette palette = QApplication::palette();
    return palette.color(QPalette::Base).lightness() < palette.color(QPalette::Text).lightness();
}

QColor Theme::color(const QString &name, bool second) const
{
    const QColor own(m_settings.value(colorKey(name, second)).toString());
    if (own.isValid())
        return own;
    return delivered(second ? name + QLatin1Char('2') : name);
}

QColor Theme::delivered(const QString &name)
{
    const auto &colors = deliveredColors();
    auto entry = colors.constFind(name);
    if (entry == colors.constEnd())
        entry = colors.constFind(QStringLiteral("token0"));
    return isDark() ? entry->dark : entry->light;
}

QString Theme::colorKey(const QString &name, bool second)
{
    return QLatin1String(isDark() ? "color_dark/" : "color_light/") + name +
           (second ? QLatin1String("2") : QLatin1String());
}

QStringList Theme::entries()
{
    return {"token0", "token1",     "token2",      "token3",      "token4",
            "token5", "token6",     "token7",      "token8",      "token9",
            "line",   "paren2",     "block_range", "paren_range", "paren_error",
            "hit",    "back_start", "back_end",    "attackbox",   "collisionbox"};
}

} // namespace HostKit
