#include <kilnx/editors/projimport.h>

#include <kilnx/code/animationcode.h>
#include <kilnx/code/animations.h>
#include <kilnx/editors/projectanimations_p.h>
#include <kilnx/editors/thumbnailsmodel.h>
#include <kilnx/forms/taborder_p.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>
#include <kilnx/sound/audiosamplewidget.h>
#include <kilnx/sound/sounds.h>

#include <QtCore/QDir>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListView>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QStyledItemDelegate>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace Kiln
{

ImportModel::ImportModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

ImportModel::~ImportModel() = default;

int ImportModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_items.size());
}

/// Null for no row.
ImportItem *ImportModel::itemAt(const QModelIndex &index) const
{
    const bool isRow = index.isValid() && index.row() < rowCount();
    return isRow ? m_items[std::size_t(index.row())].get() : nullptr;
}

QVariant ImportModel::data(const QModelIndex &index, int role) const
{
    const ImportItem *item = itemAt(index);
    return item && role == Qt::DisplayRole ? QVariant(item->name) : QVariant();
}

bool ImportModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    ImportItem *item = itemAt(index);
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

QList<ImportItem *> ImportModel::items() const
{
    QList<ImportItem *> list;
    for (const auto &item : m_items)
        list.append(item.get());
    return list;
}

void ImportModel::append(int row, const QString &name)
{
    beginInsertRows(QModelIndex(), rowCount(), rowCount());
    m_items.push_back(std::make_unique<ImportItem>(ImportItem{row, name}));
    endInsertRows();
}

void ImportModel::remove(int row)
{
    if (row < 0 || row >= rowCount())
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_items.erase(m_items.begin() + row);
    endRemoveRows();
}

void ImportModel::clear()
{
    beginResetModel();
    m_items.clear();
    endResetModel();
}

/// A small picture before each name of a list of sprites, or of what begins with one. The pictures
/// are made as they come into sight.
class SourcePictures : public QStyledItemDelegate
{
public:
    /// The row in a file of sprites of what stands in a row of the list; -1 for none.
    using Locate = std::function<int(const Sprites &sprites, int row)>;

    SourcePictures(QListView *list, const Locate &locate)
        : QStyledItemDelegate(list)
        , m_list(list)
        , m_locate(locate)
    {
        list->setItemDelegate(this);
    }

    void setProject(const Project *project)
    {
        m_files.clear();
        const QList<ProjectFile *> files =
            project ? project->filesByType(Project::FileID::Sprites) : QList<ProjectFile *>();
        for (ProjectFile *file : files) {
            m_files.push_back(std::make_unique<ThumbnailsModel>());
            ThumbnailsModel &pictures = *m_files.back();
            pictures.setSide(side);
            pictures.setSprites(dynamic_cast<Sprites *>(file));
            connect(&pictures, &QAbstractItemModel::dataChanged, m_list->viewport(),
                    QOverload<>::of(&QWidget::update));
        }
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const int width = option.fontMetrics.horizontalAdvance(index.data().toString());
        return {side + width + 4 * margin, side + margin};
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->decorationSize = QSize(side, side);
        option->icon = QIcon(QPixmap::fromImage(picture(index.row())));
    }

private:
    static constexpr int side = 32;
    static constexpr int margin = 4;

    QImage picture(int row) const
    {
        for (const auto &pictures : m_files) {
            const Sprites *sprites = pictures->sprites();
            const int at = sprites ? m_locate(*sprites, row) : -1;
            if (at >= 0)
                return pictures->picture(pictures->index(at, 0));
        }
        return QImage();
    }

    QListView *m_list;
    const Locate m_locate;
    std::vector<std::unique_ptr<ThumbnailsModel>> m_files;
};

} // namespace Kiln

namespace
{

/// Begins with the name that is shown.
class NameDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void setEditorData(QWidget *editor, const QModelIndex &index) const override
    {
        if (auto *field = qobject_cast<QLineEdit *>(editor))
            field->setText(index.data().toString());
    }
};

/// A field whose Return and Down go to the list that it searches, and not on to the dialog.
class SearchField : public QLineEdit
{
public:
    SearchField(QListView *list, QWidget *parent)
        : QLineEdit(parent)
        , m_list(list)
    {
    }

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        const int key = event->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Down)
            m_list->setFocus();
        else
            QLineEdit::keyPressEvent(event);
    }

private:
    QListView *m_list;
};

/// Selected and in sight, in the order in which they were selected.
QList<int> selectedRows(const QListView &view)
{
    QList<int> rows;
    if (!view.selectionModel())
        return rows;
    const QModelIndexList indexes = view.selectionModel()->selectedIndexes();
    for (const QModelIndex &index : indexes) {
        if (!view.isRowHidden(index.row()))
            rows.append(index.row());
    }
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
    m_search = new SearchField(m_sourceList, group);
    m_search->setObjectName(QStringLiteral("search"));
    m_search->setClearButtonEnabled(true);
    setTabOrder(m_projects, m_search);
    setTabOrder(m_search, m_sourceList);
    connect(m_search, &QLineEdit::textChanged, this, &ProjImportDlg::filterSource);
    auto *form = new QFormLayout;
    form->addRow(tr("Project:"), m_projects);
    form->addRow(tr("Search:"), m_search);
    auto *buttons = new QHBoxLayout;
    auto *layout = new QVBoxLayout(group);
    layout->addLayout(form);
    layout->addWidget(m_sourceList, 1);
    layout->addLayout(buttons);
    addButton(buttons, "clear", tr("Clear"), [this] { m_sourceList->clearSelection(); });
    addButton(buttons, "selectAll", tr("Select all"),
              [this] { selectShown(QItemSelectionModel::ClearAndSelect); });
    addButton(buttons, "invert", tr("Invert selection"),
              [this] { selectShown(QItemSelectionModel::Toggle); });
    return group;
}

QWidget *ProjImportDlg::makeDestination()
{
    auto *group = new QGroupBox(tr("Destination:"), this);
    m_list = makeList(group, "destination", tr("Destination"));
    m_list->setModel(&m_model);
    m_list->setItemDelegate(new NameDelegate(m_list));
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

void ProjImportDlg::addBelowSource(QLayout *fields)
{
    auto *layout = static_cast<QVBoxLayout *>(m_sourceList->parentWidget()->layout());
    layout->insertLayout(layout->indexOf(m_sourceList) + 1, fields);
}

void ProjImportDlg::showEvent(QShowEvent *event)
{
    if (m_projects->count() == 0)
        fillProjects();
    Kiln::putButtonsLast(this);
    m_projects->setFocus();
    QDialog::showEvent(event);
}

void ProjImportDlg::fillProjects()
{
    for (unsigned int i = 0; i < m_interface->projectCount(); ++i) {
        Kiln::Project *project = m_interface->project(i);
        if (!project || project == m_destination)
            continue;
        connect(project, &QObject::destroyed, this, &QDialog::reject);
        m_sources.append(project);
    }
    for (Kiln::Project *project : qAsConst(m_sources))
        m_projects->addItem(told(project), QVariant::fromValue<QObject *>(project));
    const auto hasItems = [this](Kiln::Project *project) {
        const QAbstractItemModel *model = sourceModel(project);
        return model && model->rowCount() > 0;
    };
    const auto first = std::find_if(m_sources.cbegin(), m_sources.cend(), hasItems);
    if (first != m_sources.cend())
        m_projects->setCurrentIndex(int(first - m_sources.cbegin()));
}

/// The name of a source; with its definition, where another one or the destination has the same.
QString ProjImportDlg::told(Kiln::Project *project) const
{
    const QString name = project->displayName();
    const auto isTwin = [&name, project](Kiln::Project *other) {
        return other && other != project && other->displayName() == name;
    };
    const bool isAlone =
        !isTwin(m_destination) && std::none_of(m_sources.cbegin(), m_sources.cend(), isTwin);
    return isAlone
               ? name
               : QStringLiteral("%1 (%2)").arg(name, QDir::toNativeSeparators(project->fileName()));
}

Kiln::Project *ProjImportDlg::source() const
{
    return m_sources.value(m_projects->currentIndex());
}

void ProjImportDlg::showSource()
{
    Kiln::Project *project = source();
    if (m_sourceList->model())
        m_sourceList->model()->disconnect(this);
    QItemSelectionModel *before = m_sourceList->selectionModel();
    QAbstractItemModel *model = project ? sourceModel(project) : nullptr;
    m_sourceList->setModel(model);
    delete before; // views don't
    if (model) {
        connect(model, &QAbstractItemModel::modelReset, this, &ProjImportDlg::rowsChanged);
        connect(model, &QAbstractItemModel::rowsInserted, this, &ProjImportDlg::rowsChanged);
        connect(model, &QAbstractItemModel::rowsRemoved, this, &ProjImportDlg::rowsChanged);
        connect(model, &QAbstractItemModel::rowsMoved, this, &ProjImportDlg::rowsChanged);
        connect(model, &QAbstractItemModel::layoutChanged, this, &ProjImportDlg::rowsChanged);
    }
    rowsChanged();
    sourceChanged(project);
}

/// Rows that were chosen in one list say nothing about another, be it that of another project or
/// that of a file which is loaded again.
void ProjImportDlg::rowsChanged()
{
    m_model.clear();
    filterSource();
}

void ProjImportDlg::filterSource()
{
    QAbstractItemModel *model = m_sourceList->model();
    const QString text = m_search->text();
    for (int row = 0; model && row < model->rowCount(); ++row)
        m_sourceList->setRowHidden(row, !itemName(model, row).contains(text, Qt::CaseInsensitive));
}

void ProjImportDlg::selectShown(QItemSelectionModel::SelectionFlags command)
{
    const QAbstractItemModel *model = m_sourceList->model();
    QItemSelection shown;
    for (int row = 0; model && row < model->rowCount(); ++row) {
        if (m_sourceList->isRowHidden(row))
            continue;
        int last = row;
        while (last + 1 < model->rowCount() && !m_sourceList->isRowHidden(last + 1))
            ++last;
        shown.select(model->index(row, 0), model->index(last, 0));
        row = last;
    }
    if (!shown.isEmpty())
        m_sourceList->selectionModel()->select(shown, command);
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

/// A name that is still being typed counts. What was chosen stays from now on, whatever becomes of
/// the source's rows: its items are read while questions are open.
void ProjImportDlg::accept()
{
    m_list->setCurrentIndex(QModelIndex());
    if (m_sourceList->model())
        m_sourceList->model()->disconnect(this);
    QDialog::accept();
}

SprImportDlg::SprImportDlg(Kiln::Interface *interface, Kiln::Project *destination, QWidget *parent)
    : ProjImportDlg(interface, destination, parent)
    , m_mode(new QComboBox)
    , m_palette(new QComboBox)
    , m_pictures(
          new Kiln::SourcePictures(sourceList(), [this](const Kiln::Sprites &sprites, int row) {
              return static_cast<const QAbstractItemModel *>(&sprites) == sourceList()->model()
                         ? row
                         : -1;
          }))
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
    m_pictures->setProject(project);
    m_palette->clear();
    const auto *sprites =
        project ? dynamic_cast<Kiln::Sprites *>(project->file(Kiln::Project::FileID::Sprites))
                : nullptr;
    for (unsigned int i = 0; sprites && i < sprites->palettes()->count(); ++i)
        m_palette->addItem(
            sprites->palettes()->at(i)->property(QStringLiteral("Identifier")).toString());
}

AnimImportDlg::AnimImportDlg(Kiln::Interface *interface,
                             Kiln::Project *destination,
                             QWidget *parent)
    : ProjImportDlg(interface, destination, parent)
    , m_pictures(
          new Kiln::SourcePictures(sourceList(), [this](const Kiln::Sprites &sprites, int row) {
              auto *animations = dynamic_cast<Kiln::Animations *>(sourceList()->model());
              const Kiln::AnimationCode *shown =
                  animations ? animations->at(unsigned(row)) : nullptr;
              const Kiln::FrameCode *first = shown ? shown->frameAt(0) : nullptr;
              return first ? sprites.indexOf(0, first->identifier()) : -1;
          }))
{
}

void AnimImportDlg::sourceChanged(Kiln::Project *project)
{
    m_pictures->setProject(project);
}

QString AnimImportDlg::itemName(QAbstractItemModel *model, int row)
{
    const auto *animations = dynamic_cast<Kiln::Animations *>(model);
    Kiln::AnimationCode *animation = animations ? animations->at(unsigned(row)) : nullptr;
    return animation ? animation->property(QStringLiteral("Identifier")).toString() : QString();
}

QAbstractItemModel *AnimImportDlg::sourceModel(Kiln::Project *project)
{
    return Kiln::animationsOf(project);
}

SndImportDlg::SndImportDlg(Kiln::Interface *interface, Kiln::Project *destination, QWidget *parent)
    : ProjImportDlg(interface, destination, parent)
    , m_wave(new Kiln::AudioSampleWidget(*interface, this))
    , m_play(new QPushButton(tr("Play"), this))
{
    m_wave->setFixedHeight(90);
    m_play->setObjectName(QStringLiteral("play"));
    m_play->setCheckable(true);
    m_play->setAutoDefault(false);
    m_play->setEnabled(false);
    connect(m_play, &QPushButton::clicked, this, &SndImportDlg::play);
    connect(m_wave, &Kiln::AudioSampleWidget::stateChanged, m_play,
            [this](Kiln::SoundSample::State state) {
                m_play->setChecked(state == Kiln::SoundSample::Playing);
            });
    auto *fields = new QHBoxLayout;
    fields->addWidget(m_wave, 1);
    fields->addWidget(m_play);
    addBelowSource(fields);
    m_wave->setFocusPolicy(Qt::NoFocus);
    setTabOrder(sourceList(), m_play);
}

void SndImportDlg::sourceChanged(Kiln::Project *)
{
    showSound(-1);
    if (QItemSelectionModel *selection = sourceList()->selectionModel())
        connect(selection, &QItemSelectionModel::currentRowChanged, this,
                [this](const QModelIndex &current) { showSound(current.row()); });
    if (const QAbstractItemModel *model = sourceList()->model())
        connect(model, &QAbstractItemModel::modelReset, this, [this] { showSound(-1); });
}

void SndImportDlg::showSound(int row)
{
    const auto *sounds = dynamic_cast<Kiln::Sounds *>(sourceList()->model());
    const Kiln::Sound *sound = sounds ? sounds->itemAt(unsigned(row)) : nullptr;
    m_wave->setSound(sound ? sound->sample() : Kiln::SoundSample());
    m_play->setEnabled(sound);
}

/// Where nothing can be heard, the view tells why.
void SndImportDlg::play(bool checked)
{
    if (checked)
        m_wave->play(false);
    else
        m_wave->stop();
    m_play->setChecked(m_wave->state() == Kiln::SoundSample::Playing);
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
