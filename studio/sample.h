#pragma once

#include <QString>

namespace Studio
{

/// The directory of the sample project that is delivered, where the user may not be able to write.
QString deliveredSample();

/// Copies all files below a directory, which can be written then; false, with nothing under the new
/// name, where one of them could not be copied, or there is none.
bool copyDirectory(const QString &from, const QString &to);

} // namespace Studio
