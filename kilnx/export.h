#pragma once

#include <QtCore/qglobal.h>

/// Marks what the library exports; everything else is hidden.
#if defined(KILNX_LIBRARY)
#define KILNX_EXPORT Q_DECL_EXPORT
#else
#define KILNX_EXPORT Q_DECL_IMPORT
#endif
