#pragma once

#include <kilnx/export.h>

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace Kiln
{

/// An item with named values: a node of a code file, a sprite, a sound. Widgets that show any kind
/// of item read and write it through this alone.
class KILNX_EXPORT PropertyItem
{
public:
    virtual ~PropertyItem();
    virtual QStringList propertyNames() = 0;
    /// The value of that name; an invalid variant for an unknown name.
    virtual QVariant property(const QString &name) = 0;
    /// Nothing for an unknown or read-only name.
    virtual void setProperty(const QString &name, const QVariant &value) = 0;
};

} // namespace Kiln
