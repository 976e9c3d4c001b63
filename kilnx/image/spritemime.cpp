#include <kilnx/image/spritemime.h>

#include <QtCore/QMimeData>

namespace Kiln
{

QString SpriteMime::mimeType()
{
    return QStringLiteral("application/x-kilnx-sprites");
}

/// An identifier may be of any text but the zero character, which ends each.
QMimeData *SpriteMime::make(const QStringList &identifiers)
{
    QByteArray bytes;
    for (const QString &identifier : identifiers)
        bytes += identifier.toUtf8() + '\0';
    auto *data = new QMimeData;
    data->setData(mimeType(), bytes);
    data->setText(identifiers.join(QLatin1Char('\n')));
    return data;
}

QStringList SpriteMime::identifiers(const QMimeData *data)
{
    const QByteArray bytes = data ? data->data(mimeType()) : QByteArray();
    if (!bytes.endsWith('\0'))
        return {};
    QStringList list;
    const QList<QByteArray> parts = bytes.chopped(1).split('\0');
    for (const QByteArray &part : parts)
        list.append(QString::fromUtf8(part));
    return list;
}

} // namespace Kiln
