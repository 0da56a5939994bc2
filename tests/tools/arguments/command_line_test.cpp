// What the program says of itself, and how it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "arguments/command_line.h"
#include "tools/run_wgr.h"

using namespace wgr;

using ::testing::HasSubstr;
using ::testing::StartsWith;

static std::vector<const CLI::App*> with_all_below(const CLI::App& app) {
  std::vector<const CLI::App*> found = {&app};
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) {
    const std::vector<const CLI::App*> deeper = with_all_below(*sub);
    found.insert(found.end(), deeper.begin(), deeper.end());
  }
  return found;
}

TEST(Help, ListsTheExitStatusesOfEverySubcommand) {
  CLI::App wgr;
  add_all(wgr);
  const std::vector<const CLI::App*> all = with_all_below(wgr);
  EXPECT_EQ(all.size(), 24u);
  for (const CLI::App* app : all) {
    const std::string help = app->help();
    EXPECT_TRUE(std::regex_search(help, std::regex("Exit status: 0 [^;]+;[^]*\\s2 ")))
        << app->get_name() << "\n"
        << help;
  }
}

TEST(Help, ItsExamplesNameRecordingsThatExist) {
  CLI::App wgr;
  add_all(wgr);
  size_t found = 0;
  for (const CLI::App* app : with_all_below(wgr)) {
    const std::string help = app->help();
    const std::regex path("\\brecordings/[a-z._]+[a-z]");
    for (std::sregex_iterator i(help.begin(), help.end(), path), end; i != end; ++i) {
      ++found;
      EXPECT_TRUE(std::filesystem::exists(std::string(WGR_ROOT) + "/" + i->str()))
          << app->get_name() << ": " << i->str();
    }
  }
  EXPECT_GE(found, 5u);
}

TEST(Program, SaysWhoItIsBeforeEveryMessageAndEndsWithTwo) {
  for (const std::string arguments :
       {"", "replya x", "replay", "replay --sample-rate nan x", "replay --wearer",
        "model", "replay --models /nowhere x", "eval", "build -o x",
        "segment /nowhere -o x", "log /nowhere", "doctor /nowhere",
        "explain --models /nowhere x", "model show /nowhere.xml",
        "preflight --models /nowhere", "selfcheck x", "synth --style mixed -o -",
        "synth --script /nowhere -o -"}) {
    const Outcome outcome = run_wgr(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.out, "") << arguments;
    EXPECT_THAT(outcome.err, StartsWith("wgr: ")) << arguments;
  }
}

TEST(Program, PrintsHelpOfASubcommandAndEndsWithZero) {
  const Outcome outcome = run_wgr("model check --help");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("Exit status: 0 nothing is wrong"));
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(run_wgr("--version").out, std::string("wgr ") + WGR_VERSION + "\n");
}
