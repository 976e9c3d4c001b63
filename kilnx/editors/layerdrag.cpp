#include <kilnx/editors/layerdrag_p.h>

#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QListView>
#include <QtWidgets/QRubberBand>

namespace Kiln
{

namespace
{
constexpr int lineHeight = 3;
}

LayerDrag::LayerDrag(QListView *view, QObject *parent)
    : QObject(parent)
    , m_view(view)
    , m_line(new QRubberBand(QRubberBand::Line, view->viewport()))
{
    view->installEventFilter(this);
    view->viewport()->installEventFilter(this);
}

LayerDrag::~LayerDrag()
{
    delete m_line;
}

bool LayerDrag::eventFilter(QObject *watched, QEvent *event)
{
    if (!m_view)
        return false;
    const bool inView = watched == m_view->viewport();
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        if (inView)
            pressed(*static_cast<QMouseEvent *>(event));
        break;
    case QEvent::MouseMove:
        return inView && moved(*static_cast<QMouseEvent *>(event));
    case QEvent::MouseButtonRelease:
        return inView && released(*static_cast<QMouseEvent *>(event));
    case QEvent::KeyPress:
        return !inView && keyPressed(*static_cast<QKeyEvent *>(event));
    case QEvent::WindowBlocked:
    case QEvent::Hide:
        cancel();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void LayerDrag::pressed(const QMouseEvent &event)
{
    cancel();
    if (event.button() != Qt::LeftButton)
        return;
    m_row = m_view->indexAt(event.pos());
    m_from = event.pos();
}

/// The view would choose the rows that the mouse comes over, the first ones on the way included.
bool LayerDrag::moved(const QMouseEvent &event)
{
    if (!m_row.isValid() || !(event.buttons() & Qt::LeftButton)) {
        cancel();
        return false;
    }
    if ((event.pos() - m_from).manhattanLength() >= QApplication::startDragDistance())
        m_isDragging = true;
    if (m_isDragging)
        showGap(gapAt(event.pos().y()));
    return true;
}

bool LayerDrag::released(const QMouseEvent &event)
{
    const bool drops = m_isDragging && m_row.isValid() && event.button() == Qt::LeftButton;
    const int from = m_row.row();
    cancel();
    if (drops)
        moveRow(from, gapAt(event.pos().y()));
    return drops;
}

bool LayerDrag::keyPressed(const QKeyEvent &event)
{
    if (event.key() == Qt::Key_Escape && m_isDragging) {
        cancel();
        return true;
    }
    const int way = (event.key() == Qt::Key_Down) - (event.key() == Qt::Key_Up);
    if (event.modifiers() != Qt::AltModifier || way == 0 || !m_view->currentIndex().isValid())
        return false;
    const int row = m_view->currentIndex().row();
    moveRow(row, way > 0 ? row + 2 : row - 1);
    return true;
}

void LayerDrag::cancel()
{
    m_row = QPersistentModelIndex();
    m_isDragging = false;
    if (m_line)
        m_line->hide();
}

/// The row before which a drop at that height goes; the row count below the last one.
int LayerDrag::gapAt(int y) const
{
    const QAbstractItemModel *model = m_view->model();
    int gap = 0;
    while (gap < model->rowCount() && m_view->visualRect(model->index(gap, 0)).center().y() < y)
        ++gap;
    return gap;
}

void LayerDrag::showGap(int gap)
{
    const QAbstractItemModel *model = m_view->model();
    const bool isLast = gap == model->rowCount();
    const QRect row = m_view->visualRect(model->index(isLast ? gap - 1 : gap, 0));
    const int y = isLast ? row.bottom() + 1 : row.top();
    m_line->setGeometry(0, y - lineHeight / 2, m_view->viewport()->width(), lineHeight);
    m_line->show();
}

/// The model refuses what leads nowhere.
void LayerDrag::moveRow(int from, int to)
{
    m_view->model()->moveRow({}, from, {}, to);
}

} // namespace Kiln
