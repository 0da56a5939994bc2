// What counts say with 95 % confidence of the shares and rates behind them.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace wgr {

// The expected number of events of which no more than `seen` come with a probability of
// 5 %: so many are expected at most (Poisson).
double most_expected(size_t seen);

// The share that is exceeded, and the one that is not reached, with 95 % confidence each
// where `part` of `whole` were seen (Clopper and Pearson, 1934). 0 and 1 of none.
double least_share(size_t part, size_t whole);
double most_share(size_t part, size_t whole);

// The interval of the mean in 95 of 100 samples of as many values, drawn with
// replacement (Efron, 1979): how far it depends on who was recorded. The same values give
// the same interval. There is one value at least.
std::pair<double, double> bootstrap_interval(const std::vector<double>& values);

}  // namespace wgr
