#include "studiostyle.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialog>
#include <QIcon>
#include <QPainter>
#include <QPushButton>
#include <QStyleOption>

#include <optional>

namespace Studio
{

namespace
{

constexpr int tabLine = 2; // pixels

QColor mixed(const QColor &one, const QColor &other, double share)
{
    return QColor::fromRgbF(one.redF() * share + other.redF() * (1 - share),
                            one.greenF() * share + other.greenF() * (1 - share),
                            one.blueF() * share + other.blueF() * (1 - share));
}

/// Whether keys reach an item view: itself, or the editor in one of its items. A list that pops up
/// leaves the focus where it was.
bool hasKeys(const QWidget *view)
{
    const QWidget *focus = QApplication::focusWidget();
    return view == focus || view->isAncestorOf(focus) || view->window()->windowType() == Qt::Popup;
}

/// A selected item of a view that keys do not reach, in grey; nothing for every other.
std::optional<QStyleOptionViewItem> muted(const QStyleOption *option, const QWidget *widget)
{
    const auto *item = qstyleoption_cast<const QStyleOptionViewItem *>(option);
    if (!item || !(item->state & QStyle::State_Selected) ||
        !qobject_cast<const QAbstractItemView *>(widget) || hasKeys(widget))
        return std::nullopt;
    QStyleOptionViewItem grey(*item);
    const QColor text = item->palette.color(QPalette::Text);
    grey.palette.setColor(QPalette::Highlight,
                          mixed(text, item->palette.color(QPalette::Base), 0.2));
    grey.palette.setColor(QPalette::HighlightedText, text);
    return grey;
}

void outline(QPainter *painter, const QRect &area, const QColor &color)
{
    painter->save();
    painter->setPen(color);
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(area.adjusted(0, 0, -1, -1));
    painter->restore();
}

void markTab(QPainter *painter, const QStyleOption *option)
{
    const auto *tab = qstyleoption_cast<const QStyleOptionTab *>(option);
    if (!tab || !(tab->state & QStyle::State_Selected))
        return;
    QRect line = tab->rect;
    if (tab->shape == QTabBar::RoundedNorth)
        line.setHeight(tabLine);
    else if (tab->shape == QTabBar::RoundedSouth)
        line.setTop(line.bottom() + 1 - tabLine);
    else
        return;
    painter->fillRect(line, tab->palette.color(QPalette::Highlight));
}

} // namespace

void StudioStyle::polish(QWidget *widget)
{
    QProxyStyle::polish(widget);
    auto *button = qobject_cast<QPushButton *>(widget);
    if (button && !qobject_cast<QDialog *>(button->window()))
        button->setAutoDefault(true);
}

int StudioStyle::styleHint(StyleHint hint,
                           const QStyleOption *option,
                           const QWidget *widget,
                           QStyleHintReturn *returnData) const
{
    if (hint == SH_DialogButtonBox_ButtonsHaveIcons)
        return 0;
    return QProxyStyle::styleHint(hint, option, widget, returnData);
}

void StudioStyle::drawPrimitive(PrimitiveElement element,
                                const QStyleOption *option,
                                QPainter *painter,
                                const QWidget *widget) const
{
    const QPalette &palette = option->palette;
    if (element == PE_IndicatorTabClose) {
        if (option->state & State_MouseOver)
            painter->fillRect(option->rect, palette.color(QPalette::Midlight));
        const QIcon icon(QStringLiteral(":/kiln_icons/icons/close.png"));
        icon.paint(painter, option->rect);
        return;
    }
    // A delegate that draws the ground of an item by itself has a text of its own on it.
    const auto grey = element == PE_PanelItemViewRow ? muted(option, widget) : std::nullopt;
    QProxyStyle::drawPrimitive(element, grey ? &*grey : option, painter, widget);
    if (element == PE_IndicatorCheckBox && !(option->state & State_HasFocus))
        outline(painter, option->rect,
                mixed(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.55));
    else if (element == PE_Frame && qobject_cast<const QAbstractScrollArea *>(widget) &&
             widget->hasFocus())
        outline(painter, option->rect, palette.color(QPalette::Highlight));
}

void StudioStyle::drawControl(ControlElement element,
                              const QStyleOption *option,
                              QPainter *painter,
                              const QWidget *widget) const
{
    const auto grey = muted(option, widget);
    QProxyStyle::drawControl(element, grey ? &*grey : option, painter, widget);
    const auto *button = qstyleoption_cast<const QStyleOptionButton *>(option);
    if (element == CE_TabBarTabShape)
        markTab(painter, option);
    else if (element == CE_PushButton && button && (option->state & State_HasFocus) &&
             (button->features & QStyleOptionButton::CommandLinkButton))
        outline(painter, option->rect, option->palette.color(QPalette::Highlight));
}

} // namespace Studio
