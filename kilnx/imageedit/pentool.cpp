#include <kilnx/imageedit/pentool.h>

#include <kilnx/imageedit/imagerenderer.h>
#include <kilnx/imageedit/paletteremapwidget.h>
#include <kilnx/imageedit/reach_p.h>

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>

namespace Kiln
{

namespace
{

constexpr int largestPen = 24;

void drawHollowSquare(QPainter &painter, QPoint at, int side, const QColor &color)
{
    painter.fillRect(QRect(at, QSize(side, 1)), color);
    painter.fillRect(QRect(at + QPoint(0, side - 1), QSize(side, 1)), color);
    painter.fillRect(QRect(at, QSize(1, side)), color);
    painter.fillRect(QRect(at + QPoint(side - 1, 0), QSize(1, side)), color);
}

int outlineSide(int penSize, double zoom)
{
    return qRound(penSize * zoom + 2);
}

} // namespace

// --- BasePenTool

BasePenTool::BasePenTool(ImageRenderer *renderer)
    : ImageTool(renderer)
    , size(new QSlider(Qt::Horizontal))
{
    size->setRange(1, largestPen);
    size->setObjectName(QStringLiteral("penSize"));
    size->setAccessibleName(tr("Pen size"));
    auto *row = new QHBoxLayout(options);
    row->setContentsMargins(1, 1, 1, 1);
    row->setSpacing(4);
    row->addWidget(size);
}

int BasePenTool::penSize() const
{
    return size ? size->value() : 1;
}

bool BasePenTool::keyPressed(int key)
{
    if (!size || (key != Qt::Key_Plus && key != Qt::Key_Minus))
        return false;
    const int before = size->value();
    size->setValue(before + (key == Qt::Key_Plus ? 1 : -1));
    return size && size->value() != before;
}

void BasePenTool::mousePressed(Qt::KeyboardModifiers modifiers,
                               Qt::MouseButton button,
                               QPoint screen,
                               QPoint image,
                               QCursor &)
{
    if (!renderer || !renderer->paintedLayer())
        return;
    leftButton = button & Qt::LeftButton;
    shiftDown = modifiers & Qt::ShiftModifier;
    m_hasStep = !undoable;
    press(screen, withinReach(image));
    if (openStep(imagePos))
        apply(imagePos);
}

void BasePenTool::mouseReleased(Qt::KeyboardModifiers, Qt::MouseButton, QPoint, QPoint, QCursor &)
{
    if (std::exchange(pressed, false) && renderer)
        renderer->canvas.settleEdit();
}

void BasePenTool::mouseMoved(Qt::KeyboardModifiers,
                             Qt::MouseButton,
                             QPoint,
                             QPoint image,
                             QCursor &cursor)
{
    cursor.setShape(Qt::CrossCursor);
    const QPoint to = withinReach(image);
    if (!pressed || to == imagePos)
        return;
    const QPointer<BasePenTool> alive(this);
    if (openStep(to))
        apply(to);
    if (alive)
        imagePos = to; // the next piece starts where this one ended
}

QRect BasePenTool::pieceArea(const QPoint &image) const
{
    const QSize pen(penSize(), penSize());
    const QRect area = QRect(imagePos, pen) | QRect(image, pen);
    return shiftDown && joinsStrokes ? area | QRect(lastPos, pen) : area;
}

/// A stroke is one step of undo, from its first piece on that can reach the picture. Whether the
/// piece can be painted.
bool BasePenTool::openStep(const QPoint &image)
{
    const RasterLayer *layer = renderer ? renderer->paintedLayer() : nullptr;
    if (!layer || m_hasStep || !pieceArea(image).intersects(layer->image.rect()))
        return layer;
    const QPointer<BasePenTool> alive(this);
    const bool isOpen = renderer->beginEdit();
    if (alive)
        m_hasStep = isOpen;
    return alive && isOpen && pressed;
}

void BasePenTool::apply(const QPoint &image)
{
    if (ImagePainter *painter = renderer ? renderer->painter() : nullptr)
        applyWith(image, *painter);
}

void BasePenTool::applyWith(const QPoint &image, ImagePainter &painter)
{
    const QRect area = pieceArea(image);
    painter.penSize = penSize();
    stroke(image, &painter);
    touch(area);
    Q_EMIT changed();
}

void BasePenTool::drawPiece(const QPoint &image, ImagePainter &painter) const
{
    if (image == imagePos)
        painter.drawPoint(image);
    else
        painter.drawLine(imagePos, image);
}

QRect BasePenTool::cursorArea(QPoint at, double zoom) const
{
    const int side = outlineSide(penSize(), zoom) + 2;
    return QRect(at - QPoint(2, 2), QSize(side, side));
}

void BasePenTool::paintCursor(QPainter &painter, QPoint at, double zoom)
{
    const int side = outlineSide(penSize(), zoom);
    drawHollowSquare(painter, at - QPoint(1, 1), side, Qt::white);
    drawHollowSquare(painter, at - QPoint(2, 2), side + 2, Qt::black);
}

// --- PenTool

PenTool::PenTool(ImageRenderer *renderer)
    : BasePenTool(renderer)
{
    setObjectName(QStringLiteral("spr_tool_pen"));
    joinsStrokes = true;
}

void PenTool::stroke(const QPoint &image, ImagePainter *painter)
{
    if (painter->palette)
        painter->setColor(leftButton ? painter->palette->foregroundIndex()
                                     : painter->palette->backgroundIndex());
    if (shiftDown)
        painter->drawLine(lastPos, image);
    else
        drawPiece(image, *painter);
    lastPos = image;
}

// --- EraserTool

EraserTool::EraserTool(ImageRenderer *renderer)
    : BasePenTool(renderer)
{
    setObjectName(QStringLiteral("spr_tool_eraser"));
}

void EraserTool::stroke(const QPoint &image, ImagePainter *painter)
{
    if (!painter->palette)
        return;
    painter->setColor(painter->palette->backgroundIndex());
    if (!leftButton)
        painter->replacements.insert(painter->palette->foregroundIndex(),
                                     painter->palette->backgroundIndex());
    drawPiece(image, *painter);
    painter->replacements.clear();
}

// --- ReplaceTool

ReplaceTool::ReplaceTool(ImageRenderer *renderer)
    : BasePenTool(renderer)
    , m_pairs(new PaletteRemapWidget(true))
{
    setObjectName(QStringLiteral("spr_tool_remap_pen"));
    m_pairs->setCount(PaletteRemapWidget::pairCount);
    static_cast<QHBoxLayout *>(options->layout())->insertWidget(0, m_pairs);
    m_pairs->setColors(renderer->canvas.palette);
    connect(renderer->canvas.palette, &ImagePalette::paletteChanged, this,
            &ReplaceTool::palChanged);
}

PaletteRemapWidget *ReplaceTool::pairs() const
{
    return m_pairs;
}

void ReplaceTool::palChanged()
{
    if (m_pairs)
        m_pairs->update();
}

bool ReplaceTool::keyPressed(int key)
{
    if (key == Qt::Key_Up || key == Qt::Key_Down)
        return m_pairs && m_pairs->setCurrent(m_pairs->current() + (key == Qt::Key_Down ? 1 : -1));
    return BasePenTool::keyPressed(key);
}

void ReplaceTool::mousePressed(Qt::KeyboardModifiers modifiers,
                               Qt::MouseButton button,
                               QPoint screen,
                               QPoint image,
                               QCursor &cursor)
{
    undoable = !(modifiers & Qt::ShiftModifier); // with Shift it only picks
    BasePenTool::mousePressed(modifiers, button, screen, image, cursor);
}

bool ReplaceTool::paletteClicked(bool rightButton, unsigned char index)
{
    if (!m_pairs)
        return false;
    if (rightButton)
        m_pairs->setSecond(index);
    else
        m_pairs->setFirst(index);
    return true;
}

/// A pair of one colour twice, as all are at the start, says nothing: it would stand in the way of
/// a pair that says something about that colour.
void ReplaceTool::stroke(const QPoint &image, ImagePainter *painter)
{
    if (!m_pairs)
        return;
    if (shiftDown) {
        if (painter->image->valid(imagePos))
            paletteClicked(!leftButton, painter->colorAt(imagePos));
        return;
    }
    for (int cell = 0; cell < m_pairs->count(); ++cell) {
        const QPoint pair = m_pairs->pair(cell);
        const auto first = static_cast<unsigned char>(leftButton ? pair.x() : pair.y());
        const auto second = static_cast<unsigned char>(leftButton ? pair.y() : pair.x());
        if (first != second)
            painter->replacements.insert(first, second);
    }
    if (painter->replacements.isEmpty())
        return;
    drawPiece(image, *painter);
    painter->replacements.clear();
}

// --- PenSelTool

PenSelTool::PenSelTool(ImageRenderer *renderer)
    : BasePenTool(renderer)
    , m_painter(&m_colors, nullptr)
{
    setObjectName(QStringLiteral("spr_tool_freesel"));
    undoable = false;
    selectionChanged();
}

void PenSelTool::selectionChanged()
{
    m_painter.image = renderer ? &renderer->canvas.selection.mask : nullptr;
}

void PenSelTool::mousePressed(Qt::KeyboardModifiers modifiers,
                              Qt::MouseButton button,
                              QPoint screen,
                              QPoint image,
                              QCursor &cursor)
{
    if (renderer && renderer->paintedLayer()) {
        bool &isActive = renderer->canvas.selection.active;
        m_isAdding = isActive && button != Qt::RightButton;
        isActive = button == Qt::RightButton;
    }
    m_painter.setColor(button == Qt::RightButton ? m_colors.backgroundIndex()
                                                 : m_colors.foregroundIndex());
    BasePenTool::mousePressed(modifiers, button, screen, image, cursor);
}

void PenSelTool::mouseReleased(Qt::KeyboardModifiers modifiers,
                               Qt::MouseButton button,
                               QPoint screen,
                               QPoint image,
                               QCursor &cursor)
{
    const bool painted = pressed;
    BasePenTool::mouseReleased(modifiers, button, screen, image, cursor);
    endAdding();
    if (painted && renderer)
        renderer->canvas.announceSelection();
}

void PenSelTool::layerChanged()
{
    if (!pressed)
        endAdding();
}

/// While pixels are added, the mask binds nobody; then it does again.
void PenSelTool::endAdding()
{
    if (std::exchange(m_isAdding, false) && renderer)
        renderer->canvas.selection.active = true;
}

void PenSelTool::apply(const QPoint &image)
{
    if (renderer && renderer->paintedLayer())
        applyWith(image, m_painter);
}

void PenSelTool::stroke(const QPoint &image, ImagePainter *painter)
{
    drawPiece(image, *painter);
}

} // namespace Kiln
