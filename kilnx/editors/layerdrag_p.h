#pragma once

#include <QtCore/QObject>
#include <QtCore/QPersistentModelIndex>
#include <QtCore/QPoint>
#include <QtCore/QPointer>

class QListView;
class QMouseEvent;
class QKeyEvent;
class QRubberBand;

namespace Kiln
{

/// Lets the user change the order of a list's rows: by dragging them, and with Alt and the arrow
/// keys. Each gesture is one moveRow() of the view's model, which has to offer that.
class LayerDrag : public QObject
{
public:
    LayerDrag(QListView *view, QObject *parent);
    ~LayerDrag() override;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void pressed(const QMouseEvent &event);
    bool moved(const QMouseEvent &event);
    bool released(const QMouseEvent &event);
    bool keyPressed(const QKeyEvent &event);
    void cancel();
    int gapAt(int y) const;
    void showGap(int gap);
    void moveRow(int from, int to);

    QPointer<QListView> m_view;
    QPointer<QRubberBand> m_line;
    QPersistentModelIndex m_row; ///< that was pressed; invalid when it has gone meanwhile
    QPoint m_from;
    bool m_isDragging = false;
};

} // namespace Kiln
