#include <tests/render/plainscene.h>

#include <QApplication>
#include <QPainter>

namespace
{

QPoint away(QPoint point, double factor)
{
    return {::away(point.x() * factor), ::away(point.y() * factor)};
}

} // namespace

QImage randomPicture(QRandomGenerator &random, const QSize &size, bool indexed, bool blends)
{
    const auto below = [&random](int bound) { return random.bounded(bound); };
    QImage image(size, indexed ? QImage::Format_Indexed8 : QImage::Format_ARGB32);
    QVector<QRgb> colors(256);
    for (QRgb &color : colors) {
        const int alpha = blends && below(3) == 0 ? below(256) : 255;
        color = qRgba(below(256), below(256), below(256), alpha);
    }
    colors[0] = 0;
    if (indexed)
        image.setColorTable(colors);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const int index = below(4) ? below(256) : 0;
            image.setPixel(x, y, indexed ? uint(index) : colors[index]);
        }
    }
    return image;
}

int PlainScene::thickness() const
{
    return zoom > 1 ? away(zoom) : 1;
}

QPoint PlainScene::anchor(int mode, int parent, int depth) const
{
    const int place = mode & 0xF3;
    if (place == 0)
        return {};
    if (depth > 300 || place == 1 || (place == 2 && parent > 2) ||
        (place == 3 && parent >= sprites.size())) {
        return origin;
    }
    const int parentMode = place == 2 ? crosses[parent].mode : sprites[parent].mode;
    const int parentParent = place == 2 ? crosses[parent].parent : sprites[parent].parent;
    const QPoint own = place == 2 ? away(crosses[parent].position, (parentMode & 0xF3) ? zoom : 1)
                                  : offset(sprites[parent]);
    return anchor(parentMode, parentParent, depth + 1) + own;
}

QPoint PlainScene::offset(const Sprite &sprite) const
{
    const QPoint scaled(int(sprite.position.x() * sprite.scaleX),
                        int(sprite.position.y() * sprite.scaleY));
    return away(scaled, (sprite.mode & 0xF3) ? zoom : 1);
}

QPoint PlainScene::crossPoint(int number) const
{
    const Cross &cross = crosses[number];
    return anchor(cross.mode, cross.parent) + away(cross.position, (cross.mode & 0xF3) ? zoom : 1);
}

QSize PlainScene::sizeOf(const Sprite &sprite) const
{
    return {away(int(sprite.picture.width() * sprite.scaleX) * zoom),
            away(int(sprite.picture.height() * sprite.scaleY) * zoom)};
}

QRect PlainScene::boxArea(const QRectF &rect) const
{
    const double scale = (boxMode & 0xF3) ? zoom : 1;
    const QPoint corner =
        anchor(boxMode, boxParent) + QPoint(away(rect.x() * scale), away(rect.y() * scale));
    const int width = away(rect.width() * zoom);
    const int height = away(rect.height() * zoom);
    return {corner + QPoint(qMin(0, width), qMin(0, height)), QSize(qAbs(width), qAbs(height))};
}

QRect PlainScene::selection() const
{
    int left = INT_MAX, top = INT_MAX, right = INT_MIN, bottom = INT_MIN;
    for (const QVector<Box> &group : boxes) {
        for (const Box &box : group) {
            if (!box.selected)
                continue;
            left = qMin(left, away(box.rect.x()));
            top = qMin(top, away(box.rect.y()));
            right = qMax(right, away(box.rect.x()) + away(box.rect.width()));
            bottom = qMax(bottom, away(box.rect.y()) + away(box.rect.height()));
        }
    }
    return left == INT_MAX ? QRect() : QRect(left, top, right - left, bottom - top);
}

QPoint PlainScene::handle(QPoint place) const
{
    const double scale = (boxMode & 0xF3) ? zoom : 1;
    return anchor(boxMode, boxParent) +
           QPoint(away(selected.x() * scale + place.x() * selected.width() * zoom / 2),
                  away(selected.y() * scale + place.y() * selected.height() * zoom / 2));
}

PlainScene::Target PlainScene::guideAt(QPoint point) const
{
    const int reach = 2 + ::away(qMin(1.0, zoom));
    const int x = point.x() - origin.x() - ::away(guides.x() * zoom) + 1;
    const int y = point.y() - origin.y() - ::away(guides.y() * zoom) + 1;
    if (!guidesVisible)
        return {};
    return {x >= 0 && x < reach ? 6 : y >= 0 && y < reach ? 5 : 0};
}

PlainScene::Target PlainScene::boxAt(QPoint point, int group, int below) const
{
    for (; group >= 0; --group, below = 1 << 30) {
        for (int i = qMin(below, boxes[group].size()) - 1; i >= 0; --i) {
            if (boxesVisible[group] && boxArea(boxes[group][i].rect).contains(point))
                return {7, group, i};
        }
    }
    return {};
}

/// What a thing that does not move itself stands for: its cross, its sprite, or nothing.
static int standsFor(int mode, int parent)
{
    return (mode & 3) == 2 ? 2 + parent : (mode & 3) == 3 ? 1 : 0;
}

PlainScene::Target PlainScene::handleOrBoxAt(QPoint point) const
{
    for (int i = 0; i < 8 && handlesShown; ++i) {
        if (QRect(handle(handlePlaces[i]) - QPoint(6, 6), QSize(12, 12)).contains(point))
            return {8 + i};
    }
    Target box = boxAt(point, 1, 1 << 30);
    if (box.hit && !(boxMode & 12))
        box.hit = standsFor(boxMode, boxParent);
    return {box.hit, box.group, box.hit == 1 ? boxParent : box.index};
}

PlainScene::Target PlainScene::hitTest(QPoint point, int mode) const
{
    const Target guide = guideAt(point);
    if (QRect(QPoint(), view).contains(point) && (point.x() < 30 || point.y() < 30))
        return {};
    if (!spriteOverGuides && guide.hit)
        return guide;
    if (mode == 1)
        return {};
    const Target box = mode == 2 ? Target() : handleOrBoxAt(point);
    if (contactOverCross && box.hit)
        return box;
    for (int i = 2; i >= 0 && mode != 2; --i) {
        const QSize natural = crossPictures[i].size();
        const QSize size(::away(natural.width() * zoom), ::away(natural.height() * zoom));
        const QPoint corner = crossPoint(i) - QPoint(size.width() / 2, size.height() / 2);
        const bool counts = crosses[i].visible && (crosses[i].mode & 12);
        if (counts && QRect(corner, size).contains(point))
            return {2 + i};
    }
    if (box.hit)
        return box;
    for (int i = sprites.size() - 1; i >= 0; --i) {
        const Sprite &sprite = sprites[i];
        const QRect area(anchor(sprite.mode, sprite.parent) + offset(sprite), sizeOf(sprite));
        const bool own = mode == 2 || (sprite.mode & 12);
        const int hit = own ? 1 : standsFor(sprite.mode, sprite.parent);
        if (hit && area.contains(point))
            return {hit, -1, i};
    }
    return spriteOverGuides ? guide : Target();
}

/// Adds a share of a colour, of 0.0 to 1.0, to what is kept of one device pixel.
void PlainScene::put(int x, int y, const double (&color)[3], double share, double kept, int blur)
{
    if (!picture.rect().contains(x, y))
        return;
    const QRgb old = picture.pixel(x, y);
    const int there[] = {qRed(old), qGreen(old), qBlue(old)};
    int result[3];
    for (int i = 0; i < 3; ++i)
        result[i] = qBound(0, away(color[i] * 255 * share + there[i] * kept), 255);
    picture.setPixel(x, y, qRgb(result[0], result[1], result[2]));
    int &allowed = tolerance[y * picture.width() + x];
    allowed = qMax(blur, kept > 0 ? qMin(255, allowed + spread) : 0);
}

void PlainScene::fill(const QRect &area, const QColor &color, double alpha)
{
    const QRect seen = area & QRect(QPoint(), view);
    const double value[] = {color.redF(), color.greenF(), color.blueF()};
    for (int y = seen.y() * ratio; y < (seen.y() + seen.height()) * ratio; ++y) {
        for (int x = seen.x() * ratio; x < (seen.x() + seen.width()) * ratio; ++x)
            put(x, y, value, alpha, 1 - alpha, 0);
    }
}

void PlainScene::image(const QImage &source,
                       const QRect &area,
                       int flip,
                       double opacity,
                       int effect,
                       bool mask,
                       Blend blend)
{
    const auto texel = [](double place, int count, bool mirrored, int &blur) {
        const double at = (mirrored ? 1 - place : place) * count;
        if (std::abs(at - std::round(at)) < 0.03)
            blur = 255;
        return qBound(0, int(at), count - 1);
    };
    const QRect seen = area.isEmpty() ? QRect() : area & QRect(QPoint(), view);
    for (int y = seen.y() * ratio; y < (seen.y() + seen.height()) * ratio; ++y) {
        for (int x = seen.x() * ratio; x < (seen.x() + seen.width()) * ratio; ++x) {
            int blur = 0;
            const double u = ((x + 0.5) / ratio - area.x()) / area.width();
            const double v = ((y + 0.5) / ratio - area.y()) / area.height();
            const QRgb c = source.pixel(texel(u, source.width(), flip & 1, blur),
                                        texel(v, source.height(), flip & 2, blur));
            double color[] = {qRed(c) / 255.0, qGreen(c) / 255.0, qBlue(c) / 255.0};
            for (double &channel : color) {
                channel = effect == 1 ? qRed(c) / 255.0 : channel;
                channel = qBound(0.0, channel + (effect == 2 ? 0.5 : effect == 3 ? -0.5 : 0), 1.0);
            }
            const double alpha = mask ? qAlpha(c) / 255.0 : 1;
            const double share = blend == BlendNone ? 1 : alpha * opacity;
            if (alpha > 0 || blur)
                put(x, y, color, blend == BlendSubtract ? -share : share,
                    blend > BlendAlpha ? 1 : 1 - share, qMax(blur, effect > 1 ? 1 : 0));
        }
    }
}

/// The pattern's dots come from Qt; where they stand and in which direction they run is checked.
void PlainScene::hatch(const QRect &area, const QColor &color, Qt::BrushStyle style)
{
    if (ratio != 1) {
        unsure(area);
        return;
    }
    QImage dots(8, 8, QImage::Format_RGB32);
    dots.fill(Qt::white);
    QPainter(&dots).fillRect(0, 0, 8, 8, QBrush(Qt::black, style));
    const QRect seen = area & QRect(QPoint(), view);
    for (int y = seen.y(); y < seen.y() + seen.height(); ++y) {
        for (int x = seen.x(); x < seen.x() + seen.width(); ++x) {
            if (qRed(dots.pixel(x % 8, y % 8)) == 0)
                fill(QRect(x, y, 1, 1), color);
        }
    }
}

void PlainScene::unsure(const QRect &area)
{
    const QRect seen = area & QRect(QPoint(), view);
    for (int y = seen.y() * ratio; y < (seen.y() + seen.height()) * ratio; ++y) {
        for (int x = seen.x() * ratio; x < (seen.x() + seen.width()) * ratio; ++x)
            tolerance[y * picture.width() + x] = 255;
    }
}

void PlainScene::clear()
{
    picture = QImage(view * ratio, QImage::Format_RGB32);
    tolerance.fill(0, picture.width() * picture.height());
    for (int y = 0; y < picture.height(); ++y) {
        const double t = (y + 0.5) / picture.height();
        const double color[] = {top.redF() + (bottom.redF() - top.redF()) * t,
                                top.greenF() + (bottom.greenF() - top.greenF()) * t,
                                top.blueF() + (bottom.blueF() - top.blueF()) * t};
        for (int x = 0; x < picture.width(); ++x)
            put(x, y, color, 1, 0, top == bottom ? 0 : 4);
    }
}

void PlainScene::paint()
{
    clear();
    if (!stage.isNull())
        image(stage,
              {origin + away(stagePosition, zoom),
               QSize(away(stage.width() * zoom), away(stage.height() * zoom))},
              0, 1, 0);
    if (spriteOverGuides)
        paintGuides();
    if (!onion.isNull())
        image(onion,
              {anchor(crosses[0].mode, crosses[0].parent) + away(onionOffset, zoom),
               QSize(away(onion.width() * zoom), away(onion.height() * zoom))},
              0, onionOpacity, onionEffect);
    for (const Sprite &sprite : qAsConst(sprites)) {
        if (sprite.layer == 0)
            image(sprite.picture,
                  {anchor(sprite.mode, sprite.parent) + offset(sprite), sizeOf(sprite)},
                  sprite.flip, sprite.opacity, 0);
    }
    if (contactOverCross)
        paintCrosses();
    paintBoxes(1);
    paintBoxes(0);
    paintHandles();
    if (!contactOverCross)
        paintCrosses();
    if (!spriteOverGuides)
        paintGuides();
    if (rulersVisible)
        paintRulers();
}

void PlainScene::paintBoxes(int group)
{
    const int t = thickness();
    for (const Box &box : boxesVisible[group] ? boxes[group] : QVector<Box>()) {
        const QRect area = boxArea(box.rect);
        const int x = area.x(), y = area.y(), w = area.width(), h = area.height();
        if (box.selected)
            hatch(area, boxColors[group], group == 1 ? Qt::FDiagPattern : Qt::BDiagPattern);
        if (w > t && h > t)
            fill({x + t, y + t, w - t, h - t}, boxColors[group], boxOpacity / 2);
        fill({x, y, t, h}, boxColors[group]);
        fill({x, y, w, t}, boxColors[group]);
        fill({x + w - t, y, t, h}, boxColors[group]);
        fill({x, y + h - t, w, t}, boxColors[group]);
    }
}

void PlainScene::paintHandles()
{
    for (const QPoint &place : handlePlaces) {
        if (!handlesShown)
            return;
        const QPoint corner = handle(place);
        fill({corner, QSize(9, 9)}, Qt::gray);
        fill({corner + QPoint(1, 1), QSize(7, 7)}, Qt::white);
    }
}

void PlainScene::paintGuides()
{
    if (!guidesVisible)
        return;
    fill({0, int(guides.y() * zoom + origin.y()), view.width(), thickness()}, Qt::cyan);
    fill({int(guides.x() * zoom + origin.x()), 0, thickness(), view.height()}, Qt::cyan);
}

void PlainScene::paintCrosses()
{
    for (int i : {2, 1, 0}) {
        const QSize size = crossPictures[i].size();
        const QPoint half(size.width() / 2 * thickness(), size.height() / 2 * thickness());
        if (crosses[i].visible)
            image(crossPictures[i], {crossPoint(i) - half, size * thickness()}, 0, 1, 0);
    }
}

void PlainScene::paintRulers()
{
    fill({0, 0, 30, view.height()}, top);
    fill({30, 0, view.width() - 30, 30}, top);
    fill({10, 10, 10, view.height()}, bottom);
    fill({20, 10, view.width() - 10, 10}, bottom);
    const QColor ink(255 - top.red(), 255 - top.green(), 255 - top.blue());
    const int unit = int(10 / zoom);
    const int tick = int(unit * zoom);
    // The horizontal ruler, and then the same with the axes exchanged.
    for (bool across : {true, false}) {
        const int zero = across ? origin.x() : origin.y();
        const int length = across ? view.width() : view.height();
        int at = (zero - 30) % tick + 30;
        const int first = at;
        for (int i = 0; i < (length - 30) / tick + 1; ++i, at += tick) {
            const bool longMark = (zero - at) / tick % 5 == 0;
            const int from = longMark ? 20 : 24;
            fill(across ? QRect(at, from, 1, 30 - from) : QRect(from, at, 30 - from, 1), ink);
            if (longMark && at != first)
                label((at - zero) / tick * unit,
                      across ? QRect(at - 5 * tick, 0, 10 * tick, 30)
                             : QRect(0, at - 5 * tick, 30, 10 * tick),
                      ink);
        }
    }
}

/// A number in the middle of an area, in letters small enough for the vertical ruler.
void PlainScene::label(int number, const QRect &area, const QColor &ink)
{
    const QString text = QString::number(number);
    QFont font = QApplication::font();
    for (int size = QFontInfo(font).pixelSize();
         size > 6 && QFontMetrics(font).horizontalAdvance(text) > 28;)
        font.setPixelSize(--size);
    QImage letters(area.size() * ratio, QImage::Format_ARGB32_Premultiplied);
    letters.setDevicePixelRatio(ratio);
    letters.fill(Qt::transparent);
    QPainter writer(&letters);
    writer.setFont(font);
    writer.setPen(ink);
    writer.drawText(QRect(QPoint(), area.size()), Qt::AlignCenter, text);
    writer.end();
    QPainter painter(&picture);
    painter.setClipRect(QRect(QPoint(), view * ratio));
    painter.drawImage(QRect(area.topLeft() * ratio, letters.size()), letters);
}

QString PlainScene::differences(const QImage &other) const
{
    if (other.size() != picture.size())
        return QString("another size");
    int wrong = 0;
    QString first;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb a = picture.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            const int most = qMax(qAbs(qRed(a) - qRed(b)),
                                  qMax(qAbs(qGreen(a) - qGreen(b)), qAbs(qBlue(a) - qBlue(b))));
            const int allowed = tolerance[y * picture.width() + x];
            if (most > allowed && ++wrong == 1) {
                first = QString("%1, %2: %3 instead of %4, by more than %5")
                            .arg(x)
                            .arg(y)
                            .arg(b, 0, 16)
                            .arg(a, 0, 16)
                            .arg(allowed);
            }
        }
    }
    return wrong ? QString("%1 pixels, the first at %2").arg(wrong).arg(first) : QString();
}
