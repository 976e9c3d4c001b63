#pragma once

#include <QtCore/qglobal.h>

/// Marks what the library `ember` shows to others; all else is hidden.
#if defined(EMBER_LIBRARY)
#define EMBER_EXPORT Q_DECL_EXPORT
#else
#define EMBER_EXPORT Q_DECL_IMPORT
#endif
