#include <kilnx/editors/importplan_p.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/interface.h>

#include <QtCore/QCoreApplication>

namespace Kiln
{

ImportPlan::ImportPlan(QWidget *window,
                       const QAbstractItemModel &destination,
                       int insertRow,
                       ConflictPolicy policy,
                       const QString &question,
                       const std::function<QString(int)> &nameAt)
    : m_window(window)
    , m_destination(destination)
    , m_insertRow(insertRow)
    , m_policy(policy)
    , m_question(question)
    , m_nameAt(nameAt)
{
}

void ImportPlan::settle(int item, const QString &name)
{
    const bool isAdded = m_policy == ConflictPolicy::AddAnyway;
    const int row = isAdded ? -1 : rowOf(name);
    const int earlier = isAdded || (row >= 0 && row < m_insertRow) ? -1 : m_added.value(name, -1);
    Step step{item, name, m_destination.index(row, 0)};
    const bool isTaken = row >= 0 || earlier >= 0;
    if (isTaken && m_policy == ConflictPolicy::Skip)
        return;
    const bool replaces = isTaken && mayReplace(name);
    if (replaces && earlier >= 0) {
        m_steps[earlier].item = item;
        return;
    }
    if (!replaces) {
        step.replaced = QModelIndex();
        if (!m_added.contains(name))
            m_added.insert(name, m_steps.size());
    }
    m_steps.append(step);
}

int ImportPlan::rowOf(const QString &name)
{
    if (m_rows.isEmpty()) {
        for (int row = m_destination.rowCount() - 1; row >= 0; --row)
            m_rows.insert(m_nameAt(row), row);
    }
    return m_rows.value(name, -1);
}

bool ImportPlan::mayReplace(const QString &name)
{
    if (m_policy == ConflictPolicy::Replace)
        return true;
    m_rows.clear(); // the destination may have other ones, behind a box
    return askQuestion(m_window,
                       QCoreApplication::translate("Kiln::FileEditor", "Conflict resolution!"),
                       m_question.arg(name));
}

void warnOfImport(Interface &interface, const QString &word, int row, const QString &projectName)
{
    showWarning(interface.mainWindow(), interface.text(Interface::FailureTitle),
                interface.text(Interface::ImportFailureText).arg(word).arg(row).arg(projectName));
}

} // namespace Kiln
