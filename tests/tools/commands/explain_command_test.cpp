// wgr explain as its users run it: text, JSON and page out, exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>

#include "pages/parts.h"
#include "support/cases.h"
#include "tools/run_wgr.h"
#include "workbench/explanation/explain_support.h"

using namespace wgr;

using nlohmann::json;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Explain : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const auto& entry : std::filesystem::directory_iterator(kInstalledModels)) {
      std::filesystem::remove_all(entry);
    }
    install_default_model(small_model(kClass, -1e6));
    write_recording(recording_, recorded(one_gesture() + rest(50)));
  }

  TempDirectory directory_;
  const std::string recording_ = directory_.file("one gesture.csv");
  const std::string quoted_ = "'" + recording_ + "'";
};

TEST_F(Explain, TextNamesTheMotionAndItsCause) {
  const Outcome outcome = run_wgr("explain " + quoted_);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, StartsWith(recording_ + ": 150 samples at 50 samples/s\n"));
  EXPECT_THAT(outcome.out,
              HasSubstr("\nmotion 1  0.920 s to 1.860 s  reported  class 3\n"
                        "  Reported as class 3: template 1 of class 3 scores "));
  EXPECT_THAT(outcome.out, HasSubstr("\nat rest\n"));
}

TEST_F(Explain, JsonHasTheVeryNumbersOfReplay) {
  const Outcome replayed = run_wgr("replay --json " + quoted_);
  const json event = json::parse(replayed.out.substr(0, replayed.out.find('\n')));
  const Outcome outcome = run_wgr("explain --json " + quoted_);
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const json explained = json::parse(outcome.out);
  ASSERT_EQ(explained["motions"].size(), 1u);
  const json& motion = explained["motions"][0];
  EXPECT_EQ(motion["judged"], event["t"]);
  EXPECT_EQ(motion["reported"], event["class"]);
  EXPECT_EQ(motion["strength"].get<double>(), event["strength"].get<double>());
  EXPECT_EQ(motion["duration_ms"].get<double>(), event["duration_ms"].get<double>());
  EXPECT_EQ(motion["cause"], "reported");
  EXPECT_EQ(explained["events"].size(), 1u);
}

TEST_F(Explain, ModelsAndOptionsReachTheRun) {
  const std::string models = directory_.file("models");
  std::filesystem::copy(kInstalledModels, models,
                        std::filesystem::copy_options::recursive);
  const std::string options = " --json --sensitivity -48 --bias 0.5,0.25,-0.5 ";
  const Outcome here = run_wgr("explain" + options + quoted_);
  const Outcome there = run_wgr("explain --models '" + models + "'" + options + quoted_);
  ASSERT_EQ(there.status, 0) << there.err;
  json explained = json::parse(there.out);
  EXPECT_EQ(explained["model"]["file"], model_file(models, 0, 1));
  json installed = json::parse(here.out);
  EXPECT_EQ(installed["model"]["file"], model_file(kInstalledModels, 0, 1));
  installed["model"]["file"] = explained["model"]["file"];
  EXPECT_EQ(installed, explained);
  EXPECT_EQ(explained["settings"]["shortest_motion"], 48);
  EXPECT_EQ(explained["motions"][0]["cause"], "not-a-number");
  EXPECT_EQ(explained["motions"][0]["lost_at"], 0);
}

// JSON is printed piece by piece, and is the same as printed at once.
TEST_F(Explain, JsonIsLaidOutAsAWhole) {
  for (const std::string options : {"", "--no-init "}) {
    const Outcome outcome = run_wgr("explain --json " + options + quoted_);
    const auto whole = nlohmann::ordered_json::parse(outcome.out);
    EXPECT_EQ(outcome.out, whole.dump(1) + "\n");
  }
  write_recording(recording_, {});
  const Outcome empty = run_wgr("explain --json " + quoted_);
  EXPECT_EQ(empty.out, nlohmann::ordered_json::parse(empty.out).dump(1) + "\n");
}

TEST_F(Explain, AHostThatForgetsToInitialiseCanBePlayed) {
  const Outcome outcome = run_wgr("explain --no-init " + quoted_);
  EXPECT_THAT(outcome.out, HasSubstr("wrong-mode"));
}

TEST_F(Explain, ExpectedGesturesAreComparedWithWhatCame) {
  const std::string table = directory_.file("expected.csv");
  write_file(table, "t_start,t_end,label\n1.0,1.8,3\n2.2,2.8,3\n");
  const Outcome outcome = run_wgr("explain --expect '" + table + "' " + quoted_);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("expected gestures recognised: 1 of 2\n"
                                     "  class 3 at 2.200 s to 2.800 s  at-rest\n"));
  const Outcome refused = run_wgr("explain --expect /no/such " + quoted_);
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.err, HasSubstr("/no/such"));
}

TEST_F(Explain, WhatCameBeforeAMalformedLineIsExplained) {
  write_file(recording_, read_file(recording_) + "3.0,not,a,sample,0,0,0\n");
  const Outcome outcome = run_wgr("explain " + quoted_);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.out, HasSubstr("motion 1  0.920 s"));
  EXPECT_THAT(outcome.err, HasSubstr(":152: ax is not a number"));
}

TEST_F(Explain, ARecordingOfNoSamplesIsNoError) {
  write_recording(recording_, {});
  const Outcome outcome = run_wgr("explain " + quoted_);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("\nno motion\n"));
}

TEST_F(Explain, APageIsOneFileThatAsksForNothing) {
  const std::string page = directory_.file("report.html");
  const Outcome outcome = run_wgr("explain --report '" + page + "' " + quoted_);
  if (kUplotScript.empty()) {
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("built without its page"));
    return;
  }
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const std::string text = read_file(page);
  EXPECT_THAT(text, StartsWith("<!DOCTYPE html>"));
  EXPECT_THAT(text, EndsWith("</html>\n"));
  EXPECT_THAT(text, HasSubstr("default-src 'none'"));
  EXPECT_THAT(text, HasSubstr("Leon Sorokin"));  // uPlot's licence asks for its notice
  EXPECT_EQ(text.find("@@"), std::string::npos);
  EXPECT_EQ(text.find("src=\""), std::string::npos);
  const Outcome refused = run_wgr("explain --report - " + quoted_);
  EXPECT_EQ(refused.status, 2);
}

TEST_F(Explain, APageHoldsTheSamplesThatItDraws) {
  if (kUplotScript.empty()) GTEST_SKIP() << "built without the page: nothing to measure";
  const std::string page = directory_.file("report.html");
  RandomPoints random(11);
  const auto size_for = [&](size_t samples) {
    write_recording(recording_,
                    recorded(random_stream(random, static_cast<int>(samples), false)));
    EXPECT_EQ(run_wgr("explain --report '" + page + "' " + quoted_).status, 0);
    return std::filesystem::file_size(page);
  };
  EXPECT_GT(size_for(2000), size_for(1) + 20'000);
}

// An hour at 100 samples/s, in motion for half of it: the noise is of the size that packs
// worst.
TEST_F(Explain, AnHourGivesASmallPage) {
  if (kUplotScript.empty()) GTEST_SKIP() << "built without the page: nothing to measure";
  if (!enough_cases()) GTEST_SKIP() << "too slow here";
  RandomPoints random(11);
  std::vector<RecordedSample> samples = recorded(random_stream(random, 360000, false));
  for (size_t i = 0; i < samples.size(); ++i) {
    samples[i].t = static_cast<double>(i) / 100.0;
  }
  write_recording(recording_, samples);
  const std::string page = directory_.file("report.html");
  const auto start = std::chrono::steady_clock::now();
  const Outcome outcome = run_wgr("explain --report '" + page + "' " + quoted_);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto size = std::filesystem::file_size(page);
  std::printf("%.1f s, %.2f MB\n", seconds, static_cast<double>(size) / 1e6);
  EXPECT_LT(size, 5'000'000u);
}
