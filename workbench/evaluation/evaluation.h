// How well a model does on labelled recordings, end to end: every stream is fed to the
// library through its C interface, and what it reports is held against the labels.
//
// A take that was cut beforehand is no stream; its motion goes through the same steps and
// the library's classifier.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "segmentation/segmented_set.h"
#include "training/model_builder.h"

namespace wgr {

enum class LeaveOut { kNothing, kSubject, kRepetition, kSession };

struct EvaluationOptions {
  Gmodel model;  // with LeaveOut::kNothing
  LeaveOut leave_out = LeaveOut::kNothing;
  int folds = 10;      // of takes
  BuildOptions build;  // of the folds' models
};

inline constexpr char kRefused[] = "refused";  // reported as like no gesture
inline constexpr char kNothing[] = "nothing";  // not reported at all

struct Fold {
  std::string left_out;
  size_t samples = 0;  // of gestures, that the model was built from
  size_t templates = 0;
  size_t takes = 0;  // that were played to it
  size_t right = 0;
};

// A take, or a motion outside all takes that a model was asked about.
struct Played {
  size_t recording = 0;          // of the set
  std::optional<size_t> take;    // of the recording's spans
  std::optional<size_t> motion;  // of the recording's motions
  size_t fold = 0;
  std::string outcome;  // a class's number, or one of the words above
  std::string cause;    // why it was not reported as its class
};

struct Evaluation {
  size_t takes = 0;       // labelled
  size_t right = 0;       // reported as their class
  size_t kept = 0;        // takes with a motion of their own that reached the classifier
  size_t kept_right = 0;  // of these, reported as their class
  size_t kept_named = 0;  // of these, nearest to a template of their class
  size_t whole = 0;       // takes cut beforehand
  Tally by_all;  // with models from the rest: samples left out, by all of the rest
  // What was reported for the takes of each class, by number, or one of the words above.
  std::map<int, std::map<std::string, size_t>> confusion;
  std::map<int, size_t> events;  // of each class, anywhere
  // Takes of each class that were played to models built from a single repetition of it,
  // or none, which accept nothing as that class.
  std::map<int, size_t> unjudged;
  std::map<std::string, size_t> misses;  // why takes were not reported as their class
  size_t false_events = 0;               // gestures reported outside all takes
  size_t refused_outside = 0;            // reported there as like no gesture
  double background_hours = 0.0;
  std::vector<double> latencies;  // s, from the end of a take to its event; sorted
  std::vector<Fold> folds;
  std::vector<Gmodel> models;  // of the folds, as the library read them
  std::vector<Played> played;

  double accuracy() const;
  double kept_accuracy() const;
  double named() const;
  std::optional<double> named_by_all() const;
  std::optional<double> false_positives_per_hour() const;
  // No more than this an hour, with 95 % confidence.
  std::optional<double> false_per_hour_bound() const;
  std::optional<double> recall(int label) const;
  std::optional<double> precision(int label) const;
  std::optional<double> latency(double quantile) const;
};

// Throws UsageError for recordings that cannot be divided as asked.
Evaluation evaluate(const SegmentedSet& set, const EvaluationOptions& options);

}  // namespace wgr
