#include <kilnx/editors/fieldguard.h>

namespace Kiln
{

FieldGuard::FieldGuard(const bool &active)
    : m_active(active)
{
}

void FieldGuard::setCodeEditAction(QAction *action)
{
    m_codeEditAction = action;
}

void FieldGuard::beginChangeFieldValue()
{
    const bool codeIsEdited =
        m_codeEditAction && m_codeEditAction->isCheckable() && m_codeEditAction->isChecked();
    ++m_fieldChanges;
    m_programChanges += codeIsEdited;
    m_raisedProgram.append(codeIsEdited);
}

void FieldGuard::endChangeFieldValue()
{
    if (m_raisedProgram.isEmpty())
        return;
    --m_fieldChanges;
    m_programChanges -= m_raisedProgram.takeLast();
}

void FieldGuard::endProgramChange()
{
    if (m_programChanges > 0)
        --m_programChanges;
}

} // namespace Kiln
