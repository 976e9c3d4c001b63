#include <kilnx/sound/sounds.h>

namespace Kiln
{

Sound::~Sound() = default;

QStringList Sound::propertyNames()
{
    return {QStringLiteral("Identifier")};
}

Sounds::Sounds(StreamCache *cache)
    : SearchableCachedProjectFile(cache)
{
}

Sounds::~Sounds() = default;

int Sounds::find(int from, const QVariant &identifier) const
{
    const QString wanted = identifier.toString();
    for (unsigned int row = static_cast<unsigned int>(qMax(from, 0)); row < itemCount(); ++row) {
        if (itemAt(row)->property(QStringLiteral("Identifier")).toString() == wanted)
            return static_cast<int>(row);
    }
    return -1;
}

void Sounds::cancelChange()
{
    endChange();
    undo();
}

QAbstractItemModel *Sounds::model()
{
    return this;
}

} // namespace Kiln
