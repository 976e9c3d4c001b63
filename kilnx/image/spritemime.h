#pragma once

#include <kilnx/export.h>

#include <QtCore/QStringList>

class QMimeData;

namespace Kiln
{

/// Sprites on their way from a list of them into an animation, by drag and drop or the clipboard:
/// their identifiers, in the order in which they become frames. Other programs get them as text, a
/// line each.
class KILNX_EXPORT SpriteMime
{
public:
    /// "application/x-kilnx-sprites".
    static QString mimeType();
    /// Belongs to the caller.
    static QMimeData *make(const QStringList &identifiers);
    /// Empty for null, and for data that holds no sprites or is damaged.
    static QStringList identifiers(const QMimeData *data);
};

} // namespace Kiln
