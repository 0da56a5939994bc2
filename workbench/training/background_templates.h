// Templates of motions that are no gesture.
//
// A motion that is nearest to a template with the label 14 is never reported, whatever
// the gestures' thresholds: what resembles a gesture, but everyday movement more, is kept
// out, and the thresholds may be lower. The templates are averages of clusters of
// background examples. How many there are is chosen by cross-validation with the
// gestures' templates: compared is how many examples are classified right and accepted,
// less the cost of background that is accepted. Everyday movement is of more kinds than
// were recorded, so it is not enough to leave examples out whose like stays: the
// background is divided by likeness, and each part is judged by templates and thresholds
// that were made without it, as the gestures of a fold are. Templates are chosen where
// they lose nothing: at least as many gestures are right as without any, in
// no part more background is accepted, and what they gain shows in two parts at least,
// for what was recorded together is of one kind. Of the numbers within the tolerance of
// the best the smallest wins.
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
  // In each fold and part of the background.
  std::vector<size_t> accepted_of_part;
  std::vector<size_t> background_of_part;
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

// The first step, which is that without templates, or one that accepts at least as many
// examples, in no part more background (but where no more than `allowed` is accepted in
// all), and gains more than `tolerance`, in two parts at least: of those whose gain is no
// more than `tolerance` below the best, the one with the fewest templates.
size_t choose_background(const std::vector<BackgroundStep>& steps, double false_cost,
                         std::optional<size_t> allowed, double tolerance);

}  // namespace wgr
