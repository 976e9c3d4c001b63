#pragma once

#include <QWidget>

class QListWidget;
class QPushButton;

namespace HostKit
{
class EngineLibraries;
class Settings;
} // namespace HostKit

namespace Studio
{

/// The part of the settings dialog with the user's own engine libraries. One that is added is
/// loaded and noted at once; one that is taken off stays loaded until Studio is closed.
class LibraryPage : public QWidget
{
    Q_OBJECT

public:
    LibraryPage(HostKit::Settings &settings, HostKit::EngineLibraries &engines, QWidget *parent);

private:
    void addLibrary();
    void removeLibrary();
    void store();

    HostKit::Settings &m_settings;
    HostKit::EngineLibraries &m_engines;
    QListWidget *m_list;
    QPushButton *m_remove;
};

} // namespace Studio
