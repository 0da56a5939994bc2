// The models and the recording that ship.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

#include "classifier/Gmodel.h"
#include "hostrun/host_run.h"
#include "recording/recording.h"
#include "segmentation/annotations.h"
#include "support/cases.h"
#include "support/private_paths.h"
#include "tools/run_wgr.h"

using namespace wgr;

static const std::string kRoot = WGR_ROOT;
static const std::string kModels = kRoot + "/models/";
static const std::string kDemo = kRoot + "/recordings/demo";

static constexpr const char* kNames[] = {"5_ow",  "5_fb",  "5_mix",
                                         "5r_ow", "5r_fb", "5r_mix"};

static std::string stem(const std::string& name) {
  return "olvo_model_" + name + "/hgr_olvo";
}

TEST(Models, AreSmallAndWhole) {
  for (const char* name : kNames) {
    SCOPED_TRACE(name);
    Gmodel model;
    ASSERT_TRUE(model.read((kModels + stem(name)).c_str()));
    EXPECT_EQ(model.normalize, 1);
    EXPECT_EQ(model.havegravity, 1);
    EXPECT_EQ(model.class_labels, (std::vector<int>{0, 1, 2, 3, 4}));
    ASSERT_EQ(model.class_thresholds.size(), 5u);
    for (const double threshold : model.class_thresholds) {
      EXPECT_LT(threshold, -0.1);
      EXPECT_GT(threshold, -0.8);
    }
    std::map<int, int> templates;
    for (const auto& [label, points] : model.templates) {
      ++templates[label];
      EXPECT_GE(points.size(), 26u);
    }
    EXPECT_EQ(templates.size(), 5u);
    for (const auto& [label, count] : templates) EXPECT_LE(count, 3) << label;

    const std::string text = read_file(kModels + stem(name) + ".xml");
    EXPECT_LT(text.size(), 20000u);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      ASSERT_LT(line.size(), 4096u) << "a longer line is lost by the reader";
    }
  }
}

TEST(Models, AreBuiltAgainToTheSameBytes) {
  // All six take a minute of processor time: one of each wrist and style stands for them.
  std::vector<std::string> names = {"5_ow", "5r_fb"};
  if (!enough_cases()) names = {"5r_fb"};
  if (property_cases() > 1'000'000) names.assign(std::begin(kNames), std::end(kNames));
  if (property_cases() < 10'000) GTEST_SKIP() << "takes minutes under an emulator";
  TempDirectory directory;
  std::string command = "WGR=" + std::string(WGR_PROGRAM) + " " + kRoot +
                        "/scripts/build-models " + directory.path();
  for (const std::string& name : names) command += " " + name;
  const Outcome outcome = run_command(command);
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  for (const std::string& name : names) {
    const std::string file = stem(name) + ".xml";
    EXPECT_EQ(read_file(directory.file(file)), read_file(kModels + file)) << name;
  }
}

TEST(Models, TheScriptRefusesWhatItDoesNotUnderstand) {
  EXPECT_EQ(run_command(kRoot + "/scripts/build-models --all").status, 2);
  EXPECT_EQ(run_command(kRoot + "/scripts/build-models a b").status, 2);
  EXPECT_EQ(run_command("WGR=/nowhere " + kRoot + "/scripts/build-models x").status, 2);
}

TEST(Demo, IsSynthesisedAgainToTheSameBytes) {
  TempDirectory directory;
  const Outcome outcome =
      run_wgr("synth --script " + kDemo + ".script.csv --person 512 -o " +
              directory.file("demo.csv") + " --labels " + directory.file("labels.csv"));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(read_file(directory.file("demo.csv")), read_file(kDemo + ".csv"));
  EXPECT_EQ(read_file(directory.file("labels.csv")), read_file(kDemo + ".labels.csv"));
}

// The time of each event is that of the tenth sample or so at rest after its gesture.
TEST(Demo, EveryScriptedGestureIsReportedAndNothingElse) {
  std::filesystem::copy(kModels, "/usr/share/GestureModel",
                        std::filesystem::copy_options::recursive |
                            std::filesystem::copy_options::overwrite_existing);
  const std::vector<std::pair<double, int>> expected = {
      {3.20, 0},  {6.42, 1},  {9.72, 2},  {13.02, 3}, {16.38, 4}, {28.06, 3},
      {31.46, 1}, {42.24, 0}, {45.50, 4}, {56.22, 2}, {59.32, 1}};
  std::vector<std::pair<double, int>> events;
  HostRun host_run(HostRunOptions{});
  for (const RecordedSample& sample : read_recording(kDemo + ".csv")) {
    if (const auto event = host_run.feed(sample)) {
      events.emplace_back(event->t, event->gesture);
    }
  }
  EXPECT_EQ(events, expected);

  const std::vector<Annotation> script = read_labels(kDemo + ".labels.csv");
  ASSERT_EQ(script.size(), events.size());
  for (size_t i = 0; i < script.size(); ++i) {
    EXPECT_EQ(events[i].second, script[i].label);
    EXPECT_GT(events[i].first, script[i].begin);
    EXPECT_LT(events[i].first, script[i].end + 0.5);
  }
}
