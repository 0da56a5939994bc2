// What each repair makes of samples that can be worked out by hand.
#include "diagnosis/repair.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace wgr;

using ::testing::ElementsAre;

// At the given times, with the acceleration's x and the gyroscope's y counting from 1.
static std::vector<RecordedSample> at(const std::vector<double>& times) {
  std::vector<RecordedSample> samples;
  for (const double t : times) {
    const double number = static_cast<double>(samples.size() + 1);
    samples.push_back({t, {number, 0.0, 0.0}, {0.0, number, 0.0}});
  }
  return samples;
}

static std::vector<double> times_of(const std::vector<RecordedSample>& samples) {
  std::vector<double> times;
  for (const RecordedSample& s : samples) times.push_back(s.t);
  return times;
}

static std::vector<RecordedSample> repaired(std::vector<RecordedSample> samples,
                                            const Repair& repair) {
  apply(repair, samples);
  return samples;
}

// A gap is longer than 1.75 periods, as where gaps are counted; half a second is filled.
TEST(Repairs, FillShortGapsBetweenTheirNeighbours) {
  const Repair fill = {RepairKind::kFillGaps, 8.0};
  EXPECT_THAT(times_of(repaired(at({0.0, 0.21875, 0.34375}), fill)),
              ElementsAre(0.0, 0.21875, 0.34375))
      << "exactly 1.75 periods are none";
  const std::vector<RecordedSample> filled = repaired(at({0.0, 0.375}), fill);
  ASSERT_THAT(times_of(filled), ElementsAre(0.0, 0.125, 0.25, 0.375));
  EXPECT_DOUBLE_EQ(filled[1].acc.x, 1.0 + 1.0 / 3.0);
  EXPECT_DOUBLE_EQ(filled[2].gyro.y, 1.0 + 2.0 / 3.0);
  EXPECT_EQ(repaired(at({0.0, 0.5}), fill).size(), 5u);
  EXPECT_EQ(repaired(at({0.0, 0.625}), fill).size(), 2u)
      << "anything may have been there";
}

TEST(Repairs, ReplaceWhatIsTooLargeByWhatCameBefore) {
  std::vector<RecordedSample> samples = at({0.0, 0.1, 0.2, 0.3});
  samples[0].acc.z = -5.0;
  samples[2].acc.y = 4.5;
  const auto better = repaired(samples, {RepairKind::kAccSpikes, 4.0});
  EXPECT_EQ(better[0].acc.x, 2.0) << "nothing came before: the first good one";
  EXPECT_EQ(better[0].acc.z, 0.0);
  EXPECT_EQ(better[2].acc.x, 2.0);
  EXPECT_EQ(better[3].acc.x, 4.0) << "as large as the limit";
  EXPECT_EQ(better[2].gyro.y, 3.0) << "the other sensor stays";
  const auto turned = repaired(samples, {RepairKind::kGyroSpikes, 2.0});
  EXPECT_EQ(turned[3].gyro.y, 2.0);
  EXPECT_EQ(turned[2].acc.y, 4.5);
}

TEST(Repairs, SortByTimeAndDropRepeats) {
  EXPECT_THAT(times_of(repaired(at({0.0, 0.2, 0.1}), {RepairKind::kSort})),
              ElementsAre(0.0, 0.1, 0.2));
  const auto kept = repaired(at({0.0, 0.1, 0.1, 0.1, 0.2}), {RepairKind::kDropRepeats});
  EXPECT_THAT(times_of(kept), ElementsAre(0.0, 0.1, 0.2));
  EXPECT_EQ(kept[1].acc.x, 2.0) << "the first of them stays";
}

TEST(Repairs, ChangeTheirSensorAlone) {
  const std::vector<RecordedSample> one = at({0.5});
  EXPECT_EQ(repaired(one, {RepairKind::kTimeUnit, 10.0})[0].t, 5.0);
  EXPECT_EQ(repaired(one, {RepairKind::kAccUnit, 2.0})[0].acc.x, 2.0);
  EXPECT_EQ(repaired(one, {RepairKind::kAccUnit, 2.0})[0].gyro.y, 1.0);
  EXPECT_EQ(repaired(one, {RepairKind::kGyroUnit, 3.0})[0].gyro.y, 3.0);
  EXPECT_EQ(repaired(one, {RepairKind::kSwapSensors})[0].acc.y, 1.0);
}

// A bias and a rate are what the host passes: the samples stay, unless asked for.
TEST(Repairs, OfWhatTheHostPassesLeaveTheSamples) {
  std::vector<RecordedSample> samples = at({0.0});
  const Repair bias = {RepairKind::kBias, 1.0, {}, {0.0, 0.25, 0.0}};
  apply(bias, samples);
  EXPECT_EQ(samples[0].gyro.y, 1.0);
  apply(bias, samples, true);
  EXPECT_EQ(samples[0].gyro.y, 0.75);
  const Repair zeros = {RepairKind::kZeroRates, 1.0, {}, {0.0, 0.75, 0.0}};
  apply(zeros, samples);
  EXPECT_NE(samples[0].gyro.x, 0.0) << "no sample is exactly the bias";
  EXPECT_EQ(samples[0].gyro.y, 0.75);
}
