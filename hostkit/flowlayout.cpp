#include <hostkit/flowlayout.h>

#include <QWidget>

namespace HostKit
{

FlowLayout::FlowLayout(QWidget *parent, int spacing)
    : QLayout(parent)
{
    setSpacing(spacing);
    setContentsMargins(4, 2, 4, 2);
}

FlowLayout::~FlowLayout()
{
    qDeleteAll(m_items);
}

void FlowLayout::addItem(QLayoutItem *item)
{
    m_items.append(item);
}

int FlowLayout::count() const
{
    return m_items.size();
}

QLayoutItem *FlowLayout::itemAt(int index) const
{
    return m_items.value(index);
}

QLayoutItem *FlowLayout::takeAt(int index)
{
    return index >= 0 && index < m_items.size() ? m_items.takeAt(index) : nullptr;
}

Qt::Orientations FlowLayout::expandingDirections() const
{
    return {};
}

bool FlowLayout::hasHeightForWidth() const
{
    return true;
}

int FlowLayout::heightForWidth(int width) const
{
    return arrange(QRect(0, 0, width, 0), false);
}

QSize FlowLayout::sizeHint() const
{
    return minimumSize();
}

QSize FlowLayout::minimumSize() const
{
    QSize size;
    for (const QLayoutItem *item : m_items)
        size = size.expandedTo(item->minimumSize());
    const QMargins margins = contentsMargins();
    return size + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

void FlowLayout::setGeometry(const QRect &area)
{
    QLayout::setGeometry(area);
    arrange(area, true);
}

// Returns the height that the lines need in the width of `area`.
int FlowLayout::arrange(const QRect &area, bool move) const
{
    const QRect inner = area.marginsRemoved(contentsMargins());
    int top = inner.top();
    int first = 0;
    while (first < m_items.size()) {
        int width = 0;
        int height = 0;
        int end = first;
        for (; end < m_items.size(); ++end) {
            const QSize size = m_items[end]->isEmpty() ? QSize(0, 0) : m_items[end]->sizeHint();
            const int wanted = width + (width > 0 && size.width() > 0 ? spacing() : 0);
            if (end > first && wanted + size.width() > inner.width())
                break;
            width = wanted + size.width();
            height = qMax(height, size.height());
        }
        int left = inner.left();
        for (int i = first; i < end; ++i) {
            if (m_items[i]->isEmpty())
                continue;
            const QSize size = m_items[i]->sizeHint();
            if (move)
                m_items[i]->setGeometry({{left, top + (height - size.height()) / 2}, size});
            left += size.width() + spacing();
        }
        first = end;
        top += height + (first < m_items.size() && height > 0 ? spacing() : 0);
    }
    return top - inner.top() + contentsMargins().top() + contentsMargins().bottom();
}

} // namespace HostKit
