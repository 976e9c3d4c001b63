#pragma once

#include <hostkit/export.h>

class QString;
class QWidget;

namespace HostKit
{

/// Shows a directory in the platform's file manager; a box says so where there is none.
HOSTKIT_EXPORT void showInFileManager(QWidget *window, const QString &directory);

} // namespace HostKit
