// Input that is well-formed enough to be read, and cannot be what it should be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <regex>

#include "base/errors.h"
#include "segmentation/provenance.h"
#include "segmentation/recording_set.h"
#include "support/files.h"
#include "tools/run_wgr.h"
#include "workbench/segmentation/sound_description.h"

using namespace wgr;

using nlohmann::ordered_json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

static const std::string kDemo = std::string(WGR_ROOT) + "/recordings/demo.csv";
static const std::string kModel =
    std::string(WGR_ROOT) + "/models/olvo_model_5_fb/hgr_olvo.xml";

TEST(WrongPath, NamesThatCannotBeLookedUpAreTheUsersFault) {
  TempDirectory directory;
  const std::string circle = directory.file("circle");
  std::filesystem::create_symlink("circle", circle);
  const std::string long_name = directory.file(std::string(300, 'a'));
  for (const std::string& path : {circle, long_name}) {
    for (const char* const command : {"model check ", "build -o m.xml "}) {
      const Outcome outcome = run_wgr(command + path);
      EXPECT_EQ(outcome.status, 2) << outcome.err;
      EXPECT_THAT(outcome.err, HasSubstr("wgr: " + path + ": "));
    }
  }
}

TEST(WrongModel, IsRefusedByEval) {
  const TempDirectory directory;
  const std::string model = directory.file("m.xml");
  const std::string eval = "eval --background " + kDemo + " --model " + model;
  std::mt19937 random(7);
  std::string bytes;
  for (int i = 0; i < 20000; ++i) bytes += static_cast<char>(random() & 0xff);
  const struct {
    std::string text;
    const char* said;
  } cases[] = {
      {bytes, "holds no template that a motion can be compared with"},
      {"", "holds no template that a motion can be compared with"},
      {"0 0 1 1\n\n0\n", "holds no template that a motion can be compared with"},
      {"1 1 1 1\n3\n1 -0.5\n3 1\n1\n1\n1\n", "holds no template that a motion can be"},
      {"-1 1 1 1\n", "is negative: the model is refused"},
      {"99999999 1 1 1\n", "the library cannot load it"},
      {"2 1 1 1\n0 x\n1 1\n", ":2: the class labels: value 2"},
      {"1 2 1 0\n0\n1 -0.1\n7 1\n1\n1\n1\n0 99999999\n",
       "99999999 is more than any model has: it is refused: the library cannot load it"},
  };
  for (const auto& c : cases) {
    write_file(model, c.text);
    const Outcome outcome = run_wgr(eval);
    EXPECT_EQ(outcome.status, 2) << c.text.substr(0, 40);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, AllOf(StartsWith("wgr: " + model + ":"), HasSubstr(c.said)));
  }
  // A name without .xml is refused as well, if later.
  write_file(directory.file("model"), bytes);
  const Outcome unnamed =
      run_wgr("eval --background " + kDemo + " --model " + directory.file("model"));
  EXPECT_EQ(unnamed.status, 2);
  EXPECT_THAT(unnamed.err, HasSubstr("holds no template that a motion can be compared"));
  const Outcome missing = run_wgr(eval + "x");
  EXPECT_EQ(missing.status, 2);
  EXPECT_THAT(missing.err, HasSubstr("No such file or directory"));
}

TEST(Eval, TakesAClockThatStepsBack) {
  const TempDirectory directory;
  const Outcome made =
      run_wgr("synth --person 501 --gestures 2 --distractors 10 -o " +
              directory.file("a.csv") + " --labels " + directory.file("labels.csv"));
  ASSERT_EQ(made.status, 0) << made.err;
  const std::string eval = "eval --json " + directory.path() + " --model " + kModel;
  const Outcome before = run_wgr(eval);
  ASSERT_EQ(before.status, 0) << before.err;
  // Behind the middle the clock is ten seconds behind.
  std::istringstream lines(read_file(directory.file("a.csv")));
  std::string text;
  std::string line;
  for (size_t i = 0; std::getline(lines, line); ++i) {
    const double t = i == 0 ? 0.0 : std::stod(line);
    if (i > 0 && t > 25.0) line = std::to_string(t - 10.0) + line.substr(line.find(','));
    text += line + "\n";
  }
  write_file(directory.file("a.csv"), text);
  const Outcome after = run_wgr(eval);
  EXPECT_EQ(after.status, 0) << after.err;
  EXPECT_THAT(after.err, HasSubstr("1 step back"));
  // Annotations behind the step are elsewhere now, but as much is reported.
  const auto reported = [](const Outcome& o) {
    const ordered_json json = ordered_json::parse(o.out);
    size_t sum = json.at("false_positives").get<size_t>();
    for (const auto& [label, outcomes] : json.at("confusion").items()) {
      for (const auto& [what, count] : outcomes.items()) {
        if (what != "not detected" && what != "rejected") sum += count.get<size_t>();
      }
    }
    return sum;
  };
  EXPECT_GT(reported(before), 5u);
  EXPECT_GT(reported(after), 2u);
}

// Its models have no threshold for the class, or no template of it.
TEST(Eval, SaysWhichRepetitionsNoModelCouldAccept) {
  const TempDirectory directory;
  const std::string set = directory.file("set");
  const std::string script = directory.file("script.csv");
  std::string labels = "file,t_start,t_end,label\n";
  for (const std::string name : {"a", "b", "c"}) {
    write_file(script, "t_start,t_end,what\n0,2,rest\n2,3.2,raise\n3.2,5,rest\n5,6.2," +
                           std::string(name == "a" ? "push" : "raise") +
                           "\n6.2,8,rest\n");
    const std::string table = directory.file("labels.csv");
    ASSERT_EQ(run_wgr("synth --script " + script + " -o " + set + "/" + name +
                      ".csv --labels " + table)
                  .status,
              0);
    const std::string rows = read_file(table);
    labels += rows.substr(rows.find('\n') + 1);
  }
  write_file(set + "/labels.csv", labels);
  const std::string eval = "eval " + set + " --leave-out ";
  Outcome outcome = run_wgr(eval + "session");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err,
              HasSubstr("\nwgr: class 3: 1 of its repetitions cannot be judged"));
  EXPECT_THAT(outcome.err, Not(HasSubstr("wgr: class 1")));
  // Two sessions with one repetition each: one is left, whichever is left out.
  labels.replace(labels.rfind(",1"), 2, ",3");
  write_file(set + "/labels.csv", labels);
  outcome = run_wgr(eval + "session");
  EXPECT_THAT(outcome.err,
              HasSubstr("\nwgr: class 3: 2 of its repetitions cannot be judged"));
}

TEST(Eval, NamesThePartWithoutWhichNothingIsLeftToBuildFrom) {
  const TempDirectory directory;
  const std::string set = directory.file("set");
  ASSERT_EQ(
      run_wgr("synth --training " + set + " --persons 2 --gestures 1 --distractors 0")
          .status,
      0);
  // All gestures are of the second subject.
  const std::string rows = read_file(set + "/labels.csv");
  write_file(set + "/labels.csv", std::regex_replace(rows, std::regex("p001_.*\n"), ""));
  const Outcome outcome = run_wgr("eval " + set + " --leave-out subject");
  EXPECT_EQ(outcome.status, 2) << outcome.out;
  EXPECT_THAT(
      outcome.err,
      HasSubstr("\nwgr: --leave-out: with p2 left out, there is no example of any "
                "gesture: record more, or leave out less at a time"));
}

TEST(Build, RefusesAClassThatWouldNeverBeRecognised) {
  const TempDirectory directory;
  const std::string set = directory.file("set.txt");
  const std::string good =
      "1 3 0 0 9.8\n1 2 3\n0 1 0\n0 0 2\n1 3 0 0 9.8\n1 2 3.1\n0 1 0\n0 0 2\n";
  write_file(set, good + "3 3 0 0 9.8\n5 2 1\n0 4 0\n0 1 2\n");
  const std::string model = directory.file("m.xml");
  Outcome outcome = run_wgr("build " + set + " -o " + model);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err,
              HasSubstr("wgr: " + set + ": class 3 has a single repetition"));
  EXPECT_FALSE(std::filesystem::exists(model));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()),
                          std::filesystem::directory_iterator()),
            1);
  write_file(set, good);
  EXPECT_EQ(run_wgr("build " + set + " -o " + model).status, 0);
  // Background that is like the gesture itself: no threshold keeps the one and lets the
  // other pass.
  write_file(
      set,
      good + "-1 3 0 0 9.8\n1 2 3\n0 1 0\n0 0 2\n-1 3 0 0 9.8\n1 2 3.1\n0 1 0\n0 0 2\n");
  std::filesystem::remove(model);
  outcome = run_wgr("build " + set +
                    " --background-hours 1 --false-positives-per-hour 0 -o " + model);
  EXPECT_EQ(outcome.status, 2) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("class 1 would have the threshold 0"));
  EXPECT_FALSE(std::filesystem::exists(model));
}

// A slot becomes a folder below that of -o, and must not lead out of it.
TEST(Build, TakesOnlyNamesOfFoldersForSlots) {
  const TempDirectory directory;
  const std::string slots = directory.file("slots.csv");
  write_file(directory.file("g.txt"), "1 3 0 0 9.8\n1 2 3\n0 1 0\n0 0 2\n");
  const std::string build =
      "build --slots " + slots + " -o " + directory.file("out/models");
  for (const char* slot : {"", "..", ".hidden", "a/b", "../a", "/a"}) {
    write_file(slots, "slot,input\n" + std::string(slot) + ",g.txt\n");
    const Outcome outcome = run_wgr(build);
    EXPECT_EQ(outcome.status, 2) << slot;
    EXPECT_THAT(outcome.err,
                HasSubstr(slots + ":2: the slot must be the name of a folder\n"));
  }
  write_file(slots, "slot,input\none,missing.txt\n");
  EXPECT_THAT(run_wgr(build).err, HasSubstr(slots + ":2: " + directory.file("missing") +
                                            ".txt is not there\n"));
  write_file(slots, "slot,input\n");
  EXPECT_THAT(run_wgr(build).err, HasSubstr(slots + ": names no slot\n"));
  EXPECT_FALSE(std::filesystem::exists(directory.file("out")));
}

TEST(Description, OfAnotherTrainingFileDoesNotCountAndIsNamed) {
  const TempDirectory directory;
  const std::string set = directory.file("odd\x1b[2J.txt");
  write_file(set,
             "1 3 0 0 9.8\n1 2 3\n0 1 0\n0 0 2\n1 3 0 0 9.8\n1 2 3.1\n0 1 0\n0 0 2\n");
  write_file(description_path(set), description().dump());
  const Outcome outcome = run_wgr("build '" + set + "' -o " + directory.file("m.xml"));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err,
              StartsWith("wgr: " + directory.file("odd\\x1b[2J.training.json") +
                         ": describes another training file; it does not count\n"));
}

TEST(TrainingFile, CodesOfTheInterfaceAreRefusedWithTheirLine) {
  const TempDirectory directory;
  const std::string set = directory.file("set.txt");
  write_file(set, "1 1 0 0 9.8\n1\n1\n1\n13 1 0 0 9.8\n1\n1\n1\n");
  const Outcome outcome = run_wgr("build " + set + " -o " + directory.file("m.xml"));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, StartsWith("wgr: " + set + ":5: the label 13 is a code"));
}

TEST(Log, WhatIsNoLogIsRefusedWithHowMuchOfItIsNot) {
  Outcome outcome = run_wgr("log " + kDemo);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, StartsWith("wgr: " + kDemo + ": is no diagnostic log: "));
  EXPECT_THAT(outcome.err, HasSubstr("3101 of its 3101 lines are not the library's"));

  const TempDirectory directory;
  const std::string log = directory.file("log");
  std::mt19937 random(7);
  std::string bytes;
  for (int i = 0; i < 20000; ++i) bytes += static_cast<char>(random() & 0xff);
  write_file(log, bytes);
  EXPECT_EQ(run_wgr("log " + log).status, 2);

  // Half of the lines foreign is a damaged log; one more, and it is none.
  const std::string own = "update_gesture 123: ---gestype---:14\n";
  write_file(log, own + own + "foreign\nforeign\n");
  outcome = run_wgr("log " + log);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("2 foreign"));
  write_file(log, own + own + "foreign\nforeign\nforeign\n");
  EXPECT_EQ(run_wgr("log " + log).status, 2);
  // Each file is judged by itself.
  write_file(directory.file("good"), own + own + own + own);
  EXPECT_EQ(run_wgr("log " + directory.file("good") + " " + log).status, 2);
  write_file(log, "");
  EXPECT_EQ(run_wgr("log " + log).status, 0);
}

TEST(Preflight, SaysOfModelsElsewhereWhatBecomesOfTheLogOnThisMachine) {
  const std::string models = std::string(WGR_ROOT) + "/models";
  const Outcome there = run_wgr("preflight --models " + models);
  EXPECT_EQ(there.status, 0);
  EXPECT_THAT(there.out, StartsWith("clean"));
  if (std::string(WGR_PROGRAM).rfind("/home/", 0) == 0 ||
      models.rfind("/home/", 0) == 0) {
    GTEST_SKIP() << "the program itself would be hidden";
  }
  // An empty /home for one run: /home/app is not there.
  const std::string hidden = "mount -n -t tmpfs tmpfs /home && exec " +
                             std::string(WGR_PROGRAM) + " preflight --models " + models;
  Outcome missing =
      run_command("unshare --user --map-root-user --mount sh -c '" + hidden + "'");
  if (missing.status == 1)
    missing = run_command("unshare --mount sh -c '" + hidden + "'");
  EXPECT_EQ(missing.status, 0) << missing.err;
  EXPECT_THAT(missing.out,
              AllOf(StartsWith("note   /home/app/WgrLog.txt: cannot be written"),
                    HasSubstr("No such file or directory"), Not(HasSubstr("clean"))));
}
