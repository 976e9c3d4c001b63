#include <hostkit/projecttree.h>

#include <hostkit/filetabs.h>
#include <hostkit/projectsession.h>

#include <kilnx/project/interface.h>
#include <kilnx/project/projectfile.h>

#include <QDir>
#include <QIcon>

#include <algorithm>
#include <utility>
#include <vector>

namespace HostKit
{

using FileID = Kiln::Project::FileID;

/// A directory or a file. What tells two apart in a directory: that, the name, and, for files
/// without a name, which file it is.
struct ProjectTree::Row {
    QString name;
    bool isFile = false;
    unsigned int id = 0;
    Kiln::ProjectFile *open = nullptr; ///< only ever compared, and handed out
    unsigned int openId = 0;
    QPersistentModelIndex source; ///< in the project's own tree
    Row *above = nullptr;
    std::vector<std::unique_ptr<Row>> rows;

    bool isUnnamed() const { return open && name.isEmpty(); }
    QString path() const
    {
        const QString own = above ? above->path() + name : name;
        return isUnnamed() ? QString() : isFile ? own : own + QLatin1Char('/');
    }
    int number() const
    {
        const auto place = std::lower_bound(
            above->rows.begin(), above->rows.end(), *this,
            [](const auto &one, const Row &other) { return one->comesBefore(other); });
        return int(place - above->rows.begin());
    }
    bool comesBefore(const Row &other) const
    {
        if (isUnnamed() || other.isUnnamed())
            return !isUnnamed() || (other.isUnnamed() && std::less<>()(open, other.open));
        return isFile != other.isFile ? other.isFile : ProjectTree::isBefore(name, other.name);
    }
};

namespace
{
/// Where the run of digits ends that begins at `from`, behind its leading zeros; and where those
/// end.
int endOfNumber(const QString &text, int from, int *start)
{
    int end = from;
    while (end < text.size() && text.at(end) == QLatin1Char('0'))
        ++end;
    *start = end;
    while (end < text.size() && text.at(end).isDigit())
        ++end;
    return end;
}

const char *iconOf(unsigned int id)
{
    switch (id) {
    case FileID::Code:
        return "icon_code";
    case FileID::Sprites:
        return "icon_sprite";
    case FileID::Sounds:
        return "icon_sound";
    case FileID::Animations:
        return "icon_animation";
    case FileID::Commands:
        return "icon_command";
    default:
        return "icon_file";
    }
}
} // namespace

ProjectTree::ProjectTree(ProjectSession &session, QObject *parent)
    : QAbstractItemModel(parent)
    , m_session(session)
    , m_root(std::make_unique<Row>())
{
    m_later.setSingleShot(true);
    m_later.setInterval(0);
    connect(&m_later, &QTimer::timeout, this, &ProjectTree::rebuild);
    connect(&session, &ProjectSession::fileRemoved, this, &ProjectTree::rebuild);
}

ProjectTree::~ProjectTree() = default;

void ProjectTree::setProject(Kiln::ParentProject *project)
{
    if (m_project == project)
        return;
    if (m_project)
        m_project->disconnect(this);
    beginResetModel();
    m_root = std::make_unique<Row>();
    m_project = project;
    m_isSourceNew = false;
    m_others = others();
    if (project)
        m_root = wanted();
    endResetModel();
    if (!project)
        return;
    connect(project, &Kiln::ParentProject::rowsInserted, this, &ProjectTree::sourceChanged);
    connect(project, &Kiln::ParentProject::rowsRemoved, this, &ProjectTree::sourceChanged);
    connect(project, &Kiln::ParentProject::layoutChanged, this, &ProjectTree::sourceChanged);
    connect(project, &Kiln::ParentProject::dataChanged, this, &ProjectTree::sourceChanged);
}

void ProjectTree::filesChanged()
{
    m_later.start();
}

void ProjectTree::sourceChanged()
{
    m_isSourceNew = true;
    m_later.start();
}

void ProjectTree::rebuild()
{
    m_later.stop();
    if (!m_project)
        return;
    const QVector<Other> known = std::exchange(m_others, others());
    const bool isMoved = m_root->name != m_project->basePath().chopped(1);
    // Each file that is shown or saved leads to here, and a project may have many thousands.
    if (!std::exchange(m_isSourceNew, false) && !isMoved && m_others == known)
        return;
    const std::unique_ptr<Row> next = wanted();
    m_root->name = next->name;
    merge(*m_root, *next);
}

QVector<ProjectTree::Other> ProjectTree::others() const
{
    QVector<Other> found;
    if (!m_project)
        return found;
    const QString base = m_project->basePath();
    const QList<Kiln::ProjectFile *> files = m_session.files(m_project);
    for (Kiln::ProjectFile *file : files) {
        const QString name = file->fileName();
        if (name.isEmpty() || (name.startsWith(base) && !m_project->filePath(name)))
            found.append({file, name, m_session.fileId(file).bits});
    }
    return found;
}

/// The tree as it should be.
std::unique_ptr<ProjectTree::Row> ProjectTree::wanted() const
{
    auto root = std::make_unique<Row>();
    const QString base = m_project->basePath();
    root->name = base.chopped(1);
    collect(*root, QModelIndex());
    for (const Other &other : m_others) {
        Row *row = root.get();
        const QString relative = other.name.mid(base.size());
        const QStringList parts = relative.split(QLatin1Char('/'));
        for (int i = 0; i < parts.size(); ++i) {
            const bool isLast = i == parts.size() - 1;
            const auto is = [&](const std::unique_ptr<Row> &each) {
                return !isLast && !each->isFile && each->name == parts.at(i);
            };
            const auto known = std::find_if(row->rows.begin(), row->rows.end(), is);
            if (known != row->rows.end()) {
                row = known->get();
                continue;
            }
            auto made = std::make_unique<Row>();
            made->name = parts.at(i);
            made->isFile = isLast;
            made->open = isLast ? other.file : nullptr;
            made->openId = isLast ? other.id : 0;
            row = &add(*row, std::move(made));
        }
    }
    return root;
}

void ProjectTree::collect(Row &row, const QModelIndex &source) const
{
    const int count = m_project->rowCount(source);
    for (int i = 0; i < count; ++i) {
        const QModelIndex index = m_project->index(i, 0, source);
        const Kiln::ParentProject::Path *path = m_project->itemPath(index);
        auto made = std::make_unique<Row>();
        made->name = path->name();
        made->isFile = path->isFile();
        made->id = path->isFile() ? path->type() : 0;
        made->source = index;
        collect(add(row, std::move(made)), index);
    }
}

/// Puts a row into its place.
ProjectTree::Row &ProjectTree::add(Row &above, std::unique_ptr<Row> row)
{
    row->above = &above;
    const auto place = std::lower_bound(
        above.rows.begin(), above.rows.end(), row,
        [](const auto &one, const auto &other) { return one->comesBefore(*other); });
    return **above.rows.insert(place, std::move(row));
}

/// Makes the rows below one what they should be; both sides are in order.
void ProjectTree::merge(Row &now, Row &next)
{
    const QModelIndex above = indexOf(now);
    for (size_t i = 0; i < now.rows.size() || i < next.rows.size();) {
        Row *old = i < now.rows.size() ? now.rows[i].get() : nullptr;
        Row *wanted = i < next.rows.size() ? next.rows[i].get() : nullptr;
        if (old && (!wanted || old->comesBefore(*wanted))) {
            beginRemoveRows(above, int(i), int(i));
            now.rows.erase(now.rows.begin() + int(i));
            endRemoveRows();
        } else if (!old || wanted->comesBefore(*old)) {
            beginInsertRows(above, int(i), int(i));
            wanted->above = &now;
            now.rows.insert(now.rows.begin() + int(i), std::move(next.rows[i]));
            endInsertRows();
            ++i;
        } else {
            const bool isOther = old->id != wanted->id || old->open != wanted->open;
            old->id = wanted->id;
            old->open = wanted->open;
            old->openId = wanted->openId;
            old->source = wanted->source;
            if (isOther)
                Q_EMIT dataChanged(indexOf(*old), indexOf(*old));
            merge(*old, *wanted);
            ++i;
        }
    }
}

bool ProjectTree::isBefore(const QString &name, const QString &other)
{
    int i = 0;
    int k = 0;
    while (i < name.size() && k < other.size()) {
        if (name.at(i).isDigit() && other.at(k).isDigit()) {
            const int end = endOfNumber(name, i, &i);
            const int otherEnd = endOfNumber(other, k, &k);
            const int order = end - i != otherEnd - k
                                  ? (end - i) - (otherEnd - k)
                                  : name.midRef(i, end - i).compare(other.midRef(k, otherEnd - k));
            if (order != 0)
                return order < 0;
            i = end;
            k = otherEnd;
            continue;
        }
        const QChar one = name.at(i++).toCaseFolded();
        const QChar two = other.at(k++).toCaseFolded();
        if (one != two)
            return one < two;
    }
    const int rest = (name.size() - i) - (other.size() - k);
    return rest != 0 ? rest < 0 : name < other;
}

ProjectTree::Row *ProjectTree::rowOf(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<Row *>(index.internalPointer()) : nullptr;
}

QModelIndex ProjectTree::indexOf(const Row &row) const
{
    return row.above ? createIndex(row.number(), 0, const_cast<Row *>(&row)) : QModelIndex();
}

bool ProjectTree::isFile(const QModelIndex &index) const
{
    const Row *row = rowOf(index);
    return row && row->isFile;
}

QString ProjectTree::path(const QModelIndex &index) const
{
    const Row *row = rowOf(index);
    return row ? row->path() : QString();
}

unsigned int ProjectTree::fileId(const QModelIndex &index) const
{
    const Row *row = rowOf(index);
    return row ? row->id : 0;
}

Kiln::ProjectFile *ProjectTree::openFile(const QModelIndex &index) const
{
    const Row *row = rowOf(index);
    return row ? row->open : nullptr;
}

QModelIndex ProjectTree::find(const QString &path)
{
    if (m_later.isActive())
        rebuild();
    const QString base = m_project ? m_project->basePath() : QString();
    const Row *row = m_root.get();
    if (base.isEmpty() || !path.startsWith(base))
        return QModelIndex();
    const QStringList parts = path.mid(base.size()).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const auto is = [&](const std::unique_ptr<Row> &each) {
            return each->name == part && !each->isUnnamed();
        };
        const auto found = std::find_if(row->rows.begin(), row->rows.end(), is);
        if (found == row->rows.end())
            return QModelIndex();
        row = found->get();
    }
    return indexOf(*row);
}

QModelIndex ProjectTree::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    const Row *above = parent.isValid() ? rowOf(parent) : m_root.get();
    return createIndex(row, column, above->rows[size_t(row)].get());
}

QModelIndex ProjectTree::parent(const QModelIndex &child) const
{
    const Row *row = rowOf(child);
    return row ? indexOf(*row->above) : QModelIndex();
}

int ProjectTree::rowCount(const QModelIndex &parent) const
{
    const Row *row = parent.isValid() ? rowOf(parent) : m_root.get();
    return parent.column() > 0 ? 0 : int(row->rows.size());
}

int ProjectTree::columnCount(const QModelIndex &) const
{
    return 1;
}

QVariant ProjectTree::data(const QModelIndex &index, int role) const
{
    const Row *row = rowOf(index);
    if (!row)
        return QVariant();
    const Kiln::Interface *host = Kiln::Interface::instance();
    if (row->source.isValid() && role == Qt::ToolTipRole)
        return QDir::toNativeSeparators(row->path());
    // What only a scan sees is of no type, and wears the library's icon of definitions.
    if (row->source.isValid() && role == Qt::DecorationRole && row->isFile && row->id == 0 && host)
        return host->icon(QStringLiteral("icon_file"));
    if (row->source.isValid())
        return row->source.data(role);
    if (role == Qt::DisplayRole)
        return row->isUnnamed() ? FileTabs::tr("Untitled") : row->name;
    if (role == Qt::DecorationRole && host)
        return host->icon(QLatin1String(row->isFile ? iconOf(row->openId) : "icon_folder"));
    if (role == Qt::ToolTipRole)
        return row->isUnnamed() ? tr("Not saved yet")
               : row->open      ? tr("%1: no definition names this file").arg(row->name)
                                : row->name;
    return QVariant();
}

} // namespace HostKit
