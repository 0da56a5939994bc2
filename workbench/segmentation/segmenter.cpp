#include "segmentation/segmenter.h"

#include <algorithm>

namespace wgr {

static constexpr int kOwnDefault = -1;             // a length that the engine chooses
static constexpr double kStrengthThreshold = 2.0;  // m/s², as after initialisation
static constexpr double kInsideShare =
    0.5;  // of motion and annotation: the motion is its own

// An engine that segments and measures as with a model of ours. Without templates, every
// motion that would be compared with some ends as Ending::kNoTemplates.
static std::unique_ptr<AgGes> make_engine(int rate, const HostSettings& host,
                                          bool gravity) {
  auto classifier = std::make_unique<HGR>(1);
  classifier->model->havegravity = gravity ? 1 : 0;
  auto engine = std::make_unique<AgGes>(
      std::move(classifier), kAccAndGyro, rate, Point3Df{0.0, 0.0, 0.0}, host.shortest,
      kOwnDefault, host.static_window, kStrengthThreshold);
  if (host.sensitivity) engine->set_sensitivity(*host.sensitivity);
  return engine;
}

Segmenter::Segmenter(int rate, const HostSettings& host, bool gravity)
    : engine_(make_engine(rate, host, gravity)) {}
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

static Verdict verdict_of(Ending ending) {
  switch (ending) {
    case Ending::kTooShort:
    case Ending::kStretchTooShort:
      return Verdict::kTooShort;
    case Ending::kNotANumber:
      return Verdict::kNotANumber;
    case Ending::kStartsFast:
      return Verdict::kStartsFast;
    case Ending::kEndsFast:
      return Verdict::kEndsFast;
    case Ending::kTooWeak:
      return Verdict::kTooWeak;
    default:
      return Verdict::kKept;
  }
}

// The motion that the engine has just ended.
Motion Segmenter::take(size_t first, size_t collected) {
  Motion motion = {seen_[first].t,
                   seen_[first + collected - 1].t,
                   verdict_of(engine_->result.ending),
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

  motion = take(seen_.size() - 1 - collected, collected);
  // On the watch such a motion is reported, and all histories start afresh.
  if (motion.verdict == Verdict::kKept) clear_histories();
  return true;
}

Motion Segmenter::take_whole(const std::vector<RecordedSample>& samples) {
  restart();
  seen_ = samples;
  engine_->result = RecognitionResult();
  if (is_long_enough(samples.size(), engine_->min_motion_len)) {
    for (const RecordedSample& sample : samples) {
      engine_->motion_acc.push_back(sample.acc);
      engine_->motion_gyro.push_back(sample.gyro);
    }
    engine_->run();
    engine_->motion_acc.clear();
    engine_->motion_gyro.clear();
  }
  return take(0, samples.size());
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

void label_motion(const std::vector<Annotation>& annotations, Motion& motion) {
  if (motion.verdict != Verdict::kKept) return;
  int inside = 0;
  int touched = 0;
  for (const Annotation& annotation : annotations) {
    const double overlap =
        std::min(annotation.end, motion.end) - std::max(annotation.begin, motion.begin);
    if (overlap <= 0.0) continue;
    ++touched;
    const double longer =
        std::max(annotation.end - annotation.begin, motion.end - motion.begin);
    if (overlap >= kInsideShare * longer) {
      ++inside;
      motion.label = annotation.label;
    }
  }
  if (touched > 1) {
    motion.verdict = Verdict::kInTwoAnnotations;
  } else if (touched > inside) {
    motion.verdict = Verdict::kPartlyInAnnotation;
  }
}

std::vector<Motion> segment_recording(const std::vector<RecordedSample>& samples,
                                      const std::vector<Annotation>& annotations,
                                      Segmenter& segmenter) {
  segmenter.restart();
  std::vector<Motion> motions;
  Motion motion;
  for (const RecordedSample& sample : samples) {
    if (!segmenter.feed(sample, motion)) continue;
    label_motion(annotations, motion);
    motions.push_back(motion);
  }
  return motions;
}

}  // namespace wgr
