#include <kilnx/project/propertyitem.h>

namespace Kiln
{

PropertyItem::~PropertyItem() = default;

} // namespace Kiln
