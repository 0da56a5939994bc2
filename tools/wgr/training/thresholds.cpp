#include "training/thresholds.h"

#include <algorithm>

static constexpr double kSlack = 1.5;        // of the outermost score, for what is open
static constexpr double kLeastSlack = 0.01;  // below a perfect score

static double lower(double score) {
  return std::min(score * kSlack, score - kLeastSlack);
}

static double loss(const std::vector<double>& right, const std::vector<double>& wrong,
                   double threshold, double false_cost) {
  const auto misses = std::count_if(right.begin(), right.end(),
                                    [=](double s) { return !(s > threshold); });
  const auto falses =
      std::count_if(wrong.begin(), wrong.end(), [=](double s) { return s > threshold; });
  return static_cast<double>(misses) + false_cost * static_cast<double>(falses);
}

double choose_threshold(std::vector<double> right, std::vector<double> wrong,
                        double false_cost) {
  std::vector<double> scores = right;
  scores.insert(scores.end(), wrong.begin(), wrong.end());
  if (scores.empty()) return lower(0.0);
  std::sort(scores.begin(), scores.end());
  scores.insert(scores.begin(), lower(lower(scores.front())));

  // Between neighbouring scores nothing changes: the middle stands for the gap. Above
  // the best score everything is refused.
  double best_threshold = 0.0;
  double best_loss = loss(right, wrong, best_threshold, false_cost);
  double best_gap = 0.0;
  for (size_t i = 0; i + 1 < scores.size(); ++i) {
    const double gap = scores[i + 1] - scores[i];
    const double threshold = scores[i] + 0.5 * gap;
    const double cost = loss(right, wrong, threshold, false_cost);
    if (gap > 0.0 && (cost < best_loss || (cost == best_loss && gap > best_gap))) {
      best_threshold = threshold;
      best_loss = cost;
      best_gap = gap;
    }
  }
  return best_threshold;
}
