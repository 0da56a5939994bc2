#include "segmentation/segmenter.h"

#include <algorithm>
#include <cmath>

#include "engine/reconstruction.h"

namespace wgr {

static constexpr int kOwnDefault = -1;             // a length that the engine chooses
static constexpr double kStrengthThreshold = 2.0;  // m/s², as after initialisation
static constexpr double kInsideShare = 0.5;  // of motion and span: the motion is its own

// An engine that cuts and measures as with a model of ours, but recognises nothing.
static std::unique_ptr<AgGes> make_engine(int rate, int shortest, bool gravity) {
  auto classifier = std::make_unique<HGR>(1);
  classifier->model->havegravity = gravity ? 1 : 0;
  return std::make_unique<AgGes>(std::move(classifier), kAccAndGyro, rate,
                                 Point3Df{0.0, 0.0, 0.0}, shortest, kOwnDefault,
                                 kOwnDefault, kStrengthThreshold);
}

Segmenter::Segmenter(int rate, int shortest, bool gravity)
    : engine_(make_engine(rate, shortest, gravity)) {}
Segmenter::~Segmenter() = default;

void Segmenter::clear_histories() {
  engine_->acc_history.clear();
  engine_->gyro_history.clear();
  engine_->static_history.clear();
}

void Segmenter::restart() {
  clear_histories();
  engine_->motion_acc.clear();
  engine_->motion_gyro.clear();
  seen_.clear();
}

static bool has_nan(const Point3Df& p) { return !(squared_length(p) >= 0.0); }

void Segmenter::refill(size_t first, size_t count) {
  for (size_t i = first; i < first + count; ++i) {
    engine_->motion_acc.push_back(seen_[i].acc);
    engine_->motion_gyro.push_back(seen_[i].gyro);
  }
}

// Whether the motion's first step, rather than its last, is too fast. The engine only
// tells that one of them is.
bool Segmenter::starts_fast(size_t first, size_t count) {
  refill(first, count);
  engine_->acc_correct();
  engine_->motion_acc.clear();
  engine_->motion_gyro.clear();

  const Kinematics motion = integrate(engine_->trace, engine_->sample_rate);
  return motion.squared_speed.empty() ||
         is_fast(motion.squared_speed.front(), fast_from(motion));
}

// Of the motion that the engine has just run on, or not: samples `first` to
// first + kept - 1.
Verdict Segmenter::judge(size_t first, size_t collected, size_t kept) {
  const AgGes& engine = *engine_;
  const long long least = engine.min_motion_len;
  if (static_cast<long long>(collected) < least) return Verdict::kTooShort;
  if (has_nan(engine.gravity)) return Verdict::kNotANumber;
  if (engine.trace.empty()) {
    return starts_fast(first, kept) ? Verdict::kStartsFast : Verdict::kEndsFast;
  }
  if (static_cast<long long>(engine.trace.size()) < least) return Verdict::kTooShort;
  if (engine.motion_strength < engine.strength_threshold) return Verdict::kTooWeak;
  return Verdict::kKept;
}

Motion Segmenter::take(size_t first, size_t collected, size_t kept) {
  Motion motion = {seen_[first].t,
                   seen_[first + collected - 1].t,
                   judge(first, collected, kept),
                   kBackground,
                   {},
                   first + collected - 1};
  if (motion.verdict == Verdict::kKept) {
    motion.trace = engine_->trace;
    motion.trace.push_back(engine_->gravity);
  }
  return motion;
}

bool Segmenter::feed(const RecordedSample& sample, Motion& motion) {
  const size_t collected = engine_->motion_acc.size();
  engine_->update(sample.acc, sample.gyro);
  seen_.push_back(sample);
  if (collected == 0 || !engine_->motion_acc.empty()) return false;

  const size_t margin = static_cast<size_t>(engine_->static_window / 2);
  motion = take(seen_.size() - 1 - collected, collected,
                collected - std::min(margin, collected));
  // On the watch such a motion is reported, and all histories start afresh.
  if (motion.verdict == Verdict::kKept) clear_histories();
  return true;
}

Motion Segmenter::take_whole(const std::vector<RecordedSample>& samples) {
  restart();
  seen_ = samples;
  refill(0, samples.size());
  engine_->run();
  engine_->motion_acc.clear();
  engine_->motion_gyro.clear();
  return take(0, samples.size(), samples.size());
}

bool Segmenter::rests_around(const std::vector<RecordedSample>& samples) {
  const size_t window = static_cast<size_t>(engine_->static_window);
  if (samples.size() < 2 * window) return false;
  restart();
  bool rests = true;
  for (const size_t begin : {size_t{0}, samples.size() - window}) {
    clear_histories();
    for (size_t i = begin; i < begin + window; ++i) {
      engine_->acc_history.push_back(samples[i].acc);
      engine_->gyro_history.push_back(samples[i].gyro);
    }
    rests = rests && engine_->is_static();
  }
  clear_histories();
  return rests;
}

void label_motion(const std::vector<Annotation>& spans, Motion& motion) {
  if (motion.verdict != Verdict::kKept) return;
  int inside = 0;
  int touched = 0;
  for (const Annotation& span : spans) {
    const double overlap =
        std::min(span.end, motion.end) - std::max(span.begin, motion.begin);
    if (overlap <= 0.0) continue;
    ++touched;
    const double longer = std::max(span.end - span.begin, motion.end - motion.begin);
    if (overlap >= kInsideShare * longer) {
      ++inside;
      motion.label = span.label;
    }
  }
  if (touched > 1) {
    motion.verdict = Verdict::kInTwoSpans;
  } else if (touched > inside) {
    motion.verdict = Verdict::kPartlyInSpan;
  }
}

std::vector<Motion> segment_recording(const std::vector<RecordedSample>& samples,
                                      const std::vector<Annotation>& spans,
                                      Segmenter& segmenter) {
  segmenter.restart();
  std::vector<Motion> motions;
  Motion motion;
  for (const RecordedSample& sample : samples) {
    if (!segmenter.feed(sample, motion)) continue;
    label_motion(spans, motion);
    motions.push_back(motion);
  }
  return motions;
}

}  // namespace wgr
