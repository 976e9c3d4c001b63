#pragma once

#include <kilnx/export.h>

namespace Kiln
{

/// `crc64` as it is where the processor has no carry-less multiplication.
KILNX_EXPORT unsigned long long crc64ByTables(const void *data, unsigned int length);

} // namespace Kiln
