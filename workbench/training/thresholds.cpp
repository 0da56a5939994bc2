#include "training/thresholds.h"

#include <algorithm>
#include <optional>

namespace wgr {

static constexpr double kSlack = 1.5;        // of the outermost score, for what is open
static constexpr double kLeastSlack = 0.01;  // below a perfect score
static constexpr double kMostBackgroundCost = 1e9;

static double lower(double score) {
  return std::min(score * kSlack, score - kLeastSlack);
}

namespace {

struct Scored {
  double score;
  double cost;  // of accepting it; that of refusing a right one is negative
};

}  // namespace

double choose_threshold(std::vector<double> right, std::vector<double> wrong,
                        double false_cost) {
  std::vector<Scored> scores;
  for (const double s : right) scores.push_back({s, -1.0});
  for (const double s : wrong) scores.push_back({s, false_cost});
  if (scores.empty()) return lower(0.0);
  std::sort(scores.begin(), scores.end(),
            [](const Scored& a, const Scored& b) { return a.score < b.score; });

  // Above the best score everything is rejected: the loss of 0, to which others are
  // compared. From there the threshold goes down gap by gap. Between neighbouring scores
  // nothing changes: the middle represents the gap.
  double best_threshold = 0.0;
  double best_loss = 0.0;
  double best_gap = 0.0;
  double loss = 0.0;
  for (size_t i = scores.size(); i-- > 0;) {
    loss += scores[i].cost;
    const double below = i > 0 ? scores[i - 1].score : lower(lower(scores.front().score));
    const double gap = scores[i].score - below;
    // Equally good gaps: the widest, and of these the lowest.
    if (gap > 0.0 && (loss < best_loss || (loss == best_loss && gap >= best_gap))) {
      best_threshold = below + 0.5 * gap;
      best_loss = loss;
      best_gap = gap;
    }
  }
  return best_threshold;
}

size_t scores_above(const std::vector<double>& scores, double threshold) {
  return static_cast<size_t>(
      std::count_if(scores.begin(), scores.end(),
                    [threshold](double score) { return score > threshold; }));
}

namespace {

// A lower threshold of a class, and what it accepts besides.
struct Lowering {
  size_t class_index = 0;
  double threshold = 0.0;
  size_t right = 0;
  size_t background = 0;

  // More right ones for each background example; of equal ones the fewest of these.
  bool better_than(const Lowering& other) const {
    const size_t here = right * other.background;
    const size_t there = other.right * background;
    if (here != there) return here > there;
    return background < other.background;
  }
};

}  // namespace

// The middle between a score that is to be accepted and the next below it.
static double below(double score, const std::vector<double>& right,
                    const std::vector<double>& background) {
  double next = lower(score);
  for (const std::vector<double>* scores : {&right, &background}) {
    for (const double s : *scores) {
      if (s < score) next = std::max(next, s);
    }
  }
  return 0.5 * (score + next);
}

// The best lowering of a class that accepts no more than `spare` background examples
// besides.
static std::optional<Lowering> lowering_of(size_t class_index, double threshold,
                                           const std::vector<double>& right,
                                           const std::vector<double>& background,
                                           size_t spare) {
  std::optional<Lowering> best;
  const size_t right_now = scores_above(right, threshold);
  const size_t background_now = scores_above(background, threshold);
  for (const double score : right) {
    if (score > threshold) continue;
    Lowering to = {class_index, below(score, right, background), 0, 0};
    if (!(to.threshold < threshold)) continue;
    to.right = scores_above(right, to.threshold) - right_now;
    to.background = scores_above(background, to.threshold) - background_now;
    if (to.background > spare) continue;
    if (!best || to.better_than(*best)) best = to;
  }
  return best;
}

static void use_up(const std::vector<std::vector<double>>& right,
                   const std::vector<std::vector<double>>& background, size_t spare,
                   std::vector<double>& thresholds) {
  for (;;) {
    std::optional<Lowering> best;
    for (size_t c = 0; c < right.size(); ++c) {
      const std::optional<Lowering> found =
          lowering_of(c, thresholds[c], right[c], background[c], spare);
      if (found && (!best || found->better_than(*best))) best = found;
    }
    if (!best) return;
    thresholds[best->class_index] = best->threshold;
    spare -= best->background;
  }
}

std::vector<double> choose_thresholds(const std::vector<std::vector<double>>& right,
                                      const std::vector<std::vector<double>>& background,
                                      double false_cost, std::optional<size_t> allowed) {
  std::vector<double> thresholds(right.size());
  for (double cost = false_cost;; cost *= 2.0) {
    size_t accepted = 0;
    for (size_t c = 0; c < right.size(); ++c) {
      thresholds[c] = choose_threshold(right[c], background[c], cost);
      accepted += scores_above(background[c], thresholds[c]);
    }
    if (allowed && accepted > *allowed && cost <= kMostBackgroundCost) continue;
    if (allowed && accepted <= *allowed) {
      use_up(right, background, *allowed - accepted, thresholds);
    }
    return thresholds;
  }
}

}  // namespace wgr
