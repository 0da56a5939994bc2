#include "training/thresholds.h"

#include <algorithm>

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
                        double false_cost, const std::vector<double>& background,
                        double background_cost) {
  std::vector<Scored> scores;
  for (const double s : right) scores.push_back({s, -1.0});
  for (const double s : wrong) scores.push_back({s, false_cost});
  for (const double s : background) scores.push_back({s, background_cost});
  if (scores.empty()) return lower(0.0);
  std::sort(scores.begin(), scores.end(),
            [](const Scored& a, const Scored& b) { return a.score < b.score; });

  // Above the best score everything is rejected: the loss of 0 that others are held
  // against. From there the threshold goes down gap by gap. Between neighbouring scores
  // nothing changes: the middle stands for the gap.
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

std::vector<double> choose_thresholds(const std::vector<std::vector<double>>& right,
                                      const std::vector<std::vector<double>>& wrong,
                                      double false_cost,
                                      const std::vector<std::vector<double>>& background,
                                      size_t allowed) {
  std::vector<double> thresholds(right.size());
  const bool any_background =
      std::any_of(background.begin(), background.end(),
                  [](const std::vector<double>& scores) { return !scores.empty(); });
  if (!any_background) {
    // Nothing is known of what must be rejected; to reject an example instead of
    // misclassifying it helps nobody.
    for (size_t c = 0; c < right.size(); ++c) {
      thresholds[c] = choose_threshold(right[c], {}, false_cost);
    }
    return thresholds;
  }
  for (double cost = false_cost;; cost *= 2.0) {
    size_t accepted = 0;
    for (size_t c = 0; c < right.size(); ++c) {
      const double t =
          choose_threshold(right[c], wrong[c], false_cost, background[c], cost);
      thresholds[c] = t;
      accepted +=
          static_cast<size_t>(std::count_if(background[c].begin(), background[c].end(),
                                            [t](double score) { return score > t; }));
    }
    if (accepted <= allowed || cost > kMostBackgroundCost) break;
  }
  return thresholds;
}

}  // namespace wgr
