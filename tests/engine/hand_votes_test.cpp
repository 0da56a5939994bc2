#include "engine/hand_votes.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

#include "engine/WHD.h"
#include "support/private_paths.h"
#include "support/random_points.h"
#include "support/reference_hand.h"

using namespace wgr;

static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
static constexpr double kInfinity = std::numeric_limits<double>::infinity();

namespace {
struct Votes {
  int counts[2] = {0, 0};
  bool operator==(const Votes& other) const {
    return counts[0] == other.counts[0] && counts[1] == other.counts[1];
  }
};

std::ostream& operator<<(std::ostream& out, const Votes& votes) {
  return out << "{" << votes.counts[0] << ", " << votes.counts[1] << "}";
}
}  // namespace

static Votes acc_votes(const Samples& acc, const Hparams& params) {
  Votes votes;
  vote_acc(acc, static_cast<int>(acc.size()), params, votes.counts);
  return votes;
}

static Votes both_votes(const Samples& acc, const Samples& gyro, const Hparams& params) {
  Votes votes;
  vote_acc_gyro(acc, gyro, static_cast<int>(acc.size()), params, votes.counts);
  return votes;
}

static Hparams one_scale(int lag, double x, double y, double gyro) {
  return {1, {lag}, {x}, {y}, {gyro}};
}

TEST(DecideAcc, WantsThreeVotesAndAMajorityOfSevenTenths) {
  const struct {
    int votes[2];
    int verdict;
  } cases[] = {
      {{2, 0}, -1},  // fewer than three
      {{3, 0}, 0},   {{0, 2}, -1}, {{0, 3}, 1},
      {{2, 2}, -1},  {{0, 0}, -1}, {{3, 2}, 0},  // 2.1 > 2
      {{2, 3}, 1},                               // 2 < 2.1
      {{4, 3}, -1},  // 2.8 is not above 3, and 4 is not below 2.1
      {{3, 4}, -1},  {{1, 3}, 1},  {{2, 1}, 0},  // 1.4 > 1
      {{10, 7}, -1},                             // 7.0 is not above 7
      {{7, 10}, -1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(decide_acc(c.votes), c.verdict) << c.votes[0] << ", " << c.votes[1];
  }
}

TEST(DecideAccGyro, WantsAMajorityOfSixTenthsOnly) {
  const struct {
    int votes[2];
    int verdict;
  } cases[] = {
      {{1, 0}, 0},  {{0, 1}, 1},  {{0, 0}, -1},
      {{2, 2}, -1}, {{5, 3}, -1},  // 3.0 is not above 3, and 5 is not below 1.8
      {{3, 5}, -1}, {{5, 2}, 0},  {{2, 5}, 1},
      {{2, 1}, 0},  {{3, 2}, -1},  // 1.8 is not above 2
  };
  for (const auto& c : cases) {
    EXPECT_EQ(decide_acc_gyro(c.votes), c.verdict) << c.votes[0] << ", " << c.votes[1];
  }
}

// Lag 4, half 2: the second two samples less the first two. Starts 0 and 1 of five.
TEST(VoteAcc, EveryStartUpToTheLastVotes) {
  const Samples acc = {{0, 0, 0}, {0, 0, 0}, {1, 1, 0}, {1, 1, 0}, {2, 2, 0}};
  EXPECT_EQ(acc_votes(acc, one_scale(4, 1, 1, 0)), (Votes{{2, 0}}));  // 2 and 2
  EXPECT_EQ(acc_votes(acc, one_scale(5, 1, 1, 0)), (Votes{{2, 0}}));  // halves of 2 too
  EXPECT_EQ(acc_votes(acc, one_scale(4, 2, 1, 0)), (Votes{{0, 0}}));  // strictly above
  EXPECT_EQ(acc_votes(acc, one_scale(6, 0, 0, 0)), (Votes{{0, 0}}));  // longer than n
}

TEST(VoteAcc, OppositeSignsVoteForOneAndEqualSignsForZero) {
  const Hparams params = one_scale(2, 0, 0, 0);
  EXPECT_EQ(acc_votes({{0, 0, 0}, {1, 1, 0}}, params), (Votes{{1, 0}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {-1, -1, 0}}, params), (Votes{{1, 0}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {1, -1, 0}}, params), (Votes{{0, 1}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {-1, 1, 0}}, params), (Votes{{0, 1}}));
}

TEST(VoteAcc, TheFractionIsDroppedBeforeTheThreshold) {
  const Hparams params = one_scale(2, 0, 0, 0);
  EXPECT_EQ(acc_votes({{0, 0, 0}, {0.9, 5, 0}}, params), (Votes{{0, 0}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {-0.9, 5, 0}}, params), (Votes{{0, 0}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {1.0, 5, 0}}, params), (Votes{{1, 0}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {5, 12.9, 0}}, one_scale(2, 0, 12, 0)),
            (Votes{{0, 0}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {5, 13, 0}}, one_scale(2, 0, 12, 0)), (Votes{{1, 0}}));
}

TEST(VoteAcc, AProductOfZeroVotesForZero) {
  EXPECT_EQ(acc_votes({{0, 0, 0}, {0, 5, 0}}, one_scale(2, -1, 0, 0)), (Votes{{1, 0}}));
}

TEST(VoteAcc, TheGyroscopesThresholdDoesNotCount) {
  EXPECT_EQ(acc_votes({{0, 0, 0}, {5, 5, 0}}, one_scale(2, 0, 0, 1e9)), (Votes{{1, 0}}));
}

// Lag 2: the rates' sum over both samples, against the change of y.
TEST(VoteAccGyro, EqualSignsVoteForOneAndOppositeOrZeroForZero) {
  const Hparams params = one_scale(2, 1e9, 0, 3);
  const Samples rise = {{0, 0, 0}, {0, 5, 0}}, fall = {{0, 5, 0}, {0, 0, 0}};
  const Samples left = {{0, 0, 2}, {0, 0, 2}}, right = {{0, 0, -2}, {0, 0, -2}};
  EXPECT_EQ(both_votes(rise, left, params), (Votes{{0, 1}}));
  EXPECT_EQ(both_votes(fall, right, params), (Votes{{0, 1}}));
  EXPECT_EQ(both_votes(rise, right, params), (Votes{{1, 0}}));
  EXPECT_EQ(both_votes(fall, left, params), (Votes{{1, 0}}));
  EXPECT_EQ(both_votes(rise, {{0, 0, 0}, {0, 0, 0}}, one_scale(2, 0, 0, -1)),
            (Votes{{1, 0}}));
}

TEST(VoteAccGyro, TheRatesAreSummedOverTheWholeWindow) {
  const Samples rise = {{0, 0, 0}, {0, 5, 0}};
  const Samples turned = {{0, 0, 3}, {0, 0, -1}};  // 2 in all, a change of -4
  EXPECT_EQ(both_votes(rise, turned, one_scale(2, 0, 0, 1)), (Votes{{0, 1}}));
  EXPECT_EQ(both_votes(rise, turned, one_scale(2, 0, 0, 2)), (Votes{{0, 0}}));
}

TEST(Votes, BeyondIntAMagnitudeStillCountsAndNotANumberNever) {
  const Hparams params = one_scale(2, 0, 0, 0);
  for (const double big : {3e9, 1e300, kInfinity}) {
    EXPECT_EQ(acc_votes({{0, 0, 0}, {big, 5, 0}}, params), (Votes{{1, 0}})) << big;
    EXPECT_EQ(acc_votes({{0, 0, 0}, {-big, 5, 0}}, params), (Votes{{0, 1}})) << big;
    EXPECT_EQ(both_votes({{0, 0, 0}, {0, 5, 0}}, {{0, 0, 0}, {0, 0, big}}, params),
              (Votes{{0, 1}}));
  }
  EXPECT_EQ(acc_votes({{0, 0, 0}, {3e9, 5, 0}}, one_scale(2, 3.1e9, 0, 0)), Votes());
  // There as well the fraction is dropped first: 3e9 does not exceed itself.
  EXPECT_EQ(acc_votes({{0, 0, 0}, {-3e9 - 0.5, 5, 0}}, one_scale(2, 3e9, 0, 0)), Votes());
  EXPECT_EQ(acc_votes({{0, 0, 0}, {-3e9 - 1, 5, 0}}, one_scale(2, 3e9, 0, 0)),
            (Votes{{0, 1}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {double(INT_MIN), 5, 0}}, one_scale(2, 2e9, 0, 0)),
            (Votes{{0, 1}}));
  EXPECT_EQ(acc_votes({{0, 0, 0}, {kNaN, 5, 0}}, one_scale(2, -1, -1, 0)), Votes());
  EXPECT_EQ(acc_votes({{0, 0, 0}, {5, kNaN, 0}}, one_scale(2, -1, -1, 0)), Votes());
  EXPECT_EQ(acc_votes({{0, 0, 0}, {5, 5, 0}}, one_scale(2, kNaN, 0, 0)), Votes());
}

TEST(Votes, AScaleOfANegativeLagIsSkipped) {
  const Hparams params = {2, {-1, 2}, {-1, -1}, {-1, -1}, {-1, -1}};
  const Samples acc = {{0, 0, 0}, {5, 5, 0}};
  EXPECT_EQ(acc_votes(acc, params), (Votes{{1, 0}}));
  EXPECT_EQ(both_votes(acc, acc, params), (Votes{{1, 0}}));
  EXPECT_EQ(acc_votes(acc, one_scale(INT_MIN, -1, -1, -1)), Votes());
}

// A half of no samples changes by nothing, at each of the n + 1 places.
TEST(Votes, ALagOfZeroOrOneTestsEveryPlace) {
  const Samples acc = {{0, 0, 0}, {5, 5, 0}};
  EXPECT_EQ(acc_votes(acc, one_scale(0, -1, -1, 0)), (Votes{{3, 0}}));
  EXPECT_EQ(acc_votes(acc, one_scale(1, -1, -1, 0)), (Votes{{3, 0}}));
  EXPECT_EQ(acc_votes(acc, one_scale(INT_MAX, -1, -1, 0)), Votes());
}

TEST(Votes, OnlyScalesThatAllArraysHoldAreUsed) {
  const Samples acc = {{0, 0, 0}, {5, 5, 0}};
  const std::vector<double> two = {0, 0}, one = {0};
  EXPECT_EQ(acc_votes(acc, {9, {2, 2}, two, two, two}), (Votes{{2, 0}}));
  EXPECT_EQ(acc_votes(acc, {2, {2}, two, two, two}), (Votes{{1, 0}}));
  EXPECT_EQ(acc_votes(acc, {2, {2, 2}, one, two, two}), (Votes{{1, 0}}));
  EXPECT_EQ(acc_votes(acc, {2, {2, 2}, two, one, two}), (Votes{{1, 0}}));
  EXPECT_EQ(both_votes(acc, acc, {2, {2, 2}, two, two, {}}), Votes());
  EXPECT_EQ(acc_votes(acc, {1, {2, 2}, two, two, two}), (Votes{{1, 0}}));
  EXPECT_EQ(acc_votes(acc, {-1, {2, 2}, two, two, two}), Votes());
}

TEST(VotesLiteral, VerdictsAndVotesAgreeAfterEverySample) {
  RandomPoints random(6201);
  int verdicts[3] = {0, 0, 0};
  for (int round = 0; round < 400; ++round) {
    const auto kind = kEveryKind[round % 3];
    const int window = random.integer(-2, 40);
    Hparams params;
    params.count = random.integer(0, 3);
    reference::Hand hand = {window, {}, {}, {}};
    for (int k = 0; k < params.count; ++k) {
      const reference::HandScale scale = {
          random.integer(-2, 20), random.uniform() * 4 - 1, random.uniform() * 4 - 1,
          random.uniform() * 4 - 1};
      hand.scales.push_back(scale);
      params.lags.push_back(scale.lag);
      params.thr_x.push_back(scale.thr_x);
      params.thr_y.push_back(scale.thr_y);
      params.thr_gyro.push_back(scale.thr_gyro);
    }
    WHD whd(50, window, &params);
    const int feeding = random.integer(0, 2);
    for (int i = 0; i < 80; ++i) {
      if (random.integer(0, 39) == 0) {
        hand.window_len = random.integer(-2, 40);
        whd.init(50, hand.window_len);
      }
      const Points pair = random.trace(2, kind);
      const Point3Df acc = 2.0 * pair[0], gyro = 2.0 * pair[1];
      const bool both = feeding == 0 || (feeding == 1 && random.integer(0, 1) == 0);
      const int expected = both ? hand.update(acc, gyro) : hand.update(acc);
      const int verdict = both ? whd.update(acc, gyro) : whd.update(acc);
      ASSERT_EQ(verdict, expected) << "round " << round << ", sample " << i;
      ++verdicts[verdict + 1];

      const int start[2] = {random.integer(0, 5), random.integer(0, 5)};
      Votes mine = {{start[0], start[1]}}, theirs = {{start[0], start[1]}};
      ASSERT_EQ(whd.detect_acc(mine.counts), hand.detect_acc(theirs.counts));
      ASSERT_EQ(mine, theirs) << "round " << round << ", sample " << i;
      ASSERT_EQ(whd.detect(mine.counts), hand.detect(theirs.counts));
      ASSERT_EQ(mine, theirs) << "round " << round << ", sample " << i;
    }
  }
  for (const int count : verdicts) EXPECT_GT(count, 1000);
}
