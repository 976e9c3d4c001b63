// What the animation editor shows in the viewport, and what is dragged and drawn there.

#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/editors/animationdlgs.h>
#include <kilnx/editors/animationeditor_p.h>
#include <kilnx/image/spritemime.h>
#include <kilnx/project/interface.h>
#include <kilnx/render/graphicsworkspace.h>

#include <QtGui/QDropEvent>
#include <QtWidgets/QAction>
#include <QtWidgets/QSplitter>

namespace Kiln
{

namespace
{

constexpr unsigned char aroundMainCross = GraphicsRenderer::PlaceCross;
constexpr unsigned char onBothAxes = GraphicsRenderer::DragX | GraphicsRenderer::DragY;

} // namespace

void AnimationEditorPrivate::connectView()
{
    renderer->setItemPositionMode(GraphicsRenderer::ItemCrossMain, GraphicsRenderer::PlaceOrigin);
    connect(renderer, &GraphicsRenderer::itemMoved, this,
            [this](GraphicsRenderer::ItemType type, void *item, QPoint position) {
                editor->itemMoved(type, item, position);
            });
    connect(renderer, &GraphicsRenderer::itemReleased, this,
            [this](GraphicsRenderer::ItemType type, void *item, QPoint position) {
                editor->itemReleased(type, item, position);
            });
    connect(renderer, &GraphicsRenderer::contactDrawingExit, this, [this] {
        Q_EMIT attackBoxesDrawn(false);
        Q_EMIT collisionBoxesDrawn(false);
    });
    connect(renderer, &GraphicsRenderer::removingContactBoxes, this, [this](bool begins) {
        if (begins)
            beginWrite();
        else
            endWrite();
    });
    connect(renderer, &GraphicsRenderer::cursorChanged, this, [this](QPoint position) {
        mouse = position;
        tellCursor();
    });
    connect(renderer, &GraphicsRenderer::guideLinesMoved, this, [this](QPoint guides) {
        interface->setOption(QStringLiteral("guide_x"), guides.x());
        interface->setOption(QStringLiteral("guide_y"), guides.y());
        tellCursor();
    });
    connect(graphics, &GraphicsWorkspace::paintingChanged, this,
            &AnimationEditorPrivate::tellRenderer);
    connect(graphics, &GraphicsWorkspace::extraAxisChanged, this, [this](QPoint position) {
        if (axisDialog)
            axisDialog->setPosition(position);
    });
    if (const QAction *cross = interface->actionByKey("view_extra_cross"))
        connect(cross, &QAction::triggered, this, &AnimationEditorPrivate::showExtraAxis);
    connect(code->editor(), &CodeEditor::cursorChanged, this,
            &AnimationEditorPrivate::followCursor);
    if (TimeLineWidget *strip = graphics->timeLine())
        connect(strip, &TimeLineWidget::tickChanged, this, &AnimationEditorPrivate::tickChanged);
}

/// The text and the viewport side by side, as the widgets of their workspaces, or the viewport
/// alone. Other editors take the widgets away again when they are shown.
void AnimationEditorPrivate::showViews()
{
    if (stage != interface->currentProject()) {
        stage = interface->currentProject();
        graphics->reconfig();
    }
    if (!view) {
        view = new QSplitter;
        view->setObjectName(QStringLiteral("anim_view"));
        view->setChildrenCollapsible(false);
        view->setAccessibleName(text(46));
    }
    const bool withText = editor->isEditCodeMode();
    const bool isNew = view->count() < 2;
    if (withText && code->widget()->parentWidget() != view)
        view->insertWidget(0, code->widget());
    if (graphics->widget()->parentWidget() != view) {
        view->addWidget(graphics->widget());
        graphics->widget()->installEventFilter(this);
        graphics->widget()->setAcceptDrops(true);
    }
    if (code->widget()->parentWidget() == view)
        code->widget()->setVisible(withText);
    graphics->widget()->show();
    view->setFocusProxy(withText ? code->editor() : nullptr);
    // Shares, which hold in windows of any width.
    if (withText && isNew)
        view->setSizes({450, 550});
}

/// The first time, and when it would be out of sight, the origin goes where the ground is: in the
/// middle, with three quarters of the view above it.
void AnimationEditorPrivate::placeOrigin()
{
    const TimeLineWidget *strip = graphics->timeLine();
    const QSize whole = graphics->widget()->size();
    const QSize size = whole - QSize(0, strip && !strip->isHidden() ? strip->height() : 0);
    if (!editor->isActive() || size.isEmpty())
        return;
    const bool isKept = interface->option(QStringLiteral("origin_x"), QVariant()).isValid() ||
                        GraphicsRenderer::origin() != placed;
    constexpr int ruler = GraphicsRenderer::RulerWidth;
    const QRect seen = QRect(QPoint(), size).adjusted(ruler, ruler, -1, -1);
    if (isKept && seen.contains(GraphicsRenderer::origin()))
        return;
    placed = QPoint(size.width() / 2, size.height() * 3 / 4);
    GraphicsRenderer::setOrigin(placed);
}

bool AnimationEditorPrivate::eventFilter(QObject *watched, QEvent *event)
{
    const bool isView = watched == graphics->widget();
    if (event->type() == QEvent::Resize && isView)
        placeOrigin();
    const bool isDrop = event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove ||
                        event->type() == QEvent::Drop;
    if (isDrop && isView)
        takeSprites(static_cast<QDropEvent *>(event));
    return false;
}

/// Sprites that are dragged here become frames: behind the current one or, in the strip, behind the
/// one under the mouse.
void AnimationEditorPrivate::takeSprites(QDropEvent *event)
{
    const QStringList sprites = SpriteMime::identifiers(event->mimeData());
    if (sprites.isEmpty() || !editor->isActive() || !animation())
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (event->type() != QEvent::Drop)
        return;
    int before = frame() ? frameRow : -1;
    const TimeLineWidget *strip = graphics->timeLine();
    if (strip && strip->geometry().contains(event->pos()))
        before = frameAtTick(strip->tickAt(event->pos().x() - strip->x()));
    insertFrames(before + 1, sprites);
}

// --- The frame as a list of one sprite

unsigned int AnimationEditorPrivate::count()
{
    return shownSprite ? 1 : 0;
}

Sprite *AnimationEditorPrivate::spriteAt(unsigned int)
{
    return shownSprite;
}

/// During playback nothing can be dragged: it would be gone with the next frame.
QVariant AnimationEditorPrivate::property(unsigned int, unsigned int id)
{
    FrameCode *shown = frame();
    if (!shown || !shownSprite)
        return QVariant();
    const QVariant value = editor->spriteProperty(shown, shownSprite, id);
    return id == Placement && isPlaying() ? QVariant(value.toInt() & ~int(onBothAxes)) : value;
}

QVariant AnimationEditor::spriteProperty(FrameCode *frame, Sprite *sprite, unsigned int id)
{
    switch (id) {
    case SpriteProvider::Position:
        return frame->offset();
    case SpriteProvider::Placement:
        return int(aroundMainCross | onBothAxes);
    case SpriteProvider::Anchor:
        return int(GraphicsRenderer::ItemCrossMain);
    case SpriteProvider::Size:
        return QSize(sprite->imageInfo().width, sprite->imageInfo().height);
    case SpriteProvider::Scale:
        return QPointF(1, 1);
    case SpriteProvider::Layer:
        return 0;
    default:
        return QVariant();
    }
}

QPoint AnimationEditor::offsetToParentFromInterpolation(QPoint position)
{
    return position;
}

bool AnimationEditor::interpolateFrames(FrameCode *, int)
{
    return false;
}

void AnimationEditorPrivate::showSprite()
{
    shownSprite = spriteOf(frame());
    Q_EMIT changed();
}

void AnimationEditorPrivate::showBoxes()
{
    const FrameCode *shown = frame();
    renderer->setItemPositionMode(GraphicsRenderer::ItemContactBoxes,
                                  isPlaying() ? aroundMainCross : aroundMainCross | onBothAxes,
                                  GraphicsRenderer::ItemCrossMain);
    renderer->setContactBoxes(ContactBoxCode::Attack, shown ? shown->attackBoxes() : nullptr);
    renderer->setContactBoxes(ContactBoxCode::Collision, shown ? shown->collisionBoxes() : nullptr);
}

/// Sprites of a file that is destroyed are gone already.
void AnimationEditorPrivate::spritesGone()
{
    shownSprite = nullptr;
    renderer->setOnionSkinSprite(nullptr, QPoint());
    Q_EMIT changed();
    QMetaObject::invokeMethod(this, &AnimationEditorPrivate::showAll, Qt::QueuedConnection);
}

/// The frame before the current one, or the one that the user has chosen.
FrameCode *AnimationEditorPrivate::onionFrame() const
{
    const AnimationCode *shown = animation();
    if (!shown || !onionOn || isPlaying())
        return nullptr;
    const auto data = files.find(list);
    if (data != files.cend()) {
        const auto &chosen = static_cast<const FileData &>(*data->second);
        if (chosen.onionRow.isValid()) {
            const AnimationCode *other = list->at(unsigned(chosen.onionRow.row()));
            return other ? other->frameAt(unsigned(chosen.onionFrame)) : nullptr;
        }
    }
    return frameRow > 0 ? shown->frameAt(unsigned(frameRow) - 1) : nullptr;
}

void AnimationEditorPrivate::showOnion()
{
    editor->onionFrameChanged(onionFrame());
    tellOnion();
}

void AnimationEditorPrivate::onionSkinChanged(bool on)
{
    if (!fields.canChangeFieldValue())
        return;
    onionOn = on;
    interface->setOption(QStringLiteral("onion_skin"), on);
    // Switched on anew, it follows again.
    if (list)
        fileData().onionRow = QPersistentModelIndex();
    editor->reconfig();
}

void AnimationEditorPrivate::onionSelPosChanged(int chosen)
{
    if (!fields.canChangeFieldValue() || !list)
        return;
    fileData().onionRow = list->index(chosen);
    fileData().onionFrame = 0;
    showOnion();
}

void AnimationEditorPrivate::onionFrameSelPosChanged(int chosen)
{
    if (!fields.canChangeFieldValue() || !list)
        return;
    if (!fileData().onionRow.isValid())
        fileData().onionRow = row;
    fileData().onionFrame = chosen;
    showOnion();
}

// --- Drags

/// The fields show each step; the text waits for the release. A drag goes on when another frame is
/// shown, from where the text has that one.
void AnimationEditorPrivate::dragged(GraphicsRenderer::ItemType type, QPoint position)
{
    if (type == GraphicsRenderer::ItemCrossExtra) {
        if (axisDialog)
            axisDialog->setPosition(position);
        return;
    }
    if (type != frameItem || !frame() || isPlaying())
        return;
    const QPoint offset = editor->offsetToParentFromInterpolation(position);
    fields.beginProgramChange();
    Q_EMIT setFrameX(offset.x());
    Q_EMIT setFrameY(offset.y());
    fields.endProgramChange();
}

void AnimationEditorPrivate::released(GraphicsRenderer::ItemType type, QPoint position)
{
    if (type == GraphicsRenderer::ItemCrossExtra) {
        graphics->setExtraAxis(position);
        return;
    }
    if (type == frameItem) {
        if (frame() && !isPlaying()) {
            const QPoint offset = editor->offsetToParentFromInterpolation(position);
            write([this, offset] { frame()->setOffset(offset); });
        }
        showFrame(); // where the text has it
    } else if (type == GraphicsRenderer::ItemContactBoxes &&
               !renderer->selectedContactBoxes().isEmpty()) {
        // What is being drawn is no box of the text yet.
        write([this] { renderer->updateSelectedBoxes(); });
    }
}

void AnimationEditorPrivate::drawBoxes(ContactBoxCode::BoxType type, bool on)
{
    const bool draws = on && frame() && !isPlaying();
    if (draws)
        renderer->setDrawContactBoxMode(type);
    else
        renderer->setPositioningMode();
    Q_EMIT attackBoxesDrawn(draws && type == ContactBoxCode::Attack);
    Q_EMIT collisionBoxesDrawn(draws && type == ContactBoxCode::Collision);
}

void AnimationEditorPrivate::boxAddAChanged(bool on)
{
    drawBoxes(ContactBoxCode::Attack, on);
}

void AnimationEditorPrivate::boxAddCChanged(bool on)
{
    drawBoxes(ContactBoxCode::Collision, on);
}

void AnimationEditorPrivate::boxDel()
{
    renderer->removeSelectedContactBoxes();
}

/// While the extra cross is shown, its place can be typed.
void AnimationEditorPrivate::showExtraAxis(bool shown)
{
    if (!editor->isActive())
        return;
    if (!shown) {
        delete axisDialog;
        return;
    }
    if (!axisDialog) {
        axisDialog = new ExAxisDlg(window());
        axisDialog->setAttribute(Qt::WA_DeleteOnClose);
        connect(axisDialog, &ExAxisDlg::positionChanged, graphics,
                &GraphicsWorkspace::setExtraAxis);
    }
    axisDialog->setPosition(renderer->itemPosition(GraphicsRenderer::ItemCrossExtra));
    axisDialog->show();
}

} // namespace Kiln
