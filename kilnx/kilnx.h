#pragma once

// Every public header of the library, room by room.

#include <kilnx/export.h>
