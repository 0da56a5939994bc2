// Input that is well-formed enough to be read, and cannot be what it should be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <random>
#include <regex>

#include "base/errors.h"
#include "base/sha256.h"
#include "hostrun/fixed_paths.h"
#include "json/fields.h"
#include "segmentation/provenance.h"
#include "segmentation/recording_set.h"
#include "support/files.h"
#include "tools/run_wgr.h"
#include "training/model_output.h"

using namespace wgr;

using nlohmann::ordered_json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

static const std::string kDemo = std::string(WGR_ROOT) + "/recordings/demo.csv";
static const std::string kModel =
    std::string(WGR_ROOT) + "/models/olvo_model_5_fb/hgr_olvo.xml";

// ---- paths ---------------------------------------------------------------------------

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

// ---- the tool's own JSON -------------------------------------------------------------

static ordered_json description() {
  Provenance p;
  p.rate = 50;
  p.shortest = 25;
  p.static_window = 10;
  p.strength_threshold = 2.0;
  p.background_seconds = 12.5;
  p.classes = {{"circle", 0}, {"1", 1}};
  p.verdicts = {{"kept", 3}};
  p.inputs = {{"a.csv", std::string(64, '0')}};
  p.subjects = {"ann", "ann", "bob"};
  ordered_json json = to_json(p);
  json["training_file_sha256"] = std::string(64, 'f');
  return json;
}

// What is said of a description; empty when it is taken.
static std::string said_of(const std::string& text) {
  const TempDirectory directory;
  const std::string path = directory.file("d.json");
  write_file(path, text);
  try {
    const ordered_json json = read_json(path, description_fields(true));
    provenance_from(json, path, 3);
  } catch (const UsageError& error) {
    const std::string what = error.what();
    EXPECT_THAT(what, StartsWith(path + ":"));
    return what.substr(std::min(what.size(), path.size() + 1));
  }
  return "";
}

TEST(Description, ReadsBackWhatWasWritten) {
  EXPECT_EQ(said_of(description().dump()), "");
  const Provenance p = provenance_from(description(), "d", 3);
  EXPECT_EQ(p.rate, 50);
  EXPECT_EQ(p.subjects, (std::vector<std::string>{"ann", "ann", "bob"}));
  EXPECT_EQ(p.classes.at("circle"), 0);
}

TEST(Description, EveryFieldIsCheckedForItsKindAndRange) {
  const struct {
    const char* pointer;
    const char* value;
    const char* said;
  } cases[] = {
      {"/samples_per_second", "1e300",
       " samples_per_second: a whole number from 0 to 100000 is wanted, not 1e+300"},
      {"/samples_per_second", "-1",
       " samples_per_second: a whole number from 0 to 100000"},
      {"/samples_per_second", "50.5", " samples_per_second: a whole number"},
      {"/samples_per_second", "\"50\"", " is wanted, not \"50\""},
      {"/samples_per_second", "null", " is wanted, not null"},
      {"/samples_per_second", "true", " is wanted, not true"},
      {"/samples_per_second", "[50]", " is wanted, not a list of 1"},
      {"/samples_per_second", "18446744073709551615", " a whole number from 0 to 100000"},
      {"/gravity", "1", " gravity: true or false is wanted, not 1"},
      {"/units", "3", " units: an object is wanted, not 3"},
      {"/units/time", "3", " units.time: a text of at most 4096 bytes is wanted, not 3"},
      {"/engine", "[]", " engine: an object is wanted, not a list of 0"},
      {"/engine/shortest_motion", "1e300",
       " engine.shortest_motion: a whole number from 0 to 1000000 is wanted, not 1e+300"},
      {"/engine/static_window", "-2147483649", " engine.static_window: a whole number"},
      {"/engine/strength_threshold", "-0.5",
       " engine.strength_threshold: a number from 0"},
      {"/engine/strength_threshold", "{}", " is wanted, not an object of 0"},
      {"/background_seconds", "-1", " background_seconds: a number from 0 to 1000000000"},
      {"/background_seconds", "1e300", " background_seconds: a number from 0 to"},
      {"/classes", "[]", " classes: an object is wanted"},
      {"/classes/circle", "1001", " classes.circle: a whole number from 0 to 1000"},
      {"/classes/circle", "-1", " classes.circle: a whole number from 0 to 1000"},
      {"/classes/circle", "\"0\"", " classes.circle: a whole number from 0 to 1000"},
      {"/verdicts/kept", "1e10", " verdicts.kept: a whole number from 0 to 1000000000"},
      {"/inputs", "{}", " inputs: a list is wanted, not an object of 0"},
      {"/inputs/0", "3", " inputs[0]: an object is wanted, not 3"},
      {"/inputs/0/file", "3", " inputs[0].file: a text of at most 4096 bytes"},
      {"/inputs/0/sha256", "\"00\"", " inputs[0].sha256: a text of 64 characters"},
      {"/subjects", "\"ann\"", " subjects: a list is wanted, not \"ann\""},
      {"/subjects/1", "[\"bob\"]", " subjects[1]: a list of 2 values is wanted"},
      {"/subjects/1", "[\"bob\",1,2]", " subjects[1]: a list of 2 values is wanted"},
      {"/subjects/1/0", "1", " subjects[1][0]: a text of at most 4096 bytes"},
      {"/subjects/1/1", "0", " subjects[1][1]: a whole number from 1 to 1000000000"},
      {"/subjects/1/1", "1e300", " subjects[1][1]: a whole number from 1 to 1000000000"},
      {"/subjects/1/1", "40000000", " subjects: are of more examples than the 3 of the"},
      {"/subjects/0/1", "1", " subjects: are of 2 examples, but the training file has 3"},
      {"/training_file_sha256", "7", " training_file_sha256: a text of 64 characters"},
  };
  for (const auto& c : cases) {
    ordered_json json = description();
    json.at(ordered_json::json_pointer(c.pointer)) = ordered_json::parse(c.value);
    EXPECT_THAT(said_of(json.dump()), HasSubstr(c.said)) << c.pointer << " " << c.value;
  }
}

TEST(Description, EveryFieldThatIsMissingOrUnknownIsNamed) {
  for (const char* name :
       {"samples_per_second", "gravity", "engine", "background_seconds", "classes",
        "verdicts", "inputs", "training_file_sha256"}) {
    ordered_json json = description();
    json.erase(name);
    EXPECT_THAT(said_of(json.dump()),
                StartsWith(std::string(" ") + name + ": is missing: "))
        << name;
    json[std::string(name) + "x"] = 1;
    EXPECT_NE(said_of(json.dump()), "");
  }
  ordered_json json = description();
  json["subject"] = 1;
  EXPECT_EQ(said_of(json.dump()),
            " subject: is no field that is known here; did you mean subjects?");
  json = description();
  json.erase("subjects");  // and this may be left out
  EXPECT_EQ(said_of(json.dump()), "");
}

TEST(Description, WhatIsNoJsonIsRefusedWithItsLine) {
  EXPECT_EQ(said_of("{\n\"gravity\": tru\n}"), "2: is not JSON from here on");
  EXPECT_EQ(said_of(""), "1: is not JSON from here on");
  EXPECT_THAT(said_of("[]"), StartsWith(" an object is wanted, not a list of 0"));
  EXPECT_THAT(said_of("{\"gravity\": 1e999}"), HasSubstr(" a number that is too large"));
  EXPECT_THAT(said_of("{\"gravity\": NaN}"), HasSubstr("is not JSON"));
  EXPECT_EQ(said_of("{\"gravity\": true, \"engine\": {}, \"gravity\": false}"),
            " gravity: stands twice in one object");
  std::string twice = description().dump();
  twice.insert(twice.find("\"static_window\""), "\"shortest_motion\": 2, ");
  EXPECT_EQ(said_of(twice), " shortest_motion: stands twice in one object");
  EXPECT_THAT(said_of(std::string(1000000, '[')),
              HasSubstr("inside more than 16 others"));
  EXPECT_THAT(said_of(std::string((16u << 20) + 1, ' ')), HasSubstr("longer than 16 MB"));
  EXPECT_THAT(said_of("\"\xff\xfe\""), HasSubstr("is not JSON"));
}

TEST(Description, WhatIsNoFileIsRefused) {
  const TempDirectory directory;
  EXPECT_THROW(read_json(directory.path(), description_fields(true)), UsageError);
  EXPECT_THROW(read_json(directory.file("none"), description_fields(true)), UsageError);
}

TEST(Manifest, OfEveryBuildFitsItsTable) {
  BuildReport report;
  report.classes.push_back({3, 10, 2, "by hand", -0.25, 9, 1, 0});
  report.notes = {"a note"};
  Provenance p;
  p.rate = 50;
  for (const bool swept : {true, false}) {
    BuildOptions options;
    if (!swept) options.most_templates = 4;
    if (swept) options.false_positives_per_hour = 1.5;
    ordered_json json = manifest(report, options, p, std::string(64, 'a'));
    EXPECT_NO_THROW(check_json(json, manifest_fields(), "m"));
    json["training_set"]["classes"]["x"] = 1e300;
    EXPECT_THROW(check_json(json, manifest_fields(), "m"), UsageError);
    json = manifest(report, options, p, std::string(64, 'a'));
    json["model_classes"][0]["threshold"] = "low";
    EXPECT_THROW(check_json(json, manifest_fields(), "m"), UsageError);
  }
}

// ---- labels --------------------------------------------------------------------------

static std::string said_of_set(const std::string& table, const std::string& text) {
  const TempDirectory directory;
  write_file(directory.file("a.csv"), "t,ax,ay,az,gx,gy,gz\n0,0,0,9.8,0,0,0\n");
  write_file(directory.file(table), text);
  try {
    read_recording_set(directory.path());
  } catch (const UsageError& error) {
    const std::string what = error.what();
    EXPECT_THAT(what, StartsWith(directory.file(table) + ":"));
    return what.substr(std::min(what.size(), directory.file(table).size()));
  }
  return "";
}

TEST(Labels, CodesOfTheInterfaceAreRefusedWithTheirLine) {
  for (const std::string code : {"5", "6", "13", "14"}) {
    const std::string said = ":3: the label " + code + " is a code of the interface";
    EXPECT_THAT(said_of_set("labels.csv",
                            "file,t_start,t_end,label\na.csv,0,1,4\n"
                            "a.csv,2,3," +
                                code + "\n"),
                StartsWith(said));
    EXPECT_THAT(said_of_set("index.csv",
                            "file,label,subject,rate_hz\n\na.csv," + code + ",ann,50\n"),
                StartsWith(said));
  }
  for (const std::string good :
       {"0", "4", "7", "12", "15", "1000", "-1", "background", "five", "5th"}) {
    EXPECT_EQ(
        said_of_set("labels.csv", "file,t_start,t_end,label\na.csv,0,1," + good + "\n"),
        "")
        << good;
  }
  for (const std::string bad : {"-2", "1001", "-1000000"}) {
    EXPECT_THAT(
        said_of_set("labels.csv", "file,t_start,t_end,label\na.csv,0,1," + bad + "\n"),
        HasSubstr("a whole number from 0 to 1000 is wanted"))
        << bad;
  }
}

TEST(Labels, NumbersOutOfTheirRangeAreRefusedWithTheirLine) {
  for (const std::string bad : {"1e300", "nan", "inf", "0x5", "", "x", "1 "}) {
    EXPECT_THAT(
        said_of_set("labels.csv", "file,t_start,t_end,label\na.csv,0," + bad + ",1\n"),
        StartsWith(":2: field 3: a number from -10000000000000 to "))
        << bad;
  }
  for (const std::string bad : {"1e300", "0.5", "-50", "100001", "nan"}) {
    EXPECT_THAT(
        said_of_set("index.csv", "file,label,subject,rate_hz\na.csv,1,ann," + bad + "\n"),
        StartsWith(":2: field 4: a number from 1 to 100000 is wanted, not \"" + bad))
        << bad;
  }
}

// ---- eval, build, log, preflight -----------------------------------------------------

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
