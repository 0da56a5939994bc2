#include "text/set_text.h"

#include <array>
#include <map>

#include "base/foreign_text.h"
#include "base/text.h"

namespace wgr {

static void add_resampling(const SetClocks& clocks, int set_rate,
                           std::vector<std::string>& caveats) {
  if (clocks.resampled.empty()) return;
  size_t count = 0;
  std::string rates;
  for (const auto& [rate, recordings] : clocks.resampled) {
    count += recordings;
    rates += fmt::format("{}{} x {}", rates.empty() ? "" : ", ", rate, recordings);
  }
  caveats.push_back(fmt::format(
      "{} of another rate resampled to {} samples/s by linear interpolation ({})",
      counted(count, "recording"), set_rate, rates));
}

static void add_clocks(const SetClocks& clocks, std::vector<std::string>& caveats) {
  if (clocks.gaps > 0) {
    caveats.push_back(fmt::format(
        "{} in the time stamps of {}, the longest {:.3f} s; motions across them are "
        "segmented as if the samples were next to each other{}",
        counted(clocks.gaps, "gap"), counted(clocks.recordings_with_gaps, "recording"),
        clocks.longest_gap,
        clocks.resampled.empty() ? "" : ", or filled in by the resampling"));
  }
  if (clocks.backward + clocks.repeats > 0) {
    caveats.push_back(fmt::format("irregular clocks: {} back, {}",
                                  counted(clocks.backward, "step"),
                                  counted(clocks.repeats, "repeated time")));
  }
  if (clocks.differing.empty()) return;
  const DifferingRate& first = clocks.differing.front();
  const size_t others = clocks.differing.size() - 1;
  caveats.push_back(fmt::format(
      "{}: {} samples/s by the time stamps, {:.2f} by the index; the time stamps count{}",
      shown(first.path), first.found, first.by_index,
      others > 0 ? fmt::format(" (so do {} more)", others) : ""));
}

std::vector<std::string> caveats_of(const SegmentedSet& set) {
  std::vector<std::string> caveats;
  add_resampling(set.clocks, set.provenance.rate, caveats);
  add_clocks(set.clocks, caveats);
  if (set.repetitions.count > 0) {
    caveats.push_back(fmt::format(
        "{} of a single repetition: {} without rest around it used whole, through the "
        "same rotation and trimming; {} segmented",
        counted(set.repetitions.count, "recording"), set.repetitions.pre_segmented,
        set.repetitions.count - set.repetitions.pre_segmented));
  }
  if (set.whole_annotations) {
    caveats.push_back(
        "annotations used whole, through the same rotation and trimming; what lies "
        "between them does not count");
  }
  if (!set.gravity) {
    caveats.push_back("without gravity: the attitude does not count");
  } else if (!set.attitude) {
    caveats.push_back("the attitude does not count; gravity is one more point");
  }
  return caveats;
}

static std::string line(size_t count, const std::string& what) {
  return fmt::format("{:6} {}\n", count, what);
}

std::string summary_of(const SegmentedSet& set) {
  std::string text =
      fmt::format("{}, {} samples/s\n", counted(set.recordings.size(), "recording"),
                  set.provenance.rate);
  for (const std::string& caveat : caveats_of(set)) text += caveat + "\n";
  std::array<size_t, kVerdicts> verdicts = {};
  std::map<int, size_t> labels;
  for (const SegmentedRecording& recording : set.recordings) {
    for (const Motion& motion : recording.motions) {
      ++verdicts[static_cast<size_t>(motion.verdict)];
      if (motion.verdict == Verdict::kKept) ++labels[motion.label];
    }
  }
  for (size_t i = 0; i < kVerdicts; ++i) text += line(verdicts[i], kVerdictNames[i]);
  std::map<int, std::string> words;
  for (const auto& [word, label] : set.provenance.classes) words[label] = word;
  for (const auto& [label, count] : labels) {
    const std::string number = std::to_string(label);
    std::string name = label == kBackground ? "background" : "class " + number;
    if (label != kBackground && words[label] != number) {
      name += ", " + shown(words[label]);
    }
    text += line(count, (count == 1 ? "example of " : "examples of ") + name);
  }
  size_t missed = 0;
  const std::vector<AnnotationOutcome> outcomes = annotation_outcomes(set);
  for (const AnnotationOutcome& outcome : outcomes) {
    missed += outcome.state == AnnotationState::kKept ? 0 : 1;
  }
  text += line(missed,
               fmt::format("of {} annotations without a kept motion", outcomes.size()));
  text += fmt::format("{:.1f} s of background\n", set.provenance.background_seconds);
  return text;
}

static std::string sentence_for(const AnnotationOutcome& outcome) {
  switch (outcome.state) {
    case AnnotationState::kKept:
      return "kept";
    case AnnotationState::kUnfinished:
      return "record again: the recording ends in the motion: record on until the wrist "
             "rests";
    case AnnotationState::kNoMotion:
      return "record again: no motion: the wrist counted as resting";
    case AnnotationState::kDropped:
      break;
  }
  if (outcome.verdict == Verdict::kKept) {
    return "record again: its motion counts for another annotation: rest before and "
           "after "
           "each repetition";
  }
  const bool no_rest = outcome.verdict == Verdict::kInTwoAnnotations ||
                       outcome.verdict == Verdict::kPartlyInAnnotation;
  return fmt::format("record again: {}{}",
                     kVerdictNames[static_cast<size_t>(outcome.verdict)],
                     no_rest ? ": rest before and after each repetition" : "");
}

std::string annotations_list(const SegmentedSet& set) {
  std::string text;
  size_t again = 0;
  const std::vector<AnnotationOutcome> outcomes = annotation_outcomes(set);
  for (const AnnotationOutcome& outcome : outcomes) {
    const Annotation& annotation = *outcome.annotation;
    again += outcome.state == AnnotationState::kKept ? 0 : 1;
    text += fmt::format("{} {:.3f} {:.3f} class {}: {}\n",
                        shown(outcome.recording->entry.file), annotation.begin,
                        annotation.end, annotation.label, sentence_for(outcome));
  }
  return text + fmt::format("{} of {} annotations to be recorded again\n", again,
                            outcomes.size());
}

}  // namespace wgr
