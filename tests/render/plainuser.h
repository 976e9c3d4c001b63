#pragma once

#include <tests/render/plainscene.h>

#include <QStringList>

/// The viewport's state machine, written plainly: what the mouse and the keys do to a scene whose
/// text is a list of rectangles a kind.
class PlainUser
{
public:
    PlainScene scene;
    QVector<QRect> text[2];
    bool refuses = false; ///< the text takes no new box
    int mode = 0;         ///< 0 positions, 1 draws boxes, 2 captures
    QSize crossSizes[3];
    QStringList log; ///< what was told, in order

    void press(QPoint point, bool left, bool shift, bool control);
    void move(QPoint point);
    void release(bool left, bool right);
    void remove();
    void nudge(QPoint step);
    void draw(int kind);
    void position();
    void capture();
    void setText(int kind, const QVector<QRect> &rects);
    void deselect();

    bool any = false; ///< there is a selection that the keys act on
    QRect around;     ///< what is selected, with the part of a drag that is under way

private:
    struct Target {
        int hit, group, index;
    };
    Target hitTest(QPoint point) const;
    Target hitGuides(QPoint point) const;
    Target hitBoxes(QPoint point) const;
    Target boxAt(QPoint point, int group, int below) const;
    int standsFor(int boxMode, int parent) const;
    void pick(QPoint point, bool shift);
    void drag(QPoint delta, QPoint scaled);
    void dragItem(QPoint &position, int itemMode, QPoint delta, QPoint scaled, double x, double y);
    void resize(QPoint step);
    void commit();
    void reread();
    void drop();
    void abandon();
    void tell(const QString &what, int item, QPoint position);

    bool m_pressed = false, m_moved = false, m_drawing = false;
    QPoint m_last;
    int m_hit = 0, m_group = 0, m_index = -1, m_countBefore = 0;
    QRect m_start;
    QVector<QRectF> m_base[2];
};
