#include "emberlist.h"

void EmberHistory::add(QUndoCommand *command)
{
    if (m_depth > 0 && !m_isOpen) {
        m_isOpen = true;
        beginMacro(QString());
    }
    push(command);
}

void EmberHistory::endGroup()
{
    if (m_depth == 0 || --m_depth > 0)
        return;
    if (m_isOpen)
        endMacro();
    m_isOpen = false;
}

void EmberHistory::forget()
{
    clear();
    setClean(); // an emptied history stays modified when it was made so
    m_isOpen = false;
}
