#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/quiet_engine.h"
#include "support/reference_reconstruction.h"
#include "support/reference_rotation.h"
#include "support/same_bits.h"
#include "support/text.h"

using namespace wgr;

static constexpr double kAcceptAll = -1e9;  // a threshold that nothing falls below
static constexpr double kRejectAll = 0.0;   // no similarity is above zero

static size_t predictions() { return count_of(read_log(), "predict 336: "); }

// Puts the samples of a stream into the engine as a motion that was just closed.
static void set_motion(AgGes& engine, const Stream& stream) {
  engine.motion_acc.clear();
  engine.motion_gyro.clear();
  for (const Pair& pair : stream) {
    engine.motion_acc.push_back(pair.acc);
    engine.motion_gyro.push_back(pair.gyro);
  }
}

// A motion with a rest of four samples before it; its active stretch has `kept` points.
static Stream motion_that_keeps(size_t kept) {
  for (int half = 2; half < 40; ++half) {
    const Stream stream = rest(4) + gesture(half, 6.0);
    Samples acc, gyro;
    for (const Pair& pair : stream) {
      acc.push_back(pair.acc);
      gyro.push_back(pair.gyro);
    }
    for (int cut = 0; cut < 2; ++cut) {
      Points trace, velocity, position;
      Point3Df gravity;
      reference::correct(2, 50, acc, gyro, trace, gravity);
      reference::reconstruct(50, trace, velocity, position);
      if (trace.size() == kept) {
        Stream found;
        for (size_t i = 0; i < acc.size(); ++i) found.push_back({acc[i], gyro[i]});
        return found;
      }
      // One sample less at the full push makes the stretch one shorter.
      acc.erase(acc.begin() + 4);
      gyro.erase(gyro.begin() + 4);
    }
  }
  ADD_FAILURE() << "no motion keeps " << kept << " points";
  return {};
}

TEST(RunWithBothSensors, ATraceOfOnePointTooFewIsNoGestureAndNotCompared) {
  const auto engine = quiet_engine();
  set_motion(*engine, motion_that_keeps(24));
  engine->gesture_class = 3;
  engine->motion_strength = 7.5;
  const size_t before = predictions();
  engine->run();
  ASSERT_EQ(engine->trace.size(), 24u);
  ASSERT_EQ(engine->min_motion_len, 25);
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_EQ(engine->motion_strength, 7.5);
  EXPECT_EQ(predictions(), before);
}

TEST(RunWithBothSensors, ATraceOfTheLeastLengthIsCompared) {
  const auto engine = quiet_engine();
  set_motion(*engine, motion_that_keeps(25));
  const size_t before = predictions();
  engine->run();
  ASSERT_EQ(engine->trace.size(), 25u);
  EXPECT_EQ(engine->gesture_class, 3);
  EXPECT_EQ(predictions(), before + 1);
}

// The root mean square over 26 points, as a model without gravity points counts them.
TEST(RunWithBothSensors, TheClassifierGetsGravityAsTheLastPoint) {
  const auto engine = quiet_engine(2, small_model(3, kAcceptAll, 0, 0));
  set_motion(*engine, motion_that_keeps(25));
  engine->run();
  ASSERT_EQ(engine->trace.size(), 25u);
  double sum = 0.0;
  for (const Point3Df& p : engine->trace) sum += squared_length(p);
  sum += squared_length(engine->gravity);
  EXPECT_DOUBLE_EQ(engine->motion_strength, std::sqrt(sum / 26.0));
}

TEST(RunWithBothSensors, TheGravityPointIsNoMotionToAModelWithGravity) {
  const auto engine = quiet_engine(2, small_model(3, kAcceptAll, 0, 1));
  set_motion(*engine, motion_that_keeps(25));
  engine->run();
  double sum = 0.0;
  for (const Point3Df& p : engine->trace) sum += squared_length(p);
  EXPECT_DOUBLE_EQ(engine->motion_strength, std::sqrt(sum / 25.0));
}

// What reconstruction left stays, also when the classifier scales what it is given.
TEST(RunWithBothSensors, TheTraceIsNeitherScaledNorExtended) {
  const auto engine = quiet_engine(2, small_model(3, kAcceptAll, 1, 1));
  const Stream stream = motion_that_keeps(25);
  set_motion(*engine, stream);
  Points expected, velocity, position;
  Point3Df gravity;
  reference::correct(2, 50, engine->motion_acc, engine->motion_gyro, expected, gravity);
  reference::reconstruct(50, expected, velocity, position);
  engine->run();
  EXPECT_TRUE(same_bits(engine->trace, expected));
  EXPECT_TRUE(same_bits(engine->gravity, gravity));
}

TEST(RunWithBothSensors, AStrengthOfExactlyTheThresholdIsAccepted) {
  const auto engine = quiet_engine();
  const Stream stream = motion_that_keeps(25);
  set_motion(*engine, stream);
  engine->run();
  const double strength = engine->motion_strength;
  ASSERT_GT(strength, 2.0);

  engine->strength_threshold = strength;
  engine->run();
  EXPECT_EQ(engine->gesture_class, 3);
  EXPECT_EQ(engine->motion_strength, strength);

  engine->strength_threshold = std::nextafter(strength, 1e9);
  engine->run();
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_EQ(engine->motion_strength, strength);
}

TEST(RunWithBothSensors, AStrongMotionThatTheClassifierRejectsIsClass13) {
  const auto engine = quiet_engine(2, small_model(3, kRejectAll));
  set_motion(*engine, motion_that_keeps(25));
  engine->run();
  EXPECT_EQ(engine->gesture_class, 13);
}

TEST(RunWithBothSensors, AWeakMotionIs14EvenWhenTheClassifierRejectsIt) {
  const auto engine = quiet_engine(2, small_model(3, kRejectAll));
  set_motion(*engine, motion_that_keeps(25));
  engine->strength_threshold = 1e6;
  engine->run();
  EXPECT_EQ(engine->gesture_class, 14);
}

TEST(RunWithBothSensors, ALabelThatTheClassListLacksIsNotRejected) {
  Gmodel model = small_model(3, kRejectAll);
  model.class_labels = {8};
  const auto engine = quiet_engine(2, model);
  set_motion(*engine, motion_that_keeps(25));
  engine->run();
  EXPECT_EQ(engine->gesture_class, 3);
}

TEST(RunWithBothSensors, AThresholdOfZeroOrMoreRejectsEvenAPerfectMatch) {
  const Stream stream = motion_that_keeps(25);
  const auto first = quiet_engine();
  set_motion(*first, stream);
  first->run();

  for (const double threshold : {0.0, 0.5, -1e-300}) {
    const auto engine = quiet_engine();
    engine->hgr->model->class_thresholds = {threshold};
    engine->hgr->model->templates[0].second = first->trace;
    engine->hgr->model->templates[0].second.push_back(first->gravity);
    set_motion(*engine, stream);
    engine->run();
    EXPECT_EQ(engine->gesture_class, threshold >= 0.0 ? 13 : 3) << threshold;
  }
}

TEST(RunWithBothSensors, AnEmptyMotionIsNoGestureAndLeavesTheReconstructionAlone) {
  const auto engine = quiet_engine();
  engine->gesture_class = 3;
  engine->trace_velocity.assign(2, {1, 1, 1});
  engine->trace.assign(2, {1, 1, 1});
  const size_t before = predictions();
  engine->run();
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_TRUE(engine->trace.empty());
  EXPECT_EQ(engine->trace_velocity.size(), 2u);
  EXPECT_EQ(predictions(), before);
}

TEST(RunWithBothSensors, ATraceCutToNothingIsNoGestureWhateverTheLeastLength) {
  for (const int least : {1, 0, -5}) {
    for (const int samples : {1, 2}) {  // never outlast the cut
      const auto engine = quiet_engine();
      engine->min_motion_len = least;
      engine->strength_threshold = -1.0;
      engine->gesture_class = 3;
      set_motion(*engine, rest(samples));
      const size_t before = predictions();
      engine->run();
      EXPECT_EQ(engine->gesture_class, 14) << least << ", " << samples;
      EXPECT_EQ(predictions(), before) << least << ", " << samples;
    }
  }
}

TEST(RunWithBothSensors, AFirstRateOfExactlyZeroMakesTheMotionNoGesture) {
  const auto engine = quiet_engine();
  Stream stream = motion_that_keeps(25);
  stream[0].gyro = {0, 0, 0};
  set_motion(*engine, stream);
  engine->gesture_class = 3;
  engine->run();
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_TRUE(engine->trace.empty());
  EXPECT_TRUE(std::isnan(engine->gravity.x));
}

TEST(RunWithBothSensors, AModelWithoutTemplatesFindsNoGesture) {
  const auto engine = quiet_engine(2, Gmodel());
  set_motion(*engine, motion_that_keeps(25));
  engine->gesture_class = 3;
  engine->run();
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_GT(engine->motion_strength, 2.0);
}

TEST(RunWithTheAccelerometer, TheLabelIsTakenAsItIs) {
  const auto engine = quiet_engine(1, small_model(3, kRejectAll, 0, 0));
  engine->motion_strength = 7.5;
  engine->strength_threshold = 1e6;
  engine->trace_velocity.assign(2, {1, 1, 1});
  set_motion(*engine, rest(25));
  engine->run();
  EXPECT_EQ(engine->gesture_class, 3);
  EXPECT_EQ(engine->motion_strength, 7.5);
  EXPECT_EQ(engine->trace_velocity.size(), 2u);
}

// Against a template that is the motion itself the score is 0 only if no gravity point
// was added: a trace one longer, by a point far away, scores less than the other one.
TEST(RunWithTheAccelerometer, TheClassifierGetsTheMotionWithoutAGravityPoint) {
  Gmodel model;
  model.nTemplate = 2;
  model.templates = {{8, Points(26, Point3Df{0, 0, 10.0})},
                     {3, Points(25, Point3Df{0, 0, 10.0})}};
  model.templates[0].second.back() = {0, 0, 0};
  const auto engine = quiet_engine(1, model);
  set_motion(*engine, rest(25));
  engine->run();
  EXPECT_EQ(engine->gesture_class, 3);
  EXPECT_EQ(engine->trace.size(), 25u);
}

TEST(RunWithTheAccelerometer, OnePointTooFewIsNoGesture) {
  const auto engine = quiet_engine(1);
  engine->gesture_class = 3;
  set_motion(*engine, rest(24));
  const size_t before = predictions();
  engine->run();
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_EQ(predictions(), before);
}

TEST(RunWithTheAccelerometer, AnEmptyMotionIsNoGestureWhateverTheLeastLength) {
  const auto engine = quiet_engine(1);
  engine->min_motion_len = 0;
  engine->gesture_class = 3;
  const size_t before = predictions();
  engine->run();
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_EQ(predictions(), before);
}

TEST(RunWithTheAccelerometer, ANormalisingModelLeavesTheTraceScaled) {
  const auto engine = quiet_engine(1, small_model(3, kAcceptAll, 1, 0));
  set_motion(*engine, rest(25));
  engine->run();
  ASSERT_EQ(engine->trace.size(), 25u);
  for (const Point3Df& p : engine->trace) EXPECT_DOUBLE_EQ(p.z, 1.0);
}

TEST(RunInOtherModes, OnlyCorrectsTheMotionAndKeepsTheClass) {
  for (const int mode : {0, 3, 4, -1}) {
    const auto engine = quiet_engine(mode);
    engine->gesture_class = 9;
    engine->motion_strength = 7.5;
    set_motion(*engine, motion_that_keeps(25));
    const size_t before = predictions();
    engine->run();
    EXPECT_EQ(engine->gesture_class, 9) << mode;
    EXPECT_EQ(engine->motion_strength, 7.5) << mode;
    EXPECT_EQ(engine->trace.size(), engine->motion_acc.size()) << mode;
    EXPECT_NE(engine->gravity.z, 0.0) << mode;
    EXPECT_EQ(predictions(), before) << mode;
  }
}
