// A library that exports something else than what the manager looks for.

#include <QtCore/qglobal.h>

extern "C" Q_DECL_EXPORT int somethingElse()
{
    return 1;
}
