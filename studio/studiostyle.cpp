#include "studiostyle.h"

#include <QIcon>
#include <QPainter>
#include <QStyleOption>

namespace Studio
{

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
    if (element != PE_IndicatorTabClose) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    if (option->state & State_MouseOver)
        painter->fillRect(option->rect, option->palette.color(QPalette::Midlight));
    const QIcon icon(QStringLiteral(":/kiln_icons/icons/close.png"));
    icon.paint(painter, option->rect);
}

} // namespace Studio
