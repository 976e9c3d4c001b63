#include <kilnx/code/codeparser.h>

namespace Kiln
{
CodeParserSyntax::~CodeParserSyntax() = default;
} // namespace Kiln
