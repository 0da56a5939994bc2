#include "training/model_builder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "base/class_codes.h"
#include "base/errors.h"
#include "base/table.h"
#include "classifier/HGR.h"
#include "segmentation/recording_set.h"
#include "training/exemplars.h"
#include "training/thinning.h"
#include "training/thresholds.h"

namespace wgr {

static constexpr size_t kNoLimit = std::numeric_limits<size_t>::max();

struct ModelBuilder::Template {
  size_t sample;
  size_t class_index;
};

struct ModelBuilder::Nearest {
  size_t class_index;  // of the template that is most similar
  double score;
};

// One model in the making.
struct ModelBuilder::Job {
  std::vector<int> classes;
  std::vector<std::vector<size_t>> own;  // samples of each class
  std::vector<size_t> background;
  std::vector<Template> templates;
};

size_t BuildReport::samples() const {
  size_t sum = 0;
  for (const ClassReport& c : classes) sum += c.samples;
  return sum;
}

size_t BuildReport::named() const {
  size_t sum = 0;
  for (const ClassReport& c : classes) sum += c.right + c.refused;
  return sum;
}

size_t BuildReport::accepted() const {
  size_t sum = 0;
  for (const ClassReport& c : classes) sum += c.right;
  return sum;
}

size_t BuildReport::templates() const {
  size_t sum = 0;
  for (const ClassReport& c : classes) sum += c.templates;
  return sum;
}

ModelBuilder::ModelBuilder(const Gdata& data, unsigned threads, bool quiet,
                           const std::vector<std::string>& subjects)
    : k_(data.kind == 1 ? 1 : 0) {
  HGR scaler(1);
  if (!subjects.empty() && subjects.size() != data.samples.size()) {
    throw UsageError("there are " + std::to_string(data.samples.size()) +
                     " samples, but subjects of " + std::to_string(subjects.size()));
  }
  size_t gestures = 0;
  for (const bool background : {false, true}) {
    for (size_t i = 0; i < data.samples.size(); ++i) {
      const Gsample& sample = data.samples[i];
      if ((sample.label < 0) != background) continue;
      const std::string name = "sample " + std::to_string(i + 1) + " (class " +
                               std::to_string(sample.label) + ")";
      if (!background && is_class_code(sample.label)) {
        throw UsageError(name +
                         ": this class cannot be a gesture's, the interface "
                         "uses it for something else");
      }
      Points trace = sample.trace;
      scaler.normalize(trace, k_);
      const size_t points = trace.size() - static_cast<size_t>(k_);
      while (!background && !fits_a_line(trace)) {
        thin(trace, k_);
        scaler.normalize(trace, k_);  // what is left has another root mean square
      }
      const size_t left = trace.size() - static_cast<size_t>(k_);
      if (left < points) {
        notes_.push_back(name + ": thinned from " + std::to_string(points) + " to " +
                         std::to_string(left) +
                         " points, for a model's line has at most 4095 characters");
      }
      for (const Point3Df& p : trace) {
        if (std::isfinite(squared_length(p))) continue;
        throw UsageError(name + ": without any motion in it, nothing can be compared");
      }
      origin_.push_back(i);
      if (!subjects.empty()) subjects_.push_back(subjects.at(i));
      labels_.push_back(sample.label);
      traces_.push_back(std::move(trace));
      gestures += background ? 0 : 1;
    }
  }
  if (gestures == 0) throw UsageError("there is no sample of any gesture");
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

bool ModelBuilder::judges(size_t as_template, size_t sample, bool cross_subject) const {
  if (as_template == sample) return false;
  return !cross_subject || labels_[sample] < 0 ||
         subjects_[as_template] != subjects_[sample];
}

void ModelBuilder::check_subjects(const Job& job) const {
  std::set<std::string> found;
  for (const std::vector<size_t>& own : job.own) {
    for (const size_t i : own) found.insert(subjects_.empty() ? "" : subjects_[i]);
  }
  if (found.size() > 1 && found.count("") == 0) return;
  throw UsageError(
      "--cross-subject needs to know whose every sample is, of two subjects at least: by "
      "index.csv, or by the description beside a training file");
}

ModelBuilder::Nearest ModelBuilder::name(size_t sample,
                                         const std::vector<Template>& templates,
                                         bool cross_subject) const {
  Nearest best = {std::numeric_limits<size_t>::max(),
                  std::numeric_limits<double>::lowest()};
  for (const Template& t : templates) {
    if (!judges(t.sample, sample, cross_subject)) continue;
    const double score = (*similarities_)(sample, t.sample);
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

// Templates that a class of so many samples may have.
static size_t most_of(size_t samples, const BuildOptions& options) {
  return std::max<size_t>(
      1, static_cast<size_t>(static_cast<double>(samples) * options.most_share));
}

// Of the steps in question, the one with the fewest templates whose accuracy is within
// the margin of the best.
static size_t smallest_good(const std::vector<SweepStep>& sweep, double margin) {
  double best = 0.0;
  for (const SweepStep& step : sweep) {
    if (step.in_question) best = std::max(best, step.accuracy);
  }
  size_t chosen = sweep.size();
  for (size_t p = 0; p < sweep.size(); ++p) {
    const SweepStep& step = sweep[p];
    if (!step.in_question || step.accuracy < best - margin) continue;
    if (chosen == sweep.size() || step.templates < sweep[chosen].templates ||
        (step.templates == sweep[chosen].templates &&
         step.accuracy > sweep[chosen].accuracy)) {
      chosen = p;
    }
  }
  return chosen;
}

// Adds, one at a time, the template that puts the most samples right, while there is one
// and its class may have more.
void ModelBuilder::grow(const Job& job, const BuildOptions& options,
                        std::vector<Template>& set) const {
  const Similarities& all = *similarities_;
  struct Standing {
    size_t sample;
    size_t class_index;
    float own;    // best score among templates of its class
    float other;  // and among the rest
    bool right() const { return own > other; }
  };
  constexpr float kNone = -std::numeric_limits<float>::infinity();
  std::vector<Standing> standings;
  std::vector<size_t> room;
  for (size_t c = 0; c < job.classes.size(); ++c) {
    for (const size_t i : job.own[c]) standings.push_back({i, c, kNone, kNone});
    room.push_back(most_of(job.own[c].size(), options));
  }
  const auto with = [&](Standing s, const Template& t) {
    if (!judges(t.sample, s.sample, options.cross_subject)) return s;
    float& best = s.class_index == t.class_index ? s.own : s.other;
    best = std::max(best, all(s.sample, t.sample));
    return s;
  };
  std::vector<bool> used(labels_.size(), false);
  const auto take = [&](const Template& t) {
    for (Standing& s : standings) s = with(s, t);
    used[t.sample] = true;
    if (room[t.class_index] > 0) --room[t.class_index];
  };
  for (const Template& t : set) take(t);

  for (;;) {
    std::optional<Template> best;
    int most = 0;
    for (size_t c = 0; c < job.classes.size(); ++c) {
      if (room[c] == 0) continue;
      for (const size_t j : job.own[c]) {
        const Template t = {j, c};
        const auto helped = [&](const Standing& s) {
          return s.class_index == c && !s.right() && with(s, t).right();
        };
        if (used[j] || std::none_of(standings.begin(), standings.end(), helped)) continue;
        int gain = 0;
        for (const Standing& s : standings) {
          gain += (with(s, t).right() ? 1 : 0) - (s.right() ? 1 : 0);
        }
        if (gain <= most) continue;
        most = gain;
        best = t;
      }
    }
    if (!best) return;
    take(*best);
    set.push_back(*best);
  }
}

void ModelBuilder::sweep(Job& job, const BuildOptions& options,
                         BuildReport& report) const {
  const std::vector<double> preferences = swept_preferences();
  std::vector<std::vector<Exemplars>> swept;  // class, preference
  for (const std::vector<size_t>& own : job.own) {
    swept.push_back(sweep_exemplars(matrix_of(*similarities_, own)));
  }
  std::vector<std::vector<Template>> sets;
  const auto judge = [&](double preference, std::vector<Template> set, bool few) {
    size_t samples = 0;
    size_t right = 0;
    for (size_t c = 0; c < job.classes.size(); ++c) {
      samples += job.own[c].size();
      for (const size_t i : job.own[c]) {
        right += name(i, set, options.cross_subject).class_index == c ? 1 : 0;
      }
    }
    report.sweep.push_back({preference, set.size(),
                            static_cast<double>(right) / static_cast<double>(samples),
                            few, false, false});
    sets.push_back(std::move(set));
  };
  for (size_t p = 0; p < preferences.size(); ++p) {
    std::vector<Template> set;
    bool few = true;
    for (size_t c = 0; c < job.classes.size(); ++c) {
      const std::vector<size_t>& chosen = swept[c][p].chosen;
      few = few && chosen.size() <= most_of(job.own[c].size(), options);
      for (const size_t i : chosen) set.push_back({job.own[c][i], c});
    }
    judge(preferences[p], std::move(set), few);
  }

  // With few samples a class every set may have too many templates; then all count.
  const bool any = std::any_of(report.sweep.begin(), report.sweep.end(),
                               [](const SweepStep& s) { return s.in_question; });
  for (SweepStep& step : report.sweep) step.in_question = step.in_question || !any;
  // Some samples lie between clusters: the chosen set, and the best, are grown to name
  // them as well, and then compared with all.
  const size_t smallest = smallest_good(report.sweep, options.margin);
  const size_t best = smallest_good(report.sweep, 0.0);
  for (const size_t start : {smallest, best}) {
    std::vector<Template> grown = sets[start];
    grow(job, options, grown);
    if (grown.size() == sets[start].size()) continue;
    judge(report.sweep[start].preference, std::move(grown), true);
    report.sweep.back().grown = true;
    if (best == smallest) break;
  }
  const size_t chosen = smallest_good(report.sweep, options.margin);
  report.sweep[chosen].chosen = true;
  job.templates = sets[chosen];
  for (size_t c = 0; c < job.classes.size(); ++c) {
    const auto p = std::find(preferences.begin(), preferences.end(),
                             report.sweep[chosen].preference);
    const Exemplars& start = swept[c][static_cast<size_t>(p - preferences.begin())];
    const auto count =
        std::count_if(job.templates.begin(), job.templates.end(),
                      [c](const Template& t) { return t.class_index == c; });
    const size_t more = static_cast<size_t>(count) - start.chosen.size();
    report.classes[c].chosen_by =
        start.how +
        (more > 0 ? ", and " + std::to_string(more) + " for the confused" : "");
  }
}

static std::optional<size_t> allowed_background(const BuildOptions& options) {
  if (!options.false_positives_per_hour) return std::nullopt;
  return static_cast<size_t>(
      std::floor(*options.false_positives_per_hour * options.background_hours));
}

Gmodel ModelBuilder::build(const std::vector<bool>& taken, const BuildOptions& options,
                           BuildReport& report) const {
  report = BuildReport();
  report.notes = notes_;
  Job job;
  job.classes = labels_;
  std::sort(job.classes.begin(), job.classes.end());
  job.classes.erase(std::unique(job.classes.begin(), job.classes.end()),
                    job.classes.end());
  const auto useless = [&](int label) {
    return label < 0 || members(taken, label).empty();
  };
  job.classes.erase(std::remove_if(job.classes.begin(), job.classes.end(), useless),
                    job.classes.end());
  if (job.classes.empty()) throw UsageError("there is no sample of any gesture");
  for (const int label : job.classes) job.own.push_back(members(taken, label));
  job.background = members(taken, -1);
  if (options.cross_subject) check_subjects(job);

  const size_t classes = job.classes.size();
  for (size_t c = 0; c < classes; ++c) {
    report.classes.emplace_back();
    report.classes.back().label = job.classes[c];
    report.classes.back().samples = job.own[c].size();
  }
  if (options.most_templates) {
    choose(job, options, report);
  } else {
    sweep(job, options, report);
  }
  for (const Template& t : job.templates) ++report.classes[t.class_index].templates;

  std::vector<std::vector<double>> right(classes);
  std::vector<std::vector<double>> wrong(classes);
  std::vector<std::vector<double>> background(classes);
  for (size_t c = 0; c < classes; ++c) {
    for (const size_t i : job.own[c]) {
      const Nearest naming = name(i, job.templates, options.cross_subject);
      if (naming.class_index >= classes) continue;
      (naming.class_index == c ? right : wrong)[naming.class_index].push_back(
          naming.score);
    }
  }
  for (const size_t i : job.background) {
    const Nearest naming = name(i, job.templates, options.cross_subject);
    if (naming.class_index < classes) {
      background[naming.class_index].push_back(naming.score);
    }
  }
  report.background_allowed = allowed_background(options);
  std::vector<double> thresholds =
      choose_thresholds(right, wrong, options.false_cost, background,
                        report.background_allowed.value_or(kNoLimit));
  // Background that came nowhere near a class allows nothing: more of it might.
  for (size_t c = 0; c < classes && options.false_positives_per_hour; ++c) {
    const double without = choose_threshold(right[c], {}, options.false_cost);
    thresholds[c] = std::max(thresholds[c], without);
  }

  for (size_t c = 0; c < classes; ++c) {
    ClassReport& entry = report.classes[c];
    entry.threshold = thresholds[c];
    for (const size_t i : job.own[c]) {
      const Nearest naming = name(i, job.templates, options.cross_subject);
      if (naming.class_index != c) {
        ++entry.confused;
      } else {
        ++(naming.score > thresholds[c] ? entry.right : entry.refused);
      }
    }
    for (const double score : background[c]) {
      report.background_accepted += score > thresholds[c] ? 1 : 0;
    }
  }
  report.background = job.background.size();

  Gmodel model;
  model.normalize = 1;
  model.havegravity = k_;
  model.class_labels = job.classes;
  model.nclasses = static_cast<int>(classes);
  model.class_thresholds = thresholds;
  for (const Template& t : job.templates) {
    model.templates.emplace_back(job.classes[t.class_index], traces_[t.sample]);
    report.template_samples.push_back(t.sample);
  }
  model.nTemplate = static_cast<int>(model.templates.size());
  return model;
}

Tally ModelBuilder::named_by_all(const std::vector<bool>& taken) const {
  std::vector<Template> all;
  for (size_t i = 0; i < labels_.size(); ++i) {
    const bool used = labels_[i] >= 0 && taken[origin_[i]];
    if (used) all.push_back({i, static_cast<size_t>(labels_[i])});
  }
  Tally tally;
  for (size_t i = 0; i < labels_.size(); ++i) {
    if (labels_[i] < 0 || taken[origin_[i]]) continue;
    ++tally.samples;
    tally.right += name(i, all, false).class_index == static_cast<size_t>(labels_[i]);
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
