#pragma once

#include <hostkit/export.h>

#include <kilnx/editors/soundeditor.h>

namespace HostKit
{

/// The sound editor of the kit. What comes in from files is named by the user, in a table that
/// begins with the files' own names.
class HOSTKIT_EXPORT SoundView : public Kiln::SoundEditor
{
    Q_OBJECT

public:
    using Kiln::SoundEditor::SoundEditor;

    void identifiers(const QStringList &paths, QList<QVariant> &out) override;
    void hostReserved15() override {}
};

} // namespace HostKit
