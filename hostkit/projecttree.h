#pragma once

#include <hostkit/export.h>

#include <kilnx/project/parentproject.h>

#include <QtCore/QAbstractItemModel>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtCore/QVector>

#include <memory>

namespace Kiln
{
class ProjectFile;
}

namespace HostKit
{

class ProjectSession;

/// The tree of a project as a user looks for files in it: directories first, then files, each by
/// name in natural order ("wave 2" before "wave 10", without regard to letter case). To what the
/// project's own tree shows come the files that are open and that no definition names: in their
/// directory or, while they have no name, below all others.
class HOSTKIT_EXPORT ProjectTree : public QAbstractItemModel
{
    Q_OBJECT

public:
    explicit ProjectTree(ProjectSession &session, QObject *parent = nullptr);
    ~ProjectTree() override;

    /// Null for none. Follows the project's tree; call it with null before the project goes.
    void setProject(Kiln::ParentProject *project);
    Kiln::ParentProject *project() const { return m_project; }
    /// Open files have come, gone or been saved: looks at them when the event loop has control.
    void filesChanged();

    /// Whether a row is a file, and not a directory.
    bool isFile(const QModelIndex &index) const;
    /// The absolute name of a row, of a directory with "/" at its end; empty for a file without a
    /// name and for an invalid index.
    QString path(const QModelIndex &index) const;
    /// What a definition says about a file: Kiln::Project::FileID bits, 0 where none names it.
    unsigned int fileId(const QModelIndex &index) const;
    /// The open file of a row that no definition names; null for the other rows.
    Kiln::ProjectFile *openFile(const QModelIndex &index) const;
    /// The row of an absolute name; invalid if it has none.
    QModelIndex find(const QString &path);

    /// The order of names.
    static bool isBefore(const QString &name, const QString &other);

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    struct Row;
    /// A loaded file that the project's own tree does not show.
    struct Other {
        Kiln::ProjectFile *file; ///< only ever compared, and handed out
        QString name;
        unsigned int id;

        bool operator==(const Other &other) const
        {
            return file == other.file && name == other.name && id == other.id;
        }
    };

    Row *rowOf(const QModelIndex &index) const;
    QModelIndex indexOf(const Row &row) const;
    void sourceChanged();
    void rebuild();
    QVector<Other> others() const;
    std::unique_ptr<Row> wanted() const;
    void collect(Row &row, const QModelIndex &source) const;
    static Row &add(Row &above, std::unique_ptr<Row> row);
    void merge(Row &now, Row &next);

    ProjectSession &m_session;
    QPointer<Kiln::ParentProject> m_project;
    std::unique_ptr<Row> m_root;
    QVector<Other> m_others;    ///< of the rows
    bool m_isSourceNew = false; ///< the project's own tree has changed since
    QTimer m_later;
};

} // namespace HostKit
