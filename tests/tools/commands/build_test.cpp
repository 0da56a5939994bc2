// What wgr build promises besides its models: scores that do not depend on how they are
// shared out, whole files or none, and figures for wearers who recorded nothing.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <thread>

#include "base/progress.h"
#include "classifier/HGR.h"
#include "output/hold_signals.h"
#include "support/child.h"
#include "support/files.h"
#include "tools/run_wgr.h"
#include "training/model_output.h"
#include "training/similarities.h"

using namespace wgr;

using nlohmann::json;
using ::testing::HasSubstr;

// From 0 to 8 points and the trailing ones. Whole numbers make ties, where the score of a
// pair depends on its order.
static std::vector<Points> random_traces(size_t count, int k) {
  std::mt19937 random(1);
  const auto number = [&] { return static_cast<double>(1 + random() % 3); };
  std::vector<Points> traces(count);
  for (size_t i = 0; i < count; ++i) {
    for (size_t p = 0; p < i % 9 + static_cast<size_t>(k); ++p) {
      traces[i].push_back({number(), number(), number()});
    }
  }
  return traces;
}

TEST(Similarities, AreTheClassifiersOnAnyThreads) {
  for (const int k : {0, 1}) {
    const std::vector<Points> traces = random_traces(40, k);
    for (const size_t columns : {size_t{1}, size_t{23}, size_t{40}}) {
      for (const unsigned threads : {1u, 3u}) {
        const Similarities scores(traces, columns, k, threads, true);
        HGR classifier(0);
        for (size_t i = 0; i < traces.size(); ++i) {
          for (size_t j = 0; j < columns; ++j) {
            const float expected =
                i == j ? 0.0f : classifier.cal_simlarity(traces[i], traces[j], k);
            ASSERT_EQ(scores(i, j), expected) << i << ", " << j << ", k = " << k;
          }
        }
      }
    }
  }
}

TEST(HoldSignals, EndsTheProgramOnlyWhenWhatBelongsTogetherIsDone) {
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    TempDirectory directory;
    const int outcome = in_child([&] {
      std::signal(signal, SIG_DFL);
      {
        const HoldSignals hold;
        raise(signal);
        write_file(directory.file("done"), "");
      }
      write_file(directory.file("later"), "");
      return 0;
    });
    EXPECT_EQ(outcome, -signal);
    EXPECT_TRUE(std::filesystem::exists(directory.file("done")));
    EXPECT_FALSE(std::filesystem::exists(directory.file("later")));
  }
}

TEST(Progress, IsALineForEveryQuarterWhereItIsNoTerminal) {
  Capture said(STDERR_FILENO);
  Progress progress("counting", 8);
  for (int i = 0; i < 8; ++i) progress.add(1);
  Progress("nothing", 0).add(0);
  EXPECT_EQ(said.finish(),
            "counting: 25 %\ncounting: 50 %\ncounting: 75 %\ncounting: 100 %\n"
            "nothing: 100 %\n");
}

// Ten samples a class that nobody could distinguish, long enough to keep it busy.
static std::string busy_training_text() {
  std::mt19937 random(1);
  std::string text;
  for (int sample = 0; sample < 300; ++sample) {
    text += std::to_string(1 + sample % 3) + " 150 0.1 0.2 9.9\n";
    for (int axis = 0; axis < 3; ++axis) {
      for (int i = 0; i < 150; ++i) text += std::to_string(random() % 1000) + " ";
      text += "\n";
    }
  }
  return text;
}

static std::set<std::string> names_in(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.insert(entry.path().filename());
  }
  return names;
}

TEST(Build, WhenInterruptedLeavesAllAsItWas) {
  TempDirectory directory;
  const std::string training = directory.file("training.txt");
  const std::string said = directory.file("said");
  const std::string temporary = directory.file("temporary");
  const std::string models = directory.file("models");
  write_file(training, busy_training_text());
  write_file(said, "");
  std::filesystem::create_directory(temporary);
  std::filesystem::create_directory(models);
  const std::set<std::string> before = {"m.model.json", "m.report.txt", "m.xml"};
  for (const std::string& name : before) write_file(models + "/" + name, "old " + name);

  const pid_t build = fork();
  if (build == 0) {
    alarm(10 * kChildSeconds);  // an emulator takes a minute to get under way
    std::signal(SIGINT, SIG_DFL);
    setenv("TMPDIR", temporary.c_str(), 1);
    dup2(open(said.c_str(), O_WRONLY), STDERR_FILENO);
    const std::string model = models + "/m.xml";
    execl(WGR_PROGRAM, WGR_PROGRAM, "build", training.c_str(), "-o", model.c_str(),
          nullptr);
    _exit(kChildCannot);
  }
  ASSERT_GT(build, 0);
  int status = 0;
  pid_t ended = 0;
  while (ended == 0 &&
         read_file(said).find("comparing 300 examples: ") == std::string::npos) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ended = waitpid(build, &status, WNOHANG);
  }
  ASSERT_EQ(ended, 0) << read_file(said);
  kill(build, SIGINT);
  ASSERT_EQ(waitpid(build, &status, 0), build);
  ASSERT_TRUE(WIFSIGNALED(status)) << read_file(said);
  EXPECT_EQ(WTERMSIG(status), SIGINT) << "a shell makes that 130";
  EXPECT_EQ(names_in(models), before);
  for (const std::string& name : before) {
    EXPECT_EQ(read_file(models + "/" + name), "old " + name);
  }
  EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

class CrossSubject : public ::testing::Test {
 protected:
  void SetUp() override {
    const Outcome made =
        run_wgr("synth --training " + set_ + " --persons 2 --gestures 3 --distractors 0");
    ASSERT_EQ(made.status, 0) << made.err;
  }
  Outcome build(const std::string& input) const {
    return run_wgr("build " + input + " --judge-by subject -o " + model_);
  }

  TempDirectory directory_;
  const std::string set_ = directory_.file("set");
  const std::string training_ = directory_.file("set.txt");
  const std::string model_ = directory_.file("m.xml");
};

TEST_F(CrossSubject, IsSaidByReportAndManifest) {
  const Outcome built = build(set_);
  ASSERT_EQ(built.status, 0) << built.err;
  EXPECT_THAT(built.err, HasSubstr("leaving subjects out"));
  const json manifest = json::parse(read_file(directory_.file("m.model.json")));
  EXPECT_EQ(manifest["build"]["judged_by"], "leaving subjects out");
}

TEST_F(CrossSubject, KnowsSubjectsFromTheDescriptionBesideATrainingFileToo) {
  ASSERT_EQ(run_wgr("segment " + set_ + " -o " + training_).status, 0);
  ASSERT_EQ(build(set_).status, 0);
  const std::string direct = read_file(model_);
  ASSERT_EQ(build(training_).status, 0);
  EXPECT_EQ(read_file(model_), direct);

  std::filesystem::remove(directory_.file("set.training.json"));
  const Outcome unknown = build(training_);
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, HasSubstr("needs to know whose every example is"));
}

// The watch reads a model's file, of six significant digits: what is evaluated in memory
// has to be that model, not the one that was built.
TEST(ModelText, IsReadBackWithItsSixDigits) {
  Gmodel built;
  built.nclasses = 1;
  built.nTemplate = 1;
  built.normalize = 1;
  built.class_labels = {3};
  built.class_thresholds = {-0.123456789};
  built.templates = {{3, {{1.00000049, -2.3456789, 1e-7 / 3.0}}}};
  const Gmodel read = as_read_back(built);
  ASSERT_EQ(read.templates.size(), 1u);
  EXPECT_EQ(read.class_thresholds, std::vector<double>{-0.123457});
  EXPECT_EQ(read.templates[0].second[0].x, 1.0);
  EXPECT_EQ(read.templates[0].second[0].y, -2.34568);
  EXPECT_EQ(read.templates[0].second[0].z, 3.33333e-08);
}
