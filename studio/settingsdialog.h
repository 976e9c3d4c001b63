#pragma once

#include <QDialog>
#include <QMap>

class QCheckBox;
class QComboBox;
class QFontComboBox;
class QSpinBox;
class QTabWidget;

namespace HostKit
{
class EngineLibraries;
class HostBase;
class KeysPage;
class Settings;
} // namespace HostKit

namespace Studio
{

class ColorPage;
class ViewportPage;

/// The dialog of the application's options. OK and Apply store what was changed; the engine list
/// is edited at once.
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    enum Page { General, Code, Viewport, Colours, Keys, Engines };

    explicit SettingsDialog(const HostKit::HostBase &host, QWidget *parent = nullptr);

    void showPage(Page page);

    void accept() override;

private:
    QWidget *generalPage();
    QWidget *codePage();
    QWidget *enginePage(HostKit::EngineLibraries &engines);
    QCheckBox *option(const char *key, const QString &text, QWidget *page);
    void apply();

    HostKit::Settings &m_settings;
    QTabWidget *m_pages;
    QMap<QString, QCheckBox *> m_options;
    QComboBox *m_theme = nullptr;
    QFontComboBox *m_font = nullptr;
    QString m_shownFont; ///< a family that is not installed shows as another and is kept
    QSpinBox *m_fontSize = nullptr;
    QSpinBox *m_tabWidth = nullptr;
    ViewportPage *m_viewport = nullptr;
    ColorPage *m_colors = nullptr;
    HostKit::KeysPage *m_keys = nullptr;
};

} // namespace Studio
