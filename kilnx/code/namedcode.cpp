#include <kilnx/code/namedcode.h>

namespace Kiln
{
QStringList NamedCode::propertyNames()
{
    return {QStringLiteral("DisplayName"), QStringLiteral("Name")};
}

QVariant NamedCode::property(const QString &name)
{
    // An item that adds names of its own keeps these two first.
    switch (NamedCode::propertyNames().indexOf(name)) {
    case 0:
        return displayName();
    case 1:
        return this->name();
    default:
        return QVariant();
    }
}

void NamedCode::setProperty(const QString &name, const QVariant &value)
{
    if (NamedCode::propertyNames().indexOf(name) == 1)
        setName(value.toString());
}

QString NamedCode::name() const
{
    return QString();
}

QString NamedCode::displayName() const
{
    return name();
}
} // namespace Kiln
