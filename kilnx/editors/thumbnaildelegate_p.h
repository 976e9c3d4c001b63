#pragma once

#include <QtGui/QPixmap>
#include <QtWidgets/QStyledItemDelegate>

namespace Kiln
{

/// Draws a cell of the thumbnails: a square of checks with the picture in its middle, as large as
/// it fits in whole steps, and the name below. All cells have one size.
class ThumbnailDelegate : public QStyledItemDelegate
{
public:
    explicit ThumbnailDelegate(QObject *parent);

    void setSide(int pixels) { m_side = pixels; }
    void setChecks(const QColor &first, const QColor &second);
    /// The size of a cell of a view, with the room around it.
    QSize cellSize(const QWidget &view) const;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void paint(QPainter *painter,
               const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

private:
    static void paintPicture(QPainter *painter, const QImage &picture, const QRect &ground);

    int m_side = 64;
    QPixmap m_checks;
};

} // namespace Kiln
