#pragma once

#include <kilnx/project/messages.h>
