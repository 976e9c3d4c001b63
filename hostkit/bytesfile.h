#pragma once

#include <hostkit/export.h>

#include <kilnx/code/codedocument.h>

namespace HostKit
{

/// A file that is no text, shown as its bytes, sixteen a line, with the characters that they stand
/// for. It cannot be edited and is never written; saved elsewhere, as with its project, it is
/// copied. Of a large file the first megabyte is shown.
class HOSTKIT_EXPORT BytesFile : public Kiln::CodeDocument
{
public:
    /// How bytes are shown.
    static QString dump(const QByteArray &data);

    QString language() const override;
    bool canSave() const override;
    bool toFile(Kiln::Archive &archive, const QString &name, bool asCopy) override;
    bool fromFile(Kiln::Archive &archive, const QString &name, bool asCopy) override;
    void reload() override;
    void release() override;

protected:
    int foldingKind(const QString &line) override;
};

} // namespace HostKit
