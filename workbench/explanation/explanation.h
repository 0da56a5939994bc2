// What a host's run over a recording looked like from inside: when the wrist was at rest
// and which sensor reported it, and how every motion ended.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "explanation/drawn_motions.h"
#include "explanation/drawn_stream.h"
#include "explanation/motion_explanation.h"
#include "hostrun/host_run.h"
#include "hostrun/run.h"
#include "hostrun/totals.h"
#include "recording/recording.h"
#include "segmentation/model_rate.h"

namespace wgr {

// How one sample was judged, from the window that it ends.
enum class Judgement : unsigned char {
  kMotion,         // both sensors show motion
  kWindowNotFull,  // at rest, for want of samples
  kAccRests,       // at rest by the accelerometer alone
  kGyroRests,      // at rest by the gyroscope alone
  kBothRest,
};
inline constexpr size_t kJudgements = 5;

inline constexpr size_t kTemplatesShown = 5;  // of a motion, the best

// Consecutive samples at rest.
struct RestStretch {
  size_t first = 0;
  size_t count = 0;
  double begin = 0.0;  // s, of its first sample
  double end = 0.0;    // s, of its last
  std::array<size_t, kJudgements> judged = {};
  // Why the accelerometer did not report rest where it did not, in samples:
  size_t gravity_outside = 0;  // its mean is outside the band of gravity
  size_t acc_scattered = 0;    // its spread is too wide
  double mean_gravity = 0.0;   // m/s², mean length of the windows' mean vector
  // And the gyroscope:
  size_t turning = 0;         // its mean rate is too high
  size_t gyro_scattered = 0;  // its spread is too wide
};

// Why there was no motion where one was expected.
enum class NoMotion {
  kNoSamples,
  kAfterReport,  // in the pause after a report
  kAtStart,      // in the recording's first samples
  kBothRested,
  kGyroRested,
  kAccRested,
};

struct Expected {
  double begin;  // s
  double end;    // s
  int label;
  Cause cause = Ending::kRecognised;       // recognised: as expected
  std::optional<size_t> motion = {};       // the nearest one
  std::optional<NoMotion> no_motion = {};  // where there is none
  bool much_longer = false;                // the motion, than what was expected
  bool no_template = false;                // of its class, in the model
};

struct Settings {
  int rate;                   // samples per second
  int min_motion_len;         // samples
  int static_window;          // samples
  int history_len;            // samples
  double strength_threshold;  // m/s²
  Point3Df gyro_bias;         // deg/s
  int wearer;
  int mode;
};

struct Explanation {
  std::string recording;
  Settings settings = {};
  Gmodel model;                         // that was in use
  std::string model_file;               // set before: where it is from
  std::optional<OtherRate> other_rate;  // set before: than the model was built for
  bool for_page = false;                // set before: what a page draws is kept
  bool keep_traces = false;             // set before: so are all traces and scores
  std::deque<double> times;             // s, of each sample
  DrawnStream drawn;                    // the samples, for a page
  DrawnMotions drawn_motions;           // the motions' traces, for a page
  std::deque<Judgement> judgements;     // one for each sample
  std::vector<RestStretch> rests;
  std::vector<MotionExplanation> motions;
  std::vector<GestureEvent> events;  // as the library reported them
  std::vector<Expected> expected;
  std::array<size_t, 3> wearer_answers = {};  // of the wrist detector: left, right,
                                              // undecided
};

// Runs a host and watches the engine behind it, sample by sample, as for a stream that is
// explained while it comes. Every judgement of rest is compared with the engine's; throws
// std::logic_error should one differ.
class Explainer {
 public:
  // `explanation` outlives the object.
  Explainer(const HostRunOptions& options, Explanation& explanation);
  ~Explainer();
  Explainer(const Explainer&) = delete;
  Explainer& operator=(const Explainer&) = delete;

  void feed(const RecordedSample& sample);

  // Samples of the motion that is being collected; 0 at rest.
  size_t collecting() const;

  // The stream is over: what its end cuts off is explained, too.
  void finish();

 private:
  class Watcher;

  HostRun host_run_;
  Totals totals_;
  const std::unique_ptr<Watcher> watcher_;
  Explanation& explanation_;
};

// The same over a recording. A RecordingError leaves with `explanation` holding what came
// before. `observe`, where there is one, sees every sample.
void explain(const HostRunOptions& options, SampleSource& samples,
             Explanation& explanation,
             const std::function<void(const RecordedSample&)>& observe = nullptr);

}  // namespace wgr
