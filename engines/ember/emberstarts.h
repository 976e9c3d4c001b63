#pragma once

#include <QString>
#include <QStringList>

/// What a new project of Ember can start with.
namespace EmberStarts
{

/// A few words for each.
QStringList names();
/// Writes the project that `names()[start]` promises into an empty directory. False where a file
/// could not be written, or for a bad number.
bool make(const QString &directory, const QString &name, int start);

} // namespace EmberStarts
