#include <kilnx/editors/thumbnaildelegate_p.h>

#include <kilnx/forms/checktile_p.h>

#include <QtGui/QPainter>
#include <QtWidgets/QApplication>

#include <cmath>

namespace Kiln
{

namespace
{

constexpr int margin = 4;
constexpr int checkSide = 6;
constexpr int nameLines = 2;

/// A name that is too long for a line goes on in a second one.
QString broken(const QString &name, const QFontMetrics &metrics, int width)
{
    int fitting = name.size();
    while (fitting > 1 && metrics.horizontalAdvance(name, fitting) > width)
        --fitting;
    const QString rest = metrics.elidedText(name.mid(fitting), Qt::ElideMiddle, width);
    return rest.isEmpty() ? name : name.left(fitting) + QLatin1Char('\n') + rest;
}

} // namespace

ThumbnailDelegate::ThumbnailDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
{
    setChecks(Qt::white, Qt::lightGray);
}

void ThumbnailDelegate::setChecks(const QColor &first, const QColor &second)
{
    m_checks = QPixmap::fromImage(checkTile(checkSide, first, second));
}

QSize ThumbnailDelegate::cellSize(const QWidget &view) const
{
    return {m_side + 2 * margin, m_side + 3 * margin + nameLines * view.fontMetrics().height()};
}

QSize ThumbnailDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return option.widget ? cellSize(*option.widget) : QSize(m_side, m_side);
}

void ThumbnailDelegate::paint(QPainter *painter,
                              const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    cell.showDecorationSelected = true;
    const QStyle *style = cell.widget ? cell.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, cell.widget);

    const QRect ground(cell.rect.x() + (cell.rect.width() - m_side) / 2, cell.rect.y() + margin,
                       m_side, m_side);
    painter->drawTiledPixmap(ground, m_checks);
    paintPicture(painter, index.data(Qt::DecorationRole).value<QImage>(), ground);
    const bool isSelected = cell.state & QStyle::State_Selected;
    if (isSelected) {
        painter->setPen(QPen(cell.palette.color(QPalette::Highlight), 2));
        painter->drawRect(ground.adjusted(0, 0, -1, -1));
    }
    const QRect text(cell.rect.x() + 1, ground.bottom() + 1, cell.rect.width() - 2,
                     cell.rect.bottom() - ground.bottom());
    painter->setPen(cell.palette.color(cell.state & QStyle::State_Active ? QPalette::Active
                                                                         : QPalette::Inactive,
                                       isSelected ? QPalette::HighlightedText : QPalette::Text));
    painter->drawText(text, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextDontClip,
                      broken(cell.text, cell.fontMetrics, text.width()));
    if (cell.state & QStyle::State_HasFocus) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(cell);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, cell.widget);
    }
}

/// A picture has dots of the screen. Small ones grow by a whole factor, so that their pixels stay
/// squares.
void ThumbnailDelegate::paintPicture(QPainter *painter, const QImage &picture, const QRect &ground)
{
    if (picture.isNull())
        return;
    const qreal dots = painter->device()->devicePixelRatioF();
    const qreal room = ground.width() * dots / qMax(picture.width(), picture.height());
    const qreal factor = (room >= 1 ? std::floor(room) : room) / dots;
    const QSizeF size = QSizeF(picture.size()) * factor;
    const QPointF corner(ground.x() + std::floor((ground.width() - size.width()) / 2),
                         ground.y() + std::floor((ground.height() - size.height()) / 2));
    painter->drawImage(QRectF(corner, size), picture);
}

} // namespace Kiln
