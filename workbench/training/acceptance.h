// Thresholds by what was classified without having been seen, and what they accept.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "training/training_job.h"

namespace wgr {

struct ThresholdRule {
  double false_cost;  // of an accepted background example, in rejected right ones
  // Background examples that may be accepted; with it no threshold is lower than it
  // would be without any background.
  std::optional<size_t> allowed;
};

// The scores of correctly classified examples of each class, and those of background.
// Misclassified examples do not count: rejecting one instead is no gain for the
// person.
struct JudgedScores {
  std::vector<std::vector<double>> right, background;

  // How many the thresholds accept.
  size_t right_above(const std::vector<double>& thresholds) const;
  size_t background_above(const std::vector<double>& thresholds) const;
};

JudgedScores scores_of(const TrainingJob& job, const std::vector<Judged>& judged);

// The threshold of each class.
std::vector<double> thresholds_for(const JudgedScores& scores, const ThresholdRule& rule);

}  // namespace wgr
