// Templates of background: how many a model gets, and what they do in it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "base/class_codes.h"
#include "classifier/Gdata.h"
#include "classifier/HGR.h"
#include "support/random_points.h"
#include "training/model_builder.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::SizeIs;

// Two gestures and background that differs from the first one by less than its examples
// do from each other: a threshold cannot part them, but a template of background can.
static Gdata gesture_like_background() {
  RandomPoints random(21);
  Gdata data;
  data.kind = 0;
  for (int i = 0; i < 120; ++i) {
    const int label = i % 3 - 1;
    Points trace = random.trace(14, RandomPoints::Kind::kGaussian);
    for (size_t p = 0; p < trace.size(); ++p) {
      trace[p].x += label == 1 ? -0.9 : 0.9;
      if (label != 1) trace[p].y += (label == 0) == (p < 7) ? 0.7 : -0.7;
    }
    data.samples.push_back({label, trace});
  }
  return data;
}

static Gmodel built_with(const Gdata& data, std::optional<size_t> background,
                         BuildReport& report, unsigned threads = 1) {
  BuildOptions options;
  options.kind = TemplateKind::kAverages;
  options.background_templates = background;
  options.threads = threads;
  return ModelBuilder(data, threads, true).build(options, report);
}

TEST(BackgroundTemplates, KeepOutWhatThresholdsCannot) {
  const Gdata data = gesture_like_background();
  BuildReport without;
  const Gmodel bare = built_with(data, 0, without);
  EXPECT_EQ(without.background_templates, 0u);
  EXPECT_EQ(without.like_background(), 0u);
  BuildReport report;
  const Gmodel model = built_with(data, {}, report);
  ASSERT_GT(report.background_templates, 0u);
  EXPECT_GT(report.accepted(), without.accepted() + 5);
  EXPECT_LE(report.background_accepted, without.background_accepted);
  ASSERT_THAT(report.background_steps, SizeIs(5));
  const BackgroundStep& none = report.background_steps[0];
  for (const BackgroundStep& step : report.background_steps) {
    if (step.chosen) {
      EXPECT_GT(step.accepted, none.accepted);
      EXPECT_LE(step.background_accepted, none.background_accepted);
    }
    EXPECT_EQ(step.points, 14 * step.templates) << "averages of 14 points";
  }
  for (const ClassReport& c : report.classes) {
    EXPECT_EQ(c.right + c.misclassified + c.rejected + c.like_background, c.examples);
  }
  EXPECT_GT(report.like_background(), 0u) << "there is a price";

  // They stand last and have no threshold.
  EXPECT_THAT(model.class_labels, ElementsAre(0, 1));
  const size_t gestures = model.templates.size() - report.background_templates;
  EXPECT_EQ(gestures, report.templates());
  EXPECT_EQ(report.sources.size(), model.templates.size());
  for (size_t t = 0; t < model.templates.size(); ++t) {
    EXPECT_EQ(model.templates[t].first == kNoGesture, t >= gestures);
  }
}

TEST(BackgroundTemplates, AreNeitherRejectedNorAGestureToTheClassifier) {
  const Gdata data = gesture_like_background();
  BuildReport report;
  HGR classifier(0);
  *classifier.model = built_with(data, {}, report, 2);
  size_t kept_out = 0;
  for (const Gsample& example : data.samples) {
    Points trace = example.trace;
    int reject_flag = 0;
    const int label = classifier.predict(trace, nullptr, nullptr, &reject_flag);
    if (label != kNoGesture) continue;
    EXPECT_EQ(reject_flag, 0);
    kept_out += example.label < 0 ? 1 : 0;
  }
  EXPECT_GT(kept_out, 20u) << "of 40";
}

// Five kinds of background, each left out in its turn: what the others are like says
// nothing of it.
static std::vector<Points> five_kinds() {
  const Point3Df up = {1.0, 0.0, 0.5};
  const Point3Df down = {1.0, 0.0, -0.5};
  return {Points(6, {1.0, 0.5, 0.0}),
          Points(6, {1.0, -0.5, 0.0}),
          Points(6, up),
          Points(6, down),
          {up, up, up, down, down, down}};
}

// Two gestures, of `spread` around opposite directions, and the kinds in turn, of which
// the first gesture is the nearest.
static Gdata between_five_kinds(double spread, double background_spread) {
  Gdata data;
  data.kind = 0;
  RandomPoints random(5);
  const auto around = [&](const Points& centre, double size) {
    Points trace = random.trace(6, RandomPoints::Kind::kGaussian);
    for (size_t p = 0; p < 6; ++p) trace[p] = size * trace[p] + centre[p];
    return trace;
  };
  for (int i = 0; i < 40; ++i) {
    data.samples.push_back(
        {i % 2, around(Points(6, {i % 2 == 0 ? 1.0 : -1.0, 0.0, 0.0}), spread)});
  }
  const std::vector<Points> kinds = five_kinds();
  for (size_t i = 0; i < 40; ++i) {
    data.samples.push_back({-1, around(kinds[i % 5], background_spread)});
  }
  return data;
}

TEST(BackgroundTemplates, NeverJudgeWhatTheyWereMadeFromNorWhatIsLikeThat) {
  BuildReport report;
  built_with(between_five_kinds(0.01, 0.0), 4, report);
  EXPECT_EQ(report.background_templates, 4u);
  for (size_t i = 40; i < 80; ++i) EXPECT_EQ(report.judged[i].label, 0) << i;
}

// Of every kind, templates would keep out all of it; of the others, they do not.
TEST(BackgroundTemplates, AreNotChosenWhereTheyKeepOutNothingButTheirLike) {
  BuildReport report;
  built_with(between_five_kinds(0.35, 0.1), {}, report);
  EXPECT_EQ(report.background_templates, 0u);
  ASSERT_GT(report.background_steps.size(), 3u);
}
