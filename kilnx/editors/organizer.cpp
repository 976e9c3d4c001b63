#include <kilnx/editors/organizer.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/controls.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/organizable.h>
#include <kilnx/project/translator.h>

#include <QtCore/QItemSelection>
#include <QtCore/QPointer>
#include <QtCore/QVariant>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QListView>

#include <algorithm>

namespace Kiln
{

namespace
{

struct PanelAction {
    const char *key;
    int textId;
    const char *slot;
};

const PanelAction panelActions[] = {
    {"org_up", KilnTranslator::OrganizerUpText, "1moveUp()"},
    {"org_down", KilnTranslator::OrganizerDownText, "1moveDown()"},
    {"org_up_10", KilnTranslator::OrganizerUp10Text, "1moveUp10()"},
    {"org_down_10", KilnTranslator::OrganizerDown10Text, "1moveDown10()"},
    {"org_top", KilnTranslator::OrganizerTopText, "1moveTop()"},
    {"org_bottom", KilnTranslator::OrganizerBottomText, "1moveBottom()"},
    {"org_auto", KilnTranslator::OrganizerAutoText, "1moveAuto()"},
};

const int pageRows = 10;

} // namespace

/// The panel's state, and the filter that takes the Delete key from the list.
class OrganizerEditorPrivate : public QObject
{
public:
    OrganizerEditorPrivate(Interface *host, OrganizerEditor *panel);

    void declareControls();
    void showAsWanted(bool overOthers);
    void rowsChanged();
    void clicked(const QModelIndex &index);
    QVector<int> selectedRows() const;
    void moveUpTo(int target);
    void moveDownTo(int target);
    bool removeSelected();
    void followKey();
    void showCurrent();
    bool eventFilter(QObject *watched, QEvent *event) override;

    Interface *interface;
    OrganizerEditor *editor;
    QPointer<OrganizableObject> object;
    QPointer<QListView> view;
    QPersistentModelIndex current; ///< what its editor has told last, of any list
    bool hadRows = false;

private:
    void finishMove(int first, int last, int seen);
};

OrganizerEditorPrivate::OrganizerEditorPrivate(Interface *host, OrganizerEditor *panel)
    : interface(host)
    , editor(panel)
{
}

void OrganizerEditorPrivate::declareControls()
{
    ListViewControl list;
    list.receiver = editor;
    list.doubleClickSlot = "1itemDblClick(QModelIndex)";
    list.enabler = "2enabled(bool)";
    QWidget *widget = interface->addControl(QStringLiteral("org_list"), list);
    view = qobject_cast<QListView *>(widget);
    if (view) {
        view->installEventFilter(this);
        connect(view, &QAbstractItemView::clicked, this, &OrganizerEditorPrivate::clicked);
    }
    for (const PanelAction &entry : panelActions) {
        const QString key = QLatin1String(entry.key);
        QAction *action =
            interface->addAction(widget, key, KilnTranslator::instance(), entry.textId, false,
                                 editor, entry.slot, "2enabled(bool)");
        interface->addControl(key, ToolButtonControl(action));
    }
}

/// One item is wanted; several are only picked. When the button goes up, since a drag may begin.
void OrganizerEditorPrivate::clicked(const QModelIndex &index)
{
    if (view->selectionModel()->selectedRows() != QModelIndexList{index})
        return;
    const QPointer<OrganizerEditorPrivate> alive(this);
    Q_EMIT editor->itemClicked(index.row());
    if (alive)
        showCurrent();
}

/// Shows or hides the panel. Another panel that the host shows meanwhile is not hidden, and gives
/// way only if the panel may go `overOthers`.
void OrganizerEditorPrivate::showAsWanted(bool overOthers)
{
    hadRows = object && object->rowCount() > 0;
    Q_EMIT editor->enabled(hadRows);
    const bool isWanted =
        hadRows && interface->option(QStringLiteral("show_organizer"), false).toBool();
    ExtraEditor *shown = interface->currentExtraEditor();
    if (!shown || shown == editor || (isWanted && overOthers))
        interface->setExtraEditor(isWanted ? editor : nullptr);
}

void OrganizerEditorPrivate::rowsChanged()
{
    if (hadRows != (object && object->rowCount() > 0))
        showAsWanted(false);
}

/// The selected rows in the order of the list, whatever the order in which they were selected.
QVector<int> OrganizerEditorPrivate::selectedRows() const
{
    QVector<int> rows;
    if (!view || !object || !view->selectionModel())
        return rows;
    const QModelIndexList indexes = view->selectionModel()->selectedRows();
    for (const QModelIndex &index : indexes)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

/// The rows end at `target` and below it, in their order. Taking them from the first to the last
/// leaves those that still have to move where they are.
void OrganizerEditorPrivate::moveUpTo(int target)
{
    const QVector<int> rows = selectedRows();
    object->beginChange();
    for (int i = 0; i < rows.size(); ++i) {
        if (rows.at(i) != target + i)
            object->move(unsigned(rows.at(i)), unsigned(target + i));
    }
    object->endChange();
    finishMove(target, target + rows.size() - 1, target);
}

/// The rows end at `target` and above it, in their order.
void OrganizerEditorPrivate::moveDownTo(int target)
{
    const QVector<int> rows = selectedRows();
    object->beginChange();
    int to = target;
    for (auto row = rows.crbegin(); row != rows.crend(); ++row, --to) {
        if (*row != to)
            object->move(unsigned(*row), unsigned(to));
    }
    object->endChange();
    finishMove(target - rows.size() + 1, target, target);
}

void OrganizerEditorPrivate::finishMove(int first, int last, int seen)
{
    const QItemSelection moved(object->index(first), object->index(last));
    view->selectionModel()->select(moved, QItemSelectionModel::ClearAndSelect);
    view->scrollTo(object->index(seen));
    Q_EMIT editor->changed();
}

/// False if nothing is selected or the user says no, and when the list goes behind the question.
bool OrganizerEditorPrivate::removeSelected()
{
    const QPointer<OrganizerEditorPrivate> alive(this);
    const QPointer<OrganizableObject> asked(object);
    if (selectedRows().isEmpty() ||
        !askQuestion(interface->mainWindow(), OrganizerEditor::tr("Delete"),
                     OrganizerEditor::tr("Do you really want to delete the selected item(s)?"),
                     true) ||
        !alive || !asked || object != asked)
        return false;
    const QVector<int> rows = selectedRows();
    object->beginChange();
    for (auto row = rows.crbegin(); row != rows.crend(); ++row)
        object->remove(unsigned(*row));
    object->endChange();
    Q_EMIT editor->changed();
    return true;
}

/// What a key goes to is wanted, once the list has taken the key.
void OrganizerEditorPrivate::followKey()
{
    const QPersistentModelIndex before = view->currentIndex();
    QMetaObject::invokeMethod(
        this,
        [this, before, list = object] {
            if (view && list && list == object && view->currentIndex() != before)
                clicked(view->currentIndex());
        },
        Qt::QueuedConnection);
}

/// Nothing while another list is shown.
void OrganizerEditorPrivate::showCurrent()
{
    QItemSelectionModel *selection = view ? view->selectionModel() : nullptr;
    if (selection && current.model() == selection->model() &&
        !selection->isRowSelected(current.row(), QModelIndex()))
        selection->setCurrentIndex(current, QItemSelectionModel::ClearAndSelect);
}

bool OrganizerEditorPrivate::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress && watched == view) { // a view that goes has no keys
        const QPointer<OrganizerEditorPrivate> alive(this);
        if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Delete && removeSelected())
            return true;
        if (!alive || !view)
            return true;
        followKey();
    }
    return QObject::eventFilter(watched, event);
}

OrganizerEditor::OrganizerEditor(QObject *parent)
    : ExtraEditor(parent)
    , d(std::make_unique<OrganizerEditorPrivate>(interface, this))
{
    d->declareControls();
    retranslate();
    Q_EMIT enabled(false);
}

OrganizerEditor::~OrganizerEditor() = default;

const char *OrganizerEditor::name() const
{
    return "organizer";
}

QString OrganizerEditor::displayName() const
{
    return KilnTranslator::instance()->text(KilnTranslator::OrganizerText);
}

void OrganizerEditor::activate()
{
    active = true;
    if (!d->view)
        return;
    d->view->setMovement(QListView::Snap);
    d->view->setDefaultDropAction(Qt::MoveAction);
    d->view->setDragDropMode(QAbstractItemView::InternalMove);
    d->view->setSelectionBehavior(QAbstractItemView::SelectRows);
    d->view->setDragDropOverwriteMode(false);
    d->view->setDragEnabled(true);
    d->view->setAcceptDrops(true);
}

void OrganizerEditor::reconfig()
{
    if (d->object)
        d->showAsWanted(true);
}

void OrganizerEditor::retranslate()
{
    if (d->view)
        d->view->setAccessibleName(displayName());
}

void OrganizerEditor::release()
{
    delete this;
}

void OrganizerEditor::setObject(OrganizableObject *object)
{
    if (d->object)
        d->object->disconnect(d.get());
    d->object = object;
    if (d->view && d->view->model() != object) {
        QItemSelectionModel *oldSelection = d->view->selectionModel();
        d->view->setModel(object);
        delete oldSelection; // views don't
        d->showCurrent();
    }
    if (object) {
        const auto follow = [this] { d->rowsChanged(); };
        connect(object, &QAbstractItemModel::rowsInserted, d.get(), follow);
        connect(object, &QAbstractItemModel::rowsRemoved, d.get(), follow);
        connect(object, &QAbstractItemModel::modelReset, d.get(), follow);
        connect(object, &QAbstractItemModel::modelReset, d.get(),
                &OrganizerEditorPrivate::showCurrent);
    }
    d->showAsWanted(true);
}

OrganizableObject *OrganizerEditor::object() const
{
    return d->object;
}

QVector<int> OrganizerEditor::selectedRows() const
{
    return d->selectedRows();
}

void OrganizerEditor::setCurrentRow(const QModelIndex &row)
{
    if (d->current == row)
        return;
    d->current = row;
    d->showCurrent();
}

void OrganizerEditor::moveUp()
{
    const QVector<int> rows = d->selectedRows();
    if (!rows.isEmpty() && rows.first() > 0)
        d->moveUpTo(rows.first() - 1);
}

void OrganizerEditor::moveDown()
{
    const QVector<int> rows = d->selectedRows();
    if (!rows.isEmpty() && rows.last() + 1 < d->object->rowCount())
        d->moveDownTo(rows.last() + 1);
}

void OrganizerEditor::moveUp10()
{
    const QVector<int> rows = d->selectedRows();
    if (!rows.isEmpty())
        d->moveUpTo(std::max(rows.first() - pageRows, 0));
}

void OrganizerEditor::moveDown10()
{
    const QVector<int> rows = d->selectedRows();
    if (!rows.isEmpty())
        d->moveDownTo(std::min(rows.last() + pageRows, d->object->rowCount() - 1));
}

void OrganizerEditor::moveTop()
{
    if (!d->selectedRows().isEmpty())
        d->moveUpTo(0);
}

void OrganizerEditor::moveBottom()
{
    if (!d->selectedRows().isEmpty())
        d->moveDownTo(d->object->rowCount() - 1);
}

void OrganizerEditor::moveAuto()
{
    if (!d->object)
        return;
    d->object->autoOrganize();
    Q_EMIT changed();
}

void OrganizerEditor::itemDblClick(const QModelIndex &index)
{
    if (index.isValid())
        Q_EMIT itemClicked(index.row());
}

} // namespace Kiln
