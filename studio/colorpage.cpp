#include "colorpage.h"

#include <hostkit/settings.h>
#include <hostkit/theme.h>
#include <hostkit/widgets.h>

#include <QColorDialog>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

namespace Studio
{

using namespace HostKit;

namespace
{

QIcon swatch(const QColor &color)
{
    QPixmap picture(32, 16);
    picture.fill(color);
    QPainter painter(&picture);
    painter.setPen(QColor(128, 128, 128));
    painter.drawRect(0, 0, picture.width() - 1, picture.height() - 1);
    return QIcon(picture);
}

// In the order of Kiln::CodeParserSyntax::TokenType.
QStringList tokenKinds()
{
    return {ColorPage::tr("Text"),    ColorPage::tr("Comment"),  ColorPage::tr("Error"),
            ColorPage::tr("Keyword"), ColorPage::tr("Name"),     ColorPage::tr("Section"),
            ColorPage::tr("Number"),  ColorPage::tr("Constant"), ColorPage::tr("String"),
            ColorPage::tr("Function")};
}

} // namespace

ColorPage::ColorPage(Settings &settings, QWidget *parent)
    : QWidget(parent)
    , m_settings(settings)
{
    auto *layout = new QGridLayout(this);
    auto *intro = new QLabel(
        Theme::isDark() ? tr("Colours on a dark ground:") : tr("Colours on a light ground:"), this);
    layout->addWidget(intro, 0, 0, 1, 4);
    const QStringList entries = Theme::entries();
    const int rows = (entries.size() + 1) / 2;
    for (int i = 0; i < entries.size(); ++i) {
        const QString entry = entries[i];
        auto *button = new QToolButton(this);
        button->setObjectName(QStringLiteral("color_") + entry);
        button->setIconSize(QSize(32, 16));
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        auto *label = new QLabel(caption(entry) + QLatin1Char(':'), this);
        label->setBuddy(button);
        layout->addWidget(label, 1 + i % rows, i / rows * 2);
        layout->addWidget(button, 1 + i % rows, i / rows * 2 + 1);
        m_buttons.insert(entry, button);
        connect(button, &QToolButton::clicked, this, [this, entry] { choose(entry); });
        show(entry, Theme(m_settings).color(entry));
    }
    auto *restore =
        named(new QPushButton(tr("&Restore the delivered colours"), this), "color_restore");
    connect(restore, &QPushButton::clicked, this, &ColorPage::restoreDefaults);
    layout->addWidget(restore, rows + 1, 0, 1, 4, Qt::AlignLeft);
    layout->setRowStretch(rows + 2, 1);
    layout->setColumnStretch(1, 1);
    layout->setColumnStretch(3, 1);
}

void ColorPage::apply()
{
    for (auto entry = m_changed.cbegin(); entry != m_changed.cend(); ++entry) {
        m_settings.setValue(Theme::colorKey(entry.key()),
                            entry->isValid() ? QVariant(entry->name()) : QVariant());
    }
    m_changed.clear();
}

void ColorPage::choose(const QString &entry)
{
    const QColor before = m_changed.value(entry, Theme(m_settings).color(entry));
    const QColor color = QColorDialog::getColor(before, this, caption(entry));
    if (!color.isValid())
        return;
    m_changed.insert(entry, color);
    show(entry, color);
}

void ColorPage::show(const QString &entry, const QColor &color)
{
    QToolButton *button = m_buttons.value(entry);
    button->setIcon(swatch(color));
    button->setText(color.name());
    button->setAccessibleName(caption(entry) + QLatin1Char(' ') + color.name());
}

void ColorPage::restoreDefaults()
{
    for (auto button = m_buttons.cbegin(); button != m_buttons.cend(); ++button) {
        m_changed.insert(button.key(), QColor());
        show(button.key(), Theme::delivered(button.key()));
    }
}

QString ColorPage::caption(const QString &entry)
{
    if (entry.startsWith(QLatin1String("token")))
        return tokenKinds().value(entry.midRef(5).toInt());
    if (entry == QLatin1String("line"))
        return tr("Current line");
    if (entry == QLatin1String("paren2"))
        return tr("Matching bracket");
    if (entry == QLatin1String("paren_range"))
        return tr("Between brackets");
    if (entry == QLatin1String("paren_error"))
        return tr("Brackets that don't match");
    if (entry == QLatin1String("hit"))
        return tr("Hits of a search");
    if (entry == QLatin1String("back_start"))
        return tr("Viewport, top");
    if (entry == QLatin1String("back_end"))
        return tr("Viewport, bottom");
    if (entry == QLatin1String("attackbox"))
        return tr("Attack boxes");
    if (entry == QLatin1String("collisionbox"))
        return tr("Collision boxes");
    return tr("Block of code");
}

} // namespace Studio
