#pragma once

#include <QtCore/QString>
#include <QtWidgets/QWidget>

namespace HostKit
{

/// Gives a widget the name that tests and style sheets find it by, and the name that a screen
/// reader speaks when its own text does not say it.
template<typename Widget>
Widget *named(Widget *widget, const char *name, const QString &accessibleName = QString())
{
    widget->setObjectName(QLatin1String(name));
    if (!accessibleName.isEmpty())
        widget->setAccessibleName(accessibleName);
    return widget;
}

} // namespace HostKit
