#include "shadow_context.h"

#include <exception>

#include "harness.h"
#include "support/reference_recognition.h"
#include "support/same_bits.h"

using namespace wgr;

ShadowContext::ShadowContext() : hand_{50, {{10, 0.0, 12.0, 400.0}}, {}, {}} {
  load(kDefaultModel);
  intake_.recognise = [this](reference::Intake& intake) {
    reference::run(intake, *classifier_, strength_threshold_);
  };
}

// A file that is missing, or whose counts make no sense, leaves the empty model.
void ShadowContext::load(int index) {
  classifier_ = std::make_unique<HGR>(0);
  try {
    classifier_->model->read(c_GmodelPath[index]);
  } catch (const std::exception&) {
    classifier_ = std::make_unique<HGR>(0);
  }
}

void ShadowContext::init(int sample_rate, Point3Df gyro_bias, int min_motion_len,
                         int history_len, int static_window, int hand_window_len) {
  intake_.init(2, sample_rate, gyro_bias, min_motion_len, history_len, static_window);
  strength_threshold_ = 2.0;
  hand_.window_len = hand_window_len;
}

void ShadowContext::init_engine(int mode, int sample_rate, int min_motion_len,
                                int history_len, int static_window,
                                double strength_threshold) {
  intake_.init(mode, sample_rate, {0, 0, 0}, min_motion_len, history_len, static_window);
  strength_threshold_ = strength_threshold;
}

void ShadowContext::set_sensitivity(int level) {
  const long long rate = intake_.sample_rate;
  const long long length = -static_cast<long long>(level);
  if (length > 0 && length < rate) {
    intake_.min_motion_len = static_cast<int>(length);
    strength_threshold_ = static_cast<double>(length) / static_cast<double>(rate) * 6.0;
    return;
  }
  intake_.min_motion_len = static_cast<int>(rate / 2);
  strength_threshold_ = 3.0;
  if (level == 1) {
    intake_.min_motion_len = static_cast<int>(static_cast<double>(rate) / 3.5);
    strength_threshold_ = 2.0;
  }
  if (level == 2) strength_threshold_ = 2.5;
  if (level == 3) strength_threshold_ = 4.0;
}

int ShadowContext::set_model(int wearer, int mode) {
  const bool valid =
      (wearer == 0 || wearer == 1) && (mode == 0 || mode == 1 || mode == 2);
  if (!valid) return 1;
  load(3 * wearer + mode);
  return 0;
}

int ShadowContext::update_hand(Point3Df acc) {
  const int verdict = hand_.update(acc);
  return verdict == 0 || verdict == 1 ? verdict : 2;
}

int ShadowContext::update(Point3Df acc, Point3Df gyro) {
  intake_.update(acc, gyro);
  if (intake_.gesture_class == 13) return 5;
  return intake_.gesture_class == 14 ? 6 : intake_.gesture_class;
}

void ShadowContext::reported() {
  intake_.gesture_class = 14;
  intake_.motion_acc.clear();
  intake_.motion_gyro.clear();
  intake_.last_motion_acc.clear();
  intake_.trace.clear();
  intake_.trace_velocity.clear();
  intake_.trace_position.clear();
  intake_.acc_history.clear();
  intake_.gyro_history.clear();
  intake_.static_history.clear();
}

int ShadowContext::movement_status() const {
  return intake_.static_history.empty() || intake_.static_history.back() ? 1 : 0;
}

void ShadowContext::require_same(const WgrContext& context) const {
  const AgGes& engine = *context.ages;
  require(engine.work_mode == intake_.work_mode, "the mode is the same");
  require(engine.sample_rate == intake_.sample_rate, "the rate is the same");
  require(engine.static_window == intake_.static_window, "the window is the same");
  require(engine.min_motion_len == intake_.min_motion_len,
          "the least length is the same");
  require(engine.history_len == intake_.history_len, "the history's length is the same");
  require(same_bits(engine.strength_threshold, strength_threshold_),
          "the threshold is the same");
  require(same_bits(engine.gyro_bias, intake_.gyro_bias), "the bias is the same");
  require(engine.gesture_class == intake_.gesture_class, "the class is the same");
  require(same_bits(engine.gravity, intake_.gravity), "gravity is the same");
  require(same_bits(engine.motion_acc, intake_.motion_acc) &&
              same_bits(engine.motion_gyro, intake_.motion_gyro) &&
              same_bits(engine.last_motion_acc, intake_.last_motion_acc),
          "the motion is the same");
  require(same_bits(engine.trace, intake_.trace) &&
              same_bits(engine.trace_velocity, intake_.trace_velocity) &&
              same_bits(engine.trace_position, intake_.trace_position),
          "the trace is the same");
  require(same_bits(engine.acc_history, intake_.acc_history) &&
              same_bits(engine.gyro_history, intake_.gyro_history),
          "the histories are the same");
  require(engine.static_history == intake_.static_history, "the rest flags are the same");
  require(same_bits(context.whd->acc_buf, hand_.acc),
          "the detector's samples are the same");
  require(context.whd->window_len == hand_.window_len,
          "the detector's window is the same");
}
