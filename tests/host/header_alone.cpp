// The public headers need nothing before them, and are C++17 as well.
#include "WgrPreflight.h"

#include "WgrInterface.h"

static_assert(sizeof(Point3Df) == 3 * sizeof(double));
static_assert(sizeof(WgVersion) == 8);
static_assert(sizeof(WgWatchWearer) == sizeof(int));
static_assert(sizeof(WgWorkMode) == sizeof(int));
