#pragma once

#include <kilnx/project/parentproject_p.h>

namespace Kiln
{

/// Makes the rows of one source what it now wants, as changes of the model.
///
/// The rows below a node and the entries of the source are in the same order, so one walk over
/// both finds what is new and what is gone; rows of other sources are passed by. Changes are told
/// run by run.
class PathMerge
{
public:
    using Entries = std::vector<PathEntry>;

    /// `project` is the source; null stands for the scan of the node's own directory.
    PathMerge(ParentProjectPrivate &root, const Project *project);
    ~PathMerge();
    Q_DISABLE_COPY(PathMerge)

    void merge(BasePath *node, const Entries &entries);
    /// Takes the claims of the source off everything below `node`.
    void withdraw(BasePath *node);

private:
    bool hasClaim(const BasePath *node) const;
    void addClaim(BasePath *node, const PathEntry &entry);
    void dropClaim(BasePath *node);

    void dropMissing(BasePath *node, const Entries &entries);
    void keepOrInsert(BasePath *node, const Entries &entries);
    void keep(BasePath *node, int row, const PathEntry &entry);
    void drop(BasePath *node, int row);
    BasePath *create(BasePath *parent, const PathEntry &entry);
    void insertRows(BasePath *node, int row, const QList<ParentProject::Path *> &fresh);
    void removeUnwanted(BasePath *node);
    void settleFile(BasePath *node, int row);
    void replace(BasePath *node, int row, BasePath *by);

    ParentProjectPrivate &m_root;
    ParentProject *m_model;
    const Project *m_project;
};

} // namespace Kiln
