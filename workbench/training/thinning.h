// Makes a trace short enough for a model file.
#pragma once

#include "base/points.h"

namespace wgr {

// Whether each axis of a template fits into a line that the model's reader takes whole.
bool fits_a_line(const Points& trace);

// Leaves every second motion point; the k trailing points stay.
void thin(Points& trace, int k);

}  // namespace wgr
