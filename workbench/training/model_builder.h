// Makes a model from training examples, by the library's own routines.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "classifier/Gdata.h"
#include "classifier/Gmodel.h"
#include "training/background_templates.h"
#include "training/exemplar_sweep.h"
#include "training/folds.h"
#include "training/similarities.h"
#include "training/training_job.h"

namespace wgr {

// What a class's templates are.
enum class TemplateKind {
  kExemplars,  // some of its examples
  kAverages,   // averages of clusters of its examples
  kSmoothed,   // the same, smoothed
  kAdapted,    // averages, moved to where they part the classes
};

const char* name_of(TemplateKind kind);

struct BuildOptions {
  // Templates per class, at most.
  std::optional<size_t> most_templates;
  // Without it the smallest set of templates of any kind that classifies nearly as many
  // examples right as the best, by cross-validation.
  std::optional<TemplateKind> kind;
  std::optional<LeftOut> judge_by;  // see divide_examples()
  // Templates of background, at most; without it chosen, see background_templates.h.
  std::optional<size_t> background_templates;
  double false_cost = 3.0;   // of an accepted wrong example, in rejected right ones
  double tolerance = 0.005;  // share of examples by which the smallest set may be worse
  double most_share = 1.0 / 3.0;  // of a class's examples that may become templates
  // Accepted background examples an hour that are aimed at; needs the background's
  // duration. Without it a background example costs what another wrong one does.
  std::optional<double> false_positives_per_hour;
  double background_hours = 0.0;
  unsigned threads = 0;   // 0: one for each processor
  bool progress = false;  // of the comparison, on standard error
};

struct ClassReport {
  int label = 0;
  size_t examples = 0;
  size_t templates = 0;
  std::string chosen_by;  // how the templates were found
  double threshold = 0.0;
  size_t right = 0;          // own examples that are classified right and accepted
  size_t misclassified = 0;  // own examples that are classified as another class
  size_t rejected = 0;       // own examples that are classified right but rejected
  size_t like_background =
      0;  // own examples that are nearest to a template of background
};

// A kind of templates, tried by cross-validation.
struct KindStep {
  TemplateKind kind = TemplateKind::kExemplars;
  size_t per_class = 0;   // of averages, at most; 0: by the sweep of exemplars
  size_t templates = 0;   // of a model, on average over the folds
  double accuracy = 0.0;  // share of examples classified right that were left out
  bool chosen = false;
};

// Of the kinds whose accuracy is within the tolerance of the best, the one with the
// fewest templates; of as few, the most accurate, and of these the first.
size_t choose_kind(const std::vector<KindStep>& kinds, double tolerance);

struct BuildReport {
  std::vector<ClassReport> classes;
  LeftOut judged_by = LeftOut::kRepetitions;
  std::vector<KindStep> kinds;
  std::vector<SweepStep> sweep;  // of exemplars, where they were chosen by it
  std::vector<BackgroundStep> background_steps;  // one at least, chosen
  size_t background_templates = 0;               // of the model, with the label 14
  std::vector<std::string> notes;                // fallbacks and thinned examples
  size_t background = 0;                         // examples
  size_t background_accepted = 0;                // of them, classified as a gesture
  std::optional<size_t> background_allowed;
  std::vector<TemplateSource> sources;  // of each template; its ModelBuilder's examples
  std::vector<Judged> judged;           // each of its ModelBuilder's examples

  size_t examples() const;
  size_t classified_right() const;
  size_t accepted() const;   // classified right and accepted
  size_t templates() const;  // of gestures
  size_t like_background() const;
};

// Labels below 0 are background. Gravity is used when the examples have it; traces are
// normalised. `sources` says whose each example is, where that is known. Throws
// UsageError when there is nothing to build a model from, for labels that cannot be
// reported, and for a `judge_by` that is not known.
Gmodel build_model(const Gdata& data, const BuildOptions& options, BuildReport& report,
                   const ExampleSources& sources = {});

struct Tally {
  size_t examples = 0;
  size_t right = 0;
};

// Examples made ready, and compared once for any number of models from parts of them.
class ModelBuilder {
 public:
  // Throws as build_model() does. `quiet`: without progress.
  ModelBuilder(const Gdata& data, unsigned threads, bool quiet = false,
               const ExampleSources& sources = {});

  // The model of those examples of the data for which `taken` is true.
  Gmodel build(const std::vector<bool>& taken, const BuildOptions& options,
               BuildReport& report) const;
  Gmodel build(const BuildOptions& options, BuildReport& report) const;

  // How many of the gestures' examples that are not taken are classified right when all
  // that are taken are templates: what templates chosen among them are to be compared
  // with.
  Tally baseline_1nn(const std::vector<bool>& taken) const;

  // The examples made ready, those of gestures first.
  const std::vector<Points>& traces() const { return traces_; }
  const std::vector<int>& labels() const { return labels_; }
  const std::vector<size_t>& origin() const { return origin_; }  // index in the data
  const ExampleSources& sources() const { return sources_; }     // by that index
  // Of every example with the gestures' examples as templates.
  const Similarities& similarities() const { return *similarities_; }

 private:
  struct Candidate;
  struct Trial;

  Points made_ready(const Gsample& example, const std::string& name);
  std::vector<size_t> members(const std::vector<bool>& taken, int label) const;
  TrainingJob job_of(const std::vector<bool>& taken, const BuildOptions& options) const;

  static std::vector<Candidate> candidates(const TrainingJob& job,
                                           const BuildOptions& options);
  std::vector<Fitted> fit_exemplars(const TrainingJob& job, const BuildOptions& options,
                                    BuildReport& report) const;
  std::vector<Fitted> fit_averages(const TrainingJob& job, size_t per_class,
                                   const BuildOptions& options) const;
  std::vector<Fitted> finished(const TrainingJob& job, TemplateKind kind,
                               std::vector<Fitted> averages) const;
  static Candidate for_all(const TrainingJob& job, Candidate candidate,
                           const BuildOptions& options);
  void adapt(const TrainingJob& job, std::vector<Fitted>& fitted) const;
  std::vector<Fitted> fit(const TrainingJob& job, const Candidate& candidate,
                          const BuildOptions& options, BuildReport& report) const;
  void judge_left_out(const TrainingJob& job, size_t fold,
                      const std::vector<Fitted>& templates, Trial& trial) const;
  void judge_by_others(const TrainingJob& job, const std::vector<Fitted>& exemplars,
                       Trial& trial) const;
  std::vector<Trial> try_all(const TrainingJob& job, const BuildOptions& options) const;
  static double accuracy_of(const TrainingJob& job, const Trial& trial);
  static void note_folds(const TrainingJob& job, BuildReport& report);
  static std::vector<double> set_thresholds(const TrainingJob& job, const Trial& trial,
                                            const BuildOptions& options,
                                            BuildReport& report);
  static void note_judged(const TrainingJob& job, const Trial& trial,
                          const std::vector<double>& thresholds, BuildReport& report);

  int k_;
  // Gestures first, so that the similarities need columns for them alone.
  std::vector<size_t> origin_;  // index in the data
  std::vector<int> labels_;
  ExampleSources sources_;      // each empty when not known
  std::vector<Points> traces_;  // normalised
  std::vector<std::string> notes_;
  std::optional<Similarities> similarities_;
};

}  // namespace wgr
