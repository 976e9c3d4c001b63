#include <kilnx/editors/paletteeditor.h>

#include <kilnx/editors/organizer.h>
#include <kilnx/editors/paletteeditor_p.h>
#include <kilnx/editors/remapdlg.h>
#include <kilnx/forms/itemsdialog.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/controls.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/translator.h>

#include <QtCore/QVariant>
#include <QtWidgets/QAbstractSlider>
#include <QtWidgets/QAction>
#include <QtWidgets/QColorDialog>

#include <algorithm>
#include <cstring>

namespace Kiln
{

namespace
{

struct PanelAction {
    const char *key;
    const char *slot;
    bool needsPalette;
};

const char thereIsAFile[] = "2noFile(bool)";
const char thereIsAPalette[] = "2enabled(bool)";

/// Their texts stand side by side in the translator's table, in this order.
const int palettesText = 28;
const PanelAction panelActions[] = {
    {"pal_clear", "1clear()", true},
    {"pal_clear_unused", "1clearUnused()", true},
    {"pal_add", "1add()", false},
    {"pal_delete", "1del()", true},
    {"pal_delete_duplicates", "1delDupl()", true},
    {"pal_open", "1open()", true},
    {"pal_save", "1save()", true},
    {"pal_remap", "1remap()", true},
    {"pal_undo", "1undo()", true},
    {"pal_redo", "1redo()", true},
    {"pal_switch_color", "1switchColor()", true},
    {"pal_set_color", "1setColor()", true},
    {"pal_apply_sprite", "1setSprPal()", true},
    {"pal_prev", "1prevPal()", true},
    {"pal_next", "1nextPal()", true},
};

RGBA rgbaOf(const QColor &color)
{
    return fromQRgb(color.rgba());
}

} // namespace

PaletteEditorPrivate::PaletteEditorPrivate(PaletteEditor *panel,
                                           Interface *host,
                                           const bool &active)
    : QObject(panel)
    , editor(panel)
    , interface(host)
    , fields(active)
    , widget(new PaletteWidget)
{
    widget->setCellSize(interface->scaled(12));
    widget->setRedistributable(true);
    widget->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(widget, &PaletteWidget::changed, this, &PaletteEditorPrivate::commit);
    connect(widget, &PaletteWidget::colorDblClick, this, &PaletteEditorPrivate::setColor);
}

PaletteEditorPrivate::~PaletteEditorPrivate()
{
    delete remapDialog;
    // A host that has not placed the grid has not taken it over.
    if (widget && !widget->parent())
        delete widget;
}

void PaletteEditorPrivate::declare()
{
    KilnTranslator *texts = KilnTranslator::instance();
    int textId = palettesText;
    const auto declareAction = [&](const PanelAction &entry, int id, bool checkable) {
        const QString key = QLatin1String(entry.key);
        QAction *action = interface->addAction(widget, key, texts, id, checkable, this, entry.slot,
                                               entry.needsPalette ? thereIsAPalette : thereIsAFile);
        interface->addControl(key, ToolButtonControl(action));
        return action;
    };
    for (const PanelAction &entry : panelActions)
        declareAction(entry, ++textId, false);
    organizerAction = declareAction({"org_palette", "1palOrg()", false}, palettesText, true);

    WidgetControl place(Control::PositionSelector);
    place.receiver = this;
    place.slot = "1selPosChanged(int)";
    place.setter = "2setSelPos(int)";
    place.enabler = thereIsAPalette;
    interface->addControl(QStringLiteral("pal_sel"), place);
    WidgetControl label(Control::Label);
    label.receiver = this;
    label.setter = "2setPosText(QString)";
    interface->addControl(QStringLiteral("pal_sel_lb"), label);
    interface->addControl(QStringLiteral("pal_view"), EmbeddedControl(widget));
}

QWidget *PaletteEditorPrivate::window() const
{
    return interface->mainWindow();
}

Palette *PaletteEditorPrivate::current() const
{
    return palettes ? palettes->at(palettes->current()) : nullptr;
}

void PaletteEditorPrivate::follow(QAbstractItemModel *model)
{
    connect(model, &QAbstractItemModel::rowsInserted, this, &PaletteEditorPrivate::refresh);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &PaletteEditorPrivate::refresh);
    connect(model, &QAbstractItemModel::rowsMoved, this, &PaletteEditorPrivate::refresh);
    connect(model, &QAbstractItemModel::layoutChanged, this, &PaletteEditorPrivate::refresh);
    connect(model, &QAbstractItemModel::modelReset, this, &PaletteEditorPrivate::refresh);
    connect(model, &QAbstractItemModel::dataChanged, this, &PaletteEditorPrivate::refresh);
}

void PaletteEditorPrivate::setFile(Palettes *file)
{
    if (palettes) {
        palettes->disconnect(this);
        if (QAbstractItemModel *remaps = palettes->remapModel())
            remaps->disconnect(editor);
    }
    if (isFollowing)
        followSprites();
    ++stamp;
    palettes = file;
    row = cameFrom = QPersistentModelIndex();
    if (remapDialog)
        remapDialog->setPalettes(file);
    if (file) {
        follow(file);
        connect(file, &OrganizableObject::changed, this, &PaletteEditorPrivate::refresh);
        connect(file, &OrganizableObject::modified, this, &PaletteEditorPrivate::refresh);
        connect(file, &QObject::destroyed, this, &PaletteEditorPrivate::refresh);
        if (QAbstractItemModel *remaps = file->remapModel()) {
            const auto changed = [this] { editor->remapChanged(); };
            connect(remaps, &QAbstractItemModel::dataChanged, editor, changed);
            connect(remaps, &QAbstractItemModel::modelReset, editor, changed);
            connect(remaps, &QAbstractItemModel::rowsInserted, editor, changed);
            connect(remaps, &QAbstractItemModel::rowsRemoved, editor, changed);
        }
    }
    refresh();
}

void PaletteEditorPrivate::setCurrent(unsigned int index)
{
    if (count() == 0)
        return;
    index = qMin(index, count() - 1);
    if (!row.isValid() || unsigned(row.row()) != index) {
        row = cameFrom = QPersistentModelIndex();
        palettes->setCurrent(index);
    }
    refresh();
}

/// The palette on show stays the current one while rows come, go and move around it. When it has
/// gone, the one that has come into its place follows; where an add was taken back, the one that
/// was shown before.
void PaletteEditorPrivate::refresh()
{
    shownCount = count();
    if (shownCount > 0) {
        if (row.isValid() && palettes->current() != unsigned(row.row()))
            palettes->setCurrent(unsigned(row.row()));
        else if (!row.isValid() && cameFrom.isValid())
            palettes->setCurrent(unsigned(cameFrom.row()));
        else if (palettes->current() >= shownCount)
            palettes->setCurrent(shownCount - 1);
    }
    tellPosition();
    showColors();
}

void PaletteEditorPrivate::tellPosition()
{
    const unsigned int at = shownCount > 0 ? palettes->current() : 0;
    fields.beginProgramChange();
    if (auto *slider =
            qobject_cast<QAbstractSlider *>(interface->control(QStringLiteral("pal_sel"))))
        slider->setRange(0, qMax(0, int(shownCount) - 1));
    Q_EMIT setSelPos(int(at));
    fields.endProgramChange();
    Q_EMIT setPosText(QStringLiteral("%1 / %2").arg(shownCount > 0 ? at + 1 : 0).arg(shownCount));
    Q_EMIT noFile(palettes);
    Q_EMIT enabled(shownCount > 0);
}

/// Loads the palette into the grid unless it is there already. What the grid has written itself is.
void PaletteEditorPrivate::showColors()
{
    Palette *palette = current();
    const QModelIndex place = palette ? palettes->index(int(palettes->current())) : QModelIndex();
    const bool isSame = palette && row == place;
    const bool wasEmpty = isEmpty;
    row = place;
    isEmpty = !palette;
    RGBA colors[256] = {};
    if (palette)
        palette->toPalette(colors);
    const bool isShown =
        palette ? isSame && (!widget ||
                             std::memcmp(colors, widget->palette()->palette(), sizeof colors) == 0)
                : wasEmpty;
    if (widget)
        widget->setEnabled(palette);
    if (isShown)
        return;
    if (widget)
        widget->load(colors);
    editor->paletteChanged(palette);
}

/// Puts what was done in the grid into the file, which may refuse it.
void PaletteEditorPrivate::commit()
{
    Palette *palette = current();
    if (!palette || !widget)
        return;
    const Still still(this);
    palette->setColors(widget->palette()->palette(), Palette::SetEdited);
    if (!still.isSo())
        return;
    showColors();
    editor->paletteChanged(current());
}

/// The host may make the editor of sprites after the panel.
void PaletteEditorPrivate::followSprites()
{
    Editor *sprites = interface->editor("sprites");
    if (!sprites)
        return;
    if (isFollowing)
        connect(sprites, &Editor::visibilityChanged, this, &PaletteEditorPrivate::spritesShown,
                Qt::UniqueConnection);
    else
        disconnect(sprites, &Editor::visibilityChanged, this, &PaletteEditorPrivate::spritesShown);
    spritesShown(isFollowing && sprites->isActive());
}

/// Another panel that the host shows meanwhile stays.
void PaletteEditorPrivate::spritesShown(bool visible)
{
    const ExtraEditor *shown = interface->currentExtraEditor();
    if (visible && !shown)
        interface->setExtraEditor(editor);
    else if (!visible && shown == editor)
        interface->setExtraEditor(nullptr);
}

/// The user works on palettes while the sprites are shown. False if that took the file away.
bool PaletteEditorPrivate::ready()
{
    const Still still(this);
    if (palettes)
        editor->switchToSprites();
    return still.isSo();
}

bool PaletteEditorPrivate::confirm(const QString &title, const QString &question) const
{
    return !interface->option(QStringLiteral("confirm_delete"), true).toBool() ||
           askQuestion(window(), title, question);
}

/// The rows that the user picks; none if he cancels, or the model ends meanwhile.
QList<int>
PaletteEditorPrivate::chosenRows(const QString &title, QAbstractItemModel *model, int first)
{
    const QPointer<ItemsDialog> dialog(interface->itemsDialog(window(), title, model, first));
    const bool isAccepted = dialog->exec() == QDialog::Accepted;
    const QList<int> rows = dialog && isAccepted ? dialog->selectedRows() : QList<int>();
    delete dialog;
    return rows;
}

void PaletteEditorPrivate::clear()
{
    const Still still(this);
    if (!confirm(PaletteEditor::tr("Delete palettes"),
                 PaletteEditor::tr("Do you really want to delete all palettes?")) ||
        !still.isSo() || !ready())
        return;
    palettes->beginChange();
    for (unsigned int index = count(); index-- > 0;)
        palettes->remove(index);
    palettes->endChange();
}

void PaletteEditorPrivate::clearUnused()
{
    if (ready())
        palettes->removeUnused();
}

void PaletteEditorPrivate::delDupl()
{
    if (ready())
        palettes->removeDuplicates();
}

void PaletteEditorPrivate::del()
{
    const Still still(this);
    const QPersistentModelIndex target = row;
    if (target.isValid() &&
        confirm(PaletteEditor::tr("Delete palette"),
                PaletteEditor::tr("Do you really want to delete the palette?")) &&
        still.isSo() && ready() && target.isValid()) {
        cameFrom = QPersistentModelIndex();
        palettes->remove(unsigned(target.row()));
    }
}

void PaletteEditorPrivate::remap()
{
    if (!ready())
        return;
    if (!remapDialog)
        remapDialog = new RemapDlg(window());
    remapDialog->setPalettes(palettes);
    remapDialog->show();
    remapDialog->raise();
    remapDialog->activateWindow();
}

void PaletteEditorPrivate::undo()
{
    if (widget)
        widget->undo();
}

void PaletteEditorPrivate::redo()
{
    if (widget)
        widget->redo();
}

/// Entry 0, which many games take as clear, keeps its alpha when it changes places with entry 255.
void PaletteEditorPrivate::switchColor()
{
    if (ready() && widget && widget->firstSelection() >= 0)
        widget->palette()->switchColors(widget->selection,
                                        widget->isSelected(0) && widget->isSelected(255));
}

void PaletteEditorPrivate::setColor()
{
    if (!ready() || !row.isValid() || !widget || widget->firstSelection() < 0)
        return;
    const Still still(this);
    const QPersistentModelIndex target = row;
    bool selection[256];
    std::copy_n(widget->selection, 256, selection);
    const auto first = static_cast<unsigned char>(widget->firstSelection());
    const QColor color =
        QColorDialog::getColor(widget->palette()->colorAt(first), window(),
                               PaletteEditor::tr("Color"), QColorDialog::ShowAlphaChannel);
    if (color.isValid() && still.isSo() && target.isValid() && row == target && widget)
        widget->palette()->setColor(selection, rgbaOf(color));
}

void PaletteEditorPrivate::setSprPal()
{
    if (!ready() || !row.isValid())
        return;
    const Still still(this);
    const QPersistentModelIndex target = row;
    const QPointer<Sprites> sprites(palettes->sprites());
    const QList<int> rows =
        chosenRows(PaletteEditor::tr("Apply to the sprites"), sprites, int(sprites->current()));
    if (rows.isEmpty() || !still.isSo() || !sprites || !target.isValid())
        return;
    Palette *palette = palettes->at(unsigned(target.row()));
    sprites->beginChange();
    for (int sprite : rows) {
        if (Sprite *chosen = sprites->at(unsigned(sprite)))
            chosen->setPalette(palette);
    }
    sprites->endChange();
}

void PaletteEditorPrivate::prevPal()
{
    if (row.row() > 0)
        setCurrent(unsigned(row.row()) - 1);
}

void PaletteEditorPrivate::nextPal()
{
    if (row.isValid())
        setCurrent(unsigned(row.row()) + 1);
}

/// The organizer shows the palettes while the action is checked, and the sprites otherwise.
void PaletteEditorPrivate::palOrg()
{
    auto *organizer = qobject_cast<OrganizerEditor *>(interface->extraEditor(0));
    if (!ready() || !organizer || !organizerAction)
        return;
    OrganizableObject *list = palettes;
    if (!organizerAction->isChecked())
        list = palettes->sprites();
    connect(organizer, &OrganizerEditor::itemClicked, this, &PaletteEditorPrivate::organizerClicked,
            Qt::UniqueConnection);
    organizer->setObject(list);
}

void PaletteEditorPrivate::organizerClicked(int clicked)
{
    const auto *organizer = qobject_cast<OrganizerEditor *>(interface->extraEditor(0));
    if (palettes && organizer && organizer->object() == palettes)
        setCurrent(unsigned(clicked));
}

void PaletteEditorPrivate::selPosChanged(int index)
{
    if (index >= 0 && editor->canChangeFieldValue())
        setCurrent(unsigned(index));
}

PaletteEditor::PaletteEditor(QObject *parent)
    : ExtraEditor(parent)
    , d(std::make_unique<PaletteEditorPrivate>(this, interface, active))
{
    d->declare();
    retranslate();
    d->refresh();
}

PaletteEditor::~PaletteEditor() = default;

const char *PaletteEditor::name() const
{
    return "palettes";
}

QString PaletteEditor::displayName() const
{
    return KilnTranslator::instance()->text(palettesText);
}

void PaletteEditor::engineSwitched(bool switched)
{
    d->isFollowing = switched;
    d->followSprites();
}

void PaletteEditor::retranslate()
{
    if (d->widget)
        d->widget->setAccessibleName(displayName());
}

void PaletteEditor::release()
{
    delete this;
}

Palette *PaletteEditor::currentPalette() const
{
    return d->current();
}

void PaletteEditor::setCurrentPalette(Palette *palette)
{
    if (palette && palette->palettes() == d->palettes && palette->index() >= 0)
        d->setCurrent(unsigned(palette->index()));
}

Palettes *PaletteEditor::palettes() const
{
    return d->palettes;
}

void PaletteEditor::setPalettes(Palettes *palettes)
{
    d->setFile(palettes);
}

void PaletteEditor::setPalette(RGBA (&colors)[256])
{
    const PaletteEditorPrivate::Still still(d.get());
    const QVariant key = paletteIdentifier();
    if (!key.isValid() || !still.isSo())
        return;
    const int known = d->palettes->indexOf(0, key);
    if (known < 0)
        d->palettes->add(colors, key, false);
    else if (Palette *palette = d->palettes->at(unsigned(known)))
        palette->setColors(colors, Palette::SetReplaced);
}

PaletteWidget *PaletteEditor::widget() const
{
    return d->widget;
}

bool PaletteEditor::canChangeFieldValue() const
{
    return d->fields.canChangeFieldValue();
}

bool PaletteEditor::switchToSprites()
{
    const QPointer<Editor> sprites(interface->editor("sprites"));
    if (sprites && interface->currentEditor() != sprites)
        interface->switchTo(sprites);
    return sprites && sprites->isActive();
}

void PaletteEditor::paletteChanged(Palette *palette)
{
    Q_EMIT paletteShown(palette);
}

void PaletteEditor::remapChanged()
{
    if (d->count() != d->shownCount)
        d->setCurrent(d->count() - 1);
    Q_EMIT remapped();
}

QVariant PaletteEditor::paletteIdentifier()
{
    return QVariant();
}

} // namespace Kiln
