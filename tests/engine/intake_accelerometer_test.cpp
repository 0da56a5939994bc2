#include <gtest/gtest.h>

#include "support/quiet_engine.h"
#include "support/same_bits.h"

using namespace wgr;

static constexpr char kMismatch[] = "Error : gesture mode setting do not match!\n";

TEST(AccelerometerIntake, InModesTwoAndThreePrintsTheMismatchAndChangesNothing) {
  for (const int mode : {2, 3}) {
    const auto engine = quiet_engine(mode);
    feed(*engine, rest(12));
    const std::string log = read_log();
    Capture printing;
    engine->update(Point3Df{1, 2, 3});
    EXPECT_EQ(printing.finish(), kMismatch) << mode;
    EXPECT_EQ(read_log(), log) << mode;
    EXPECT_EQ(engine->acc_history.size(), 12u) << mode;
    EXPECT_EQ(engine->static_history.size(), 12u) << mode;
  }
}

TEST(AccelerometerIntake, EveryOtherModeIsAccepted) {
  for (const int mode : {1, 0, 4, -1}) {
    const auto engine = quiet_engine(mode);
    Capture printing;
    feed_acc(*engine, rest(3));
    EXPECT_EQ(printing.finish(), "") << mode;
    EXPECT_EQ(engine->acc_history.size(), 3u) << mode;
    EXPECT_TRUE(engine->gyro_history.empty()) << mode;
  }
}

TEST(AccelerometerIntake, InModeZeroASegmentIsOnlyCorrectedAndKeepsTheClass) {
  const auto engine = quiet_engine(0);
  engine->gesture_class = 9;
  feed_acc(*engine, rest(30) + motion(40));
  EXPECT_EQ(engine->trace.size(), 39u);
  EXPECT_EQ(engine->gesture_class, 9);
}

TEST(AccelerometerIntake, ASegmentIsClassifiedDirectly) {
  const auto engine = quiet_engine(1, small_model(3, 0.0, 0, 0));
  engine->recog_cost_time = 1.5;
  engine->motion_strength = 7.5;
  feed_acc(*engine, rest(30) + motion(40));
  EXPECT_EQ(engine->gesture_class, 3);
  EXPECT_EQ(engine->trace.size(), 39u);
  EXPECT_EQ(engine->recog_cost_time, 1.5);
  EXPECT_EQ(engine->motion_strength, 7.5);
  EXPECT_TRUE(engine->motion_acc.empty());
  EXPECT_TRUE(engine->last_motion_acc.empty());
  EXPECT_TRUE(engine->motion_gyro.empty());
}

TEST(AccelerometerIntake, TheCopyOfTheLastMotionIsNotTouched) {
  const auto engine = quiet_engine(1);
  engine->last_motion_acc.assign(2, {1, 2, 3});
  feed_acc(*engine, rest(30) + motion(40) + rest(5));
  EXPECT_EQ(engine->last_motion_acc.size(), 2u);
}

TEST(AccelerometerIntake, AShortMotionIsDroppedAndWasRestAllAlong) {
  const auto engine = quiet_engine(1);
  engine->gesture_class = 9;
  feed_acc(*engine, rest(30) + motion(20));
  EXPECT_EQ(engine->static_history, std::deque<bool>(50 + 1, true));
  EXPECT_EQ(engine->gesture_class, 9);
  EXPECT_TRUE(engine->motion_acc.empty());
}

TEST(AccelerometerIntake, TheHistoriesGrowToTheirLengthAndAreThenCutToTheWindow) {
  const auto engine = quiet_engine(1);
  feed_acc(*engine, rest(250));
  EXPECT_EQ(engine->acc_history.size(), 250u);
  feed_acc(*engine, rest(1));
  EXPECT_EQ(engine->acc_history.size(), 11u);
  EXPECT_EQ(engine->static_history.size(), 11u);
}

TEST(AccelerometerIntake, AMotionGoesOnUndisturbedWhenTheHistoriesAreCut) {
  const auto engine = quiet_engine(1);
  feed_acc(*engine, rest(230) + Stream(40, kRestPair));
  engine->acc_history.clear();
  engine->static_history.clear();
  feed_acc(*engine, rest(235));
  Stream moving = motion(40);
  feed_acc(*engine, moving);
  EXPECT_EQ(engine->trace.size(), 39u);
  EXPECT_LT(engine->acc_history.size(), 60u);
}

TEST(AccelerometerIntake, ReMarkingAfterACutBeginsAtTheHistorysStart) {
  const auto engine = quiet_engine(1);
  engine->min_motion_len = 100;
  feed_acc(*engine, rest(230) + motion(40));
  // Cut at the 251st sample: ten left, and twenty-one since.
  EXPECT_EQ(engine->static_history, std::deque<bool>(10 + 21, true));
}

TEST(AccelerometerIntake, AHistoryNotLongerThanTheWindowIsNeverCut) {
  const auto engine = quiet_engine(1);
  engine->history_len = 10;
  feed_acc(*engine, rest(40));
  EXPECT_EQ(engine->acc_history.size(), 40u);
  EXPECT_EQ(engine->static_history.size(), 40u);
}

static std::deque<Point3Df> numbered(int from, int to) {
  std::deque<Point3Df> points;
  for (int i = from; i <= to; ++i) points.push_back({double(i), 0, 0});
  return points;
}

TEST(ClearBuf, KeepsTheNewestWindowOfAllThreeHistories) {
  const auto engine = quiet_engine();
  engine->static_window = 3;
  engine->acc_history = numbered(1, 8);
  engine->gyro_history = numbered(11, 18);
  engine->static_history = {true, true, true, true, true, false, true, false};
  engine->clear_buf();
  EXPECT_TRUE(same_bits(engine->acc_history, numbered(6, 8)));
  EXPECT_TRUE(same_bits(engine->gyro_history, numbered(16, 18)));
  EXPECT_EQ(engine->static_history, (std::deque<bool>{false, true, false}));
}

TEST(ClearBuf, LeavesAHistoryThatIsNotLongerThanTheWindow) {
  const auto engine = quiet_engine();
  for (const int count : {0, 9, 10}) {
    engine->acc_history = numbered(1, count);
    engine->gyro_history = numbered(1, count);
    engine->static_history.assign(static_cast<size_t>(count), false);
    engine->clear_buf();
    EXPECT_EQ(engine->acc_history.size(), static_cast<size_t>(count));
    EXPECT_EQ(engine->static_history.size(), static_cast<size_t>(count));
  }
  engine->acc_history = numbered(1, 11);
  engine->static_history.assign(11, false);
  engine->clear_buf();
  EXPECT_TRUE(same_bits(engine->acc_history, numbered(2, 11)));
}

TEST(ClearBuf, LeavesAnEmptyGyroscopeHistoryEmpty) {
  const auto engine = quiet_engine(1);
  engine->acc_history = numbered(1, 20);
  engine->static_history.assign(20, true);
  engine->clear_buf();
  EXPECT_TRUE(engine->gyro_history.empty());
}

// Entry i of the newest window is taken by its place in the accelerometer's history.
TEST(ClearBuf, PadsAShorterGyroscopeHistoryWithZeros) {
  const auto engine = quiet_engine();
  engine->static_window = 4;
  engine->acc_history = numbered(1, 8);
  engine->gyro_history = numbered(11, 16);  // places 4 and 5 of the window exist
  engine->static_history.assign(8, true);
  engine->clear_buf();
  EXPECT_TRUE(same_bits(engine->gyro_history,
                        Samples{{15, 0, 0}, {16, 0, 0}, {0, 0, 0}, {0, 0, 0}}));
  engine->acc_history = numbered(1, 9);
  engine->gyro_history = numbered(11, 12);
  engine->static_history.assign(9, true);
  engine->clear_buf();
  EXPECT_TRUE(same_bits(engine->gyro_history, Samples(4, Point3Df{0, 0, 0})));
}

TEST(ClearBuf, DoesNothingWithANegativeWindowAndEmptiesWithAWindowOfZero) {
  const auto engine = quiet_engine();
  engine->acc_history = numbered(1, 5);
  engine->gyro_history = numbered(1, 5);
  engine->static_history.assign(5, true);
  engine->static_window = -1;
  engine->clear_buf();
  EXPECT_EQ(engine->acc_history.size(), 5u);
  engine->static_window = 0;
  engine->clear_buf();
  EXPECT_TRUE(engine->acc_history.empty());
  EXPECT_TRUE(engine->gyro_history.empty());
  EXPECT_TRUE(engine->static_history.empty());
}
