// Every command in turn, from synthesised recordings of people to the evaluation of a
// model.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/sha256.h"
#include "evaluation/evaluation.h"
#include "recording/resample.h"
#include "support/files.h"
#include "text/evaluation_text.h"
#include "tools/run_wgr.h"

using namespace wgr;

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

static json read_json_file(const std::string& path) {
  return json::parse(read_file(path));
}

// Two examples of FIPS 180-4, and a length that leaves no room for its end.
TEST(Sha256, IsThatOfTheStandardsExamples) {
  EXPECT_EQ(sha256("abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(sha256(""),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

// A ramp stays a ramp at any rate: 4 samples a second to 8.
TEST(Resample, InterpolatesBetweenNeighboursInTime) {
  const std::vector<RecordedSample> samples = {{1.0, {0, 0, 4}, {8, 0, 0}},
                                               {1.25, {1, 0, 4}, {4, 0, 0}},
                                               {1.25, {9, 9, 9}, {9, 9, 9}},
                                               {1.5, {2, 0, 4}, {0, 0, 0}}};
  const std::vector<RecordedSample> made = resample(samples, 8);
  ASSERT_EQ(made.size(), 5u) << "the repeated time is passed over";
  for (size_t i = 0; i < made.size(); ++i) {
    EXPECT_DOUBLE_EQ(made[i].t, 1.0 + 0.125 * static_cast<double>(i));
    EXPECT_DOUBLE_EQ(made[i].acc.x, 0.5 * static_cast<double>(i));
    EXPECT_DOUBLE_EQ(made[i].acc.z, 4.0);
    EXPECT_DOUBLE_EQ(made[i].gyro.x, 8.0 - 2.0 * static_cast<double>(i));
  }
}

// Times are rounded when they are written: a millionth of a period is forgiven.
TEST(Resample, TheLastSampleCountsUnlessItIsTooEarly) {
  for (const double early : {0.0, 0.5e-6}) {
    EXPECT_EQ(resample({{0.0, {}, {}}, {1.0 - early, {}, {}}}, 1).size(), 2u) << early;
  }
  EXPECT_EQ(resample({{0.0, {}, {}}, {1.0 - 1.5e-6, {}, {}}}, 1).size(), 1u);
}

class RecordingToModel : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return directory_.file(name); }

  static void succeed(const std::string& arguments) {
    const Outcome outcome = run_wgr(arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << "\n" << outcome.err;
  }

  TempDirectory directory_;
};

TEST_F(RecordingToModel, LeadsFromRecordingsToAModelForOtherPeople) {
  succeed("synth --training " + path("set") +
          " --persons 6 --gestures 4 --distractors 60");
  succeed("synth --training " + path("others") +
          " --person 900 --persons 2 --gestures 3 --distractors 60");
  succeed("segment " + path("set") + " -o " + path("set.txt"));
  const std::string model = path("models/olvo_model_5_fb/hgr_olvo.xml");
  succeed("build " + path("set.txt") + " --false-positives-per-hour 1 -o " + model);
  succeed("model check " + model);

  const json manifest =
      read_json_file(path("models/olvo_model_5_fb/hgr_olvo.model.json"));
  EXPECT_EQ(manifest["model_sha256"], sha256(read_file(model)));
  EXPECT_EQ(manifest["training_set"]["samples_per_second"], 50);
  EXPECT_EQ(manifest["training_set"]["inputs"].size(), 7u)
      << "6 recordings, 1 training file";
  EXPECT_EQ(manifest["accuracy_leaving_one_out"]["examples"], 120);
  EXPECT_GE(manifest["accuracy_leaving_one_out"]["classified_right"], 0.98);
  EXPECT_EQ(manifest["accuracy_leaving_one_out"]["background_accepted"], 0);

  const Outcome eval =
      run_wgr("eval " + path("others") + " --json --model " + model +
              " --require accuracy=0.85 --require false_positives_per_hour=30");
  ASSERT_EQ(eval.status, 0) << eval.out << eval.err;
  const json figures = json::parse(eval.out);
  EXPECT_EQ(figures["repetitions"], 30);
  EXPECT_EQ(figures["kept"], 30);
  EXPECT_GE(figures["classified_right"], 0.95);
  EXPECT_EQ(figures["false_positives"], 0);
  EXPECT_LT(figures["latency_worst"], 0.5);
  EXPECT_GE(figures["folds"][0]["templates"], 5);
  size_t missed = 0;
  for (const auto& [cause, count] : figures["misses"].items()) {
    missed += count.get<size_t>();
  }
  EXPECT_EQ(figures["right"].get<size_t>() + missed, 30u) << "no repetition vanishes";

  const Outcome strict = run_wgr("eval " + path("others") + " --model " + model +
                                 " --require accuracy=1.01");
  EXPECT_EQ(strict.status, 1);
  EXPECT_THAT(strict.err, HasSubstr("at least 1.0100 is required"));

  // The same end to end as a host sees it.
  const Outcome replay = run_wgr("replay --json --models " + path("models") + " " +
                                 path("others/p900_free.csv"));
  ASSERT_EQ(replay.status, 0) << replay.err;
  EXPECT_THAT(replay.out, HasSubstr("\"type\":\"event\""));
}

TEST_F(RecordingToModel, GivesTheSameBytesFromRecordingsOrTrainingFileOnAnyThreads) {
  succeed("synth --training " + path("set") +
          " --persons 3 --gestures 3 --distractors 20");
  succeed("segment " + path("set") + " -o " + path("set.txt"));
  succeed("build " + path("set.txt") + " --threads 1 -o " + path("one/m.xml"));
  succeed("build " + path("set.txt") + " --threads 3 -o " + path("three/m.xml"));
  succeed("build " + path("set") + " -o " + path("direct/m.xml"));
  for (const char* file : {"/m.xml", "/m.model.json", "/m.report.txt"}) {
    EXPECT_EQ(read_file(path("one") + file), read_file(path("three") + file)) << file;
  }
  EXPECT_EQ(read_file(path("one/m.xml")), read_file(path("direct/m.xml")));
  EXPECT_EQ(
      run_wgr("model diff " + path("one/m.xml") + " " + path("direct/m.xml")).status, 0);
}

TEST_F(RecordingToModel, LeavesPeopleOut) {
  succeed("synth --training " + path("set") +
          " --persons 3 --gestures 3 --distractors 10");
  const Outcome eval = run_wgr("eval " + path("set") + " --leave-out subject --json");
  ASSERT_EQ(eval.status, 0) << eval.err;
  const json figures = json::parse(eval.out);
  ASSERT_EQ(figures["folds"].size(), 3u);
  for (const json& fold : figures["folds"]) {
    EXPECT_EQ(fold["repetitions"], 15);
    // Not every one of the 30 repetitions of the others is kept.
    EXPECT_GE(fold["examples"], 27);
    EXPECT_LE(fold["examples"], 30);
    EXPECT_LE(fold["templates"], 10);
  }
  EXPECT_EQ(figures["repetitions"], 45);
}

// Each class has 9 repetitions: of four folds the first leaves out 3 of them, the
// others 2.
TEST_F(RecordingToModel, LeavesRepetitionsOut) {
  succeed("synth --training " + path("set") +
          " --persons 3 --gestures 3 --distractors 10");
  for (const std::string how : {"", " --use-annotations"}) {
    const Outcome eval =
        run_wgr("eval " + path("set") + " --leave-out repetition --folds 4 --json" + how);
    ASSERT_EQ(eval.status, 0) << eval.err;
    const json figures = json::parse(eval.out);
    ASSERT_EQ(figures["folds"].size(), 4u);
    int right = 0;
    for (size_t f = 0; f < 4; ++f) {
      const json& fold = figures["folds"][f];
      EXPECT_EQ(fold["left_out"], "every 4th repetition, from " + std::to_string(f + 1));
      EXPECT_EQ(fold["repetitions"], f == 0 ? 15 : 10);
      right += fold["right"].get<int>();
    }
    EXPECT_EQ(right, figures["right"]);
    // Annotated motions are all kept, however short or weak they are.
    EXPECT_EQ(right < 45, how.empty());
    EXPECT_EQ(figures["repetitions"], 45);
    EXPECT_GE(figures["kept"], 40);
    EXPECT_GE(figures["classified_right"], 0.9);
    EXPECT_GE(figures["kept_accuracy"], 0.8);
    EXPECT_EQ(figures["latency_worst"].is_null(), !how.empty())
        << "a repetition has no end";
  }
}

TEST_F(RecordingToModel, WordsGetNumbersThatTheInterfaceDoesNotUse) {
  succeed("synth --training " + path("set") +
          " --persons 1 --gestures 1 --distractors 0");
  std::string labels = read_file(path("set/labels.csv"));
  std::string worded;
  size_t line = 0;
  for (size_t at = 0; at < labels.size(); ++line) {
    const size_t end = labels.find('\n', at);
    const std::string text = labels.substr(at, end - at);
    worded += line == 0 ? text
                        : text.substr(0, text.rfind(',') + 1) + "\"w, " +
                              std::string(1, static_cast<char>('a' + line)) + "\"";
    worded += '\n';
    at = end + 1;
  }
  write_file(path("set/labels.csv"), worded);
  succeed("segment " + path("set") + " -o " + path("set.txt"));
  const json classes = read_json_file(path("set.training.json"))["classes"];
  EXPECT_EQ(classes.dump(), "{\"w, b\":0,\"w, c\":1,\"w, d\":2,\"w, e\":3,\"w, f\":4}");
}

TEST_F(RecordingToModel, RefusesWhatItCannotUseAndWritesNothing) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"", ":1: holds no example"},
      {"x\n", ":1: \"x\" is not a number"},
      {"3 2 0 0 9.9\n1 2\n1 2\n1\n", ":4: 1 numbers instead of 2"},
      {"3 1 0 0 9.9\n1\n1\n", ":3: the file ends within this record"},
      {"3 1 0 0 9.9\n1\n1\n1\n3 1\n1\n1\n1\n", ":5: a gravity vector must be in all"},
      {"3 1 0 0 9.9\n1\n\xff\n1\n", ":3: \"\\xff\" is not a number"},
      {"3 99999999999 0 0 9.9\n1\n1\n1\n",
       ":1: the number of points: a whole number from 1 to 1000000"},
      {"5 1 0 0 9.9\n1\n1\n1\n", ":1: the label 5 is a code of the interface"},
      {"3 1 0 0 9\n1\n1\n1\n3 1 0 0 0\n1\n1\n1\n", ":5: the gravity vector has no"},
  };
  for (const auto& c : cases) {
    write_file(path("t"), c.text);
    const Outcome outcome = run_wgr("build " + path("t") + " -o " + path("out/m.xml"));
    EXPECT_EQ(outcome.status, 2) << c.text;
    EXPECT_THAT(outcome.err, HasSubstr(c.message));
    EXPECT_FALSE(std::filesystem::exists(path("out")));
  }
  write_file(path("l.csv"), "file,t_start,t_end,label\n\xff,1,2,a\n");
  std::filesystem::create_directory(path("set"));
  write_file(path("set/r.csv"), "t,ax,ay,az,gx,gy,gz\n0,0,0,9.9,0,0,0\n");
  std::filesystem::copy_file(path("l.csv"), path("set/labels.csv"));
  const Outcome outcome = run_wgr("segment " + path("set") + " -o " + path("out.txt"));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("labels.csv:2: is not UTF-8"));
  EXPECT_FALSE(std::filesystem::exists(path("out.txt")));
}

TEST_F(RecordingToModel, ThinsATemplateThatAModelsLineCannotHold) {
  std::string text;
  for (int sample = 0; sample < 2; ++sample) {
    text += "1 1200 0.1 0.2 9.9\n";
    for (int axis = 0; axis < 3; ++axis) {
      for (int i = 0; i < 1200; ++i) {
        text += std::to_string(0.123456 + 0.001 * i * (axis + 1) + 0.1 * sample) + " ";
      }
      text += "\n";
    }
  }
  write_file(path("t"), text);
  const Outcome outcome = run_wgr("build " + path("t") + " -o " + path("m.xml"));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err,
              HasSubstr("example 1 (class 1): thinned from 1200 to 300 points"));
  EXPECT_EQ(run_wgr("model check " + path("m.xml")).status, 0);
}

// Classes 1 to 3; of class 2 one template stays, two go and one comes.
TEST_F(RecordingToModel, TwoModelsAreComparedByClass) {
  const std::string t = "2 1\n1\n0\n0\n";
  const std::string u = "2 1\n2\n0\n0\n";
  const std::string v = "2 1\n3\n0\n0\n";
  const std::string w = "2 1\n4\n0\n0\n";
  const std::string one = "1 1\n1\n0\n0\n";
  const std::string three = "3 1\n1\n0\n0\n";
  write_file(path("a.xml"), "2 4 1 0\n1 2\n1 -1.5 -2.5\n" + one + t + u + v);
  write_file(path("b.xml"), "2 3 1 0\n2 3\n1 -1.25 -2.5\n" + t + w + three);
  const Outcome diff = run_wgr("model diff " + path("a.xml") + " " + path("b.xml"));
  EXPECT_EQ(diff.status, 1);
  EXPECT_EQ(diff.out, "class 1: only in " + path("a.xml") +
                          "\nclass 2: threshold -2.5000 -> -1.2500\n"
                          "class 2: 2 templates gone, 1 new, 2 now\n"
                          "class 3: only in " +
                          path("b.xml") + "\n");
  EXPECT_THAT(run_wgr("model show " + path("a.xml")).out,
              HasSubstr("class  templates  points  threshold\n"
                        "    1          1       1    -1.5000\n"
                        "    2          3       3    -2.5000\n"
                        "4 templates, 4 points; "));
}

TEST_F(RecordingToModel, ModelsAreShownAndComparedAsJson) {
  const std::string t = "2 1\n1\n0\n0\n";
  write_file(path("a.xml"), "2 2 1 0\n1 2\n1 -1.5 -2.5\n1 1\n1\n0\n0\n" + t);
  write_file(path("b.xml"), "1 2 0 0\n2\n1 -1.25\n" + t + "2 1\n2\n0\n0\n");
  const json a = json::parse(run_wgr("model show --json " + path("a.xml")).out);
  EXPECT_EQ(a, json::parse(R"({"type":"model","file":")" + path("a.xml") + R"(",
      "templates":2,"points":2,"normalised":true,"gravity":false,"classes":[
        {"label":1,"templates":1,"points":1,"threshold":-1.5},
        {"label":2,"templates":1,"points":1,"threshold":-2.5}]})"));

  const Outcome diff =
      run_wgr("model diff --json " + path("a.xml") + " " + path("b.xml"));
  EXPECT_EQ(diff.status, 1);
  EXPECT_EQ(json::parse(diff.out), json::parse(R"({"type":"difference","differs":true,
      "scaling_differs":true,"gravity_differs":false,"classes":[
        {"label":1,"before":{"templates":1,"threshold":-1.5},"after":null,
         "templates_gone":1,"templates_new":0},
        {"label":2,"before":{"templates":1,"threshold":-2.5},
         "after":{"templates":2,"threshold":-1.25},
         "templates_gone":0,"templates_new":1}]})"));

  const Outcome same =
      run_wgr("model diff --json " + path("a.xml") + " " + path("a.xml"));
  EXPECT_EQ(same.status, 0);
  EXPECT_EQ(json::parse(same.out)["differs"], false);
  EXPECT_EQ(json::parse(same.out)["classes"], json::array());
}

TEST_F(RecordingToModel, AModelsFindingsAreJsonLines) {
  write_file(path("m.xml"), "1 1 1 0\n3\n1 0\n3 1\n1\n0\n0\n");
  const Outcome outcome = run_wgr("model check --json " + path("m.xml"));
  EXPECT_EQ(outcome.status, 1);
  const size_t end = outcome.out.find('\n');
  const json finding = json::parse(outcome.out.substr(0, end));
  EXPECT_EQ(finding["type"], "finding");
  EXPECT_EQ(finding["file"], path("m.xml"));
  EXPECT_EQ(finding["line"], 3);
  EXPECT_EQ(finding["text"].get<std::string>().find("the threshold of label 3"), 0u);
  EXPECT_EQ(json::parse(outcome.out.substr(end)),
            json::parse(R"({"type":"summary","models":1,"findings":1})"));
}

TEST_F(RecordingToModel, AModelIsCheckedLineByLine) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"", ":1: the file ends where the header should be"},
      {"1 1 1 0\n5\n0\n5 1\n1\n0\n0\n", ":2: the label 5 is a code of the interface"},
      {"1 1 1 0\n3\n1 0\n3 1\n1\n0\n0\n", ":3: the threshold of label 3 is not below 0"},
      {"1 1 1 0\n3\n0\n3 1\n1\nx\n1\n", ":6: template 1, its y: value 1 is not a number"},
  };
  for (const auto& c : cases) {
    write_file(path("m.xml"), c.text);
    const Outcome outcome = run_wgr("model check " + path("m.xml"));
    EXPECT_EQ(outcome.status, 1) << c.text;
    EXPECT_THAT(outcome.out, HasSubstr(path("m.xml") + c.message));
  }
  write_file(path("m.xml"), "1 1 1 0\n3\n0\n3 1\n1\n0\n0\n");
  EXPECT_EQ(run_wgr("model check " + path("m.xml")).out,
            path("m.xml") + ": nothing is wrong\n");
  EXPECT_EQ(run_wgr("model check /nowhere.xml").status, 2);
}
