#include "engine/hand_votes.h"

#include <algorithm>
#include <cmath>

namespace wgr {

// How much of the majority's votes must exceed the minority's.
static constexpr double kAccMajority = 0.7;
static constexpr double kAccGyroMajority = 0.6;
static constexpr long long kLeastAccVotes = 3;

namespace {

// Running sums of one axis: any window's sum is the difference of two entries.
class RunningSums {
 public:
  RunningSums(const Samples& samples, size_t n, double Point3Df::*axis) : sums_(n + 1) {
    for (size_t i = 0; i < n; ++i) sums_[i + 1] = sums_[i] + samples[i].*axis;
  }

  // Sum of the `2 * half` values from `start` on.
  double whole(size_t start, size_t half) const {
    return sums_[start + 2 * half] - sums_[start];
  }

  // Sum of their second half less that of their first.
  double change(size_t start, size_t half) const {
    return sums_[start] + sums_[start + 2 * half] - 2.0 * sums_[start + half];
  }

 private:
  std::vector<double> sums_;
};

}  // namespace

// The fraction is dropped first: 0.9 does not exceed a threshold of 0.
static bool exceeds(double value, double threshold) {
  return std::fabs(std::trunc(value)) > threshold;
}

static size_t usable_scales(const Hparams& params) {
  return std::min({static_cast<size_t>(std::max(params.count, 0)), params.lags.size(),
                   params.thr_x.size(), params.thr_y.size(), params.thr_gyro.size()});
}

// Calls test(scale, start, half) for every sub-window of every scale.
template <class Test>
static void for_each_window(size_t n, const Hparams& params, Test test) {
  for (size_t scale = 0; scale < usable_scales(params); ++scale) {
    if (params.lags[scale] < 0) continue;
    const size_t half = static_cast<size_t>(params.lags[scale] / 2);
    if (2 * half > n) continue;
    for (size_t start = 0; start <= n - 2 * half; ++start) test(scale, start, half);
  }
}

void vote_acc(const Samples& acc, int n, const Hparams& params, int* votes) {
  const size_t count = static_cast<size_t>(n);
  const RunningSums x(acc, count, &Point3Df::x);
  const RunningSums y(acc, count, &Point3Df::y);
  for_each_window(count, params, [&](size_t scale, size_t start, size_t half) {
    const double dx = x.change(start, half);
    if (!exceeds(dx, params.thr_x[scale])) return;
    const double dy = y.change(start, half);
    if (!exceeds(dy, params.thr_y[scale])) return;
    ++votes[dx * dy < 0 ? 1 : 0];
  });
}

// The sense of the sign is the reverse of vote_acc's, as intended.
void vote_acc_gyro(const Samples& acc, const Samples& gyro, int n, const Hparams& params,
                   int* votes) {
  const size_t count = static_cast<size_t>(n);
  const RunningSums y(acc, count, &Point3Df::y);
  const RunningSums z(gyro, count, &Point3Df::z);
  for_each_window(count, params, [&](size_t scale, size_t start, size_t half) {
    const double dy = y.change(start, half);
    if (!exceeds(dy, params.thr_y[scale])) return;
    const double turn = z.whole(start, half);
    if (!exceeds(turn, params.thr_gyro[scale])) return;
    ++votes[dy * turn > 0 ? 1 : 0];
  });
}

static int majority(double a, double b, double share) {
  if (share * a > b) return 0;
  if (a < share * b) return 1;
  return kUndecided;
}

int decide_acc(const int* votes) {
  const long long total = static_cast<long long>(votes[0]) + votes[1];
  if (votes[0] == votes[1] || total < kLeastAccVotes) return kUndecided;
  return majority(votes[0], votes[1], kAccMajority);
}

int decide_acc_gyro(const int* votes) {
  return majority(votes[0], votes[1], kAccGyroMajority);
}

}  // namespace wgr
