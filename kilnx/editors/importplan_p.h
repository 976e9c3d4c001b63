#pragma once

#include <kilnx/cache/streamcachedata.h>
#include <kilnx/editors/projimport.h>
#include <kilnx/project/project.h>

#include <QtCore/QHash>
#include <QtCore/QPersistentModelIndex>
#include <QtCore/QVector>

#include <functional>

namespace Kiln
{

/// Tells that row `row` of the source, a `word` as in "sound", has nothing to copy.
void warnOfImport(Interface &interface, const QString &word, int row, const QString &projectName);

/// What is to be done with the items of an import, settled before anything is changed. A name that
/// an earlier item brings counts as taken, as if that item stood in the list already.
class ImportPlan
{
public:
    struct Step {
        int item = 0; ///< as it was offered
        QString name;
        QPersistentModelIndex replaced; ///< not valid: it is added
    };

    /// What is added comes before `insertRow` of `destination`, whose rows have the names `nameAt`.
    /// `question` asks about a name, which takes the place of %1.
    ImportPlan(QWidget *window,
               const QAbstractItemModel &destination,
               int insertRow,
               ConflictPolicy policy,
               const QString &question,
               const std::function<QString(int)> &nameAt);

    /// Asks the user where the policy is to ask: look behind it whether the lists still exist.
    void settle(int item, const QString &name);
    /// Settles all, but for those that have no bytes: it warns of them. False when it is not wanted
    /// any more behind a box; `isWanted` includes that `source` is there.
    template<class List>
    bool settleAll(Interface &interface,
                   const QString &word,
                   const ImportOptions &options,
                   const List &source,
                   const std::function<bool()> &isWanted);
    const QVector<Step> &steps() const { return m_steps; }
    /// What settleAll() found for a step, wherever it is by now.
    const QPersistentModelIndex &source(const Step &step) const { return m_picked[step.item]; }

private:
    int rowOf(const QString &name);
    bool mayReplace(const QString &name);

    QWidget *m_window;
    const QAbstractItemModel &m_destination;
    const int m_insertRow;
    const ConflictPolicy m_policy;
    const QString m_question;
    const std::function<QString(int)> m_nameAt;
    QVector<Step> m_steps;
    QVector<QPersistentModelIndex> m_picked; ///< for each item
    QHash<QString, int> m_added;             ///< the first step that adds a name
    QHash<QString, int> m_rows;              ///< the first row of each name, until a box is shown
};

template<class List>
bool ImportPlan::settleAll(Interface &interface,
                           const QString &word,
                           const ImportOptions &options,
                           const List &source,
                           const std::function<bool()> &isWanted)
{
    for (const ImportItem *item : options.items)
        m_picked.append(source.index(item->row));
    for (int i = 0; i < m_picked.size(); ++i) {
        const auto *item =
            m_picked[i].isValid() ? source.itemAt(unsigned(m_picked[i].row())) : nullptr;
        if (item && item->data() && !item->data()->isEmpty()) {
            settle(i, options.items[i]->name);
        } else {
            warnOfImport(interface, word, options.items[i]->row, options.project->displayName());
            m_rows.clear();
        }
        if (!isWanted())
            return false;
    }
    return true;
}

} // namespace Kiln
