// Every path visits both corners of the table, which bounds its cost from below. A path
// has at most na + nb - 1 pairs, so that bound, divided by that and with the gravity
// distance added, bounds the distance that the score is the negative of: it decides which
// templates need not be compared at all, and in which order. The most promising ones are
// compared first: the sooner a good score is known, the sooner the others are abandoned
// (see Dtw::warp).
#include "dtw/best_match.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dtw/dtw.h"
#include "dtw/similarity.h"

namespace wgr {

// A template is dropped only when its distance exceeds the best one by more than any
// rounding could cause. Scores are floats: they are 1.2e-7 of their size apart, or
// 1.4e-45 where that is more. The bounds are made by a few operations on doubles, each
// good to 1.1e-16, and a path's cost never falls along it in doubles either.
static constexpr double kRelativeSlack = 1e-6;
static constexpr double kAbsoluteSlack = 1e-37;

namespace {

struct Candidate {
  const Templates::value_type* entry;
  size_t points;
  double longest_path;
  double gravity;
  double distance;  // at least
};

}  // namespace

// The templates that can be compared with the trace's na points, most promising first.
static std::vector<Candidate> candidates(const Points& trace, size_t na,
                                         const Templates& templates, size_t count,
                                         int k) {
  std::vector<Candidate> found;
  found.reserve(count);
  for (size_t t = 0; t < count; ++t) {
    const Points& other = templates[t].second;
    const size_t nb = motion_points(other, k);
    if (nb == 0) continue;
    const double start = squared_length(trace[0] - other[0]);
    const double end = squared_length(trace[na - 1] - other[nb - 1]);
    const double cost = na + nb > 2 ? start + end : start;
    const double longest_path = static_cast<double>(na + nb - 1);
    const double gravity = gravity_distance(trace, other, k);
    found.push_back(
        {&templates[t], nb, longest_path, gravity, cost / longest_path + gravity});
  }
  std::sort(found.begin(), found.end(), [](const Candidate& a, const Candidate& b) {
    // Not-a-number goes last; otherwise there would be no order.
    return a.distance < b.distance || (std::isnan(b.distance) && !std::isnan(a.distance));
  });
  return found;
}

Match best_match(const Points& trace, const Templates& templates, size_t count, int k) {
  Match best = {nullptr, std::numeric_limits<double>::lowest()};
  const size_t na = motion_points(trace, k);
  if (na == 0) return best;
  Dtw warper;
  warper.set_trace(trace.data(), na);

  double farthest = std::numeric_limits<double>::infinity();  // that could still win
  const size_t within = std::min(count, templates.size());
  for (const Candidate& c : candidates(trace, na, templates, within, k)) {
    if (c.distance > farthest) break;
    const double limit = (farthest - c.gravity) * c.longest_path;
    const WarpingPath path = warper.warp(c.entry->second.data(), c.points, limit);
    const double score = static_cast<double>(score_of(path, c.gravity, k));
    // The order of comparing must not change the result: of equals the first in the model
    // wins.
    const bool earlier_equal =
        best.winner != nullptr && score == best.score && c.entry < best.winner;
    if (score > best.score || earlier_equal) {
      best = {c.entry, score};
      farthest = -score + -score * kRelativeSlack + kAbsoluteSlack;
    }
  }
  return best;
}

}  // namespace wgr
