// The recognition of a closed segment, step by step, for reference::Intake. The
// classifier is the library's own: it has its reference implementations elsewhere.
#pragma once

#include "classifier/HGR.h"
#include "support/reference_intake.h"

namespace reference {

void run(Intake& intake, HGR& classifier, double strength_threshold);

}  // namespace reference
