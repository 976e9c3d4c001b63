#pragma once

#include <kilnx/editors/projimport.h>

#include <QtCore/QHash>
#include <QtCore/QPersistentModelIndex>
#include <QtCore/QVector>

#include <functional>

namespace Kiln
{

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
    /// The destination may have other rows, behind a box of the caller's.
    void forgetRows() { m_rows.clear(); }
    const QVector<Step> &steps() const { return m_steps; }

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
    QHash<QString, int> m_added; ///< the first step that adds a name
    QHash<QString, int> m_rows;  ///< the first row of each name, until a box is shown
};

/// Tells that row `row` of the source, a `word` as in "sound", has nothing to copy.
void warnOfImport(Interface &interface, const QString &word, int row, const QString &projectName);

} // namespace Kiln
