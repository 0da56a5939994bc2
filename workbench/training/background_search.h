// Searches how many templates of background a model should have, and makes them; see
// background_templates.h.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "training/acceptance.h"
#include "training/background_templates.h"
#include "training/similarities.h"
#include "training/training_job.h"

namespace wgr {

struct BackgroundSearch {
  const std::vector<Points>& traces;  // of every example, with k trailing points
  const Similarities& similarities;   // of every example with the gestures' examples
  int k;
  const TrainingJob& job;
  const std::vector<Judged>& judged;  // every example, by templates of gestures
  std::optional<size_t> wanted;       // templates, at most; without it they are compared
  ThresholdRule rule;
  double tolerance;  // examples
  unsigned threads;  // 0: one for each processor
};

struct FoundBackground {
  std::vector<Fitted> templates;
  std::vector<Judged> judged;  // with them
  std::vector<BackgroundStep> steps;
};

FoundBackground find_background(const BackgroundSearch& search);

}  // namespace wgr
