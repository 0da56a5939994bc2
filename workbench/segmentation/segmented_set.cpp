#include "segmentation/segmented_set.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/numbers.h"
#include "base/sha256.h"
#include "base/text.h"
#include "recording/resample.h"

namespace wgr {

static constexpr double kRateTolerance = 0.02;  // of the rate
static constexpr double kLeastGravity = 5.0;    // m/s², as training files have it
static constexpr int kLowestRate = 10;          // samples per second
static constexpr double kMsPerSecond = 1000.0;

static bool is_near(double rate, double other) {
  return std::fabs(rate - other) <= kRateTolerance * rate;
}

// The recording's rate by its time stamps, or by the index where these do not show it.
static int rate_of(const SegmentedRecording& recording) {
  const std::vector<RecordedSample>& samples = recording.samples;
  const std::optional<int> found =
      estimate_rate(std::deque<RecordedSample>(samples.begin(), samples.end()));
  const double by_index = recording.entry.rate;
  if (!found || (by_index > 0.0 && is_near(by_index, *found))) {
    return nearest_int(by_index);
  }
  return *found;
}

static SegmentedRecording read_entry(const SetEntry& entry, Provenance& provenance,
                                     ReadingLimit& limit) {
  SegmentedRecording recording;
  recording.entry = entry;
  recording.samples = read_recording(entry.path, &limit);
  if (recording.samples.empty()) throw UsageError(entry.path + ":1: holds no sample");
  provenance.inputs.push_back({entry.file, sha256_of_file(entry.path)});
  return recording;
}

static int most_frequent(const std::map<int, size_t>& rates) {
  int best = 0;
  size_t most = 0;
  for (const auto& [rate, count] : rates) {
    if (count > most) {
      best = rate;
      most = count;
    }
  }
  return best;
}

static void note_clock(const SegmentedRecording& recording, int found,
                       SetClocks& clocks) {
  Clock clock(std::max(found, 1));
  for (const RecordedSample& sample : recording.samples) clock.add(sample.t);
  clocks.gaps += clock.gaps();
  clocks.recordings_with_gaps += clock.gaps() > 0 ? 1 : 0;
  clocks.longest_gap = std::max(clocks.longest_gap, clock.longest_gap());
  clocks.backward += clock.backward();
  clocks.repeats += clock.repeats();
  const double by_index = recording.entry.rate;
  if (by_index > 0.0 && !is_near(by_index, found)) {
    clocks.differing.push_back({recording.entry.path, found, by_index});
  }
}

static void find_annotations(const Classes& classes, SegmentedRecording& recording) {
  for (const WordedAnnotation& worded : recording.entry.annotations) {
    if (is_background(worded.word)) continue;
    recording.annotations.push_back(worded.annotation);
    recording.annotations.back().label = classes.at(worded.word);
  }
}

// A recording of one repetition: as a whole, or the motions in it.
static void segment_repetition(int label, Segmenter& segmenter,
                               SegmentedRecording& recording) {
  const std::vector<RecordedSample>& samples = recording.samples;
  recording.annotations = {
      {recording.entry.file, samples.front().t, samples.back().t, label}};
  recording.pre_segmented = !segmenter.rests_around(samples);
  recording.motions = recording.pre_segmented
                          ? std::vector<Motion>{segmenter.take_whole(samples)}
                          : segment_recording(samples, {}, segmenter);
  for (Motion& motion : recording.motions) {
    const bool kept = motion.verdict == Verdict::kKept;
    if (kept) motion.label = label;
    recording.annotation_of.push_back(kept ? 0 : -1);
  }
}

// Takes every annotation for a motion, with as much around it as the engine would add.
static void segment_annotations(Segmenter& segmenter, SegmentedRecording& recording) {
  const std::vector<RecordedSample>& samples = recording.samples;
  const double padding =
      0.5 * segmenter.engine().static_window / segmenter.engine().sample_rate;
  recording.pre_segmented = true;
  for (size_t i = 0; i < recording.annotations.size(); ++i) {
    const Annotation& annotation = recording.annotations[i];
    std::vector<RecordedSample> inside;
    for (const RecordedSample& sample : samples) {
      if (sample.t >= annotation.begin - padding &&
          sample.t <= annotation.end + padding) {
        inside.push_back(sample);
      }
    }
    if (inside.empty()) {
      throw UsageError(
          fmt::format("{}: has no sample in the annotation from {:.3f} to {:.3f} s",
                      recording.entry.path, annotation.begin, annotation.end));
    }
    recording.motions.push_back(segmenter.take_whole(inside));
    const bool kept = recording.motions.back().verdict == Verdict::kKept;
    if (kept) recording.motions.back().label = annotation.label;
    recording.annotation_of.push_back(kept ? static_cast<int>(i) : -1);
  }
}

static void segment_stream(Segmenter& segmenter, SegmentedRecording& recording) {
  recording.motions =
      segment_recording(recording.samples, recording.annotations, segmenter);
  const size_t open = segmenter.engine().motion_acc.size();
  if (open > 0) {
    recording.unfinished = recording.samples[recording.samples.size() - open].t;
  }
  for (const Motion& motion : recording.motions) {
    int best = -1;
    double most = 0.0;
    for (size_t i = 0; i < recording.annotations.size() && motion.label != kBackground;
         ++i) {
      const Annotation& annotation = recording.annotations[i];
      const double overlap =
          std::min(annotation.end, motion.end) - std::max(annotation.begin, motion.begin);
      if (overlap <= most) continue;
      most = overlap;
      best = static_cast<int>(i);
    }
    recording.annotation_of.push_back(best);
  }
  recording.background_seconds = recording.samples.back().t - recording.samples.front().t;
  for (const Annotation& annotation : recording.annotations) {
    recording.background_seconds -= annotation.end - annotation.begin;
  }
  recording.background_seconds =
      std::clamp(recording.background_seconds, 0.0, kMostSeconds);
}

// Half of all motions decide: a single one may fall, or be shaken to one side.
static void check_gravity(const SegmentedSet& set, bool gravity) {
  std::vector<double> lengths;
  for (const Motion& motion : kept_motions(set)) {
    lengths.push_back(std::sqrt(squared_length(motion.trace.back())));
  }
  if (lengths.empty()) return;
  const auto middle = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
  std::nth_element(lengths.begin(), middle, lengths.end());
  const std::string found = fmt::format(
      "{} and so on: over their motions the acceleration averages {:.2f} m/s²",
      set.recordings.front().entry.path, *middle);
  if (gravity && *middle < kLeastGravity) {
    throw UsageError(found +
                     ", which cannot be gravity. Accelerations must be in m/s² with "
                     "gravity in them; for data without gravity give --no-gravity");
  }
  if (!gravity && *middle > kLeastGravity) {
    throw UsageError(found +
                     ", which looks like gravity: --no-gravity is for data "
                     "without it");
  }
}

// What the index says of each kept motion's recording, if it says that of any.
static std::vector<std::string> of_kept(const SegmentedSet& set,
                                        std::string SetEntry::*column) {
  bool known = false;
  std::vector<std::string> texts;
  for (const SegmentedRecording& recording : set.recordings) {
    for (const Motion& motion : recording.motions) {
      if (motion.verdict != Verdict::kKept) continue;
      texts.push_back(recording.entry.*column);
      known = known || !texts.back().empty();
    }
  }
  if (!known) texts.clear();
  return texts;
}

// Reads all recordings, and finds their rates; the set's is that of most gestures.
static std::vector<int> read_entries(const std::vector<SetEntry>& set,
                                     const std::vector<SetEntry>& background,
                                     ReadingLimit limit, SegmentedSet& segmented) {
  std::vector<int> rates;
  std::map<int, size_t> counts;
  for (const std::vector<SetEntry>* entries : {&set, &background}) {
    for (const SetEntry& entry : *entries) {
      segmented.recordings.push_back(read_entry(entry, segmented.provenance, limit));
      rates.push_back(rate_of(segmented.recordings.back()));
      if (rates.back() < 1) {
        throw UsageError(entry.path +
                         ": neither the time stamps nor the index give the rate");
      }
      ++counts[rates.back()];
      note_clock(segmented.recordings.back(), rates.back(), segmented.clocks);
    }
    // The gestures' rate counts, not that of the background.
    if (segmented.provenance.rate == 0) segmented.provenance.rate = most_frequent(counts);
  }
  return rates;
}

static void segment_one(const Classes& classes, bool whole_annotations,
                        Segmenter& segmenter, SegmentedRecording& recording,
                        Repetitions& repetitions) {
  const SetEntry& entry = recording.entry;
  find_annotations(classes, recording);
  if (entry.annotations.empty() && !is_background(entry.word)) {
    segment_repetition(classes.at(entry.word), segmenter, recording);
    ++repetitions.count;
    repetitions.pre_segmented += recording.pre_segmented ? 1 : 0;
  } else if (whole_annotations && !recording.annotations.empty()) {
    segment_annotations(segmenter, recording);
  } else {
    segment_stream(segmenter, recording);
  }
}

static void note_segments(const AgGes& engine, const SegmentationOptions& options,
                          SegmentedSet& segmented) {
  Provenance& p = segmented.provenance;
  for (const SegmentedRecording& recording : segmented.recordings) {
    p.background_seconds += recording.background_seconds;
    for (const Motion& motion : recording.motions) {
      ++p.verdicts[kVerdictNames[static_cast<size_t>(motion.verdict)]];
    }
  }
  // So that the same bytes come from every machine.
  p.background_seconds =
      std::round(std::min(p.background_seconds, kMostSeconds) * kMsPerSecond) /
      kMsPerSecond;
  p.shortest = engine.min_motion_len;
  p.static_window = engine.static_window;
  p.strength_threshold = engine.strength_threshold;
  p.sensitivity = options.host.sensitivity;
  p.subjects = of_kept(segmented, &SetEntry::subject);
  p.sessions = of_kept(segmented, &SetEntry::session);
}

SegmentedSet segment_set(const std::vector<SetEntry>& set,
                         const std::vector<SetEntry>& background,
                         const SegmentationOptions& options, const Classes& classes) {
  SegmentedSet segmented;
  segmented.provenance.classes = classes;
  number_labels(set, segmented.provenance.classes);
  const std::vector<int> rates = read_entries(set, background, options.limit, segmented);
  const int rate = options.rate.value_or(segmented.provenance.rate);
  if (rate < kLowestRate) {
    throw UsageError(fmt::format(
        "the rate of {} samples/s is too low for gestures; give --sample-rate", rate));
  }
  segmented.provenance.rate = rate;
  segmented.provenance.gravity = options.gravity && options.attitude;

  Segmenter segmenter(rate, options.host, segmented.provenance.gravity);
  for (size_t i = 0; i < segmented.recordings.size(); ++i) {
    SegmentedRecording& recording = segmented.recordings[i];
    if (!is_near(rate, rates[i])) {
      recording.samples = resample(recording.samples, rate);
      ++segmented.clocks.resampled[rates[i]];
    }
    segment_one(segmented.provenance.classes, options.whole_annotations, segmenter,
                recording, segmented.repetitions);
  }
  check_gravity(segmented, options.gravity);
  note_segments(segmenter.engine(), options, segmented);
  segmented.whole_annotations = options.whole_annotations;
  segmented.gravity = options.gravity;
  segmented.attitude = options.attitude;
  return segmented;
}

std::vector<Motion> kept_motions(const SegmentedSet& set) {
  std::vector<Motion> kept;
  for (const SegmentedRecording& recording : set.recordings) {
    for (const Motion& motion : recording.motions) {
      if (motion.verdict == Verdict::kKept) kept.push_back(motion);
    }
  }
  return kept;
}

static AnnotationOutcome outcome_of(const SegmentedRecording& recording,
                                    size_t annotation) {
  const Annotation& a = recording.annotations[annotation];
  AnnotationOutcome outcome = {&recording, &a};
  if (std::count(recording.annotation_of.begin(), recording.annotation_of.end(),
                 static_cast<int>(annotation)) > 0) {
    outcome.state = AnnotationState::kKept;
    return outcome;
  }
  if (recording.unfinished && a.end > *recording.unfinished) {
    outcome.state = AnnotationState::kUnfinished;
    return outcome;
  }
  double most = 0.0;
  for (const Motion& motion : recording.motions) {
    const double overlap = std::min(a.end, motion.end) - std::max(a.begin, motion.begin);
    if (overlap <= most) continue;
    most = overlap;
    outcome.state = AnnotationState::kDropped;
    outcome.verdict = motion.verdict;
  }
  return outcome;
}

std::vector<AnnotationOutcome> annotation_outcomes(const SegmentedSet& set) {
  std::vector<AnnotationOutcome> outcomes;
  for (const SegmentedRecording& recording : set.recordings) {
    for (size_t i = 0; i < recording.annotations.size(); ++i) {
      outcomes.push_back(outcome_of(recording, i));
    }
  }
  return outcomes;
}

}  // namespace wgr
