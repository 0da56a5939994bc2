// wgr explain as its users run it: text, JSON and page out, exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>

#include "support/cases.h"
#include "text/remedies.h"
#include "tools/run_wgr.h"
#include "workbench/explanation/explain_support.h"

using namespace wgr;

using nlohmann::json;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
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
  EXPECT_THAT(outcome.out,
              StartsWith("1 gesture was reported. An axis is stuck at one value.\n"));
  EXPECT_THAT(outcome.out,
              HasSubstr("\n" + recording_ + ": 150 samples at 50 samples/s\n"));
  EXPECT_THAT(outcome.out, HasSubstr("\n  class 3, 0.920 s to 1.860 s, motion 1\n"));
  EXPECT_THAT(outcome.out, Not(HasSubstr("\033")));
  EXPECT_EQ(outcome.err, "wgr: " + recording_ + ": 50 samples/s by the time stamps\n");
}

TEST_F(Explain, AllTellsOfEveryMotionAndEveryRest) {
  const Outcome outcome = run_wgr("explain --all " + quoted_);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
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
  EXPECT_THAT(outcome.out, StartsWith("1 of 2 gestures were recognised. "));
  EXPECT_THAT(outcome.out, HasSubstr("\nmissed: 1\n"
                                     "  class 3, at-rest: 1\n"
                                     "    2.200 s to 2.800 s\n"
                                     "      The wrist counted as resting"));
  EXPECT_THAT(outcome.out, HasSubstr("\nnothing that was tried on this recording"));
  const json verdict = json::parse(
      run_wgr("explain --json --expect '" + table + "' " + quoted_).out)["verdict"];
  EXPECT_THAT(outcome.out, StartsWith(verdict["headline"].get<std::string>()));
  EXPECT_EQ(verdict["recognised"], 1);
  EXPECT_EQ(verdict["missed_groups"].size(), 1u);
  EXPECT_EQ(verdict["missed_groups"][0]["expected"], json({2}));
  EXPECT_EQ(verdict["trials"][0]["recognised"], 1);
  const Outcome refused = run_wgr("explain --expect /no/such " + quoted_);
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.err, HasSubstr("/no/such"));
}

TEST_F(Explain, ExpectationsThatAreOfNoUseAreRefused) {
  const std::string table = directory_.file("expected.csv");
  const struct {
    const char* text;
    const char* says;
  } cases[] = {
      {"t_start,t_end,label\n", "names no gesture"},
      {"file,t_start,t_end,label\nother.csv,1.0,1.8,3\n", "but for other.csv"},
      {"t_start,t_end,label\n1.0,1.8,3\n3.5,4.0,3\n", "goes from 0.000 to 2.980 s"},
      {"t_start,t_end,label\n1000,1800,3\n", "from 1000.000 to 1800.000 s, class 3"},
  };
  for (const auto& c : cases) {
    write_file(table, c.text);
    const Outcome outcome = run_wgr("explain --expect '" + table + "' " + quoted_);
    EXPECT_EQ(outcome.status, 2) << c.text;
    EXPECT_EQ(outcome.out, "") << c.text;
    EXPECT_THAT(outcome.err, HasSubstr(table + ": ")) << c.text;
    EXPECT_THAT(outcome.err, HasSubstr(c.says)) << c.text;
  }
}

TEST_F(Explain, APartIsPrintedAlone) {
  const Outcome all = run_wgr("explain --all " + quoted_);
  const size_t begin = all.out.find("\nmotion 1 ");
  ASSERT_NE(begin, std::string::npos);
  const std::string motion = all.out.substr(begin, all.out.find("\nat rest") - begin);
  for (const std::string part : {"--motion 1", "--at 1.5", "--only reported"}) {
    EXPECT_EQ(run_wgr("explain " + part + " " + quoted_).out, motion) << part;
  }
  const Outcome rest = run_wgr("explain --at 0.5 " + quoted_);
  EXPECT_THAT(rest.out, StartsWith("\nat rest\n  0.000 s to "));
  EXPECT_EQ(run_wgr("explain --only too-weak " + quoted_).out, "nothing of that kind\n");
  const Outcome none = run_wgr("explain --motion 2 " + quoted_);
  EXPECT_EQ(none.status, 2);
  EXPECT_THAT(none.err, HasSubstr("--motion 2: there is 1 motion"));
  EXPECT_EQ(run_wgr("explain --only too-wek " + quoted_).status, 2);
}

TEST_F(Explain, WhatIfTriesWithoutExpectations) {
  const Outcome outcome = run_wgr("explain --what-if " + quoted_);
  EXPECT_THAT(outcome.out, HasSubstr("    1 reported  as it is\n"));
  EXPECT_THAT(run_wgr("explain " + quoted_).out, Not(HasSubstr("as it is")));
}

// The model has no manifest, so it is taken to be for 50 samples/s, as the shipped ones.
TEST_F(Explain, AnotherRateThanTheModelsIsTheFirstCauseOfARejection) {
  install_default_model(small_model(kClass, -1e-6));
  const std::string set = directory_.file("set");
  ASSERT_EQ(run_wgr("synth --training '" + set +
                    "' --persons 1 --gestures 1 --distractors 0 --sample-rate 100")
                .status,
            0);
  const std::string recording = "'" + set + "/p001_free.csv'";
  const Outcome outcome = run_wgr("explain --json " + recording);
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const json verdict = json::parse(outcome.out)["verdict"];
  const std::string sentence = "The model is for 50 samples/s, and here are 100.";
  EXPECT_THAT(verdict["headline"], HasSubstr(sentence));
  EXPECT_EQ(verdict["principal"]["cause"], "model-rate");
  EXPECT_THAT(run_wgr("explain " + recording).out, HasSubstr(sentence));
}

TEST_F(Explain, TheGuideHasTheRemediesOfTheProgram) {
  const std::string guide = read_file(WGR_ROOT "/docs/field-guide.md");
  for (const Remedy& remedy : remedies()) {
    const std::string row = std::string("\n| `") + remedy.cause + "` |";
    const size_t begin = guide.find(row);
    ASSERT_NE(begin, std::string::npos) << remedy.cause;
    const std::string line =
        guide.substr(begin + 1, guide.find('\n', begin + 1) - begin - 1);
    const std::string code =
        *remedy.code == '\0' ? " |" : std::string(" `") + remedy.code + "` |";
    EXPECT_THAT(line, EndsWith(std::string("| ") + remedy.action + " |" + code));
  }
  // Every cause that a motion or a gesture can have, but for success.
  for (const Cause& cause : every_cause()) {
    const bool none = cause == Ending::kRecognised || cause == Ending::kCorrectedOnly;
    EXPECT_EQ(remedy_for(name_of(cause)) == nullptr, none) << name_of(cause);
  }
}

TEST_F(Explain, WhatCameBeforeAMalformedLineIsExplained) {
  write_file(recording_, read_file(recording_) + "3.0,not,a,sample,0,0,0\n");
  const Outcome outcome = run_wgr("explain " + quoted_);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.out, HasSubstr("class 3, 0.920 s"));
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
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const std::string text = read_file(page);
  EXPECT_THAT(text, StartsWith("<!DOCTYPE html>"));
  EXPECT_THAT(text, EndsWith("</html>\n"));
  EXPECT_THAT(text, HasSubstr("default-src 'none'"));
  EXPECT_EQ(text.find("@@"), std::string::npos);
  EXPECT_EQ(text.find("src=\""), std::string::npos);
  const Outcome refused = run_wgr("explain --report - " + quoted_);
  EXPECT_EQ(refused.status, 2);
}

TEST_F(Explain, AFolderGivesAPageEachAndAnIndex) {
  const std::string set = directory_.file("set");
  const std::string out = directory_.file("pages");
  std::filesystem::create_directories(set);
  write_recording(set + "/a.csv", recorded(one_gesture() + rest(50)));
  write_recording(set + "/b.csv", recorded(rest(200)));
  write_file(set + "/labels.csv", "file,t_start,t_end,label\na.csv,1.0,1.8,3\n");
  const std::string command = "explain --expect " + set + "/labels.csv " + set;
  EXPECT_EQ(run_wgr(command).status, 2);
  const Outcome outcome = run_wgr(command + " -o " + out);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, StartsWith("a.csv: 1 of 1 gesture was recognised."));
  EXPECT_THAT(outcome.out, HasSubstr("\nb.csv: No gesture was reported."));
  for (const char* page : {"/a.csv.html", "/b.csv.html", "/index.html"}) {
    EXPECT_THAT(read_file(out + page), EndsWith("</html>\n")) << page;
  }
  // What cannot be read has its line in the index, and the others their pages.
  std::filesystem::remove_all(out);
  write_file(set + "/c.csv", "t,ax,ay,az,gx,gy,gz\nno sample\n");
  const Outcome torn = run_wgr(command + " -o " + out);
  EXPECT_EQ(torn.status, 2);
  EXPECT_THAT(torn.err, HasSubstr("c.csv:2: "));
  EXPECT_TRUE(std::filesystem::exists(out + "/a.csv.html"));
  EXPECT_TRUE(std::filesystem::exists(out + "/index.html"));
  EXPECT_FALSE(std::filesystem::exists(out + "/c.csv.html"));
  EXPECT_EQ(run_wgr("explain -o " + out + " " + set + "/a.csv").status, 2);
}

// Neither the time of the run nor the page's own name is in it.
TEST_F(Explain, ThePageOfOneRecordingIsAlwaysTheSame) {
  const std::string one = directory_.file("one.html");
  const std::string other = directory_.file("other.html");
  ASSERT_EQ(run_wgr("explain --report '" + one + "' " + quoted_).status, 0);
  ASSERT_EQ(run_wgr("explain '--report=" + other + "' " + quoted_).status, 0);
  EXPECT_EQ(read_file(one), read_file(other));
}

TEST_F(Explain, APageHoldsTheSamplesThatItDraws) {
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
