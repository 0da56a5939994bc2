// What counts say with 95 % confidence of the shares and rates behind them.
#pragma once

#include <cstddef>
#include <optional>
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

// A figure with the interval that holds it with 95 % confidence.
struct Estimate {
  double value;
  double low;
  double high;
};

// Of a share, where `part` of `whole` were seen (the score interval of Wilson, 1927), and
// of a rate, where so many events were seen in `hours` (Garwood, 1936). `whole` and
// `hours` are above 0.
Estimate share_estimate(size_t part, size_t whole);
Estimate rate_estimate(size_t events, double hours);

// Of the median of these sorted values, between two of them; nothing for too few.
std::optional<Estimate> median_estimate(const std::vector<double>& sorted);

// Of the difference now - old of two figures that were found independently: of shares
// this is the tenth method of Newcombe (1998), which Donner and Zou (2012) give for any
// two figures with intervals.
Estimate difference_estimate(const Estimate& old, const Estimate& now);

// The interval of the mean in 95 of 100 samples of as many values, drawn with
// replacement (Efron, 1979): how far it depends on who was recorded. The same values give
// the same interval. There is one value at least.
std::pair<double, double> bootstrap_interval(const std::vector<double>& values);

}  // namespace wgr
