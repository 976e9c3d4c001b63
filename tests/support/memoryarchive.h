#pragma once

#include <kilnx/project/archive.h>

#include <QBuffer>
#include <QMap>

/// Files that are on no disk: by absolute name, written when their device is closed.
class MemoryArchive : public Kiln::Archive
{
public:
    void flush() override { ++flushes; }
    bool isReadOnly() const override { return readOnly; }
    QStringList entries(const QString &path, QDir::Filters filters, QDir::SortFlags) const override
    {
        const QString prefix = path.endsWith('/') ? path : path + '/';
        QStringList found;
        for (const QString &file : files.keys()) {
            const QString below = file.startsWith(prefix) ? file.mid(prefix.size()) : QString();
            const QString name = below.section('/', 0, 0);
            const bool isWanted = filters & (below == name ? QDir::Files : QDir::Dirs);
            if (!name.isEmpty() && isWanted && !found.contains(name))
                found.append(name);
        }
        return found;
    }
    QList<QFileInfo> infoEntries(const QString &, QDir::Filters, QDir::SortFlags) const override
    {
        return {};
    }
    QIODevice *openFile(const QString &path, QIODevice::OpenMode mode) override
    {
        const bool isWritten = mode & QIODevice::WriteOnly;
        isUsedWhenFreed |= freed > 0;
        if (!isWritten && !files.contains(path))
            return nullptr;
        auto *buffer = new QBuffer;
        if (!isWritten)
            buffer->setData(files[path]);
        buffer->setObjectName(path);
        buffer->open(mode);
        return buffer;
    }
    void closeFile(QIODevice *device) override
    {
        if (device && device->isWritable())
            files[device->objectName()] = static_cast<QBuffer *>(device)->data();
        delete device;
    }
    bool fileExists(const QString &path) const override { return files.contains(path); }
    bool removeFile(const QString &path) override { return files.remove(path) > 0; }

    QMap<QString, QByteArray> files;
    bool readOnly = false;
    int flushes = 0;
    int freed = 0;
    bool isUsedWhenFreed = false;

private:
    void free() override { ++freed; }
};
