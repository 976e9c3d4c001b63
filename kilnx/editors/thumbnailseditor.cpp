#include <kilnx/editors/thumbnailseditor.h>

#include <kilnx/code/animations.h>
#include <kilnx/editors/projectanimations_p.h>
#include <kilnx/editors/spriteexport_p.h>
#include <kilnx/editors/thumbnaildelegate_p.h>
#include <kilnx/editors/thumbnailsmodel.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/controls.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/translator.h>

#include <QtCore/QPointer>
#include <QtWidgets/QAbstractSlider>
#include <QtWidgets/QApplication>
#include <QtWidgets/QListView>

#include <algorithm>
#include <utility>

namespace Kiln
{

namespace
{

const QString sizeKey = QStringLiteral("thumbnails_size");
constexpr int firstSide = 64;
const char thereAreSprites[] = "2enabled(bool)";
const char someAreSelected[] = "2selected(bool)";

struct PanelAction {
    const char *key;
    int textId;
    const char *slot;
    const char *enabler;
};

const PanelAction panelActions[] = {
    {"thumb_add_selected", KilnTranslator::ThumbnailsAddSelectedText, "1addSelected()",
     someAreSelected},
    {"thumb_add_all", KilnTranslator::ThumbnailsAddAllText, "1addAll()", thereAreSprites},
    {"thumb_new_selected", KilnTranslator::ThumbnailsNewSelectedText, "1newWithSelected()",
     someAreSelected},
    {"thumb_new_all", KilnTranslator::ThumbnailsNewAllText, "1newWithAll()", thereAreSprites},
    {"thumb_save", KilnTranslator::ThumbnailsSaveText, "1saveSelected()", someAreSelected},
};

QString text(int id)
{
    return KilnTranslator::instance()->text(id);
}

} // namespace

/// The panel's state, and what its commands do with the rows.
class ThumbnailsEditorPrivate : public QObject
{
public:
    ThumbnailsEditorPrivate(ThumbnailsEditor *owner, Interface *host);

    void declare();
    void applySide();
    void tellEnabled();
    void tellChosen();
    QList<int> selectedRows() const;
    QList<int> allRows() const;
    Animations *animations(int textId) const;
    void addTo(const QList<int> &rows, int textId);
    void makeOf(const QList<int> &rows, int textId);

    ThumbnailsEditor *const editor;
    Interface *const interface;
    ThumbnailsModel model;
    QPointer<QListView> view;
    ThumbnailDelegate *delegate = nullptr; ///< a child
    int side = firstSide;
    bool isChanging = false; ///< the model's rows are about to be others
    int laterRow = -1;       ///< showSprite() of meanwhile

private:
    QStringList identifiers(const QList<int> &rows) const;
    static void append(AnimationCode &animation, const QStringList &identifiers);
};

ThumbnailsEditorPrivate::ThumbnailsEditorPrivate(ThumbnailsEditor *owner, Interface *host)
    : editor(owner)
    , interface(host)
{
    delegate = new ThumbnailDelegate(this);
}

/// A host that makes no list view has no panel to fill.
void ThumbnailsEditorPrivate::declare()
{
    WidgetControl slider(Control::PositionSelector);
    slider.receiver = editor;
    slider.slot = "1setSide(int)";
    slider.setter = "2setSize(int)";
    interface->addControl(QStringLiteral("thumb_size"), slider);
    if (auto *range =
            qobject_cast<QAbstractSlider *>(interface->control(QStringLiteral("thumb_size")))) {
        const QSignalBlocker quiet(range); // the range is not the user's choice
        range->setRange(ThumbnailsEditor::smallestSide, ThumbnailsEditor::largestSide);
    }
    QWidget *widget = interface->addControl(QStringLiteral("thumb_list"), ListViewControl());
    view = qobject_cast<QListView *>(widget);
    for (const PanelAction &entry : panelActions) {
        const QString key = QLatin1String(entry.key);
        QAction *action =
            interface->addAction(widget, key, KilnTranslator::instance(), entry.textId, false,
                                 editor, entry.slot, entry.enabler);
        interface->addControl(key, ToolButtonControl(action));
    }
    if (!view)
        return;
    view->setViewMode(QListView::IconMode);
    view->setMovement(QListView::Static);
    view->setResizeMode(QListView::Adjust);
    view->setUniformItemSizes(true);
    view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setDragDropMode(QAbstractItemView::DragOnly);
    view->setContextMenuPolicy(Qt::ActionsContextMenu);
    view->setItemDelegate(delegate);
    view->setModel(&model);
    connect(view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ThumbnailsEditorPrivate::tellEnabled);
    connect(view->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] {
        if (QApplication::mouseButtons() == Qt::NoButton)
            tellChosen();
    });
    // The selection is told first when the model is another.
    const auto follow = [this] { tellEnabled(); };
    connect(&model, &QAbstractItemModel::modelReset, this, follow);
    connect(&model, &QAbstractItemModel::rowsInserted, this, follow);
    connect(&model, &QAbstractItemModel::rowsRemoved, this, follow);
    // The sprites' editor hears of other rows before the view does.
    using Model = QAbstractItemModel;
    const auto begin = [this] { isChanging = true; };
    const auto end = [this] {
        isChanging = false;
        editor->showSprite(std::exchange(laterRow, -1));
    };
    connect(&model, &Model::layoutAboutToBeChanged, this, begin);
    connect(&model, &Model::layoutChanged, this, end);
    connect(&model, &Model::modelAboutToBeReset, this, begin);
    connect(&model, &Model::modelReset, this, end);
    connect(&model, &Model::rowsAboutToBeInserted, this, begin);
    connect(&model, &Model::rowsInserted, this, end);
    connect(&model, &Model::rowsAboutToBeRemoved, this, begin);
    connect(&model, &Model::rowsRemoved, this, end);
    connect(&model, &Model::rowsAboutToBeMoved, this, begin);
    connect(&model, &Model::rowsMoved, this, end);
    // Not when the button goes down: a drag may begin.
    connect(view, &QAbstractItemView::clicked, this, &ThumbnailsEditorPrivate::tellChosen);
}

void ThumbnailsEditorPrivate::applySide()
{
    if (!view)
        return;
    delegate->setSide(interface->scaled(side));
    model.setSide(qRound(interface->scaled(side) * view->devicePixelRatioF()));
    view->setGridSize(delegate->cellSize(*view));
}

void ThumbnailsEditorPrivate::tellEnabled()
{
    Q_EMIT editor->enabled(model.rowCount() > 0);
    Q_EMIT editor->selected(view && view->selectionModel()->hasSelection());
}

/// One sprite is chosen; several are only picked.
void ThumbnailsEditorPrivate::tellChosen()
{
    const QModelIndex current = view->currentIndex();
    const QModelIndexList rows = view->selectionModel()->selectedRows();
    if (current.isValid() && (rows.isEmpty() || rows == QModelIndexList{current}))
        Q_EMIT editor->spriteChosen(current.row());
}

QList<int> ThumbnailsEditorPrivate::selectedRows() const
{
    QList<int> rows;
    const QModelIndexList indexes =
        view ? view->selectionModel()->selectedRows() : QModelIndexList();
    for (const QModelIndex &index : indexes)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

QList<int> ThumbnailsEditorPrivate::allRows() const
{
    QList<int> rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows.append(row);
    return rows;
}

QStringList ThumbnailsEditorPrivate::identifiers(const QList<int> &rows) const
{
    QStringList list;
    for (const int row : rows)
        list.append(
            model.sprites()->at(unsigned(row))->property(QStringLiteral("Identifier")).toString());
    return list;
}

/// Those of the file's project; null after a message.
Animations *ThumbnailsEditorPrivate::animations(int textId) const
{
    Animations *list = animationsOf(model.sprites()->project());
    if (!list)
        showWarning(interface->mainWindow(), text(textId),
                    ThumbnailsEditor::tr("The project has no animations."));
    return list;
}

void ThumbnailsEditorPrivate::append(AnimationCode &animation, const QStringList &identifiers)
{
    for (const QString &identifier : identifiers)
        animation.insertFrame(animation.frameCount(), identifier);
}

void ThumbnailsEditorPrivate::addTo(const QList<int> &rows, int textId)
{
    Animations *list = rows.isEmpty() ? nullptr : animations(textId);
    if (!list)
        return;
    if (!list->at(list->selected())) {
        showWarning(interface->mainWindow(), text(textId),
                    ThumbnailsEditor::tr("There is no current animation."));
        return;
    }
    list->beginChange();
    if (AnimationCode *animation = list->at(list->selected()))
        append(*animation, identifiers(rows));
    list->endChange();
}

/// Behind the current animation; it becomes the current one. What frames the engine's template has
/// give way.
void ThumbnailsEditorPrivate::makeOf(const QList<int> &rows, int textId)
{
    Animations *list = rows.isEmpty() ? nullptr : animations(textId);
    if (!list)
        return;
    const unsigned int at = qMin(list->selected() + 1, list->count());
    list->beginChange();
    if (AnimationCode *animation = list->insert(at, list->freeIdentifier())) {
        append(*animation, identifiers(rows));
        while (animation->frameCount() > unsigned(rows.size()))
            animation->removeFrame(0);
        list->setSelected(at);
    }
    list->endChange();
}

ThumbnailsEditor::ThumbnailsEditor(QObject *parent)
    : ExtraEditor(parent)
    , d(std::make_unique<ThumbnailsEditorPrivate>(this, interface))
{
    d->declare();
    retranslate();
    reconfig();
    d->tellEnabled();
}

ThumbnailsEditor::~ThumbnailsEditor() = default;

const char *ThumbnailsEditor::name() const
{
    return "thumbnails";
}

QString ThumbnailsEditor::displayName() const
{
    return text(KilnTranslator::ThumbnailsText);
}

/// The editor of sprites hands its own file over as soon as it is shown.
void ThumbnailsEditor::activate()
{
    active = true;
    const Project *project = interface->currentProject();
    ProjectFile *file = project ? project->file(Project::FileID::Sprites) : nullptr;
    if (auto *list = dynamic_cast<Sprites *>(file))
        setSprites(list);
    d->applySide();
}

void ThumbnailsEditor::reconfig()
{
    d->side = qBound(smallestSide, interface->option(sizeKey, firstSide).toInt(), largestSide);
    Q_EMIT setSize(d->side);
    d->applySide();
    const QColor ground = interface->colorOption(QStringLiteral("back_start"));
    if (ground.isValid())
        d->delegate->setChecks(ground, ground.lighter(112));
    if (d->view)
        d->view->viewport()->update();
}

void ThumbnailsEditor::retranslate()
{
    if (d->view)
        d->view->setAccessibleName(displayName());
    if (QWidget *slider = interface->control(QStringLiteral("thumb_size"))) {
        slider->setAccessibleName(tr("Size of the pictures"));
        slider->setToolTip(slider->accessibleName());
    }
}

void ThumbnailsEditor::release()
{
    delete this;
}

void ThumbnailsEditor::setSprites(Sprites *sprites)
{
    d->model.setSprites(sprites);
    d->tellEnabled();
}

Sprites *ThumbnailsEditor::sprites() const
{
    return d->model.sprites();
}

void ThumbnailsEditor::showSprite(int row)
{
    if (d->isChanging) {
        d->laterRow = row;
        return;
    }
    const QModelIndex index = d->model.index(row, 0);
    if (!d->view || !index.isValid())
        return;
    QItemSelectionModel *selection = d->view->selectionModel();
    selection->setCurrentIndex(index, selection->isSelected(index)
                                          ? QItemSelectionModel::NoUpdate
                                          : QItemSelectionModel::ClearAndSelect);
    d->view->scrollTo(index);
}

ThumbnailsModel *ThumbnailsEditor::model() const
{
    return &d->model;
}

void ThumbnailsEditor::addSelected()
{
    d->addTo(d->selectedRows(), KilnTranslator::ThumbnailsAddSelectedText);
}

void ThumbnailsEditor::addAll()
{
    d->addTo(d->allRows(), KilnTranslator::ThumbnailsAddAllText);
}

void ThumbnailsEditor::newWithSelected()
{
    d->makeOf(d->selectedRows(), KilnTranslator::ThumbnailsNewSelectedText);
}

void ThumbnailsEditor::newWithAll()
{
    d->makeOf(d->allRows(), KilnTranslator::ThumbnailsNewAllText);
}

void ThumbnailsEditor::saveSelected()
{
    SpriteExport(d->interface, sprites()).run(d->selectedRows());
}

void ThumbnailsEditor::setSide(int pixels)
{
    pixels = qBound(smallestSide, pixels, largestSide);
    if (d->side == pixels)
        return;
    d->side = pixels;
    interface->setOption(sizeKey, pixels);
    d->applySide();
}

} // namespace Kiln
