#pragma once

#include <hostkit/export.h>

#include <kilnx/project/archive.h>

#include <QtCore/QByteArray>

namespace HostKit
{

/// One file in memory, whatever it is called: what a ProjectFile would write, without a disk, or
/// the bytes that it is to read. Whoever makes it destroys it; loads and saves as copies only.
class HOSTKIT_EXPORT BytesArchive : public Kiln::Archive
{
public:
    explicit BytesArchive(const QByteArray &data = QByteArray())
        : bytes(data)
    {
    }

    /// A write of more fails.
    static constexpr qint64 mostBytes = 1 << 30;
    /// What was written last, or is read.
    QByteArray bytes;

    void flush() override {}
    bool isReadOnly() const override { return false; }
    QStringList entries(const QString &, QDir::Filters, QDir::SortFlags) const override;
    QList<QFileInfo> infoEntries(const QString &, QDir::Filters, QDir::SortFlags) const override;
    QIODevice *openFile(const QString &path, QIODevice::OpenMode mode) override;
    void closeFile(QIODevice *device) override;
    bool fileExists(const QString &) const override { return true; }
    bool removeFile(const QString &) override { return false; }

private:
    void free() override {}
};

} // namespace HostKit
