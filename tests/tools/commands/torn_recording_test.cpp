// A recording whose writer was stopped in a line: every subcommand uses what came before,
// says so, and ends as with a whole recording.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>

#include "support/files.h"
#include "tools/run_wgr.h"

using ::testing::HasSubstr;
using ::testing::Not;

static const std::string kModels = std::string(WGR_ROOT) + "/models";
static const std::string kModel = kModels + "/olvo_model_5_fb/hgr_olvo.xml";

class TornRecording : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directory(set_);
    const Outcome made = run_wgr("synth --gestures 4 --distractors 5 --person 3 -o " +
                                 recording_ + " --labels " + set_ + "/labels.csv");
    ASSERT_EQ(made.status, 0) << made.err;
    whole_ = read_file(recording_);
    lines_ = std::count(whole_.begin(), whole_.end(), '\n');
  }

  // Each subcommand that reads recordings, with a word of what it prints when it does.
  std::vector<std::pair<std::string, std::string>> commands() const {
    return {{"replay --models " + kModels + " " + recording_, "events"},
            {"explain --models " + kModels + " " + recording_, "motion 1"},
            {"doctor " + recording_, "samples"},
            {"segment " + set_ + " -o " + directory_.file("set.txt"), "kept"},
            {"build " + set_ + " -o " + directory_.file("m.xml"), "kept"},
            {"eval " + set_ + " --model " + kModel, "kept"}};
  }

  TempDirectory directory_;
  const std::string set_ = directory_.file("set");
  const std::string recording_ = set_ + "/a.csv";
  std::string whole_;
  long lines_ = 0;
};

TEST_F(TornRecording, IsUsedBySubcommandsAlike) {
  for (const auto& [command, word] : commands()) {
    write_file(recording_, whole_);
    const Outcome sound = run_wgr(command);
    EXPECT_EQ(sound.status, 0) << command << sound.err;
    EXPECT_THAT(sound.err, Not(HasSubstr("torn")));
    write_file(recording_, whole_ + "99.5,0.25,-");
    const Outcome torn = run_wgr(command);
    EXPECT_EQ(torn.status, 0) << command << torn.err;
    EXPECT_THAT(torn.err,
                HasSubstr("wgr: " + recording_ + ":" + std::to_string(lines_ + 1) +
                          ": the last line is torn and left out "
                          "(\"99.5,0.25,-\"); what came before is used\n"));
    EXPECT_THAT(torn.out + torn.err, HasSubstr(word)) << command;
  }
}

TEST_F(TornRecording, PackedAndCutOffIsUsedByThemAlike) {
  const std::string packed = directory_.file("packed");
  const gzFile file = gzopen(packed.c_str(), "wb");
  ASSERT_GT(gzwrite(file, whole_.data(), static_cast<unsigned>(whole_.size())), 0);
  ASSERT_EQ(gzclose(file), Z_OK);
  const std::string bytes = read_file(packed);
  write_file(recording_, bytes.substr(0, bytes.size() - 100));
  for (const auto& [command, word] : commands()) {
    const Outcome torn = run_wgr(command);
    EXPECT_EQ(torn.status, 0) << command << torn.err;
    EXPECT_THAT(torn.err, HasSubstr(": the gzip data ends too early; "));
    EXPECT_THAT(torn.out + torn.err, HasSubstr(word)) << command;
  }
}

// What is malformed and was written whole is nobody's torn line.
TEST_F(TornRecording, AMalformedLineWithItsBreakEndsThemWithTwo) {
  write_file(recording_, whole_ + "99.5,0.25,-\n");
  for (const auto& [command, word] : commands()) {
    const Outcome outcome = run_wgr(command);
    EXPECT_EQ(outcome.status, 2) << command;
    EXPECT_THAT(outcome.err, HasSubstr(": 3 fields instead of 7: \"99.5,0.25,-\"\n"));
  }
}

// A label that is left out would make background of a gesture.
TEST_F(TornRecording, ATornTableIsRefused) {
  const std::string labels = read_file(set_ + "/labels.csv");
  write_file(set_ + "/labels.csv", labels + "a.csv,1.5");
  for (const size_t i : {3u, 4u, 5u}) {
    const auto command = commands()[i].first;
    const Outcome outcome = run_wgr(command);
    EXPECT_EQ(outcome.status, 2) << command;
    EXPECT_THAT(outcome.err, HasSubstr("labels.csv:")) << command;
    EXPECT_THAT(outcome.err, HasSubstr(": 2 fields instead of 4")) << command;
  }
}
