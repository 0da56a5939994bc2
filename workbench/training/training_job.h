// The examples that a model is made from, and what was made of them.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "base/points.h"
#include "training/folds.h"

namespace wgr {

// One model in the making.
struct TrainingJob {
  std::vector<int> classes;
  std::vector<std::vector<size_t>> own;  // examples of each class
  std::vector<size_t> background;
  std::vector<size_t> fold;   // of every example
  std::vector<size_t> group;  // likewise
  size_t folds = 0;
  LeftOut by = LeftOut::kRepetitions;
  std::vector<int> by_one;  // classes that a single subject or session recorded
};

// The job without what is left out in a fold, and with that alone.
TrainingJob without_fold(const TrainingJob& job, size_t fold);
TrainingJob only_fold(const TrainingJob& job, size_t fold);

// What a template was made from.
struct TemplateSource {
  size_t example = 0;   // its own, or the one that its cluster started from
  size_t examples = 1;  // of its cluster
};

// A template. Those of background are of a class behind the gestures'.
struct Fitted {
  size_t class_index;
  Points trace;
  TemplateSource source;
};

// An example, classified by templates that were made without it and its group.
struct Judged {
  // Of the nearest template; none: no template. The class's index while a model is made,
  // its label in a report, 14 for background.
  std::optional<int> label;
  double score = 0.0;
  bool accepted = false;
};

bool is_background(const TrainingJob& job, const Judged& judged);

}  // namespace wgr
