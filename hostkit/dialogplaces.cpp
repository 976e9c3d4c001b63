#include <hostkit/dialogplaces.h>

#include <hostkit/settings.h>

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QMessageBox>
#include <QScreen>

namespace HostKit
{

namespace
{
const QSize frameRoom(16, 48); // of the frame, which is not known before the window is shown
const int sumSize = 4;         // hexadecimal digits

QByteArray sumOf(const QByteArray &bytes)
{
    const uint sum = qChecksum(bytes.constData(), uint(bytes.size()));
    return QByteArray::number(sum, 16).rightJustified(sumSize, '0');
}
} // namespace

bool restorePlace(QWidget *window, const QByteArray &place)
{
    if (!window->restoreGeometry(place))
        return false;
    if (window->windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen))
        return true;
    const QScreen *screen = QGuiApplication::screenAt(window->geometry().center());
    const QRect room = (screen ? screen : QGuiApplication::primaryScreen())->availableGeometry();
    window->resize(window->size().boundedTo(room.size() - frameRoom));
    const QSize left = room.size() - window->size();
    window->move(qBound(room.left(), window->x(), room.left() + left.width()),
                 qBound(room.top(), window->y(), room.top() + left.height()));
    return true;
}

QByteArray sealed(const QByteArray &bytes)
{
    return bytes + sumOf(bytes);
}

QByteArray unsealed(const QByteArray &bytes)
{
    const QByteArray inner = bytes.chopped(qMin(sumSize, bytes.size()));
    return bytes == sealed(inner) ? inner : QByteArray();
}

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
        restorePlace(dialog, m_settings.value(key).toByteArray());
    else
        m_settings.setValue(key, dialog->saveGeometry());
    return false;
}

} // namespace HostKit
