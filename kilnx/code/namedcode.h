#pragma once

#include <kilnx/export.h>
#include <kilnx/project/propertyitem.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Kiln
{
/// The name of a code node, as a property item: "DisplayName", which is read-only, and "Name".
/// A subclass answers name() from its line and writes the line in setName().
class KILNX_EXPORT NamedCode : public PropertyItem
{
public:
    QStringList propertyNames() override;
    QVariant property(const QString &name) override;
    /// Acts on "Name" only.
    void setProperty(const QString &name, const QVariant &value) override;

    /// Empty by default.
    virtual QString name() const;
    /// What lists and the node tree show; the name by default.
    virtual QString displayName() const;
    virtual void setName(const QString &name) = 0;
};
} // namespace Kiln
