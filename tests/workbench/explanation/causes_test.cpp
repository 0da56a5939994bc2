// For every cause a small recording that it decides, sample by sample, so that its edges
// are met exactly; recordings of whole wrists are in explain_synth_causes_test.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "base/errors.h"
#include "engine/orientation.h"
#include "explanation/expected.h"
#include "text/explanation_sentences.h"
#include "text/explanation_text.h"
#include "workbench/explanation/explain_support.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Causes : public ::testing::Test {
 protected:
  void SetUp() override { install_default_model(small_model(kClass, -1e6)); }

  // The one motion of the stream, with the sentence for its cause.
  static MotionExplanation only_motion(const Stream& stream,
                                       const HostRunOptions& options = HostRunOptions()) {
    const Explanation e = explained(stream, options);
    EXPECT_EQ(e.motions.size(), 1u);
    return e.motions.empty() ? MotionExplanation() : e.motions.front();
  }
  static std::string sentence(const Stream& stream,
                              const HostRunOptions& options = HostRunOptions()) {
    const Explanation e = explained(stream, options);
    return e.motions.empty() ? "" : sentence_for(e.motions.back(), e.settings);
  }
};

TEST_F(Causes, AGestureIsReported) {
  const Explanation e = explained(one_gesture());
  ASSERT_EQ(e.motions.size(), 1u);
  const MotionExplanation& m = e.motions[0];
  EXPECT_EQ(m.cause, Ending::kRecognised);
  EXPECT_EQ(m.reported, kClass);
  // Judged in motion from its first sample to the ninth resting one.
  EXPECT_EQ(m.preroll, 4u);
  EXPECT_EQ(m.collected, 4u + 40 + 9);
  EXPECT_EQ(m.trimmed, 5u);
  EXPECT_EQ(m.first, 46u);
  EXPECT_EQ(m.begin, 0.92);
  EXPECT_EQ(m.judged, 1.98);
  ASSERT_EQ(e.events.size(), 1u);
  EXPECT_THAT(sentence_for(m, e.settings), HasSubstr("Reported as class 3: template 1 of "
                                                     "class 3 scores"));
}

TEST_F(Causes, AScoreThatDoesNotExceedItsThresholdIsReportedAsFive) {
  install_default_model(small_model(kClass, 0.0));
  const MotionExplanation m = only_motion(one_gesture());
  EXPECT_EQ(m.cause, Ending::kBelowThreshold);
  EXPECT_EQ(m.engine_class, 13);
  EXPECT_EQ(m.reported, 5);
  ASSERT_EQ(m.scores.size(), 1u);
  EXPECT_EQ(m.scores[0].decision_margin(), static_cast<double>(m.scores[0].score));
  EXPECT_THAT(m.also, IsEmpty());
}

TEST_F(Causes, AMotionOfFewSamplesIsTooShort) {
  const MotionExplanation m = only_motion(rest(50) + motion(12) + rest(50));
  EXPECT_EQ(m.cause, Ending::kTooShort);
  EXPECT_EQ(m.collected, 16u);  // four of them pre-roll
  EXPECT_FALSE(m.ran);
  EXPECT_THAT(sentence(rest(50) + motion(12) + rest(50)),
              HasSubstr("Too short: 16 samples (0.32 s) with the pre-roll, the shortest "
                        "motion is 25."));
  // Twenty-one with the pre-roll make the shortest motion; it is looked at.
  EXPECT_EQ(only_motion(rest(50) + motion(20)).cause, Ending::kTooShort);
  EXPECT_NE(only_motion(rest(50) + motion(21)).cause, Ending::kTooShort);
}

TEST_F(Causes, ARateOfExactlyZeroLosesTheAttitude) {
  HostRunOptions options;
  options.gyro_bias = kRestPair.gyro;  // a sensor that rests at its very bias
  const MotionExplanation m = only_motion(one_gesture(), options);
  EXPECT_EQ(m.cause, Ending::kNotANumber);
  EXPECT_EQ(m.lost_at, 0u);
  EXPECT_TRUE(m.zero_rate);
  EXPECT_THAT(
      sentence(one_gesture(), options),
      HasSubstr("from sample 1 of 48 (46 samples into the recording) on: the rate "
                "is exactly zero there"));
}

TEST_F(Causes, TheSampleThatLosesTheAttitudeIsFound) {
  // A turn of one sample and the same turn back, in the pre-roll's second and third
  // sample, undo each other exactly.
  Stream stream = rest(47);
  stream.push_back({{0, 0, 10}, {0.0, 0.0, 0.5}});
  stream.push_back({{0, 0, 10}, {0.0, 0.0, -0.5}});
  stream[46].gyro = {0.0, 0.0, 0.25};
  stream.push_back({{0, 0, 10}, {0.0, 0.0, -0.25}});
  stream = stream + gesture(20, 6.0);
  const Explanation e = explained(stream);
  ASSERT_EQ(e.motions.size(), 1u);
  const MotionExplanation& m = e.motions[0];
  // Whether rounding brings the attitude back to none depends on the bits: the first
  // sample from which it is none is the one that must be named.
  Samples rates;
  size_t expected = m.kept();
  for (size_t i = 0; i < m.kept() && expected == m.kept(); ++i) {
    rates.push_back(stream[m.first + i].gyro);
    double attitude[9];
    mean_attitude_inverse(rates, kRate, attitude);
    if (std::isnan(attitude[0])) expected = i;
  }
  ASSERT_LT(expected, m.kept()) << "this stream should lose its attitude";
  EXPECT_GT(expected, 0u);
  EXPECT_EQ(m.cause, Ending::kNotANumber);
  EXPECT_EQ(m.lost_at, expected);
  EXPECT_FALSE(m.zero_rate);
}

TEST_F(Causes, AMotionUnderWayAtTheStartStartsFast) {
  // Samples 5 and 6, the first two that are collected, push the same way.
  const Stream stream = shaking({1, 1, 1, -1, -1, 1, 1, -1, -1, 1, 1, -1}, 60);
  const MotionExplanation m = only_motion(stream + rest(20));
  EXPECT_EQ(m.cause, Ending::kStartsFast);
  EXPECT_EQ(m.first, 5u);
  EXPECT_TRUE(m.at_start);
  EXPECT_GE(m.speed.front(), m.fast_from);
}

TEST_F(Causes, AMotionThatDoesNotComeToAStopEndsFast) {
  // Pushes that cancel from sample to sample give no speed; half a push at the end does.
  const MotionExplanation m = only_motion(shaking({1, -1}, 60) + rest(20));
  EXPECT_EQ(m.cause, Ending::kEndsFast);
  EXPECT_FALSE(m.starts_fast);
  EXPECT_GE(m.speed.back(), m.fast_from);
}

TEST_F(Causes, AMotionThatIsFastForTooFewSamplesIsCutTooShort) {
  const MotionExplanation m = only_motion(rest(50) + gesture(10, 6.0));
  EXPECT_EQ(m.cause, Ending::kStretchTooShort);
  EXPECT_GE(m.collected, 25u);
  EXPECT_LT(m.compared_points(), 25u);
  EXPECT_GT(m.compared_points(), 0u);
}

TEST_F(Causes, AWeakMotionIsTooWeak) {
  HostRunOptions options;
  options.sensitivity = 3;  // 4.0 m/s²
  const MotionExplanation m = only_motion(one_gesture(3.5), options);
  EXPECT_EQ(m.cause, Ending::kTooWeak);
  EXPECT_LT(m.strength, 4.0);
  EXPECT_GT(m.strength, 3.0);
  EXPECT_THAT(m.also, IsEmpty());
}

TEST_F(Causes, WhatWouldHaveStoppedAWeakMotionAsWellIsSaid) {
  install_default_model(small_model(kClass, 0.0));
  HostRunOptions options;
  options.sensitivity = 3;
  const MotionExplanation m = only_motion(one_gesture(3.5), options);
  EXPECT_EQ(m.cause, Ending::kTooWeak);
  EXPECT_THAT(m.also, ElementsAre(Ending::kBelowThreshold));
}

TEST_F(Causes, AnEmptyModelHasNoTemplates) {
  install_model(5, Gmodel());
  HostRunOptions options;
  options.wearer = 1;
  options.mode = 2;
  EXPECT_EQ(only_motion(one_gesture(), options).cause, Ending::kNoTemplates);
}

TEST_F(Causes, TemplatesThatCannotBeComparedGiveNoScore) {
  Gmodel model = small_model(kClass, -1e6);
  model.templates[0].second.back() = {0.0, 0.0, 0.0};  // a gravity without direction
  install_default_model(model);
  const MotionExplanation nan = only_motion(one_gesture());
  EXPECT_EQ(nan.cause, Ending::kNoScore);
  EXPECT_TRUE(std::isnan(nan.scores[0].score));

  model.templates[0].second = {{0.0, 0.0, 10.0}};  // no motion before the gravity
  install_default_model(model);
  const MotionExplanation infinite = only_motion(one_gesture());
  EXPECT_EQ(infinite.cause, Ending::kNoScore);
  EXPECT_TRUE(std::isinf(infinite.scores[0].score));
}

TEST_F(Causes, ClassesSixAndFourteenAreNeverReported) {
  for (const int label : {6, 14}) {
    install_default_model(small_model(label, -1e6));
    const MotionExplanation m = only_motion(one_gesture());
    EXPECT_EQ(m.cause, Ending::kNeverReported) << label;
    EXPECT_EQ(m.engine_class, label);
    EXPECT_FALSE(m.reported.has_value());
  }
}

TEST_F(Causes, AMotionAtTheEndOfTheRecordingIsUnfinished) {
  Stream stream = one_gesture();
  stream.resize(stream.size() - 1);  // the sample that would end it
  const MotionExplanation m = only_motion(stream);
  EXPECT_EQ(m.cause, Circumstance::kUnfinished);
  EXPECT_EQ(m.first, 46u);
}

TEST_F(Causes, AMotionRightBehindAReportLosesItsStart) {
  // The report comes with sample 99; the window is full again at sample 109, and the
  // motion then begins with sample 105, the sixth: it and the next push the same way.
  const Stream shaken = shaking({1, 1, 1, -1, -1, 1, 1, -1, -1, 1, 1, -1}, 60);
  const Explanation e = explained(one_gesture() + shaken);
  ASSERT_EQ(e.motions.size(), 2u);
  EXPECT_EQ(e.motions[0].cause, Ending::kRecognised);
  EXPECT_EQ(e.motions[1].first, 105u);
  EXPECT_EQ(e.motions[1].cause, Circumstance::kCutByReport);
  EXPECT_THAT(e.motions[1].also, ::testing::Contains(Ending::kStartsFast));
  EXPECT_THAT(sentence_for(e.motions[1], e.settings),
              HasSubstr("Its start was lost: after a report"));
}

TEST_F(Causes, AHostThatForgetsToInitialiseIsInTheWrongMode) {
  HostRunOptions options;
  options.initialise = false;
  const MotionExplanation m = only_motion(one_gesture(), options);
  EXPECT_EQ(m.cause, Circumstance::kWrongMode);
  EXPECT_EQ(m.collected, 100u);
}

TEST_F(Causes, EveryCauseHasANameOfItsOwn) {
  std::set<std::string> names;
  for (const Cause& cause : every_cause()) names.insert(name_of(cause));
  EXPECT_EQ(names.size(), every_cause().size());
}

// ---- rest ----------------------------------------------------------------------------

TEST_F(Causes, TheSensorThatSaysRestIsNamed) {
  // Gravity as most watches show it, outside the accelerometer's band; no turning.
  const Stream outside(30, Pair{{0.0, 0.0, 9.81}, {0.5, 0.25, -0.5}});
  // A steady turn about gravity: the accelerometer sees nothing of it.
  const Stream turning(30, Pair{{0.0, 0.0, 10.0}, {0.0, 0.0, 90.0}});

  const Explanation a = explained(outside);
  ASSERT_EQ(a.rests.size(), 1u);
  EXPECT_THAT(a.rests[0].judged, ElementsAre(0, 9, 0, 21, 0));
  EXPECT_EQ(a.rests[0].gravity_outside, 21u);
  EXPECT_EQ(a.rests[0].acc_scattered, 0u);
  EXPECT_NEAR(a.rests[0].mean_gravity, 9.81, 1e-12);
  EXPECT_THAT(
      sentence_for(a.rests[0], a.settings),
      HasSubstr("the gyroscope reports rest, the accelerometer does not: its mean of "
                "9.81 m/s² is outside the band of gravity"));

  const Explanation b = explained(turning);
  ASSERT_EQ(b.rests.size(), 1u);
  EXPECT_THAT(b.rests[0].judged, ElementsAre(0, 9, 21, 0, 0));
  EXPECT_EQ(b.rests[0].turning, 21u);
  EXPECT_THAT(
      sentence_for(b.rests[0], b.settings),
      HasSubstr("the accelerometer reports rest, the gyroscope does not: it shows "
                "turning"));
}

// ---- what was expected ---------------------------------------------------------------

class Expectations : public Causes {
 protected:
  Expected found(const Stream& stream, double begin, double end, int label = kClass) {
    e = explained(stream);
    e.expected.push_back({begin, end, label, Ending::kRecognised});
    find_expected(e);
    return e.expected.back();
  }

  Explanation e;
};

TEST_F(Expectations, AGestureThatCameIsNotMissing) {
  const Expected x = found(one_gesture(), 1.0, 1.8);
  EXPECT_EQ(x.cause, Ending::kRecognised);
  EXPECT_EQ(x.motion, 0u);
}

TEST_F(Expectations, TheNearestMotionsCauseIsReported) {
  const Expected x = found(rest(50) + motion(12) + rest(50), 1.0, 1.3);
  EXPECT_EQ(x.cause, Ending::kTooShort);
  EXPECT_EQ(x.motion, 0u);
}

TEST_F(Expectations, AnotherClassIsReported) {
  const Expected x = found(one_gesture(), 1.0, 1.8, 4);
  EXPECT_EQ(x.cause, Circumstance::kOtherClass);
  EXPECT_THAT(sentence_for(x, e), HasSubstr("The model has no template of class 4."));
}

TEST_F(Expectations, WhereTheWristRestedTheSensorIsReported) {
  const Expected x = found(rest(60) + one_gesture(), 0.4, 1.0);
  EXPECT_EQ(x.cause, Circumstance::kAtRest);
  EXPECT_FALSE(x.motion.has_value());
  EXPECT_THAT(sentence_for(x, e), HasSubstr("both sensors reported rest"));
}

TEST_F(Expectations, WhatFellIntoThePauseAfterAReportIsReported) {
  const Expected x = found(one_gesture() + rest(50), 2.0, 2.1);
  EXPECT_EQ(x.cause, Circumstance::kCutByReport);
}

TEST_F(Expectations, WhatIsOutsideTheRecordingIsReported) {
  EXPECT_EQ(found(one_gesture(), 100.0, 101.0).cause, Circumstance::kNoSamples);
}

TEST_F(Expectations, OneMotionIsNotTwoGestures) {
  e = explained(one_gesture());
  e.expected.push_back({0.9, 1.5, kClass, Ending::kRecognised});
  e.expected.push_back({1.5, 1.7, kClass, Ending::kRecognised});
  find_expected(e);
  EXPECT_EQ(e.expected[0].cause, Ending::kRecognised);
  EXPECT_EQ(e.expected[1].cause, Circumstance::kSharedMotion);
}

TEST_F(Expectations, TablesOfOneRecordingAndOfManyAreRead) {
  const TempDirectory directory;
  const std::string table = directory.file("labels.csv");
  write_file(table, "t_start,t_end,label\n1,2,3\n4,5,6\n");
  EXPECT_EQ(read_expected(table, "any.csv").size(), 2u);
  write_file(table, "file,t_start,t_end,label\nrec/a.csv,1,2,3\nrec/b.csv,4,5,6\n");
  const std::vector<Expected> of_b = read_expected(table, "/set/rec/b.csv");
  ASSERT_EQ(of_b.size(), 1u);
  EXPECT_EQ(of_b[0].label, 6);
  EXPECT_THROW(read_expected(table, "/set/b.csv"), UsageError);
  EXPECT_TRUE(names_recording(table, "/set/rec/b.csv"));
  EXPECT_FALSE(names_recording(table, "/set/b.csv"));
  write_file(table, "t_start,t_end,label\n2,1,3\n");
  EXPECT_THROW(read_expected(table, "any.csv"), UsageError);
}
