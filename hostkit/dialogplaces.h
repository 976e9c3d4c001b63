#pragma once

#include <hostkit/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QSize>

class QWidget;

namespace HostKit
{

class Settings;

/// The size where it fits the first screen with a frame around it, and as much of it as does.
HOSTKIT_EXPORT QSize fittedSize(const QSize &size);

/// Gives a top-level window that is not shown yet the place that QWidget::saveGeometry() told. A
/// screen that has become smaller, or a place that is none, makes it smaller and moves it, so that
/// all of it can be reached. False if `kept` says nothing; the window is as it was then.
HOSTKIT_EXPORT bool restorePlace(QWidget *window, const QByteArray &kept);

/// Bytes with a sum, and those bytes again; empty where they are not what they were. Qt takes the
/// arrangement of a window apart into nonsense where its bytes are torn.
HOSTKIT_EXPORT QByteArray sealed(const QByteArray &bytes);
HOSTKIT_EXPORT QByteArray unsealed(const QByteArray &bytes);

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
