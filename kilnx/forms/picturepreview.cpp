#include <kilnx/forms/picturepreview_p.h>

#include <kilnx/forms/checktile_p.h>

#include <QtCore/QCoreApplication>
#include <QtGui/QPainter>

namespace Kiln
{

namespace
{

constexpr int side = 200;
constexpr int checkSide = 8;

} // namespace

PicturePreview::PicturePreview(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("preview"));
    setAccessibleName(QCoreApplication::translate("Kiln::PicturePreview", "Preview"));
    setMinimumSize(side, side);
}

void PicturePreview::setPicture(const QImage &picture)
{
    m_picture = picture;
    update();
}

QSize PicturePreview::sizeHint() const
{
    return {side, side};
}

void PicturePreview::paintEvent(QPaintEvent *)
{
    if (m_picture.isNull())
        return;
    QSize shown = m_picture.size();
    const int times = qMin(width() / shown.width(), height() / shown.height());
    shown = times > 0 ? shown * times : shown.scaled(size(), Qt::KeepAspectRatio);
    QRect area(QPoint(), shown.expandedTo(QSize(1, 1)));
    area.moveCenter(rect().center());
    QPainter painter(this);
    painter.setBrushOrigin(area.topLeft());
    painter.fillRect(area, QBrush(checkTile(checkSide, Qt::white, Qt::lightGray)));
    painter.drawImage(area, m_picture);
}

} // namespace Kiln
