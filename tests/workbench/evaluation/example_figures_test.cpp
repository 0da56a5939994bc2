// What the page of a model says of its examples: bounds of shares, the map, and how
// accuracy grows.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "evaluation/confidence.h"
#include "evaluation/example_map.h"
#include "evaluation/learning_curve.h"
#include "tools/run_wgr.h"

using namespace wgr;

// By hand: all of n are right with 5 % where the share is the nth root of 0.05; eight of
// ten as tables of the beta distribution have it.
TEST(Confidence, BoundsSharesAsTablesDo) {
  EXPECT_NEAR(least_share(10, 10), std::pow(0.05, 0.1), 1e-9);
  EXPECT_NEAR(least_share(8, 10), 0.4931, 1e-4);
  EXPECT_NEAR(most_share(2, 10), 1.0 - 0.4931, 1e-4);
  EXPECT_EQ(least_share(0, 10), 0.0);
  EXPECT_EQ(most_share(10, 10), 1.0);
  EXPECT_EQ(least_share(0, 0), 0.0);
  EXPECT_NEAR(most_expected(0), -std::log(0.05), 1e-9);
  EXPECT_GT(least_share(5700, 6000), 0.945) << "terms of large numbers are not lost";
}

// From tables of the Poisson distribution; of many events the normal one is near.
TEST(Confidence, BoundsRatesAsTablesDo) {
  const Estimate none = rate_estimate(0, 2.0);
  EXPECT_EQ(none.low, 0.0);
  EXPECT_NEAR(none.high, 3.6889 / 2.0, 1e-4);
  const Estimate ten = rate_estimate(10, 1.0);
  EXPECT_NEAR(ten.low, 4.7954, 1e-4);
  EXPECT_NEAR(ten.high, 18.3904, 1e-4);
  EXPECT_NEAR(most_expected(2000), 2000 + 1.645 * std::sqrt(2000), 5.0);
}

// Two of ten heads or fewer come with 5.5 %, one or none with 1.1 %: the second value
// from either end. None of five comes with 3.1 %, so that five are too few.
TEST(Confidence, BoundsAMedianByTheRanksOfItsSample) {
  const auto ten = median_estimate({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  ASSERT_TRUE(ten);
  EXPECT_EQ(ten->value, 6);
  EXPECT_EQ(ten->low, 2);
  EXPECT_EQ(ten->high, 9);
  const auto six = median_estimate({1, 2, 3, 4, 5, 6});
  ASSERT_TRUE(six);
  EXPECT_EQ(six->low, 1);
  EXPECT_EQ(six->high, 6);
  EXPECT_FALSE(median_estimate({1, 2, 3, 4, 5}));
  EXPECT_FALSE(median_estimate({}));
}

// The examples of Newcombe (1998), table II: 56 of 70 and 48 of 80, 9 of 10 and 3 of 10.
TEST(Confidence, BoundsADifferenceOfSharesAsItsAuthorDid) {
  const Estimate first =
      difference_estimate(share_estimate(48, 80), share_estimate(56, 70));
  EXPECT_NEAR(first.value, 0.2, 1e-12);
  EXPECT_NEAR(first.low, 0.0524, 5e-5);
  EXPECT_NEAR(first.high, 0.3339, 5e-5);
  const Estimate second =
      difference_estimate(share_estimate(3, 10), share_estimate(9, 10));
  EXPECT_NEAR(second.low, 0.1705, 5e-5);
  EXPECT_NEAR(second.high, 0.8090, 5e-5);
  const Estimate back = difference_estimate(share_estimate(9, 10), share_estimate(3, 10));
  EXPECT_DOUBLE_EQ(back.low, -second.high);
}

// Places on a plane are found again, whatever way they are turned: by their distances.
// The last one is no landmark; the one before it cannot be compared.
TEST(ExampleMap, KeepsTheDistancesOfAPlane) {
  const double x[] = {0.0, 4.0, 4.0, 1.0, 2.0, 9.0, 3.0};
  const double y[] = {0.0, 0.0, 3.0, 2.0, 5.0, 9.0, 1.0};
  const auto distance = [&](size_t i, size_t j) {
    return std::hypot(x[i] - x[j], y[i] - y[j]);
  };
  const ExampleMap map = map_examples(7, {0, 1, 2, 3, 4}, [&](size_t i, size_t j) {
    return i == 5 || j == 5 ? -std::numeric_limits<double>::infinity() : -distance(i, j);
  });
  EXPECT_FALSE(map.points[5]);
  EXPECT_NEAR(map.held, 1.0, 1e-6);
  for (const size_t i : {0, 1, 2, 3, 4, 6}) {
    ASSERT_TRUE(map.points[i]);
    for (const size_t j : {0, 1, 2, 3, 4, 6}) {
      EXPECT_NEAR(std::hypot(map.points[i]->x - map.points[j]->x,
                             map.points[i]->y - map.points[j]->y),
                  distance(i, j), 1e-4)
          << i << " " << j;
    }
  }
}

TEST(ExampleMap, TooFewLandmarksPlaceNothing) {
  const ExampleMap map = map_examples(2, {0, 1}, [](size_t, size_t) { return -1.0; });
  EXPECT_FALSE(map.points[0]);
  EXPECT_EQ(evenly_chosen(10, 3), (std::vector<size_t>{0, 3, 6}));
  EXPECT_EQ(evenly_chosen(2, 3), (std::vector<size_t>{0, 1}));
}

// Of each of four people two classes: a rise whose height is the class's, but for the
// last person, who makes the first class like the others' second.
static Gdata four_people(ExampleSources& sources) {
  Gdata data;
  data.kind = 1;
  for (int person = 0; person < 4; ++person) {
    for (int label = 0; label < 2; ++label) {
      const bool like_second = label == 1 || person == 3;
      Points trace;
      for (int k = 0; k < 20; ++k) {
        const double t = 0.3 * k + (person == 3 ? 0.2 : 0.01 * person);
        trace.push_back(
            {std::sin(t), like_second ? std::sin(2.0 * t) : 0.1 * label, 0.0});
      }
      trace.push_back({0.0, 0.0, 10.0});
      data.samples.push_back({label, trace});
      sources.subjects.push_back(std::string(1, static_cast<char>('a' + person)));
    }
  }
  return data;
}

TEST(LearningCurve, CountsWhatOtherPeopleClassify) {
  Capture hushed;
  ExampleSources sources;
  const Gdata data = four_people(sources);
  const ModelBuilder builder(data, 1, true, sources);
  const LearningCurve curve = learning_curve(builder);
  EXPECT_EQ(curve.by, LeftOut::kSubjects);
  ASSERT_EQ(curve.points.size(), 3u);
  EXPECT_EQ(curve.points[0].templates_from, 1.0);
  EXPECT_EQ(curve.points[2].templates_from, 3.0);
  // All others know three people's both classes, and the last one's second alone.
  EXPECT_EQ(curve.points[2].accuracy, 7.0 / 8.0);
  EXPECT_LT(curve.points[0].accuracy, curve.points[2].accuracy);
}

TEST(LearningCurve, TooFewPeopleAreCountedByRepetitions) {
  Capture hushed;
  ExampleSources sources;
  const Gdata data = four_people(sources);
  const LearningCurve curve = learning_curve(ModelBuilder(data, 1, true));
  EXPECT_EQ(curve.by, LeftOut::kRepetitions);
  EXPECT_EQ(curve.points.size(), 3u) << "four repetitions of each class";
}
