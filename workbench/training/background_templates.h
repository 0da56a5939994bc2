// Templates of motions that are no gesture.
//
// A motion that is nearest to a template with the label 14 is never reported, whatever
// the gestures' thresholds: what resembles a gesture, but everyday movement more, is kept
// out, and the thresholds may be lower. The templates are averages of clusters of
// background examples. How many there are is chosen by cross-validation with the
// gestures' templates and thresholds: compared is how many examples are classified right
// and accepted, less the cost of background that is accepted; of the numbers within the
// tolerance of the best the smallest wins.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "training/averages.h"

namespace wgr {

struct BackgroundStep {
  size_t templates = 0;  // of a model, at most
  size_t points = 0;     // of motion in them, on average over the folds
  size_t accepted = 0;   // examples that are classified right and accepted
  size_t background_accepted = 0;
  bool chosen = false;
};

// The numbers of templates that are tried, where so many background examples are not left
// out; only `wanted`, or fewer, where that is given.
std::vector<size_t> background_counts(size_t examples, std::optional<size_t> wanted);

// The averages of at most `count` clusters for each of the counts. Of traces with k
// trailing points that have motion points.
std::vector<std::vector<Cluster>> background_averages(
    const std::vector<const Points*>& traces, const std::vector<size_t>& counts, int k);

// What is compared of a step: without `allowed`, every background example that is
// accepted costs `false_cost`, otherwise those that are more than allowed.
double gain_of(const BackgroundStep& step, double false_cost,
               std::optional<size_t> allowed);

// Of the steps whose gain is no more than `tolerance` below the best, the one with the
// fewest templates.
size_t choose_background(const std::vector<BackgroundStep>& steps, double false_cost,
                         std::optional<size_t> allowed, double tolerance);

}  // namespace wgr
