// The options that say which model is used, and what they need: nothing but the file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "hostrun/fixed_paths.h"
#include "support/cases.h"
#include "support/files.h"
#include "support/private_paths.h"
#include "tools/run_wgr.h"

using namespace wgr;

using ::testing::HasSubstr;

static const std::string kModels = std::string(WGR_ROOT) + "/models";
static const std::string kDemo = std::string(WGR_ROOT) + "/recordings/demo.csv";

// Without what differs from run to run, and the model's path.
static std::string output_of(const std::string& arguments) {
  const Outcome outcome = run_wgr(arguments + " " + kDemo);
  EXPECT_EQ(outcome.status, 0) << arguments << "\n" << outcome.err;
  std::string text = outcome.out;
  for (const char* const name : {"\"real_time_factor\":", "\"file\":"}) {
    const size_t begin = text.find(name);
    if (begin != std::string::npos)
      text.erase(begin, text.find_first_of(",}\n", begin) - begin);
  }
  return text;
}

TEST(ModelOptions, AFileIsTheSameAsItsPlaceInAFolder) {
  std::vector<std::string> all;
  for (int wearer = slow_here() ? 1 : 0; wearer < 2; ++wearer) {
    for (int mode = 0; mode < 3; ++mode) {
      const std::string place = " --json --models " + kModels + " --wearer " +
                                std::to_string(wearer) + " --mode " +
                                std::to_string(mode);
      const std::string file = " --json --wearer " + std::to_string(wearer) + " --mode " +
                               std::to_string(mode) + " --model " +
                               model_file(kModels, wearer, mode);
      const std::string replayed = output_of("replay" + place);
      EXPECT_THAT(replayed, HasSubstr("\"event\""));
      EXPECT_EQ(output_of("replay" + file), replayed);
      all.push_back(output_of("explain" + place));
      EXPECT_EQ(output_of("explain" + file), all.back());
      for (size_t i = 0; i + 1 < all.size(); ++i) EXPECT_NE(all[i], all.back()) << i;
    }
  }
}

// The library itself, with the models in its own place, is what memory is held against.
TEST(ModelOptions, AModelInMemoryIsRecognisedWithAsAnInstalledOne) {
  std::filesystem::copy(kModels, kInstalledModels,
                        std::filesystem::copy_options::recursive |
                            std::filesystem::copy_options::overwrite_existing);
  for (const std::string chosen : {"", " --wearer 1 --mode 2"}) {
    EXPECT_EQ(output_of("replay --json --models " + kModels + chosen),
              output_of("replay --json" + chosen));
  }
}

TEST(ModelOptions, OneModelIsNamedOnce) {
  const Outcome outcome = run_wgr("replay --model a.xml --models b " + kDemo);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("--model excludes --models"));
}

TEST(ModelOptions, AFileThatIsNoModelIsRefused) {
  for (const std::string command : {"replay ", "explain ", "doctor "}) {
    for (const std::string& file : {kDemo, std::string("/no/such.xml"), kModels}) {
      const Outcome outcome = run_wgr(command + kDemo + " --model " + file);
      EXPECT_EQ(outcome.status, 2) << command << file;
      EXPECT_THAT(outcome.err, HasSubstr("wgr: " + file + ":")) << command;
      EXPECT_EQ(outcome.out, "") << command;
    }
  }
}

// By the manifest, and by that of the model itself alone.
TEST(ModelOptions, DoctorSaysThatAModelIsOfAnotherRate) {
  TempDirectory directory;
  const std::string set = directory.file("set");
  const std::string model = directory.file("m.xml");
  ASSERT_EQ(run_wgr("synth --training " + set +
                    " --persons 2 --gestures 3 --distractors 3 --sample-rate 50")
                .status,
            0);
  ASSERT_EQ(run_wgr("build " + set + " -o " + model).status, 0);
  const std::string walk = directory.file("walk.csv");
  for (const auto& [rate, said] : {std::pair("50", false), std::pair("100", true)}) {
    ASSERT_EQ(
        run_wgr(std::string("synth --gestures 2 --sample-rate ") + rate + " -o " + walk)
            .status,
        0);
    const std::string plain = run_wgr("doctor " + walk).out;
    EXPECT_EQ(plain.find("model-rate"), std::string::npos) << rate;
    const Outcome asked = run_wgr("doctor --model " + model + " " + walk);
    EXPECT_EQ(asked.out.find("model-rate (likely): the stream has 100.0 samples/s, and "
                             "the model was built from 50") != std::string::npos,
              said)
        << asked.out << asked.err;
    EXPECT_EQ(asked.status == 1,
              said || plain.find("nothing found") == std::string::npos);
  }
  write_file(model, read_file(model) + "\n");
  const Outcome changed = run_wgr("doctor --model " + model + " " + walk);
  EXPECT_EQ(changed.out.find("model-rate"), std::string::npos);
  EXPECT_THAT(changed.err, HasSubstr("describes another model; it does not count"));
}

namespace {

// A folder with a set, a training file and a model, for everyone to use.
class PlainUser : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    shared_ = new TempDirectory;
    std::filesystem::permissions(shared_->path(), std::filesystem::perms::all);
    std::filesystem::create_directory(file("bin"));
    // Whoever asks for a namespace is noticed, and gets none.
    write_file(file("bin/unshare"), "#!/bin/sh\n: >" + file("asked") + "\nexit 1\n");
    std::filesystem::permissions(file("bin/unshare"), std::filesystem::perms::all);
    std::filesystem::copy(kModels, kInstalledModels,
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
  }
  static void TearDownTestSuite() {
    delete shared_;
    shared_ = nullptr;
  }
  static std::string file(const std::string& name) { return shared_->file(name); }

  // How nobody in particular runs something; skips where that cannot be.
  void SetUp() override {
    if (slow_here()) GTEST_SKIP() << "slow here: a user's rights are the same everywhere";
    if (geteuid() != 0) return;
    as_nobody_ = "setpriv --reuid=65534 --regid=65534 --clear-groups -- ";
    const std::string wgr = WGR_PROGRAM;
    if (run_command(as_nobody_ + "test -x " + wgr + " && " + as_nobody_ + "test -r " +
                    kDemo)
            .status != 0) {
      GTEST_SKIP() << "nobody cannot run " << wgr << " here";
    }
  }

  Outcome run(const std::string& words) const {
    return run_command("cd " + shared_->path() + " && PATH=" + file("bin") + ":$PATH; " +
                       as_nobody_ + WGR_PROGRAM + " " + words);
  }

  std::string as_nobody_;

 private:
  static inline TempDirectory* shared_ = nullptr;
};

}  // namespace

TEST_F(PlainUser, UsesEverySubcommandWithoutANamespace) {
  const std::string page = " --report page.html";
  for (const std::string& words : std::vector<std::string>{
           "synth --training set --persons 2 --gestures 2 --distractors 2 --style calm",
           "segment set -o g.txt", "build g.txt -o m.xml",
           "eval set --model m.xml --report eval.html",
           "eval set --models " + kModels + " --wearer 1 --mode 2 --json",
           "eval set --leave-out repetition --folds 2", "model show m.xml",
           "model check m.xml", "model diff m.xml m.xml", "replay " + kDemo,
           "replay --model m.xml " + kDemo, "replay --models " + kModels + " " + kDemo,
           "explain --model m.xml " + kDemo + page,
           "explain --models " + kModels + " " + kDemo, "doctor " + kDemo, "selfcheck",
           "--version"}) {
    const Outcome outcome = run(words);
    EXPECT_EQ(outcome.status, 0) << words << "\n" << outcome.err;
  }
  EXPECT_NE(run("preflight").out, "");
  EXPECT_FALSE(std::filesystem::exists(file("asked")));
}

// What the installed system logs is its own.
TEST_F(PlainUser, LeavesTheLogOfTheInstalledSystemAlone) {
  std::filesystem::permissions(kLogFolder, std::filesystem::perms::all);
  const std::string model = model_file(kModels, 0, 1);
  for (const std::string log : {"", "of the watch\n"}) {
    std::filesystem::remove(kLogFile);
    if (!log.empty()) write_file(kLogFile, log);
    for (const std::string& words : std::vector<std::string>{
             "replay " + kDemo, "replay --model " + model + " " + kDemo,
             "replay --models " + kModels + " " + kDemo,
             "explain --model " + model + " " + kDemo, "explain " + kDemo,
             "doctor " + kDemo}) {
      EXPECT_EQ(run(words).status, 0) << words;
      EXPECT_EQ(std::filesystem::exists(kLogFile), !log.empty()) << words;
    }
    if (log.empty()) continue;
    EXPECT_EQ(run("selfcheck").status, 0);
    EXPECT_EQ(read_file(kLogFile), log);
  }
  std::filesystem::remove(kLogFile);
}
