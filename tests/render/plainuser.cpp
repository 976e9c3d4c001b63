#include <tests/render/plainuser.h>

namespace
{

QRect rounded(const QRectF &rect)
{
    return {away(rect.x()), away(rect.y()), away(rect.width()), away(rect.height())};
}

} // namespace

void PlainUser::tell(const QString &what, int item, QPoint position)
{
    log.append(
        QStringLiteral("%1 %2 %3 %4").arg(what).arg(item).arg(position.x()).arg(position.y()));
}

void PlainUser::deselect()
{
    for (QVector<PlainScene::Box> &group : scene.boxes) {
        for (PlainScene::Box &box : group)
            box.selected = false;
    }
    any = false;
    around = QRect();
}

PlainUser::Target PlainUser::hitGuides(QPoint point) const
{
    const QPoint guide =
        scene.origin +
        QPoint(away(scene.guides.x() * scene.zoom), away(scene.guides.y() * scene.zoom)) -
        QPoint(1, 1);
    const int width = 2 + away(qMin(1.0, scene.zoom));
    if (scene.guidesVisible && point.x() >= guide.x() && point.x() < guide.x() + width)
        return {6, -1, -1};
    if (scene.guidesVisible && point.y() >= guide.y() && point.y() < guide.y() + width)
        return {5, -1, -1};
    return {0, -1, -1};
}

/// What a thing that does not move itself stands for: its cross, its sprite, or nothing.
int PlainUser::standsFor(int itemMode, int parent) const
{
    const int place = itemMode & 0xF3;
    return place == 2 && parent < 3 ? 2 + parent : place == 3 ? 1 : 0;
}

PlainUser::Target PlainUser::boxAt(QPoint point, int group, int below) const
{
    for (; group >= 0; --group, below = 1 << 30) {
        for (int i = qMin(below, scene.boxes[group].size()) - 1; i >= 0; --i) {
            if (scene.boxesVisible[group] &&
                scene.boxArea(scene.boxes[group][i].rect).contains(point))
                return {7, group, i};
        }
    }
    return {0, -1, -1};
}

PlainUser::Target PlainUser::hitBoxes(QPoint point) const
{
    PlainScene handles = scene;
    handles.selected = around;
    for (int i = 0; i < 8 && any; ++i) {
        if (QRect(handles.handle(handlePlaces[i]) - QPoint(6, 6), QSize(12, 12)).contains(point))
            return {8 + i, -1, -1};
    }
    Target box = boxAt(point, 1, 1 << 30);
    if (box.hit && !(scene.boxMode & 12))
        box.hit = standsFor(scene.boxMode, scene.boxParent);
    if (box.hit == 1)
        box.index = scene.boxParent;
    return box;
}

PlainUser::Target PlainUser::hitTest(QPoint point) const
{
    const Target nothing{0, -1, -1};
    if (QRect(QPoint(), scene.view).contains(point) && (point.x() < 30 || point.y() < 30))
        return nothing;
    if (!scene.spriteOverGuides && hitGuides(point).hit)
        return hitGuides(point);
    if (mode == 1)
        return nothing;
    const Target box = mode == 2 ? nothing : hitBoxes(point);
    if (scene.contactOverCross && box.hit)
        return box;
    for (int i = 2; i >= 0 && mode != 2; --i) {
        const QSize size(away(crossSizes[i].width() * scene.zoom),
                         away(crossSizes[i].height() * scene.zoom));
        const QPoint corner = scene.crossPoint(i) - QPoint(size.width() / 2, size.height() / 2);
        if (scene.crosses[i].visible && (scene.crosses[i].mode & 12) &&
            QRect(corner, size).contains(point))
            return {2 + i, -1, -1};
    }
    if (box.hit)
        return box;
    for (int i = scene.sprites.size() - 1; i >= 0; --i) {
        const PlainScene::Sprite &sprite = scene.sprites[i];
        const QRect area(scene.anchor(sprite.mode, sprite.parent) + scene.offset(sprite),
                         scene.sizeOf(sprite));
        if (!area.contains(point))
            continue;
        const int hit = mode == 2 || (sprite.mode & 12) ? 1 : standsFor(sprite.mode, sprite.parent);
        if (hit)
            return {hit, -1, i};
    }
    return scene.spriteOverGuides ? hitGuides(point) : nothing;
}

void PlainUser::press(QPoint point, bool left, bool shift, bool control)
{
    if (!left) {
        if (!m_pressed)
            m_hit = hitTest(point).hit;
        return;
    }
    drop();
    m_pressed = true;
    m_moved = false;
    m_last = point;
    if (mode == 1) {
        deselect();
        m_hit = 14;
        const int step = scene.zoom > 1 ? int(scene.zoom) : 1;
        const QPoint from = scene.anchor(scene.boxMode, scene.boxParent);
        const QPoint at(away((point.x() - point.x() % step - from.x()) / scene.zoom),
                        away((point.y() - point.y() % step - from.y()) / scene.zoom));
        scene.boxes[m_group].append({QRectF(at, QSizeF(0, 0)), true});
        m_index = scene.boxes[m_group].size() - 1;
        m_start = around = QRect(at, QSize(1, 1));
        m_drawing = true;
    } else if (control) {
        m_hit = 0;
    } else {
        pick(point, shift);
    }
}

void PlainUser::pick(QPoint point, bool shift)
{
    const Target target = hitTest(point);
    const Target next = any ? boxAt(point, m_group, m_index) : Target{0, -1, -1};
    m_hit = target.hit;
    if (m_hit >= 8) {
        m_start = around;
        for (int group = 0; group < 2; ++group) {
            m_base[group].clear();
            for (const QRect &rect : text[group])
                m_base[group].append(rect);
        }
        return;
    }
    m_group = target.group < 0 ? m_group : target.group;
    m_index = target.index;
    if (!shift)
        deselect();
    if (m_hit != 7)
        return;
    if (next.hit) {
        m_group = next.group;
        m_index = next.index;
    }
    bool &selected = scene.boxes[m_group][m_index].selected;
    selected = !(shift && selected);
    any = false;
    for (const PlainScene::Box &box : scene.boxes[m_group])
        any |= box.selected;
    around = any ? scene.selection() : QRect();
}

void PlainUser::move(QPoint point)
{
    if (!m_pressed || mode == 2)
        return;
    QPoint delta = point - m_last;
    if (m_hit == 9 || m_hit == 13)
        delta.setX(0);
    if (m_hit == 10 || m_hit == 15)
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

void PlainUser::dragItem(QPoint &position,
                         int itemMode,
                         QPoint delta,
                         QPoint scaled,
                         double x,
                         double y)
{
    const QPoint step = (itemMode & 0xF3) ? scaled : delta;
    position += {(itemMode & 4) ? int(step.x() / x) : 0, (itemMode & 8) ? int(step.y() / y) : 0};
}

void PlainUser::drag(QPoint delta, QPoint scaled)
{
    if (m_hit == 0) {
        scene.origin += delta;
    } else if (m_hit == 1 && m_index < scene.sprites.size() && (scene.sprites[m_index].mode & 12)) {
        PlainScene::Sprite &sprite = scene.sprites[m_index];
        dragItem(sprite.position, sprite.mode, delta, scaled, sprite.scaleX, sprite.scaleY);
        tell("moved", 3, sprite.position);
    } else if (m_hit >= 2 && m_hit <= 4 && (scene.crosses[m_hit - 2].mode & 12)) {
        PlainScene::Cross &cross = scene.crosses[m_hit - 2];
        dragItem(cross.position, cross.mode, delta, scaled, 1, 1);
        tell("moved", m_hit - 2, cross.position);
    } else if (m_hit == 5) {
        scene.guides.ry() += scaled.y();
    } else if (m_hit == 6) {
        scene.guides.rx() += scaled.x();
    } else if (m_hit == 7) {
        QPoint step;
        dragItem(step, scene.boxMode, delta, scaled, 1, 1);
        for (QVector<PlainScene::Box> &group : scene.boxes) {
            for (PlainScene::Box &box : group)
                box.rect.translate(box.selected ? step : QPoint());
        }
        around = any ? scene.selection() : QRect();
    } else if (m_hit >= 8 && (m_drawing || (scene.boxMode & 12))) {
        resize(scaled);
    }
}

void PlainUser::resize(QPoint step)
{
    QRect to = m_start;
    const QPoint place = handlePlaces[m_hit - 8];
    if (place.x() == 0)
        to.setLeft(to.left() + step.x());
    else if (place.x() == 2)
        to.setRight(to.right() + step.x());
    if (place.y() == 0)
        to.setTop(to.top() + step.y());
    else if (place.y() == 2)
        to.setBottom(to.bottom() + step.y());
    const double x = double(to.width()) / m_start.width();
    const double y = double(to.height()) / m_start.height();
    for (int group = 0; group < 2; ++group) {
        for (int i = 0; i < scene.boxes[group].size(); ++i) {
            if (!scene.boxes[group][i].selected)
                continue;
            const QRectF base = m_drawing ? QRectF(m_start) : m_base[group][i];
            scene.boxes[group][i].rect = {to.x() + (base.x() - m_start.x()) * x,
                                          to.y() + (base.y() - m_start.y()) * y, base.width() * x,
                                          base.height() * y};
        }
    }
    around = to;
}

void PlainUser::release(bool left, bool right)
{
    if (m_pressed && !left)
        return;
    const bool dragged = m_moved && m_pressed && left;
    m_pressed = m_moved = false;
    if (right && mode == 1) {
        position();
        log.append("exit");
        return;
    }
    if (left && m_drawing) {
        PlainScene::Box &box = scene.boxes[m_group][m_index];
        const QRect rect = rounded(box.rect);
        m_drawing = false;
        if (!rect.width() || !rect.height() || refuses) {
            scene.boxes[m_group].removeLast();
            around = QRect();
            return;
        }
        box.rect = QRectF(rect).normalized();
        text[m_group].append(box.rect.toRect());
        reread();
    } else if (dragged && m_hit == 1) {
        if (m_index < scene.sprites.size() && (scene.sprites[m_index].mode & 12))
            tell("released", 3, scene.sprites[m_index].position);
    } else if (dragged && m_hit >= 2 && m_hit <= 4) {
        if (scene.crosses[m_hit - 2].mode & 12)
            tell("released", m_hit - 2, scene.crosses[m_hit - 2].position);
    } else if (dragged && m_hit >= 7 && (scene.boxMode & 12)) {
        commit();
    }
}

/// Writes what is selected to the text, as the client does when boxes are released.
void PlainUser::commit()
{
    tell("released", 4, {});
    bool written = false;
    for (int group = 0; group < 2; ++group) {
        for (int i = 0; i < text[group].size(); ++i) {
            if (!scene.boxes[group][i].selected)
                continue;
            text[group][i] = rounded(scene.boxes[group][i].rect);
            written = true;
        }
    }
    if (written)
        reread();
}

/// The boxes become those of the text; a selected one stays so if it is the same.
void PlainUser::reread()
{
    any = false;
    for (int group = 0; group < 2; ++group) {
        scene.boxes[group].resize(text[group].size());
        for (int i = 0; i < text[group].size(); ++i) {
            PlainScene::Box &box = scene.boxes[group][i];
            box.selected = box.selected && rounded(box.rect) == text[group][i];
            box.rect = text[group][i];
            any |= box.selected;
        }
    }
    around = any ? scene.selection() : QRect();
}

void PlainUser::setText(int kind, const QVector<QRect> &rects)
{
    if (m_pressed && m_hit >= 7)
        abandon();
    text[kind] = rects;
    reread();
}

void PlainUser::remove()
{
    if (!any)
        return;
    for (int group = 0; group < 2; ++group) {
        for (int i = text[group].size() - 1; i >= 0; --i) {
            if (scene.boxes[group][i].selected) {
                scene.boxes[group].remove(i);
                text[group].remove(i);
            }
        }
    }
    deselect();
}

void PlainUser::nudge(QPoint step)
{
    QPoint allowed;
    dragItem(allowed, scene.boxMode, step, step, 1, 1);
    for (QVector<PlainScene::Box> &group : scene.boxes) {
        for (PlainScene::Box &box : group)
            box.rect.translate(any && box.selected ? allowed : QPoint());
    }
    if (any)
        around = scene.selection();
    commit();
}

/// A box that is being drawn is given up.
void PlainUser::drop()
{
    if (!m_drawing)
        return;
    m_drawing = false;
    scene.boxes[m_group].removeLast();
    around = QRect();
}

/// What is being drawn or dragged is as the text has it again.
void PlainUser::abandon()
{
    drop();
    if (m_pressed && m_hit >= 7)
        reread();
    m_pressed = m_moved = false;
}

void PlainUser::draw(int kind)
{
    abandon();
    mode = 1;
    m_group = kind;
    m_countBefore = scene.boxes[kind].size();
    deselect();
}

void PlainUser::position()
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

void PlainUser::capture()
{
    abandon();
    mode = 2;
    deselect();
}
