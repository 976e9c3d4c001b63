#pragma once

#include <hostkit/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace Kiln
{
class Archive;
}

namespace HostKit
{

/// Whether bytes are no text in any encoding: they hold zeros, and neither a byte order mark nor
/// every second byte tells of a wide encoding. The first 64 KB are looked at.
HOSTKIT_EXPORT bool isBinary(const QByteArray &data);

/// The first 64 KB of a file; empty if it cannot be read.
HOSTKIT_EXPORT QByteArray firstBytes(Kiln::Archive &archive, const QString &fileName);

/// A file's text with line feeds alone, in the encoding that is detected; nothing for a file that
/// is binary, larger than 128 MB, or cannot be read.
HOSTKIT_EXPORT std::optional<QString> readText(Kiln::Archive &archive, const QString &fileName);

} // namespace HostKit
