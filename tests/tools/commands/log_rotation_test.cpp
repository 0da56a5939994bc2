// The log is renamed away under a host that writes it: no line is lost or torn.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "context/WgrLog.h"
#include "support/files.h"
#include "support/private_paths.h"
#include "tools/run_wgr.h"

using namespace wgr;

// Logs numbered lines on a thread of its own until it is stopped.
class Writer {
 public:
  Writer() : thread_([this] { run(); }) {}
  ~Writer() {
    if (thread_.joinable()) stop();
  }

  void await(int lines) const {
    const int enough = written_ + lines;
    while (written_ < enough) std::this_thread::yield();
  }

  // How many lines it has written.
  int stop() {
    stopped_ = true;
    thread_.join();
    return written_;
  }

 private:
  void run() {
    while (!stopped_) {
      WgrLogAt(kLogGestureType, written_.load());
      ++written_;
    }
  }

  std::atomic<int> written_ = 0;
  std::atomic<bool> stopped_ = false;
  std::thread thread_;
};

// The text of logs, the oldest first.
static std::string joined(const std::vector<std::string>& files) {
  std::string text;
  for (const std::string& file : files) text += read_file(file);
  return text;
}

static std::string expected(int lines) {
  std::string text;
  for (int i = 0; i < lines; ++i) {
    text += "update_gesture 123: ---gestype---:" + std::to_string(i) + "\n";
  }
  return text;
}

class LogRotation : public ::testing::Test {
 protected:
  void SetUp() override { clear_log(); }
  void TearDown() override { clear_log(); }
};

TEST_F(LogRotation, RenamingLosesNoLine) {
  std::vector<std::string> all;
  Writer writer;
  for (int i = 0; i < 40; ++i) {
    writer.await(500);
    all.push_back(kLogPath + "." + std::to_string(i));
    std::filesystem::rename(kLogPath, all.back());
  }
  writer.await(500);
  const int lines = writer.stop();
  all.push_back(kLogPath);
  // In their order, too. A comparison of the texts would print them.
  EXPECT_TRUE(joined(all) == expected(lines));

  std::string words = "log --json";
  for (const std::string& file : all) words += " " + file;
  const Outcome outcome = run_wgr(words);
  const size_t last = outcome.out.rfind('\n', outcome.out.size() - 2) + 1;
  const nlohmann::json sum = nlohmann::json::parse(outcome.out.substr(last));
  EXPECT_EQ(sum["samples"], lines);
  EXPECT_EQ(sum["torn"], 0);
  EXPECT_EQ(sum["foreign"], 0);
}

TEST_F(LogRotation, TheRecipeRotatesAndLosesNoLine) {
  if (run_command("PATH=$PATH:/usr/sbin:/sbin command -v logrotate").status != 0) {
    GTEST_SKIP() << "logrotate is not installed";
  }
  const TempDirectory directory;
  const std::string recipe = directory.file("wgr");
  const std::string whole = read_file(std::string(WGR_ROOT) + "/share/wgr.logrotate");
  const size_t rotations = 4;
  ASSERT_NE(whole.find("rotate 4\n"), std::string::npos);
  write_file(recipe, whole);
  std::filesystem::permissions(recipe, std::filesystem::perms(0644));
  const std::string rotate = "PATH=$PATH:/usr/sbin:/sbin logrotate --force --state " +
                             directory.file("state") + " " + recipe;
  Writer writer;
  for (size_t i = 0; i < rotations; ++i) {
    writer.await(500);
    const Outcome outcome = run_command(rotate);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }
  writer.await(500);
  const int lines = writer.stop();
  std::vector<std::string> files;
  for (const char* end : {".4.gz", ".3.gz", ".2.gz", ".1", ""}) {
    const std::string file = kLogPath + end;
    if (std::filesystem::exists(file)) files.push_back(file);
  }
  ASSERT_EQ(files.size(), rotations + 1);
  std::string text;
  for (const std::string& file : files) {
    const bool packed = file.size() > 3 && file.substr(file.size() - 3) == ".gz";
    text += packed ? run_command("gzip -dc " + file).out : read_file(file);
  }
  EXPECT_TRUE(text == expected(lines));
}
