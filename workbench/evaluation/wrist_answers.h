// How often the wrist detector is right on recordings whose index says which wrist they
// are from (column `wrist`: left or right).
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "segmentation/segmented_set.h"

namespace wgr {

// What get_wearer_type() answers to the samples of a recording.
struct WristAnswers {
  std::string subject;  // may be empty
  bool left = true;     // the wrist that wears the watch
  size_t samples = 0;   // each is asked about
  size_t right = 0;     // answers that are right
  size_t wrong = 0;     // the others are undecided
};

// Of every recording whose wrist is known, as a stream with the usual window of 50
// samples.
std::vector<WristAnswers> wrist_answers(const SegmentedSet& set);

// The sum over recordings, and over how many the majority of the answers is right.
struct WristSummary {
  size_t recordings = 0;
  size_t samples = 0;
  size_t right = 0;
  size_t wrong = 0;
  size_t majority_right = 0;
  size_t majority_wrong = 0;  // the rest have as many for either wrist, or none
  size_t clear_right = 0;     // as clear_wearer() names a wrist
  size_t clear_wrong = 0;     // the rest are undecided
  // By the share of right answers, where two subjects or more had any.
  size_t subjects = 0;
  double mean = 0.0;
  std::pair<double, double> interval = {0.0, 0.0};  // of the mean, bootstrap
  double worst = 0.0;
  std::string worst_of;
};

WristSummary summary_of(const std::vector<WristAnswers>& answers);

}  // namespace wgr
