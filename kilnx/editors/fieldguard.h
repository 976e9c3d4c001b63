#pragma once

#include <kilnx/export.h>

#include <QtCore/QPointer>
#include <QtCore/QVector>
#include <QtWidgets/QAction>

namespace Kiln
{

/// Keeps the fields of an editor from echoing what the program has put into them.
///
/// A field slot brackets its edit with beginChangeFieldValue() and endChangeFieldValue(), and
/// returns at once unless canChangeFieldValue(). A programmatic update is bracketed by
/// beginProgramChange() and endProgramChange() around the setter signals. Brackets nest, and must
/// be balanced.
class KILNX_EXPORT FieldGuard
{
public:
    /// `active` is the flag of the editor that owns the guard and must outlive it.
    explicit FieldGuard(const bool &active);

    /// The editor's action that shows the code; while it is checked, a field's change counts as
    /// one of the program too. Null for an editor without such an action.
    void setCodeEditAction(QAction *action);

    void beginChangeFieldValue();
    void endChangeFieldValue();
    /// True when no field is being changed.
    bool changeNotFromField() const { return m_fieldChanges == 0; }
    /// Whether a field may write into the document: the editor is active, and the program is not
    /// changing fields.
    bool canChangeFieldValue() const { return m_active && m_programChanges == 0; }

    void beginProgramChange() { ++m_programChanges; }
    void endProgramChange();

private:
    const bool &m_active;
    QPointer<QAction> m_codeEditAction;
    int m_fieldChanges = 0;
    int m_programChanges = 0;
    /// For each open field bracket, whether it raised m_programChanges: the action may be toggled
    /// inside a bracket, and the end must undo exactly what the beginning did.
    QVector<bool> m_raisedProgram;
};

} // namespace Kiln
