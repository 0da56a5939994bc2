#include "training/background_search.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "dtw/similarity.h"
#include "training/exemplar_sweep.h"
#include "training/parallel.h"
#include "training/thinning.h"
#include "training/trace_distance.h"

namespace wgr {

// The job's background that can be mistaken for a gesture most easily.
static std::vector<size_t> most_alike_background(const BackgroundSearch& given,
                                                 const TrainingJob& job) {
  std::vector<std::pair<float, size_t>> ranked;
  for (const size_t i : job.background) {
    if (motion_points(given.traces[i], given.k) == 0) continue;
    float best = std::numeric_limits<float>::lowest();
    for (const std::vector<size_t>& own : job.own) {
      for (const size_t j : own) best = std::max(best, given.similarities(i, j));
    }
    ranked.emplace_back(-best, i);
  }
  std::sort(ranked.begin(), ranked.end());
  ranked.resize(std::min(ranked.size(), kMostClustered));
  std::vector<size_t> some;
  for (const auto& [distance, i] : ranked) some.push_back(i);
  std::sort(some.begin(), some.end());
  return some;
}

// For each count the templates of the job's background.
static std::vector<std::vector<Fitted>> fit_background(
    const BackgroundSearch& given, const TrainingJob& job,
    const std::vector<size_t>& counts) {
  const std::vector<size_t> some = most_alike_background(given, job);
  std::vector<const Points*> traces;
  for (const size_t i : some) traces.push_back(&given.traces[i]);
  std::vector<std::vector<Fitted>> all;
  for (std::vector<Cluster>& averages : background_averages(traces, counts, given.k)) {
    all.emplace_back();
    for (Cluster& cluster : averages) {
      while (!fits_a_line(cluster.trace)) thin(cluster.trace, given.k);
      all.back().push_back({job.classes.size(),
                            std::move(cluster.trace),
                            {some[cluster.around], cluster.examples}});
    }
  }
  return all;
}

// Classifies the fold's examples that are nearer to a template of background as that. Of
// equals the gesture's counts, whose templates stand first in a model.
static void draw_away(const BackgroundSearch& given, const TrainingJob& job, size_t fold,
                      const std::vector<Fitted>& background,
                      std::vector<Judged>& all_judged) {
  const auto judge = [&](size_t i) {
    const Points& trace = given.traces[i];
    if (job.fold[i] != fold || motion_points(trace, given.k) == 0) return;
    Judged& judged = all_judged[i];
    TraceDistance distance(trace, given.k);
    for (const Fitted& t : background) {
      const double here = distance.to(t.trace, -judged.score);
      if (!(here < -judged.score)) continue;
      judged.score = -here;
      judged.label = static_cast<int>(t.class_index);
    }
  };
  for (const std::vector<size_t>& own : job.own)
    std::for_each(own.begin(), own.end(), judge);
  std::for_each(job.background.begin(), job.background.end(), judge);
}

// Divides the background by likeness, into as many parts as there are folds: those of one
// part are nearest to the same average.
static std::vector<size_t> parts_of_background(const BackgroundSearch& given) {
  const TrainingJob& job = given.job;
  std::vector<size_t> part = job.fold;
  const std::vector<size_t> some = most_alike_background(given, job);
  if (some.empty()) return part;
  std::vector<const Points*> traces;
  for (const size_t i : some) traces.push_back(&given.traces[i]);
  const std::vector<Cluster> kinds =
      background_averages(traces, {job.folds}, given.k).front();
  for (const size_t i : job.background) {
    if (motion_points(given.traces[i], given.k) == 0) continue;
    part[i] = nearest_average(given.traces[i], kinds, given.k);
  }
  return part;
}

// What thresholds accept that were set without what they judge.
static BackgroundStep judged_step(const TrainingJob& job, const ThresholdRule& rule,
                                  const std::vector<Judged>& judged) {
  BackgroundStep step;
  for (size_t fold = 0; fold < job.folds; ++fold) {
    const TrainingJob rest = without_fold(job, fold);
    ThresholdRule of_rest = rule;
    if (rule.allowed && !job.background.empty()) {
      of_rest.allowed = *rule.allowed * rest.background.size() / job.background.size();
    }
    const std::vector<double> thresholds =
        thresholds_for(scores_of(rest, judged), of_rest);
    const JudgedScores unseen = scores_of(only_fold(job, fold), judged);
    step.accepted_of_part.push_back(unseen.right_above(thresholds));
    step.background_of_part.push_back(unseen.background_above(thresholds));
    step.accepted += step.accepted_of_part.back();
    step.background_accepted += step.background_of_part.back();
  }
  return step;
}

FoundBackground find_background(const BackgroundSearch& given) {
  const size_t folds = given.job.folds;
  const size_t in_a_fold = given.job.background.size() * (folds - 1) / folds;
  const std::vector<size_t> counts = background_counts(in_a_fold, given.wanted);
  const bool any = counts.back() > 0;
  TrainingJob job = given.job;
  if (any) job.fold = parts_of_background(given);
  std::vector<std::vector<Judged>> judged(counts.size(), given.judged);
  std::vector<std::vector<size_t>> points(counts.size(), std::vector<size_t>(folds));
  share_out(any ? folds : 0, given.threads, [&] {
    return [&](size_t fold) {
      const auto fitted = fit_background(given, without_fold(job, fold), counts);
      for (size_t n = 0; n < counts.size(); ++n) {
        draw_away(given, job, fold, fitted[n], judged[n]);
        for (const Fitted& t : fitted[n])
          points[n][fold] += motion_points(t.trace, given.k);
      }
    };
  });

  FoundBackground found;
  for (size_t n = 0; n < counts.size(); ++n) {
    found.steps.push_back(judged_step(job, given.rule, judged[n]));
    found.steps[n].templates = counts[n];
    found.steps[n].points =
        std::accumulate(points[n].begin(), points[n].end(), size_t{0}) / folds;
  }
  const size_t chosen = choose_background(found.steps, given.rule.false_cost,
                                          given.rule.allowed, given.tolerance);
  found.steps[chosen].chosen = true;
  found.judged = std::move(judged[chosen]);
  if (counts[chosen] > 0) {
    found.templates = std::move(fit_background(given, job, {counts[chosen]}).front());
  }
  return found;
}

}  // namespace wgr
