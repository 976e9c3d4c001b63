#pragma once

#include <hostkit/export.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/project/project.h>

namespace HostKit
{

/// A file of plain text, which no engine knows: notes, read-me files, settings. It lies beside the
/// engine's own files in a project, under a type of its own.
class HOSTKIT_EXPORT TextFile : public Kiln::CodeDocument
{
public:
    /// Far from the bits that engines count up from.
    static constexpr auto Type = Kiln::Project::FileID::Type(0x40000000);

    /// Whether a file of that name is taken for plain text.
    static bool isNameOf(const QString &fileName);

    QString language() const override;
    void release() override;

protected:
    int foldingKind(const QString &line) override;
};

} // namespace HostKit
