// Training files, templates, thresholds and the models that are made of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "base/errors.h"
#include "base/text.h"
#include "classifier/Gdata.h"
#include "classifier/HGR.h"
#include "segmentation/segmenter.h"
#include "support/cases.h"
#include "support/motions.h"
#include "support/random_points.h"
#include "tools/run_wgr.h"
#include "training/exemplars.h"
#include "training/model_builder.h"
#include "training/model_output.h"
#include "training/thinning.h"
#include "training/thresholds.h"
#include "training/training_file.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

TEST(TrainingFile, IsReadBackByTheLibrary) {
  Motion motion = {0.0, 1.0, Verdict::kKept, 3, {}};
  motion.trace = {{0.1, -2.5, 1.0 / 3.0}, {1e-7, 4.0, -5.123456789}, {0.5, -1.0, 9.9}};
  Motion other = motion;
  other.label = kBackground;
  TempDirectory directory;
  write_file(directory.file("t"), training_text({motion, other}));
  EXPECT_EQ(read_file(directory.file("t")).substr(0, 42),
            "3 2 0.5 -1 9.9\n0.1 1e-07\n-2.5 4\n0.33333333");
  Gdata data;
  ASSERT_TRUE(data.load(directory.file("t").c_str()));
  EXPECT_EQ(data.kind, 1);
  ASSERT_THAT(data.samples, SizeIs(2));
  EXPECT_EQ(data.samples[0].label, 3);
  EXPECT_EQ(data.samples[1].label, -1);
  ASSERT_THAT(data.samples[0].trace, SizeIs(3));
  EXPECT_EQ(data.samples[0].trace[0].z, 0.33333333);
  EXPECT_EQ(data.samples[0].trace[1].z, -5.1234568);
  EXPECT_EQ(data.samples[0].trace[2].z, 9.9);
}

TEST(Thresholds, LieInTheMiddleBetweenRightAndWrong) {
  EXPECT_DOUBLE_EQ(choose_threshold({-0.1, -0.2}, {-0.8, -0.6}, 3.0), -0.4);
}

// One wrong sample at -0.1 costs 3; refusing the right one at -0.15 costs 1.
TEST(Thresholds, WeighAFalsePositiveAgainstMisses) {
  EXPECT_DOUBLE_EQ(choose_threshold({-0.05, -0.15}, {-0.1}, 3.0), -0.075);
  EXPECT_DOUBLE_EQ(choose_threshold({-0.05, -0.15}, {-0.1, -0.55}, 0.5), -0.35);
}

TEST(Thresholds, StayBelowTheRightWhereNothingIsWrong) {
  const double threshold = choose_threshold({-0.1, -0.2}, {}, 3.0);
  EXPECT_LT(threshold, -0.25);
  EXPECT_GT(threshold, -0.5);
  EXPECT_LT(choose_threshold({}, {}, 3.0), 0.0);
}

static Points wave(double phase, double size) {
  Points trace;
  for (int i = 0; i < 30; ++i) {
    trace.push_back(
        {size * std::sin(0.3 * i + phase), size * std::cos(0.2 * i), 0.1 * i});
  }
  trace.push_back({0.0, 0.0, 10.0});
  HGR(1).normalize(trace, 1);
  return trace;
}

TEST(Exemplars, StandForEachGroup) {
  std::vector<Points> traces;
  for (int i = 0; i < 6; ++i) traces.push_back(wave(0.01 * i, 2.0));
  for (int i = 0; i < 6; ++i) traces.push_back(wave(2.0 + 0.013 * i, 6.0));
  const Exemplars exemplars = choose_exemplars(traces, 1, 2);
  ASSERT_THAT(exemplars.chosen, SizeIs(2));
  EXPECT_LT(exemplars.chosen[0], 6u);
  EXPECT_GE(exemplars.chosen[1], 6u);
  EXPECT_THAT(exemplars.how, HasSubstr("affinity propagation, preference"));
}

// All alike: every similarity and so every preference is zero, and no exemplar emerges.
TEST(Exemplars, ArePickedOneByOneWhereClusteringFails) {
  const std::vector<Points> traces(8, wave(0.0, 1.0));
  Capture printing;
  const Exemplars exemplars = choose_exemplars(traces, 1, 3);
  EXPECT_EQ(printing.finish(), "") << "standard output is the commands'";
  EXPECT_THAT(exemplars.chosen, ElementsAre(0, 1, 2));
  EXPECT_THAT(exemplars.how, HasSubstr("did not converge"));
}

// All alike, but the first: most like the sixth, then like the last. Once the sixth
// stands for it, nothing is gained by the last.
TEST(Exemplars, ArePickedByWhatTheyAddToThoseBefore) {
  ClassMatrix matrix = {8, std::vector<float>(64, 0.0f)};
  for (const size_t j : {0, 1, 2, 3, 4, 6}) matrix.scores[j] = -1.0f;
  matrix.scores[7] = -0.5f;
  EXPECT_THAT(choose_exemplars(matrix, 1).chosen, ElementsAre(5));
  const Exemplars two = choose_exemplars(matrix, 2);
  EXPECT_THAT(two.chosen, ElementsAre(0, 5));
  EXPECT_THAT(two.how, HasSubstr("did not converge"));
}

// The same at every preference: of nine a third.
TEST(Exemplars, AreAThirdWhereClusteringFailsFromTheFirstPreferenceOn) {
  const ClassMatrix alike = {9, std::vector<float>(81, 0.0f)};
  const std::vector<Exemplars> swept = sweep_exemplars(alike);
  ASSERT_EQ(swept.size(), swept_preferences().size());
  for (const Exemplars& e : swept) {
    EXPECT_THAT(e.chosen, ElementsAre(0, 1, 2));
    EXPECT_THAT(e.how, HasSubstr("did not converge at preference"));
  }
}

TEST(Exemplars, OfOneSampleAreThatOne) {
  EXPECT_THAT(choose_exemplars({wave(0.0, 1.0)}, 1, 3).chosen, ElementsAre(0));
  EXPECT_THAT(choose_exemplars({}, 1, 3).chosen, SizeIs(0));
}

TEST(ModelBuilderTest, NeedsASampleOfSomeGesture) {
  Gdata background;
  background.kind = 1;
  background.samples = {{-1, wave(0.0, 1.0)}};
  background.class_counts = {{-1, 1}};
  BuildReport report;
  EXPECT_THROW(build_model(background, BuildOptions(), report), UsageError);
}

TEST(ModelBuilderTest, CountsEverySampleOnce) {
  Gdata data;
  data.kind = 1;
  for (int i = 0; i < 8; ++i) {
    data.samples.push_back({7, wave(0.02 * i, 2.0)});
    data.samples.push_back({2, wave(2.0 + 0.02 * i, 6.0)});
  }
  data.samples.push_back({-1, wave(1.0, 0.1)});
  data.class_counts = {{7, 8}, {2, 8}, {-1, 1}};
  BuildReport report;
  BuildOptions options;
  options.most_templates = 3;
  const Gmodel model = build_model(data, options, report);
  EXPECT_THAT(model.class_labels, ElementsAre(2, 7));
  EXPECT_EQ(model.normalize, 1);
  EXPECT_EQ(model.havegravity, 1);
  ASSERT_THAT(model.class_thresholds, SizeIs(2));
  EXPECT_LE(model.templates.size(), 6u);
  EXPECT_EQ(report.background, 1u);
  EXPECT_EQ(report.background_accepted, 0u);
  for (const ClassReport& c : report.classes) {
    EXPECT_EQ(c.examples, 8u);
    EXPECT_EQ(c.right, 8u);
    EXPECT_EQ(c.right + c.misclassified + c.rejected, c.examples);
  }
  EXPECT_EQ(report.examples(), 16u);
  EXPECT_EQ(report.classified_right(), 16u);
  EXPECT_EQ(report.accepted(), 16u);
  EXPECT_EQ(report.templates(), model.templates.size());
  EXPECT_EQ(report.sources.size(), model.templates.size());
  EXPECT_THAT(model.class_thresholds,
              ElementsAre(report.classes[0].threshold, report.classes[1].threshold));
}

// Both that are left out are nearest to each other, and of the rest to their own class.
TEST(ModelBuilderTest, TheBaselineComparesWithWhatIsNotLeftOut) {
  Gdata data;
  data.kind = 1;
  data.samples = {{1, wave(0.0, 2.0)},
                  {1, wave(0.4, 2.0)},
                  {2, wave(1.0, 2.0)},
                  {2, wave(0.6, 2.0)},
                  {-1, wave(0.5, 2.0)}};
  data.class_counts = {{1, 2}, {2, 2}, {-1, 1}};
  const ModelBuilder builder(data, 1, true);
  const Tally baseline = builder.baseline_1nn({true, false, true, false, true});
  EXPECT_EQ(baseline.examples, 2u);
  EXPECT_EQ(baseline.right, 2u);
}

// Three shapes, of which two are near each other: more templates name more of them.
static Gdata three_shapes() {
  Gdata data;
  data.kind = 1;
  for (int i = 0; i < 12; ++i) {
    data.samples.push_back({1, wave(0.11 * i, 2.0)});
    data.samples.push_back({2, wave(0.13 * i, 2.3)});
    data.samples.push_back({3, wave(2.0 + 0.02 * i, 6.0)});
  }
  data.class_counts = {{1, 12}, {2, 12}, {3, 12}};
  return data;
}

TEST(ModelBuilderTest, ChoosesTheFewestTemplatesWithinTheMarginOfTheBest) {
  Capture hushed;
  for (const double tolerance : {0.0, 0.1}) {
    BuildReport report;
    BuildOptions options;
    options.tolerance = tolerance;
    options.kind = TemplateKind::kExemplars;
    const Gmodel model = build_model(three_shapes(), options, report);
    const SweepStep* chosen = nullptr;
    double best = 0.0;
    for (const SweepStep& step : report.sweep) {
      EXPECT_LE(step.accuracy, 1.0);
      EXPECT_GE(step.accuracy, 0.5);
      if (step.in_question) best = std::max(best, step.accuracy);
      if (!step.chosen) continue;
      EXPECT_EQ(chosen, nullptr) << "one alone";
      chosen = &step;
    }
    ASSERT_NE(chosen, nullptr);
    EXPECT_TRUE(chosen->in_question);
    EXPECT_GE(chosen->accuracy, best - tolerance);
    EXPECT_EQ(chosen->templates, model.templates.size());
    for (const SweepStep& step : report.sweep) {
      if (!step.in_question || step.accuracy < best - tolerance) continue;
      EXPECT_GE(step.templates, chosen->templates);
      if (step.templates > chosen->templates) continue;
      EXPECT_LE(step.accuracy, chosen->accuracy);
    }
    for (const ClassReport& c : report.classes) EXPECT_LE(c.templates, 4u) << "a third";
  }
}

// What the library prints meanwhile is dropped, and failures of a test are not.
static void build_quietly(const Gdata& data, const BuildOptions& options,
                          BuildReport& report, const ExampleSources& sources = {}) {
  Capture hushed;
  build_model(data, options, report, sources);
}

// Shapes that are hardly more than the noise around them: no set of exemplars classifies
// all of them right.
static Gdata overlapping_shapes() {
  RandomPoints random(11);
  Gdata data;
  data.kind = 1;
  for (int i = 0; i < 72; ++i) {
    const int label = i % 3;
    Points trace = random.trace(12, RandomPoints::Kind::kGaussian);
    for (size_t k = 0; k < trace.size(); ++k) {
      trace[k].x += 0.6 * label;
      trace[k].y += (k < 6 ? 0.5 : -0.5) * label;
    }
    trace.push_back({0.0, 0.0, 10.0});
    data.samples.push_back({label, trace});
  }
  data.class_counts = {{0, 24}, {1, 24}, {2, 24}};
  return data;
}

// The smallest good set and the best are grown: each template that is added puts one more
// example right at least, and no class has more than a third of its examples.
TEST(ModelBuilderTest, GrowsSetsByTemplatesThatPutExamplesRight) {
  BuildReport report;
  BuildOptions options;
  options.tolerance = 0.05;
  options.kind = TemplateKind::kExemplars;
  build_quietly(overlapping_shapes(), options, report);
  std::map<double, SweepStep> swept;
  std::vector<SweepStep> grown;
  size_t out = 0;
  for (const SweepStep& step : report.sweep) {
    if (step.grown) {
      grown.push_back(step);
    } else {
      swept[step.preference] = step;
      out += step.in_question ? 0 : 1;
    }
  }
  EXPECT_GT(out, 0u) << "the finest sets have too many templates";
  ASSERT_THAT(grown, SizeIs(2));
  EXPECT_NE(grown[0].preference, grown[1].preference);
  for (const SweepStep& step : grown) {
    const SweepStep& start = swept.at(step.preference);
    EXPECT_TRUE(start.in_question);
    ASSERT_GT(step.templates, start.templates);
    EXPECT_LE(step.templates, 3 * 8u);
    const double added = static_cast<double>(step.templates - start.templates);
    EXPECT_GT(72.0 * (step.accuracy - start.accuracy), added - 0.5);
  }
  // Of each class's templates the report says how many were added.
  size_t added = 0;
  for (const ClassReport& c : report.classes) {
    EXPECT_LE(c.templates, 8u);
    const size_t at = c.chosen_by.find(", and ");
    ASSERT_NE(at, std::string::npos) << c.chosen_by;
    added += std::stoul(c.chosen_by.substr(at + 6));
  }
  const auto chosen = std::find_if(grown.begin(), grown.end(),
                                   [](const SweepStep& s) { return s.chosen; });
  ASSERT_NE(chosen, grown.end());
  EXPECT_EQ(added, chosen->templates - swept.at(chosen->preference).templates);

  options.tolerance = 0.0;  // the smallest good set is the best
  build_quietly(overlapping_shapes(), options, report);
  EXPECT_EQ(std::count_if(report.sweep.begin(), report.sweep.end(),
                          [](const SweepStep& s) { return s.grown; }),
            1);
  options.most_share = 0.125;
  build_quietly(overlapping_shapes(), options, report);
  for (const ClassReport& c : report.classes) EXPECT_LE(c.templates, 3u);
}

// Of sets that are as small, the most accurate.
TEST(ModelBuilderTest, OfSetsOfOneSizeChoosesTheMostAccurate) {
  size_t ties = 0;
  std::vector<double> tolerances = {0.05, 0.1, 0.02, 0.15, 0.2, 0.3};
  if (slow_here()) tolerances.resize(2);
  for (const double tolerance : tolerances) {
    BuildReport report;
    BuildOptions options;
    options.tolerance = tolerance;
    options.kind = TemplateKind::kExemplars;
    build_quietly(overlapping_shapes(), options, report);
    const auto chosen = std::find_if(report.sweep.begin(), report.sweep.end(),
                                     [](const SweepStep& s) { return s.chosen; });
    ASSERT_NE(chosen, report.sweep.end());
    for (const SweepStep& step : report.sweep) {
      if (!step.in_question || step.templates != chosen->templates) continue;
      EXPECT_LE(step.accuracy, chosen->accuracy) << "tolerance " << tolerance;
      ties += step.accuracy < chosen->accuracy ? 1 : 0;
    }
  }
  EXPECT_GT(ties, 0u) << "there is nothing to choose between";
}

// Each person's gestures look like the other one's other gesture.
TEST(ModelBuilderTest, AcrossSubjectsTheirOwnTemplatesNeverJudge) {
  Gdata data;
  data.kind = 1;
  std::vector<std::string> subjects;
  for (int i = 0; i < 24; ++i) {
    const int label = i % 2;
    const int person = i / 2 % 2;
    const double phase = (label == person ? 0.0 : 2.0) + 0.4 * person;
    data.samples.push_back({label, wave(phase, 2.0 + 0.002 * i)});
    subjects.push_back(person == 0 ? "ann" : "bob");
  }
  data.class_counts = {{0, 12}, {1, 12}};
  BuildOptions options;
  BuildReport report;
  options.judge_by = LeftOut::kRepetitions;
  build_quietly(data, options, report, {subjects, {}});
  EXPECT_EQ(report.judged_by, LeftOut::kRepetitions);
  EXPECT_EQ(report.classified_right(), 24u);

  // A person is right where the other one's templates are of a single class.
  for (const auto kind : {TemplateKind::kExemplars, TemplateKind::kAdapted}) {
    options.kind = kind;
    options.judge_by.reset();
    build_quietly(data, options, report, {subjects, {}});
    EXPECT_EQ(report.judged_by, LeftOut::kSubjects) << "where two are known";
    for (const SweepStep& step : report.sweep) EXPECT_LE(step.accuracy, 0.5);
    EXPECT_LE(report.classified_right(), 12u);
  }
}

// A limit of templates leaves no tolerance to choose by.
TEST(Manifest, SaysHowTheTemplatesWereChosen) {
  BuildOptions options;
  const auto swept = manifest(BuildReport(), options, Provenance(), "")["build"];
  EXPECT_FALSE(swept.contains("most_templates"));
  EXPECT_EQ(swept["tolerance"], options.tolerance);
  options.most_templates = 2;
  const auto limited = manifest(BuildReport(), options, Provenance(), "")["build"];
  EXPECT_EQ(limited["most_templates"], 2);
  EXPECT_FALSE(limited.contains("tolerance"));
}

TEST(Thinning, KeepsEverySecondPointAndTheGravity) {
  Points trace;
  for (int i = 0; i < 5; ++i) trace.push_back({1.0 * i, 0.0, 0.0});
  Points without = trace;
  thin(without, 0);
  ASSERT_THAT(without, SizeIs(3));
  EXPECT_EQ(without[0].x, 0.0);
  EXPECT_EQ(without[1].x, 2.0);
  EXPECT_EQ(without[2].x, 4.0);
  trace.push_back({9.0, 0.0, 0.0});
  thin(trace, 1);
  ASSERT_THAT(trace, SizeIs(4));
  EXPECT_EQ(trace[2].x, 4.0);
  EXPECT_EQ(trace[3].x, 9.0);
}

// "5 " for each point: 4094 characters fit into what the reader takes, 4096 do not; with
// "10 " there are 4095, the most.
TEST(Thinning, ALineHasAtMostAsManyCharactersAsTheReaderTakes) {
  EXPECT_TRUE(fits_a_line(Points(2047, Point3Df{5.0, 5.0, 5.0})));
  EXPECT_FALSE(fits_a_line(Points(2048, Point3Df{5.0, 5.0, 5.0})));
  EXPECT_TRUE(fits_a_line(Points(1365, Point3Df{5.0, 10.0, 5.0})));
  EXPECT_FALSE(fits_a_line(Points(1366, Point3Df{5.0, 5.0, 10.0})));
}
