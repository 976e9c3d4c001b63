#include <kilnx/kilnx.h>
