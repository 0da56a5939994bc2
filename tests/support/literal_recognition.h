// The recognition of a closed segment, step by step, for literal::Intake. The
// classifier is the library's own: it has its literal versions elsewhere.
#pragma once

#include "classifier/HGR.h"
#include "support/literal_intake.h"

namespace literal {

void run(Intake& intake, HGR& classifier, double strength_threshold);

}  // namespace literal
