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
static void draw_away(const BackgroundSearch& given, size_t fold,
                      const std::vector<Fitted>& background,
                      std::vector<Judged>& all_judged) {
  const auto judge = [&](size_t i) {
    const Points& trace = given.traces[i];
    if (given.job.fold[i] != fold || motion_points(trace, given.k) == 0) return;
    Judged& judged = all_judged[i];
    TraceDistance distance(trace, given.k);
    for (const Fitted& t : background) {
      const double here = distance.to(t.trace, -judged.score);
      if (!(here < -judged.score)) continue;
      judged.score = -here;
      judged.label = static_cast<int>(t.class_index);
    }
  };
  for (const std::vector<size_t>& own : given.job.own)
    std::for_each(own.begin(), own.end(), judge);
  std::for_each(given.job.background.begin(), given.job.background.end(), judge);
}

FoundBackground find_background(const BackgroundSearch& given) {
  const TrainingJob& job = given.job;
  const size_t in_a_fold = job.background.size() * (job.folds - 1) / job.folds;
  const std::vector<size_t> counts = background_counts(in_a_fold, given.wanted);
  std::vector<std::vector<Judged>> judged(counts.size(), given.judged);
  std::vector<std::vector<size_t>> points(counts.size(), std::vector<size_t>(job.folds));
  const bool any = counts.back() > 0;
  share_out(any ? job.folds : 0, given.threads, [&] {
    return [&](size_t fold) {
      const auto fitted = fit_background(given, without_fold(job, fold), counts);
      for (size_t n = 0; n < counts.size(); ++n) {
        draw_away(given, fold, fitted[n], judged[n]);
        for (const Fitted& t : fitted[n])
          points[n][fold] += motion_points(t.trace, given.k);
      }
    };
  });

  FoundBackground found;
  for (size_t n = 0; n < counts.size(); ++n) {
    const JudgedScores scores = scores_of(job, judged[n]);
    const std::vector<double> thresholds = thresholds_for(scores, given.rule);
    const size_t all = std::accumulate(points[n].begin(), points[n].end(), size_t{0});
    found.steps.push_back({counts[n], all / job.folds, scores.right_above(thresholds),
                           scores.background_above(thresholds), false});
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
