// Finds the motions of a recording with the engine that runs on the watch, and says what
// became of each.
//
// A motion's trace is what the classifier is given there: freed of gravity, turned into
// its mean frame, reduced to its active stretch, the gravity vector as its last point;
// m/s². Without gravity in the data that vector is nearly zero, and the classifier of a
// model without gravity takes it for one more point of the motion.
#pragma once

#include <array>
#include <memory>
#include <vector>

#include "base/points.h"
#include "engine/agGes.h"
#include "recording/recording.h"
#include "segmentation/annotations.h"
#include "segmentation/host_settings.h"

namespace wgr {

// What segmentation makes of a motion: of an Ending, and of the annotations around it.
enum class Verdict {
  kKept,      // it is compared with the templates
  kTooShort,  // before or after it was reduced to its active stretch
  kTooWeak,
  kStartsFast,
  kEndsFast,
  kNotANumber,
  kInTwoAnnotations,    // covers more than one annotation
  kPartlyInAnnotation,  // neither inside nor outside
};
inline constexpr size_t kVerdicts = 8;
inline constexpr std::array<const char*, kVerdicts> kVerdictNames = {
    "kept",
    "too short",
    "too weak",
    "starts fast",
    "ends fast",
    "not a number",
    "overlaps two annotations",
    "partly in one annotation",
};

inline constexpr int kBackground = -1;  // the label of motions outside every annotation

struct Motion {
  double begin;  // s, of its first sample
  double end;    // s, of its last
  Verdict verdict;
  int label;        // of kept motions, when it is known
  Points trace;     // of kept motions
  size_t last = 0;  // its last sample, of those that the segmenter was given
};

class Segmenter {
 public:
  // `gravity`: whether the data has gravity in it.
  explicit Segmenter(int rate, const HostSettings& host = {}, bool gravity = true);
  ~Segmenter();

  // Forgets what it has seen: the next sample starts another recording.
  void restart();

  // Takes a sample; true when it ended a motion, which `motion` then holds, as kept
  // background unless the engine dropped it.
  bool feed(const RecordedSample& sample, Motion& motion);

  // All samples as one motion that was segmented beforehand: the same steps from
  // there on. There is at least one sample.
  Motion take_whole(const std::vector<RecordedSample>& samples);

  // Whether the first and the last samples, as many as the engine looks at, are at rest.
  bool rests_around(const std::vector<RecordedSample>& samples);

  const AgGes& engine() const { return *engine_; }

 private:
  void clear_histories();
  Motion take(size_t first, size_t collected);

  std::unique_ptr<AgGes> engine_;
  std::vector<RecordedSample> seen_;
};

// Labels a kept motion from the annotations of its own recording, or changes its verdict.
void label_motion(const std::vector<Annotation>& annotations, Motion& motion);

// All motions of a recording, by a segmenter of its rate.
std::vector<Motion> segment_recording(const std::vector<RecordedSample>& samples,
                                      const std::vector<Annotation>& annotations,
                                      Segmenter& segmenter);

}  // namespace wgr
