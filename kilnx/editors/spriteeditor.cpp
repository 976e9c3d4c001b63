#include <kilnx/editors/spriteeditor.h>

#include <kilnx/code/animationcode.h>
#include <kilnx/code/animations.h>
#include <kilnx/editors/itemsearch_p.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/editors/projectanimations_p.h>
#include <kilnx/editors/spriteeditor_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/imageedit/palettewidget.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>
#include <kilnx/render/graphicsworkspace.h>

#include <QtCore/QScopedValueRollback>
#include <QtWidgets/QAbstractSlider>
#include <QtWidgets/QAction>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Kiln
{

namespace
{

const QString identifierName = QStringLiteral("Identifier");
/// The place of a picture that is put into the middle of its canvas.
constexpr QPoint inTheMiddle(-0x10000, 0);

QString identifierOf(Sprite *sprite)
{
    return sprite->property(identifierName).toString();
}

/// The pixels alone, whatever the colour tables say.
bool samePixels(const QImage &a, const QImage &b)
{
    if (a.size() != b.size() || a.format() != b.format())
        return false;
    if (a.constBits() == b.constBits())
        return true;
    const size_t rowBytes = size_t(a.width()) * size_t(a.depth()) / 8;
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.constScanLine(y), b.constScanLine(y), rowBytes) != 0)
            return false;
    }
    return true;
}

/// For pictures of 32 bits a pixel, whose rows have no padding.
bool isOpaque(const QImage &picture)
{
    const auto *pixels = reinterpret_cast<const QRgb *>(picture.constBits());
    return std::all_of(pixels, pixels + picture.sizeInBytes() / 4,
                       [](QRgb color) { return qAlpha(color) == 255; });
}

/// 6 steps of red, green and blue behind the clear colour, then a ramp of greys.
void basicColors(RGBA (&out)[256])
{
    out[0] = {0, 0, 0, 0};
    for (int i = 0; i < 216; ++i)
        out[i + 1] = {uchar(i / 36 * 51), uchar(i / 6 % 6 * 51), uchar(i % 6 * 51), 255};
    for (int i = 217; i < 256; ++i) {
        const auto grey = uchar((i - 217) * 255 / 38);
        out[i] = {grey, grey, grey, 255};
    }
}

/// The colours of a palette, without a user's choice among them.
class TableColors : public MonoPalette
{
public:
    explicit TableColors(const Palette &palette)
        : m_object(&m_table)
    {
        palette.toPalette(m_table);
    }
    QRgb rgbAt(unsigned char i) override { return toQRgb(m_table[i]); }
    unsigned char indexOf(QColor color) override { return m_object.index(fromQRgb(color.rgba())); }
    const RGBA *colors() override { return m_table; }
    void copyTo(RGBA (&out)[256]) override { m_object.toPalette(out); }

private:
    RGBA m_table[256];
    PaletteObject m_object;
};

} // namespace

// --- The private part

SpriteEditorPrivate::~SpriteEditorPrivate()
{
    if (workspace.renderer() == renderer)
        workspace.setRenderer(nullptr);
    canvas().undoStack.disconnect(editor); // nobody asks an editor that goes whether it is modified
    canvas().layers.disconnect(this);
    if (frameAction)
        interface->setOption(QStringLiteral("switch_frame_spr"), frameAction->isChecked());
}

QWidget *SpriteEditorPrivate::window() const
{
    return interface->mainWindow();
}

bool SpriteEditorPrivate::isDirty() const
{
    return sprites && !canvas().undoStack.isClean();
}

void SpriteEditorPrivate::setFile(Sprites *file)
{
    if (sprites) {
        sprites->disconnect(this);
        sprites->palettes()->disconnect(this);
    }
    if (palettes)
        palettes->setPalettes(file ? file->palettes() : nullptr);
    sprites = file;
    hasFileSteps = file && file->isModified();
    if (file) {
        connect(file, &Sprites::modified, this, &SpriteEditorPrivate::contentsModified);
        // A step of the file's undo tells of the contents before it counts as taken.
        connect(file, &Sprites::changed, this, [this] { Q_EMIT editor->modified(); });
        connect(file, &QAbstractItemModel::modelReset, this, &SpriteEditorPrivate::reloaded);
        const auto follow = [this] { rowsChanged(); };
        connect(file, &QAbstractItemModel::rowsInserted, this, follow);
        connect(file, &QAbstractItemModel::rowsRemoved, this, follow);
        connect(file, &QAbstractItemModel::rowsMoved, this, follow);
        connect(file, &QAbstractItemModel::layoutChanged, this, follow);
        connect(file->palettes(), &Palettes::modified, this, &SpriteEditorPrivate::showColors);
    }
    showCurrent();
}

/// Brings the picture into the middle; the first time, as large as it fits.
void SpriteEditorPrivate::showWhole(bool later)
{
    if (later) {
        QMetaObject::invokeMethod(
            this, [this] { showWhole(false); }, Qt::QueuedConnection);
        return;
    }
    const QSize view = renderer->widget() ? renderer->widget()->size() : QSize();
    const QSize size = canvas().size;
    if (!isFitted && editor->isActive() && !view.isEmpty() && !size.isEmpty()) {
        const double room =
            qMin(0.9 * view.width() / size.width(), 0.9 * view.height() / size.height());
        renderer->setZoom(room >= 1 ? qMin(8.0, std::floor(room)) : room);
        isFitted = true;
    }
    renderer->centralize();
}

/// A picture that was in sight as a whole is so again.
void SpriteEditorPrivate::sizeChanged()
{
    const QSize view = renderer->widget() ? renderer->widget()->size() : QSize();
    const auto isInSight = [this, view](QSize size) {
        return size.width() * renderer->zoom() <= view.width() &&
               size.height() * renderer->zoom() <= view.height();
    };
    isFitted = isFitted && (isInSight(canvas().size) || !isInSight(sizeBefore));
    sizeBefore = canvas().size;
    showWhole(false);
}

/// The current sprite of the file, or the last one.
void SpriteEditorPrivate::showCurrent()
{
    const unsigned int count = sprites ? sprites->itemCount() : 0;
    if (count > 0 && sprites->current() >= count)
        sprites->setCurrent(count - 1);
    current = count > 0 ? sprites->at(sprites->current()) : nullptr;
    row = current ? QPersistentModelIndex(sprites->index(int(sprites->current())))
                  : QPersistentModelIndex();
    spriteChanged(current);
    spriteCountChanged();
}

bool SpriteEditorPrivate::setCurrent(unsigned int index)
{
    if (!sprites || sprites->itemCount() == 0)
        return false;
    index = qMin(index, sprites->itemCount() - 1);
    if (current && sprites->at(index) == current) {
        tellPosition();
        return true;
    }
    const Still still(this);
    const bool leaves = mayLeave();
    if (!still.isSo())
        return false;
    if (leaves && index < sprites->itemCount()) {
        sprites->setCurrent(index);
        showCurrent();
    } else {
        tellPosition();
    }
    return leaves;
}

/// Whether the canvas can go; it is taken back to the sprite's picture then.
bool SpriteEditorPrivate::mayLeave()
{
    if (!isDirty())
        return true;
    const Still still(this);
    const bool agreed = editor->canDiscardChanges();
    if (agreed && still.isSo())
        discard();
    return agreed;
}

/// A command behind it may leave the canvas as it is, so it shows the picture again.
void SpriteEditorPrivate::discard()
{
    QUndoStack &stack = canvas().undoStack;
    if (stack.cleanIndex() >= 0) {
        stack.setIndex(stack.cleanIndex());
        forgetSteps();
        return;
    }
    const QScopedValueRollback<int> sameSprite(stamp);
    spriteChanged(sprite());
}

void SpriteEditorPrivate::forgetSteps()
{
    canvas().undoStack.clear();
    moves.clear();
    hasLaterStep = false;
}

/// A step of the file from before those of the canvas may bring another picture, and then what was
/// undone on the canvas is gone.
bool SpriteEditorPrivate::mayUndoFile()
{
    if (!canvas().undoStack.canRedo() || !hasFileSteps || hasLaterStep)
        return true;
    const Still still(this);
    return askQuestion(
               window(), SpriteEditor::tr("Undo"),
               SpriteEditor::tr("Undo goes on with the changes of the file. What was undone on "
                                "the canvas may be gone for redo then. Do you want to go "
                                "on?")) &&
           still.isSo();
}

void SpriteEditorPrivate::saveOrDiscard()
{
    if (!isDirty())
        return;
    const Still still(this);
    const bool agreed = editor->canDiscardChanges();
    if (!still.isSo())
        return;
    if (agreed)
        discard();
    else
        saveImg();
}

void SpriteEditorPrivate::spriteChanged(Sprite *sprite)
{
    ++stamp;
    ImageCanvas &canvas = this->canvas();
    identifier = sprite ? identifierOf(sprite) : QString();
    shown = sprite ? sprite->image() : QImage();
    canvas.layers.clearLayers();
    canvas.selection.active = false;
    chooseColors();
    canvas.setSize(shown.size(), inTheMiddle, false);
    if (!shown.isNull()) {
        canvas.setFormat(shown.format() == QImage::Format_Indexed8 ? IndexedCanvas : RGBACanvas,
                         false);
        if (canvas.format == IndexedCanvas) {
            palette->setBackgroundIndex(palette->backgroundIndex());
            palette->setForegroundIndex(palette->foregroundIndex());
        }
        if (ImageLayer *layer = canvas.layers.addLayer(&shown))
            layer->setName(identifier, false);
    }
    forgetSteps();
    selectRow(0);
    canvas.announceImage();
    tellLayer();
}

void SpriteEditorPrivate::spriteCountChanged()
{
    const int count = sprites ? int(sprites->itemCount()) : 0;
    fields.beginProgramChange();
    if (auto *slider =
            qobject_cast<QAbstractSlider *>(interface->control(QStringLiteral("spr_sel"))))
        slider->setRange(0, qMax(0, count - 1));
    fields.endProgramChange();
    tellPosition();
    tellEnabled();
}

/// Rows came, went or moved: the same sprite stays, or the one in its place comes.
void SpriteEditorPrivate::rowsChanged()
{
    if (row.isValid()) {
        sprites->setCurrent(unsigned(row.row()));
        spriteCountChanged();
    } else if (!isDetached) {
        showCurrent();
    }
}

/// The file may have another picture for the sprite, by its undo or by another editor.
void SpriteEditorPrivate::contentsModified()
{
    hasFileSteps = true;
    hasLaterStep = canvas().undoStack.count() > 0;
    if (sprite() && row.isValid()) {
        identifier = identifierOf(current);
        if (!samePixels(current->image(), shown)) {
            if (isDirty())
                reloaded();
            else
                spriteChanged(current);
        }
    }
    showColors();
    Q_EMIT editor->modified();
}

/// What is drawn on the canvas stays until the user has said otherwise, and the sprite of that name
/// is there. A file that is loaded anew may be empty for a moment.
void SpriteEditorPrivate::reloaded()
{
    if (!isDirty()) {
        showCurrent();
        return;
    }
    current = nullptr;
    row = QPersistentModelIndex();
    ++stamp;
    isDetached = true;
    const Still still(this);
    QMetaObject::invokeMethod(
        this,
        [this, still] {
            isDetached = false;
            if (still.isSo())
                attach();
        },
        Qt::QueuedConnection);
}

void SpriteEditorPrivate::attach()
{
    const int found = sprites->indexOf(0, identifier);
    if (found < 0) {
        showCurrent();
        return;
    }
    sprites->setCurrent(unsigned(found));
    current = sprites->at(unsigned(found));
    row = QPersistentModelIndex(sprites->index(found));
    shown = current->image();
    chooseColors();
    spriteCountChanged();
    const Still still(this);
    const bool agreed = editor->canDiscardChanges();
    if (!still.isSo())
        return;
    if (agreed)
        spriteChanged(current);
    else
        canvas().undoStack.resetClean(); // its steps lead to another picture
}

/// The panel goes to the sprite's palette, unless the user wants to stay at another one.
void SpriteEditorPrivate::chooseColors()
{
    if (palettes && sprite() && usesSpritePalette && current->palette())
        palettes->setCurrentPalette(current->palette());
    showColors();
}

/// A panel that has a palette shows it by itself. Without one, the sprite's colours are shown, or
/// those that are there, or for a start some to draw with.
void SpriteEditorPrivate::showColors()
{
    const Palette *own = sprite() ? current->palette() : nullptr;
    palette->setSpare(own ? own->colors() : nullptr);
    if (!colors || (palettes && palettes->currentPalette()))
        return;
    RGBA wanted[256];
    if (own && usesSpritePalette)
        own->toPalette(wanted);
    else if (!hasColors || palettes)
        basicColors(wanted);
    else
        return;
    if (std::memcmp(wanted, colors->palette()->palette(), sizeof wanted) == 0)
        return;
    colors->load(wanted);
    colorsShown();
}

void SpriteEditorPrivate::colorsShown()
{
    if (!hasColors && palette->foregroundIndex() == palette->backgroundIndex())
        palette->setForegroundIndex(1);
    hasColors = true;
    palette->refresh();
    canvas().announceImage();
}

/// The sprite of the frame that the project's animations show.
void SpriteEditorPrivate::followFrame()
{
    const Project *project = sprites ? sprites->project() : nullptr;
    if (!project || !frameAction || !frameAction->isChecked())
        return;
    const Animations *list = animationsOf(project);
    const AnimationCode *animation = list ? list->at(list->selected()) : nullptr;
    const FrameCode *frame = animation ? animation->frameAt(animation->selectedFrame()) : nullptr;
    const int found = frame ? sprites->indexOf(0, frame->identifier()) : -1;
    if (found >= 0)
        setCurrent(unsigned(found));
}

bool SpriteEditorPrivate::confirmDelete() const
{
    return !interface->option(QStringLiteral("confirm_delete"), true).toBool() ||
           askQuestion(window(), SpriteEditor::tr("Delete sprite"),
                       SpriteEditor::tr("Do you really want to delete the sprite?"));
}

void SpriteEditorPrivate::del()
{
    const Still still(this);
    if (sprite() && confirmDelete() && still.isSo() && row.isValid())
        sprites->remove(unsigned(row.row()));
}

void SpriteEditorPrivate::duplicate()
{
    if (!sprite() || !mayLeave() || !sprite())
        return;
    const Sprite *copy = sprites->duplicate(unsigned(row.row()));
    if (copy)
        setCurrent(unsigned(copy->index()));
}

void SpriteEditorPrivate::previous()
{
    if (row.isValid())
        setCurrent(unsigned(qMax(0, row.row() - 1)));
}

void SpriteEditorPrivate::next()
{
    if (row.isValid())
        setCurrent(unsigned(row.row() + 1));
}

void SpriteEditorPrivate::selPosChanged(int index)
{
    if (fields.canChangeFieldValue())
        setCurrent(unsigned(index));
}

void SpriteEditorPrivate::switchPalChanged(bool follows)
{
    usesSpritePalette = follows;
    interface->setOption(QStringLiteral("switch_to_imgpal"), follows);
    chooseColors();
}

void SpriteEditorPrivate::frameSpr(bool follows)
{
    if (follows)
        followFrame();
}

/// With the sprite's own colours, whatever palette the panel shows: what is clear in that one alone
/// must not be lost.
QImage SpriteEditorPrivate::flattened()
{
    const Palette *own = current ? current->palette() : nullptr;
    if (!own || canvas().format != IndexedCanvas)
        return canvas().flatten();
    TableColors colors(*own);
    const QScopedValueRollback<ImagePalette *> rollback(canvas().palette, &colors);
    return canvas().flatten();
}

/// In the format of the sprite.
QImage SpriteEditorPrivate::unsaved()
{
    const QImage picture = flattened();
    const bool isTrueColor =
        shown.format() == QImage::Format_RGB32 && canvas().format == RGBACanvas;
    return isTrueColor && isOpaque(picture) ? picture.convertToFormat(QImage::Format_RGB32)
                                            : picture;
}

/// Writes the canvas into the sprite. False, with a message, when the file did not take it.
bool SpriteEditorPrivate::saveImg()
{
    const QImage picture = sprite() ? unsaved() : QImage();
    if (picture.isNull())
        return false;
    Palette *own = current->palette();
    const QImage before = std::exchange(shown, picture);
    const Still still(this);
    const QPointer<Sprites> list = sprites;
    list->beginChange();
    if (picture.format() == QImage::Format_Indexed8 && !own)
        current->setImage(picture, false, Sprite::ImagePalette, nullptr);
    else
        current->setImage(picture);
    const bool isTaken = still.isSo() && samePixels(current->image(), picture);
    if (isTaken && !moves.isEmpty())
        editor->setSpriteOffset(current, movedOffset());
    if (list)
        list->endChange();
    if (!still.isSo())
        return false;
    if (!isTaken) {
        shown = before;
        showWarning(window(), SpriteEditor::tr("Save image changes"),
                    SpriteEditor::tr("The file did not take the picture of '%1'!").arg(identifier));
        return false;
    }
    forgetSteps();
    chooseColors();
    Q_EMIT editor->modified();
    return true;
}

// --- The editor

SpriteEditor::SpriteEditor(GraphicsWorkspace &workspace, PaletteEditor *palettes, QObject *parent)
    : FileEditor(parent)
    , d(std::make_unique<SpriteEditorPrivate>(this, interface, workspace, palettes))
{
    reconfig();
    retranslate();
    d->setFile(nullptr);
}

SpriteEditor::~SpriteEditor() = default;

QAction *SpriteEditor::action() const
{
    return d->editorAction;
}

const char *SpriteEditor::name() const
{
    return "sprites";
}

bool SpriteEditor::isModified() const
{
    return FileEditor::isModified() || d->isDirty();
}

unsigned int SpriteEditor::areas() const
{
    return 7;
}

void SpriteEditor::activate()
{
    active = true;
    d->workspace.setRenderer(d->renderer);
    interface->setEditorWidget(d->workspace.widget());
    d->showPanels(true);
    d->tellEnabled();
    d->clearStatus();
    d->showWhole(true);
    d->tellRenderer();
    d->tellTool();
    d->followFrame();
}

void SpriteEditor::deactivate()
{
    active = false;
    d->showPanels(false);
    d->tellEnabled();
    d->clearStatus();
}

void SpriteEditor::reconfig()
{
    const bool follows = interface->option(QStringLiteral("switch_frame_spr"), false).toBool();
    if (d->frameAction)
        d->frameAction->setChecked(follows);
    d->usesSpritePalette = interface->option(QStringLiteral("switch_to_imgpal"), true).toBool();
    Q_EMIT d->setSwitchPal(d->usesSpritePalette);
    const QColor start = interface->colorOption(QStringLiteral("back_start"));
    const QColor end = interface->colorOption(QStringLiteral("back_end"));
    if (end.isValid())
        d->renderer->setBackground(end);
    if (start.isValid() && end.isValid())
        d->renderer->setChecks(start, start.lighter(112));
}

void SpriteEditor::retranslate()
{
    d->setTexts();
}

void SpriteEditor::engineSwitched(bool)
{
    d->saveOrDiscard();
}

void SpriteEditor::navigateTo(unsigned int row, unsigned int)
{
    setCurrent(row);
}

void SpriteEditor::undo()
{
    QUndoStack &steps = d->canvas().undoStack;
    if (steps.canUndo()) {
        steps.undo();
    } else if (d->mayUndoFile()) {
        FileEditor::undo();
        d->hasLaterStep = false;
    }
}

void SpriteEditor::redo()
{
    QUndoStack &steps = d->canvas().undoStack;
    if (steps.canRedo())
        steps.redo();
    else
        FileEditor::redo();
}

void SpriteEditor::cut()
{
    d->cut();
}

void SpriteEditor::copy()
{
    d->copy();
}

void SpriteEditor::paste()
{
    d->paste();
}

bool SpriteEditor::find(const ProjectFile *file, const QString &text, unsigned int flags)
{
    const auto *list = dynamic_cast<const Sprites *>(file);
    const ItemMatch matches(text, flags);
    if (!list || !matches.isPossible())
        return false;
    const int row =
        firstMatch(matches, rowsToSearch(int(list->itemCount()), int(list->current()), flags),
                   [list](int at) { return list->at(unsigned(at)); });
    if (row >= 0 && list == d->sprites)
        setCurrent(unsigned(row));
    return row >= 0;
}

void SpriteEditor::replace(const QString &text, const QString &by, unsigned int flags, bool all)
{
    const ItemMatch matches(text, flags);
    if (!d->sprite() || !matches.isPossible())
        return;
    Sprites *list = d->sprites;
    Sprite *one = all ? nullptr : d->current;
    if (replaceIdentifiers(list, matches, by, one,
                           [list](unsigned int i) { return list->at(i); }) &&
        !all)
        find(text, flags | Silent);
}

Project::FileID::Type SpriteEditor::canEditFileType()
{
    return Project::FileID::Sprites;
}

bool SpriteEditor::canDiscard(const ProjectFile *file) const
{
    const bool isShown = file && file == currentFile();
    return (!isShown || canDiscardChanges()) && FileEditor::canDiscard(file);
}

void SpriteEditor::setCurrentFile(ProjectFile *file)
{
    auto *list = dynamic_cast<Sprites *>(file);
    if (list && list == d->sprites)
        return;
    const QPointer<Sprites> wanted(list);
    if (list)
        d->saveOrDiscard();
    FileEditor::setCurrentFile(wanted ? file : nullptr);
    Project *project = wanted ? wanted->project() : nullptr;
    const int index = project ? project->filesByType(canEditFileType()).indexOf(file) : -1;
    if (index >= 0)
        project->setSelectedFile(canEditFileType(), unsigned(index));
    d->setFile(wanted);
    if (active)
        d->showPanels(true);
    if (active)
        d->followFrame();
}

void SpriteEditor::save()
{
    if (saveImage())
        FileEditor::save();
}

void SpriteEditor::saveAs()
{
    if (saveImage())
        FileEditor::saveAs();
}

bool SpriteEditor::saveImage()
{
    return !d->isDirty() || d->saveImg();
}

bool SpriteEditor::hasUnsavedPicture() const
{
    return d->isDirty() && d->sprite();
}

QImage SpriteEditor::unsavedPicture() const
{
    return hasUnsavedPicture() ? d->unsaved() : QImage();
}

Sprite *SpriteEditor::currentSprite() const
{
    return d->sprite();
}

bool SpriteEditor::setCurrent(unsigned int index)
{
    return d->setCurrent(index);
}

void SpriteEditor::setSpriteImage(const QImage &image)
{
    d->setSpriteImage(image);
}

bool SpriteEditor::canDiscardChanges() const
{
    return !d->isDirty() ||
           askQuestion(interface->mainWindow(), tr("Discard changes?"),
                       tr("Do you want to discard the changes made in the current sprite?"));
}

bool SpriteEditor::canChangeFieldValue() const
{
    return d->fields.canChangeFieldValue();
}

ImageRenderer *SpriteEditor::renderer() const
{
    return d->renderer;
}

QPoint SpriteEditor::spriteOffset(Sprite *) const
{
    return {};
}

void SpriteEditor::setSpriteOffset(Sprite *, QPoint)
{
}

void SpriteEditor::contentsChanged()
{
    Project *project = interface->currentProject();
    ProjectFile *file = project ? project->file(canEditFileType()) : currentFile();
    if (file != currentFile())
        setCurrentFile(file);
    Q_EMIT modified();
}

} // namespace Kiln
