#include <kilnx/editors/animationeditor.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/editors/animationdlgs.h>
#include <kilnx/editors/animationeditor_p.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/progress.h>
#include <kilnx/project/project.h>
#include <kilnx/render/graphicsworkspace.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QScopedValueRollback>
#include <QtGui/QTextBlock>
#include <QtWidgets/QAction>
#include <QtWidgets/QSplitter>

#include <cstdlib>

namespace Kiln
{

namespace
{

/// The list of a file, which may be the document of one or the list itself.
Animations *listOf(ProjectFile *file)
{
    if (auto *document = dynamic_cast<CodeDocument *>(file))
        return dynamic_cast<Animations *>(document->documentEditor(CodeNode::Animation, 0));
    return dynamic_cast<Animations *>(file);
}

QString identifierOf(AnimationCode *animation)
{
    return animation->property(QStringLiteral("Identifier")).toString();
}

int bounded(int index, int count)
{
    return qBound(0, index, qMax(0, count - 1));
}

QTextDocument *textOf(CodeDocument *document)
{
    return document;
}

/// The first node on or below a line, and on or above it.
CodeNode *nodeFrom(const CodeDocument &document, QTextBlock line, bool downwards)
{
    CodeNode *node = nullptr;
    for (; line.isValid() && !node; line = downwards ? line.next() : line.previous())
        node = document.nodeInBlock(line);
    return node;
}

} // namespace

// --- Where the selection is

/// The frame whose lines `line` is one of: boxes and comments stand above the frame that they are
/// of. Below the last frame of an animation that one, above the first animation its first.
AnimationEditorPrivate::Place AnimationEditorPrivate::placeAt(const CodeDocument &document,
                                                              int line)
{
    constexpr int sections = CodeNode::Group | CodeNode::Animation;
    const QTextBlock block = document.findBlockByNumber(line);
    CodeNode *below = nodeFrom(document, block, true);
    CodeNode *above = nodeFrom(document, block, false);
    const bool isHeader = below && below->type() == CodeNode::Animation;
    CodeNode *found = nullptr;
    if (isHeader && (line >= below->firstLine() || !above))
        found = below;
    else if (above)
        found = above->type() == CodeNode::Animation
                    ? above
                    : above->previous(CodeNode::Animation, CodeNode::Group);
    auto *animation = static_cast<AnimationCode *>(found);
    if (!animation)
        return {};
    CodeNode *frame =
        below == animation ? animation->frameAt(0)
        : below && below->type() != CodeNode::Animation && below->type() != CodeNode::Frame
            ? below->next(CodeNode::Frame, sections)
            : below;
    if (!frame || frame->type() != CodeNode::Frame || frame->parent() != animation)
        frame = animation->frameAt(animation->frameCount() - 1);
    return {animation, static_cast<FrameCode *>(frame)};
}

AnimationCode *AnimationEditorPrivate::animation() const
{
    return list && row.isValid() ? list->at(unsigned(row.row())) : nullptr;
}

FrameCode *AnimationEditorPrivate::frame() const
{
    const AnimationCode *shown = animation();
    return shown ? shown->frameAt(unsigned(frameRow)) : nullptr;
}

bool AnimationEditorPrivate::isInView() const
{
    return list && code->editor()->codeDocument() == list->document();
}

QWidget *AnimationEditorPrivate::window() const
{
    return interface->mainWindow();
}

AnimationEditorPrivate::FileData &AnimationEditorPrivate::fileData()
{
    std::unique_ptr<EditorData> &data = files[list];
    if (!data) {
        data = std::make_unique<FileData>();
        // Also while another file is shown.
        connect(list, &QObject::destroyed, editor,
                [this, file = list.data()] { files.erase(file); });
    }
    return static_cast<FileData &>(*data);
}

void AnimationEditorPrivate::setFile(Animations *file)
{
    if (list) {
        list->disconnect(this);
        list->document()->model()->disconnect(this);
    }
    stop();
    list = file;
    moving = false;
    row = QPersistentModelIndex();
    identifier.clear();
    ++stamp;
    if (file) {
        connect(file, &Animations::modified, this, &AnimationEditorPrivate::contentsModified);
        // Who reads the text anew puts the cursor back behind this.
        connect(file->document()->model(), &QAbstractItemModel::modelReset, this,
                &AnimationEditorPrivate::reloaded, Qt::QueuedConnection);
        // The row is the old one until the move is told.
        connect(file, &QAbstractItemModel::rowsAboutToBeMoved, this, [this] { moving = true; });
        connect(file, &QAbstractItemModel::rowsMoved, this, [this] {
            moving = false;
            reloaded();
        });
        connect(file, &QObject::destroyed, this, [this] { setFile(nullptr); });
        lastRow = int(file->selected());
        const AnimationCode *selected = file->at(bounded(lastRow, int(file->count())));
        frameRow = selected ? int(selected->selectedFrame()) : 0;
    }
    resolve();
    if (isInView() && editor->isActive())
        moveCursor();
    showAll();
}

/// The cursor of a user who types leads; all other changes keep animation and frame.
void AnimationEditorPrivate::resolve()
{
    if (!list)
        return;
    knownRevision = textOf(document())->revision();
    const bool cursorLeads = !isPlaying() && isInView() && code->editor()->hasFocus();
    const Place place =
        cursorLeads ? placeAt(*document(), code->editor()->textCursor().blockNumber()) : Place();
    if (place.animation) {
        row = list->index(list->indexOf(place.animation));
        frameRow = place.frame ? place.animation->indexOfFrame(place.frame) : 0;
    } else {
        keepSelection();
    }
    keepPlace();
}

/// For what finds the selection again when the text is another one, and for who asks the list.
void AnimationEditorPrivate::keepPlace()
{
    AnimationCode *selected = animation();
    if (!selected)
        return;
    lastRow = row.row();
    identifier = identifierOf(selected);
    list->setSelected(unsigned(lastRow));
    selected->setSelectedFrame(unsigned(frameRow));
}

/// The animation that another panel has made the current one; else the same, or the nearest of its
/// name, or the one in its place; the same frame, or the one in its place.
void AnimationEditorPrivate::keepSelection()
{
    const int count = int(list->count());
    if (list->selected() != unsigned(lastRow) && list->at(list->selected())) {
        row = list->index(int(list->selected()));
        frameRow = 0;
    }
    if (!row.isValid() && count > 0) {
        int nearest = -1;
        for (int at = list->find(0, identifier); at >= 0;
             at = list->find(unsigned(at) + 1, identifier)) {
            if (nearest < 0 || std::abs(at - lastRow) < std::abs(nearest - lastRow))
                nearest = at;
        }
        row =
            list->index(nearest >= 0 && !identifier.isEmpty() ? nearest : bounded(lastRow, count));
    }
    const AnimationCode *selected = animation();
    if (!selected)
        return;
    const int same =
        selected == shownAnimation && shownFrame ? selected->indexOfFrame(shownFrame) : -1;
    frameRow = same >= 0 ? same : bounded(frameRow, int(selected->frameCount()));
}

void AnimationEditorPrivate::select(int wantedRow, int wantedFrame, bool withCursor)
{
    if (!list)
        return;
    row = list->index(bounded(wantedRow, int(list->count())));
    const AnimationCode *selected = animation();
    if (!selected)
        return;
    frameRow = bounded(wantedFrame, int(selected->frameCount()));
    keepPlace();
    if (withCursor && !isPlaying())
        moveCursor();
    showAll();
}

void AnimationEditorPrivate::reloaded()
{
    if (!list)
        return;
    keepSelection();
    moveCursor();
    contentsModified();
}

/// The user goes through the text. What an edit does to the cursor is told by contentsModified().
void AnimationEditorPrivate::followCursor()
{
    if (syncing || writing || !editor->isActive() || isPlaying() || !isInView() ||
        textOf(document())->revision() != knownRevision)
        return;
    const Place place = placeAt(*document(), code->editor()->textCursor().blockNumber());
    if (!place.animation || (place.animation == animation() && place.frame == frame()))
        return;
    select(list->indexOf(place.animation),
           place.frame ? place.animation->indexOfFrame(place.frame) : 0, false);
}

/// Puts the cursor of the text on the line of the frame, unless it is among its lines. Into another
/// animation it goes by the header.
void AnimationEditorPrivate::moveCursor()
{
    const AnimationCode *selected = animation();
    if (!selected || !isInView() || syncing)
        return;
    CodeEditor *text = code->editor();
    const Place place = placeAt(*document(), text->textCursor().blockNumber());
    if (place.animation == selected && place.frame == frame())
        return;
    const bool atHeader = !frame() || (frameRow == 0 && place.animation != selected);
    const CodeNode *node = atHeader ? selected : static_cast<const CodeNode *>(frame());
    const QScopedValueRollback<bool> guard(syncing, true);
    text->setTextCursor(QTextCursor(node->block()));
}

/// What was written carried the cursor along to its end: a narrow view would stand on the tails of
/// the lines.
void AnimationEditorPrivate::toLineStart()
{
    CodeEditor *text = code->editor();
    if (!isInView() || text->hasFocus())
        return;
    QTextCursor cursor = text->textCursor();
    cursor.movePosition(QTextCursor::StartOfBlock);
    const QScopedValueRollback<bool> guard(syncing, true);
    text->setTextCursor(cursor);
}

// --- What follows the selection

void AnimationEditorPrivate::contentsModified()
{
    if (writing || moving) {
        stale = true;
        return;
    }
    const bool wasPlaying = isPlaying();
    resolve();
    showAll();
    if (wasPlaying && !frame())
        stop();
    editor->animationCodeChanged(false, true);
    Q_EMIT editor->modified();
}

void AnimationEditorPrivate::write(const std::function<void()> &edit, bool goesOn)
{
    if (!list)
        return;
    const QPointer<AnimationEditorPrivate> self(this);
    beginWrite(goesOn);
    edit();
    if (self)
        endWrite();
}

bool AnimationEditorPrivate::writeEach(int count,
                                       const QString &told,
                                       const std::function<void(int)> &edit)
{
    if (!list || working)
        return false;
    const QPointer<AnimationEditorPrivate> self(this);
    const QPointer<Animations> file(list);
    int revision = textOf(document())->revision();
    const auto isSame = [&] {
        return self && file && list == file && textOf(document())->revision() == revision;
    };
    bool cancelled = false;
    int next = 0;
    working = true;
    Progress *progress = interface->progress(told, true);
    progress->setProgress(0, unsigned(count));
    while (next < count && !cancelled && isSame()) {
        next = writeSlice(next, count, edit);
        if (self && list)
            revision = textOf(document())->revision();
        progress->setProgress(unsigned(next), 0, &cancelled);
    }
    progress->finish();
    if (self)
        working = false;
    if (!isSame())
        return false;
    if (cancelled)
        document()->dropChange();
    return !cancelled;
}

/// As many as a twentieth of a second allows, and not so many that their reparse lasts longer. The
/// first that is left.
int AnimationEditorPrivate::writeSlice(int first, int count, const std::function<void(int)> &edit)
{
    constexpr qint64 mostMs = 50;
    constexpr int most = 256;
    QElapsedTimer clock;
    clock.start();
    int next = first;
    write(
        [&] {
            do
                edit(next);
            while (++next < qMin(count, first + most) && clock.elapsed() < mostMs);
        },
        first > 0);
    return next;
}

void AnimationEditorPrivate::beginWrite(bool goesOn)
{
    fields.beginProgramChange();
    if (++writing == 1)
        written = list;
    if (written && goesOn)
        written->document()->continueChange();
    else if (written)
        written->beginChange();
}

void AnimationEditorPrivate::endWrite()
{
    const QPointer<AnimationEditorPrivate> self(this);
    if (written)
        written->endChange();
    if (!self)
        return;
    fields.endProgramChange();
    if (--writing > 0 || !stale)
        return;
    stale = false;
    if (!list)
        return;
    keepSelection();
    moveCursor();
    toLineStart();
    resolve();
    showAll();
    editor->animationCodeChanged(true, false);
    Q_EMIT editor->modified();
}

void AnimationEditorPrivate::showAll()
{
    watchSprites();
    readTicks();
    AnimationCode *selected = animation();
    FrameCode *shown = frame();
    if (selected != shownAnimation || shown != shownFrame)
        ++stamp;
    if (shown != shownFrame)
        renderer->deselectContactBoxes();
    shownAnimation = selected;
    shownFrame = shown;
    const int count = list ? int(list->count()) : 0;
    if (count != knownCount) {
        knownCount = count;
        editor->animationCountChanged();
    }
    editor->animationChanged(selected);
    editor->frameChanged(shown);
    editor->onionFrameChanged(onionFrame());
    tellOnion();
    tellEnabled();
}

void AnimationEditorPrivate::showAnimation()
{
    const AnimationCode *selected = animation();
    setRange("anim_frame_sel", selected ? int(selected->frameCount()) : 0);
}

void AnimationEditorPrivate::showFrame()
{
    showSprite();
    showBoxes();
    showTick();
    tellFrame();
    tellPosition();
    tellPlace();
}

QList<Sprites *> AnimationEditorPrivate::spriteFiles() const
{
    QList<Sprites *> found;
    const Project *project = list ? list->project() : nullptr;
    if (!project)
        return found;
    const QList<ProjectFile *> all = project->filesByType(Project::FileID::Sprites);
    for (ProjectFile *file : all) {
        if (auto *sprites = dynamic_cast<Sprites *>(file))
            found.append(sprites);
    }
    return found;
}

Sprite *AnimationEditorPrivate::spriteOf(const FrameCode *shown) const
{
    if (!shown)
        return nullptr;
    const QList<Sprites *> all = spriteFiles();
    for (Sprites *sprites : all) {
        const int found = sprites->indexOf(0, shown->identifier());
        if (found >= 0)
            return sprites->at(unsigned(found));
    }
    return nullptr;
}

/// Sprites and colours may change, and a file of sprites may go, before the next paint.
void AnimationEditorPrivate::watchSprites()
{
    const QList<Sprites *> all = spriteFiles();
    for (Sprites *sprites : all) {
        connect(sprites, &Sprites::modified, this, &AnimationEditorPrivate::showAll,
                Qt::UniqueConnection);
        connect(sprites->palettes(), &Palettes::modified, this, &AnimationEditorPrivate::showAll,
                Qt::UniqueConnection);
        connect(sprites, &QObject::destroyed, this, &AnimationEditorPrivate::spritesGone,
                Qt::UniqueConnection);
    }
}

QVariant AnimationEditorPrivate::fileOption(const char *key) const
{
    const bool isInProject = list && list->project();
    return isInProject ? list->option(QLatin1String(key))
                       : interface->option(QLatin1String(key), QVariant());
}

void AnimationEditorPrivate::keepOption(const char *key, const QVariant &value)
{
    if (Project *project = list ? list->project() : nullptr)
        project->setOption(QLatin1String(key), value, true);
    else
        interface->setOption(QLatin1String(key), value);
}

// --- The editor

AnimationEditor::AnimationEditor(CodeWorkspace *code,
                                 GraphicsWorkspace *graphics,
                                 GraphicsRenderer *renderer,
                                 GraphicsRenderer::ItemType frameItem)
    : CodeFileEditor(code, "code_tree")
    , d(std::make_unique<AnimationEditorPrivate>(this,
                                                 interface,
                                                 code,
                                                 graphics,
                                                 renderer,
                                                 frameItem))
{
    reconfig();
    retranslate();
    d->setFile(nullptr);
}

AnimationEditor::~AnimationEditor() = default;

QAction *AnimationEditor::action() const
{
    return d->editorAction;
}

const char *AnimationEditor::name() const
{
    return "animations";
}

unsigned int AnimationEditor::areas() const
{
    return 7;
}

void AnimationEditor::activate()
{
    CodeFileEditor::activate();
    d->graphics->setRenderer(d->renderer);
    d->showViews();
    interface->setEditorWidget(d->view);
    if (TimeLineWidget *strip = d->graphics->timeLine())
        strip->addTimeLine(d.get());
    d->placeOrigin();
    d->showPanels(true);
    d->resolve();
    d->moveCursor();
    d->showAll();
    d->tellCursor();
    d->tellRenderer();
    if (d->axisDialog)
        d->axisDialog->show();
    if (d->view)
        d->view->setFocus(Qt::OtherFocusReason);
}

void AnimationEditor::deactivate()
{
    d->stop();
    if (d->axisDialog)
        d->axisDialog->hide();
    if (TimeLineWidget *strip = d->graphics->timeLine())
        strip->clearTimeLines();
    d->renderer->setPositioningMode();
    Q_EMIT d->renderer->contactDrawingExit();
    d->showPanels(false);
    CodeFileEditor::deactivate();
    d->tellEnabled();
    d->clearStatus();
}

void AnimationEditor::reconfig()
{
    d->onionOn = interface->option(QStringLiteral("onion_skin"), true).toBool();
    const int effect = interface->option(QStringLiteral("onion_effect"), 0).toInt();
    const float opacity = interface->option(QStringLiteral("onion_opacity"), 0.4).toFloat();
    d->renderer->setOnionSkin(d->onionOn, GraphicsRenderer::OnionEffect(qBound(0, effect, 3)),
                              qBound(0.0F, opacity, 1.0F));
    d->renderer->setGuideLines({interface->option(QStringLiteral("guide_x"), 0).toInt(),
                                interface->option(QStringLiteral("guide_y"), 0).toInt()});
    if (d->codeAction)
        d->codeAction->setChecked(
            interface->option(QStringLiteral("anim_text_shown"), true).toBool());
    d->fields.beginProgramChange();
    Q_EMIT d->setOnionSkin(d->onionOn);
    d->fields.endProgramChange();
    d->showAll();
    d->tellRenderer();
}

void AnimationEditor::retranslate()
{
    d->setTexts();
    CodeFileEditor::retranslate();
}

void AnimationEditor::undo()
{
    if (d->code->editor()->hasFocus())
        CodeFileEditor::undo();
    else
        FileEditor::undo();
}

void AnimationEditor::redo()
{
    if (d->code->editor()->hasFocus())
        CodeFileEditor::redo();
    else
        FileEditor::redo();
}

void AnimationEditor::navigateTo(unsigned int line, unsigned int column)
{
    CodeFileEditor::navigateTo(line, column);
    if (active && isEditCodeMode())
        workspace->editor()->setFocus(Qt::OtherFocusReason);
}

Project::FileID::Type AnimationEditor::canEditFileType()
{
    return Project::FileID::Animations;
}

void AnimationEditor::setCurrentFile(ProjectFile *file)
{
    Animations *animations = listOf(file);
    if (animations)
        file = animations->document();
    CodeFileEditor::setCurrentFile(file);
    Project *project = file ? file->project() : nullptr;
    const int index = project ? project->filesByType(canEditFileType()).indexOf(file) : -1;
    if (index >= 0)
        project->setSelectedFile(canEditFileType(), unsigned(index));
    if (animations != d->list)
        d->setFile(animations);
    if (active) {
        d->showViews();
        d->showPanels(true);
    }
}

void AnimationEditor::setEditCodeMode(bool on, Editor *shown)
{
    if (d->codeAction)
        d->codeAction->setChecked(on);
    interface->setOption(QStringLiteral("anim_text_shown"), on);
    if (shown && !shown->isActive())
        interface->switchTo(shown);
    if (active)
        d->showViews();
}

bool AnimationEditor::isEditCodeMode() const
{
    return d->codeAction && d->codeAction->isChecked();
}

bool AnimationEditor::canChangeFieldValue() const
{
    return d->fields.canChangeFieldValue();
}

AnimationCode *AnimationEditor::currentAnimation() const
{
    return d->animation();
}

FrameCode *AnimationEditor::currentFrame() const
{
    return d->frame();
}

Animations *AnimationEditor::animations() const
{
    return d->list;
}

Sprites *AnimationEditor::sprites() const
{
    const Sprite *sprite = d->spriteOf(d->frame());
    return sprite ? sprite->sprites() : d->spriteFiles().value(0);
}

Sprite *AnimationEditor::spriteOf(const FrameCode *frame) const
{
    return d->spriteOf(frame);
}

GraphicsRenderer *AnimationEditor::renderer() const
{
    return d->renderer;
}

CodeWorkspace *AnimationEditor::codeWorkspace() const
{
    return d->code;
}

GraphicsWorkspace *AnimationEditor::graphicsWorkspace() const
{
    return d->graphics;
}

bool AnimationEditor::isPlaying() const
{
    return d->isPlaying();
}

void AnimationEditor::setCurrent(unsigned int animation, unsigned int frame)
{
    constexpr unsigned int most = unsigned(std::numeric_limits<int>::max());
    d->select(int(qMin(animation, most)), int(qMin(frame, most)), true);
}

void AnimationEditor::update()
{
    d->showAll();
}

void AnimationEditor::animationChanged(AnimationCode *)
{
    d->showAnimation();
}

void AnimationEditor::animationCountChanged()
{
    d->setRange("anim_sel", d->knownCount);
    d->setRange("anim_onion_sel", d->knownCount);
}

void AnimationEditor::frameChanged(FrameCode *)
{
    d->showFrame();
}

void AnimationEditor::onionFrameChanged(FrameCode *frame)
{
    Sprite *sprite = d->spriteOf(frame);
    d->renderer->setOnionSkinSprite(sprite, sprite ? frame->offset() : QPoint());
}

void AnimationEditor::stoppedAnimation()
{
    d->moveCursor();
    d->showAll();
}

void AnimationEditor::itemMoved(GraphicsRenderer::ItemType type, void *, QPoint position)
{
    d->dragged(type, position);
}

void AnimationEditor::itemReleased(GraphicsRenderer::ItemType type, void *, QPoint position)
{
    d->released(type, position);
}

void AnimationEditor::animationCodeChanged(bool, bool)
{
    if (d->codeDialog)
        d->codeDialog->setCode(d->animation() ? d->animation()->code() : QString());
}

void AnimationEditor::contentsChanged()
{
    const Project *project = interface->currentProject();
    ProjectFile *file = project ? project->file(canEditFileType()) : nullptr;
    if (project && file != currentFile())
        setCurrentFile(file);
    Q_EMIT modified();
}

} // namespace Kiln
