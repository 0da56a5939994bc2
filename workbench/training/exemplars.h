// Selects the few examples that represent all of a class.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/points.h"

namespace wgr {

struct Exemplars {
  std::vector<size_t> chosen;  // indices of traces, ascending
  std::string how;             // in words, for the report
};

// The similarities of a class's n examples with each other, row-major.
struct ClassMatrix {
  size_t n = 0;
  std::vector<float> scores;
};

// Exemplars of traces that are alike in kind: normalised, with k trailing points.
// Affinity propagation finds them; the preference is lowered until there are at most
// `most`. Where it does not converge however strong the damping, the `most` traces that
// are picked one by one, each to raise the sum of all traces' best similarities the
// most, are taken instead. most >= 1.
Exemplars choose_exemplars(const std::vector<Points>& traces, int k, size_t most);
Exemplars choose_exemplars(const ClassMatrix& matrix, size_t most);

// At most `count` of the examples, picked one by one, each to raise the sum of all
// examples' best similarities the most; ascending.
std::vector<size_t> pick_one_by_one(const ClassMatrix& matrix, size_t count);

// The preferences of a sweep, from many exemplars to few, in medians.
std::vector<double> swept_preferences();

// The exemplars for each preference of the sweep. Where affinity propagation does not
// converge, however strong the damping, as many as for the preference before are picked
// one by one; at the first preference a third of all.
std::vector<Exemplars> sweep_exemplars(const ClassMatrix& matrix);

}  // namespace wgr
