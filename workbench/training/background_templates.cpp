#include "training/background_templates.h"

#include <algorithm>
#include <numeric>

#include "training/exemplar_sweep.h"
#include "training/similarities.h"

namespace wgr {

static constexpr size_t kTried[] = {1, 2, 4, 8, 16};
static constexpr size_t kFewestClustered = 4;  // examples for each template
static constexpr size_t kFewestParts = 2;      // that gain by them

std::vector<size_t> background_counts(size_t examples, std::optional<size_t> wanted) {
  const size_t most = examples / kFewestClustered;
  if (wanted) return {std::min(*wanted, most)};
  std::vector<size_t> counts = {0};
  for (const size_t count : kTried) {
    if (count <= most) counts.push_back(count);
  }
  return counts;
}

std::vector<std::vector<Cluster>> background_averages(
    const std::vector<const Points*>& traces, const std::vector<size_t>& counts, int k) {
  std::vector<std::vector<Cluster>> averages(counts.size());
  if (counts.empty() || *std::max_element(counts.begin(), counts.end()) == 0) {
    return averages;
  }
  std::vector<Points> copies;
  for (const Points* trace : traces) copies.push_back(*trace);
  std::vector<size_t> all(traces.size());
  std::iota(all.begin(), all.end(), 0);
  const ClassMatrix matrix =
      matrix_of(Similarities(copies, copies.size(), k, 1, true), all);
  for (size_t c = 0; c < counts.size(); ++c) {
    if (counts[c] > 0) averages[c] = cluster_averages(traces, matrix, counts[c], k);
  }
  return averages;
}

double gain_of(const BackgroundStep& step, double false_cost,
               std::optional<size_t> allowed) {
  const size_t free = std::min(allowed.value_or(0), step.background_accepted);
  return static_cast<double>(step.accepted) -
         false_cost * static_cast<double>(step.background_accepted - free);
}

static bool nowhere_more(const std::vector<size_t>& counts,
                         const std::vector<size_t>& than) {
  return std::equal(counts.begin(), counts.end(), than.begin(), than.end(),
                    [](size_t a, size_t b) { return a <= b; });
}

// In how many parts more gestures, or less background, are accepted than without.
static size_t parts_gained(const BackgroundStep& step, const BackgroundStep& none) {
  size_t gained = 0;
  for (size_t p = 0; p < step.background_of_part.size(); ++p) {
    gained += step.accepted_of_part[p] > none.accepted_of_part[p] ||
              step.background_of_part[p] < none.background_of_part[p];
  }
  return gained;
}

size_t choose_background(const std::vector<BackgroundStep>& steps, double false_cost,
                         std::optional<size_t> allowed, double tolerance) {
  const BackgroundStep& none = steps.front();
  const double least = gain_of(none, false_cost, allowed) + tolerance;
  const auto qualifies = [&](const BackgroundStep& step) {
    const bool keeps_out = step.background_accepted <= allowed.value_or(0) ||
                           nowhere_more(step.background_of_part, none.background_of_part);
    return keeps_out && step.accepted >= none.accepted &&
           parts_gained(step, none) >= kFewestParts &&
           gain_of(step, false_cost, allowed) > least;
  };
  double best = least;
  for (const BackgroundStep& step : steps) {
    if (qualifies(step)) best = std::max(best, gain_of(step, false_cost, allowed));
  }
  // They stand in the order of their templates.
  for (size_t i = 1; i < steps.size(); ++i) {
    if (!qualifies(steps[i])) continue;
    if (gain_of(steps[i], false_cost, allowed) >= best - tolerance) return i;
  }
  return 0;
}

}  // namespace wgr
