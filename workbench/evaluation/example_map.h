// A map of examples in two dimensions, on which those that are alike lie close together.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace wgr {

struct MapPoint {
  double x, y;  // of a score's unit
};

struct ExampleMap {
  std::vector<std::optional<MapPoint>> points;  // none: it cannot be compared
  double held = 0.0;  // share of the squared products that the two dimensions hold
};

// Similarity of example i, as a motion, with example j, as a template: 0 at best.
using ScoreOf = std::function<double(size_t i, size_t j)>;

// Classical scaling (Torgerson, 1952) of the landmarks; the others, up to `examples`, are
// placed by their distances to these (de Silva and Tenenbaum, 2004). Distances are the
// scores without their sign. The same scores give the same map.
ExampleMap map_examples(size_t examples, const std::vector<size_t>& landmarks,
                        const ScoreOf& score);

// So many of the first `count` numbers, evenly spread.
std::vector<size_t> evenly_chosen(size_t count, size_t most);

}  // namespace wgr
