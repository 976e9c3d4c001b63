#include <kilnx/imageedit/paletteremapwidget.h>

#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/palettecells_p.h>

#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>

namespace Kiln
{

PaletteRemapWidget::PaletteRemapWidget(bool horizontal, QWidget *parent)
    : QWidget(parent)
    , m_horizontal(horizontal)
{
    setObjectName(QStringLiteral("paletteRemapWidget"));
    setAccessibleName(tr("Colors to exchange"));
    setFocusPolicy(Qt::TabFocus);
}

PaletteRemapWidget::~PaletteRemapWidget() = default;

void PaletteRemapWidget::setColors(ImagePalette *palette)
{
    if (m_palette)
        m_palette->disconnect(this);
    m_palette = palette;
    if (palette)
        connect(palette, &QObject::destroyed, this, [this] { m_palette = nullptr; });
    update();
}

void PaletteRemapWidget::setCount(int count)
{
    m_count = qBound(1, count, pairCount);
    setCurrent(qMin(m_current, m_count - 1));
    updateGeometry();
    update();
}

bool PaletteRemapWidget::setCurrent(int cell)
{
    if (cell < 0 || cell >= m_count)
        return false;
    if (cell != m_current) {
        m_current = cell;
        update();
        Q_EMIT currentChanged(cell);
    }
    return true;
}

QPoint PaletteRemapWidget::pair(int cell) const
{
    return cell >= 0 && cell < m_count ? m_pairs[cell] : QPoint();
}

void PaletteRemapWidget::setFirst(unsigned char index)
{
    m_pairs[m_current].setX(index);
    update();
}

void PaletteRemapWidget::setSecond(unsigned char index)
{
    m_pairs[m_current].setY(index);
    update();
}

int PaletteRemapWidget::cellAt(QPoint point) const
{
    if (!QRect(QPoint(), sizeHint()).contains(point))
        return -1;
    return (m_horizontal ? point.x() : point.y()) / m_cellSize;
}

QSize PaletteRemapWidget::sizeHint() const
{
    const QSize size(m_count * m_cellSize, 2 * m_cellSize);
    return m_horizontal ? size : size.transposed();
}

QSize PaletteRemapWidget::minimumSizeHint() const
{
    return sizeHint();
}

void PaletteRemapWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const auto colorOf = [this](int index) {
        const auto i = static_cast<unsigned char>(index);
        return m_palette ? fromQRgb(m_palette->rgbAt(i)) : RGBA{0, 0, 0, 255};
    };
    for (int cell = 0; cell < m_count; ++cell) {
        const QPoint first(cell * m_cellSize, 0);
        const QPoint second(cell * m_cellSize, m_cellSize);
        const auto place = [this](QPoint at) { return m_horizontal ? at : QPoint(at.y(), at.x()); };
        const bool selected = cell == m_current;
        PaletteCells::paint(painter, *this, place(first), m_cellSize, colorOf(m_pairs[cell].x()),
                            selected);
        PaletteCells::paint(painter, *this, place(second), m_cellSize, colorOf(m_pairs[cell].y()),
                            selected);
    }
}

void PaletteRemapWidget::mousePressEvent(QMouseEvent *event)
{
    setCurrent(cellAt(event->pos()));
}

void PaletteRemapWidget::keyPressEvent(QKeyEvent *event)
{
    const bool back = event->key() == Qt::Key_Left || event->key() == Qt::Key_Up;
    const bool forth = event->key() == Qt::Key_Right || event->key() == Qt::Key_Down;
    if ((!back && !forth) || !setCurrent(m_current + (forth ? 1 : -1)))
        QWidget::keyPressEvent(event);
}

} // namespace Kiln
