#pragma once

#include <kilnx/export.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

class QWidget;

namespace Kiln
{

/// Asks for a directory; empty when the user cancels.
KILNX_EXPORT QString getExistingDirectory(QWidget *parent,
                                          const QString &caption,
                                          const QString &directory);
/// Asks for a file to open; empty when the user cancels. Uses the platform's own dialog only if
/// the option "use_native_open" is true; without a host, as if no option were set.
KILNX_EXPORT QString getOpenFileName(QWidget *parent,
                                     const QString &caption,
                                     const QString &directory,
                                     const QString &filter);
/// Asks for files to open, sorted by name if the option "sort_file_names" is true and otherwise in
/// the dialog's order.
KILNX_EXPORT QStringList getOpenFileNames(QWidget *parent,
                                          const QString &caption,
                                          const QString &directory,
                                          const QString &filter);
/// Asks for a name to save under, always with the platform's own dialog; empty when the user
/// cancels.
KILNX_EXPORT QString getSaveFileName(QWidget *parent,
                                     const QString &caption,
                                     const QString &directory,
                                     const QString &filter);
/// The same, for a file type with one suffix, given with its dot. A name without it gets it, and
/// where such a file exists, which the dialog could not know, the user is asked before it is
/// replaced; a No brings the dialog back.
KILNX_EXPORT QString getSaveFileName(QWidget *parent,
                                     const QString &caption,
                                     const QString &directory,
                                     const QString &filter,
                                     const QString &suffix);

} // namespace Kiln
