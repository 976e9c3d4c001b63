#pragma once

// Every public header of the library, room by room.

#include <kilnx/export.h>
#include <kilnx/image/codecs.h>
#include <kilnx/image/colorquantizer.h>
#include <kilnx/image/colorwidget.h>
#include <kilnx/image/gif.h>
#include <kilnx/image/imageops.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/image/palette.h>
