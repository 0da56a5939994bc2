#include "recording/clock.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace wgr;

static std::deque<RecordedSample> stamped(const std::vector<double>& times) {
  std::deque<RecordedSample> samples;
  for (const double t : times) samples.push_back({t, {0, 0, 0}, {0, 0, 0}});
  return samples;
}

TEST(Clock, TheRateSurvivesGapsAndStampsInMilliseconds) {
  // At 119 Hz stamps in ms are 8 or 9 ms apart, mostly 8, which alone would be 125 Hz.
  std::vector<double> times;
  for (int i = 0; i < 500; ++i) {
    const double gap = i < 100 ? 0.0 : 60.0;
    times.push_back(gap + std::round(1000.0 * i / 119.0) / 1000.0);
  }
  EXPECT_EQ(estimate_rate(stamped(times)), 119);
}

TEST(Clock, TheRateNeedsAStepForward) {
  EXPECT_EQ(estimate_rate(stamped({})), std::nullopt);
  EXPECT_EQ(estimate_rate(stamped({1.0})), std::nullopt);
  EXPECT_EQ(estimate_rate(stamped({1.0, 1.0, 0.5})), std::nullopt);
  EXPECT_EQ(estimate_rate(stamped({1.0, 1.5})), 2);
  EXPECT_EQ(estimate_rate(stamped({0.0, 10.0})), std::nullopt) << "less than 1 a second";
  EXPECT_EQ(estimate_rate(stamped({0.0, 1e-9})), std::nullopt) << "more than any sensor";
}

TEST(Clock, CountsGapsRepeatsAndStepsBack) {
  Clock clock(4);  // a period of 0.25 s; steps over 0.4375 s miss a sample
  for (const double t : {0.0, 0.25, 0.6875, 1.1875, 1.1875, 1.0, 1.25, 1.5, 3.5, 3.75}) {
    clock.add(t);
  }
  EXPECT_EQ(clock.gaps(), 2u);
  EXPECT_EQ(clock.longest_gap(), 2.0);
  EXPECT_EQ(clock.repeats(), 1u);
  EXPECT_EQ(clock.backward(), 1u);
  EXPECT_EQ(clock.observed_rate(), 9 / 3.75);
}

TEST(Clock, AClockThatStandsHasNoRate) {
  Clock clock(50);
  EXPECT_EQ(clock.observed_rate(), std::nullopt);
  clock.add(2.0);
  EXPECT_EQ(clock.observed_rate(), std::nullopt);
  clock.add(2.0);
  EXPECT_EQ(clock.observed_rate(), std::nullopt);
  clock.add(2.5);
  EXPECT_EQ(clock.observed_rate(), 4.0);
}
