// Groups points by their similarities, one exemplar a group, without printing anything.
//
// B. J. Frey and D. Dueck, "Clustering by passing messages between data points",
// Science 315 (2007).
#pragma once

namespace wgr {

// As the constructor of AP takes them, which refuses others.
struct AffinityPropagation {
  int iterations;         // at most, less one
  int stable_iterations;  // over which all decisions must hold
  double preference;      // times the median similarity gives every self-similarity
  double damping;         // share of the old message in the new
};

inline constexpr int kNotConverged = -1;

// Clusters n points. s is n x n, row-major, entry i * n + j the similarity of i to j; its
// diagonal is overwritten. idx receives the exemplar of each point, on success only.
// Returns the number of exemplars; 0 when none emerged or n < 2, or kNotConverged.
int affinity_propagation(const AffinityPropagation& given, float* s, int* idx, int n);

}  // namespace wgr
