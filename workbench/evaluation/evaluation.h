// How well a model does on labelled recordings, end to end: every stream is fed to the
// library through its C interface, and what it reports is held against the labels.
//
// A pre-segmented recording is no stream; its motion goes through the same steps and
// the library's classifier.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "evaluation/learning_curve.h"
#include "evaluation/settings_choice.h"
#include "evaluation/wrist_answers.h"
#include "segmentation/segmented_set.h"
#include "training/model_builder.h"

namespace wgr {

enum class LeaveOut { kNothing, kSubject, kRepetition, kSession };

struct EvaluationOptions {
  Gmodel model;  // with LeaveOut::kNothing
  LeaveOut leave_out = LeaveOut::kNothing;
  int folds = 10;      // of repetitions
  BuildOptions build;  // of the folds' models
};

inline constexpr char kOutcomeRejected[] = "rejected";  // reported as like no gesture
inline constexpr char kOutcomeNotDetected[] = "not detected";  // not reported at all

struct Fold {
  std::string left_out;
  size_t examples = 0;  // of gestures, that the model was built from
  size_t templates = 0;
  HostSettings host;       // that its examples were segmented with
  size_t repetitions = 0;  // that were played to it
  size_t right = 0;
};

// A repetition, or a motion outside all repetitions that a model was asked about.
struct Played {
  size_t recording = 0;              // of the set
  std::optional<size_t> repetition;  // of the recording's annotations
  std::optional<size_t> motion;      // of the recording's motions
  size_t fold = 0;
  std::string outcome;  // a class's number, or one of the words above
  std::string cause;    // why it was not reported as its class
};

struct Evaluation {
  size_t repetitions = 0;  // labelled
  size_t right = 0;        // reported as their class
  size_t kept = 0;  // repetitions with a motion of their own that reached the classifier
  size_t kept_right = 0;       // of these, reported as their class
  size_t kept_classified = 0;  // of these, classified right whatever the score
  size_t pre_segmented = 0;    // repetitions in pre-segmented recordings
  Tally baseline;  // examples left out, with every one of the rest as a template
  // What was reported for each class's repetitions: a class's number, or a word above.
  std::map<int, std::map<std::string, size_t>> confusion;
  std::map<int, size_t> events;  // of each class, anywhere
  // Repetitions of each class that were played to models built from a single repetition
  // of it, or none, which accept nothing as that class.
  std::map<int, size_t> unjudged;
  std::map<std::string, size_t> misses;  // causes of not being reported as their class
  size_t false_positives = 0;            // gestures reported outside all repetitions
  size_t rejected_outside = 0;           // reported there as like no gesture
  double background_hours = 0.0;
  std::vector<double> latencies;  // s, from the end of a repetition to its event; sorted
  std::vector<Fold> folds;
  std::vector<Gmodel> models;  // of the folds, as the library read them
  std::vector<Played> played;
  LearningCurve curve;               // where models were built
  std::vector<WristAnswers> wrists;  // of recordings whose wrist is known

  double accuracy() const;
  double kept_accuracy() const;
  double classified_right() const;
  std::optional<double> baseline_1nn() const;
  std::optional<double> false_positives_per_hour() const;
  // No more than this an hour, with 95 % confidence.
  std::optional<double> false_per_hour_bound() const;
  std::optional<double> recall(int label) const;
  std::optional<double> precision(int label) const;
  std::optional<double> latency(double quantile) const;
  size_t reported_as(int label) const;  // anywhere
};

// Throws UsageError for recordings that cannot be divided as asked.
Evaluation evaluate(const SegmentedSet& set, const EvaluationOptions& options);

// The same with one set segmented with different settings, and something left out: each
// fold's are chosen by what is not left out. What was played is of the fold's own set.
Evaluation evaluate(const SegmentedAlternatives& sets, const EvaluationOptions& options);

}  // namespace wgr
