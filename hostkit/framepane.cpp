#include <hostkit/framepane.h>

#include <hostkit/codesurface.h>
#include <hostkit/viewport.h>
#include <hostkit/widgets.h>

#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/interface.h>
#include <kilnx/render/graphicsworkspace.h>

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QResizeEvent>
#include <QTextBlock>
#include <QToolBar>
#include <QVBoxLayout>

#include <cmath>
#include <functional>

namespace HostKit
{

namespace
{

struct PaneAction {
    const char *key;
    Kiln::KilnTranslator::TextId text;
    bool checkable;
    const char *slot;
    const char *enabler;
    const char *checker;
};

const PaneAction paneActions[] = {
    {"frame_attack_box", Kiln::KilnTranslator::AddAttackBoxText, true, SLOT(drawAttackBoxes(bool)),
     SIGNAL(frameEnabled(bool)), SIGNAL(attackBoxesDrawn(bool))},
    {"frame_collision_box", Kiln::KilnTranslator::AddCollisionBoxText, true,
     SLOT(drawCollisionBoxes(bool)), SIGNAL(frameEnabled(bool)), SIGNAL(collisionBoxesDrawn(bool))},
    {"frame_delete_boxes", Kiln::KilnTranslator::DeleteBoxesText, false, SLOT(deleteBoxes()),
     SIGNAL(frameEnabled(bool)), nullptr},
    {"frame_onion_skin", Kiln::KilnTranslator::OnionSkinText, true, SLOT(showOnionSkin(bool)),
     nullptr, SIGNAL(onionSkinShown(bool))},
};

/// The frame whose lines `line` is one of: boxes and comments stand above the frame that they are
/// of. Below the last frame of an animation that one, above the first animation its first.
Kiln::FrameCode *frameAt(const Kiln::CodeDocument &document, int line)
{
    using Node = Kiln::CodeNode;
    constexpr int sections = Node::Group | Node::Animation;
    Node *node = nullptr;
    QTextBlock block = document.findBlockByNumber(line);
    for (QTextBlock below = block; below.isValid() && !node; below = below.next())
        node = document.nodeInBlock(below);
    const bool isHeader = node && node->type() == Node::Animation;
    Node *found = nullptr;
    if (node && !(isHeader && line < node->firstLine()))
        found = node->type() == Node::Frame ? node : node->next(Node::Frame, sections);
    if (!found) {
        Node *above = nullptr;
        for (; block.isValid() && !above; block = block.previous())
            above = document.nodeInBlock(block);
        if (above)
            found = above->type() == Node::Frame ? above : above->previous(Node::Frame, sections);
    }
    if (!found && node)
        found = node->next(Node::Frame, Node::Group);
    return static_cast<Kiln::FrameCode *>(found);
}

const Kiln::AnimationCode *animationOf(const Kiln::FrameCode &frame)
{
    return static_cast<Kiln::AnimationCode *>(
        frame.parent() && frame.parent()->type() == Kiln::CodeNode::Animation ? frame.parent()
                                                                              : nullptr);
}

/// How a frame shows its sprite, as the view wants it.
struct Placing {
    Placing(const Kiln::FrameCode &frame, Kiln::Sprite &sprite)
        : scale(std::abs(frame.scale().x()), std::abs(frame.scale().y()))
    {
        const bool mirrored = frame.flip() & Kiln::FrameCode::FlipHorizontally;
        const bool upsideDown = frame.flip() & Kiln::FrameCode::FlipVertically;
        flip = static_cast<unsigned char>((mirrored != (frame.scale().x() < 0) ? 1 : 0) |
                                          (upsideDown != (frame.scale().y() < 0) ? 2 : 0));
        const Kiln::ImageInfo info = sprite.imageInfo();
        size = QSize(info.width, info.height);
        pivot = sprite.property(QStringLiteral("Origin")).toPoint();
        if (flip & 1)
            pivot.setX(size.width() - pivot.x());
        if (flip & 2)
            pivot.setY(size.height() - pivot.y());
    }
    /// The view scales positions, too.
    QPoint position(QPoint offset) const
    {
        return QPoint(axis(offset.x() / scale.x()), axis(offset.y() / scale.y())) - pivot;
    }
    QPoint offset(QPoint position) const
    {
        const QPoint foot = position + pivot;
        return {axis(foot.x() * scale.x()), axis(foot.y() * scale.y())};
    }
    /// Of the scaled picture, for what draws it where it is told.
    QPoint corner(QPoint offset) const
    {
        return offset - QPoint(axis(pivot.x() * scale.x()), axis(pivot.y() * scale.y()));
    }
    static int axis(double value)
    {
        return std::isfinite(value) ? int(std::round(qBound(-1e9, value, 1e9))) : 0;
    }

    QPointF scale;
    QPoint pivot; // of the mirrored picture
    QSize size;
    unsigned char flip = 0;
};

} // namespace

/// The frame as a list of one sprite.
class FramePane::Frames : public Kiln::SpriteProvider
{
public:
    explicit Frames(FramePane *pane)
        : SpriteProvider(pane)
    {
    }
    unsigned int count() override { return m_sprite ? 1 : 0; }
    Kiln::Sprite *spriteAt(unsigned int) override { return m_sprite; }
    QVariant property(unsigned int, unsigned int id) override
    {
        const QVariant values[] = {m_position,
                                   Viewport::PlaceCross | Viewport::DragX | Viewport::DragY,
                                   int(Viewport::ItemCrossMain),
                                   m_size,
                                   m_scale,
                                   unsigned(m_flip),
                                   1.0F,
                                   0};
        return id < 8 ? values[id] : QVariant();
    }
    /// Takes over what a frame shows; null for nothing.
    void show(const Kiln::FrameCode *frame, Kiln::Sprite *sprite)
    {
        m_sprite = frame ? sprite : nullptr;
        if (m_sprite) {
            const Placing placing(*frame, *sprite);
            m_position = placing.position(frame->offset());
            m_size = placing.size;
            m_scale = placing.scale;
            m_flip = placing.flip;
        }
        Q_EMIT changed();
    }

private:
    Kiln::Sprite *m_sprite = nullptr;
    QPoint m_position;
    QSize m_size;
    QPointF m_scale;
    unsigned char m_flip = 0;
};

/// The view, whose Delete key is one step of undo, too.
class FramePane::View : public Viewport
{
public:
    explicit View(FramePane &pane)
        : m_pane(pane)
    {
    }
    void keyPressed(int key, Qt::KeyboardModifiers modifiers) override
    {
        if (key == Qt::Key_Delete && modifiers == Qt::NoModifier)
            m_pane.deleteBoxes();
        else
            Viewport::keyPressed(key, modifiers);
    }

private:
    FramePane &m_pane;
};

struct FramePane::Private {
    Private(FramePane &pane,
            Kiln::Interface &host,
            CodeSurface &code,
            Kiln::GraphicsWorkspace &view)
        : interface(host)
        , surface(code)
        , workspace(view)
        , viewport(pane)
        , frames(&pane)
    {
    }
    Kiln::CodeDocument *document() const { return list ? list->document() : nullptr; }
    Kiln::Sprite *spriteOf(const Kiln::FrameCode *frame) const;
    QList<Kiln::Sprites *> spriteFiles() const;
    bool hasSelection() const { return !viewport.selectedContactBoxes().isEmpty(); }
    void write(const std::function<void()> &edit);

    Kiln::Interface &interface;
    CodeSurface &surface;
    Kiln::GraphicsWorkspace &workspace;
    View viewport;
    Frames frames;
    QPointer<Kiln::Animations> list;
    QPointer<Kiln::Project> stage;          ///< whose stage is shown; only ever compared
    const Kiln::FrameCode *shown = nullptr; ///< only ever compared
    QLabel *place = nullptr;                ///< tells animation and frame
    QPoint mouse;
    QPoint placed; ///< where placeOrigin() put the origin last
    bool isShown = false;
    bool reading = false;
};

QList<Kiln::Sprites *> FramePane::Private::spriteFiles() const
{
    QList<Kiln::Sprites *> sprites;
    const Kiln::Project *project = document() ? document()->project() : nullptr;
    if (!project)
        return sprites;
    const QList<Kiln::ProjectFile *> files = project->filesByType(Kiln::Project::FileID::Sprites);
    for (Kiln::ProjectFile *file : files) {
        if (auto *list = dynamic_cast<Kiln::Sprites *>(file))
            sprites.append(list);
    }
    return sprites;
}

Kiln::Sprite *FramePane::Private::spriteOf(const Kiln::FrameCode *frame) const
{
    if (!frame)
        return nullptr;
    const QList<Kiln::Sprites *> files = spriteFiles();
    for (Kiln::Sprites *sprites : files) {
        const int row = sprites->indexOf(0, frame->identifier());
        if (row >= 0)
            return sprites->at(unsigned(row));
    }
    return nullptr;
}

/// Makes one step of undo of what `edit` does to the text.
void FramePane::Private::write(const std::function<void()> &edit)
{
    const QPointer<Kiln::Animations> alive = list;
    if (!alive)
        return;
    alive->document()->beginChange();
    edit();
    if (alive)
        alive->document()->endChange();
}

FramePane::FramePane(Kiln::Interface &host,
                     CodeSurface &surface,
                     Kiln::GraphicsWorkspace &workspace,
                     QWidget *parent)
    : QWidget(parent)
    , d(std::make_unique<Private>(*this, host, surface, workspace))
{
    named(this, "frame_pane", tr("Frame"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(makeToolBar());
    layout->addWidget(workspace.widget(), 1);
    workspace.widget()->show();
    workspace.widget()->installEventFilter(this);
    d->viewport.setItemPositionMode(Viewport::ItemCrossMain, Viewport::PlaceOrigin);
    d->viewport.setSprites(&d->frames);
    workspace.setRenderer(&d->viewport);
    connectView();
    reconfig();
    hide();
    showRenderer();
}

// The workspace goes on without the pane, and so does its widget.
FramePane::~FramePane()
{
    follow(nullptr);
    if (d->workspace.renderer() == &d->viewport)
        d->workspace.setRenderer(nullptr);
    d->viewport.setSprites(nullptr);
    if (QWidget *widget = d->workspace.widget()) {
        widget->removeEventFilter(this);
        if (isAncestorOf(widget))
            widget->setParent(nullptr);
    }
}

QToolBar *FramePane::makeToolBar()
{
    auto *bar = named(new QToolBar(this), "frame_bar", tr("Frame"));
    bar->setIconSize(QSize(16, 16));
    for (const PaneAction &action : paneActions) {
        bar->addAction(d->interface.addAction(
            nullptr, QLatin1String(action.key), Kiln::KilnTranslator::instance(), action.text,
            action.checkable, this, action.slot, action.enabler, action.checker));
    }
    bar->insertSeparator(bar->actions().last());
    d->place = named(new QLabel(bar), "frame_place");
    d->place->setContentsMargins(6, 0, 0, 0);
    bar->addWidget(d->place);
    return bar;
}

void FramePane::connectView()
{
    Viewport *view = &d->viewport;
    connect(view, &Viewport::itemReleased, this,
            [this](Viewport::ItemType type, void *, QPoint position) {
                Kiln::FrameCode *shown = frame();
                Kiln::Sprite *sprite = d->spriteOf(shown);
                // What is being drawn is no box of the text yet.
                if (type == Viewport::ItemContactBoxes && d->hasSelection())
                    d->write([this] { d->viewport.updateSelectedBoxes(); });
                else if (type == Viewport::ItemSprite && sprite)
                    shown->setOffset(Placing(*shown, *sprite).offset(position));
                else if (type == Viewport::ItemCrossExtra)
                    d->workspace.setExtraAxis(position);
            });
    connect(view, &Viewport::contactDrawingExit, this, [this] {
        Q_EMIT attackBoxesDrawn(false);
        Q_EMIT collisionBoxesDrawn(false);
    });
    connect(view, &Viewport::cursorChanged, this, [this](QPoint position) {
        d->mouse = position;
        showStatus();
    });
    connect(view, &Viewport::guideLinesMoved, this, [this](QPoint guides) {
        d->interface.setOption(QStringLiteral("guide_x"), guides.x());
        d->interface.setOption(QStringLiteral("guide_y"), guides.y());
        showStatus();
    });
    connect(&d->workspace, &Kiln::GraphicsWorkspace::paintingChanged, this,
            &FramePane::showRenderer);
    connect(d->surface.editor(), &Kiln::CodeEditor::cursorChanged, this, &FramePane::refresh);
}

void FramePane::follow(Kiln::CodeDocument *document)
{
    auto *list = dynamic_cast<Kiln::Animations *>(
        document ? document->documentEditor(Kiln::CodeNode::Animation, 0) : nullptr);
    if (list != d->list) {
        if (d->list) {
            d->list->disconnect(this);
            static_cast<QTextDocument *>(d->list->document())->disconnect(this);
        }
        d->list = list;
        if (list) {
            connect(list, &Kiln::Animations::modified, this, &FramePane::refresh);
            connect(static_cast<QTextDocument *>(document), &QTextDocument::contentsChanged, this,
                    &FramePane::refresh);
        }
        d->viewport.setPositioningMode();
        Q_EMIT d->viewport.contactDrawingExit();
    }
    setShown(list);
    refresh();
}

void FramePane::setShown(bool shown)
{
    if (shown && d->stage != d->interface.currentProject()) {
        d->stage = d->interface.currentProject();
        d->workspace.reconfig();
    }
    if (shown == d->isShown)
        return;
    d->isShown = shown;
    if (shown)
        takeWorkspace();
    if (hasWorkspace()) {
        if (shown)
            d->workspace.activate();
        else
            d->workspace.deactivate();
    }
    setVisible(shown);
    if (shown)
        placeOrigin(d->workspace.widget()->size());
    showRenderer();
}

/// An editor may have it for its own pictures meanwhile.
bool FramePane::hasWorkspace() const
{
    return isAncestorOf(d->workspace.widget());
}

void FramePane::takeWorkspace()
{
    if (hasWorkspace())
        return;
    QWidget *widget = d->workspace.widget();
    layout()->addWidget(widget);
    static_cast<QVBoxLayout *>(layout())->setStretchFactor(widget, 1);
    widget->show();
    d->workspace.setRenderer(&d->viewport);
}

Kiln::FrameCode *FramePane::frame() const
{
    const Kiln::CodeDocument *document = d->document();
    if (!document || d->surface.document() != document)
        return nullptr;
    return frameAt(*document, d->surface.editor()->textCursor().blockNumber());
}

Viewport &FramePane::viewport() const
{
    return d->viewport;
}

Kiln::GraphicsWorkspace &FramePane::workspace() const
{
    return d->workspace;
}

bool FramePane::hasFocusWithin() const
{
    const QWidget *focus = QApplication::focusWidget();
    return focus && (focus == this || isAncestorOf(focus));
}

void FramePane::refresh()
{
    if (d->reading)
        return;
    d->reading = true;
    const QList<Kiln::Sprites *> files = d->spriteFiles();
    for (Kiln::Sprites *sprites : files) {
        connect(sprites, &Kiln::Sprites::modified, this, &FramePane::refresh, Qt::UniqueConnection);
        connect(sprites->palettes(), &Kiln::Palettes::modified, this, &FramePane::refresh,
                Qt::UniqueConnection);
    }
    const Kiln::FrameCode *frame = this->frame();
    if (frame != d->shown)
        d->viewport.deselectContactBoxes();
    d->shown = frame;
    d->frames.show(frame, d->spriteOf(frame));
    using Boxes = Kiln::ContactBoxCode;
    d->viewport.setContactBoxes(Boxes::Attack, frame ? frame->attackBoxes() : nullptr);
    d->viewport.setContactBoxes(Boxes::Collision, frame ? frame->collisionBoxes() : nullptr);

    const Kiln::AnimationCode *animation = frame ? animationOf(*frame) : nullptr;
    const int index = animation ? animation->indexOfFrame(frame) : -1;
    const int row = animation ? d->list->indexOf(animation) : -1;
    if (row >= 0)
        d->list->setSelected(unsigned(row));
    const Kiln::FrameCode *before = index > 0 ? animation->frameAt(unsigned(index - 1)) : nullptr;
    Kiln::Sprite *ghost = d->spriteOf(before);
    if (ghost) {
        const Placing placing(*before, *ghost);
        d->viewport.setOnionSkinShape(placing.flip, placing.scale);
        d->viewport.setOnionSkinSprite(ghost, placing.corner(before->offset()));
    } else {
        d->viewport.setOnionSkinSprite(nullptr, QPoint());
    }
    Q_EMIT frameEnabled(frame);
    d->viewport.GraphicsRenderer::update();
    d->reading = false;
    showStatus();
}

void FramePane::drawAttackBoxes(bool on)
{
    drawBoxes(Kiln::ContactBoxCode::Attack, on);
}

void FramePane::drawCollisionBoxes(bool on)
{
    drawBoxes(Kiln::ContactBoxCode::Collision, on);
}

void FramePane::drawBoxes(Kiln::ContactBoxCode::BoxType type, bool on)
{
    if (on)
        d->viewport.setDrawContactBoxMode(type);
    else
        d->viewport.setPositioningMode();
    Q_EMIT attackBoxesDrawn(on && type == Kiln::ContactBoxCode::Attack);
    Q_EMIT collisionBoxesDrawn(on && type == Kiln::ContactBoxCode::Collision);
}

void FramePane::deleteBoxes()
{
    if (d->hasSelection())
        d->write([this] { d->viewport.removeSelectedContactBoxes(); });
}

void FramePane::showOnionSkin(bool on)
{
    d->interface.setOption(QStringLiteral("onion_skin"), on);
    reconfig();
}

void FramePane::reconfig()
{
    const bool on = d->interface.option(QStringLiteral("onion_skin"), true).toBool();
    const int effect = d->interface.option(QStringLiteral("onion_effect"), 0).toInt();
    const float opacity = d->interface.option(QStringLiteral("onion_opacity"), 0.4).toFloat();
    d->viewport.setOnionSkin(on, Viewport::OnionEffect(qBound(0, effect, 3)),
                             qBound(0.0F, opacity, 1.0F));
    Q_EMIT onionSkinShown(on);
    d->viewport.setGuideLines({d->interface.option(QStringLiteral("guide_x"), 0).toInt(),
                               d->interface.option(QStringLiteral("guide_y"), 0).toInt()});
    refresh();
}

void FramePane::showStatus()
{
    const auto tell = [this](int field, const QString &text) {
        if (hasWorkspace())
            d->interface.setStatusText(field, d->isShown ? text : QString());
    };
    const QPoint guides = d->viewport.guideLines();
    tell(Kiln::Interface::PositionField,
         tr("Position: %1, %2").arg(d->mouse.x()).arg(d->mouse.y()));
    tell(Kiln::Interface::GuidesField,
         tr("Horizontal guide: %1, Vertical guide: %2").arg(guides.y()).arg(guides.x()));
    const Kiln::FrameCode *frame = this->frame();
    const Kiln::AnimationCode *animation = frame ? animationOf(*frame) : nullptr;
    QString place = animation ? tr("Animation: %1, Frame: %2")
                                    .arg(animation->name())
                                    .arg(animation->indexOfFrame(frame) + 1)
                              : tr("Animation: none, Frame: none");
    if (frame && !d->frames.count())
        place += tr(", no sprite \"%1\"").arg(frame->identifier());
    d->place->setText(place);
}

/// Where the painter is not what the user wished, the field says so.
void FramePane::showRenderer()
{
    const bool wished = d->interface.option(QStringLiteral("native_painting"), false).toBool();
    const QString text =
        d->workspace.isOnOpenGL() ? tr("Renderer: %1").arg(tr("OpenGL"))
        : wished                  ? tr("Renderer: %1").arg(tr("Native painter"))
                 : tr("OpenGL does not work here. Renderer: %1").arg(tr("Native painter"));
    if (hasWorkspace())
        d->interface.setStatusText(Kiln::Interface::RendererField, d->isShown ? text : QString());
}

/// The first time, and when it would be out of sight, the origin goes where the ground is: in the
/// middle, with three quarters of the view above it.
void FramePane::placeOrigin(const QSize &size)
{
    if (size.isEmpty() || !d->isShown)
        return;
    const bool isKept = d->interface.option(QStringLiteral("origin_x"), QVariant()).isValid() ||
                        Viewport::origin() != d->placed;
    constexpr int ruler = Viewport::RulerWidth;
    const QRect seen = QRect(QPoint(), size).adjusted(ruler, ruler, -1, -1);
    if (isKept && seen.contains(Viewport::origin()))
        return;
    d->placed = QPoint(size.width() / 2, size.height() * 3 / 4);
    Viewport::setOrigin(d->placed);
}

bool FramePane::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && watched == d->workspace.widget())
        placeOrigin(static_cast<QResizeEvent *>(event)->size());
    return QWidget::eventFilter(watched, event);
}

} // namespace HostKit
