// Templates that are learned: averages, adaptation, and who judges whom.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/errors.h"
#include "dtw/similarity.h"
#include "support/cases.h"
#include "support/random_points.h"
#include "training/adaptation.h"
#include "training/averages.h"
#include "training/background_templates.h"
#include "training/folds.h"
#include "training/model_builder.h"
#include "training/thresholds.h"
#include "training/trace_distance.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::SizeIs;

static ClassMatrix matrix_of(const std::vector<Points>& traces, int k) {
  ClassMatrix matrix = {traces.size(), {}};
  for (const Points& a : traces) {
    for (const Points& b : traces) matrix.scores.push_back(dtw_similarity(a, b, k));
  }
  return matrix;
}

static std::vector<const Points*> pointers_to(const std::vector<Points>& traces) {
  std::vector<const Points*> pointers;
  for (const Points& trace : traces) pointers.push_back(&trace);
  return pointers;
}

// Nearly equal: sums are taken in another order.
static void expect_near(const Points& found, const Points& expected) {
  ASSERT_EQ(found.size(), expected.size());
  for (size_t i = 0; i < found.size(); ++i) {
    EXPECT_LT(squared_length(found[i] - expected[i]), 1e-20) << "point " << i;
  }
}

// A path walked back through the whole table: pairs (i, j), the last first.
static std::vector<std::pair<size_t, size_t>> plain_path(const Points& a,
                                                         const Points& b) {
  constexpr double kFar = std::numeric_limits<double>::infinity();
  std::vector<std::vector<double>> cost(a.size() + 1,
                                        std::vector<double>(b.size() + 1, kFar));
  cost[0][0] = 0.0;
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      cost[i][j] = squared_length(a[i - 1] - b[j - 1]) +
                   std::min({cost[i - 1][j - 1], cost[i - 1][j], cost[i][j - 1]});
    }
  }
  std::vector<std::pair<size_t, size_t>> pairs;
  for (size_t i = a.size(), j = b.size(); i > 0 && j > 0;) {
    pairs.emplace_back(i - 1, j - 1);
    const double side = std::min(cost[i - 1][j], cost[i][j - 1]);
    if (cost[i - 1][j - 1] <= side) {
      --i;
      --j;
    } else if (cost[i - 1][j] <= cost[i][j - 1]) {
      --i;
    } else {
      --j;
    }
  }
  return pairs;
}

// An example weighs as its score does: by its path's length, and one more for a diagonal
// first step.
static Points plain_average(const std::vector<Points>& members, const Points& start) {
  Points average = start;
  for (size_t point = 0; point < start.size(); ++point) {
    Point3Df sum = {0.0, 0.0, 0.0};
    double weights = 0.0;
    for (const Points& member : members) {
      const auto pairs = plain_path(member, start);
      const bool diagonal = pairs.size() > 1 && pairs[pairs.size() - 2].first == 1 &&
                            pairs[pairs.size() - 2].second == 1;
      const double weight = 1.0 / static_cast<double>(pairs.size() + (diagonal ? 1 : 0));
      for (const auto& [i, j] : pairs) {
        if (j != point) continue;
        sum = sum + weight * member[i];
        weights += weight;
      }
    }
    average[point] = (1.0 / weights) * sum;
  }
  return average;
}

TEST(Averages, AreTheMeansOfWhatThePathsLayUponEachPoint) {
  RandomPoints random(5);
  for (int round = 0; round < 20; ++round) {
    std::vector<Points> members;
    for (int m = 0; m < 4; ++m) {
      members.push_back(random.trace(3 + 5 * m, RandomPoints::Kind::kGaussian));
    }
    const Points start = random.trace(1 + round % 9, RandomPoints::Kind::kGaussian);
    expect_near(average_onto(pointers_to(members), start, 0),
                plain_average(members, start));
  }
}

// The same motion, begun and ended later or earlier: 0 0 1 2 3 3 and so on.
TEST(Averages, OfShiftedCopiesAreTheMotionItself) {
  RandomPoints random(6);
  const Points motion = random.trace(20, RandomPoints::Kind::kGaussian);
  std::vector<Points> copies;
  for (size_t before = 0; before < 4; ++before) {
    Points copy(before, motion.front());
    copy.insert(copy.end(), motion.begin(), motion.end());
    copy.insert(copy.end(), 3 - before, motion.back());
    copies.push_back(copy);
  }
  copies.push_back(motion);
  const std::vector<Cluster> clusters =
      cluster_averages(pointers_to(copies), matrix_of(copies, 0), 1, 0);
  ASSERT_THAT(clusters, SizeIs(1));
  EXPECT_EQ(clusters[0].examples, 5u);
  expect_near(clusters[0].trace, copies[clusters[0].around]);
}

// 1 and 3 at rest average to 2, whatever their strength; gravity counts as a direction.
TEST(Averages, KeepTheirStrengthAndAverageGravityAsADirection) {
  const std::vector<Points> members = {{{1.0, 0.0, 0.0}, {0.0, 0.0, 9.8}},
                                       {{3.0, 0.0, 0.0}, {0.0, 500.0, 0.0}}};
  const Points average = average_onto(pointers_to(members), members[0], 1);
  const double half = std::sqrt(0.5);
  expect_near(average, {{2.0, 0.0, 0.0}, {0.0, half, half}});
}

TEST(Averages, AreOneForEachGroup) {
  RandomPoints random(7);
  const Points one = random.trace(15, RandomPoints::Kind::kGaussian);
  const Points other = random.trace(18, RandomPoints::Kind::kGaussian);
  std::vector<Points> traces;
  for (int i = 0; i < 4; ++i) traces.push_back(one);
  for (int i = 0; i < 3; ++i) traces.push_back(other);
  for (const size_t count : {2u, 5u}) {
    const std::vector<Cluster> clusters =
        cluster_averages(pointers_to(traces), matrix_of(traces, 0), count, 0);
    ASSERT_THAT(clusters, SizeIs(2)) << "what nothing is nearest to is left out";
    expect_near(clusters[0].trace, one);
    expect_near(clusters[1].trace, other);
    EXPECT_EQ(clusters[0].examples, 4u);
    EXPECT_EQ(clusters[1].examples, 3u);
  }
}

// By hand: 0 + 4 over a quarter, 4 a half; the ends are their own neighbours.
TEST(Averages, SmoothedHaveHalfOfTheirNeighbours) {
  const Points trace = {{0.0, 0, 0}, {4.0, 0, 0}, {4.0, 0, 0}, {0.0, 0.0, 9.8}};
  expect_near(smoothed(trace, 1),
              {{1.0, 0, 0}, {3.0, 0, 0}, {4.0, 0, 0}, {0.0, 0.0, 9.8}});
}

// d+ = 1, d- = 3: mu = -1/2, f' = 1 / (1 + 6^2), over 4^2.
TEST(Adaptation, StepsByTheGradientOfTheRelativeDistance) {
  const StepFactors factors = step_factors(1.0, 3.0);
  EXPECT_DOUBLE_EQ(factors.own, 3.0 / 16.0 / 37.0);
  EXPECT_DOUBLE_EQ(factors.other, 1.0 / 16.0 / 37.0);
  EXPECT_EQ(step_factors(0.0, 0.0).own, 0.0);
  EXPECT_EQ(step_factors(1.0, std::numeric_limits<double>::infinity()).own, 0.0);
}

// Two points of the example lie on the first of the template: it moves by both.
TEST(Adaptation, MovesPointsAlongTheWarpingPath) {
  const Points example = {{1.0, 0, 0}, {2.0, 0, 0}, {9.0, 0, 0}, {0.0, 3.0, 0.0}};
  Points moved = {{0.0, 0, 0}, {8.0, 0, 0}, {0.0, 0.0, 7.0}};
  move_towards(example, 0.5, 1, moved);
  expect_near(moved, {{1.5, 0, 0}, {8.5, 0, 0}, {0.0, 0.5, 0.5}});
  move_towards({{1.5, 0, 0}}, -1.0, 0, moved = {{1.0, 0, 0}});
  expect_near(moved, {{0.5, 0, 0}});
}

// The class of the template that scores better with the trace, 0 or 1.
static size_t nearer(const Points& trace, const Points& first, const Points& second) {
  return dtw_similarity(trace, first, 0) > dtw_similarity(trace, second, 0) ? 0 : 1;
}

// Averages 0.6 and 4 part at 2.3, so 2.4 is taken for the other class.
TEST(Adaptation, PutsRightWhatAveragesMisclassify) {
  std::vector<Points> traces;
  for (const double x : {0.0, 0.0, 0.0, 2.4, 4.0, 4.0, 4.0, 4.0}) {
    traces.push_back({{x, 0.0, 0.0}});
  }
  std::vector<LabelledTrace> examples;
  for (size_t i = 0; i < 8; ++i) examples.push_back({i / 4, &traces[i]});
  Points first = {{0.6, 0.0, 0.0}};
  Points second = {{4.0, 0.0, 0.0}};
  ASSERT_EQ(nearer(traces[3], first, second), 1u);
  adapt_templates(examples, {{0, &first}, {1, &second}}, 0);
  for (const LabelledTrace& example : examples) {
    EXPECT_EQ(nearer(*example.trace, first, second), example.class_index);
  }
}

// Were all examples alike, 16 of the other class at 2.4 would win the only one at 2.2.
TEST(Adaptation, SmallClassesAreNotLostToLargeOnes) {
  const Points few[] = {{{0.0, 0.0, 0.0}}, {{2.2, 0.0, 0.0}}};
  const Points many[] = {{{2.4, 0.0, 0.0}}, {{4.0, 0.0, 0.0}}};
  std::vector<LabelledTrace> examples = {{0, &few[0]}, {0, &few[1]}};
  for (size_t i = 0; i < 32; ++i) examples.push_back({1, &many[i % 2]});
  Points small = {{1.1, 0.0, 0.0}};
  Points large = {{3.2, 0.0, 0.0}};
  adapt_templates(examples, {{0, &small}, {1, &large}}, 0);
  for (const LabelledTrace& example : examples) {
    EXPECT_EQ(nearer(*example.trace, small, large), example.class_index);
  }
}

// By the root alone the only one would weigh as 31, and throw its template past itself,
// among the others.
TEST(Adaptation, TheOnlyExampleOfAClassIsNotOvershot) {
  const Points only = {{1.0, 0.0, 0.0}};
  const Points other = {{1.6, 0.0, 0.0}};
  std::vector<LabelledTrace> examples(1999, {1, &other});
  examples.push_back({0, &only});
  Points small = {{0.4, 0.0, 0.0}};
  Points large = other;
  adapt_templates(examples, {{0, &small}, {1, &large}}, 0);
  EXPECT_GT(small[0].x, 0.4);
  EXPECT_LE(small[0].x, 1.0);
  EXPECT_NEAR(large[0].x, 1.6, 0.1);
}

TEST(Adaptation, LeavesTemplatesOfASingleClassAlone) {
  const Points trace = {{1.0, 0.0, 0.0}};
  Points only = {{3.0, 0.0, 0.0}};
  adapt_templates({{0, &trace}}, {{0, &only}}, 0);
  EXPECT_EQ(only[0].x, 3.0);
}

TEST(TraceDistance, IsTheScoreUnlessItIsMoreThanAsked) {
  RandomPoints random(8);
  size_t pruned = 0;
  for (int round = 0; round < 200; ++round) {
    const int k = round % 2;
    const Points a = random.trace(2 + round % 30, RandomPoints::Kind::kGaussian);
    const Points b = random.trace(2 + round % 17, RandomPoints::Kind::kGaussian);
    const double full = -static_cast<double>(dtw_similarity(a, b, k));
    TraceDistance distance(a, k);
    EXPECT_EQ(distance.to(b, std::numeric_limits<double>::infinity()), full);
    EXPECT_EQ(distance.to(b, full), full);
    const double less = distance.to(b, 0.1 * full);
    EXPECT_GE(less, full);
    pruned += less > full ? 1 : 0;
  }
  EXPECT_GT(pruned, 20u) << "nothing is gained";
}

static std::vector<FoldedExample> recorded_by(
    const std::vector<std::pair<int, std::string>>& examples) {
  std::vector<FoldedExample> all;
  for (const auto& [label, subject] : examples) all.push_back({label, subject, ""});
  return all;
}

TEST(Folds, LeaveSubjectsOutTogetherWhereTwoAreKnown) {
  const Folds folds = divide_examples(
      recorded_by({{1, "b"}, {1, "a"}, {2, "a"}, {2, "b"}, {-1, "b"}, {-1, "a"}}), {});
  EXPECT_EQ(folds.by, LeftOut::kSubjects);
  EXPECT_EQ(folds.count, 2u);
  EXPECT_THAT(folds.of, ElementsAre(1, 0, 0, 1, 1, 0));
  EXPECT_EQ(folds.group[0], folds.group[3]);
  EXPECT_NE(folds.group[0], folds.group[1]);
}

TEST(Folds, LeaveRepetitionsOutInTurnWhereOneSubjectOrNoneIsKnown) {
  for (const char* const name : {"a", ""}) {
    const Folds folds = divide_examples(recorded_by({{1, name},
                                                     {1, name},
                                                     {1, name},
                                                     {1, name},
                                                     {1, name},
                                                     {1, name},
                                                     {2, name}}),
                                        {});
    EXPECT_EQ(folds.by, LeftOut::kRepetitions);
    EXPECT_THAT(folds.of, ElementsAre(0, 1, 2, 3, 4, 0, 0));
  }
}

TEST(Folds, LeaveSessionsOutOfOneSubject) {
  std::vector<FoldedExample> examples;
  for (const char* const day : {"mon", "tue", "mon", "tue"}) {
    examples.push_back({1, "a", day});
  }
  const Folds folds = divide_examples(examples, {});
  EXPECT_EQ(folds.by, LeftOut::kSessions);
  EXPECT_THAT(folds.of, ElementsAre(0, 1, 0, 1));
  EXPECT_EQ(divide_examples(examples, LeftOut::kRepetitions).by, LeftOut::kRepetitions);
  EXPECT_THROW(divide_examples(examples, LeftOut::kSubjects), UsageError);
}

// Whoever alone recorded a class cannot be left out of it.
TEST(Folds, DivideAClassOfOneSubjectByItsRepetitions) {
  const Folds folds = divide_examples(
      recorded_by({{1, "a"}, {1, "b"}, {2, "b"}, {2, "b"}, {2, "b"}}), {});
  EXPECT_THAT(folds.by_one, ElementsAre(2));
  EXPECT_THAT(folds.of, ElementsAre(0, 1, 0, 1, 0));
  EXPECT_NE(folds.group[2], folds.group[3]);
}

TEST(Folds, AreFiveAtMost) {
  std::vector<std::pair<int, std::string>> examples;
  for (char name = 'a'; name < 'a' + 12; ++name) {
    examples.emplace_back(1, std::string(1, name));
    examples.emplace_back(-1, "");
  }
  const Folds folds = divide_examples(recorded_by(examples), {});
  EXPECT_EQ(folds.count, 5u);
  for (size_t i = 0; i + 1 < folds.of.size(); i += 2) {
    EXPECT_EQ(folds.of[i], i / 2 % 5);
    EXPECT_EQ(folds.of[i + 1], i / 2 * 5 / 12) << "neighbours stay together";
  }
}

// Three right ones lie below a background example each; two are allowed. The cheapest is
// in the second class, where one background example buys two right ones.
TEST(Thresholds, UseTheWholeAllowance) {
  const std::vector<std::vector<double>> right = {{-0.1, -0.3}, {-0.1, -0.5, -0.6}};
  const std::vector<std::vector<double>> background = {{-0.2, -0.9}, {-0.4, -0.8}};
  const auto accepted = [&](size_t allowed) {
    const std::vector<double> thresholds =
        choose_thresholds(right, background, 3.0, allowed);
    std::vector<size_t> counts;
    for (const auto* scores : {&right, &background}) {
      for (size_t c = 0; c < 2; ++c) {
        counts.push_back(static_cast<size_t>(
            std::count_if((*scores)[c].begin(), (*scores)[c].end(),
                          [&](double s) { return s > thresholds[c]; })));
      }
    }
    return counts;
  };
  EXPECT_THAT(accepted(0), ElementsAre(1, 1, 0, 0));
  EXPECT_THAT(accepted(1), ElementsAre(1, 3, 0, 1));
  EXPECT_THAT(accepted(2), ElementsAre(2, 3, 1, 1));
}

TEST(Kinds, TheFewestTemplatesWithinTheToleranceAreChosen) {
  const std::vector<KindStep> kinds = {{TemplateKind::kExemplars, 0, 40, 0.90, false},
                                       {TemplateKind::kAverages, 1, 10, 0.85, false},
                                       {TemplateKind::kAverages, 2, 20, 0.95, false},
                                       {TemplateKind::kAdapted, 2, 20, 0.96, false},
                                       {TemplateKind::kAdapted, 5, 50, 0.97, false}};
  EXPECT_EQ(choose_kind(kinds, 0.0), 4u);
  EXPECT_EQ(choose_kind(kinds, 0.015), 3u) << "of as few the more accurate";
  EXPECT_EQ(choose_kind(kinds, 0.5), 1u);
}

// Each kind is what it is called: the same examples, judged by each.
TEST(Kinds, AllAreComparedAndOneIsChosen) {
  RandomPoints random(12);
  Gdata data;
  data.kind = 0;
  std::vector<std::string> subjects;
  for (int i = 0; i < 64; ++i) {
    Points trace = random.trace(12, RandomPoints::Kind::kGaussian);
    for (Point3Df& p : trace) p.x += i % 2 == 0 ? 0.6 : -0.6;
    data.samples.push_back({i % 2, trace});
    subjects.push_back(i % 4 < 2 ? "ann" : "bob");
  }
  BuildReport report;
  const Gmodel model = ModelBuilder(data, 2, true, {subjects, {}}).build({}, report);
  std::vector<size_t> steps(4, 0);
  size_t chosen = 0;
  for (const KindStep& step : report.kinds) {
    ++steps[static_cast<size_t>(step.kind)];
    chosen += step.chosen ? 1 : 0;
    if (step.chosen) {
      EXPECT_EQ(report.classified_right(),
                static_cast<size_t>(std::lround(step.accuracy * 64.0)));
    }
  }
  // 16 of a class are left in a fold: averages of eight and more are two.
  EXPECT_THAT(steps, ElementsAre(1, 2, 2, 2));
  EXPECT_EQ(chosen, 1u);
  EXPECT_EQ(model.templates.size(), report.sources.size());
  BuildReport again;
  const Gmodel same = ModelBuilder(data, 1, true, {subjects, {}}).build({}, again);
  ASSERT_EQ(same.templates.size(), model.templates.size());
  for (size_t t = 0; t < model.templates.size(); ++t) {
    expect_near(same.templates[t].second, model.templates[t].second);
  }
}

// Two classes that differ in few points, a template each.
TEST(Kinds, AreTheAveragesAsTheyAreSmoothedAndAdapted) {
  RandomPoints random(13);
  Gdata data;
  data.kind = 0;
  for (int i = 0; i < 20; ++i) {
    Points trace = random.trace(12, RandomPoints::Kind::kGaussian);
    for (Point3Df& p : trace) p.x += 1.0;
    for (size_t p = 0; p < 3; ++p) trace[p].y += i % 2 == 0 ? 1.0 : -1.0;
    data.samples.push_back({i % 2, trace});
  }
  const ModelBuilder builder(data, 1, true);
  const auto built = [&](TemplateKind kind) {
    BuildOptions options;
    options.kind = kind;
    options.most_templates = 1;
    BuildReport report;
    return builder.build(options, report).templates;
  };
  const auto averages = built(TemplateKind::kAverages);
  ASSERT_THAT(averages, SizeIs(2));

  std::vector<LabelledTrace> in_turn;
  for (size_t i = 0; i < 10; ++i) {
    for (const size_t label : {0, 1}) {
      in_turn.push_back({label, &builder.traces()[2 * i + label]});
    }
  }
  std::vector<Points> moved = {averages[0].second, averages[1].second};
  adapt_templates(in_turn, {{0, &moved[0]}, {1, &moved[1]}}, 0);

  const auto smooth = built(TemplateKind::kSmoothed);
  const auto adapted = built(TemplateKind::kAdapted);
  for (const size_t label : {0, 1}) {
    expect_near(smooth[label].second, smoothed(averages[label].second, 0));
    expect_near(adapted[label].second, moved[label]);
    EXPECT_GT(squared_length(moved[label][0] - averages[label].second[0]), 1e-6);
  }
}

// 4 examples at least for each template.
TEST(BackgroundTemplates, AreAsManyAsTheExamplesAllow) {
  EXPECT_THAT(background_counts(0, {}), ElementsAre(0));
  EXPECT_THAT(background_counts(35, {}), ElementsAre(0, 1, 2, 4, 8));
  EXPECT_THAT(background_counts(35, 3), ElementsAre(3));
  EXPECT_THAT(background_counts(35, 100), ElementsAre(8));
}

TEST(BackgroundTemplates, AreTheAveragesOfClusters) {
  std::vector<Points> traces;
  for (int i = 0; i < 8; ++i) {
    traces.push_back({{i % 2 == 0 ? 1.0 : -1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}});
  }
  const auto averages = background_averages(pointers_to(traces), {0, 1, 2}, 0);
  ASSERT_THAT(averages, SizeIs(3));
  EXPECT_THAT(averages[0], SizeIs(0));
  ASSERT_THAT(averages[1], SizeIs(1));
  EXPECT_EQ(averages[1][0].examples, 8u);
  ASSERT_THAT(averages[2], SizeIs(2));
  expect_near(averages[2][0].trace, traces[0]);
  expect_near(averages[2][1].trace, traces[1]);
}

static BackgroundStep step_of(size_t templates, const std::vector<size_t>& accepted,
                              const std::vector<size_t>& background) {
  BackgroundStep step;
  step.templates = templates;
  for (const size_t count : accepted) step.accepted += count;
  for (const size_t count : background) step.background_accepted += count;
  step.accepted_of_part = accepted;
  step.background_of_part = background;
  return step;
}

// Each accepted background example costs 3 right ones, but where it is allowed.
TEST(BackgroundTemplates, TheFewestWithinTheToleranceOfTheBestAreChosen) {
  const std::vector<BackgroundStep> steps = {
      step_of(0, {45, 45}, {1, 3}), step_of(2, {47, 45}, {1, 0}),
      step_of(4, {48, 45}, {1, 0}), step_of(8, {48, 45}, {1, 0})};
  EXPECT_EQ(gain_of(steps[0], 3.0, {}), 78.0);
  EXPECT_EQ(gain_of(steps[0], 3.0, 3), 87.0);
  EXPECT_EQ(choose_background(steps, 3.0, {}, 0.0), 2u) << "of equals the fewest";
  EXPECT_EQ(choose_background(steps, 3.0, {}, 1.0), 1u);
  EXPECT_EQ(choose_background(steps, 3.0, 4, 3.0), 0u) << "all are allowed";
}

// However much the one gains, the other must not lose.
TEST(BackgroundTemplates, AreChosenWhereNeitherRecallNorAnyBackgroundLoses) {
  const auto chosen = [](const std::vector<size_t>& accepted,
                         const std::vector<size_t>& background,
                         std::optional<size_t> allowed = {}) {
    return choose_background(
        {step_of(0, {45, 45}, {5, 5}), step_of(1, accepted, background)}, 3.0, allowed,
        2.0);
  };
  EXPECT_EQ(chosen({45, 45}, {4, 1}), 1u);
  EXPECT_EQ(chosen({48, 46}, {5, 5}), 1u);
  EXPECT_EQ(chosen({40, 49}, {0, 0}), 0u) << "a gesture less";
  EXPECT_EQ(chosen({49, 45}, {6, 0}), 0u) << "more of one kind";
  EXPECT_EQ(chosen({49, 45}, {6, 0}, 6), 1u) << "which is allowed";
  EXPECT_EQ(chosen({46, 46}, {5, 5}), 0u) << "a gain that may be chance";
  EXPECT_EQ(chosen({45, 45}, {5, 0}), 0u) << "one kind's alone";
}
