// A motion that matters keeps every sample; the others are drawn as finely as they fit.
#include "explanation/drawn_motions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "support/cases.h"
#include "support/packed.h"
#include "support/random_points.h"

using namespace wgr;

static constexpr size_t kSamples = 300;  // of a motion

namespace {

struct DrawnMotion {
  size_t bucket;
  size_t points;
  double first_x;  // m/s²
};

}  // namespace

static MotionExplanation motion_of(RandomPoints& random, double first_x) {
  MotionExplanation motion;
  motion.ran = true;
  motion.collected = kSamples;
  motion.corrected.push_back({first_x, 0.0, 1.0});
  while (motion.corrected.size() < kSamples) {
    motion.corrected.push_back({random.gaussian(), random.gaussian(), 1.0});
  }
  return motion;
}

static std::map<size_t, DrawnMotion> read(DrawnMotions& drawn) {
  std::string bytes;
  drawn.write([&bytes](std::string_view piece) { bytes += piece; });
  Packed packed(bytes);
  std::map<size_t, DrawnMotion> all;
  while (!packed.ended()) {
    const size_t number = packed.whole();
    packed.whole();  // the block's length
    DrawnMotion motion = {packed.whole(), 0, 0.0};
    const std::vector<double> x = packed.series(0.1);
    motion.points = x.size();
    motion.first_x = x.at(0);
    EXPECT_EQ(packed.series(0.1).size(), x.size());
    EXPECT_EQ(packed.series(0.1).size(), x.size());
    EXPECT_EQ(packed.series(1.0).size(), 0u);  // no speeds
    for (int i = 0; i < 3; ++i) EXPECT_EQ(packed.whole(), 0u);
    all[number] = motion;
  }
  return all;
}

TEST(DrawnMotions, FewAreDrawnWithAllTheirSamples) {
  RandomPoints random(3);
  DrawnMotions drawn;
  drawn.add(motion_of(random, 5.0), false);
  drawn.add(MotionExplanation(), true);  // without a trace
  drawn.add(motion_of(random, -7.0), true);
  const auto all = read(drawn);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all.at(0).points, kSamples);
  EXPECT_DOUBLE_EQ(all.at(0).first_x, 5.0);
  EXPECT_EQ(all.at(2).points, kSamples);
  EXPECT_DOUBLE_EQ(all.at(2).first_x, -7.0);
}

TEST(DrawnMotions, ThoseThatMatterKeepEverySampleHoweverManyThereAre) {
  if (slow_here()) GTEST_SKIP() << "slow here: six thousand motions";
  RandomPoints random(3);
  DrawnMotions drawn;
  for (size_t n = 0; n < 6000; ++n) drawn.add(motion_of(random, 1.0), n % 1000 == 7);
  const auto all = read(drawn);
  ASSERT_EQ(all.size(), 6000u);
  const size_t thinned = all.at(0).points;
  EXPECT_LT(thinned, kSamples);
  EXPECT_GE(thinned, 20u);
  for (const auto& [number, motion] : all) {
    ASSERT_EQ(motion.points, number % 1000 == 7 ? kSamples : thinned) << number;
    ASSERT_EQ(motion.bucket == 1, number % 1000 == 7) << number;
  }
}

TEST(DrawnMotions, ThoseTooShortAreLeftOutFirst) {
  if (slow_here()) GTEST_SKIP() << "slow here: six thousand motions";
  RandomPoints random(3);
  DrawnMotions drawn;
  for (size_t n = 0; n < 6000; ++n) {
    MotionExplanation motion = motion_of(random, 1.0);
    motion.ran = n == 0;
    drawn.add(motion, n == 1);
  }
  const auto all = read(drawn);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all.at(0).points, kSamples);
  EXPECT_EQ(all.at(1).points, kSamples);
}

// What was compared is the trace over the strength: it is told once.
TEST(DrawnMotions, WhatWasComparedIsToldByItsScale) {
  MotionExplanation motion;
  motion.ran = true;
  motion.strength = 4.0;
  for (int i = 0; i < 10; ++i) motion.corrected.push_back({i * 1.0, 2.0, -i * 1.0});
  motion.speed.assign(9, 0.5);
  motion.active = {3, 8};  // steps: samples 2 to 7
  for (int i = 2; i < 7; ++i) motion.compared.push_back({i * 0.25, 0.5, -i * 0.25});
  motion.compared.push_back({0.0, 0.0, 9.8});  // gravity
  motion.scores.push_back({1, 4, -0.5F, std::nullopt});
  motion.path.pairs = {{0, 0}, {1, 1}, {1, 2}, {2, 3}, {3, 3}, {4, 4}};
  const auto numbers = [&motion] {
    DrawnMotions drawn;
    drawn.add(motion, true);
    std::string bytes;
    drawn.write([&bytes](std::string_view piece) { bytes += piece; });
    Packed packed(bytes);
    for (int i = 0; i < 3; ++i) packed.whole();
    for (int i = 0; i < 4; ++i) packed.series(1.0);
    EXPECT_EQ(packed.whole(), 3u);
    EXPECT_EQ(packed.whole(), 8u);
    EXPECT_EQ(packed.whole(), 2u);  // the template, from 1
    std::vector<std::vector<double>> all;
    while (!packed.ended()) all.push_back(packed.series(0.001));
    return all;
  };
  const std::vector<std::vector<double>> scaled = numbers();
  ASSERT_EQ(scaled.size(), 3u);
  EXPECT_EQ(scaled[0], std::vector<double>{4.0});
  EXPECT_EQ(scaled[1].size(), 5u);  // the first template point of each
  EXPECT_DOUBLE_EQ(scaled[1][2], 0.003);
  EXPECT_DOUBLE_EQ(scaled[2][1], 0.001);  // one more
  motion.compared[3].y = 0.6;
  const std::vector<std::vector<double>> full = numbers();
  ASSERT_EQ(full.size(), 6u);
  EXPECT_TRUE(full[0].empty());
  EXPECT_EQ(full[2].size(), 5u);
}
