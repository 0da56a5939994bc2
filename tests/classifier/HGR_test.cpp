#include "classifier/HGR.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>

#include "base/class_codes.h"
#include "support/cases.h"
#include "support/child.h"
#include "support/files.h"
#include "support/private_paths.h"
#include "support/random_points.h"
#include "support/reference_similarity.h"
#include "support/same_bits.h"

using namespace wgr;

static constexpr double kLowest = -1.7976931348623157e308;

static Points at(double x) { return {{x, 0, 0}}; }

class HgrTest : public ::testing::Test {
 protected:
  void SetUp() override { clear_log(); }

  // One template of one point a label, on the x axis.
  void set_templates(std::vector<std::pair<int, Points>> templates) {
    hgr.model->templates = std::move(templates);
    hgr.model->nTemplate = static_cast<int>(hgr.model->templates.size());
  }

  void set_classes(std::vector<int> labels, std::vector<double> thresholds) {
    hgr.model->class_labels = std::move(labels);
    hgr.model->class_thresholds = std::move(thresholds);
    hgr.model->nclasses = static_cast<int>(hgr.model->class_labels.size());
  }

  // The flag that a trace at x gets; 77 when it is left alone.
  int flag_of(double x) {
    Points trace = at(x);
    int flag = 77;
    hgr.predict(trace, nullptr, nullptr, &flag);
    return flag;
  }

  HGR hgr{0};
};

TEST_F(HgrTest, StartsWithAnEmptyModelThatNormalisesOnlyForAPositiveNumber) {
  for (const auto& [n, normalize] : {std::pair(-1, 0), {0, 0}, {1, 1}, {7, 1}}) {
    const HGR fresh(n);
    EXPECT_EQ(fresh.model->normalize, normalize) << "n = " << n;
    EXPECT_EQ(fresh.model->nclasses, 0);
    EXPECT_EQ(fresh.model->nTemplate, 0);
    EXPECT_EQ(fresh.model->havegravity, 0);
    EXPECT_TRUE(fresh.model->class_labels.empty());
    EXPECT_TRUE(fresh.model->class_thresholds.empty());
    EXPECT_TRUE(fresh.model->templates.empty());
  }
}

// Two owners of one model would both delete it.
TEST_F(HgrTest, IsNeverCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<HGR>);
  EXPECT_FALSE(std::is_copy_assignable_v<HGR>);
}

TEST_F(HgrTest, NamesTheMostSimilarTemplate) {
  set_templates({{3, at(10)}, {5, at(1)}, {9, at(-4)}});
  Points trace = at(-1);
  double score = 0;
  EXPECT_EQ(hgr.predict(trace, nullptr, &score, nullptr), 5);
  EXPECT_EQ(score, -4.0);
}

// The count decides, where it is less than there are.
TEST_F(HgrTest, ComparesNoMoreTemplatesThanTheModelCounts) {
  set_templates({{3, at(5)}, {5, at(0)}});
  const std::pair<int, int> cases[] = {{-1, 14}, {0, 14}, {1, 3}, {2, 5}, {3, 5}};
  for (const auto& [count, label] : cases) {
    hgr.model->nTemplate = count;
    Points trace = at(0);
    EXPECT_EQ(hgr.predict(trace, nullptr, nullptr, nullptr), label) << count;
  }
}

TEST_F(HgrTest, NamesTheFirstOfEquallySimilarTemplates) {
  set_templates({{8, at(5)}, {3, at(1)}, {5, at(-1)}, {4, at(1)}});
  Points trace = at(0);
  EXPECT_EQ(hgr.predict(trace, nullptr, nullptr, nullptr), 3);
}

// Scores are floats: two distances that differ by less are equal, and the first wins.
TEST_F(HgrTest, ComparesScoresAsFloats) {
  set_templates({{3, at(1.0 + 1e-12)}, {5, at(1.0)}});
  Points trace = at(0);
  double score = 0;
  EXPECT_EQ(hgr.predict(trace, nullptr, &score, nullptr), 3);
  EXPECT_EQ(score, -1.0);
}

TEST_F(HgrTest, LeavesTheTraceAloneWithoutNormalising) {
  set_templates({{3, {{3, 4, 0}, {0, 5, 0}}}});
  Points trace = {{3, 4, 0}, {0, 5, 0}};
  const Points before = trace;
  double strength = 0;
  double score = -1;
  EXPECT_EQ(hgr.predict(trace, &strength, &score, nullptr), 3);
  EXPECT_EQ(strength, 5.0);
  EXPECT_TRUE(same_bits(score, -0.0));  // compared as it came
  EXPECT_TRUE(same_bits(trace, before));
}

TEST_F(HgrTest, ComparesAndReturnsTheScaledTraceWhenTheModelNormalises) {
  hgr.model->normalize = 1;
  hgr.model->havegravity = 1;
  set_templates({{3, {{1, 0, 0}, {0, 0, 1}}}});
  Points trace = {{4, 0, 0}, {0, 0, 9.8}};
  double strength = 0;
  double score = -1;
  EXPECT_EQ(hgr.predict(trace, &strength, &score, nullptr), 3);
  EXPECT_EQ(strength, 4.0);
  EXPECT_EQ(score, 0.0);
  EXPECT_TRUE(same_bits(trace, Points{{1, 0, 0}, {0, 0, 9.8}}));
}

// The strength is of the motion alone.
TEST_F(HgrTest, KeepsTheGravityPointOutOfTheStrength) {
  hgr.model->havegravity = 1;
  set_templates({{3, {{1, 0, 0}, {0, 0, 1}}}});
  Points trace = {{2, 0, 0}, {2, 0, 0}, {0, 0, 100}};
  double strength = 0;
  hgr.predict(trace, &strength, nullptr, nullptr);
  EXPECT_EQ(strength, 2.0);
}

TEST_F(HgrTest, RejectsNothingWithoutThresholds) {
  set_templates({{3, at(0)}});
  set_classes({3}, {});
  EXPECT_EQ(flag_of(1000.0), 0);
  hgr.model->nclasses = 0;
  EXPECT_EQ(flag_of(1000.0), 0);
}

// A trace at x scores -x².
TEST_F(HgrTest, RejectsAScoreThatDoesNotExceedItsThreshold) {
  set_templates({{3, at(0)}});
  set_classes({9, 3}, {5.0, -4.0});
  EXPECT_EQ(flag_of(1.0), 0);
  EXPECT_EQ(flag_of(1.999), 0);
  EXPECT_EQ(flag_of(2.0), 1);  // equal
  EXPECT_EQ(flag_of(3.0), 1);
}

TEST_F(HgrTest, RejectsEverythingByAThresholdOfZeroOrMore) {
  set_templates({{3, at(0)}});
  for (const double threshold : {0.0, -0.0, 0.8, 5.0}) {
    set_classes({3}, {threshold});
    EXPECT_EQ(flag_of(0.0), 1) << "threshold " << threshold;
    EXPECT_EQ(flag_of(1.0), 1) << "threshold " << threshold;
  }
}

TEST_F(HgrTest, NeverRejectsByAThresholdThatIsNoNumber) {
  set_templates({{3, at(0)}});
  set_classes({3}, {std::numeric_limits<double>::quiet_NaN()});
  EXPECT_EQ(flag_of(2.0), 0);
}

TEST_F(HgrTest, JudgesByTheFirstClassOfALabelThatIsListedTwice) {
  set_templates({{3, at(0)}});
  set_classes({3, 3}, {-1.0, -100.0});
  EXPECT_EQ(flag_of(2.0), 1);
  set_classes({3, 3}, {-100.0, -1.0});
  EXPECT_EQ(flag_of(2.0), 0);
}

TEST_F(HgrTest, LeavesTheFlagAloneForALabelThatIsNotListed) {
  set_templates({{3, at(0)}});
  set_classes({4, 5}, {-1.0, -1.0});
  EXPECT_EQ(flag_of(9.0), 77);
}

TEST_F(HgrTest, LeavesTheFlagAloneWithoutClassesButWithThresholds) {
  set_templates({{3, at(0)}});
  for (const int nclasses : {0, -5}) {
    set_classes({3}, {-1.0});
    hgr.model->nclasses = nclasses;
    EXPECT_EQ(flag_of(9.0), 77) << "nclasses " << nclasses;
  }
}

TEST_F(HgrTest, NeverReadsBeyondItsArrays) {
  set_templates({{3, at(0)}});
  set_classes({4, 3}, {-1.0});  // the label has no threshold of its own
  EXPECT_EQ(flag_of(9.0), 77);
  set_classes({4}, {-1.0, -1.0});
  hgr.model->nclasses = 1000000;
  hgr.model->nTemplate = 1000000;
  EXPECT_EQ(flag_of(9.0), 77);
}

TEST_F(HgrTest, LooksAtAsManyTemplatesAndClassesAsTheModelCounts) {
  set_templates({{3, at(5)}, {5, at(0)}});
  hgr.model->nTemplate = 1;
  set_classes({9, 3}, {-1.0, -1.0});
  hgr.model->nclasses = 1;
  Points trace = at(0);
  int flag = 77;
  EXPECT_EQ(hgr.predict(trace, nullptr, nullptr, &flag), 3);
  EXPECT_EQ(flag, 77);
}

// No templates, or none that beats the start value.
TEST_F(HgrTest, NamesNoGestureWhenNothingIsSimilarAtAll) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<std::pair<int, Points>> cases[] = {
      {}, {{3, at(nan)}, {5, at(nan)}}, {{3, {}}, {5, at(1e200)}},  // minus infinity
  };
  for (const auto& templates : cases) {
    set_templates(templates);
    for (const bool with_thresholds : {false, true}) {
      set_classes({3, 14}, with_thresholds ? std::vector<double>{-1.0, -1.0}
                                           : std::vector<double>{});
      Points trace = at(2);
      double strength = 0;
      double score = 0;
      int flag = 77;
      EXPECT_EQ(hgr.predict(trace, &strength, &score, &flag), kNoGesture);
      EXPECT_EQ(score, kLowest);
      EXPECT_EQ(flag, with_thresholds ? 77 : 0);
      EXPECT_EQ(strength, 2.0);
    }
  }
  hgr.model->nTemplate = -3;
  Points trace = at(2);
  EXPECT_EQ(hgr.predict(trace, nullptr, nullptr, nullptr), 14);
}

TEST_F(HgrTest, PassesOverTemplatesThatAreNoNumbersOrEmpty) {
  set_templates({{3, at(std::numeric_limits<double>::quiet_NaN())},
                 {4, {}},
                 {5, at(100)},
                 {6, at(std::numeric_limits<double>::infinity())}});
  Points trace = at(0);
  double score = 0;
  EXPECT_EQ(hgr.predict(trace, nullptr, &score, nullptr), 5);
  EXPECT_EQ(score, -10000.0);
}

TEST_F(HgrTest, AnswersATraceWithoutMotion) {
  hgr.model->havegravity = 1;
  set_templates({{3, {{1, 0, 0}, {0, 0, 1}}}});
  Points trace = {{0, 0, 1}};
  double strength = 0;
  EXPECT_EQ(hgr.predict(trace, &strength, nullptr, nullptr), 14);
  EXPECT_TRUE(std::isnan(strength));
}

TEST_F(HgrTest, LogsTheModelOfEveryPrediction) {
  set_templates({{3, at(0)}, {5, at(1)}});
  set_classes({3, 5, 9}, {});
  hgr.model->normalize = 1;
  Points trace = at(1);
  hgr.predict(trace, nullptr, nullptr, nullptr);
  EXPECT_EQ(read_log(),
            "predict 336: nTemplate:2, nclasses:3, normalize:1, havegravity:0\n");

  // The numbers are the model's fields, whatever its arrays hold.
  hgr.model->nTemplate = -1;
  hgr.model->havegravity = 1;
  clear_log();
  hgr.predict(trace, nullptr, nullptr, nullptr);
  EXPECT_EQ(read_log(),
            "predict 336: nTemplate:-1, nclasses:3, normalize:1, havegravity:1\n");
}

TEST_F(HgrTest, PredictsTheSameWithoutALogAndPrintsNothing) {
  set_templates({{3, at(10)}, {5, at(1)}});
  const TempDirectory empty;
  Capture out(STDOUT_FILENO);
  Capture err(STDERR_FILENO);
  const int status = in_child([&] {
    if (!enter_empty_root(empty.path())) return kChildCannot;
    Points trace = at(0);
    double score = 0;
    const int label = hgr.predict(trace, nullptr, &score, nullptr);
    return label == 5 && score == -1.0 && access("/home", F_OK) != 0 ? 0 : 1;
  });
  EXPECT_EQ(err.finish(), "");
  EXPECT_EQ(out.finish(), "");
  if (status == kChildCannot) GTEST_SKIP() << "this machine forbids a root of its own";
  EXPECT_EQ(status, 0);
  EXPECT_EQ(read_log(), "");
}

TEST_F(HgrTest, OnlyPredictingLogs) {
  const std::vector<Points> traces = {at(0), at(1)};
  Points trace = at(3);
  hgr.normalize(trace, 0);
  hgr.cal_simlarity(traces[0], traces[1], 0);
  delete[] hgr.cal_sim_matrix(traces, 0);
  EXPECT_FALSE(std::filesystem::exists(kLogPath));
}

TEST_F(HgrTest, PredictsAsTheLiteralVersion) {
  for (const RandomPoints::Kind kind : kEveryKind) {
    for (int seed = 1; seed <= affordable(600); ++seed) {
      RandomPoints random(static_cast<std::uint64_t>(seed));
      HGR classifier(0);
      Gmodel& model = *classifier.model;
      model.normalize = random.integer(0, 1);
      model.havegravity = random.integer(0, 1);
      const int g = model.havegravity;
      Points trace = random.trace(random.integer(1, 40) + g, kind);
      // Some templates equal an earlier one or nearly so, or the trace itself: the
      // winner is decided by the last bits of a score, or by the order.
      model.nTemplate = random.integer(0, 25);
      for (int t = 0; t < model.nTemplate; ++t) {
        Points points = random.trace(random.integer(0, 40) + g, kind);
        const int source = random.integer(0, 9);
        if (source < 3 && t > 0)
          points = model.templates[static_cast<size_t>(random.integer(0, t - 1))].second;
        if (source == 3) points = trace;
        if (source % 2 == 0 && !points.empty())
          points[static_cast<size_t>(random.integer(0, t)) % points.size()].x += 1e-6;
        model.templates.emplace_back(random.integer(0, 5), points);
      }
      model.nclasses = random.integer(0, 5);
      const bool with_thresholds = random.integer(0, 3) != 0;
      for (int c = 0; c < model.nclasses; ++c) {
        model.class_labels.push_back(random.integer(0, 5));
        if (with_thresholds) model.class_thresholds.push_back(-random.integer(0, 4));
      }
      Points expected_trace = trace;
      const reference::Prediction expected =
          reference::predict(model, expected_trace, 77);

      double strength = 0;
      double score = 0;
      int flag = 77;
      const int label = classifier.predict(trace, &strength, &score, &flag);
      ASSERT_TRUE(label == expected.label && same_bits(strength, expected.strength) &&
                  same_bits(score, expected.score) && flag == expected.reject_flag &&
                  same_bits(trace, expected_trace))
          << "kind " << static_cast<int>(kind) << ", seed " << seed << ": label " << label
          << " for " << expected.label << ", score " << score << " for " << expected.score
          << ", flag " << flag << " for " << expected.reject_flag << ", strength "
          << strength << " for " << expected.strength;
    }
  }
}

TEST_F(HgrTest, MatrixOfOneTraceIsASingleZero) {
  const std::unique_ptr<float[]> matrix(hgr.cal_sim_matrix({at(5)}, 0));
  EXPECT_TRUE(same_bits(matrix[0], 0.0f));
}

TEST_F(HgrTest, MatrixOfNoTracesCanBeFreed) { delete[] hgr.cal_sim_matrix({}, 1); }

// A pair whose score depends on the order: -5/6 one way, -1 the other.
static const Points kOneWay = {{0, 0, 0}, {2, 0, 0}, {0, 0, 0}};
static const Points kOther = {{0, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {2, 0, 0}};

TEST_F(HgrTest, TheOrderOfAPairCounts) {
  EXPECT_EQ(hgr.cal_simlarity(kOneWay, kOther, 0), static_cast<float>(-5.0 / 6.0));
  EXPECT_EQ(hgr.cal_simlarity(kOther, kOneWay, 0), -1.0f);
}

TEST_F(HgrTest, MatrixHoldsBothOrdersOfAPairRowByRow) {
  const std::unique_ptr<float[]> matrix(hgr.cal_sim_matrix({kOneWay, kOther}, 0));
  EXPECT_TRUE(same_bits(matrix[0], 0.0f));
  EXPECT_EQ(matrix[1], static_cast<float>(-5.0 / 6.0));
  EXPECT_EQ(matrix[2], -1.0f);
  EXPECT_TRUE(same_bits(matrix[3], 0.0f));
}

// Also when a trace is no number, or has no motion to compare.
TEST_F(HgrTest, MatrixHasZerosOnItsDiagonalWhateverTheTraces) {
  const Points nan = at(std::numeric_limits<double>::quiet_NaN());
  const std::unique_ptr<float[]> matrix(hgr.cal_sim_matrix({nan, {}}, 0));
  EXPECT_TRUE(same_bits(matrix[0], 0.0f));
  EXPECT_TRUE(same_bits(matrix[3], 0.0f));
  EXPECT_EQ(matrix[1], -std::numeric_limits<float>::infinity());
}

TEST_F(HgrTest, MatrixSetsATraceWithoutMotionApartFromAll) {
  const float apart = -std::numeric_limits<float>::infinity();
  const std::unique_ptr<float[]> matrix(hgr.cal_sim_matrix({{}, at(1), {}, at(3)}, 0));
  const std::vector<float> expected = {0,     apart, apart, apart,  //
                                       apart, 0,     apart, -4,     //
                                       apart, apart, 0,     apart,  //
                                       apart, -4,    apart, 0};
  EXPECT_EQ(std::vector<float>(matrix.get(), matrix.get() + 16), expected);
}

TEST_F(HgrTest, MatrixGivesTheBitsOfTheLiteralVersion) {
  for (const RandomPoints::Kind kind : kEveryKind) {
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
      RandomPoints random(seed);
      const int k = random.integer(0, 1);
      const int n = random.integer(2, 10);
      std::vector<Points> traces;
      for (int i = 0; i < n; ++i)
        traces.push_back(random.trace(random.integer(1, 25) + k, kind));
      const std::vector<float> expected = reference::similarity_matrix(traces, k);
      const std::unique_ptr<float[]> found(hgr.cal_sim_matrix(traces, k));
      const std::vector<float> matrix(found.get(), found.get() + n * n);
      ASSERT_TRUE(same_bits(matrix, expected))
          << "kind " << static_cast<int>(kind) << ", seed " << seed << ", n " << n;
    }
  }
}

// Followed by the same ramp, which both run through in step.
static Points with_ramp(Points trace, int points) {
  for (int i = 0; i < points; ++i) trace.push_back({10.0 + i, 0, 0});
  return trace;
}

// Some tables are too large to be kept for several traces at once, others are not.
TEST_F(HgrTest, MatrixOfLongTracesGivesTheBitsOfTheLiteralVersion) {
  RandomPoints random(1);
  const std::vector<Points> traces = {random.trace(30, RandomPoints::Kind::kSmallInts),
                                      random.trace(300, RandomPoints::Kind::kSmallInts),
                                      with_ramp(kOneWay, 500), with_ramp(kOther, 500)};
  const std::vector<float> expected = reference::similarity_matrix(traces, 0);
  ASSERT_NE(expected[2 * 4 + 3], expected[3 * 4 + 2]);  // of the last two
  const std::unique_ptr<float[]> found(hgr.cal_sim_matrix(traces, 0));
  EXPECT_TRUE(same_bits(std::vector<float>(found.get(), found.get() + 16), expected));
}

TEST(Hgr, CanBeDestroyedWithoutItsModel) {
  HGR hgr(1);
  delete hgr.model;
  hgr.model = nullptr;
}
