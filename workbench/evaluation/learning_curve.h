// How accuracy grows with the people, or the repetitions, that templates come from:
// whether more recordings would help.
#pragma once

#include <vector>

#include "training/model_builder.h"

namespace wgr {

struct CurvePoint {
  double templates_from = 0.0;  // people, or repetitions of a class
  double accuracy = 0.0;        // share of examples of others classified right
};

struct LearningCurve {
  LeftOut by = LeftOut::kRepetitions;  // or subjects
  size_t examples = 0;                 // that each point classifies
  std::vector<CurvePoint> points;      // ascending; empty: too few to say
};

// Every example is classified by the nearest of all examples of some other people, or of
// some other repetitions where fewer than three people are known, for growing numbers of
// them. From the similarities that the builder has.
LearningCurve learning_curve(const ModelBuilder& builder);

}  // namespace wgr
