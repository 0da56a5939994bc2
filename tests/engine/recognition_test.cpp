#include "engine/recognition.h"

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

// ---- how a recognition ends ----------------------------------------------------------

// Recognises a stream's samples by themselves, without an engine.
class Endings : public ::testing::Test {
 protected:
  RecognitionResult result_of(const Stream& stream) {
    HGR classifier(0);
    *classifier.model = model_;
    Samples acc, gyro;
    for (const Pair& pair : stream) {
      acc.push_back(pair.acc);
      gyro.push_back(pair.gyro);
    }
    made_ = Recognition();
    intermediates_ = Intermediates();
    recognise(acc, gyro, parameters_, classifier, made_, &intermediates_);
    return made_.result;
  }

  // The ending of a motion that is long, whole and strong enough, `expected`, and its
  // class.
  void expect_ending(Ending expected, int gesture_class) {
    const RecognitionResult result = result_of(motion_that_keeps(25));
    EXPECT_EQ(result.ending, expected);
    EXPECT_EQ(result.gesture_class, gesture_class);
    EXPECT_TRUE(result.compared());
    EXPECT_EQ(result.duration_ms, 500.0);
    EXPECT_GT(result.strength, 2.0);
  }

  RecognitionParameters parameters_ = {kAccAndGyro, 50, 25, 2.0};
  Gmodel model_ = small_model(3, kAcceptAll);
  Recognition made_;
  Intermediates intermediates_;
};

TEST_F(Endings, AMotionIsRecognised) {
  expect_ending(Ending::kRecognised, 3);
  EXPECT_EQ(made_.result.label, 3);
  EXPECT_EQ(made_.result.threshold, kAcceptAll);
  EXPECT_TRUE(made_.result.scored());
  EXPECT_EQ(made_.trace.size(), 25u);
  EXPECT_EQ(made_.velocity.size(), 25u);
  EXPECT_EQ(made_.position.size(), 25u);
}

TEST_F(Endings, AScoreBelowItsThresholdIsNotAccepted) {
  model_ = small_model(3, kRejectAll);
  expect_ending(Ending::kBelowThreshold, 13);
  EXPECT_EQ(made_.result.label, 3);
  EXPECT_EQ(made_.result.threshold, kRejectAll);
}

TEST_F(Endings, ALabelWithoutAThresholdHasNone) {
  model_.class_labels = {8};
  expect_ending(Ending::kRecognised, 3);
  EXPECT_EQ(made_.result.threshold, std::nullopt);
}

TEST_F(Endings, SixAndFourteenAreNeverReported) {
  for (const int label : {6, 14}) {
    model_ = small_model(label, kAcceptAll);
    expect_ending(Ending::kNeverReported, label);
  }
  model_ = small_model(6, kRejectAll);
  expect_ending(Ending::kBelowThreshold, 13);
  EXPECT_TRUE(made_.result.reasons.has(Ending::kNeverReported));
}

TEST_F(Endings, AnEmptyModelHasNoTemplates) {
  model_ = Gmodel();
  expect_ending(Ending::kNoTemplates, 14);
  EXPECT_FALSE(made_.result.scored());
  // Templates that the model does not count are none.
  model_ = small_model(3, kAcceptAll);
  model_.nTemplate = -1;
  expect_ending(Ending::kNoTemplates, 14);
}

TEST_F(Endings, TemplatesWithoutPointsGiveNoScore) {
  model_.templates[0].second.clear();
  expect_ending(Ending::kNoScore, 14);
  EXPECT_FALSE(made_.result.scored());
  EXPECT_EQ(made_.result.threshold, std::nullopt);
}

TEST_F(Endings, AWeakMotionIsTooWeakWhateverElse) {
  parameters_.strength_threshold = 1e6;
  expect_ending(Ending::kTooWeak, 14);
  EXPECT_FALSE(made_.result.reasons.has(Ending::kBelowThreshold));
  model_ = small_model(3, kRejectAll);
  expect_ending(Ending::kTooWeak, 14);
  EXPECT_TRUE(made_.result.reasons.has(Ending::kBelowThreshold));
  EXPECT_EQ(made_.result.label, 3);
}

TEST_F(Endings, AStretchOfOnePointTooFewIsTooShort) {
  const RecognitionResult result = result_of(motion_that_keeps(24));
  EXPECT_EQ(result.ending, Ending::kStretchTooShort);
  EXPECT_EQ(result.gesture_class, 14);
  EXPECT_FALSE(result.compared());
  EXPECT_EQ(result.fast.active.end - result.fast.active.begin, 24u);
}

// A push and its stop along x, two samples each, `before` samples into thirty.
static Stream short_push(size_t before) {
  Stream stream = rest(30);
  for (size_t i = 0; i < 4; ++i) stream[before + i].acc.x = i < 2 ? 6.0 : -6.0;
  return stream;
}

// The first step's speed is half the sum of two accelerations times 0.02 s. As their sum
// over the motion is zero, the last step's is that of the first and the last of them.
// What is fast: more than 0.1 of a mean of 0.0025 (m/s)².
TEST_F(Endings, AMotionSegmentedInItsMiddleStartsOrEndsFast) {
  const struct {
    size_t before;
    bool starts_fast, ends_fast;
    Ending ending;
  } cases[] = {
      {0, true, true, Ending::kStartsFast},   // 0.12 and 0.06 m/s
      {1, true, false, Ending::kStartsFast},  // 0.06 and 0
      {26, false, true, Ending::kEndsFast},   // 0 and 0.06
      {10, false, false, Ending::kStretchTooShort},
  };
  for (const auto& c : cases) {
    const RecognitionResult result = result_of(short_push(c.before));
    EXPECT_EQ(result.ending, c.ending) << c.before;
    EXPECT_EQ(result.fast.starts_fast, c.starts_fast) << c.before;
    EXPECT_EQ(result.fast.ends_fast, c.ends_fast) << c.before;
    EXPECT_EQ(result.reasons.has(Ending::kEndsFast), c.ends_fast) << c.before;
    EXPECT_EQ(made_.trace.empty(), c.starts_fast || c.ends_fast) << c.before;
    EXPECT_EQ(result.gesture_class, 14) << c.before;
  }
}

TEST_F(Endings, AFirstRateOfExactlyZeroIsNotANumberAndNothingElse) {
  Stream stream = motion_that_keeps(25);
  stream[0].gyro = {0, 0, 0};
  const RecognitionResult result = result_of(stream);
  EXPECT_EQ(result.ending, Ending::kNotANumber);
  EXPECT_EQ(result.gesture_class, 14);
  EXPECT_TRUE(result.fast.starts_fast);
  EXPECT_FALSE(result.reasons.has(Ending::kStartsFast));
}

TEST_F(Endings, NoSampleAtAllIsTooShort) {
  for (const int mode : {kAccOnly, kAccAndGyro}) {
    parameters_.work_mode = mode;
    EXPECT_EQ(result_of({}).ending, Ending::kTooShort) << mode;
    EXPECT_EQ(made_.result.gesture_class, 14) << mode;
  }
}

TEST_F(Endings, OtherModesOnlyCorrect) {
  parameters_.work_mode = 3;
  const RecognitionResult result = result_of(rest(30));
  EXPECT_EQ(result.ending, Ending::kCorrectedOnly);
  EXPECT_EQ(result.duration_ms, 600.0);
  EXPECT_FALSE(result.compared());
}

TEST_F(Endings, TheAccelerometerAloneKnowsNeitherStrengthNorRejection) {
  parameters_ = {kAccOnly, 50, 25, 1e6};
  model_ = small_model(3, kRejectAll, 0, 0);
  EXPECT_EQ(result_of(rest(25)).ending, Ending::kRecognised);
  EXPECT_EQ(made_.result.gesture_class, 3);
  EXPECT_EQ(made_.result.strength, 0.0);
  EXPECT_EQ(result_of(rest(24)).ending, Ending::kStretchTooShort);
  model_ = small_model(6, kRejectAll, 0, 0);
  EXPECT_EQ(result_of(rest(25)).ending, Ending::kNeverReported);
  EXPECT_EQ(made_.result.gesture_class, 6);
}

// ---- what is only kept when asked for ------------------------------------------------

TEST_F(Endings, TheIntermediatesAreThoseOfTheResult) {
  model_ = small_model(3, kAcceptAll, 1, 1);
  model_.templates.push_back(model_.templates[0]);
  model_.templates.back().second.clear();
  model_.nTemplate = 2;
  const Stream stream = motion_that_keeps(25);
  const RecognitionResult result = result_of(stream);
  EXPECT_EQ(intermediates_.corrected.size(), stream.size());
  ASSERT_EQ(intermediates_.squared_speed.size(), stream.size() - 1);
  EXPECT_LT(intermediates_.squared_speed.front(), result.fast.fast_from);
  EXPECT_GE(intermediates_.squared_speed[result.fast.active.begin],
            result.fast.fast_from);
  ASSERT_EQ(intermediates_.compared.size(), 26u);
  EXPECT_TRUE(same_bits(intermediates_.compared.back(), made_.gravity));
  EXPECT_FALSE(same_bits(intermediates_.compared.front(), made_.trace.front()));
  ASSERT_EQ(intermediates_.scores.size(), 2u);
  EXPECT_TRUE(same_bits(static_cast<double>(intermediates_.scores[0]), result.score));
  EXPECT_TRUE(std::isinf(intermediates_.scores[1]));
}

TEST(TheEngine, GivesItsIntermediatesOnlyToThoseWhoAsk) {
  const auto engine = quiet_engine();
  EXPECT_EQ(engine->intermediates, nullptr);
  Intermediates intermediates;
  engine->intermediates = &intermediates;
  set_motion(*engine, motion_that_keeps(25));
  engine->run();
  EXPECT_EQ(intermediates.scores.size(), 1u);
  EXPECT_EQ(intermediates.compared.size(), 26u);
}

TEST(TheEngine, KeepsTheResultOfItsLastMotion) {
  const auto engine = quiet_engine();
  feed(*engine, rest(12) + gesture(20, 6.0));
  EXPECT_EQ(engine->result.ending, Ending::kRecognised);
  EXPECT_EQ(engine->result.gesture_class, engine->gesture_class);
  EXPECT_EQ(engine->result.strength, engine->motion_strength);
  EXPECT_EQ(engine->result.duration_ms, engine->recog_cost_time);
  // Too short to be run: nothing of the motion before is left.
  feed(*engine, rest(20) + motion(12) + rest(20));
  EXPECT_EQ(engine->result.ending, Ending::kTooShort);
  EXPECT_FALSE(engine->result.scored());
  EXPECT_EQ(engine->gesture_class, 3);
}

TEST(TheEngine, KeepsTheResultFromTheAccelerometerAlone) {
  const auto engine = quiet_engine(1, small_model(3, kAcceptAll, 0, 0));
  feed_acc(*engine, rest(12) + motion(40) + rest(20));
  EXPECT_EQ(engine->result.ending, Ending::kRecognised);
  feed_acc(*engine, rest(20) + motion(12) + rest(20));
  EXPECT_EQ(engine->result.ending, Ending::kTooShort);
}
