// Makes a model from training examples, by the library's own routines.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "classifier/Gdata.h"
#include "classifier/Gmodel.h"
#include "training/similarities.h"

namespace wgr {

struct BuildOptions {
  // Templates per class, at most. Without it a sweep finds the smallest set of all
  // classes' templates that classifies nearly as many examples right as the best.
  std::optional<size_t> most_templates;
  double false_cost = 3.0;  // of an accepted wrong example, in rejected right ones
  double tolerance = 0.01;  // share of examples by which the smallest set may be worse
  double most_share = 1.0 / 3.0;  // of a class's examples that may become templates
  bool cross_subject =
      false;  // an example is judged by templates of other subjects alone
  // Accepted background examples an hour that are aimed at; needs the background's
  // duration. Without it a background example costs what another wrong one does.
  std::optional<double> false_positives_per_hour;
  double background_hours = 0.0;
  unsigned threads = 0;  // 0: one for each processor
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
};

struct SweepStep {
  double preference = 0.0;
  size_t templates = 0;
  double accuracy = 0.0;     // share of examples classified right, leaving one out
  bool in_question = false;  // no class has too many templates
  bool chosen = false;
  bool grown = false;  // by templates for examples that were misclassified
};

struct BuildReport {
  std::vector<ClassReport> classes;
  std::vector<SweepStep> sweep;    // empty with most_templates
  std::vector<std::string> notes;  // fallbacks and thinned examples
  size_t background = 0;           // examples
  size_t background_accepted = 0;  // of them, classified as a gesture
  std::optional<size_t> background_allowed;
  std::vector<size_t>
      template_examples;  // of each template of the model, its ModelBuilder's

  size_t examples() const;
  size_t classified_right() const;
  size_t accepted() const;  // classified right and accepted
  size_t templates() const;
};

// A example is compared with every template but itself. Labels below 0 are background.
// Gravity is used when the examples have it; traces are normalised. `subjects` says whose
// each example is, where that is known. Throws UsageError when there is nothing to build
// a model from, for labels that cannot be reported, and for cross_subject without
// subjects.
Gmodel build_model(const Gdata& data, const BuildOptions& options, BuildReport& report,
                   const std::vector<std::string>& subjects = {});

struct Tally {
  size_t examples = 0;
  size_t right = 0;
};

// Examples made ready, and compared once for any number of models from parts of them.
class ModelBuilder {
 public:
  // Throws as build_model() does. `quiet`: without progress.
  ModelBuilder(const Gdata& data, unsigned threads, bool quiet = false,
               const std::vector<std::string>& subjects = {});

  // The model of those examples of the data for which `taken` is true.
  Gmodel build(const std::vector<bool>& taken, const BuildOptions& options,
               BuildReport& report) const;
  Gmodel build(const BuildOptions& options, BuildReport& report) const;

  // Whether the one judges the other; background is judged by all templates.
  bool judges(size_t as_template, size_t example, bool cross_subject) const;

  // How many of the gestures' examples that are not taken are classified right when all
  // that are taken are templates: what templates chosen among them are to be compared
  // with.
  Tally baseline_1nn(const std::vector<bool>& taken) const;

  // The examples made ready, those of gestures first.
  const std::vector<Points>& traces() const { return traces_; }
  const std::vector<int>& labels() const { return labels_; }
  const std::vector<size_t>& origin() const { return origin_; }  // index in the data

 private:
  struct Template;
  struct Nearest;
  struct Job;
  struct Standing;
  struct Sweep;
  struct Scores;

  Points made_ready(const Gsample& example, const std::string& name);
  std::vector<size_t> members(const std::vector<bool>& taken, int label) const;
  void check_subjects(const Job& job) const;
  Nearest nearest_to(size_t example, const std::vector<Template>& templates,
                     bool cross_subject) const;
  void choose(Job& job, const BuildOptions& options, BuildReport& report) const;
  Standing with(Standing s, const Template& t, bool cross_subject) const;
  int gain_of(const Template& t, const std::vector<Standing>& standings,
              bool cross_subject) const;
  void grow(const Job& job, const BuildOptions& options,
            std::vector<Template>& set) const;
  void judge(const Job& job, bool cross_subject, SweepStep step,
             std::vector<Template> set, Sweep& swept, BuildReport& report) const;
  void judge_preferences(const Job& job, const BuildOptions& options, Sweep& swept,
                         BuildReport& report) const;
  void sweep(Job& job, const BuildOptions& options, BuildReport& report) const;
  Job job_of(const std::vector<bool>& taken, bool cross_subject) const;
  Scores scores_of(const Job& job, bool cross_subject) const;
  std::vector<double> set_thresholds(const Job& job, const BuildOptions& options,
                                     BuildReport& report) const;

  int k_;
  // Gestures first, so that the similarities need columns for them alone.
  std::vector<size_t> origin_;  // index in the data
  std::vector<int> labels_;
  std::vector<std::string> subjects_;  // empty when not known
  std::vector<Points> traces_;         // normalised
  std::vector<std::string> notes_;
  std::optional<Similarities> similarities_;
};

}  // namespace wgr
