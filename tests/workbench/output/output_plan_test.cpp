// What collides among inputs and outputs, and standard output.
#include "output/output_files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "base/errors.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "output/temporary_file.h"
#include "support/child.h"
#include "support/devices.h"
#include "support/files.h"

using namespace wgr;

namespace fs = std::filesystem;

using ::testing::HasSubstr;

static bool is_text(const fs::path& path) { return path.extension() == ".txt"; }

static std::string collision(const OutputPlan& plan) {
  try {
    plan.check();
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

static std::set<std::string> names_in(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    names.insert(entry.path().filename());
  }
  return names;
}

class Output : public ::testing::Test {
 protected:
  std::string file(const std::string& name) const { return directory_.file(name); }
  std::set<std::string> names() const { return names_in(directory_.path()); }

  TempDirectory directory_;
};

using Plan = Output;

TEST_F(Plan, NoInputIsOverwrittenUnderAnyName) {
  write_file(file("in"), "");
  fs::create_hard_link(file("in"), file("hard"));
  fs::create_symlink("in", file("soft"));
  fs::create_directory(file("folder"));
  for (const char* name : {"in", "hard", "soft", "folder/../in"}) {
    OutputPlan plan;
    plan.reads("RECORDING", file("in"));
    plan.writes("-o", file(name));
    EXPECT_THAT(collision(plan), HasSubstr("-o " + file(name) +
                                           ": would overwrite RECORDING " + file("in")));
  }
  OutputPlan plan;
  plan.reads("RECORDING", file("in"));
  plan.reads("--expect", "");
  plan.reads("--expect", file("missing"));
  plan.writes("-o", file("other"));
  plan.writes("--report", "");
  EXPECT_EQ(collision(plan), "");
}

TEST_F(Plan, NoTwoOutputsAreOneFile) {
  write_file(file("there"), "");
  fs::create_symlink("there", file("link"));
  fs::create_symlink("missing", file("dangling"));
  const std::pair<const char*, const char*> same[] = {{"there", "link"},
                                                      {"new", "new"},
                                                      {"new", "a/../new"},
                                                      {"missing", "dangling"},
                                                      {"a/b/new", "a/b/./new"}};
  for (const auto& [first, second] : same) {
    OutputPlan plan;
    plan.writes("-o", file(first));
    plan.writes("--labels", file(second));
    EXPECT_THAT(collision(plan), HasSubstr("-o and --labels would both go to")) << first;
  }
  OutputPlan below;
  below.writes("-o", file("new"));
  below.writes("--labels", file("new/labels"));
  EXPECT_THAT(collision(below), HasSubstr("cannot lie below -o"));

  OutputPlan apart;
  apart.writes("-o", file("new"));
  apart.writes("--labels", file("newer"));
  apart.writes("--plan", file("a/new"));
  EXPECT_EQ(collision(apart), "");
}

TEST_F(Plan, StandardOutputTakesOneThing) {
  OutputPlan plan;
  plan.writes("-o", "-");
  EXPECT_EQ(collision(plan), "");
  plan.prints_results();
  EXPECT_EQ(collision(plan),
            "-o and the results would both go to standard output: name a file of its own "
            "for each");
  OutputPlan nowhere;
  nowhere.writes("-o", "/dev/null");
  nowhere.writes("--report", "/dev/null");
  EXPECT_EQ(collision(nowhere), "") << "a device serves many";
}

TEST_F(Plan, StandardOutputIsAFileLikeOthers) {
  write_file(file("out"), "");
  const int status = in_child([&] {
    dup2(open(file("out").c_str(), O_WRONLY), STDOUT_FILENO);
    OutputPlan input;
    input.reads("RECORDING", file("out"));
    input.prints_results();
    if (collision(input).find("would overwrite RECORDING") == std::string::npos) return 1;
    OutputPlan output;
    output.prints_results();
    output.writes("-o", file("out"));
    return collision(output).find("would both go to") == std::string::npos ? 2 : 0;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(Plan, NothingComesIntoAFolderThatIsRead) {
  fs::create_directories(file("set/deep"));
  write_file(file("set/deep/a.txt"), "");
  fs::create_symlink("set", file("alias"));
  fs::create_hard_link(file("set/deep/a.txt"), file("outside"));
  for (const char* name : {"set/deep/a.txt", "set/new.txt", "alias/new.txt",
                           "set/deep/missing/new.txt", "outside"}) {
    OutputPlan plan;
    plan.reads_folder("FOLDER", file("set"), is_text);
    plan.writes("-o", file(name));
    EXPECT_THAT(collision(plan), HasSubstr("FOLDER")) << name;
  }
  OutputPlan plan;
  plan.reads_folder("FOLDER", file("set"), is_text);
  plan.writes("-o", file("set/model.xml"));
  plan.writes("--report", file("settle.txt"));
  EXPECT_EQ(collision(plan), "");
}

TEST_F(Plan, NothingIsWrittenWhereItIsLost) {
  OutputPlan plan;
  plan.loses(directory_.path());
  plan.writes("--log", file("log"));
  EXPECT_THAT(collision(plan), HasSubstr("--log " + file("log") + ": would be lost"));
}

// Closed descriptors must not become those of files, and results for them are lost.
TEST(StandardOutput, ThatIsClosedIsAnError) {
  const int status = in_child([] {
    for (int fd = 0; fd <= 2; ++fd) close(fd);
    prepare_descriptors();
    if (open("/dev/null", O_RDONLY) < 3) return 1;
    separate_results(LibraryPrints::kToStandardError);
    std::fputs("result", results());
    try {
      finish_results();
    } catch (const OutputError&) {
      return 0;
    }
    return 2;
  });
  EXPECT_EQ(status, 0);
}

TEST(StandardOutput, ReportsEveryLossOnce) {
  for (const bool separated : {false, true}) {
    const int status = in_child([&] {
      prepare_descriptors();
      dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
      if (separated) separate_results(LibraryPrints::kNowhere);
      require_results();
      write_results(std::string(100000, 'x'));
      int losses = 0;
      for (int i = 0; i < 2; ++i) {
        try {
          i == 0 ? require_results() : finish_results();
        } catch (const OutputError& error) {
          losses += error.what() == std::string(
                                        "standard output: cannot be written in full: "
                                        "No space left on device");
        }
      }
      return losses;
    });
    EXPECT_EQ(status, 1);
  }
}

TEST(StandardOutput, KeepsResultsApartFromWhatTheLibraryPrints) {
  TempDirectory directory;
  const std::string out = directory.file("out");
  const std::string err = directory.file("err");
  const int status = in_child([&] {
    dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
    dup2(open(err.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
    separate_results(LibraryPrints::kToStandardError);
    std::printf("library\n");
    std::fputs("result\n", results());
    write_output("-", "bytes\n");
    write_output("/dev/stdout", "more\n");
    finish_results();
    return 0;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(read_file(out), "result\nbytes\nmore\n");
  EXPECT_EQ(read_file(err), "library\n");
}
