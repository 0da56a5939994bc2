// wgr replay as its users run it: arguments and recordings in, printed text and exit
// status out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "WgrInterface.h"
#include "base/errors.h"
#include "hostrun/fixed_paths.h"
#include "hostrun/host_run.h"
#include "hostrun/kept_log.h"
#include "live_replay.h"
#include "output/output_files.h"
#include "output/temporary_file.h"
#include "recording/recording.h"
#include "support/child.h"
#include "support/files.h"
#include "support/motions.h"
#include "support/private_paths.h"
#include "text/replay_report.h"
#include "tools/run_wgr.h"

using namespace wgr;

using nlohmann::json;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

static constexpr int kRate = 50;  // samples per second
static constexpr int kClass = 3;

static std::vector<json> json_lines(const std::string& text) {
  std::vector<json> objects;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    objects.push_back(json::parse(line));
  }
  return objects;
}

// The lines without the one figure that differs from run to run.
static std::vector<json> without_speed(const std::string& text) {
  std::vector<json> objects = json_lines(text);
  if (!objects.empty()) objects.back().erase("real_time_factor");
  return objects;
}

static std::vector<RecordedSample> recorded(const Stream& stream, int rate = kRate) {
  std::vector<RecordedSample> samples;
  for (const Pair& pair : stream) {
    samples.push_back({static_cast<double>(samples.size()) / rate, pair.acc, pair.gyro});
  }
  return samples;
}

// A second of rest, a gesture of 40 samples, more rest. The tenth resting sample behind
// the gesture, number 99 of the stream, ends it.
static Stream one_gesture() { return rest(50) + gesture(20, 6.0) + rest(50); }
static constexpr size_t kLastSample = 99;

// A folder of models with one gesture in it, recognised however unlike it is.
static void write_model(const std::string& folder, int wearer, int mode, int label) {
  const std::filesystem::path file = model_file(folder, wearer, mode);
  std::filesystem::create_directories(file.parent_path());
  std::filesystem::path stem = file;
  ASSERT_TRUE(small_model(label, -1e6).write(stem.replace_extension().c_str()));
}

class Replay : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const auto& entry : std::filesystem::directory_iterator(kInstalledModels)) {
      std::filesystem::remove_all(entry);
    }
    clear_log();
    write_recording(recording_, recorded(one_gesture()));
  }

  static void install_model() { write_model(kInstalledModels, 0, 1, kClass); }

  TempDirectory directory_;
  const std::string recording_ = directory_.file("one gesture.csv");
  const std::string quoted_ = "'" + recording_ + "'";
};

TEST_F(Replay, OneMotionIsOneEventOfItsClass) {
  install_model();
  const Outcome outcome = run_wgr("replay " + quoted_);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  // 40 samples of motion; the first and last slow ones are not compared.
  EXPECT_THAT(outcome.out,
              StartsWith("    t (s)  class  strength (m/s²)  duration (ms)\n"
                         "    1.980      3             5.99            680\n"
                         "\n"
                         "samples   150 (3.0 s at 50 samples/s)\n"
                         "at rest   67.3 %\n"
                         "events    1: class 3 x 1\n"
                         "wearer    undecided (answers: 0 left, 0 right, 150 undecided)\n"
                         "clock     regular\n"
                         "speed     "));
  EXPECT_THAT(outcome.out, EndsWith(" x real time\n"));
  EXPECT_THAT(outcome.err, HasSubstr(": 50 samples/s by the time stamps\n"));
}

static void collect(void* handle, int gesture, void* events) {
  static_cast<std::vector<GestureEvent>*>(events)->push_back(
      {0.0, gesture, get_motion_strength(handle), get_recog_cost_time(handle)});
}

TEST_F(Replay, JsonHasTheVeryNumbersThatTheLibraryGivesAHost) {
  install_model();
  const Outcome outcome =
      run_wgr("replay --json --bias 0.5,0.25,-0.75 --sensitivity -12 " + quoted_);
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const std::vector<json> lines = json_lines(outcome.out);
  ASSERT_EQ(lines.size(), 2u) << outcome.out;

  std::vector<GestureEvent> events;
  size_t resting = 0;
  {
    Capture quiet;
    WgrHandle h = create_gesture_handle();
    init_gesture_handle(h, kRate, {0.5, 0.25, -0.75}, -1, -1, -1, 50);
    set_gesture_rec_sensitivity(h, -12);
    register_gesture_event_cb(h, collect, &events);
    for (const Pair& pair : one_gesture()) {
      update_gesture(h, pair.acc, pair.gyro);
      resting += static_cast<size_t>(get_movement_status(h));
    }
    destroy_gesture_handle(&h);
  }
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(lines[0]["type"], "event");
  EXPECT_EQ(lines[0]["class"], kClass);
  EXPECT_EQ(events[0].gesture, kClass);
  EXPECT_EQ(lines[0]["t"].get<double>(), static_cast<double>(kLastSample) / kRate);
  EXPECT_EQ(lines[0]["strength"].get<double>(), events[0].strength);
  EXPECT_EQ(lines[0]["duration_ms"].get<double>(), events[0].duration_ms);

  const json& summary = lines[1];
  EXPECT_EQ(summary["type"], "summary");
  EXPECT_EQ(summary["samples"], 150);
  EXPECT_EQ(summary["seconds"].get<double>(), 3.0);
  EXPECT_EQ(summary["rate"], kRate);
  EXPECT_EQ(summary["rest_share"].get<double>(), static_cast<double>(resting) / 150.0);
  EXPECT_EQ(summary["events"], json::parse(R"({"3": 1})"));
  EXPECT_EQ(summary["wearer"], "undecided");
  EXPECT_GT(summary["real_time_factor"].get<double>(), 0.0);
}

TEST_F(Replay, WhatTheLibraryPrintsGoesToStandardError) {
  install_model();
  const Outcome outcome = run_wgr("replay " + quoted_);
  EXPECT_THAT(outcome.out, Not(HasSubstr("Load file")));
  EXPECT_THAT(outcome.err, HasSubstr("Load file \"/usr/share/GestureModel/"));
}

TEST_F(Replay, WearerAndModeChooseTheModel) {
  for (int wearer = 0; wearer < 2; ++wearer) {
    for (int mode = 0; mode < 3; ++mode) {
      write_model(kInstalledModels, wearer, mode, 20 + 3 * wearer + mode);
    }
  }
  for (int wearer = 0; wearer < 2; ++wearer) {
    for (int mode = 0; mode < 3; ++mode) {
      const Outcome outcome = run_wgr("replay --json --wearer " + std::to_string(wearer) +
                                      " --mode " + std::to_string(mode) + " " + quoted_);
      ASSERT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(json_lines(outcome.out)[0]["class"], 20 + 3 * wearer + mode);
    }
  }
}

TEST_F(Replay, ModelsMayComeFromAnyFolder) {
  write_model(directory_.file("my models"), 0, 1, 7);
  const Outcome outcome =
      run_wgr("replay --json --models '" + directory_.file("my models") + "' -", quoted_);
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(json_lines(outcome.out)[0]["class"], 7);
  // Here, outside of that run, nothing was left.
  EXPECT_TRUE(std::filesystem::is_empty(kInstalledModels));
  EXPECT_EQ(read_log(), "");
}

TEST_F(Replay, TheOptionsHoldWithModelsFromAnyFolder) {
  const std::string models = directory_.file("models");
  for (const int wearer : {0, 1}) {
    write_model(models, wearer, 1, 7 + wearer);
    write_model(kInstalledModels, wearer, 1, 7 + wearer);
  }
  std::filesystem::copy(recording_, "--odd name.csv",
                        std::filesystem::copy_options::overwrite_existing);
  for (const std::string options :
       {"--sample-rate 60", "--bias 20,-30,40", "--sensitivity -49", "--wearer 1"}) {
    const std::string rest = "--json " + options + " -- '--odd name.csv'";
    const Outcome plain = run_wgr("replay --sample-rate 50 --json " + quoted_);
    const Outcome installed = run_wgr("replay " + rest);
    const Outcome elsewhere = run_wgr("replay --models '" + models + "' " + rest);
    ASSERT_EQ(installed.status, 0) << installed.err;
    ASSERT_EQ(elsewhere.status, 0) << elsewhere.err;
    EXPECT_EQ(without_speed(elsewhere.out), without_speed(installed.out)) << options;
    EXPECT_NE(without_speed(installed.out), without_speed(plain.out)) << options;
  }
  std::filesystem::remove("--odd name.csv");
}

TEST_F(Replay, SensitivityDecidesHowShortAMotionMayBe) {
  install_model();
  // The gesture is 40 samples; what is compared of it 34.
  for (const auto& [level, events] : {std::pair("-34", 1), std::pair("-35", 0)}) {
    const Outcome outcome =
        run_wgr(std::string("replay --json --sensitivity ") + level + " " + quoted_);
    EXPECT_EQ(json_lines(outcome.out).size(), static_cast<size_t>(events + 1)) << level;
  }
}

TEST(Totals, AWearerIsNamedByMoreThanTwiceTheAnswersOfTheOther) {
  const struct {
    std::array<size_t, 3> answers;  // left, right, undecided
    int wearer;
  } cases[] = {{{0, 0, 999}, 2}, {{99, 0, 9}, 2},  {{100, 0, 9}, 0}, {{0, 100, 9}, 1},
               {{80, 40, 0}, 2}, {{81, 40, 0}, 0}, {{40, 80, 0}, 2}, {{40, 81, 0}, 1}};
  for (const auto& c : cases) {
    Totals totals(kRate);
    totals.wearer_answers = c.answers;
    EXPECT_EQ(totals.wearer(), c.wearer) << c.answers[0] << " " << c.answers[1];
  }
}

// Whoever watches a live stream sees each line when it is written.
TEST_F(Replay, EveryPartOfTheReportIsThereAtOnce) {
  const std::string path = directory_.file("report");
  Totals totals(kRate);
  for (const double t : {0.0, 0.02, 0.5, 0.5, 0.4, 0.42}) totals.clock.add(t);
  totals.samples = 6;
  totals.samples_at_rest = 3;
  totals.events = {{1, 2}, {3, 1}};
  totals.wearer_answers = {1, 150, 2};
  totals.absent_fields = 2;
  totals.absent_axes = "gz";
  std::FILE* const out = std::fopen(path.c_str(), "w");
  TextReport report(out);
  report.start();
  std::string expected = "    t (s)  class  strength (m/s²)  duration (ms)\n";
  EXPECT_EQ(read_file(path), expected);
  report.event({1.25, 3, 6.5, 480.0});
  expected += "    1.250      3             6.50            480\n";
  EXPECT_EQ(read_file(path), expected);
  report.summary(totals);
  expected +=
      "\nsamples   6 (0.1 s at 50 samples/s)\n"
      "at rest   50.0 %\n"
      "events    3: class 1 x 2, class 3 x 1\n"
      "wearer    right (answers: 1 left, 150 right, 2 undecided)\n"
      "clock     1 gap (longest 0.480 s), 1 step back, 1 repeated time, 11.9 samples/s "
      "by "
      "the time stamps\n"
      "absent    gz: 2 empty fields read as 0\n"
      "speed     ";
  EXPECT_THAT(read_file(path), StartsWith(expected));
  std::fclose(out);
}

TEST_F(Replay, ALogThatCannotBeKeptIsNoSuccess) {
  write_file(kLogFile, "somebody's");
  OutputFiles files;
  EXPECT_THROW(KeptLog(files.open(directory_.file("log"))), OutputError);
  EXPECT_EQ(read_file(kLogFile), "somebody's");
}

TEST_F(Replay, AMissingDefaultModelIsSaidBeforeTheLibraryEndsTheProcess) {
  const Outcome outcome = run_wgr("replay " + quoted_);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(
      outcome.err,
      "wgr: /usr/share/GestureModel/olvo_model_5_fb/hgr_olvo.xml: cannot be read: "
      "No such file or directory. It is the model that the library cannot start "
      "without; name another with --model FILE, a folder that holds it with --models "
      "DIR, or install it.\n");
  EXPECT_EQ(read_log(), "") << "the library was not even asked";
}

TEST_F(Replay, AMissingChosenModelIsSaid) {
  install_model();
  const Outcome outcome = run_wgr("replay --wearer 1 --mode 2 " + quoted_);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err,
              StartsWith("wgr: /usr/share/GestureModel/olvo_model_5r_mix/hgr_olvo.xml: "
                         "cannot be read: No such file or directory. It is the model for "
                         "wearer 1, mode 2; "));
}

TEST_F(Replay, AFolderWithoutModelsIsSaidByItsName) {
  const std::string folder =
      std::filesystem::canonical(std::filesystem::path(recording_).parent_path());
  const Outcome empty = run_wgr("replay --models '" + folder + "' " + quoted_);
  EXPECT_EQ(empty.status, 2);
  EXPECT_THAT(empty.err,
              StartsWith("wgr: " + folder + "/olvo_model_5_fb/hgr_olvo.xml: "));
  const Outcome missing = run_wgr("replay --models /no/such " + quoted_);
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err, "wgr: /no/such: No such file or directory\n");
}

TEST_F(Replay, ADefaultModelThatTheLibraryRefusesIsNoSuccess) {
  install_model();
  write_file(model_file(kInstalledModels, 0, 1), "-1 0 0 0\n");
  const Outcome outcome = run_wgr("replay " + quoted_);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr("wgr: /usr/share/GestureModel/olvo_model_5_fb/"
                                     "hgr_olvo.xml: the library cannot load it"));
}

TEST_F(Replay, NoHiddenFileIsLeftWhereTheLibraryEndsTheProcess) {
  install_model();
  write_file(model_file(kInstalledModels, 0, 1), "-1 0 0 0\n");
  const std::string folder = directory_.file("hidden");
  std::filesystem::create_directory(folder);
  EXPECT_EQ(in_child([&] {
              Capture said(STDERR_FILENO);
              const TemporaryFile hidden(folder, "a", TemporaryFile::Name::kHidden);
              const HostRun never{HostRunOptions()};
              return 1;
            }),
            2);
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(Replay, WhatCameBeforeAMalformedLineIsUsed) {
  install_model();
  std::string content = read_file(recording_);
  write_file(recording_, content + "3.0,not,a,sample,0,0,0\n3.02,0,0,0,0,0,0\n");
  for (const std::string how : {"", "--sample-rate 50 "}) {
    const Outcome outcome = run_wgr("replay --json " + how + quoted_);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err,
                HasSubstr("wgr: " + recording_ + ":152: ax is not a number: \"not\"\n"));
    const std::vector<json> lines = json_lines(outcome.out);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1]["samples"], 150);
    EXPECT_EQ(lines[1]["events"], json::parse(R"({"3": 1})"));
  }
}

TEST_F(Replay, WhatIsNoRecordingIsRefused) {
  install_model();
  write_file(recording_, "");
  const Outcome empty = run_wgr("replay " + quoted_);
  EXPECT_EQ(empty.status, 2);
  EXPECT_EQ(empty.out, "");
  EXPECT_THAT(empty.err, StartsWith("wgr: " + recording_ + ":1: empty; "));
  EXPECT_EQ(run_wgr("replay /no/such/file").status, 2);
  const Outcome input = run_wgr("replay -", quoted_);
  EXPECT_EQ(input.status, 2);
  EXPECT_THAT(input.err, HasSubstr("wgr: standard input:1: empty; "));
}

TEST_F(Replay, ARecordingOfNoSamplesIsNoError) {
  install_model();
  write_recording(recording_, {});
  const Outcome outcome = run_wgr("replay --json " + quoted_);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("the time stamps give no rate"));
  const std::vector<json> lines = json_lines(outcome.out);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]["samples"], 0);
  EXPECT_EQ(lines[0]["rest_share"].get<double>(), 0.0);
}

TEST_F(Replay, TheRateIsTheOptionElseTheStampsElseFifty) {
  install_model();
  write_recording(recording_, recorded(rest(200), 100));
  const auto rate = [](const std::string& arguments, const std::string& input) {
    return json_lines(run_wgr("replay --json " + arguments, input).out).back()["rate"];
  };
  EXPECT_EQ(rate(quoted_, "/dev/null"), 100);
  EXPECT_EQ(rate("--sample-rate 25 " + quoted_, "/dev/null"), 25);
  EXPECT_EQ(rate("-", quoted_), 50);
  EXPECT_EQ(rate("--sample-rate 100 -", quoted_), 100);
  EXPECT_THAT(run_wgr("replay --sample-rate 50 " + quoted_).out,
              HasSubstr("clock     100.0 samples/s by the time stamps\n"));
}

TEST_F(Replay, TheFirst4096SamplesGiveTheRate) {
  install_model();
  std::vector<RecordedSample> samples = recorded(rest(4096), 100);
  for (RecordedSample& sample : samples) sample.t = 0.0;
  samples.push_back(samples.back());
  samples.back().t = 0.01;
  write_recording(recording_, samples);
  EXPECT_THAT(run_wgr("replay " + quoted_).err,
              HasSubstr("the time stamps give no rate"));
  samples.erase(samples.begin());
  write_recording(recording_, samples);
  EXPECT_THAT(run_wgr("replay " + quoted_).err,
              HasSubstr(": 100 samples/s by the time stamps"));
}

TEST_F(Replay, AbsentAxesAndAnIrregularClockAreReportedNotRefused) {
  install_model();
  write_file(recording_,
             "t,ax,ay,az,gx,gy,gz\n"
             "0,0,0,10,,,\n0.02,0,0,10,,,\n0.04,0,0,10,,,\n0.04,0,0,10,,,\n"
             "0.5,0,0,10,,,\n0.4,0,0,10,,,\n");
  const Outcome outcome = run_wgr("replay --sample-rate 50 " + quoted_);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("wgr: " + recording_ +
                                     ": the axes gx, gy, gz are empty and read as 0\n"));
  EXPECT_THAT(outcome.out,
              HasSubstr("\nclock     1 gap (longest 0.460 s), 1 step back, 1 repeated "
                        "time, 12.5 samples/s by the time stamps\n"
                        "absent    gx, gy, gz: 18 empty fields read as 0\n"));
}

TEST_F(Replay, TheLogOfARunCanBeKeptInsteadOfTheMachines) {
  install_model();
  write_file(kLogPath, "of an earlier run\n");
  const std::string kept = directory_.file("kept.txt");
  ASSERT_EQ(run_wgr("replay --log '" + kept + "' " + quoted_).status, 0);
  const std::string log = read_file(kept);
  EXPECT_THAT(log, StartsWith("WgrContext 36: WgrConstruct start\n"));
  EXPECT_THAT(log, HasSubstr("update_gesture 123: ---gestype---:3\n"));
  EXPECT_THAT(log, EndsWith("update_gesture 123: ---gestype---:14\n"));
  EXPECT_EQ(read_log(), "of an earlier run\n");

  write_model(directory_.file("models"), 0, 1, 7);
  ASSERT_EQ(run_wgr("replay --models '" + directory_.file("models") + "' --log '" + kept +
                    "' " + quoted_)
                .status,
            0);
  EXPECT_THAT(read_file(kept), HasSubstr("update_gesture 123: ---gestype---:7\n"));
}

// Otherwise what the library drops without a word would be missing.
TEST_F(Replay, AKeptLogIsAllOfItOrNone) {
  install_model();
  const std::string kept = directory_.file("kept.txt");
  ASSERT_EQ(run_wgr("replay --log '" + kept + "' " + quoted_).status, 0);
  const std::string whole = read_file(kept);
  std::filesystem::create_directory(kLogPath);  // the machine's log cannot be written
  ASSERT_EQ(run_wgr("replay --log '" + kept + "' " + quoted_).status, 0);
  EXPECT_EQ(read_file(kept), whole);

  std::filesystem::remove(kept);
  const Outcome limited =
      run_wgr("replay --log '" + kept + "' " + quoted_, "/dev/null", "ulimit -f 1;");
  EXPECT_EQ(limited.status, 1) << limited.err;
  EXPECT_FALSE(std::filesystem::exists(kept));
}

TEST_F(Replay, ResultsThatCannotBeWrittenAreNoSuccess) {
  install_model();
  EXPECT_EQ(run_wgr("replay " + quoted_ + " >/dev/full").status, 1);
}

TEST_F(Replay, WrongArgumentsEndWithStatusTwo) {
  install_model();
  for (const std::string wrong :
       {"", "dance", "replay", "replay --wearer 2", "replay --mode -1", "replay --mode x",
        "replay --sample-rate 0", "replay --sample-rate 1.5", "replay --bias 1,2",
        "replay --bias 1,2,3,", "replay --bias 1,2,3,4", "replay --bias 1,,3",
        "replay --bias 1,2,inf", "replay --sensitivity high",
        "replay --no-such-option"}) {
    const std::string recording = wrong.size() > 8 ? " " + quoted_ : "";
    const Outcome outcome = run_wgr(wrong + recording);
    EXPECT_EQ(outcome.status, 2) << wrong;
    EXPECT_EQ(outcome.out, "") << wrong;
    EXPECT_NE(outcome.err, "") << wrong;
  }
}

TEST_F(Replay, HelpAndVersionAreOnStandardOutput) {
  const Outcome help = run_wgr("replay --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("t,ax,ay,az,gx,gy,gz"));
  EXPECT_THAT(help.out, HasSubstr("Examples:"));
  EXPECT_EQ(run_wgr("--help").status, 0);
  const Outcome version = run_wgr("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "wgr 0.1\n");
}

TEST_F(Replay, ALiveStreamsEventsComeAsTheyHappen) {
  install_model();
  const std::string content = read_file(recording_);
  // Up to the sample that ends the gesture, its line's end included: header, 0 to 99.
  size_t end = 0;
  for (size_t line = 0; line < kLastSample + 2; ++line) end = content.find('\n', end) + 1;

  LiveReplay live;
  live.write(content.substr(0, end));
  const std::string event = live.line();  // the input is still open
  ASSERT_THAT(event, StartsWith("{\"type\":\"event\","));
  EXPECT_EQ(json::parse(event)["t"].get<double>(),
            static_cast<double>(kLastSample) / kRate);
  live.write(content.substr(end));
  live.end_input();
  EXPECT_EQ(json::parse(live.line())["samples"], 150);
  EXPECT_EQ(live.wait(), 0);
}

TEST_F(Replay, AnInterruptEndsALiveStreamWithItsSummary) {
  install_model();
  LiveReplay live;
  live.write(read_file(recording_));
  ASSERT_THAT(live.line(), StartsWith("{\"type\":\"event\","));
  live.interrupt();
  const std::string summary = live.line();  // the input is still open
  ASSERT_THAT(summary, StartsWith("{\"type\":\"summary\","));
  EXPECT_EQ(live.wait(), 0);
}
