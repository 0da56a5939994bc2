#include "training/background_templates.h"

#include <algorithm>
#include <numeric>

#include "training/exemplar_sweep.h"
#include "training/similarities.h"

namespace wgr {

static constexpr size_t kTried[] = {1, 2, 4, 8, 16};
static constexpr size_t kFewestClustered = 4;  // examples for each template

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

size_t choose_background(const std::vector<BackgroundStep>& steps, double false_cost,
                         std::optional<size_t> allowed, double tolerance) {
  double best = gain_of(steps.front(), false_cost, allowed);
  for (const BackgroundStep& step : steps) {
    best = std::max(best, gain_of(step, false_cost, allowed));
  }
  size_t chosen = steps.size();
  for (size_t i = 0; i < steps.size(); ++i) {
    if (gain_of(steps[i], false_cost, allowed) < best - tolerance) continue;
    if (chosen == steps.size() || steps[i].templates < steps[chosen].templates) {
      chosen = i;
    }
  }
  return chosen;
}

}  // namespace wgr
