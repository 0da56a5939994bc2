// Where a class's similarity stops being good enough.
#pragma once

#include <vector>

// The threshold that separates the scores of the class's own samples from those of all
// else that came out as this class, at the least loss: a right one at or below it costs
// 1, a wrong one above it `false_cost`. Of equally good thresholds it takes the middle of
// the widest gap. Scores are zero at best; where there is nothing wrong to keep out, the
// threshold lies below the worst right score by half of it.
//
// `background` scores are wrong as well and cost `background_cost` each.
double choose_threshold(std::vector<double> right, std::vector<double> wrong,
                        double false_cost, const std::vector<double>& background = {},
                        double background_cost = 0.0);
