#include "training/acceptance.h"

#include <algorithm>

#include "training/thresholds.h"

namespace wgr {

static size_t all_above(const std::vector<std::vector<double>>& scores,
                        const std::vector<double>& thresholds) {
  size_t count = 0;
  for (size_t c = 0; c < scores.size(); ++c) {
    count += scores_above(scores[c], thresholds[c]);
  }
  return count;
}

size_t JudgedScores::right_above(const std::vector<double>& thresholds) const {
  return all_above(right, thresholds);
}

size_t JudgedScores::background_above(const std::vector<double>& thresholds) const {
  return all_above(background, thresholds);
}

JudgedScores scores_of(const TrainingJob& job, const std::vector<Judged>& judged) {
  const std::vector<std::vector<double>> none(job.classes.size());
  JudgedScores scores = {none, none};
  for (size_t c = 0; c < job.classes.size(); ++c) {
    for (const size_t i : job.own[c]) {
      if (judged[i].label == static_cast<int>(c)) {
        scores.right[c].push_back(judged[i].score);
      }
    }
  }
  for (const size_t i : job.background) {
    if (!judged[i].label || is_background(job, judged[i])) continue;
    scores.background[static_cast<size_t>(*judged[i].label)].push_back(judged[i].score);
  }
  return scores;
}

std::vector<double> thresholds_for(const JudgedScores& scores,
                                   const ThresholdRule& rule) {
  std::vector<double> thresholds =
      choose_thresholds(scores.right, scores.background, rule.false_cost, rule.allowed);
  if (!rule.allowed) return thresholds;
  // Background without any score near a class shows nothing: more of it might.
  for (size_t c = 0; c < thresholds.size(); ++c) {
    thresholds[c] =
        std::max(thresholds[c], choose_threshold(scores.right[c], {}, rule.false_cost));
  }
  return thresholds;
}

}  // namespace wgr
