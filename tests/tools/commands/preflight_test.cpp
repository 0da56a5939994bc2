// wgr preflight as its users run it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "context/WgrContext.h"
#include "hostrun/fixed_paths.h"
#include "support/files.h"
#include "support/private_paths.h"
#include "tools/run_wgr.h"

using namespace wgr;

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;

static const std::string kShipped = std::string(WGR_ROOT) + "/models";

class PreflightCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    clear_log();
    for (const auto& entry : std::filesystem::directory_iterator(kInstalledModels)) {
      std::filesystem::remove_all(entry);
    }
    std::filesystem::copy(kShipped, kInstalledModels,
                          std::filesystem::copy_options::recursive);
  }
};

TEST_F(PreflightCommand, TheShippedModelsAreClean) {
  const Outcome outcome = run_wgr("preflight");
  EXPECT_EQ(outcome.status, 0) << outcome.out;
  EXPECT_THAT(outcome.out, StartsWith("clean  six models"));
}

TEST_F(PreflightCommand, NotesArePrintedButEndWithZero) {
  std::filesystem::create_directory(kLogFile);
  const Outcome outcome = run_wgr("preflight");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, StartsWith("note   /home/app/WgrLog.txt: cannot be written"));
  clear_log();
}

TEST_F(PreflightCommand, AFaultEndsWithOneAndAMissingDefaultWithTwo) {
  std::filesystem::remove(model_file(kInstalledModels, 1, 2));
  Outcome outcome = run_wgr("preflight");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "fault  " + model_file(kInstalledModels, 1, 2) +
                             ": cannot be read: No such file or directory\n");

  std::filesystem::remove(model_file(kInstalledModels, kDefaultWearer, kDefaultMode));
  outcome = run_wgr("preflight --json");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "");
  std::vector<json> lines;
  std::istringstream text(outcome.out);
  for (std::string line; std::getline(text, line);) lines.push_back(json::parse(line));
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0]["weight"], "fatal");
  EXPECT_EQ(lines[3], json({{"type", "summary"}, {"weight", "fatal"}}));
}

TEST_F(PreflightCommand, ModelsCanBeCheckedBeforeTheyAreInstalled) {
  const TempDirectory directory;
  std::filesystem::copy(kShipped, directory.path(),
                        std::filesystem::copy_options::recursive);
  EXPECT_EQ(run_wgr("preflight --models " + directory.path()).status, 0);
  write_file(model_file(directory.path(), 0, 0), "1 1 1 1\n");
  const Outcome outcome = run_wgr("preflight --models " + directory.path());
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr(":2: the file ends where the class labels should"));
  EXPECT_EQ(run_wgr("preflight --models /nowhere").status, 2);
}

// The manifest beside a model is held against what the host sets.
TEST_F(PreflightCommand, SettingsThatAModelWasNotBuiltForAreFaults) {
  const TempDirectory directory;
  const std::string models = directory.file("models");
  const std::string set = directory.file("set");
  std::filesystem::copy(kShipped, models, std::filesystem::copy_options::recursive);
  ASSERT_EQ(run_wgr("synth --training " + set + " --persons 2 --gestures 2").status, 0);
  const std::string model = model_file(models, kDefaultWearer, kDefaultMode);
  const Outcome built =
      run_wgr("build " + set + " --static-window 7 --sensitivity -20 -o " + model);
  ASSERT_EQ(built.status, 0) << built.err;
  EXPECT_THAT(built.err,
              HasSubstr("  init_gesture_handle(h, 50, gyro_bias, -1, -1, 7, 50);\n"
                        "  set_gesture_model(h, wearer, mode);\n"
                        "  set_gesture_rec_sensitivity(h, -20);\n"));

  Outcome outcome = run_wgr("preflight --models " + models);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out,
              HasSubstr("was built for a rest window of 7, not 10, motions of "
                        "20 samples and more, not 25"));
  outcome =
      run_wgr("preflight --static-window 7 --sensitivity -20 --sample-rate 50 --models " +
              models);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, Not(HasSubstr("was built for")));
  outcome = run_wgr(
      "preflight --static-window 7 --sensitivity -20 --sample-rate 100 --models " +
      models);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("was built for 50 samples/s, not 100"));
  EXPECT_EQ(run_wgr("preflight --min-length 30 --models " + models).status, 1);

  // The same of a replay, and of an evaluation, which take the settings themselves.
  const std::string of_model = " --model " + model + " " + set + "/p001_free.csv";
  EXPECT_THAT(
      run_wgr("replay" + of_model).err,
      HasSubstr("with the settings that the model was built for: a rest window of 7, "
                "sensitivity -20"));
  EXPECT_THAT(run_wgr("replay --static-window 9" + of_model).err,
              HasSubstr("its figures hold for these alone"));
  EXPECT_THAT(run_wgr("replay --sample-rate 100" + of_model).err,
              HasSubstr("was built for 50 samples/s, not 100"));
  const Outcome evaluated = run_wgr("eval " + set + " --json --model " + model);
  EXPECT_THAT(evaluated.out, HasSubstr("\"sensitivity\": -20"));
}

// Each command that has a model and a rate, with installed models as with named ones.
TEST_F(PreflightCommand, NoModelRunsAtAnotherRateThanItsOwnWithoutAWord) {
  const TempDirectory directory;
  const std::string set = directory.file("set");
  ASSERT_EQ(run_wgr("synth --sample-rate 119 --persons 2 --gestures 2 --distractors 3 "
                    "--training " +
                    set)
                .status,
            0);
  const std::string stream = directory.file("at50.csv");
  ASSERT_EQ(run_wgr("synth --gestures 1 --distractors 3 -o " + stream + " --labels " +
                    directory.file("labels.csv"))
                .status,
            0);
  const std::string fast = " " + set + "/p001_free.csv";
  const std::string with = " --models " + std::string(kInstalledModels);
  // The shipped ones have no manifest.
  const std::string unknown = "no manifest beside the model says for which sample rate";
  for (const std::string& command : {"replay" + fast, "explain" + fast,
                                     "doctor" + with + fast, "eval " + set + with}) {
    const Outcome outcome = run_wgr(command);
    EXPECT_THAT(outcome.err, HasSubstr(unknown)) << command << outcome.out;
  }
  EXPECT_THAT(run_wgr("preflight --sample-rate 119").out, HasSubstr(unknown));
  EXPECT_EQ(run_wgr("preflight --sample-rate 119").status, 0);
  EXPECT_THAT(run_wgr("replay " + stream).err, Not(HasSubstr(unknown)));

  const std::string model = model_file(kInstalledModels, kDefaultWearer, kDefaultMode);
  ASSERT_EQ(run_wgr("build " + set + " --static-window 17 -o " + model).status, 0);
  const std::string said = "the model was built for 119 samples/s, not 50";
  for (const std::string& command : {std::string("replay "), std::string("explain "),
                                     "replay --log=" + directory.file("log") + " "}) {
    const Outcome outcome = run_wgr(command + stream);
    EXPECT_THAT(outcome.err, HasSubstr(said)) << command;
    EXPECT_THAT(outcome.err, HasSubstr("built for: a rest window of 17")) << command;
    EXPECT_THAT(
        run_wgr(command + "--static-window 10 " + stream).err,
        HasSubstr("a rest window of 17, not 10: its figures hold for these alone; "
                  "leave the options out, or build a model with them"));
  }
  std::filesystem::create_directory(directory.file("slow"));
  std::filesystem::copy(stream, directory.file("slow/at50.csv"));
  std::filesystem::copy(directory.file("labels.csv"), directory.file("slow/labels.csv"));
  EXPECT_THAT(run_wgr("eval " + directory.file("slow") + with).err, HasSubstr(said));
  EXPECT_THAT(run_wgr("preflight --sample-rate 50").out, HasSubstr(said));
  const Outcome doctor = run_wgr("doctor " + stream);
  EXPECT_THAT(doctor.out,
              HasSubstr("the stream has 50.0 samples/s, and the model was built "
                        "from 119"));
  EXPECT_THAT(doctor.out, HasSubstr(", -1, 17, 50)"));
  EXPECT_THAT(run_wgr("doctor --static-window 10 " + stream).err,
              HasSubstr("a rest window of 17, not 10"));
}

TEST_F(PreflightCommand, ArgumentsThatItDoesNotKnowAreRefused) {
  EXPECT_EQ(run_wgr("preflight now").status, 2);
}
