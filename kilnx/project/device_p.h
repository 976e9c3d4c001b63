#pragma once

#include <QtCore/QIODevice>

namespace Kiln
{

inline bool openForReading(QIODevice *device)
{
    return device && (device->isReadable() || device->open(QIODevice::ReadOnly));
}

inline bool openForWriting(QIODevice *device)
{
    return device && (device->isWritable() || device->open(QIODevice::WriteOnly));
}

} // namespace Kiln
