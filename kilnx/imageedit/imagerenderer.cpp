#include <kilnx/imageedit/imagerenderer.h>

#include <kilnx/image/imagepalette.h>
#include <kilnx/imageedit/colorpalette.h>
#include <kilnx/imageedit/imagerenderer_p.h>
#include <kilnx/imageedit/pentool.h>

#include <QtCore/QScopedValueRollback>
#include <QtGui/QKeyEvent>

#include <algorithm>
#include <cmath>

namespace Kiln
{

namespace
{

constexpr double zoomFactors[] = {0.125, 0.25, 0.5, 1, 2, 3, 4, 6, 8, 12, 16, 24, 32};
constexpr int zoomSteps = int(std::size(zoomFactors));
constexpr int actualStep = 3;
constexpr int notch = 120;
/// Farther out nothing is drawn, and positions stay far from where numbers end.
constexpr int farthest = 1 << 20;
constexpr int optionsHeight = 26;

QPoint bounded(double x, double y)
{
    return {int(qBound(-double(farthest), x, double(farthest))),
            int(qBound(-double(farthest), y, double(farthest)))};
}

} // namespace

ImageRenderer::ImageRenderer(ImagePalette *palette, QObject *parent)
    : QObject(parent)
    , canvas(palette)
    , d(std::make_unique<ImageRendererPrivate>(this))
{
    d->showLayers = d->showSelection = d->showGrid = true;
    d->zoomStep = actualStep;
    makeTools();
    connectCanvas();
    setActiveTool(CanvasMove);
}

ImageRenderer::~ImageRenderer()
{
    canvas.disconnect(this);
    canvas.layers.disconnect(this);
    canvas.undoStack.disconnect(this);
    if (d->watched)
        d->watched->removeEventFilter(this);
    for (ImageTool *tool : d->tools)
        delete tool;
    delete d->options;
}

void ImageRenderer::makeTools()
{
    d->tools = {new CanvasMoveTool(this), new SelMoveTool(this), new RectSelTool(this),
                new PenSelTool(this),     new PickerTool(this),  new PenTool(this),
                new EraserTool(this),     new ReplaceTool(this), new FloodFillTool(this)};
    d->options = new QWidget;
    d->options->setObjectName(QStringLiteral("toolOptions"));
    d->options->setMaximumHeight(optionsHeight);
    d->stack = new QStackedLayout(d->options);
    for (ImageTool *tool : d->tools) {
        d->stack->addWidget(tool->options);
        connect(tool, &ImageTool::changed, this, [this, tool] { toolChanged(tool); });
        if (auto *pen = qobject_cast<BasePenTool *>(tool))
            connect(pen->size, &QSlider::valueChanged, this, [this] { d->updateOverlay(); });
    }
}

void ImageRenderer::connectCanvas()
{
    connect(&canvas, &ImageCanvas::imageChanged, this, &ImageRenderer::imageChanged);
    connect(&canvas, &ImageCanvas::selectionChanged, this, &ImageRenderer::selectionChanged);
    connect(&canvas, &ImageCanvas::sizeChanged, this, [this] { imageChanged({}); });
    connect(&canvas, &ImageCanvas::formatChanged, this, [this] { imageChanged({}); });
    connect(&canvas.layers, &ImageLayers::layersChanged, this, &ImageRenderer::layersChanged);
    connect(&canvas.undoStack, &QUndoStack::indexChanged, this, &ImageRenderer::endDrag);
    connect(canvas.palette, &ImagePalette::paletteChanged, this, [this] { imageChanged({}); });
}

// --- Tools

ImageTool *ImageRenderer::tool(int position) const
{
    return position >= 0 && position < ToolCount ? d->tools[size_t(position)] : nullptr;
}

ImageTool *ImageRenderer::activeTool() const
{
    return tool(d->active);
}

int ImageRenderer::activePosition() const
{
    return d->active;
}

void ImageRenderer::setActiveTool(int position)
{
    ImageTool *chosen = tool(position);
    if (!chosen)
        return;
    activeTool()->interrupt();
    d->held = Qt::NoButton;
    d->active = position;
    if (d->stack)
        d->stack->setCurrentIndex(position);
    if (auto *colors = qobject_cast<ColorPalette *>(canvas.palette))
        colors->setTool(chosen);
    chosen->activate();
    QCursor cursor = d->watched ? d->watched->cursor() : QCursor();
    chosen->mouseMoved(Qt::NoModifier, Qt::NoButton, d->pointer, toImage(d->pointer), cursor);
    showCursor(cursor);
    d->overlay = d->overlayArea();
    update();
    Q_EMIT activeToolChanged(position);
}

QWidget *ImageRenderer::toolOptions() const
{
    return d->options;
}

/// What the tool says it has changed reaches everybody through the canvas.
void ImageRenderer::toolChanged(ImageTool *tool)
{
    const QRect area = tool->takeTouched().intersected(QRect(QPoint(), canvas.size));
    if (area.isEmpty())
        return;
    if (qobject_cast<PenSelTool *>(tool)) {
        d->maskTiles.invalidate(area);
        updateArea(d->screenArea(area).adjusted(-1, -1, 1, 1));
        return;
    }
    const QScopedValueRollback<bool> own(d->ownChange, true);
    canvas.announceImage(area);
}

/// After steps of undo that the tool did not push itself, and where no release will come.
void ImageRenderer::endDrag()
{
    if (d->ownChange)
        return;
    activeTool()->interrupt();
    d->held = Qt::NoButton;
}

// --- Layers

ImageLayer *ImageRenderer::currentLayer() const
{
    return d->current;
}

void ImageRenderer::setCurrentLayer(ImageLayer *layer)
{
    if (layer == d->current || (layer && canvas.layers.indexOf(layer) < 0))
        return;
    endDrag();
    d->current = layer;
    if (!d->showLayers)
        d->invalidate(QRect(QPoint(), canvas.size));
    activeTool()->layerChanged();
    Q_EMIT currentLayerChanged();
}

void ImageRenderer::layersChanged()
{
    if (d->current && canvas.layers.indexOf(d->current) < 0)
        setCurrentLayer(nullptr);
}

RasterLayer *ImageRenderer::paintedLayer() const
{
    auto *raster = dynamic_cast<RasterLayer *>(d->current);
    const bool can =
        raster && raster->visible && raster->image.format() == canvas.pixelFormat(canvas.format);
    return can ? raster : nullptr;
}

ImagePainter *ImageRenderer::painter()
{
    RasterLayer *layer = paintedLayer();
    canvas.painter->image = layer ? &layer->image : nullptr;
    return layer ? canvas.painter.get() : nullptr;
}

RasterLayer *ImageRenderer::beginEdit()
{
    RasterLayer *layer = paintedLayer();
    if (!layer)
        return nullptr;
    const QScopedValueRollback<bool> own(d->ownChange, true);
    layer->pushEdit();
    return paintedLayer();
}

// --- The canvas

void ImageRenderer::imageChanged(const QRect &area)
{
    d->invalidate(area.isEmpty() ? QRect(QPoint(), canvas.size) : area);
    if (area.isEmpty())
        update();
    if (!d->ownChange)
        activeTool()->layerChanged();
}

void ImageRenderer::selectionChanged()
{
    d->maskTiles.clear();
    update();
    for (ImageTool *tool : d->tools)
        tool->selectionChanged();
}

// --- The view

QPoint ImageRenderer::offset() const
{
    return d->offset;
}

void ImageRenderer::setOffset(QPoint offset)
{
    d->offset = bounded(offset.x(), offset.y());
    d->overlay = d->overlayArea();
    update();
}

double ImageRenderer::zoom() const
{
    return zoomFactors[d->zoomStep];
}

void ImageRenderer::setZoom(double factor)
{
    const auto nearer = [factor](double a, double b) {
        return std::abs(a - factor) < std::abs(b - factor);
    };
    const double *step = std::min_element(zoomFactors, zoomFactors + zoomSteps, nearer);
    setZoomStep(int(step - zoomFactors), d->mainView().center());
}

void ImageRenderer::setZoomStep(int step, QPoint fixed)
{
    step = qBound(0, step, zoomSteps - 1);
    if (step == d->zoomStep)
        return;
    const double factor = zoomFactors[step] / zoom();
    const QPointF from = QPointF(fixed) - d->offset;
    d->zoomStep = step;
    setOffset(bounded(std::round(fixed.x() - from.x() * factor),
                      std::round(fixed.y() - from.y() * factor)));
    if (d->pointerInside)
        moveCursor(d->pointer);
    Q_EMIT zoomChanged();
}

QPoint ImageRenderer::toImage(QPoint screen) const
{
    return bounded(std::floor((double(screen.x()) - d->offset.x()) / zoom()),
                   std::floor((double(screen.y()) - d->offset.y()) / zoom()));
}

QPoint ImageRenderer::toScreen(QPoint image) const
{
    return bounded(d->offset.x() + std::floor(image.x() * zoom()),
                   d->offset.y() + std::floor(image.y() * zoom()));
}

float ImageRenderer::zoomFactor() const
{
    return float(zoom());
}

void ImageRenderer::addZoom()
{
    setZoomStep(d->zoomStep + 1, d->mainView().center());
}

void ImageRenderer::subZoom()
{
    setZoomStep(d->zoomStep - 1, d->mainView().center());
}

void ImageRenderer::zoomActual()
{
    setZoomStep(actualStep, d->mainView().center());
}

void ImageRenderer::centralize()
{
    const QSizeF shown = QSizeF(canvas.size) * zoom();
    const QRect view = d->mainView();
    setOffset(bounded(view.x() + std::floor((view.width() - shown.width()) / 2),
                      view.y() + std::floor((view.height() - shown.height()) / 2)));
}

void ImageRenderer::setShowLayers(bool shown)
{
    d->showLayers = shown;
    d->invalidate(QRect(QPoint(), canvas.size));
    update();
}

bool ImageRenderer::showLayers() const
{
    return d->showLayers;
}

void ImageRenderer::setShowSelection(bool shown)
{
    d->showSelection = shown;
    update();
}

bool ImageRenderer::showSelection() const
{
    return d->showSelection;
}

void ImageRenderer::setShowGrid(bool shown)
{
    d->showGrid = shown;
    update();
}

bool ImageRenderer::showGrid() const
{
    return d->showGrid;
}

void ImageRenderer::setViewOriginal(bool shown)
{
    d->viewOriginal = shown;
    update();
}

bool ImageRenderer::viewOriginal() const
{
    return d->viewOriginal;
}

void ImageRenderer::setChecks(const QColor &first, const QColor &second)
{
    d->checks[0] = first;
    d->checks[1] = second;
    update();
}

void ImageRenderer::setBackground(const QColor &color)
{
    d->background = color;
    update();
}

QColor ImageRenderer::clearColor() const
{
    return d->background;
}

const QImage &ImageRenderer::picture()
{
    d->compose();
    return d->picture;
}

/// The view is in the middle of the first widget that shows it; later ones keep what was there.
void ImageRenderer::sizeChanged(int width, int height)
{
    const bool first = d->view.isEmpty();
    d->view = QSize(width, height);
    if (d->watched != widget()) {
        if (d->watched)
            d->watched->removeEventFilter(this);
        d->watched = widget();
        if (d->watched)
            d->watched->installEventFilter(this);
        d->tiles.clear();
        d->maskTiles.clear();
    }
    if (first)
        centralize();
}

// --- Mouse and keys

void ImageRenderer::mousePressed(QPoint position,
                                 Qt::MouseButton button,
                                 Qt::KeyboardModifiers modifiers)
{
    const bool otherHeld = d->held != Qt::NoButton && d->held != button;
    if (otherHeld || (d->viewOriginal && !d->mainView().contains(position)))
        return;
    const QPointer<ImageRenderer> alive(this);
    activeTool()->interrupt(); // a release got lost
    d->held = button;
    d->heldByKey = false;
    QCursor cursor = d->watched ? d->watched->cursor() : QCursor();
    activeTool()->mousePressed(modifiers, button, position, toImage(position), cursor);
    if (!alive)
        return;
    showCursor(cursor);
    moveCursor(position);
}

void ImageRenderer::mouseReleased(QPoint position,
                                  Qt::MouseButton button,
                                  Qt::KeyboardModifiers modifiers)
{
    if (d->held != button)
        return;
    const QPointer<ImageRenderer> alive(this);
    d->held = Qt::NoButton;
    QCursor cursor = d->watched ? d->watched->cursor() : QCursor();
    activeTool()->mouseReleased(modifiers, button, position, toImage(position), cursor);
    if (!alive)
        return;
    showCursor(cursor);
    d->updateOverlay();
}

void ImageRenderer::mouseMoved(QPoint position, Qt::KeyboardModifiers modifiers)
{
    const QPointer<ImageRenderer> alive(this);
    QCursor cursor = d->watched ? d->watched->cursor() : QCursor();
    activeTool()->mouseMoved(modifiers, d->held, position, toImage(position), cursor);
    if (!alive)
        return;
    showCursor(cursor);
    moveCursor(position);
}

void ImageRenderer::moveCursor(QPoint position)
{
    const QPoint image = toImage(position);
    const bool differs = image != d->pointed || !d->pointerInside;
    d->pointer = position;
    d->pointed = image;
    d->pointerInside = true;
    d->updateOverlay();
    if (differs)
        Q_EMIT cursorChanged(image);
}

void ImageRenderer::showCursor(const QCursor &cursor)
{
    if (d->watched && d->watched->cursor().shape() != cursor.shape())
        d->watched->setCursor(cursor);
}

void ImageRenderer::mouseWheel(int delta)
{
    d->wheelRest += qBound(-farthest, delta, farthest);
    const int notches = d->wheelRest / notch;
    d->wheelRest -= notches * notch;
    setZoomStep(d->zoomStep + qBound(-zoomSteps, notches, zoomSteps),
                d->pointerInside ? d->pointer : d->mainView().center());
}

void ImageRenderer::keyPressed(int key, Qt::KeyboardModifiers modifiers)
{
    const QPointer<ImageRenderer> alive(this);
    const bool pointerKey = modifiers & Qt::ControlModifier;
    if (!pointerKey && activeTool()->keyPressed(key))
        return;
    if (!alive || moveByKey(key, modifiers))
        return;
    if (key == Qt::Key_Plus || key == Qt::Key_Minus) {
        setZoomStep(d->zoomStep + (key == Qt::Key_Plus ? 1 : -1), d->mainView().center());
    } else if (key == Qt::Key_Space && (d->held == Qt::NoButton || d->heldByKey)) {
        mousePressed(d->pointer, pointerKey ? Qt::RightButton : Qt::LeftButton,
                     modifiers & ~Qt::ControlModifier);
        if (alive)
            d->heldByKey = true;
    }
}

void ImageRenderer::keyReleased(int key, Qt::KeyboardModifiers modifiers)
{
    if (key == Qt::Key_Space && d->heldByKey && d->held != Qt::NoButton)
        mouseReleased(d->pointer, d->held, modifiers & ~Qt::ControlModifier);
}

/// Moves the pointer over the picture, and the canvas where it would leave the view.
bool ImageRenderer::moveByKey(int key, Qt::KeyboardModifiers modifiers)
{
    const QPoint way((key == Qt::Key_Right) - (key == Qt::Key_Left),
                     (key == Qt::Key_Down) - (key == Qt::Key_Up));
    if (way.isNull())
        return false;
    const int stride = modifiers & Qt::ShiftModifier ? 8 : 1;
    const int middle = int(zoom() / 2);
    QPoint to = toScreen(toImage(d->pointer) + way * stride) + QPoint(middle, middle);
    if (zoom() < 1) // pixels share one of the screen
        to = d->pointer + way * stride;
    const QRect view = d->mainView();
    const QPoint inside(qBound(view.left(), to.x(), view.right()),
                        qBound(view.top(), to.y(), view.bottom()));
    if (inside != to && activePosition() != CanvasMove) {
        setOffset(d->offset + inside - to);
        to = inside;
    }
    mouseMoved(to, d->held == Qt::NoButton ? modifiers : Qt::NoModifier);
    return true;
}

bool ImageRenderer::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::WindowBlocked:
    case QEvent::Hide:
        endDrag(); // the release will not come
        break;
    case QEvent::FocusOut:
        if (d->heldByKey)
            endDrag();
        break;
    case QEvent::Leave:
        d->pointerInside = false;
        d->updateOverlay();
        break;
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        // A key that is held down is one press of the button.
        const auto *key = static_cast<QKeyEvent *>(event);
        return key->key() == Qt::Key_Space && key->isAutoRepeat();
    }
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace Kiln
