// Finds the template that a trace resembles most, without comparing most of them
// completely.
#pragma once

#include <utility>
#include <vector>

#include "base/points.h"

namespace wgr {

using Templates = std::vector<std::pair<int, Points>>;  // label, trace

struct Match {
  const Templates::value_type* winner;  // null when nothing is similar at all
  double score;                         // its similarity; the most negative double then
};

// The first of the most similar among the first `count` templates, at most all. Exactly
// what scoring each of them would find. k trailing points, as for dtw_similarity().
Match best_match(const Points& trace, const Templates& templates, size_t count, int k);

}  // namespace wgr
