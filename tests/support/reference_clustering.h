// Affinity propagation at its plainest, to compare with: every matrix whole, every
// step a loop of its own, the decisions of each iteration kept in a table.
#pragma once

#include <string>
#include <vector>

namespace reference {

struct Clustering {
  int result;            // number of exemplars, 0 or -1
  std::vector<int> idx;  // empty unless the result is positive
  std::string printed;   // on standard output
  int iterations;        // how many ran
  bool odd_choice;       // some point chose one that is no exemplar itself
};

// The value of rank (size - 1) / 2. No value may be NaN.
float lower_median(std::vector<float> values);

// The off-diagonal entries, row by row.
std::vector<float> off_diagonal(const std::vector<float>& s, int n);

// The iterations and the finish, on a matrix whose diagonal is already set.
Clustering propagate(const std::vector<float>& s, int n, int maxits, int convits,
                     double dampfact);

}  // namespace reference
