#pragma once

#include <hostkit/export.h>

#include <QtCore/QString>

namespace HostKit
{

/// Where a host's own files are, each a directory without a closing "/" but for the last.
struct HOSTKIT_EXPORT Paths {
    QString data;     ///< delivered with the application
    QString user;     ///< the user's data; empty: no unsaved work and no open files are kept
    QString config;   ///< the settings and the engine configuration
    QString settings; ///< the INI file; empty: nothing is kept

    /// The platform's places for the running application; its name names the INI file.
    static Paths standard();
    /// Everything below one directory.
    static Paths below(const QString &directory);
};

/// The file in which something is kept of a project, which is known by its place: below `directory`
/// a name made from that.
HOSTKIT_EXPORT QString fileOfProject(const QString &directory,
                                     const QString &project,
                                     const QString &suffix);

} // namespace HostKit
