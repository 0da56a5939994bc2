// Where a class's similarity stops being good enough.
#pragma once

#include <cstddef>
#include <vector>

namespace wgr {

// The threshold that separates the scores of the class's own examples from those of all
// else that came out as this class, at the least loss: a right one at or below it costs
// 1, a wrong one above it `false_cost`. Of equally good thresholds it takes the middle of
// the widest gap. Scores are zero at best; where there is nothing wrong to keep out, the
// threshold lies below the worst right score by half of it.
//
// `background` scores are wrong as well and cost `background_cost` each.
double choose_threshold(std::vector<double> right, std::vector<double> wrong,
                        double false_cost, const std::vector<double>& background = {},
                        double background_cost = 0.0);

// The same for all classes: what accepting a background example costs is doubled until no
// more than `allowed` are accepted. Without any background nothing is known of what must
// be rejected, and to reject an example instead of misclassifying it helps nobody: then
// the wrong scores do not count.
std::vector<double> choose_thresholds(const std::vector<std::vector<double>>& right,
                                      const std::vector<std::vector<double>>& wrong,
                                      double false_cost,
                                      const std::vector<std::vector<double>>& background,
                                      size_t allowed);

}  // namespace wgr
