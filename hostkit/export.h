#pragma once

#include <hostkit/export.h>

#include <QtCore/qglobal.h>

/// Marks what the host kit exports; everything else is hidden.
#if defined(HOSTKIT_LIBRARY)
#define HOSTKIT_EXPORT Q_DECL_EXPORT
#else
#define HOSTKIT_EXPORT Q_DECL_IMPORT
#endif
