#pragma once

/// The version of the library, as three numbers. The build reads it from here.
#define KILNX_VERSION "0.1.0"
