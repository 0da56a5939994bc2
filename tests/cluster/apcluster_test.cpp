#include "cluster/apcluster.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cmath>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/same_bits.h"

using ::testing::ElementsAre;
using ::testing::ExitedWithCode;

static const double kNan = std::numeric_limits<double>::quiet_NaN();
static constexpr int kUntouched = -77;

static const std::string kNoExemplar = "    Warning: Number of cluster is zeros\n";
static const std::string kNotConverged =
    "    Warning: Algorithm did not converge. The similarities\n"
    "    may contain degeneracies - add noise to the similarities\n"
    "    to remove degeneracies. To monitor the net similarity,\n"
    "    activate plotting. Also, consider increasing maxits and\n"
    "    if necessary dampfact.\n\n";

struct Outcome {
  int result;
  std::vector<int> idx;
  std::string printed;
};

static Outcome cluster(AP ap, std::vector<float>& s, int n) {
  Outcome outcome = {0, std::vector<int>(static_cast<size_t>(n), kUntouched), ""};
  Capture capture;
  outcome.result = ap.cluster(s.data(), outcome.idx.data(), n);
  outcome.printed = capture.finish();
  return outcome;
}

// Minus the squared distances of points on a line, as the similarities of traces are.
static std::vector<float> on_a_line(const std::vector<double>& points) {
  std::vector<float> s;
  for (const double p : points) {
    for (const double q : points) s.push_back(static_cast<float>(-(p - q) * (p - q)));
  }
  return s;
}

// What it prints goes to standard error, where the death test reads it, in full.
static void make(int maxits, int convits, double preference, double dampfact) {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  AP(maxits, convits, preference, dampfact);
  std::fflush(stdout);
  _exit(33);  // it came back
}

TEST(ApDeathTest, EndsTheProcessWithStatus0ForParametersOutOfRange) {
  const struct {
    int maxits, convits;
    double preference, dampfact;
    const char* printed;
  } cases[] = {
      {0, 5, 1.0, 0.5, "\tERROR: maxits must be a positive integer\n"},
      {INT_MIN, 5, 1.0, 0.5, "\tERROR: maxits must be a positive integer\n"},
      {1, 0, 1.0, 0.5, "\tERROR: convits must be a positive integer\n"},
      {1, -1, 1.0, 0.5, "\tERROR: convits must be a positive integer\n"},
      {1, 1, -0.001, 0.5, "\tERROR: preference must be a positive value\n"},
      {1, 1, 1.0, 0.49, "\tERROR: dampfact must be >= 0.5 and < 1\n"},
      {1, 1, 1.0, 1.0, "\tERROR: dampfact must be >= 0.5 and < 1\n"},
      {1, 1, 1.0, -3.0, "\tERROR: dampfact must be >= 0.5 and < 1\n"},
      // Several at once: the first of the four is named.
      {0, 0, -1.0, 2.0, "\tERROR: maxits must be a positive integer\n"},
      {1, 0, -1.0, 2.0, "\tERROR: convits must be a positive integer\n"},
      {1, 1, -1.0, 2.0, "\tERROR: preference must be a positive value\n"},
  };
  std::fflush(stdout);
  for (const auto& c : cases) {
    EXPECT_EXIT(make(c.maxits, c.convits, c.preference, c.dampfact), ExitedWithCode(0),
                ::testing::StrEq(c.printed))
        << c.maxits << ' ' << c.convits << ' ' << c.preference << ' ' << c.dampfact;
  }
}

// A value that is no number is neither too small nor too large.
TEST(ApDeathTest, ReturnsForParametersInRangeAndWarnsOfLargeDamping) {
  const struct {
    int maxits, convits;
    double preference, dampfact;
    const char* printed;
  } cases[] = {
      {1, 1, 0.0, 0.5, ""},
      {1, 1, -0.0, 0.9, ""},
      {500, 50, 1e300, 0.899, ""},
      {1, 1, 1.0, 0.95, "\tWarning: Large damping factor in use\n\n"},
      {1, 1, 1.0, 0.9000001, "\tWarning: Large damping factor in use\n\n"},
      {1, 1, 1.0, 0.999999, "\tWarning: Large damping factor in use\n\n"},
      {1, 1, kNan, 0.5, ""},
      {1, 1, 1.0, kNan, ""},
  };
  std::fflush(stdout);
  for (const auto& c : cases) {
    EXPECT_EXIT(make(c.maxits, c.convits, c.preference, c.dampfact), ExitedWithCode(33),
                ::testing::StrEq(c.printed))
        << c.maxits << ' ' << c.convits << ' ' << c.preference << ' ' << c.dampfact;
  }
}

TEST(Ap, ADampingAboveNineTenthsIsWarnedOf) {
  Capture usual;
  AP(1, 1, 1.0, 0.9);
  EXPECT_EQ(usual.finish(), "");
  Capture large;
  AP(1, 1, 1.0, 0.91);
  EXPECT_EQ(large.finish(), "\tWarning: Large damping factor in use\n\n");
}

// 46342 * 46341 similarities are more than an int counts; none of them is looked at.
TEST(Ap, MoreSimilaritiesThanCanBeCountedAreRefusedAsTooManyToAllocate) {
  float s = 0.0f;
  int idx = kUntouched;
  Capture printing;
  EXPECT_THROW(AP(1, 1, 1.0, 0.5).cluster(&s, &idx, 46342), std::bad_alloc);
  printing.finish();
  EXPECT_EQ(s, 0.0f);
  EXPECT_EQ(idx, kUntouched);
}

TEST(Ap, KeepsItsParameters) {
  const AP ap(7, 3, 1.25, 0.6);
  EXPECT_EQ(ap.maxits, 7);
  EXPECT_EQ(ap.convits, 3);
  EXPECT_EQ(ap.preference, 1.25);
  EXPECT_EQ(ap.dampfact, 0.6);
}

TEST(Ap, PutsTheLowerMedianTimesThePreferenceOnTheDiagonal) {
  // The off-diagonal values in order: -9 -8 -7 -6 -5 -4; the third smallest is -7.
  const std::vector<float> three = {0, -4, -9, -6, 0, -7, -5, -8, 0};
  const struct {
    double preference;
    float diagonal;
  } cases[] = {{1.0, -7.0f}, {2.5, -17.5f}, {0.1, static_cast<float>(0.1 * -7.0)}};
  for (const auto& c : cases) {
    std::vector<float> s = three;
    cluster(AP(100, 10, c.preference, 0.5), s, 3);
    for (size_t i = 0; i < 9; ++i) {
      EXPECT_EQ(s[i], i % 4 == 0 ? c.diagonal : three[i])
          << "preference " << c.preference << ", entry " << i;
    }
  }
}

TEST(Ap, MediansTwoPointsByTheSmallerOfTheirSimilarities) {
  for (const auto& [forth, back] : {std::pair(-3.0f, -5.0f), {-5.0f, -3.0f}}) {
    std::vector<float> s = {9, forth, back, 9};
    cluster(AP(100, 10, 1.0, 0.5), s, 2);
    EXPECT_THAT(s, ElementsAre(-5.0f, forth, back, -5.0f));
  }
}

TEST(Ap, IgnoresWhatTheDiagonalHeld) {
  std::vector<float> clean = on_a_line({0, 0.1, 0.25, 5, 5.2, 5.3});
  std::vector<float> dirty = clean;
  for (size_t i = 0; i < 36; i += 7) dirty[i] = i == 7 ? NAN : 1e6f;
  const Outcome a = cluster(AP(100, 10, 1.0, 0.5), clean, 6);
  const Outcome b = cluster(AP(100, 10, 1.0, 0.5), dirty, 6);
  EXPECT_EQ(a.result, b.result);
  EXPECT_EQ(a.idx, b.idx);
  EXPECT_TRUE(same_bits(clean, dirty));
}

TEST(Ap, FindsTheMiddlesOfTwoGroups) {
  std::vector<float> s = on_a_line({0.0, 1.0, 2.2, 50.0, 51.0, 52.2});
  const Outcome outcome = cluster(AP(200, 15, 1.0, 0.6), s, 6);
  EXPECT_EQ(outcome.result, 2);
  EXPECT_THAT(outcome.idx, ElementsAre(1, 1, 1, 4, 4, 4));
  EXPECT_EQ(outcome.printed, "");
}

TEST(Ap, GivesFewerGroupsForALargerPreference) {
  const std::vector<double> points = {0.0, 1.0, 2.2, 50.0, 51.0, 52.2};
  std::vector<float> s = on_a_line(points);
  EXPECT_EQ(cluster(AP(500, 15, 0.0, 0.6), s, 6).result, 6);
  EXPECT_EQ(cluster(AP(500, 15, 1.0, 0.6), s, 6).result, 2);
  EXPECT_EQ(cluster(AP(500, 15, 10.0, 0.6), s, 6).result, 1);
}

// Two points alike in every similarity: whichever is looked for, the first is found.
TEST(Ap, SettlesTiesOnTheLowerColumn) {
  std::vector<float> s = {0, -1, -1, 0};
  const Outcome outcome = cluster(AP(1, 1, 0.5, 0.5), s, 2);
  EXPECT_EQ(outcome.result, 2);
  EXPECT_THAT(outcome.idx, ElementsAre(0, 1));

  // With a self-similarity equal to the other one no point stands out: every maximum
  // is column 0, and no evidence is positive.
  s = {0, -1, -1, 0};
  EXPECT_EQ(cluster(AP(50, 5, 1.0, 0.5), s, 2).printed, kNoExemplar);
}

TEST(Ap, WithFewerThanTwoPointsTouchesNothing) {
  for (const int n : {1, 0, -1, INT_MIN}) {
    float s[] = {42.0f};
    int idx[] = {kUntouched};
    Capture capture;
    const int result = AP(10, 5, 1.0, 0.5).cluster(s, idx, n);
    EXPECT_EQ(capture.finish(), "");
    EXPECT_EQ(result, 0) << "n = " << n;
    EXPECT_EQ(s[0], 42.0f) << "n = " << n;
    EXPECT_EQ(idx[0], kUntouched) << "n = " << n;
  }
  EXPECT_EQ(AP(10, 5, 1.0, 0.5).cluster(nullptr, nullptr, 0), 0);
}

// Two iterations run, and a history of five columns holds at most two decisions that
// are 1: a point with any evidence has not converged.
TEST(Ap, DoesNotConvergeWhenTheLimitComesBeforeTheSpan) {
  std::vector<float> s = on_a_line({0.0, 1.0, 2.2, 50.0, 51.0, 52.2});
  const Outcome outcome = cluster(AP(1, 5, 0.0, 0.5), s, 6);
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.printed, kNotConverged);
  EXPECT_THAT(outcome.idx, ::testing::Each(kUntouched));
  for (size_t i = 0; i < 36; i += 7) EXPECT_EQ(s[i], 0.0f);  // 0 times the median
}

// The same limits, but no point ever has positive evidence.
TEST(Ap, ConvergesOnNoExemplarWhenNoPointEverHadEvidence) {
  std::vector<float> s = {0, -1, -1, 0};
  const Outcome outcome = cluster(AP(1, 5, 1.0, 0.5), s, 2);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.printed, kNoExemplar);
  EXPECT_THAT(outcome.idx, ::testing::Each(kUntouched));
}

// With a self-similarity of zero every point has evidence from the first iteration on.
// The limit is met in iteration number maxits, the span covers convits of the
// maxits + 1 that ran.
TEST(Ap, RunsOneIterationMoreThanItsLimit) {
  for (const auto& [convits, converges] : {std::pair(4, true), {5, true}, {6, false}}) {
    std::vector<float> s = on_a_line({0.0, 1.0, 2.2, 50.0, 51.0, 52.2});
    EXPECT_EQ(cluster(AP(4, convits, 0.0, 0.5), s, 6).result, converges ? 6 : -1)
        << "convits " << convits;
  }
}

TEST(Ap, WarnsAboveThreeThousandPoints) {
  const std::string warning =
      "\tWarning: Large memory request. Consider activating\n"
      "\the sparse version of APCLUSTER\n\n";
  for (const auto& [n, printed] :
       {std::pair(3000, kNoExemplar), {3001, warning + kNoExemplar}}) {
    const size_t size = static_cast<size_t>(n);
    std::vector<float> s(size * size, -1.0f);
    const Outcome outcome = cluster(AP(1, 1, 1.0, 0.5), s, n);
    EXPECT_EQ(outcome.printed, printed) << n << " points";
    EXPECT_EQ(outcome.result, 0);
  }
}

// The history is as long as the span in words only.
TEST(Ap, AnswersForTheLargestLimits) {
  std::vector<float> s = on_a_line({0.0, 1.0, 2.2});
  EXPECT_EQ(cluster(AP(1, 1000000, 0.0, 0.5), s, 3).result, -1);
  EXPECT_EQ(cluster(AP(INT_MAX, 2, 0.0, 0.5), s, 3).result, 3);
}
