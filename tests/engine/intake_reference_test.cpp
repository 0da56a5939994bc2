// The intakes against their reference implementations, field by field after every sample.
#include <gtest/gtest.h>

#include <string>

#include "support/cases.h"
#include "support/quiet_engine.h"
#include "support/random_points.h"
#include "support/reference_intake.h"
#include "support/reference_recognition.h"
#include "support/same_bits.h"

using namespace wgr;

namespace {

// An engine and its reference implementation with the same model, fed the same samples.
class Twins {
 public:
  explicit Twins(RandomPoints& random) : random_(random), classifier_(0) {
    // Strong motions are accepted, rejected or too weak, all of them often.
    Gmodel model = small_model(3, random.integer(0, 1) == 0 ? -30.0 : -1e9,
                               random.integer(0, 1), random.integer(0, 1));
    *classifier_.model = model;
    engine_ = quiet_engine(1, Gmodel());
    *engine_->hgr->model = model;
    reference_.recognise = [this](reference::Intake& intake) {
      reference::run(intake, classifier_, engine_->strength_threshold);
    };
  }

  void init(int mode, int static_window) {
    const int lengths[] = {-1, 1, 2, 3, 5, 8, 12, 20, 25, 40};
    const int histories[] = {-1, 1, 2, 5, 10, 12, 13, 30, 60, 250};
    const int min_len = lengths[random_.integer(0, 9)];
    const int history = histories[random_.integer(0, 9)];
    const int rate = random_.integer(0, 4) == 0 ? random_.integer(0, 30) : 50;
    const Point3Df bias = {0.5, -0.25, random_.gaussian()};
    engine_->init(mode, rate, bias, min_len, history, static_window,
                  random_.integer(0, 3) * 2.0);
    reference_.init(mode, rate, bias, min_len, history, static_window);
    if (static_window < 1) {
      // Windows that only a low rate or a direct write can bring about.
      engine_->static_window = reference_.static_window = static_window;
    }
    if (random_.integer(0, 9) == 0) {
      engine_->min_motion_len = reference_.min_motion_len = random_.integer(-2, 0);
    }
  }

  void feed(const Pair& pair, bool both) {
    if (both) {
      engine_->update(pair.acc, pair.gyro);
      reference_.update(pair.acc, pair.gyro);
    } else {
      engine_->update(pair.acc);
      reference_.update(pair.acc);
    }
  }

  void clear_buf() {
    engine_->clear_buf();
    reference_.clear_buf();
  }

  // Names of the fields that differ.
  std::string difference() const {
    std::string names;
#define WGR_COMPARE(field) \
  if (!same_bits(engine_->field, reference_.field)) names += #field " "
    WGR_COMPARE(motion_acc);
    WGR_COMPARE(motion_gyro);
    WGR_COMPARE(last_motion_acc);
    WGR_COMPARE(acc_history);
    WGR_COMPARE(gyro_history);
    WGR_COMPARE(trace);
    WGR_COMPARE(trace_velocity);
    WGR_COMPARE(trace_position);
    WGR_COMPARE(gravity);
    WGR_COMPARE(motion_strength);
    WGR_COMPARE(recog_cost_time);
#undef WGR_COMPARE
    if (engine_->static_history != reference_.static_history) names += "static_history ";
    if (engine_->gesture_class != reference_.gesture_class) names += "gesture_class ";
    if (engine_->min_motion_len != reference_.min_motion_len) names += "min_motion_len ";
    if (engine_->history_len != reference_.history_len) names += "history_len ";
    if (engine_->static_window != reference_.static_window) names += "static_window ";
    return names;
  }

  const reference::Intake& reference() const { return reference_; }

 private:
  RandomPoints& random_;
  HGR classifier_;
  std::unique_ptr<AgGes> engine_;
  reference::Intake reference_;
};

struct Seen {
  int recognitions = 0;
  int refused = 0;
  int named = 0;
  int rejected = 0;
};

constexpr int kLeastWindow = -3;
constexpr int kMostWindow = 12;

}  // namespace

// What the samples of one stream are given to.
enum class Feeding { kBothSensors, kAccelerometer, kMixed };

static Seen compare_on_streams(std::uint64_t seed, Feeding feeding, int rounds) {
  RandomPoints random(seed);
  Seen seen;
  Capture mismatches;
  for (int round = 0; round < rounds; ++round) {
    const auto mode = [&] {
      if (random.integer(0, 19) == 0) return random.integer(0, 4);
      return feeding == Feeding::kBothSensors     ? 2
             : feeding == Feeding::kAccelerometer ? 1
                                                  : 4 * random.integer(0, 1);
    };
    for (int window = kLeastWindow; window <= kMostWindow; ++window) {
      Twins twins(random);
      twins.init(mode(), window);
      const bool wild = random.integer(0, 3) == 0;
      int sample = 0;
      for (const Pair& pair : random_stream(random, 350, wild)) {
        if (random.integer(0, 149) == 0) {
          twins.init(mode(), random.integer(0, 1) == 0
                                 ? window
                                 : random.integer(kLeastWindow, kMostWindow));
        }
        const bool both = feeding == Feeding::kBothSensors ||
                          (feeding == Feeding::kMixed && random.integer(0, 2) != 0);
        twins.feed(pair, both);
        if (feeding == Feeding::kMixed && random.integer(0, 99) == 0) twins.clear_buf();
        const std::string difference = twins.difference();
        EXPECT_EQ(difference, "")
            << "round " << round << ", window " << window << ", sample " << sample;
        if (!difference.empty()) return seen;
        const int gesture = twins.reference().gesture_class;
        seen.named += gesture == 3;
        seen.rejected += gesture == 13;
        ++sample;
      }
      seen.recognitions += twins.reference().recognitions;
      seen.refused += twins.reference().refused;
    }
  }
  return seen;
}

TEST(IntakeLiteral, TwoSensorsAgreeInEveryFieldAfterEverySample) {
  const Seen seen = compare_on_streams(2301, Feeding::kBothSensors, affordable(25));
  EXPECT_GT(seen.recognitions, affordable(1000));
  EXPECT_GT(seen.refused, affordable(100));
  EXPECT_GT(seen.named, affordable(100));
  EXPECT_GT(seen.rejected, affordable(100));
}

TEST(IntakeLiteral, TheAccelerometerAloneAgreesInEveryFieldAfterEverySample) {
  const Seen seen = compare_on_streams(2401, Feeding::kAccelerometer, affordable(25));
  EXPECT_GT(seen.recognitions, affordable(1000));
  EXPECT_GT(seen.refused, affordable(100));
  EXPECT_GT(seen.named, affordable(100));
}

TEST(IntakeLiteral, OneEngineFedThroughBothIntakesAgreesToo) {
  const Seen seen = compare_on_streams(2402, Feeding::kMixed, affordable(25));
  EXPECT_GT(seen.recognitions, affordable(500));
}
