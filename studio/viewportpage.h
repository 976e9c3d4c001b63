#pragma once

#include <QMap>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;
class QSpinBox;

namespace HostKit
{
class Settings;
}

namespace Studio
{

/// The page of the settings dialog for background, crosses, boxes, zoom and painting of viewports.
/// Their colours are on the page of colours.
class ViewportPage : public QWidget
{
    Q_OBJECT

public:
    explicit ViewportPage(HostKit::Settings &settings, QWidget *parent = nullptr);

    /// Stores the options.
    void apply();

private:
    QWidget *backgroundGroup();
    QWidget *crossGroup();
    QWidget *boxGroup();
    QWidget *zoomGroup();
    QComboBox *choice(const char *key, const QString &name, const QStringList &texts);
    QCheckBox *option(const char *key, const QString &text);
    QSpinBox *number(const char *key, const QString &name);
    QDoubleSpinBox *share(const char *key, const QString &name);
    QWidget *file(const char *key, const QString &name);
    void showZoomSteps(int table);
    void enableFields();

    HostKit::Settings &m_settings;
    QMap<QString, QComboBox *> m_choices;
    QMap<QString, QCheckBox *> m_options;
    QMap<QString, QSpinBox *> m_numbers;
    QMap<QString, QDoubleSpinBox *> m_shares;
    QMap<QString, QLineEdit *> m_files;
};

} // namespace Studio
