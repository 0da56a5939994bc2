// Segments all recordings of a set: every motion with its verdict, and what is to be
// reported of the recordings.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "recording/clock.h"
#include "segmentation/provenance.h"
#include "segmentation/recording_set.h"
#include "segmentation/segmenter.h"

namespace wgr {

struct SegmentationOptions {
  std::optional<int> rate;  // samples per second; otherwise that of most recordings
  HostSettings host;
  bool gravity = true;             // whether the data has gravity in it
  bool attitude = true;            // whether gravity's direction is to count
  bool whole_annotations = false;  // annotated intervals are motions as they are
  ReadingLimit limit;              // of all recordings together
};

// One recording at the set's rate.
struct SegmentedRecording {
  SetEntry entry;
  std::vector<RecordedSample> samples;
  std::vector<Annotation>
      annotations;  // of gestures; the whole recording if it is one repetition
  // Its motions were segmented beforehand, not by the rest around them.
  bool pre_segmented = false;
  std::vector<Motion> motions;
  std::vector<int> annotation_of;  // of each motion, which annotation it fills; -1: none
  double background_seconds = 0.0;
  std::optional<double> unfinished;  // s, where a motion begins that the end cuts off
};

// A recording whose time stamps show another rate than the index has.
struct DifferingRate {
  std::string path;
  int found;        // samples/s, by the time stamps: these count
  double by_index;  // samples/s
};

// What the clocks and rates of all recordings are like.
struct SetClocks {
  std::map<int, size_t> resampled;  // recordings that were, by their own samples/s
  size_t recordings_with_gaps = 0;
  size_t gaps = 0;
  double longest_gap = 0.0;  // s
  size_t backward = 0;
  size_t repeats = 0;
  std::vector<DifferingRate> differing;
};

// Recordings of a single repetition each.
struct Repetitions {
  size_t count = 0;
  size_t pre_segmented = 0;
};

struct SegmentedSet {
  std::vector<SegmentedRecording> recordings;
  Provenance provenance;
  SetClocks clocks;
  Repetitions repetitions;
  // As the options had it.
  bool whole_annotations = false;
  bool gravity = true;
  bool attitude = true;
};

// Reads and segments a set, with background recordings besides. `classes` may hold
// numbers of labels already. Throws UsageError or RecordingError for what cannot be read,
// and UsageError when the recordings do not have, or do have, the gravity they should.
SegmentedSet segment_set(const std::vector<SetEntry>& set,
                         const std::vector<SetEntry>& background,
                         const SegmentationOptions& options, const Classes& classes = {});

std::vector<Motion> kept_motions(const SegmentedSet& set);

// What became of an annotation.
enum class AnnotationState {
  kKept,        // a kept motion fills it
  kUnfinished,  // the recording ends in its motion
  kDropped,     // its motion has a verdict against it, or counts for another
  kNoMotion,
};

struct AnnotationOutcome {
  const SegmentedRecording* recording = nullptr;
  const Annotation* annotation = nullptr;
  AnnotationState state = AnnotationState::kNoMotion;
  Verdict verdict =
      Verdict::kKept;  // where dropped: of the motion most of which is in it
};

// Of all annotations of a set, in order; they point into it.
std::vector<AnnotationOutcome> annotation_outcomes(const SegmentedSet& set);

}  // namespace wgr
