// The public header needs nothing before it, and is C++17 as well.
#include "WgrInterface.h"

static_assert(sizeof(Point3Df) == 3 * sizeof(double));
static_assert(sizeof(WgVersion) == 8);
static_assert(sizeof(WgWatchWearer) == sizeof(int));
static_assert(sizeof(WgWorkMode) == sizeof(int));
