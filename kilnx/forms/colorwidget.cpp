#include <kilnx/forms/colorwidget.h>

#include <QtGui/QPainter>

namespace Kiln
{

ColorWidget::ColorWidget(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("colorWidget"));
    setAccessibleName(tr("Color"));
    setAccessibleDescription(m_color.name(QColor::HexArgb));
}

ColorWidget::~ColorWidget() = default;

void ColorWidget::setColor(const QColor &color)
{
    m_color = color;
    setAccessibleDescription(m_color.name(QColor::HexArgb));
    update();
}

QSize ColorWidget::sizeHint() const
{
    return QSize(24, 24);
}

void ColorWidget::paintEvent(QPaintEvent *)
{
    constexpr int square = 4;
    QPainter painter(this);
    painter.setPen(Qt::NoPen);
    if (m_color.alpha() < 255) {
        painter.fillRect(rect(), Qt::white);
        for (int y = 0; y < height(); y += square) {
            for (int x = (y / square % 2) * square; x < width(); x += 2 * square)
                painter.fillRect(x, y, square, square, Qt::gray);
        }
    }
    painter.fillRect(rect(), m_color);

    const int right = width() - 1;
    const int bottom = height() - 1;
    painter.setPen(QColor(128, 128, 128));
    painter.drawLine(0, 0, right - 1, 0);
    painter.drawLine(0, 0, 0, bottom - 1);
    painter.setPen(Qt::white);
    painter.drawLine(0, bottom, right, bottom);
    painter.drawLine(right, 0, right, bottom);
}

} // namespace Kiln
