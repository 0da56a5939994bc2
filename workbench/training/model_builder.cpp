#include "training/model_builder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <set>

#include "base/class_codes.h"
#include "base/errors.h"
#include "base/progress.h"
#include "base/text.h"
#include "classifier/HGR.h"
#include "dtw/best_match.h"
#include "dtw/similarity.h"
#include "training/acceptance.h"
#include "training/adaptation.h"
#include "training/averages.h"
#include "training/background_search.h"
#include "training/parallel.h"
#include "training/thinning.h"
#include "training/thresholds.h"

namespace wgr {

static constexpr size_t kMostAverages = 5;    // of a class
static constexpr size_t kFewestAveraged = 8;  // examples; fewer say little of others
static constexpr double kLeastGain = 2.0;     // examples; less may be chance

const char* name_of(TemplateKind kind) {
  switch (kind) {
    case TemplateKind::kExemplars:
      return "exemplars";
    case TemplateKind::kAverages:
      return "averages";
    case TemplateKind::kSmoothed:
      return "smoothed averages";
    default:
      return "adapted averages";
  }
}

struct ModelBuilder::Candidate {
  TemplateKind kind;
  size_t per_class;  // of averages, at most
};

// A candidate, and what models of its kind made of the examples they were made without.
struct ModelBuilder::Trial {
  Candidate candidate;
  std::vector<Judged> judged;     // every example; `label` is the class's index
  std::vector<size_t> templates;  // of each fold's model
};

template <class OfClass>
static size_t sum(const std::vector<ClassReport>& classes, OfClass of_class) {
  size_t all = 0;
  for (const ClassReport& c : classes) all += of_class(c);
  return all;
}

size_t BuildReport::examples() const {
  return sum(classes, [](const ClassReport& c) { return c.examples; });
}
size_t BuildReport::classified_right() const {
  return sum(classes, [](const ClassReport& c) { return c.right + c.rejected; });
}
size_t BuildReport::accepted() const {
  return sum(classes, [](const ClassReport& c) { return c.right; });
}
size_t BuildReport::like_background() const {
  return sum(classes, [](const ClassReport& c) { return c.like_background; });
}
size_t BuildReport::templates() const {
  return sum(classes, [](const ClassReport& c) { return c.templates; });
}

// The trace of an example, normalised, and thinned until a template of it fits a line.
Points ModelBuilder::made_ready(const Gsample& example, const std::string& name) {
  HGR scaler(1);
  Points trace = example.trace;
  scaler.normalize(trace, k_);
  const size_t points = trace.size() - static_cast<size_t>(k_);
  while (example.label >= 0 && !fits_a_line(trace)) {
    thin(trace, k_);
    scaler.normalize(trace, k_);  // what is left has another root mean square
  }
  const size_t left = trace.size() - static_cast<size_t>(k_);
  if (left < points) {
    notes_.push_back(
        fmt::format("{}: thinned from {} to {} points, for a model's line has at "
                    "most 4095 characters",
                    name, points, left));
  }
  for (const Point3Df& p : trace) {
    if (std::isfinite(squared_length(p))) continue;
    throw UsageError(name + ": without any motion in it, nothing can be compared");
  }
  return trace;
}

static void check_sizes(size_t examples, const std::vector<std::string>& sources) {
  if (sources.empty() || sources.size() == examples) return;
  throw UsageError(fmt::format("there are {} examples, but subjects or sessions of {}",
                               examples, sources.size()));
}

ModelBuilder::ModelBuilder(const Gdata& data, unsigned threads, bool quiet,
                           const ExampleSources& sources)
    : k_(data.kind == 1 ? 1 : 0), sources_(sources) {
  check_sizes(data.samples.size(), sources.subjects);
  check_sizes(data.samples.size(), sources.sessions);
  size_t gestures = 0;
  for (const bool background : {false, true}) {
    for (size_t i = 0; i < data.samples.size(); ++i) {
      const Gsample& example = data.samples[i];
      if ((example.label < 0) != background) continue;
      const std::string name = fmt::format("example {} (class {})", i + 1, example.label);
      if (!background && is_class_code(example.label)) {
        throw UsageError(name +
                         ": this class cannot be a gesture's, the interface "
                         "uses it for something else");
      }
      traces_.push_back(made_ready(example, name));
      origin_.push_back(i);
      labels_.push_back(example.label);
      gestures += background ? 0 : 1;
    }
  }
  if (gestures == 0) throw UsageError("there is no example of any gesture");
  similarities_.emplace(traces_, gestures, k_, threads, quiet);
}

std::vector<size_t> ModelBuilder::members(const std::vector<bool>& taken,
                                          int label) const {
  std::vector<size_t> found;
  for (size_t i = 0; i < labels_.size(); ++i) {
    const bool is_it = label < 0 ? labels_[i] < 0 : labels_[i] == label;
    if (is_it && taken[origin_[i]]) found.push_back(i);
  }
  return found;
}

TrainingJob ModelBuilder::job_of(const std::vector<bool>& taken,
                                 const BuildOptions& options) const {
  TrainingJob job;
  std::vector<FoldedExample> examples;
  std::vector<size_t> members_of_job;
  const auto note = [&](const std::vector<size_t>& members) {
    for (const size_t i : members) {
      const auto of = [&](const std::vector<std::string>& known) {
        return known.empty() ? std::string() : known[origin_[i]];
      };
      examples.push_back({labels_[i], of(sources_.subjects), of(sources_.sessions)});
      members_of_job.push_back(i);
    }
  };
  for (const int label : std::set<int>(labels_.begin(), labels_.end())) {
    std::vector<size_t> own = members(taken, label);
    if (label < 0 || own.empty()) continue;
    note(own);
    job.classes.push_back(label);
    job.own.push_back(std::move(own));
  }
  if (job.classes.empty()) throw UsageError("there is no example of any gesture");
  job.background = members(taken, -1);
  note(job.background);

  const Folds folds = divide_examples(examples, options.judge_by);
  job.by = folds.by;
  job.by_one = folds.by_one;
  job.folds = folds.count;
  job.fold.assign(labels_.size(), folds.count);
  job.group.assign(labels_.size(), 0);
  for (size_t i = 0; i < members_of_job.size(); ++i) {
    job.fold[members_of_job[i]] = folds.of[i];
    job.group[members_of_job[i]] = folds.group[i];
  }
  return job;
}

// Averages that a class of so many examples may have.
static size_t most_averages(size_t examples, const BuildOptions& options) {
  const size_t by_size = (examples + kFewestAveraged / 2) / kFewestAveraged;
  return std::clamp<size_t>(by_size, 1, most_of(examples, options.most_share));
}

std::vector<ModelBuilder::Candidate> ModelBuilder::candidates(
    const TrainingJob& job, const BuildOptions& options) {
  size_t most = 1;
  for (const std::vector<size_t>& own : job.own) {
    // What is left of the class in a fold.
    const size_t rest = own.size() * (job.folds - 1) / job.folds;
    most = std::max(most, most_averages(rest, options));
  }
  most = std::min({most, kMostAverages, options.most_templates.value_or(kMostAverages)});
  std::vector<Candidate> all;
  const auto wanted = [&](TemplateKind kind) {
    return !options.kind || *options.kind == kind;
  };
  if (wanted(TemplateKind::kExemplars)) all.push_back({TemplateKind::kExemplars, 0});
  for (const TemplateKind kind :
       {TemplateKind::kAverages, TemplateKind::kSmoothed, TemplateKind::kAdapted}) {
    for (size_t n = 1; wanted(kind) && n <= most; ++n) all.push_back({kind, n});
  }
  return all;
}

std::vector<Fitted> ModelBuilder::fit_exemplars(const TrainingJob& job,
                                                const BuildOptions& options,
                                                BuildReport& report) const {
  FoundExemplars found =
      find_exemplars({*similarities_, job.own, job.group, options.most_templates,
                      options.tolerance, options.most_share});
  std::vector<Fitted> fitted;
  for (const ClassTemplate& t : found.templates) {
    fitted.push_back({t.class_index, traces_[t.example], {t.example, 1}});
  }
  report.sweep = std::move(found.sweep);
  for (size_t c = 0; c < report.classes.size(); ++c) {
    report.classes[c].chosen_by = found.how[c];
  }
  return fitted;
}

std::vector<Fitted> ModelBuilder::fit_averages(const TrainingJob& job, size_t per_class,
                                               const BuildOptions& options) const {
  std::vector<Fitted> fitted;
  for (size_t c = 0; c < job.own.size(); ++c) {
    const std::vector<size_t> some = thinned_out(job.own[c]);
    if (some.empty()) continue;
    std::vector<const Points*> traces;
    for (const size_t i : some) traces.push_back(&traces_[i]);
    const size_t count = std::min(per_class, most_averages(job.own[c].size(), options));
    for (Cluster& cluster :
         cluster_averages(traces, matrix_of(*similarities_, some), count, k_)) {
      fitted.push_back(
          {c, std::move(cluster.trace), {some[cluster.around], cluster.examples}});
    }
  }
  return fitted;
}

// The classes take turns, so that none is learned last.
void ModelBuilder::adapt(const TrainingJob& job, std::vector<Fitted>& fitted) const {
  std::vector<LabelledTrace> examples;
  for (size_t turn = 0; turn < kMostClustered; ++turn) {
    for (size_t c = 0; c < job.own.size(); ++c) {
      const std::vector<size_t> some = thinned_out(job.own[c]);
      if (turn < some.size()) examples.push_back({c, &traces_[some[turn]]});
    }
  }
  std::vector<MovedTemplate> templates;
  for (Fitted& t : fitted) templates.push_back({t.class_index, &t.trace});
  adapt_templates(examples, templates, k_);
}

// What a kind makes of averages.
std::vector<Fitted> ModelBuilder::finished(const TrainingJob& job, TemplateKind kind,
                                           std::vector<Fitted> averages) const {
  if (kind == TemplateKind::kAdapted) adapt(job, averages);
  for (Fitted& t : averages) {
    if (kind == TemplateKind::kSmoothed) t.trace = smoothed(t.trace, k_);
    while (!fits_a_line(t.trace)) thin(t.trace, k_);
  }
  return averages;
}

std::vector<Fitted> ModelBuilder::fit(const TrainingJob& job, const Candidate& candidate,
                                      const BuildOptions& options,
                                      BuildReport& report) const {
  if (candidate.kind == TemplateKind::kExemplars) {
    return fit_exemplars(job, options, report);
  }
  for (ClassReport& c : report.classes) c.chosen_by = name_of(candidate.kind);
  return finished(job, candidate.kind, fit_averages(job, candidate.per_class, options));
}

// Classifies the examples of the fold by templates that were made without them.
void ModelBuilder::judge_left_out(const TrainingJob& job, size_t fold,
                                  const std::vector<Fitted>& fitted, Trial& trial) const {
  Templates templates;
  for (const Fitted& t : fitted) {
    templates.emplace_back(static_cast<int>(t.class_index), t.trace);
  }
  const auto judge = [&](size_t i) {
    if (job.fold[i] != fold) return;
    const Match match = best_match(traces_[i], templates, templates.size(), k_);
    Judged& judged = trial.judged[i];
    judged.score = match.score;
    if (match.winner != nullptr) judged.label = match.winner->first;
  };
  for (const std::vector<size_t>& own : job.own) {
    for (const size_t i : own) judge(i);
  }
  for (const size_t i : job.background) judge(i);
  trial.templates[fold] = templates.size();
}

// Exemplars are evaluated as they are where they were asked for: every example is
// classified by all exemplars outside its own group.
void ModelBuilder::judge_by_others(const TrainingJob& job,
                                   const std::vector<Fitted>& exemplars,
                                   Trial& trial) const {
  const auto judge = [&](size_t i, bool gesture) {
    Judged judged = {std::nullopt, std::numeric_limits<double>::lowest(), false};
    for (const Fitted& t : exemplars) {
      if (gesture && job.group[t.source.example] == job.group[i]) continue;
      const double score = (*similarities_)(i, t.source.example);
      if (!(score > judged.score)) continue;
      judged.score = score;
      judged.label = static_cast<int>(t.class_index);
    }
    trial.judged[i] = judged;
  };
  for (const std::vector<size_t>& own : job.own) {
    for (const size_t i : own) judge(i, true);
  }
  for (const size_t i : job.background) judge(i, false);
}

std::vector<ModelBuilder::Trial> ModelBuilder::try_all(
    const TrainingJob& job, const BuildOptions& options) const {
  std::vector<Trial> trials;
  for (const Candidate& candidate : candidates(job, options)) {
    trials.push_back({candidate, std::vector<Judged>(labels_.size()),
                      std::vector<size_t>(job.folds, 0)});
  }
  size_t most = 0;
  for (const Trial& trial : trials) most = std::max(most, trial.candidate.per_class);
  const size_t parts = (most + 1) * job.folds;
  std::optional<Progress> progress;
  if (options.progress) progress.emplace("comparing kinds of templates", parts);
  // A part is a fold and a number of averages a class, the costly ones first; 0 stands
  // for exemplars.
  share_out(parts, options.threads, [&] {
    return [&](size_t part) {
      const size_t per_class = most - part / job.folds;
      const size_t fold = part % job.folds;
      const TrainingJob rest = without_fold(job, fold);
      std::vector<Fitted> averages;
      if (per_class > 0) averages = fit_averages(rest, per_class, options);
      for (Trial& trial : trials) {
        if (trial.candidate.per_class != per_class) continue;
        BuildReport unused;
        judge_left_out(job, fold,
                       per_class > 0 ? finished(rest, trial.candidate.kind, averages)
                                     : fit_exemplars(rest, options, unused),
                       trial);
      }
      if (progress) progress->add(1);
    };
  });
  return trials;
}

// The share of the gestures' examples that were classified right.
double ModelBuilder::accuracy_of(const TrainingJob& job, const Trial& trial) {
  size_t examples = 0;
  size_t right = 0;
  for (size_t c = 0; c < job.own.size(); ++c) {
    examples += job.own[c].size();
    for (const size_t i : job.own[c]) {
      right += trial.judged[i].label == static_cast<int>(c) ? 1 : 0;
    }
  }
  return share(right, examples);
}

size_t choose_kind(const std::vector<KindStep>& kinds, double tolerance) {
  double best = 0.0;
  for (const KindStep& kind : kinds) best = std::max(best, kind.accuracy);
  size_t chosen = kinds.size();
  for (size_t i = 0; i < kinds.size(); ++i) {
    if (kinds[i].accuracy < best - tolerance) continue;
    if (chosen == kinds.size() || kinds[i].templates < kinds[chosen].templates ||
        (kinds[i].templates == kinds[chosen].templates &&
         kinds[i].accuracy > kinds[chosen].accuracy)) {
      chosen = i;
    }
  }
  return chosen;
}

static std::optional<size_t> allowed_background(const BuildOptions& options) {
  if (!options.false_positives_per_hour) return std::nullopt;
  return static_cast<size_t>(
      std::floor(*options.false_positives_per_hour * options.background_hours));
}

static ThresholdRule rule_of(const BuildOptions& options) {
  return {options.false_cost, allowed_background(options)};
}

// Thresholds by the scores, and in the report what they accept.
std::vector<double> ModelBuilder::set_thresholds(const TrainingJob& job,
                                                 const Trial& trial,
                                                 const BuildOptions& options,
                                                 BuildReport& report) {
  const JudgedScores scores = scores_of(job, trial.judged);
  const std::vector<double> thresholds = thresholds_for(scores, rule_of(options));
  report.background = job.background.size();
  report.background_allowed = allowed_background(options);
  report.background_accepted = scores.background_above(thresholds);
  for (size_t c = 0; c < job.classes.size(); ++c) {
    ClassReport& entry = report.classes[c];
    entry.threshold = thresholds[c];
    entry.right = scores_above(scores.right[c], thresholds[c]);
    entry.rejected = scores.right[c].size() - entry.right;
    entry.like_background = static_cast<size_t>(
        std::count_if(job.own[c].begin(), job.own[c].end(),
                      [&](size_t i) { return is_background(job, trial.judged[i]); }));
    entry.misclassified =
        job.own[c].size() - scores.right[c].size() - entry.like_background;
  }
  return thresholds;
}

void ModelBuilder::note_judged(const TrainingJob& job, const Trial& trial,
                               const std::vector<double>& thresholds,
                               BuildReport& report) {
  report.judged = trial.judged;
  for (Judged& judged : report.judged) {
    if (!judged.label) continue;
    const size_t c = static_cast<size_t>(*judged.label);
    if (is_background(job, judged)) {
      judged.label = kNoGesture;
      continue;
    }
    judged.label = job.classes[c];
    judged.accepted = judged.score > thresholds[c];
  }
}

void ModelBuilder::note_folds(const TrainingJob& job, BuildReport& report) {
  report.judged_by = job.by;
  for (const int label : job.by_one) {
    report.notes.push_back(fmt::format(
        "class {}: recorded by one subject or in one session alone, so its repetitions "
        "judge each other",
        label));
  }
}

// A fold's models are made from fewer people, who need fewer templates than all: the
// averages of a class grow in proportion, to the nearest number.
ModelBuilder::Candidate ModelBuilder::for_all(const TrainingJob& job, Candidate candidate,
                                              const BuildOptions& options) {
  if (job.by == LeftOut::kRepetitions) return candidate;
  const size_t rest = job.folds - 1;
  const size_t most = options.most_templates.value_or(kMostAverages);
  const size_t scaled = (2 * candidate.per_class * job.folds + rest) / (2 * rest);
  candidate.per_class = std::min({scaled, most, kMostAverages});
  return candidate;
}

Gmodel ModelBuilder::build(const std::vector<bool>& taken, const BuildOptions& options,
                           BuildReport& report) const {
  report = BuildReport();
  report.notes = notes_;
  const TrainingJob job = job_of(taken, options);
  note_folds(job, report);
  for (size_t c = 0; c < job.classes.size(); ++c) {
    report.classes.emplace_back();
    report.classes.back().label = job.classes[c];
    report.classes.back().examples = job.own[c].size();
  }
  const std::vector<Trial> trials = try_all(job, options);
  for (const Trial& trial : trials) {
    const size_t all =
        std::accumulate(trial.templates.begin(), trial.templates.end(), size_t{0});
    report.kinds.push_back({trial.candidate.kind, trial.candidate.per_class,
                            (all + job.folds / 2) / job.folds, accuracy_of(job, trial),
                            false});
  }
  const size_t chosen = choose_kind(report.kinds, options.tolerance);
  report.kinds[chosen].chosen = true;
  Trial trial = trials[chosen];
  const std::vector<Fitted> fitted =
      fit(job, for_all(job, trial.candidate, options), options, report);
  if (options.kind == TemplateKind::kExemplars) judge_by_others(job, fitted, trial);

  Gmodel model;
  model.normalize = 1;
  model.havegravity = k_;
  model.class_labels = job.classes;
  model.nclasses = static_cast<int>(job.classes.size());
  for (const Fitted& t : fitted) {
    ++report.classes[t.class_index].templates;
    model.templates.emplace_back(job.classes[t.class_index], t.trace);
    report.sources.push_back(t.source);
  }
  // The label is not listed among the classes, so it needs no threshold: what is nearest
  // to it is never rejected, but silently no gesture.
  const double tolerance =
      std::max(kLeastGain, options.tolerance * static_cast<double>(report.examples()));
  FoundBackground background = find_background(
      {traces_, *similarities_, k_, job, trial.judged, options.background_templates,
       rule_of(options), tolerance, options.threads});
  trial.judged = std::move(background.judged);
  report.background_steps = std::move(background.steps);
  for (const Fitted& t : background.templates) {
    ++report.background_templates;
    model.templates.emplace_back(kNoGesture, t.trace);
    report.sources.push_back(t.source);
  }
  model.nTemplate = static_cast<int>(model.templates.size());
  model.class_thresholds = set_thresholds(job, trial, options, report);
  note_judged(job, trial, model.class_thresholds, report);
  return model;
}

Tally ModelBuilder::baseline_1nn(const std::vector<bool>& taken) const {
  Tally tally;
  for (size_t i = 0; i < labels_.size(); ++i) {
    if (labels_[i] < 0 || taken[origin_[i]]) continue;
    double best = std::numeric_limits<double>::lowest();
    int label = -1;
    for (size_t j = 0; j < labels_.size() && labels_[j] >= 0; ++j) {
      if (!taken[origin_[j]] || !((*similarities_)(i, j) > best)) continue;
      best = (*similarities_)(i, j);
      label = labels_[j];
    }
    ++tally.examples;
    tally.right += label == labels_[i] ? 1 : 0;
  }
  return tally;
}

Gmodel ModelBuilder::build(const BuildOptions& options, BuildReport& report) const {
  return build(std::vector<bool>(labels_.size(), true), options, report);
}

Gmodel build_model(const Gdata& data, const BuildOptions& options, BuildReport& report,
                   const ExampleSources& sources) {
  return ModelBuilder(data, options.threads, false, sources).build(options, report);
}

}  // namespace wgr
