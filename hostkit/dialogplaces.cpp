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
// Of the frame, which is not known before the window is shown.
const int sideRoom = 8;
const int captionRoom = 40;
const int sumSize = 4; // hexadecimal digits

QByteArray sumOf(const QByteArray &bytes)
{
    const uint sum = qChecksum(bytes.constData(), uint(bytes.size()));
    return QByteArray::number(sum, 16).rightJustified(sumSize, '0');
}
} // namespace

QSize fittedSize(const QSize &size)
{
    const QSize room = QGuiApplication::primaryScreen()->availableSize();
    return size.boundedTo(room - QSize(2 * sideRoom, captionRoom + sideRoom));
}

bool restorePlace(QWidget *window, const QByteArray &kept)
{
    if (!window->restoreGeometry(kept))
        return false;
    if (window->windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen))
        return true;
    // The place of what is within the frame, as it was kept; a frame's would move at each start.
    QRect place = window->geometry();
    const QScreen *screen = QGuiApplication::screenAt(place.center());
    const QRect room = (screen ? screen : QGuiApplication::primaryScreen())->availableGeometry();
    if (room.contains(place))
        return true;
    const QRect inner = room.adjusted(sideRoom, captionRoom, -sideRoom, -sideRoom);
    place.setSize(place.size().boundedTo(inner.size()));
    place.moveLeft(qBound(inner.left(), place.left(), inner.right() + 1 - place.width()));
    place.moveTop(qBound(inner.top(), place.top(), inner.bottom() + 1 - place.height()));
    window->setGeometry(place);
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
