#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace Kiln
{

class Archive;
class Project;

using OptionMap = QMap<QString, QVariant>;

/// A null value takes the key out.
inline void setOrRemove(OptionMap &options, const QString &key, const QVariant &value)
{
    if (value.isNull())
        options.remove(key);
    else
        options.insert(key, value);
}

struct ProjectFilePrivate {
    Project *project = nullptr;
    /// An owner's reference; null: the plain file system.
    Archive *archive = nullptr;
    OptionMap options;
};

} // namespace Kiln
