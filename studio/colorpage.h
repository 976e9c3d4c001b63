#pragma once

#include <QColor>
#include <QMap>
#include <QWidget>

class QToolButton;

namespace HostKit
{
class Settings;
}

namespace Studio
{

/// The page of the settings dialog for the colours of code and viewport under the theme of now.
class ColorPage : public QWidget
{
    Q_OBJECT

public:
    explicit ColorPage(HostKit::Settings &settings, QWidget *parent = nullptr);

    /// Stores the colours that were changed.
    void apply();

private:
    void choose(const QString &entry);
    void show(const QString &entry, const QColor &color);
    void restoreDefaults();
    static QString caption(const QString &entry);

    HostKit::Settings &m_settings;
    QMap<QString, QToolButton *> m_buttons;
    QMap<QString, QColor> m_changed; ///< an invalid colour stands for the delivered one
};

} // namespace Studio
