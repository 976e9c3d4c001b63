#include <kilnx/editors/projimport.h>

#include <kilnx/code/animations.h>
#include <kilnx/code/codedocument.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>
#include <kilnx/sound/sounds.h>

#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListView>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace Kiln
{

ImportModel::ImportModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

ImportModel::~ImportModel()
{
    qDeleteAll(m_items);
}

int ImportModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_items.size();
}

QVariant ImportModel::data(const QModelIndex &index, int role) const
{
    const bool isShown = role == Qt::DisplayRole || role == Qt::EditRole;
    const ImportItem *item = index.isValid() ? m_items.value(index.row()) : nullptr;
    return item && isShown ? QVariant(item->name) : QVariant();
}

bool ImportModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    ImportItem *item = index.isValid() ? m_items.value(index.row()) : nullptr;
    if (item && role == Qt::EditRole) {
        item->name = value.toString();
        Q_EMIT dataChanged(index, index);
    }
    return true;
}

Qt::ItemFlags ImportModel::flags(const QModelIndex &index) const
{
    return QAbstractListModel::flags(index) |
           (index.isValid() ? Qt::ItemIsEditable : Qt::NoItemFlags);
}

void ImportModel::append(int row, const QString &name)
{
    beginInsertRows(QModelIndex(), m_items.size(), m_items.size());
    m_items.append(new ImportItem{row, name});
    endInsertRows();
}

void ImportModel::remove(int row)
{
    if (row < 0 || row >= m_items.size())
        return;
    beginRemoveRows(QModelIndex(), row, row);
    delete m_items.takeAt(row);
    endRemoveRows();
}

void ImportModel::clear()
{
    beginResetModel();
    qDeleteAll(m_items);
    m_items.clear();
    endResetModel();
}

} // namespace Kiln

namespace
{

QList<int> selectedRows(const QListView &view)
{
    QList<int> rows;
    if (!view.selectionModel())
        return rows;
    const QModelIndexList indexes = view.selectionModel()->selectedIndexes();
    for (const QModelIndex &index : indexes)
        rows.append(index.row());
    return rows;
}

QListView *makeList(QWidget *parent, const char *name, const QString &accessibleName)
{
    auto *list = new QListView(parent);
    list->setObjectName(QLatin1String(name));
    list->setAccessibleName(accessibleName);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    return list;
}

template<class Act>
void addButton(QLayout *layout, const char *name, const QString &text, Act &&act)
{
    auto *button = new QPushButton(text, layout->parentWidget());
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(false);
    layout->addWidget(button);
    QObject::connect(button, &QPushButton::clicked, button, std::forward<Act>(act));
}

void invertSelection(QListView &view)
{
    const QAbstractItemModel *model = view.model();
    if (model && model->rowCount() > 0)
        view.selectionModel()->select(
            QItemSelection(model->index(0, 0), model->index(model->rowCount() - 1, 0)),
            QItemSelectionModel::Toggle);
}

} // namespace

ProjImportDlg::ProjImportDlg(Kiln::Interface *interface,
                             Kiln::Project *destination,
                             QWidget *parent)
    : QDialog(parent)
    , m_interface(interface)
    , m_destination(destination)
{
    setObjectName(QStringLiteral("importFromProject"));
    setWindowTitle(tr("Import from another project"));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    if (destination)
        connect(destination, &QObject::destroyed, this, &QDialog::reject);
    auto *lists = new QHBoxLayout;
    lists->addWidget(makeSource());
    lists->addWidget(makeDestination());
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(lists, 1);
    layout->addWidget(makeConflicts());
    layout->addWidget(buttons);
}

ProjImportDlg::~ProjImportDlg() = default;

QWidget *ProjImportDlg::makeSource()
{
    auto *group = new QGroupBox(tr("Source:"), this);
    m_projects = new QComboBox(group);
    m_projects->setObjectName(QStringLiteral("projects"));
    m_sourceList = makeList(group, "source", tr("Source"));
    m_sourceList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    connect(m_projects, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &ProjImportDlg::showSource);
    auto *form = new QFormLayout;
    form->addRow(tr("Project:"), m_projects);
    auto *buttons = new QHBoxLayout;
    auto *layout = new QVBoxLayout(group);
    layout->addLayout(form);
    layout->addWidget(m_sourceList, 1);
    layout->addLayout(buttons);
    addButton(buttons, "clear", tr("Clear"), [this] { m_sourceList->clearSelection(); });
    addButton(buttons, "selectAll", tr("Select all"), [this] { m_sourceList->selectAll(); });
    addButton(buttons, "invert", tr("Invert selection"),
              [this] { invertSelection(*m_sourceList); });
    return group;
}

QWidget *ProjImportDlg::makeDestination()
{
    auto *group = new QGroupBox(tr("Destination:"), this);
    m_list = makeList(group, "destination", tr("Destination"));
    m_list->setModel(&m_model);
    auto *buttons = new QHBoxLayout;
    auto *layout = new QVBoxLayout(group);
    layout->addWidget(m_list, 1);
    layout->addWidget(new QLabel(tr("Double-click an item to rename."), group));
    layout->addLayout(buttons);
    addButton(buttons, "add", tr("Add from source"), [this] { addFromSource(); });
    addButton(buttons, "remove", tr("Remove selected"), [this] { removeSelected(); });
    return group;
}

QWidget *ProjImportDlg::makeConflicts()
{
    auto *group = new QGroupBox(tr("Conflicts:"), this);
    auto *layout = new QVBoxLayout(group);
    m_policy = new QButtonGroup(this);
    const QString texts[] = {tr("Ask when needed"), tr("Replace existing"), tr("Skip (don't add)"),
                             tr("Add anyway (as is)")};
    for (int policy = 0; policy < 4; ++policy) {
        auto *choice = new QRadioButton(texts[policy], group);
        choice->setObjectName(QStringLiteral("policy%1").arg(policy));
        m_policy->addButton(choice, policy);
        layout->addWidget(choice);
    }
    m_policy->button(0)->setChecked(true);
    return group;
}

void ProjImportDlg::addGroup(QWidget *group)
{
    auto *layout = static_cast<QVBoxLayout *>(this->layout());
    layout->insertWidget(layout->count() - 1, group);
}

void ProjImportDlg::showEvent(QShowEvent *event)
{
    if (m_projects->count() == 0)
        fillProjects();
    QDialog::showEvent(event);
}

void ProjImportDlg::fillProjects()
{
    for (unsigned int i = 0; i < m_interface->projectCount(); ++i) {
        Kiln::Project *project = m_interface->project(i);
        if (!project || project == m_destination)
            continue;
        connect(project, &QObject::destroyed, this, &QDialog::reject);
        m_projects->addItem(project->displayName(), QVariant::fromValue<QObject *>(project));
    }
}

Kiln::Project *ProjImportDlg::source() const
{
    return qobject_cast<Kiln::Project *>(m_projects->currentData().value<QObject *>());
}

/// Rows that were chosen in one source say nothing about another.
void ProjImportDlg::showSource()
{
    Kiln::Project *project = source();
    QItemSelectionModel *before = m_sourceList->selectionModel();
    m_sourceList->setModel(project ? sourceModel(project) : nullptr);
    delete before; // views don't
    m_model.clear();
    sourceChanged(project);
}

void ProjImportDlg::sourceChanged(Kiln::Project *)
{
}

void ProjImportDlg::addFromSource()
{
    const QList<int> rows = selectedRows(*m_sourceList);
    for (const int row : rows)
        m_model.append(row, itemName(m_sourceList->model(), row));
}

void ProjImportDlg::removeSelected()
{
    QList<int> rows = selectedRows(*m_list);
    std::sort(rows.begin(), rows.end());
    for (auto row = rows.crbegin(); row != rows.crend(); ++row)
        m_model.remove(*row);
}

Kiln::ImportOptions ProjImportDlg::options() const
{
    Kiln::ImportOptions options;
    options.project = source();
    options.items = m_model.items();
    options.policy = Kiln::ConflictPolicy(m_policy->checkedId());
    return options;
}

SprImportDlg::SprImportDlg(Kiln::Interface *interface, Kiln::Project *destination, QWidget *parent)
    : ProjImportDlg(interface, destination, parent)
    , m_mode(new QComboBox)
    , m_palette(new QComboBox)
{
    m_mode->setObjectName(QStringLiteral("mode"));
    m_palette->setObjectName(QStringLiteral("palette"));
    m_mode->addItems({tr("Image's palette, if not already added"),
                      tr("Force the specified palette (adapt the image)"),
                      tr("Exchange with the specified palette")});
    m_palette->setEnabled(false);
    connect(m_mode, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this](int row) { m_palette->setEnabled(row > 0); });
    auto *group = new QGroupBox(tr("Palette:"), this);
    auto *layout = new QHBoxLayout(group);
    layout->addWidget(m_mode, 1);
    layout->addWidget(m_palette, 1);
    addGroup(group);
}

int SprImportDlg::mode() const
{
    return m_mode->currentIndex() + 1;
}

int SprImportDlg::palette() const
{
    return m_palette->currentIndex();
}

QString SprImportDlg::itemName(QAbstractItemModel *model, int row)
{
    const auto *sprites = dynamic_cast<Kiln::Sprites *>(model);
    Kiln::Sprite *sprite = sprites ? sprites->at(unsigned(row)) : nullptr;
    return sprite ? sprite->property(QStringLiteral("Identifier")).toString() : QString();
}

QAbstractItemModel *SprImportDlg::sourceModel(Kiln::Project *project)
{
    return dynamic_cast<Kiln::Sprites *>(project->file(Kiln::Project::FileID::Sprites));
}

void SprImportDlg::sourceChanged(Kiln::Project *project)
{
    m_palette->clear();
    const auto *sprites =
        project ? dynamic_cast<Kiln::Sprites *>(project->file(Kiln::Project::FileID::Sprites))
                : nullptr;
    for (unsigned int i = 0; sprites && i < sprites->palettes()->count(); ++i)
        m_palette->addItem(
            sprites->palettes()->at(i)->property(QStringLiteral("Identifier")).toString());
}

QString AnimImportDlg::itemName(QAbstractItemModel *model, int row)
{
    const auto *animations = dynamic_cast<Kiln::Animations *>(model);
    Kiln::AnimationCode *animation = animations ? animations->at(unsigned(row)) : nullptr;
    return animation ? animation->property(QStringLiteral("Identifier")).toString() : QString();
}

QAbstractItemModel *AnimImportDlg::sourceModel(Kiln::Project *project)
{
    auto *document =
        dynamic_cast<Kiln::CodeDocument *>(project->file(Kiln::Project::FileID::Animations));
    return document ? dynamic_cast<Kiln::Animations *>(
                          document->documentEditor(Kiln::CodeNode::Animation, 0))
                    : nullptr;
}

QString SndImportDlg::itemName(QAbstractItemModel *model, int row)
{
    const auto *sounds = dynamic_cast<Kiln::Sounds *>(model);
    Kiln::Sound *sound = sounds ? sounds->itemAt(unsigned(row)) : nullptr;
    return sound ? sound->property(QStringLiteral("Identifier")).toString() : QString();
}

QAbstractItemModel *SndImportDlg::sourceModel(Kiln::Project *project)
{
    return dynamic_cast<Kiln::Sounds *>(project->file(Kiln::Project::FileID::Sounds));
}
