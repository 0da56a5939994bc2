#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "support/quiet_engine.h"
#include "support/same_bits.h"

using namespace wgr;

// An engine at 50 samples a second: window 10, padding 5, least motion 25, history 250.

static int false_flags(const AgGes& engine) {
  return static_cast<int>(
      std::count(engine.static_history.begin(), engine.static_history.end(), false));
}

static size_t length(const std::deque<Point3Df>& queue) { return queue.size(); }

TEST(TwoSensorIntake, InModeOnePrintsTheMismatchAndChangesNothing) {
  const auto engine = quiet_engine(2);
  feed(*engine, rest(12) + motion(12));
  feed(*engine, Stream(3, {{0, 0, 30}, {0, 0, 400}}));
  engine->work_mode = 1;
  const Samples acc = engine->acc_history, gyro = engine->gyro_history;
  const Samples motion_acc = engine->motion_acc, last = engine->last_motion_acc;
  const std::deque<bool> flags = engine->static_history;
  const std::string log = read_log();

  Capture printing;
  engine->update({1, 2, 3}, {4, 5, 6});
  EXPECT_EQ(printing.finish(), "Error : gesture mode setting do not match!\n");
  EXPECT_EQ(read_log(), log);
  EXPECT_TRUE(same_bits(engine->acc_history, acc));
  EXPECT_TRUE(same_bits(engine->gyro_history, gyro));
  EXPECT_TRUE(same_bits(engine->motion_acc, motion_acc));
  EXPECT_TRUE(same_bits(engine->last_motion_acc, last));
  EXPECT_EQ(engine->static_history, flags);
  EXPECT_EQ(engine->gesture_class, 14);
}

TEST(TwoSensorIntake, OtherModesAreAcceptedAndOnlyCorrect) {
  for (const int mode : {0, 3, 4}) {
    const auto engine = quiet_engine(mode);
    engine->gesture_class = 9;
    Capture printing;
    feed(*engine, rest(12) + motion(40));
    EXPECT_EQ(printing.finish(), "") << mode;
    EXPECT_EQ(engine->gesture_class, 9) << mode;
    EXPECT_EQ(engine->trace.size(), 39u) << mode;
    EXPECT_EQ(engine->recog_cost_time, 780.0) << mode;
  }
}

TEST(TwoSensorIntake, TheBiasIsTakenOffEveryRateThatIsStored) {
  const auto engine = quiet_engine();
  engine->gyro_bias = {1, -2, 4};
  engine->update({0, 0, 10}, {3, 3, 3});
  EXPECT_TRUE(same_bits(engine->gyro_history, Samples{{2, 5, -1}}));
  EXPECT_TRUE(same_bits(engine->acc_history, Samples{{0, 0, 10}}));
}

TEST(TwoSensorIntake, NoMotionStartsBeforeTheWindowHasFilled) {
  const auto engine = quiet_engine();
  const Pair moving = {{0, 0, 30}, {0, 0, 400}};
  feed(*engine, Stream(9, moving));
  EXPECT_EQ(false_flags(*engine), 0);
  EXPECT_TRUE(engine->motion_acc.empty());
  feed(*engine, {moving});
  EXPECT_EQ(length(engine->motion_acc), 5u);  // four from before, and this one
}

TEST(TwoSensorIntake, AMotionBeginsWithFourSamplesFromBeforeAndDatesItsFlagsBack) {
  const auto engine = quiet_engine();
  Stream quiet = rest(14);
  for (size_t i = 0; i < quiet.size(); ++i) quiet[i].gyro.x = 0.01 * double(i + 1);
  feed(*engine, quiet);
  engine->update({0, 0, 30}, {0, 0, 400});
  ASSERT_EQ(length(engine->motion_acc), 5u);
  ASSERT_EQ(length(engine->motion_gyro), 5u);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(same_bits(engine->motion_gyro[i], quiet[10 + i].gyro)) << i;
    EXPECT_TRUE(same_bits(engine->motion_acc[i], quiet[10 + i].acc)) << i;
  }
  EXPECT_EQ(engine->motion_acc[4].z, 30.0);
  std::deque<bool> flags(10, true);
  flags.insert(flags.end(), 5, false);
  EXPECT_EQ(engine->static_history, flags);
}

TEST(TwoSensorIntake, AMotionOf20SamplesIsDroppedAndWasRestAllAlong) {
  const auto engine = quiet_engine();
  feed(*engine, rest(30));
  Stream stream = motion(20);
  const Pair last = stream.back();
  stream.pop_back();
  engine->gesture_class = 9;
  feed(*engine, stream);
  EXPECT_EQ(length(engine->motion_acc), 24u);  // four from before, and twenty
  EXPECT_EQ(false_flags(*engine), 24);

  feed(*engine, {last});
  EXPECT_EQ(false_flags(*engine), 0);
  EXPECT_EQ(engine->gesture_class, 9);
  EXPECT_TRUE(engine->trace.empty());
  EXPECT_EQ(engine->recog_cost_time, 0.0);
  EXPECT_TRUE(engine->motion_acc.empty());
  EXPECT_TRUE(engine->motion_gyro.empty());
}

TEST(TwoSensorIntake, ADroppedMotionIsKeptUntrimmedUntilTheNextSampleAtRest) {
  const auto engine = quiet_engine();
  feed(*engine, rest(30) + motion(20));
  EXPECT_EQ(length(engine->last_motion_acc), 24u);
  feed(*engine, rest(1));
  EXPECT_TRUE(engine->last_motion_acc.empty());
}

TEST(TwoSensorIntake, AMotionOf40SamplesYieldsASegmentOf39AndOneRecognition) {
  const auto engine = quiet_engine();
  Stream stream = motion(40);
  stream.pop_back();
  feed(*engine, rest(30) + stream);
  EXPECT_EQ(length(engine->motion_acc), 44u);
  EXPECT_EQ(engine->recog_cost_time, 0.0);
  EXPECT_TRUE(engine->trace.empty());
  EXPECT_EQ(engine->gravity.z, 0.0);

  feed(*engine, rest(1));
  EXPECT_EQ(length(engine->last_motion_acc), 39u);
  EXPECT_TRUE(engine->motion_acc.empty());
  EXPECT_TRUE(engine->motion_gyro.empty());
  EXPECT_NE(engine->gravity.z, 0.0);  // the recognition has run

  // The newest flag and the four before it are rest, the forty before those motion.
  ASSERT_EQ(engine->static_history.size(), 71u);
  EXPECT_EQ(false_flags(*engine), 40);
  for (size_t i = 66; i < 71; ++i) EXPECT_TRUE(engine->static_history[i]) << i;
  EXPECT_FALSE(engine->static_history[65]);
  EXPECT_FALSE(engine->static_history[26]);
  EXPECT_TRUE(engine->static_history[25]);
}

// With 21 judged samples a segment has 25: recognition runs, on the 20 that the trim
// leaves, and finds too few.
TEST(TwoSensorIntake, TheShortestSegmentsAreRecognisedAsNoGesture) {
  const auto engine = quiet_engine();
  engine->gesture_class = 9;
  feed(*engine, rest(30) + motion(20));
  EXPECT_EQ(engine->gesture_class, 9);
  feed(*engine, rest(10) + motion(21));
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_EQ(length(engine->last_motion_acc), 20u);
}

TEST(TwoSensorIntake, TheCostTimeIsTheTracesDurationWhateverTheClass) {
  const auto engine = quiet_engine();
  engine->min_motion_len = 5;
  for (const double rejecting : {-1e9, 0.0}) {
    engine->hgr->model->class_thresholds = {rejecting};
    feed(*engine, rest(12) + gesture(18, 6.0));
    EXPECT_EQ(engine->gesture_class, rejecting < 0.0 ? 3 : 13);
    ASSERT_EQ(engine->trace.size(), 30u);
    EXPECT_EQ(engine->recog_cost_time, 600.0);
  }
  feed(*engine, rest(12) + motion(40));  // starts fast: cut to nothing
  EXPECT_EQ(engine->gesture_class, 14);
  EXPECT_EQ(engine->recog_cost_time, 0.0);
}

// 7 * 1000 / 30 rounds otherwise than 7 / 30 * 1000 or 7 * (1000 / 30).
TEST(TwoSensorIntake, TheCostTimeIsFormedFromLeftToRight) {
  const auto engine = quiet_engine(0);
  engine->min_motion_len = 5;
  engine->sample_rate = 49;
  feed(*engine, rest(12) + motion(40));
  ASSERT_EQ(engine->trace.size(), 39u);
  EXPECT_EQ(engine->recog_cost_time, 39000.0 / 49.0);
}

TEST(TwoSensorIntake, TheHistoriesStayAtTheirLength) {
  const auto engine = quiet_engine();
  feed(*engine, rest(250));
  EXPECT_EQ(length(engine->acc_history), 250u);
  Stream marked = rest(1);
  marked[0].acc.x = 0.125;
  feed(*engine, marked + rest(249));
  EXPECT_EQ(length(engine->acc_history), 250u);
  EXPECT_EQ(length(engine->gyro_history), 250u);
  EXPECT_EQ(engine->static_history.size(), 250u);
  EXPECT_EQ(engine->acc_history.front().x, 0.125);  // the oldest one left
}

TEST(TwoSensorIntake, AHistoryThatIsLongerThanItsNewLengthKeepsGrowing) {
  const auto engine = quiet_engine();
  feed(*engine, rest(100));
  engine->init(2, 50, {0, 0, 0}, -1, 60, -1, 2.0);
  feed(*engine, rest(300));
  EXPECT_EQ(length(engine->acc_history), 400u);
  EXPECT_EQ(length(engine->gyro_history), 400u);
  EXPECT_EQ(engine->static_history.size(), 400u);
}

TEST(TwoSensorIntake, AMotionHasNoGreatestLength) {
  const auto engine = quiet_engine();
  feed(*engine, rest(12) + Stream(1000, {{0, 0, 30}, {0, 0, 400}}));
  EXPECT_EQ(length(engine->motion_acc), 1004u);
  EXPECT_EQ(length(engine->motion_gyro), 1004u);
  EXPECT_EQ(length(engine->acc_history), 250u);
}

// The re-marking would begin before the history does.
TEST(TwoSensorIntake, ReMarkingBeginsAtTheHistorysStartWhenTheMotionIsLonger) {
  const auto engine = quiet_engine();
  engine->init(2, 50, {0, 0, 0}, 100, 12, -1, 2.0);
  feed(*engine, rest(12) + motion(40));
  EXPECT_EQ(length(engine->last_motion_acc), 44u);
  EXPECT_EQ(engine->static_history, std::deque<bool>(12, true));
}

TEST(TwoSensorIntake, TheTrimRemovesAtMostWhatIsThere) {
  const auto engine = quiet_engine();
  engine->gesture_class = 9;
  engine->min_motion_len = 0;
  feed(*engine, rest(1));
  EXPECT_EQ(engine->gesture_class, 14);  // nothing was held, and that was recognised
  EXPECT_TRUE(engine->last_motion_acc.empty());

  engine->min_motion_len = 1;
  engine->motion_acc.assign(3, {0, 0, 30});
  engine->motion_gyro.assign(2, {0, 0, 400});
  feed(*engine, rest(1));
  EXPECT_TRUE(engine->last_motion_acc.empty());
}

TEST(TwoSensorIntake, ALengthOfZeroRemovesNothingFromAnEmptyHistory) {
  const auto engine = quiet_engine();
  engine->history_len = 0;
  feed(*engine, rest(5));
  EXPECT_EQ(length(engine->acc_history), 5u);
  EXPECT_EQ(engine->static_history.size(), 5u);
}

TEST(TwoSensorIntake, AWindowOfOneHasNoTransitionInItsFirstSample) {
  const auto engine = quiet_engine();
  engine->static_window = 1;
  engine->update({0, 0, 30}, {0, 0, 400});
  EXPECT_EQ(engine->static_history, std::deque<bool>{false});
  EXPECT_EQ(length(engine->motion_acc), 1u);
}

TEST(TwoSensorIntake, AWindowOfZeroIsOneEndlessMotion) {
  const auto engine = quiet_engine();
  engine->static_window = 0;
  feed(*engine, rest(40));
  EXPECT_EQ(length(engine->motion_acc), 40u);
  EXPECT_EQ(false_flags(*engine), 40);
}

TEST(TwoSensorIntake, ANegativeWindowIsAlwaysRest) {
  for (const int window : {-1, -2, -9, INT_MIN}) {
    const auto engine = quiet_engine();
    engine->static_window = window;
    engine->motion_acc.assign(30, {0, 0, 30});
    engine->motion_gyro.assign(30, {1, 2, 3});
    feed(*engine, Stream(20, {{0, 0, 30}, {0, 0, 400}}));
    EXPECT_EQ(engine->static_history, std::deque<bool>(20, true)) << window;
    EXPECT_EQ(engine->gesture_class, 14) << window;
  }
}

TEST(TwoSensorIntake, RaisingTheWindowInMidMotionClosesIt) {
  const auto engine = quiet_engine();
  feed(*engine, rest(12) + Stream(30, {{0, 0, 30}, {0, 0, 400}}));
  ASSERT_EQ(length(engine->motion_acc), 34u);
  engine->init(2, 50, {0, 0, 0}, -1, -1, 60, 2.0);
  engine->update({0, 0, 30}, {0, 0, 400});
  EXPECT_TRUE(engine->static_history.back());
  EXPECT_TRUE(engine->motion_acc.empty());
  EXPECT_EQ(length(engine->last_motion_acc), 4u);  // less a padding of thirty
}

// After samples of the accelerometer alone the gyroscope's history is the shorter one.
TEST(TwoSensorIntake, RatesThatWereNeverFedCountAsZeros) {
  const auto engine = quiet_engine(0);
  feed_acc(*engine, rest(12));
  engine->update({0, 0, 30}, {0, 0, 400});
  ASSERT_EQ(length(engine->motion_gyro), 5u);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(same_bits(engine->motion_gyro[i], Point3Df{0, 0, 0})) << i;
  }
  EXPECT_EQ(engine->motion_gyro[4].z, 400.0);
}

TEST(TwoSensorIntake, TheClassIsKeptUntilTheNextRecognition) {
  const auto engine = quiet_engine();
  feed(*engine, rest(12) + gesture(20, 6.0));
  EXPECT_EQ(engine->gesture_class, 3);
  feed(*engine, rest(50));
  EXPECT_EQ(engine->gesture_class, 3);
}
