#pragma once

#include <kilnx/project/editor.h>

#include <QCheckBox>

namespace Studio
{

/// The boxes that say how a text is sought.
struct FindOptions {
    QCheckBox *regularExpression;
    QCheckBox *caseSensitive;
    QCheckBox *wholeWords;

    /// Of Kiln::Editor.
    unsigned int flags() const
    {
        return (regularExpression->isChecked() ? Kiln::Editor::RegularExpression : 0U) |
               (caseSensitive->isChecked() ? Kiln::Editor::CaseSensitive : 0U) |
               (wholeWords->isChecked() ? Kiln::Editor::WholeWords : 0U);
    }
};

} // namespace Studio
