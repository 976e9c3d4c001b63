#pragma once

#include <hostkit/export.h>

#include <QtCore/QObject>

namespace HostKit
{

class Settings;

/// Opens each dialog of the application where the user left it, in the size that it had.
///
/// A dialog is known by its object name; one without a name, and a message box, which is as large
/// as its text, open as they like. Places that are off the screen are moved onto it.
class HOSTKIT_EXPORT DialogPlaces : public QObject
{
    Q_OBJECT

public:
    /// Keeps the places in `settings`, which must outlive it.
    explicit DialogPlaces(Settings &settings);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Settings &m_settings;
};

} // namespace HostKit
