#include "engine/WHD.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <type_traits>

#include "support/files.h"
#include "support/private_paths.h"
#include "support/same_bits.h"

using namespace wgr;

static Hparams two_scales() { return {2, {4, 6}, {1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0}}; }

static void forget_log() { std::filesystem::remove(kLogPath); }

TEST(WHDConstruction, WithoutARecordHasOneScaleOfAFifthOfASecond) {
  const WHD whd(50, 40, nullptr);
  EXPECT_EQ(whd.sample_rate, 50);
  EXPECT_EQ(whd.window_len, 40);
  EXPECT_TRUE(whd.acc_buf.empty());
  EXPECT_TRUE(whd.gyro_buf.empty());
  EXPECT_EQ(whd.params->count, 1);
  EXPECT_EQ(whd.params->lags, std::vector<int>{10});
  EXPECT_EQ(whd.params->thr_x, std::vector<double>{0.0});
  EXPECT_EQ(whd.params->thr_y, std::vector<double>{12.0});
  EXPECT_EQ(whd.params->thr_gyro, std::vector<double>{400.0});
}

// rate / 5.0 + 0.5, truncated toward zero: -7 / 5.0 + 0.5 = -0.9.
TEST(WHDConstruction, TheDefaultLagIsRounded) {
  const struct {
    int rate, lag;
  } cases[] = {{50, 10}, {52, 10}, {53, 11}, {1, 0}, {3, 1}, {0, 0}, {-7, 0}, {-50, -9}};
  for (const auto& c : cases) {
    EXPECT_EQ(WHD(c.rate, 50, nullptr).params->lags[0], c.lag) << c.rate;
  }
}

TEST(WHDConstruction, ARecordIsCopied) {
  auto given = std::make_unique<Hparams>(two_scales());
  const WHD whd(50, 50, given.get());
  given->lags[0] = 99;
  given->count = 7;
  EXPECT_NE(whd.params, given.get());
  given.reset();
  EXPECT_EQ(whd.params->count, 2);
  EXPECT_EQ(whd.params->lags, (std::vector<int>{4, 6}));
  EXPECT_EQ(whd.params->thr_x, (std::vector<double>{1.0, 2.0}));
  EXPECT_EQ(whd.params->thr_y, (std::vector<double>{3.0, 4.0}));
  EXPECT_EQ(whd.params->thr_gyro, (std::vector<double>{5.0, 6.0}));
}

// Two owners of one record would both delete it.
TEST(WHDConstruction, IsNeverACopy) {
  EXPECT_FALSE(std::is_copy_constructible_v<WHD>);
  EXPECT_FALSE(std::is_copy_assignable_v<WHD>);
}

TEST(WHDConstruction, LogsTheSameWordsWithARecordAndWithout) {
  Hparams given = two_scales();
  forget_log();
  WHD(50, 50, &given);
  EXPECT_EQ(read_log(),
            "WHD 623: WHD start\n"
            "WHD 635: pp is NON NULL\n"
            "WHD 658: WHD end\n");
  forget_log();
  WHD(50, 50, nullptr);
  EXPECT_EQ(read_log(),
            "WHD 623: WHD start\n"
            "WHD 647: pp is NON NULL\n"
            "WHD 658: WHD end\n");
}

TEST(WHDInit, SetsTheTwoLengthsAndNothingElse) {
  WHD whd(50, 50, nullptr);
  whd.update({1, 2, 3});
  forget_log();
  whd.init(100, 20);
  EXPECT_EQ(whd.sample_rate, 100);
  EXPECT_EQ(whd.window_len, 20);
  EXPECT_EQ(whd.params->lags, std::vector<int>{10});
  EXPECT_EQ(whd.acc_buf.size(), 1u);
  EXPECT_EQ(read_log(), "");
}

// A sample that alternates between two values ten samples at a time: each half window
// of the default scale differs from the other in x and y.
static Point3Df swing(int i, double x, double y) {
  const double side = (i / 5) % 2 == 0 ? 1.0 : -1.0;
  return {side * x, side * y, 10};
}

TEST(WHDUpdate, IsUndecidedUntilTheWindowHasFilled) {
  WHD whd(50, 50, nullptr);
  for (int i = 0; i < 49; ++i) ASSERT_EQ(whd.update(swing(i, 4, 4)), -1) << i;
  EXPECT_EQ(whd.update(swing(49, 4, 4)), 0);  // x and y together
}

TEST(WHDUpdate, AxesThatChangeInOppositeDirectionsAreTheOtherWrist) {
  WHD whd(50, 50, nullptr);
  int verdict = -1;
  for (int i = 0; i < 50; ++i) verdict = whd.update(swing(i, 4, -4));
  EXPECT_EQ(verdict, 1);
}

TEST(WHDUpdate, KeepsTheNewestWindow) {
  WHD whd(50, 3, nullptr);
  for (int i = 1; i <= 5; ++i) whd.update({double(i), 0, 0});
  EXPECT_TRUE(same_bits(whd.acc_buf, Samples{{3, 0, 0}, {4, 0, 0}, {5, 0, 0}}));
  EXPECT_TRUE(whd.gyro_buf.empty());
}

// One sample leaves for each that comes; the oldest of the longer buffer are looked at.
TEST(WHDUpdate, ALoweredWindowKeepsTheBufferAndLooksAtItsOldestSamples) {
  WHD whd(50, 50, nullptr);
  for (int i = 0; i < 50; ++i) whd.update(swing(i, 4, 4));
  whd.init(50, 20);
  EXPECT_EQ(whd.update({0, 0, 10}), 0);
  EXPECT_EQ(whd.acc_buf.size(), 50u);
  int verdict = 0;
  for (int i = 0; i < 20; ++i) verdict = whd.update({0, 0, 10});
  EXPECT_EQ(whd.acc_buf.size(), 50u);
  EXPECT_EQ(verdict, 0);  // the oldest twenty still swing
  for (int i = 0; i < 29; ++i) verdict = whd.update({0, 0, 10});
  EXPECT_EQ(verdict, -1);
}

TEST(WHDUpdate, ARaisedWindowIsUndecidedUntilItHasFilled) {
  WHD whd(50, 20, nullptr);
  for (int i = 0; i < 20; ++i) whd.update(swing(i, 4, 4));
  whd.init(50, 30);
  for (int i = 20; i < 29; ++i) ASSERT_EQ(whd.update(swing(i, 4, 4)), -1) << i;
  EXPECT_EQ(whd.update(swing(29, 4, 4)), 0);
}

TEST(WHDUpdate, WindowsOfZeroOrLessAreUndecided) {
  for (const int window : {0, -1, -50}) {
    WHD whd(50, window, nullptr);
    for (int i = 0; i < 20; ++i) {
      ASSERT_EQ(whd.update(swing(i, 4, 4)), -1) << window;
      ASSERT_EQ(whd.update(swing(i, 4, 4), {0, 0, 99}), -1) << window;
    }
    EXPECT_TRUE(whd.acc_buf.empty());
  }
}

TEST(WHDTwoSensors, DecidesWhenTheWindowHasFilled) {
  WHD whd(50, 20, nullptr);
  for (int i = 0; i < 19; ++i) {
    ASSERT_EQ(whd.update(swing(0, 0, i < 10 ? -4 : 4), {0, 0, 50}), -1) << i;
  }
  // y rises while the watch turns by more than 400 deg/s summed.
  EXPECT_EQ(whd.update(swing(0, 0, 4), {0, 0, 50}), 1);
  EXPECT_EQ(whd.acc_buf.size(), 20u);
  EXPECT_EQ(whd.gyro_buf.size(), 20u);
}

TEST(WHDTwoSensors, TheAccelerometersBufferTrimsBoth) {
  WHD whd(50, 3, nullptr);
  whd.update({1, 0, 0});
  whd.update({2, 0, 0});
  for (int i = 3; i <= 6; ++i) whd.update({double(i), 0, 0}, {double(10 * i), 0, 0});
  EXPECT_TRUE(same_bits(whd.acc_buf, Samples{{4, 0, 0}, {5, 0, 0}, {6, 0, 0}}));
  EXPECT_TRUE(same_bits(whd.gyro_buf, Samples{{60, 0, 0}}));
}

TEST(WHDTwoSensors, AGyroscopeBufferShorterThanTheWindowIsUndecided) {
  WHD whd(50, 10, nullptr);
  for (int i = 0; i < 10; ++i) whd.update({0, 0, 10});
  int votes[2] = {10, 0};
  EXPECT_EQ(whd.detect(votes), -1);
  EXPECT_EQ(whd.update({0, 0, 10}, {0, 0, 50}), -1);
}

TEST(WHDDetect, AddsToTheCallersVotesAndDecidesOnTheirTotal) {
  WHD whd(50, 20, nullptr);
  for (int i = 0; i < 20; ++i) whd.update({0, 0, 10}, {0, 0, 0});
  int votes[2] = {10, 0};
  EXPECT_EQ(whd.detect_acc(votes), 0);
  EXPECT_EQ(whd.detect_acc(nullptr), -1);
  int other[2] = {0, 1};
  EXPECT_EQ(whd.detect(other), 1);
  EXPECT_EQ(votes[0], 10);
  EXPECT_EQ(votes[1], 0);

  for (int i = 0; i < 20; ++i) whd.update(swing(i, 4, 4));
  EXPECT_EQ(whd.detect_acc(votes), 0);
  const int after_one = votes[0];
  EXPECT_GT(after_one, 10);
  whd.detect_acc(votes);
  EXPECT_EQ(votes[0] - after_one, after_one - 10);
}

TEST(WHDDetect, ABufferTooShortLeavesTheVotesAlone) {
  WHD whd(50, 20, nullptr);
  int votes[2] = {10, 0};
  EXPECT_EQ(whd.detect_acc(votes), -1);
  EXPECT_EQ(whd.detect(votes), -1);
  EXPECT_EQ(votes[0], 10);
}

TEST(WHD, CanBeDestroyedWithoutItsRecord) {
  WHD whd(50, 40, nullptr);
  delete whd.params;
  whd.params = nullptr;
}
