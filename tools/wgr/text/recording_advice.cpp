#include "text/recording_advice.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>

#include "base/foreign_text.h"
#include "base/text.h"

namespace wgr {

static constexpr size_t kEnoughPeople = 5;
static constexpr size_t kEnoughRepetitions = 8;  // kept, of a class: averages need them
static constexpr double kMuchLost = 0.1;         // of the repetitions
static constexpr double kMuchConfused = 0.2;     // of a class's examples
static constexpr double kRuleOfThree = 3.0;
static constexpr double kSecondsPerHour = 3600.0;

static std::string title(int label, const Provenance& provenance) {
  const std::string name = shown(class_name(label, provenance));
  return fmt::format("class {}{}{}", label, name.empty() ? "" : " ", name);
}

static void advise_on_people(const std::set<std::string>& people,
                             std::vector<std::string>& advice) {
  if (people.count("") > 0) {
    advice.push_back(
        "whose the recordings are is not known: name people in the column subject of "
        "index.csv, or every figure is of repetitions of the same people");
  } else if (!people.empty() && people.size() < kEnoughPeople) {
    advice.push_back(fmt::format(
        "{} recorded the gestures: {} more make the model fit for people who did not",
        counted(people.size(), "person", "people"), kEnoughPeople - people.size()));
  }
}

static void advise_on_people(const SegmentedSet& set, std::vector<std::string>& advice) {
  std::set<std::string> people;
  for (const SegmentedRecording& recording : set.recordings) {
    if (!recording.annotations.empty()) people.insert(recording.entry.subject);
  }
  advise_on_people(people, advice);
}

// `kept` counts the repetitions of each class.
static void advise_on_repetitions(const std::map<int, size_t>& kept,
                                  const Provenance& provenance,
                                  std::vector<std::string>& advice) {
  for (const auto& [label, count] : kept) {
    if (count >= kEnoughRepetitions) continue;
    advice.push_back(fmt::format("{}: {} kept; record {} more", title(label, provenance),
                                 counted(count, "repetition"),
                                 kEnoughRepetitions - count));
  }
}

static void advise_on_repetitions(const SegmentedSet& set,
                                  std::vector<std::string>& advice) {
  std::map<int, size_t> kept;
  for (const SegmentedRecording& recording : set.recordings) {
    for (const Annotation& annotation : recording.annotations) kept[annotation.label];
    for (const Motion& motion : recording.motions) {
      if (motion.verdict == Verdict::kKept && motion.label >= 0) ++kept[motion.label];
    }
  }
  advise_on_repetitions(kept, set.provenance, advice);
}

// Whether the motion was lost because rest is missing before or after it.
static bool lacks_rest(const Motion& motion) {
  return motion.verdict == Verdict::kInTwoAnnotations ||
         motion.verdict == Verdict::kPartlyInAnnotation ||
         motion.verdict == Verdict::kStartsFast || motion.verdict == Verdict::kEndsFast;
}

static bool overlaps(const Motion& motion, const Annotation& annotation) {
  return motion.begin < annotation.end && annotation.begin < motion.end;
}

static void advise_on_rest(const SegmentedSet& set, std::vector<std::string>& advice) {
  size_t annotations = 0;
  size_t lost = 0;
  for (const SegmentedRecording& recording : set.recordings) {
    annotations += recording.annotations.size();
    if (recording.pre_segmented) continue;
    for (size_t i = 0; i < recording.annotations.size(); ++i) {
      const auto own = std::count(recording.annotation_of.begin(),
                                  recording.annotation_of.end(), static_cast<int>(i));
      if (own > 0) continue;
      lost += std::any_of(recording.motions.begin(), recording.motions.end(),
                          [&](const Motion& m) {
                            return lacks_rest(m) && overlaps(m, recording.annotations[i]);
                          });
    }
  }
  if (lost == 0 || share(lost, annotations) < kMuchLost) return;
  advice.push_back(fmt::format(
      "{} of {} repetitions are lost as the wrist does not rest around them: hold it "
      "still for half a second before and after each; wgr segment --list names them",
      lost, annotations));
}

static void advise_on_background(double hours, double per_hour,
                                 std::vector<std::string>& advice) {
  const double wanted = kRuleOfThree / per_hour;
  if (hours >= wanted) return;
  advice.push_back(fmt::format(
      "{:.2f} h of background: only {:.1f} h without a false positive show that there "
      "are no more than {} an hour. Record the hands in daily use (--background): "
      "eating, typing, dressing; walking alone does not show it",
      hours, wanted, per_hour));
}

std::vector<std::string> advice_on(const SegmentedSet& set, double per_hour) {
  std::vector<std::string> advice;
  advise_on_people(set, advice);
  advise_on_repetitions(set, advice);
  advise_on_rest(set, advice);
  if (per_hour > 0.0) {
    advise_on_background(set.provenance.background_seconds / kSecondsPerHour, per_hour,
                         advice);
  }
  return advice;
}

// What the description counts of motions that are lost in any case: those of repetitions
// that run into each other or over an annotation's end.
static void advise_on_rest(const Provenance& provenance, size_t repetitions,
                           std::vector<std::string>& advice) {
  size_t lost = 0;
  for (const Verdict verdict :
       {Verdict::kInTwoAnnotations, Verdict::kPartlyInAnnotation}) {
    const auto found =
        provenance.verdicts.find(kVerdictNames[static_cast<size_t>(verdict)]);
    if (found != provenance.verdicts.end()) lost += found->second;
  }
  if (lost == 0 || share(lost, lost + repetitions) < kMuchLost) return;
  advice.push_back(fmt::format(
      "{} beside {} lost as the wrist does not rest around repetitions: hold it still "
      "for half a second before and after each; wgr segment --list names them",
      counted(lost, "motion"),
      counted(repetitions, "example") + (lost == 1 ? " is" : " are")));
}

std::vector<std::string> advice_on(const Gdata& examples, const Provenance& provenance,
                                   double background_hours, double per_hour) {
  const std::vector<std::string>& subjects = provenance.subjects;
  std::set<std::string> people;
  std::map<int, size_t> kept;
  size_t repetitions = 0;
  for (const auto& [word, label] : provenance.classes) {
    if (label >= 0) kept[label];
  }
  for (size_t i = 0; i < examples.samples.size(); ++i) {
    if (examples.samples[i].label < 0) continue;
    people.insert(i < subjects.size() ? subjects[i] : "");
    ++kept[examples.samples[i].label];
    ++repetitions;
  }
  std::vector<std::string> advice;
  advise_on_people(people, advice);
  advise_on_repetitions(kept, provenance, advice);
  advise_on_rest(provenance, repetitions, advice);
  if (per_hour > 0.0) advise_on_background(background_hours, per_hour, advice);
  return advice;
}

// The class of the most similar example of another person, where two are known, or else
// of another repetition; -1: there is none.
static int nearest_class(const ModelBuilder& builder, size_t example, bool by_subject) {
  const std::vector<int>& labels = builder.labels();
  const auto subject = [&](size_t i) {
    return builder.sources().subjects[builder.origin()[i]];
  };
  float best = std::numeric_limits<float>::lowest();
  int label = -1;
  for (size_t j = 0; j < labels.size() && labels[j] >= 0; ++j) {
    if (j == example || (by_subject && subject(j) == subject(example))) continue;
    const float score = builder.similarities()(example, j);
    if (!(score > best)) continue;
    best = score;
    label = labels[j];
  }
  return label;
}

std::vector<std::string> advice_on_classes(const ModelBuilder& builder,
                                           const Provenance& provenance) {
  const std::vector<std::string>& subjects = builder.sources().subjects;
  const bool by_subject =
      std::set<std::string>(subjects.begin(), subjects.end()).size() > 1;
  std::map<int, size_t> examples;
  std::map<std::pair<int, int>, size_t> confused;
  const std::vector<int>& labels = builder.labels();
  for (size_t i = 0; i < labels.size() && labels[i] >= 0; ++i) {
    ++examples[labels[i]];
    const int label = nearest_class(builder, i, by_subject);
    if (label >= 0 && label != labels[i]) ++confused[{labels[i], label}];
  }
  std::vector<std::string> advice;
  for (const auto& [pair, count] : confused) {
    const size_t all = examples[pair.first];
    if (count < 2 || share(count, all) < kMuchConfused) continue;
    advice.push_back(fmt::format(
        "{} and {} are alike: {} of {} repetitions of the first are most like one of the "
        "second{}. Make them differ more in their path, or leave one out",
        title(pair.first, provenance), title(pair.second, provenance), count, all,
        by_subject ? " by another person" : ""));
  }
  return advice;
}

}  // namespace wgr
