#include "training/model_builder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "base/class_codes.h"
#include "base/errors.h"
#include "base/text.h"
#include "classifier/HGR.h"
#include "segmentation/recording_set.h"
#include "training/exemplars.h"
#include "training/thinning.h"
#include "training/thresholds.h"

namespace wgr {

static constexpr size_t kNoLimit = std::numeric_limits<size_t>::max();

struct ModelBuilder::Template {
  size_t example;
  size_t class_index;
};

struct ModelBuilder::Nearest {
  size_t class_index;  // of the template that is most similar
  double score;
};

// One model in the making.
struct ModelBuilder::Job {
  std::vector<int> classes;
  std::vector<std::vector<size_t>> own;  // examples of each class
  std::vector<size_t> background;
  std::vector<Template> templates;
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

ModelBuilder::ModelBuilder(const Gdata& data, unsigned threads, bool quiet,
                           const std::vector<std::string>& subjects)
    : k_(data.kind == 1 ? 1 : 0) {
  if (!subjects.empty() && subjects.size() != data.samples.size()) {
    throw UsageError(fmt::format("there are {} examples, but subjects of {}",
                                 data.samples.size(), subjects.size()));
  }
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
      if (!subjects.empty()) subjects_.push_back(subjects.at(i));
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

bool ModelBuilder::judges(size_t as_template, size_t example, bool cross_subject) const {
  if (as_template == example) return false;
  return !cross_subject || labels_[example] < 0 ||
         subjects_[as_template] != subjects_[example];
}

void ModelBuilder::check_subjects(const Job& job) const {
  std::set<std::string> found;
  for (const std::vector<size_t>& own : job.own) {
    for (const size_t i : own) found.insert(subjects_.empty() ? "" : subjects_[i]);
  }
  if (found.size() > 1 && found.count("") == 0) return;
  throw UsageError(
      "--cross-subject needs to know whose every example is, of two subjects at least: "
      "by "
      "index.csv, or by the description beside a training file");
}

ModelBuilder::Nearest ModelBuilder::nearest_to(size_t example,
                                               const std::vector<Template>& templates,
                                               bool cross_subject) const {
  Nearest best = {std::numeric_limits<size_t>::max(),
                  std::numeric_limits<double>::lowest()};
  for (const Template& t : templates) {
    if (!judges(t.example, example, cross_subject)) continue;
    const double score = (*similarities_)(example, t.example);
    if (score > best.score) best = {t.class_index, score};
  }
  return best;
}

static ClassMatrix matrix_of(const Similarities& all, const std::vector<size_t>& own) {
  ClassMatrix matrix = {own.size(), {}};
  matrix.scores.reserve(own.size() * own.size());
  for (const size_t i : own) {
    for (const size_t j : own) matrix.scores.push_back(all(i, j));
  }
  return matrix;
}

void ModelBuilder::choose(Job& job, const BuildOptions& options,
                          BuildReport& report) const {
  for (size_t c = 0; c < job.classes.size(); ++c) {
    const Exemplars exemplars =
        choose_exemplars(matrix_of(*similarities_, job.own[c]), *options.most_templates);
    for (const size_t i : exemplars.chosen) job.templates.push_back({job.own[c][i], c});
    report.classes[c].chosen_by = exemplars.how;
  }
}

// Templates that a class of so many examples may have.
static size_t most_of(size_t examples, const BuildOptions& options) {
  return std::max<size_t>(
      1, static_cast<size_t>(static_cast<double>(examples) * options.most_share));
}

// Of the steps in question, the one with the fewest templates whose accuracy is within
// the tolerance of the best.
static size_t smallest_good(const std::vector<SweepStep>& sweep, double tolerance) {
  double best = 0.0;
  for (const SweepStep& step : sweep) {
    if (step.in_question) best = std::max(best, step.accuracy);
  }
  size_t chosen = sweep.size();
  for (size_t p = 0; p < sweep.size(); ++p) {
    const SweepStep& step = sweep[p];
    if (!step.in_question || step.accuracy < best - tolerance) continue;
    if (chosen == sweep.size() || step.templates < sweep[chosen].templates ||
        (step.templates == sweep[chosen].templates &&
         step.accuracy > sweep[chosen].accuracy)) {
      chosen = p;
    }
  }
  return chosen;
}

struct ModelBuilder::Standing {
  size_t example;
  size_t class_index;
  float own;    // best score among templates of its class
  float other;  // and among the rest
  bool right() const { return own > other; }
};

// How an example stands with one more template.
ModelBuilder::Standing ModelBuilder::with(Standing s, const Template& t,
                                          bool cross_subject) const {
  if (!judges(t.example, s.example, cross_subject)) return s;
  float& best = s.class_index == t.class_index ? s.own : s.other;
  best = std::max(best, (*similarities_)(s.example, t.example));
  return s;
}

// How many more examples a template puts right; 0 when it helps none of its own class.
int ModelBuilder::gain_of(const Template& t, const std::vector<Standing>& standings,
                          bool cross_subject) const {
  const auto helped = [&](const Standing& s) {
    return s.class_index == t.class_index && !s.right() &&
           with(s, t, cross_subject).right();
  };
  if (std::none_of(standings.begin(), standings.end(), helped)) return 0;
  int gain = 0;
  for (const Standing& s : standings) {
    gain += (with(s, t, cross_subject).right() ? 1 : 0) - (s.right() ? 1 : 0);
  }
  return gain;
}

// Adds, one at a time, the template that puts the most examples right, while there is one
// and its class may have more.
void ModelBuilder::grow(const Job& job, const BuildOptions& options,
                        std::vector<Template>& set) const {
  constexpr float kNone = -std::numeric_limits<float>::infinity();
  std::vector<Standing> standings;
  std::vector<size_t> room;
  for (size_t c = 0; c < job.classes.size(); ++c) {
    for (const size_t i : job.own[c]) standings.push_back({i, c, kNone, kNone});
    room.push_back(most_of(job.own[c].size(), options));
  }
  std::vector<bool> used(labels_.size(), false);
  const auto add = [&](const Template& t) {
    for (Standing& s : standings) s = with(s, t, options.cross_subject);
    used[t.example] = true;
    if (room[t.class_index] > 0) --room[t.class_index];
  };
  for (const Template& t : set) add(t);

  for (;;) {
    std::optional<Template> best;
    int most = 0;
    for (size_t c = 0; c < job.classes.size(); ++c) {
      if (room[c] == 0) continue;
      for (const size_t j : job.own[c]) {
        if (used[j]) continue;
        const int gain = gain_of({j, c}, standings, options.cross_subject);
        if (gain <= most) continue;
        most = gain;
        best = {j, c};
      }
    }
    if (!best) return;
    add(*best);
    set.push_back(*best);
  }
}

// What is swept: for each class and preference its exemplars, and the sets of templates
// that the steps of the report are about.
struct ModelBuilder::Sweep {
  std::vector<double> preferences = swept_preferences();
  std::vector<std::vector<Exemplars>> exemplars;
  std::vector<std::vector<Template>> sets;
};

void ModelBuilder::judge(const Job& job, bool cross_subject, SweepStep step,
                         std::vector<Template> set, Sweep& swept,
                         BuildReport& report) const {
  size_t examples = 0;
  size_t right = 0;
  for (size_t c = 0; c < job.classes.size(); ++c) {
    examples += job.own[c].size();
    for (const size_t i : job.own[c]) {
      right += nearest_to(i, set, cross_subject).class_index == c ? 1 : 0;
    }
  }
  step.templates = set.size();
  step.accuracy = share(right, examples);
  report.sweep.push_back(step);
  swept.sets.push_back(std::move(set));
}

void ModelBuilder::judge_preferences(const Job& job, const BuildOptions& options,
                                     Sweep& swept, BuildReport& report) const {
  for (const std::vector<size_t>& own : job.own) {
    swept.exemplars.push_back(sweep_exemplars(matrix_of(*similarities_, own)));
  }
  for (size_t p = 0; p < swept.preferences.size(); ++p) {
    std::vector<Template> set;
    bool few = true;
    for (size_t c = 0; c < job.classes.size(); ++c) {
      const std::vector<size_t>& chosen = swept.exemplars[c][p].chosen;
      few = few && chosen.size() <= most_of(job.own[c].size(), options);
      for (const size_t i : chosen) set.push_back({job.own[c][i], c});
    }
    judge(job, options.cross_subject, {swept.preferences[p], 0, 0.0, few, false, false},
          std::move(set), swept, report);
  }
  // With few examples a class every set may have too many templates; then all count.
  const bool any = std::any_of(report.sweep.begin(), report.sweep.end(),
                               [](const SweepStep& s) { return s.in_question; });
  for (SweepStep& step : report.sweep) step.in_question = step.in_question || !any;
}

void ModelBuilder::sweep(Job& job, const BuildOptions& options,
                         BuildReport& report) const {
  Sweep swept;
  judge_preferences(job, options, swept, report);
  // Some examples lie between clusters: the chosen set, and the best, are grown to
  // classify them as well, and then compared with all.
  const size_t smallest = smallest_good(report.sweep, options.tolerance);
  const size_t best = smallest_good(report.sweep, 0.0);
  for (const size_t start : {smallest, best}) {
    std::vector<Template> grown = swept.sets[start];
    grow(job, options, grown);
    if (grown.size() == swept.sets[start].size()) continue;
    judge(job, options.cross_subject,
          {report.sweep[start].preference, 0, 0.0, true, false, true}, std::move(grown),
          swept, report);
    if (best == smallest) break;
  }
  SweepStep& chosen = report.sweep[smallest_good(report.sweep, options.tolerance)];
  chosen.chosen = true;
  job.templates = swept.sets[static_cast<size_t>(&chosen - report.sweep.data())];
  const auto p =
      std::find(swept.preferences.begin(), swept.preferences.end(), chosen.preference) -
      swept.preferences.begin();
  for (size_t c = 0; c < job.classes.size(); ++c) {
    const Exemplars& start = swept.exemplars[c][static_cast<size_t>(p)];
    const auto count =
        std::count_if(job.templates.begin(), job.templates.end(),
                      [c](const Template& t) { return t.class_index == c; });
    const size_t more = static_cast<size_t>(count) - start.chosen.size();
    report.classes[c].chosen_by =
        start.how + (more > 0 ? fmt::format(", and {} for the misclassified", more) : "");
  }
}

static std::optional<size_t> allowed_background(const BuildOptions& options) {
  if (!options.false_positives_per_hour) return std::nullopt;
  return static_cast<size_t>(
      std::floor(*options.false_positives_per_hour * options.background_hours));
}

ModelBuilder::Job ModelBuilder::job_of(const std::vector<bool>& taken,
                                       bool cross_subject) const {
  Job job;
  for (const int label : std::set<int>(labels_.begin(), labels_.end())) {
    std::vector<size_t> own = members(taken, label);
    if (label < 0 || own.empty()) continue;
    job.classes.push_back(label);
    job.own.push_back(std::move(own));
  }
  if (job.classes.empty()) throw UsageError("there is no example of any gesture");
  job.background = members(taken, -1);
  if (cross_subject) check_subjects(job);
  return job;
}

// The scores of examples that are classified as each class: rightly, wrongly, and
// background's.
struct ModelBuilder::Scores {
  std::vector<std::vector<double>> right, wrong, background;
};

ModelBuilder::Scores ModelBuilder::scores_of(const Job& job, bool cross_subject) const {
  const size_t classes = job.classes.size();
  const std::vector<std::vector<double>> none(classes);
  Scores scores = {none, none, none};
  for (size_t c = 0; c < classes; ++c) {
    for (const size_t i : job.own[c]) {
      const Nearest nearest = nearest_to(i, job.templates, cross_subject);
      if (nearest.class_index >= classes) continue;
      (nearest.class_index == c ? scores.right : scores.wrong)[nearest.class_index]
          .push_back(nearest.score);
    }
  }
  for (const size_t i : job.background) {
    const Nearest nearest = nearest_to(i, job.templates, cross_subject);
    if (nearest.class_index < classes) {
      scores.background[nearest.class_index].push_back(nearest.score);
    }
  }
  return scores;
}

static size_t above(const std::vector<double>& scores, double threshold) {
  return static_cast<size_t>(
      std::count_if(scores.begin(), scores.end(),
                    [threshold](double score) { return score > threshold; }));
}

// Thresholds by the scores, and in the report what they accept.
std::vector<double> ModelBuilder::set_thresholds(const Job& job,
                                                 const BuildOptions& options,
                                                 BuildReport& report) const {
  const Scores scores = scores_of(job, options.cross_subject);
  report.background = job.background.size();
  report.background_allowed = allowed_background(options);
  std::vector<double> thresholds =
      choose_thresholds(scores.right, scores.wrong, options.false_cost, scores.background,
                        report.background_allowed.value_or(kNoLimit));
  for (size_t c = 0; c < job.classes.size(); ++c) {
    // Background that came nowhere near a class allows nothing: more of it might.
    if (options.false_positives_per_hour) {
      thresholds[c] = std::max(thresholds[c],
                               choose_threshold(scores.right[c], {}, options.false_cost));
    }
    ClassReport& entry = report.classes[c];
    entry.threshold = thresholds[c];
    entry.right = above(scores.right[c], thresholds[c]);
    entry.rejected = scores.right[c].size() - entry.right;
    entry.misclassified = job.own[c].size() - scores.right[c].size();
    report.background_accepted += above(scores.background[c], thresholds[c]);
  }
  return thresholds;
}

Gmodel ModelBuilder::build(const std::vector<bool>& taken, const BuildOptions& options,
                           BuildReport& report) const {
  report = BuildReport();
  report.notes = notes_;
  Job job = job_of(taken, options.cross_subject);
  for (size_t c = 0; c < job.classes.size(); ++c) {
    report.classes.emplace_back();
    report.classes.back().label = job.classes[c];
    report.classes.back().examples = job.own[c].size();
  }
  if (options.most_templates) {
    choose(job, options, report);
  } else {
    sweep(job, options, report);
  }

  Gmodel model;
  model.normalize = 1;
  model.havegravity = k_;
  model.class_labels = job.classes;
  model.nclasses = static_cast<int>(job.classes.size());
  model.class_thresholds = set_thresholds(job, options, report);
  for (const Template& t : job.templates) {
    ++report.classes[t.class_index].templates;
    model.templates.emplace_back(job.classes[t.class_index], traces_[t.example]);
    report.template_examples.push_back(t.example);
  }
  model.nTemplate = static_cast<int>(model.templates.size());
  return model;
}

Tally ModelBuilder::baseline_1nn(const std::vector<bool>& taken) const {
  std::vector<Template> all;
  for (size_t i = 0; i < labels_.size(); ++i) {
    const bool used = labels_[i] >= 0 && taken[origin_[i]];
    if (used) all.push_back({i, static_cast<size_t>(labels_[i])});
  }
  Tally tally;
  for (size_t i = 0; i < labels_.size(); ++i) {
    if (labels_[i] < 0 || taken[origin_[i]]) continue;
    ++tally.examples;
    tally.right +=
        nearest_to(i, all, false).class_index == static_cast<size_t>(labels_[i]);
  }
  return tally;
}

Gmodel ModelBuilder::build(const BuildOptions& options, BuildReport& report) const {
  return build(std::vector<bool>(labels_.size(), true), options, report);
}

Gmodel build_model(const Gdata& data, const BuildOptions& options, BuildReport& report,
                   const std::vector<std::string>& subjects) {
  return ModelBuilder(data, options.threads, false, subjects).build(options, report);
}

}  // namespace wgr
