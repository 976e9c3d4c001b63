#pragma once

#include <hostkit/export.h>

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtGui/QColor>
#include <QtGui/QPalette>

namespace HostKit
{

class Settings;

/// The looks of the application: the widget palette and the colours of code.
///
/// The option "theme" is "system", "light" or "dark". Every colour of code has a value for light
/// and one for dark backgrounds, which the user may replace (options "color_light/NAME" and
/// "color_dark/NAME"; the second colour of an entry is stored under "NAME2").
class HOSTKIT_EXPORT Theme
{
public:
    explicit Theme(const Settings &settings);

    /// Sets the palette of the running application from the option "theme".
    void apply() const;

    /// Whether the application now shows light text on a dark ground.
    static bool isDark();

    /// The colour of the style entry `name`; an unknown name gives the colour of plain text.
    QColor color(const QString &name, bool second = false) const;

    /// The colour of an entry that the kit delivers, whatever the user has chosen.
    static QColor delivered(const QString &name);

    /// The option that holds the user's own colour of an entry under the theme of now.
    static QString colorKey(const QString &name, bool second = false);

    /// The style entries that the settings dialog offers, in its order.
    static QStringList entries();

private:
    const Settings &m_settings;
};

} // namespace HostKit
