// The report pages of wgr build and wgr eval: what they show is what was counted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "evaluation/evaluation.h"
#include "pages/page_data.h"
#include "segmentation/recording_set.h"
#include "support/cases.h"
#include "support/private_paths.h"
#include "support/random_points.h"
#include "tools/run_wgr.h"

using namespace wgr;

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// Three classes of noise around a shape of their own, so that some samples are
// misclassified, and background that is like the first class, so that some are rejected.
static Gdata noisy_examples() {
  RandomPoints random(3);
  Gdata data;
  data.kind = 1;
  for (int i = 0; i < 60; ++i) {
    const int label = i % 4 == 3 ? -1 : i % 4;
    Points trace = random.trace(30, RandomPoints::Kind::kGaussian);
    for (size_t k = 0; k < trace.size(); ++k) {
      trace[k].x += label <= 0 ? 1.0 : -0.5 * label;
      if (label >= 0) trace[k].y += k < 15 ? 0.8 * label : -0.8 * label;
    }
    trace.push_back({0.0, 0.0, 10.0});
    data.samples.push_back({label, trace});
  }
  return data;
}

struct Built {
  explicit Built(std::optional<size_t> background = {})
      : builder(noisy_examples(), 1, true) {
    Capture hushed;
    options.most_templates = 3;
    options.background_templates = background;
    model = builder.build(options, report);
    page_data = page_data_of_build(builder, model, report, options, Provenance(), {});
  }
  ModelBuilder builder;
  BuildOptions options;
  BuildReport report;
  Gmodel model;
  PageData page_data;
};

TEST(PageDataOfBuild, CountsEveryExampleAsTheBuilderDoes) {
  const Built built;
  size_t misclassified = 0;
  size_t rejected = 0;
  for (const ClassReport& c : built.report.classes) {
    std::map<std::string, size_t> counts;
    for (const PageExample& example : built.page_data.examples) {
      if (example.label != c.label || !example.best) continue;
      const int nearest = built.page_data.exemplars[example.best->exemplar].label;
      const bool accepted = example.outcome == std::to_string(nearest);
      EXPECT_EQ(accepted, example.outcome != kOutcomeRejected);
      ++counts[nearest != c.label ? "misclassified" : accepted ? "right" : "rejected"];
    }
    EXPECT_EQ(counts["right"], c.right);
    EXPECT_EQ(counts["misclassified"], c.misclassified);
    EXPECT_EQ(counts["rejected"], c.rejected);
    misclassified += c.misclassified;
    rejected += c.rejected;
  }
  EXPECT_GT(misclassified, 0u) << "these examples are too easy to show anything";
  EXPECT_GT(rejected, 0u);
  size_t accepted = 0;
  for (const PageExample& example : built.page_data.examples) {
    accepted += example.label < 0 && example.outcome != kOutcomeRejected ? 1 : 0;
  }
  EXPECT_EQ(accepted, built.report.background_accepted);
}

// Templates that know the example would flatter it: its score is by those of the others.
TEST(PageDataOfBuild, WhatIsNearestToATemplateOfBackgroundIsNotDetected) {
  const Built built(2);
  ASSERT_EQ(built.report.background_templates, 2u);
  size_t gestures = 0;
  size_t background = 0;
  for (const PageExample& example : built.page_data.examples) {
    if (example.outcome != kOutcomeNotDetected) continue;
    EXPECT_EQ(example.why, "it is nearest to a template of background");
    ++(example.label < 0 ? background : gestures);
  }
  EXPECT_EQ(gestures, built.report.like_background());
  EXPECT_GT(background, 0u);
  EXPECT_EQ(built.page_data.classes.back().label, 14);
}

TEST(PageDataOfBuild, AnExampleIsJudgedByTemplatesMadeWithoutIt) {
  const Built built;
  ASSERT_EQ(built.report.sources.size(), built.model.templates.size());
  HGR classifier(1);
  *classifier.model = built.model;
  size_t compared = 0;
  double own = 0.0;
  double judged = 0.0;
  for (const PageExample& example : built.page_data.examples) {
    if (example.label < 0 || !example.best) continue;
    Points trace = example.trace;
    double score = 0.0;
    classifier.predict(trace, nullptr, &score, nullptr);
    own += score;
    judged += example.best->score;
    ++compared;
  }
  EXPECT_EQ(compared, 45u);
  EXPECT_LT(judged, own);
}

TEST(ModelPage, ManyLongExamplesStillMakeASmallPage) {
  if (!enough_cases()) GTEST_SKIP() << "too slow here";
  RandomPoints random(4);
  PageData page_data;
  page_data.provenance.rate = 100;
  page_data.classes = {{1, {-0.5}, ""}};
  page_data.exemplars = {{"a", 1, random.trace(1000, RandomPoints::Kind::kGaussian)}};
  page_data.model.templates = {{1, page_data.exemplars[0].trace}};
  for (int i = 0; i < 500; ++i) {
    PageExample example;
    example.name = std::to_string(i);
    example.label = 1;
    example.outcome = i % 2 == 0 ? "1" : kOutcomeRejected;
    example.trace = random.trace(1000, RandomPoints::Kind::kGaussian);
    page_data.examples.push_back(example);
  }
  const std::string page = model_page(page_data);
  EXPECT_LT(page.size(), 5'000'000u);
  EXPECT_GT(page.size(), 500'000u);
}

class ModelPages : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    directory_ = new TempDirectory();
    ASSERT_EQ(run_wgr("synth --training " + path("set") +
                      " --persons 2 --gestures 3 --distractors 10")
                  .status,
              0);
  }
  static void TearDownTestSuite() { delete directory_; }
  static std::string path(const std::string& name) { return directory_->file(name); }

  static TempDirectory* directory_;
};
TempDirectory* ModelPages::directory_ = nullptr;

TEST_F(ModelPages, OfBuildAndEvalAreFilesThatAskForNothing) {
  const std::string model = path("m/hgr_olvo.xml");
  const Outcome built = run_wgr("build " + path("set") + " -o " + model + " --report " +
                                path("build.html"));
  ASSERT_EQ(built.status, 0) << built.err;
  const Outcome played = run_wgr("eval " + path("set") + " --model " + model +
                                 " --report " + path("eval.html"));
  ASSERT_EQ(played.status, 0) << played.err;
  EXPECT_THAT(played.out, StartsWith("accuracy: ")) << "the text comes all the same";
  for (const char* name : {"build.html", "eval.html"}) {
    const std::string text = read_file(path(name));
    EXPECT_THAT(text, StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(text, EndsWith("</html>\n"));
    EXPECT_THAT(text, HasSubstr("default-src 'none'"));
    EXPECT_THAT(text, Not(HasSubstr("@@")));
    EXPECT_THAT(text, Not(HasSubstr("src=\"")));
    EXPECT_THAT(text, Not(HasSubstr(directory_->file("")))) << "no way to this machine";
  }
}

// The page draws what was played.
TEST_F(ModelPages, OfEvalHaveEveryRepetitionOnceWithItsFold) {
  const SegmentedSet set =
      segment_set(read_recording_set(path("set")), {}, SegmentationOptions());
  EvaluationOptions options;
  options.leave_out = LeaveOut::kSubject;
  const Evaluation result = evaluate(set, options);
  std::map<std::pair<size_t, size_t>, size_t> times;
  std::vector<size_t> of_fold(2), right_of_fold(2);
  for (const Played& played : result.played) {
    if (!played.repetition) continue;
    ++times[{played.recording, *played.repetition}];
    ASSERT_LT(played.fold, 2u);
    ++of_fold[played.fold];
    const auto& annotations = set.recordings[played.recording].annotations;
    const int label = annotations[*played.repetition].label;
    right_of_fold[played.fold] += played.outcome == std::to_string(label) ? 1 : 0;
    EXPECT_EQ(played.cause.empty(), played.outcome == std::to_string(label));
  }
  EXPECT_EQ(times.size(), result.repetitions);
  ASSERT_EQ(result.folds.size(), 2u);
  for (size_t f = 0; f < 2; ++f) {
    EXPECT_EQ(of_fold[f], result.folds[f].repetitions);
    EXPECT_EQ(right_of_fold[f], result.folds[f].right);
  }
}

TEST_F(ModelPages, AreTheSameBytesOnAnyThreads) {
  const std::string common = " -o " + path("t/m.xml") + " --report ";
  ASSERT_EQ(run_wgr("build " + path("set") + " --threads 1" + common + path("1")).status,
            0);
  ASSERT_EQ(run_wgr("build " + path("set") + " --threads 3" + common + path("3")).status,
            0);
  EXPECT_EQ(read_file(path("1")), read_file(path("3")));

  const std::string folds = "eval " + path("set") + " --leave-out subject --report ";
  ASSERT_EQ(run_wgr(folds + path("f1")).status, 0);
  ASSERT_EQ(run_wgr(folds + path("f2")).status, 0);
  EXPECT_EQ(read_file(path("f1")), read_file(path("f2")));
}

TEST_F(ModelPages, ThatCannotBeWrittenAreSaid) {
  const Outcome folder = run_wgr("build " + path("set") + " -o " + path("n/m.xml") +
                                 " --report /dev/null/page.html");
  EXPECT_EQ(folder.status, 2);
  EXPECT_THAT(folder.err, HasSubstr("/dev/null/page.html: cannot be written"));
  write_file(path("slots.csv"), "slot,input\none,set\n");
  const Outcome slots = run_wgr("build --slots " + path("slots.csv") + " -o " +
                                path("slots") + " --report " + path("page.html"));
  EXPECT_EQ(slots.status, 2);
  EXPECT_THAT(slots.err, HasSubstr("--report is of one model"));
}
