#include "training/cutter.h"

#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <stdexcept>

static constexpr int kOwnDefault = -1;             // a length that the engine chooses
static constexpr double kStrengthThreshold = 2.0;  // m/s², as after initialisation
static constexpr double kActiveShare = 0.1;  // of the mean squared speed, as the engine's
static constexpr double kInsideShare = 0.5;  // of motion and span: the motion is its own

// An engine that cuts and measures as with a model of ours, but recognises nothing.
static std::unique_ptr<AgGes> make_engine(int rate) {
  std::string folder = (std::filesystem::temp_directory_path() / "wgr-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    throw std::runtime_error(folder + ": a temporary folder cannot be made");
  }
  Gmodel empty;
  empty.normalize = 1;
  empty.havegravity = 1;
  const std::string path = folder + "/empty";
  const bool written = empty.write(path.c_str());
  std::unique_ptr<AgGes> engine;
  if (written) {
    engine = std::make_unique<AgGes>(path.c_str(), kAccAndGyro, rate,
                                     Point3Df{0.0, 0.0, 0.0}, kOwnDefault, kOwnDefault,
                                     kOwnDefault, kStrengthThreshold);
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  if (!written) throw std::runtime_error(path + ": cannot be written");
  return engine;
}

Cutter::Cutter(int rate) : engine_(make_engine(rate)) {}
Cutter::~Cutter() = default;

void Cutter::clear_histories() {
  engine_->acc_history.clear();
  engine_->gyro_history.clear();
  engine_->static_history.clear();
}

void Cutter::restart() {
  clear_histories();
  engine_->motion_acc.clear();
  engine_->motion_gyro.clear();
  seen_.clear();
}

static bool has_nan(const Point3Df& p) { return !(squared_length(p) >= 0.0); }

// Whether the motion's first step, rather than its last, is too fast. The engine only
// tells that one of them is.
bool Cutter::starts_fast(size_t first, size_t count) {
  for (size_t i = first; i < first + count; ++i) {
    engine_->motion_acc.push_back(seen_[i].acc);
    engine_->motion_gyro.push_back(seen_[i].gyro);
  }
  engine_->acc_correct();
  engine_->motion_acc.clear();
  engine_->motion_gyro.clear();

  const Points& acc = engine_->trace;
  std::vector<double> speeds;
  Point3Df v = {0.0, 0.0, 0.0};
  double sum = 0.0;
  for (size_t i = 0; i + 1 < acc.size(); ++i) {
    v = v + 0.5 * (acc[i] + acc[i + 1]);
    speeds.push_back(squared_length(v));
    sum += speeds.back();
  }
  if (speeds.empty()) return true;
  return speeds.front() >= sum / static_cast<double>(speeds.size()) * kActiveShare;
}

Verdict Cutter::judge(size_t first, size_t count) {
  const AgGes& engine = *engine_;
  const long long least = engine.min_motion_len;
  if (static_cast<long long>(count) < least) return Verdict::kTooShort;
  if (has_nan(engine.gravity)) return Verdict::kNotANumber;
  if (engine.trace.empty()) {
    const size_t margin = static_cast<size_t>(engine.static_window / 2);
    return starts_fast(first, count - margin) ? Verdict::kStartsFast : Verdict::kEndsFast;
  }
  if (static_cast<long long>(engine.trace.size()) < least) return Verdict::kTooShort;
  if (engine.motion_strength < engine.strength_threshold) return Verdict::kTooWeak;
  return Verdict::kKept;
}

bool Cutter::feed(const RecordedSample& sample, Motion& motion) {
  const size_t collected = engine_->motion_acc.size();
  engine_->update(sample.acc, sample.gyro);
  seen_.push_back(sample);
  if (collected == 0 || !engine_->motion_acc.empty()) return false;

  const size_t first = seen_.size() - 1 - collected;
  motion.begin = seen_[first].t;
  motion.end = seen_[seen_.size() - 2].t;
  motion.label = kBackground;
  motion.trace.clear();
  // Lengths that are tested against what the engine has just made of the motion.
  motion.verdict = judge(first, collected);
  if (motion.verdict == Verdict::kKept) {
    motion.trace = engine_->trace;
    motion.trace.push_back(engine_->gravity);
    // On the watch such a motion is reported, and all histories start afresh.
    clear_histories();
  }
  return true;
}

void label_motion(const std::vector<LabelledSpan>& spans, Motion& motion) {
  if (motion.verdict != Verdict::kKept) return;
  int inside = 0;
  int touched = 0;
  for (const LabelledSpan& span : spans) {
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

std::vector<Motion> cut_recording(const std::vector<RecordedSample>& samples,
                                  const std::vector<LabelledSpan>& spans,
                                  Cutter& cutter) {
  cutter.restart();
  std::vector<Motion> motions;
  Motion motion;
  for (const RecordedSample& sample : samples) {
    if (!cutter.feed(sample, motion)) continue;
    label_motion(spans, motion);
    motions.push_back(motion);
  }
  return motions;
}
