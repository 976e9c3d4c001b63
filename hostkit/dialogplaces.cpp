#include <hostkit/dialogplaces.h>

#include <hostkit/settings.h>

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QMessageBox>

namespace HostKit
{

DialogPlaces::DialogPlaces(Settings &settings)
    : m_settings(settings)
{
    qApp->installEventFilter(this);
}

// A dialog that is polished is about to be shown for the first time.
bool DialogPlaces::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Polish && event->type() != QEvent::Hide)
        return false;
    auto *dialog = qobject_cast<QDialog *>(watched);
    if (!dialog || dialog->objectName().isEmpty() || qobject_cast<QMessageBox *>(dialog))
        return false;
    const QString key = QLatin1String("place_of_") + dialog->objectName();
    if (event->type() == QEvent::Polish)
        dialog->restoreGeometry(m_settings.value(key).toByteArray());
    else
        m_settings.setValue(key, dialog->saveGeometry());
    return false;
}

} // namespace HostKit
