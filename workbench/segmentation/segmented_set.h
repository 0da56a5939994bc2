// Segments all recordings of a set: every motion with its verdict, and what is to be
// reported of the recordings.
#pragma once

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

struct SegmentedSet {
  std::vector<SegmentedRecording> recordings;
  Provenance provenance;
  std::string notes;  // what people should know, a line each
};

// Reads and segments a set, with background recordings besides. `classes` may hold
// numbers of labels already. Throws UsageError or RecordingError for what cannot be read,
// and UsageError when the recordings do not have, or do have, the gravity they should.
SegmentedSet segment_set(const std::vector<SetEntry>& set,
                         const std::vector<SetEntry>& background,
                         const SegmentationOptions& options, const Classes& classes = {});

std::vector<Motion> kept_motions(const SegmentedSet& set);

// The notes that say more than the rate at which the set is.
std::vector<std::string> caveats_of(const SegmentedSet& set);

// How many of which verdict and label.
std::string summary_of(const SegmentedSet& set);

// What became of every annotation, a line each, and how many are to be recorded again.
std::string annotations_list(const SegmentedSet& set);

}  // namespace wgr
