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

TEST_F(PreflightCommand, ArgumentsThatItDoesNotKnowAreRefused) {
  EXPECT_EQ(run_wgr("preflight now").status, 2);
}
