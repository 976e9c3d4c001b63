#include <kilnx/editors/importplan_p.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/interface.h>

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace Kiln
{

ImportPlan::ImportPlan(QWidget *window,
                       const QAbstractItemModel &destination,
                       int insertRow,
                       ConflictPolicy policy,
                       const QString &question,
                       const std::function<int(const QString &)> &find)
    : m_window(window)
    , m_destination(destination)
    , m_insertRow(insertRow)
    , m_policy(policy)
    , m_question(question)
    , m_find(find)
{
}

void ImportPlan::settle(int item, const QString &name)
{
    Step step{item, name, QModelIndex()};
    if (m_policy == ConflictPolicy::AddAnyway) {
        m_steps.append(step);
        return;
    }
    const int row = m_find(name);
    const auto earlier = std::find_if(m_steps.begin(), m_steps.end(), [&name](const Step &before) {
        return !before.replaced.isValid() && before.name == name;
    });
    const bool isEarlier = earlier != m_steps.end() && (row < 0 || row >= m_insertRow);
    if (row < 0 && !isEarlier) {
        m_steps.append(step);
        return;
    }
    const QPersistentModelIndex existing = m_destination.index(row, 0);
    if (m_policy == ConflictPolicy::Skip)
        return;
    const bool replaces = mayReplace(name);
    if (replaces && isEarlier) {
        earlier->item = item;
        return;
    }
    if (replaces)
        step.replaced = existing;
    m_steps.append(step);
}

bool ImportPlan::mayReplace(const QString &name) const
{
    return m_policy == ConflictPolicy::Replace ||
           askQuestion(m_window,
                       QCoreApplication::translate("Kiln::FileEditor", "Conflict resolution!"),
                       m_question.arg(name));
}

void warnOfImport(Interface &interface, const QString &word, int row, const QString &projectName)
{
    showWarning(interface.mainWindow(), interface.text(Interface::FailureTitle),
                interface.text(Interface::ImportFailureText).arg(word).arg(row).arg(projectName));
}

} // namespace Kiln
