// A stream of sensors, brought to a steady rate and explained while it comes.
#include <memory>
#include <vector>

#include "explanation/explanation.h"
#include "recording/resample.h"
#include "request.h"
#include "text/explanation_sentences.h"

namespace wgr {

static constexpr size_t kMostLive = 360'000;  // samples of a stream; two hours

namespace {

struct Live {
  explicit Live(const HostRunOptions& host)
      : explainer(host, explanation), steady(host.rate) {}

  Explanation explanation;
  Explainer explainer;
  SteadyStream steady;
  std::vector<RecordedSample> made;  // of the newest sample of the sensors
};

// What studio_sense() answers, beside how many samples were made.
constexpr int kCount = 0xffff;
constexpr int kMoving = 1 << 16;
constexpr int kEnded = 1 << 17;
constexpr int kFull = 1 << 18;

}  // namespace

static std::unique_ptr<Live> live;

Json live_request(const Json& request) {
  live.reset();
  live = std::make_unique<Live>(host_of(request));
  live->explanation.recording = "the live stream";
  const Settings& s = live->explanation.settings;
  return {{"rate", s.rate},
          {"shortest", static_cast<double>(s.min_motion_len) / s.rate},
          {"restWindow", static_cast<double>(s.static_window) / s.rate},
          {"leastStrength", s.strength_threshold}};
}

static Json best_of(const MotionExplanation& m) {
  if (m.scores.empty()) return nullptr;
  Json best = {{"class", m.scores[0].label}, {"score", m.scores[0].score}};
  if (m.scores[0].threshold) best["threshold"] = *m.scores[0].threshold;
  return best;
}

Json motion_request() {
  if (!live || live->explanation.motions.empty()) return nullptr;
  const MotionExplanation& m = live->explanation.motions.back();
  const Settings& s = live->explanation.settings;
  return {{"cause", name_of(m.cause)},
          {"class", m.reported ? Json(*m.reported) : Json()},
          {"begin", m.begin},
          {"end", m.end},
          {"seconds", static_cast<double>(m.kept()) / s.rate},
          {"shortest", static_cast<double>(s.min_motion_len) / s.rate},
          {"strength", m.strength},
          {"leastStrength", s.strength_threshold},
          {"best", best_of(m)},
          {"sentence", sentence_for(m, s)}};
}

// Takes a sample of the sensors: how many samples of the steady stream it made, and how
// they left it.
extern "C" int studio_sense(double t, double ax, double ay, double az, double gx,
                            double gy, double gz) {
  if (!live) return 0;
  live->made.clear();
  live->steady.add({t, {ax, ay, az}, {gx, gy, gz}}, live->made);
  const std::vector<MotionExplanation>& motions = live->explanation.motions;
  const size_t before = motions.size();
  for (const RecordedSample& sample : live->made) {
    if (live->explanation.times.size() < kMostLive) live->explainer.feed(sample);
  }
  const bool full = live->explanation.times.size() >= kMostLive;
  return (static_cast<int>(live->made.size()) & kCount) |
         (live->explainer.collecting() > 0 ? kMoving : 0) |
         (motions.size() > before ? kEnded : 0) | (full ? kFull : 0);
}

// The samples that the last call made: time, acceleration, angular velocity; 7 numbers
// each.
extern "C" const double* studio_made() {
  static_assert(sizeof(RecordedSample) == 7 * sizeof(double));
  return live ? &live->made.data()->t : nullptr;
}

}  // namespace wgr
