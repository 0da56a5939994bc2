// Where a class's similarity stops being good enough.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace wgr {

// The threshold that separates the scores of the class's own examples from those of what
// was misclassified as this class, at the least loss: a right one at or below it costs 1,
// a wrong one above it `false_cost`. Of equally good thresholds it takes the middle of
// the widest gap. Scores are zero at best; where there is nothing wrong to keep out, the
// threshold is below the worst right score by half of it.
double choose_threshold(std::vector<double> right, std::vector<double> wrong,
                        double false_cost);

// The same for all classes, whose wrong scores are those of background. With `allowed`,
// what accepting a background example costs is doubled until no more are accepted; then
// thresholds are lowered again, one class and some right examples at a time, where that
// gains the most right ones for each background example it accepts, while these are
// allowed.
std::vector<double> choose_thresholds(const std::vector<std::vector<double>>& right,
                                      const std::vector<std::vector<double>>& background,
                                      double false_cost, std::optional<size_t> allowed);

// How many of the scores are accepted by a threshold.
size_t scores_above(const std::vector<double>& scores, double threshold);

}  // namespace wgr
