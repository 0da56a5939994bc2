// wgr log: what it reports of a log that the library wrote, and of one that is damaged.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "WgrInterface.h"
#include "hostrun/fixed_paths.h"
#include "logfile/line_stream.h"
#include "support/child.h"
#include "support/files.h"
#include "support/installed_models.h"
#include "tools/run_wgr.h"

using namespace wgr;

using nlohmann::json;
using ::testing::HasSubstr;

static std::vector<json> lines_of(const std::string& text) {
  std::vector<json> objects;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) objects.push_back(json::parse(line));
  return objects;
}

static std::string start_lines() {
  return "WgrContext 36: WgrConstruct start\n"
         "WHD 623: WHD start\n"
         "WHD 647: pp is NON NULL\n"
         "WHD 658: WHD end\n"
         "AgGes 14: AgGes start\n"
         "AgGes 40: /usr/share\n"
         "AgGes 50: Load model success!\n"
         "AgGes 70: AgGes end\n"
         "WgrContext 44: WgrConstruct end\n"
         "init_gesture_handle 68: ---init_gesture_handle success\n";
}

static std::string samples(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text +=
        "update_gesture 115: update_gesture start\n"
        "update_gesture 123: ---gestype---:14\n";
  }
  return text;
}

static std::string closing(int answer, int templates = 25) {
  return "update_gesture 115: update_gesture start\npredict 336: nTemplate:" +
         std::to_string(templates) +
         ", nclasses:5, normalize:1, havegravity:1\nupdate_gesture 123: ---gestype---:" +
         std::to_string(answer) + "\n";
}

static std::string set_model(int wearer, int mode) {
  return "set_gesture_model 81: ---setmode----hand type:" + std::to_string(wearer) +
         ", mode:" + std::to_string(mode) +
         ", path:/usr/share/x\nset_gesture_model 87: ---set_hand_model success\n";
}

class Log : public ::testing::Test {
 protected:
  json summary(const std::string& text, const std::string& options = "") {
    write_file(path_, text);
    const Outcome outcome = run_wgr("log --json " + options + " " + path_);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    objects_ = lines_of(outcome.out);
    return objects_.empty() ? json() : objects_.back();
  }

  TempDirectory directory_;
  const std::string path_ = directory_.file("log.txt");
  std::vector<json> objects_;
};

TEST_F(Log, CountsHostRunsSamplesAndGesturesByClass) {
  const json sum = summary(start_lines() + set_model(1, 2) + samples(3) + closing(2) +
                           closing(2) + closing(0) + closing(13) + closing(14) +
                           samples(1) + start_lines() + samples(2) + closing(4));
  EXPECT_EQ(sum["host_runs"], 2);
  EXPECT_EQ(sum["restarts"], 1);
  EXPECT_EQ(sum["model_changes"], 1);
  EXPECT_EQ(sum["samples"], 3 + 5 + 1 + 2 + 1);
  EXPECT_EQ(sum["compared"], 6);
  EXPECT_EQ(sum["gestures"], 4);
  EXPECT_EQ(sum["by_class"], json({{"0", 1}, {"2", 2}, {"4", 1}}));
  EXPECT_EQ(sum["rejected"], 1);
  EXPECT_EQ(sum["too_weak"], 1);
  EXPECT_EQ(sum["unanswered"], 0);
  EXPECT_EQ(sum["foreign"], 0);
  EXPECT_EQ(sum["torn"], 0);
  ASSERT_EQ(objects_.size(), 3u);
  EXPECT_EQ(objects_[0]["model"], "wearer 1, mode 2");
  EXPECT_EQ(objects_[0]["line"], 1);
  EXPECT_EQ(objects_[1]["line"], 10 + 2 + 6 + 15 + 2 + 1);
  EXPECT_EQ(objects_[1]["model"], "");
  EXPECT_EQ(objects_[1]["samples"], 3);
}

TEST_F(Log, ReportsWhatTheLibraryItselfWrote) {
  clear_log();
  install_all_models();
  {
    Capture printing;
    WgrHandle handle = create_gesture_handle();
    init_gesture_handle(handle, 50, {0, 0, 0}, -1, -1, -1, 50);
    set_gesture_model(handle, WG_WEARER_RIGHT, WG_MODE_OW);
    for (const Pair& pair : rest(50) + gesture(20, 6.0) + rest(50)) {
      update_gesture(handle, pair.acc, pair.gyro);
    }
    destroy_gesture_handle(&handle);
  }
  const json sum = summary(read_log());
  EXPECT_EQ(sum["host_runs"], 1);
  EXPECT_EQ(sum["samples"], 150);
  EXPECT_EQ(sum["compared"], 1);
  EXPECT_EQ(sum["by_class"], json({{std::to_string(kFirstInstalledLabel + 3), 1}}));
  EXPECT_EQ(sum["foreign"], 0);
  EXPECT_EQ(sum["torn"], 0);

  // The default place is read when no file is named.
  const Outcome outcome = run_wgr("log");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("samples     150, 0 of them unanswered"));
  clear_log();
}

TEST_F(Log, TheHostsEndForWantOfItsModelIsAHostRunOfItsOwn) {
  clear_log();
  std::filesystem::remove(model_file(kInstalledModels, 0, 1));
  EXPECT_EQ(in_child([] {
              Capture printing;
              create_gesture_handle();
              return 1;
            }),
            0);
  const json sum = summary(read_log());
  EXPECT_EQ(sum["host_runs"], 1);
  EXPECT_EQ(sum["without_default_model"], 1);
  EXPECT_EQ(sum["never_ready"], 0);
  EXPECT_EQ(sum["foreign"], 0);
  clear_log();
}

TEST_F(Log, ALogMayBeginInTheMiddleOfAHostRun) {
  const json sum = summary("update_gesture 123: ---gestype---:3\n" + samples(1));
  EXPECT_EQ(sum["samples"], 2);
  EXPECT_EQ(sum["host_runs"], 1);
  EXPECT_EQ(sum["restarts"], 0);
  EXPECT_EQ(objects_[0]["from_before"], true);
}

TEST_F(Log, ComparingWithAnEmptyModelIsReported) {
  const json sum = summary(start_lines() + set_model(0, 2) + closing(14, 0));
  EXPECT_EQ(sum["compared_with_empty_model"], 1);
  EXPECT_THAT(run_wgr("log " + path_).out, HasSubstr("with an EMPTY model"));
}

TEST_F(Log, ClassSixCountsOnlyWhereAMotionWasCompared) {
  // The engine keeps the class, and the log repeats it with every sample.
  const json sum = summary(
      start_lines() + closing(6) +
      "update_gesture 115: update_gesture start\nupdate_gesture 123: ---gestype---:6\n");
  EXPECT_EQ(sum["unreported"], 1);
  EXPECT_EQ(sum["gestures"], 0);
}

TEST_F(Log, AnUpdateWithoutItsSecondLineIsUnanswered) {
  const std::string half = "update_gesture 115: update_gesture start\n";
  EXPECT_EQ(summary(start_lines() + half + start_lines() + samples(1))["unanswered"], 1);
  EXPECT_EQ(summary(start_lines() + samples(2) + half)["unanswered"], 1);
  EXPECT_EQ(summary(start_lines() + half + half + samples(1))["unanswered"], 2);
  EXPECT_EQ(summary(start_lines() + samples(5))["unanswered"], 0);
}

TEST_F(Log, AHandleThatWasNeverReadyIsReported) {
  const json sum =
      summary("WgrContext 36: WgrConstruct start\nWHD 623: WHD start\n" + start_lines());
  EXPECT_EQ(sum["never_ready"], 1);
  EXPECT_EQ(sum["host_runs"], 2);
}

TEST_F(Log, ForeignAndTornLinesAreReportedWithTheirNumbers) {
  const json sum = summary(samples(1) +
                           "kernel: oops\n"
                           "update_gesture 115: upda\n"
                           "update_gesture 123: ---gestype---:1x\n"
                           "update_gesture 115update_gesture 123: ---gestype---:14\n" +
                           std::string(40, '\0') +
                           "\n"
                           "\n"
                           "predict 336: nTemplate:25, nclasses:\n" +
                           samples(3) + "update_gesture 115: update_gest");
  EXPECT_EQ(sum["samples"], 4);
  EXPECT_EQ(sum["foreign"], 2);
  EXPECT_EQ(sum["torn"], 6);
  const struct {
    int line;
    const char* kind;
  } odd[] = {{3, "foreign"}, {4, "torn"},    {5, "torn"}, {6, "torn"},
             {7, "torn"},    {8, "foreign"}, {9, "torn"}, {16, "torn"}};
  ASSERT_EQ(sum["odd_lines"].size(), std::size(odd));
  for (size_t i = 0; i < std::size(odd); ++i) {
    EXPECT_EQ(sum["odd_lines"][i]["line"], odd[i].line);
    EXPECT_EQ(sum["odd_lines"][i]["kind"], odd[i].kind) << odd[i].line;
  }
  EXPECT_EQ(sum["odd_lines"][0]["text"], "kernel: oops");
  EXPECT_THAT(run_wgr("log " + path_).out,
              HasSubstr(path_ + ":3: foreign: \"kernel: oops\""));
}

TEST_F(Log, OddLinesAreCountedWithoutEndButListedWithOne) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "what is this\n";
  text += samples(500);
  const json sum = summary(text);
  EXPECT_EQ(sum["foreign"], 1000);
  EXPECT_EQ(sum["odd_lines"].size(), 20u);
}

TEST_F(Log, RatesNeedAWordFromOutside) {
  const std::string text = start_lines() + samples(100);
  EXPECT_FALSE(summary(text).contains("effective_rate"));
  EXPECT_EQ(summary(text, "--seconds 4")["effective_rate"], 25.0);
  EXPECT_EQ(summary(text, "--sample-rate 50")["hours_by_rate"], 100.0 / 50 / 3600);
  EXPECT_THAT(run_wgr("log --sample-rate 50 --seconds 4 " + path_).out,
              HasSubstr("25.00 samples/s over 4 s, 50.0 % missing"));
  EXPECT_THAT(run_wgr("log " + path_).out, HasSubstr("the log holds no times"));
}

TEST_F(Log, ItsSizeIsInMillionsOfBytes) {
  std::string text = start_lines();
  while (text.size() < 500'000) text += samples(100);
  write_file(path_, text);
  EXPECT_THAT(run_wgr("log " + path_).out, HasSubstr(" lines, 0.5 MB\n"));
}

TEST_F(Log, IsPrintedForPeopleAsAWhole) {
  write_file(path_, start_lines() + set_model(1, 2) + samples(3) + closing(2) +
                        closing(2) + closing(13) + closing(14) + closing(6) +
                        "kernel: oops\n" + start_lines() + set_model(0, 2) +
                        closing(14, 0) + closing(4) + samples(1) + "update_ges");
  EXPECT_EQ(
      run_wgr("log --sample-rate 1 --seconds 20 " + path_).out,
      "host run  line         samples   compared  gestures  rejected  model\n"
      "       1  1                  8          5         2         1  wearer 1, mode 2\n"
      "       2  35                 3          2         1         0  wearer 0, mode 2\n"
      "\n"
      "read        55 lines, 0.0 MB\n"
      "host runs   2; 1 restarts, 0 without the default model, 0 never ready\n"
      "models      2 changes\n"
      "samples     11, 0 of them unanswered\n"
      "time        0.00 h at 1.00 samples/s; 0.55 samples/s over 20 s, 45.0 % missing\n"
      "compared    7 motions, 1 of them with an EMPTY model: its file could not be read\n"
      "gestures    3: class 2 x 2, class 4 x 1\n"
      "rejected    1 (reported as 5)\n"
      "too weak    2\n"
      "class 6     1, never reported\n"
      "hour 1      3 gestures: class 2 x 2, class 4 x 1; 1 rejected, 2 too weak\n"
      "odd lines   1 foreign, 1 torn\n"
      "  " +
          path_ + ":34: foreign: \"kernel: oops\"\n  " + path_ +
          ":55: torn: \"update_ges\"\n");
  const std::vector<json> objects =
      lines_of(run_wgr("log --json --sample-rate 1 --seconds 20 " + path_).out);
  ASSERT_EQ(objects.size(), 3u);
  EXPECT_EQ(objects[0],
            json::parse("{\"type\":\"host_run\",\"file\":\"" + path_ + R"(","line":1,
      "from_before":false,"ready":true,"no_default_model":false,"inits":1,
      "model_changes":1,"model":"wearer 1, mode 2","samples":8,"unanswered":0,
      "compared":5,"compared_with_empty_model":0,"gestures":2,"by_class":{"2":2},
      "rejected":1,"too_weak":1,"unreported":1})"));
  EXPECT_EQ(objects[2],
            json::parse(R"({"type":"summary","lines":55,"bytes":2132,
      "host_runs":2,"restarts":1,"without_default_model":0,"never_ready":0,
      "model_changes":2,"samples":11,"unanswered":0,"compared":7,
      "compared_with_empty_model":1,"gestures":3,"by_class":{"2":2,"4":1},"rejected":1,
      "too_weak":2,"unreported":1,"hours_by_rate":0.0030555555555555557,
      "effective_rate":0.55,"hours":[{"samples":11,"gestures":3,
      "by_class":{"2":2,"4":1},"rejected":1,"too_weak":2,"unreported":1}],
      "foreign":1,"torn":1,"odd_lines":[{"file":")" +
                        path_ + R"(","line":34,"kind":"foreign",
      "text":"kernel: oops"},{"file":")" +
                        path_ + R"(","line":55,"kind":"torn","text":"update_ges"}]})"));
}

TEST_F(Log, WithARateGesturesAreCountedByHour) {
  // At one sample a second an hour has 3600 of them.
  const json sum = summary(start_lines() + samples(3599) + closing(1) + closing(2) +
                               samples(3599) + closing(13),
                           "--sample-rate 1");
  ASSERT_EQ(sum["hours"].size(), 3u);
  EXPECT_EQ(sum["hours"][0]["by_class"], json({{"1", 1}}));
  EXPECT_EQ(sum["hours"][0]["samples"], 3600);
  EXPECT_EQ(sum["hours"][1]["by_class"], json({{"2", 1}}));
  EXPECT_EQ(sum["hours"][2]["rejected"], 1);
}

TEST_F(Log, SeveralFilesAreOneLogAndGzipIsUnpacked) {
  const std::string packed = directory_.file("old.gz");
  const std::string text = start_lines() + samples(10);
  gzFile file = gzopen(packed.c_str(), "wb");
  gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
  gzclose(file);
  const json sum = summary(samples(5) + closing(3), packed);
  EXPECT_EQ(sum["host_runs"], 1);
  EXPECT_EQ(sum["samples"], 16);
  EXPECT_EQ(sum["bytes"], text.size() + std::filesystem::file_size(path_));
}

TEST_F(Log, StandardInputIsReadToo) {
  write_file(path_, samples(7));
  const Outcome outcome = run_command(std::string(WGR_PROGRAM) + " log - <" + path_);
  EXPECT_THAT(outcome.out, HasSubstr("samples     7,"));
}

TEST_F(Log, WhatCannotBeReadEndsWithTwo) {
  EXPECT_EQ(run_wgr("log " + directory_.file("missing")).status, 2);
  EXPECT_EQ(run_wgr("log " + directory_.path()).status, 2);
  EXPECT_EQ(run_wgr("log --sample-rate 0 " + path_).status, 2);
  write_file(path_, "\x1f\x8b\x08 this is not gzip");
  const Outcome outcome = run_wgr("log " + path_);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("the gzip data is broken"));
}

// A power cut while the log was packed: what is there counts, and the rest is missed.
TEST_F(Log, PackedDataWithoutItsEndIsReadUpToThere) {
  const std::string text = samples(50000);
  const gzFile file = gzopen(path_.c_str(), "wb");
  ASSERT_GT(gzwrite(file, text.data(), static_cast<unsigned>(text.size())), 0);
  ASSERT_EQ(gzclose(file), Z_OK);
  const std::string packed = read_file(path_);
  write_file(path_, packed.substr(0, packed.size() / 2));
  const Outcome outcome = run_wgr("log --json " + path_);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr(": the gzip data ends too early; what came before"));
  EXPECT_GT(json::parse(outcome.out.substr(outcome.out.rfind("{\"type\"")))["samples"],
            10000);
}

TEST_F(Log, AnEmptyLogHasNoHostRuns) {
  const json sum = summary("");
  EXPECT_EQ(sum["host_runs"], 0);
  EXPECT_EQ(sum["lines"], 0);
}

// More classes than any model has would fill the memory.
TEST_F(Log, ClassesBeyondAHundredAreCountedTogether) {
  std::string text = start_lines();
  for (int label = 100; label < 205; ++label) text += closing(label);
  const json sum = summary(text);
  EXPECT_EQ(sum["gestures"], 105);
  EXPECT_EQ(sum["by_class"].size(), 101u);
  EXPECT_EQ(sum["by_class"]["other"], 5);
}

TEST_F(Log, ManyHostRunsAreListedByJsonAlone) {
  std::string text;
  for (int i = 0; i < 100; ++i) text += start_lines();
  EXPECT_EQ(summary(text)["restarts"], 99);
  EXPECT_EQ(objects_.size(), 101u);
  const std::string printed = run_wgr("log " + path_).out;
  EXPECT_THAT(printed, HasSubstr("... and 80 more; --json lists them all"));
  EXPECT_THAT(printed, HasSubstr("\n      20  191  "));
  EXPECT_THAT(printed, ::testing::Not(HasSubstr("\n      21  ")));
}

TEST(LineStreams, LinesAreTheSameWhereverABufferEnds) {
  const TempDirectory directory;
  const std::string path = directory.file("lines");
  std::string text;
  std::vector<size_t> lengths;
  for (size_t i = 0; text.size() < 900000; ++i) {
    lengths.push_back(i * 7919 % 5000);
    text += std::string(lengths.back(), static_cast<char>('a' + i % 26)) + "\n";
  }
  text += "the end";
  write_file(path, text);
  LineStream stream(path);
  LineStream::Line line;
  for (size_t i = 0; i < lengths.size(); ++i) {
    ASSERT_TRUE(stream.next(line));
    ASSERT_EQ(stream.number(), i + 1);
    ASSERT_TRUE(line.ended);
    ASSERT_EQ(line.text.substr(0, LineStream::kMostKept),
              std::string(std::min(lengths[i], LineStream::kMostKept),
                          static_cast<char>('a' + i % 26)));
    if (line.cut) {
      ASSERT_GT(lengths[i], LineStream::kMostKept);
    } else {
      ASSERT_EQ(line.text.size(), lengths[i]);
    }
  }
  ASSERT_TRUE(stream.next(line));
  EXPECT_EQ(line.text, "the end");
  EXPECT_FALSE(line.ended);
  EXPECT_FALSE(stream.next(line));
  EXPECT_EQ(stream.bytes(), text.size());
}

// Zeros without an end would be read for ever.
TEST_F(Log, ALineWithoutAnEndIsRefused) {
  write_file(path_, samples(1));
  for (const char* const zeros : {"/dev/zero", "- </dev/zero"}) {
    const Outcome outcome = run_wgr("log " + path_ + " " + zeros);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, std::string("wgr: ") +
                               (*zeros == '-' ? "standard input" : zeros) +
                               ":1: longer than 33554432 characters\n");
  }
}

// A power cut can leave megabytes of nothing.
TEST_F(Log, ALineOfAnyLengthIsOneTornLine) {
  const json sum = summary(samples(1) + std::string(20000000, '\0') + "\n" + samples(1));
  EXPECT_EQ(sum["samples"], 2);
  EXPECT_EQ(sum["torn"], 1);
}

// The end of an endless file never comes to be judged.
TEST_F(Log, WhatIsNoLogIsRefusedBeforeItsEnd) {
  write_file(path_, samples(1));
  const std::string reads = "timeout 60 " + std::string(WGR_PROGRAM) + " log ";
  const std::string half_line = "update_gesture 115: upd";
  const std::string fifo = directory_.file("fifo");
  for (const std::string& command :
       {reads + "/dev/urandom", "yes no log | " + reads + "-",
        "mkfifo " + fifo + " && { yes >" + fifo + " & " + reads + fifo + "; }",
        "{ cat " + path_ + "; yes; } | " + reads + "-",
        "yes '" + half_line + "' | " + reads + "-",
        "while head -c 10000000 /dev/zero && echo; do :; done | " + reads + "-"}) {
    const Outcome outcome = run_command(command);
    EXPECT_EQ(outcome.status, 2) << command;
    EXPECT_THAT(outcome.err, HasSubstr(": is no diagnostic log: ")) << command;
    EXPECT_THAT(outcome.err, HasSubstr(" lines are not the library's")) << command;
  }
}

// Other lines, however many follow each other, are told where more are the library's.
TEST_F(Log, OtherLinesInARowAreNoReasonToRefuseALog) {
  std::string others;
  for (int i = 0; i < 12000; ++i) others += "no log\n";
  EXPECT_EQ(summary(samples(7000) + others + samples(1))["foreign"], 12000);
  // A torn line at the beginning, as long as one may be, comes before the first good one.
  EXPECT_EQ(summary(std::string(30000000, '\0') + "\n" + samples(1))["torn"], 1);
}
