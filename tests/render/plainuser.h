#pragma once

#include <tests/render/plainscene.h>

#include <QStringList>

#include <utility>

/// The viewport's state machine, written plainly: what the mouse and the keys do to a scene whose
/// text is a list of rectangles a kind.
class PlainUser
{
public:
    PlainScene scene;
    QVector<QRect> text[2];
    bool refuses = false;     ///< the text takes no new box
    int mode = 0;             ///< 0 positions, 1 draws boxes, 2 captures
    bool keepsMiddle = false; ///< of the view, not the origin, when it zooms
    Qt::CursorShape shape = Qt::ArrowCursor;
    QStringList log;                ///< what was told, in order
    bool &any = scene.handlesShown; ///< there is a selection that the keys act on
    QRect &around = scene.selected; ///< with the part of a drag that is under way

    void deselect()
    {
        for (PlainScene::Box *box : selected())
            box->selected = false;
        any = false;
        around = QRect();
    }
    void press(QPoint point, bool left, bool shift, bool control)
    {
        if (!left) {
            m_hit = m_pressed ? m_hit : scene.hitTest(point, mode).hit;
            return;
        }
        abandon();
        m_pressed = true;
        m_last = point;
        if (mode != 1 && !control) {
            pick(point, shift);
            return;
        }
        m_hit = mode == 1 ? 14 : 0;
        if (mode != 1)
            return;
        deselect();
        const int step = scene.zoom > 1 ? int(scene.zoom) : 1;
        const double scale = boxesOnScreen() ? 1 : scene.zoom;
        const QPoint from = scene.anchor(scene.boxMode, scene.boxParent);
        const QPoint at(away((point.x() - point.x() % step - from.x()) / scale),
                        away((point.y() - point.y() % step - from.y()) / scale));
        scene.boxes[m_group].append({QRectF(at, QSizeF(0, 0)), true});
        m_index = scene.boxes[m_group].size() - 1;
        m_start = around = QRect(at, QSize(1, 1));
        m_drawing = true;
    }
    void move(QPoint point, bool control)
    {
        hover(point, control);
        tell("cursor", -1, image(point - scene.origin));
        if (!m_pressed)
            return;
        if (mode == 2) {
            capture(point);
            return;
        }
        QPoint delta = point - m_last;
        const QPoint place = m_hit >= 8 ? handlePlaces[m_hit - 8] : QPoint();
        if (place.x() == 1)
            delta.setX(0);
        if (place.y() == 1)
            delta.setY(0);
        QPoint scaled = delta;
        if (m_hit != 0) {
            scaled = {away(delta.x() / scene.zoom), away(delta.y() / scene.zoom)};
            if (scene.zoom > 1)
                delta = {away(scaled.x() * scene.zoom), away(scaled.y() * scene.zoom)};
        }
        if (m_hit < 8)
            m_last += delta;
        if (scaled.isNull())
            return;
        m_moved = true;
        drag(delta, scaled);
    }
    void release(bool left, bool right)
    {
        if (m_pressed && !left)
            return;
        const bool dragged = m_moved && m_pressed && left;
        m_pressed = m_moved = false;
        shape = m_hit == 0 ? Qt::OpenHandCursor : shape;
        if (right && mode == 1) {
            position();
            log.append("exit");
        } else if (left && m_drawing) {
            m_drawing = false;
            PlainScene::Box &box = scene.boxes[m_group][m_index];
            const QRect rect = rounded(box.rect);
            if (!rect.width() || !rect.height() || refuses) {
                scene.boxes[m_group].removeLast();
                around = QRect();
                return;
            }
            box.rect = QRectF(rect).normalized();
            text[m_group].append(box.rect.toRect());
            reread();
        } else if (dragged && m_hit >= 1 && m_hit <= 4 && (itemMode() & 12)) {
            tell("released", m_hit == 1 ? 3 : m_hit - 2, *itemPosition());
        } else if (dragged && m_hit >= 7 && (scene.boxMode & 12)) {
            commit();
        }
    }
    /// The shape over a point, or of the drag that is under way.
    void hover(QPoint point, bool control)
    {
        constexpr Qt::CursorShape both = Qt::SizeAllCursor, upright = Qt::SizeVerCursor,
                                  across = Qt::SizeHorCursor, down = Qt::SizeFDiagCursor,
                                  up = Qt::SizeBDiagCursor, hand = Qt::OpenHandCursor;
        constexpr Qt::CursorShape shapes[] = {hand,   both,    both, both,    both,   upright,
                                              across, both,    down, upright, across, up,
                                              up,     upright, down, across};
        const int hit = m_pressed ? m_hit : scene.hitTest(point, mode).hit;
        shape = shapes[hit];
        if (control)
            shape = hand;
        else if ((hit == 1 && mode == 2) || (hit == 0 && mode == 1))
            shape = Qt::CrossCursor;
        else if (hit == 0 && m_pressed)
            shape = Qt::ClosedHandCursor;
    }
    void remove()
    {
        if (any)
            log.append("removing");
        for (int group = 0; any && group < 2; ++group) {
            for (int i = text[group].size() - 1; i >= 0; --i) {
                if (scene.boxes[group][i].selected) {
                    scene.boxes[group].remove(i);
                    text[group].remove(i);
                }
            }
        }
        if (any) {
            deselect();
            log.append("removed");
        }
    }
    void nudge(QPoint step)
    {
        if (boxesOnScreen())
            step = {away(step.x() * scene.zoom), away(step.y() * scene.zoom)};
        if (any)
            moveBoxes(allowed(scene.boxMode, step));
        commit();
    }
    /// What stands on the screen keeps to the image under it.
    void zoom(double now)
    {
        const double before = std::exchange(scene.zoom, now);
        const QPoint middle(scene.view.width() / 2, scene.view.height() / 2);
        const QPoint fixed = keepsMiddle ? middle : scene.origin;
        const auto follow = [&](QPoint &point) {
            const QPoint from = point - fixed;
            point = fixed + QPoint(away(away(from.x() / before) * now),
                                   away(away(from.y() / before) * now));
        };
        if (now == before)
            return;
        if (m_pressed && m_hit >= 1 && m_hit <= 4 && (itemMode() & 12) && !(itemMode() & 0xF3))
            follow(m_from);
        follow(scene.origin);
        for (PlainScene::Cross &cross : scene.crosses)
            (cross.mode & 0xF3) ? void() : follow(cross.position);
        for (PlainScene::Sprite &sprite : scene.sprites)
            (sprite.mode & 0xF3) ? void() : follow(sprite.position);
        for (QVector<PlainScene::Box> &group : scene.boxes) {
            for (int i = 0; boxesOnScreen() && i < group.size(); ++i)
                group[i].rect.moveTopLeft(fixed +
                                          (group[i].rect.topLeft() - fixed) * (now / before));
        }
        if (boxesOnScreen())
            around = any ? scene.selection() : QRect();
    }
    /// Draws boxes of a kind, or captures.
    void enter(int newMode, int kind)
    {
        abandon();
        mode = newMode;
        m_group = mode == 1 ? kind : m_group;
        m_countBefore = scene.boxes[m_group].size();
        deselect();
    }
    void position()
    {
        if (mode == 1) {
            abandon();
            if (scene.boxes[m_group].size() > m_countBefore) {
                deselect();
                scene.boxes[m_group].last().selected = any = true;
                around = scene.selection();
            }
        }
        mode = 0;
    }
    void escape()
    {
        if (m_pressed) {
            abandon();
        } else if (mode == 1) {
            position();
            log.append("exit");
        }
    }
    /// The text puts a sprite somewhere, even while it is dragged.
    void place(int sprite, QPoint at)
    {
        scene.sprites[sprite].position = at;
        if (m_pressed && m_hit == 1 && m_index == sprite)
            m_from = at;
    }
    void setText(int kind, const QVector<QRect> &rects)
    {
        if (m_pressed && m_hit >= 7)
            abandon();
        text[kind] = rects;
        reread();
    }

private:
    static QPoint allowed(int itemMode, QPoint step)
    {
        return {(itemMode & 4) ? step.x() : 0, (itemMode & 8) ? step.y() : 0};
    }
    QVector<PlainScene::Box *> selected()
    {
        QVector<PlainScene::Box *> found;
        for (QVector<PlainScene::Box> &group : scene.boxes) {
            for (PlainScene::Box &box : group) {
                if (box.selected)
                    found.append(&box);
            }
        }
        return found;
    }
    void tell(const QString &what, int item, QPoint at)
    {
        log.append(QString("%1 %2 %3 %4").arg(what).arg(item).arg(at.x()).arg(at.y()));
    }
    /// Of the sprite or cross that is dragged.
    int itemMode() const
    {
        const int sprite = m_index < scene.sprites.size() ? scene.sprites.value(m_index).mode : 0;
        return m_hit == 1 ? sprite : scene.crosses[m_hit - 2].mode;
    }
    QPoint *itemPosition()
    {
        return m_hit == 1 ? &scene.sprites[m_index].position : &scene.crosses[m_hit - 2].position;
    }
    bool boxesOnScreen() const { return !(scene.boxMode & 0xF3); }
    QPoint image(QPoint screen) const
    {
        return {away(screen.x() / scene.zoom), away(screen.y() / scene.zoom)};
    }
    /// The index at a point, or the nearest one of the sprite.
    void capture(QPoint point)
    {
        if (m_hit != 1)
            return;
        const PlainScene::Sprite &sprite = scene.sprites[m_index];
        const QPoint at =
            image(point - scene.anchor(sprite.mode, sprite.parent) - scene.offset(sprite));
        tell("color",
             sprite.picture.pixelIndex(qBound(0, at.x(), sprite.picture.width() - 1),
                                       qBound(0, at.y(), sprite.picture.height() - 1)),
             {});
    }
    void pick(QPoint point, bool shift)
    {
        const PlainScene::Target target = scene.hitTest(point, mode);
        const PlainScene::Target next =
            any ? scene.boxAt(point, m_group, m_index) : PlainScene::Target();
        m_hit = target.hit;
        m_start = around;
        std::copy(std::begin(text), std::end(text), m_base);
        if (m_hit >= 8)
            return;
        m_group = target.group < 0 ? m_group : target.group;
        m_index = target.index;
        if (!shift)
            deselect();
        if (m_hit >= 1 && m_hit <= 4 && (itemMode() & 12))
            m_from = *itemPosition();
        if (mode == 2)
            capture(point);
        if (m_hit != 7)
            return;
        m_group = next.hit ? next.group : m_group;
        m_index = next.hit ? next.index : m_index;
        bool &chosen = scene.boxes[m_group][m_index].selected;
        chosen = !(shift && chosen);
        any = false;
        for (const PlainScene::Box &box : scene.boxes[m_group])
            any |= box.selected;
        around = any ? scene.selection() : QRect();
    }
    void moveBoxes(QPoint step)
    {
        for (PlainScene::Box *box : selected())
            box->rect.translate(step);
        around = any ? scene.selection() : QRect();
    }
    void drag(QPoint delta, QPoint scaled)
    {
        if (m_hit == 0) {
            scene.origin += delta;
        } else if (m_hit <= 4 && (itemMode() & 12)) {
            const QPoint step = allowed(itemMode(), (itemMode() & 0xF3) ? scaled : delta);
            const bool sprite = m_hit == 1;
            *itemPosition() += {int(step.x() / (sprite ? scene.sprites[m_index].scaleX : 1)),
                                int(step.y() / (sprite ? scene.sprites[m_index].scaleY : 1))};
            tell("moved", sprite ? 3 : m_hit - 2, *itemPosition());
        } else if (m_hit == 5 || m_hit == 6) {
            scene.guides += m_hit == 5 ? QPoint(0, scaled.y()) : QPoint(scaled.x(), 0);
            tell("guides", -1, scene.guides);
        } else if (m_hit == 7) {
            moveBoxes(allowed(scene.boxMode, boxesOnScreen() ? delta : scaled));
        } else if (m_hit > 7 && (m_drawing || (scene.boxMode & 12))) {
            resize(boxesOnScreen() ? delta : scaled, scaled);
        }
    }
    /// Lengths are those of the image, wherever the boxes stand.
    void resize(QPoint step, QPoint longer)
    {
        const QPoint place = handlePlaces[m_hit - 8];
        const int x1 = place.x() == 0, y1 = place.y() == 0, x2 = place.x() == 2,
                  y2 = place.y() == 2;
        around = {m_start.x() + x1 * step.x(), m_start.y() + y1 * step.y(),
                  m_start.width() + (x2 - x1) * longer.x(),
                  m_start.height() + (y2 - y1) * longer.y()};
        const double x = double(around.width()) / m_start.width();
        const double y = double(around.height()) / m_start.height();
        for (int group = 0; group < 2; ++group) {
            for (int i = 0; i < scene.boxes[group].size(); ++i) {
                const QRectF base = m_drawing ? m_start : m_base[group].value(i);
                if (scene.boxes[group][i].selected) {
                    scene.boxes[group][i].rect = {around.x() + (base.x() - m_start.x()) * x,
                                                  around.y() + (base.y() - m_start.y()) * y,
                                                  base.width() * x, base.height() * y};
                }
            }
        }
    }
    /// Writes what is selected to the text, as the client does when boxes are released.
    void commit()
    {
        tell("released", 4, {});
        const bool written = !selected().isEmpty() && !(m_drawing && selected().size() == 1);
        for (int group = 0; group < 2; ++group) {
            for (int i = 0; i < text[group].size(); ++i) {
                PlainScene::Box &box = scene.boxes[group][i];
                const QRectF rect = QRectF(rounded(box.rect)).normalized();
                if (box.selected)
                    box.rect = text[group][i] = rect.toRect();
            }
        }
        if (written)
            reread();
    }
    /// The boxes become those of the text; a selected one stays so if it is the same.
    void reread()
    {
        for (int group = 0; group < 2; ++group) {
            scene.boxes[group].resize(text[group].size());
            for (int i = 0; i < text[group].size(); ++i) {
                PlainScene::Box &box = scene.boxes[group][i];
                box = {text[group][i], box.selected && rounded(box.rect) == text[group][i]};
            }
        }
        any = !selected().isEmpty();
        around = any ? scene.selection() : QRect();
    }
    /// What is being drawn or dragged is as the text has it again.
    void abandon()
    {
        if (m_drawing) {
            scene.boxes[m_group].removeLast();
            around = QRect();
        }
        m_drawing = false;
        if (m_pressed && m_hit >= 7)
            reread();
        else if (m_pressed && m_hit >= 1 && m_hit <= 4 && (itemMode() & 12) &&
                 *itemPosition() != m_from)
            tell("moved", m_hit == 1 ? 3 : m_hit - 2, *itemPosition() = m_from);
        m_pressed = m_moved = false;
    }

    bool m_pressed = false, m_moved = false, m_drawing = false;
    QPoint m_last, m_from;
    int m_hit = 0, m_group = 0, m_index = -1, m_countBefore = 0;
    QRect m_start;
    QVector<QRect> m_base[2]; ///< the text when a resize began
};
