#include "context/WgrLog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/child.h"
#include "support/files.h"
#include "support/private_paths.h"

using namespace wgr;

namespace fs = std::filesystem;

static void log(const std::string& text) {
  std::string line = text;
  WgrLog(line.data());
}

class WgrLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::permissions(kLogDirectory, fs::perms::owner_all);
    clear_log();
  }
  void TearDown() override {
    fs::permissions(kLogDirectory, fs::perms::owner_all);
    clear_log();
  }
};

TEST_F(WgrLogTest, AppendsTheLineAndALineBreak) {
  log("update_gesture 123: ---gestype---:14");
  EXPECT_EQ(read_log(), "update_gesture 123: ---gestype---:14\n");
  log("");
  log("b");
  EXPECT_EQ(read_log(), "update_gesture 123: ---gestype---:14\n\nb\n");
}

TEST_F(WgrLogTest, KeepsWhatTheFileHeld) {
  write_file(kLogPath, "no line break");
  log("a");
  EXPECT_EQ(read_log(), "no line breaka\n");
}

// Also where offsets have 32 bits unless a program says otherwise.
TEST_F(WgrLogTest, GoesOnBehindTwoGigabytes) {
  constexpr std::uintmax_t kHuge = std::uintmax_t{5} << 30;
  write_file(kLogPath, "");
  std::error_code refused;
  fs::resize_file(kLogPath, kHuge, refused);
  if (refused) GTEST_SKIP() << "no file of 5 GiB: " << refused.message();
  log("a");
  EXPECT_EQ(fs::file_size(kLogPath), kHuge + 2);
}

TEST_F(WgrLogTest, TakesALineAsItIs) {
  log("100%s %n %d \\n");
  EXPECT_EQ(read_log(), "100%s %n %d \\n\n");
}

// Written directly, a line may be longer than those that are formatted here.
TEST_F(WgrLogTest, WritesALongLineWhole) {
  const std::string line(100000, 'x');
  log(line);
  EXPECT_EQ(read_log(), line + "\n");
}

TEST_F(WgrLogTest, WritesEveryLineOfTheTable) {
  WgrLogAt(kLogContextStart);
  WgrLogAt(kLogContextEnd);
  WgrLogAt(kLogInitDone);
  WgrLogAt(kLogSetModel, 1, 2, "/usr/share/GestureModel/olvo_model_5r_mix/hgr_olvo");
  WgrLogAt(kLogSetModelDone);
  WgrLogAt(kLogUpdateStart);
  WgrLogAt(kLogGestureType, 6);
  WgrLogAt(kLogEngineStart);
  WgrLogAt(kLogEngineCwd, "/usr/share");
  WgrLogAt(kLogModelLoaded);
  WgrLogAt(kLogModelFailed, "/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo");
  WgrLogAt(kLogEngineEnd);
  WgrLogAt(kLogDetectorStart);
  WgrLogAt(kLogDetectorGiven);
  WgrLogAt(kLogDetectorOwn);
  WgrLogAt(kLogDetectorEnd);
  WgrLogAt(kLogPredict, 11, 5, 1, 0);
  EXPECT_EQ(read_log(),
            "WgrContext 36: WgrConstruct start\n"
            "WgrContext 44: WgrConstruct end\n"
            "init_gesture_handle 68: ---init_gesture_handle success\n"
            "set_gesture_model 81: ---setmode----hand type:1, mode:2, "
            "path:/usr/share/GestureModel/olvo_model_5r_mix/hgr_olvo\n"
            "set_gesture_model 87: ---set_hand_model success\n"
            "update_gesture 115: update_gesture start\n"
            "update_gesture 123: ---gestype---:6\n"
            "AgGes 14: AgGes start\n"
            "AgGes 40: /usr/share\n"
            "AgGes 50: Load model success!\n"
            "AgGes 60: ERROR: load model failed! "
            "Path:/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo\n"
            "AgGes 70: AgGes end\n"
            "WHD 623: WHD start\n"
            "WHD 635: pp is NON NULL\n"
            "WHD 647: pp is NON NULL\n"
            "WHD 658: WHD end\n"
            "predict 336: nTemplate:11, nclasses:5, normalize:1, havegravity:0\n");
}

TEST_F(WgrLogTest, FormatsAnyNumber) {
  WgrLogAt(kLogPredict, 2147483647, -2147483647 - 1, 0, -1);
  EXPECT_EQ(read_log(),
            "predict 336: nTemplate:2147483647, nclasses:-2147483648, normalize:0, "
            "havegravity:-1\n");
}

// A percent sign in a directory's name is no format.
TEST_F(WgrLogTest, TakesAPathAsItIs) {
  WgrLogAt(kLogEngineCwd, "/a %s%n dir");
  EXPECT_EQ(read_log(), "AgGes 40: /a %s%n dir\n");
}

// Message and line are both cut to 255 characters: "AgGes 40: " and 245 more.
TEST_F(WgrLogTest, CutsAFormattedLineTo255Characters) {
  for (const size_t length : {244u, 245u, 246u, 255u, 256u, 5000u}) {
    clear_log();
    WgrLogAt(kLogEngineCwd, std::string(length, 'd').c_str());
    EXPECT_EQ(read_log(),
              "AgGes 40: " + std::string(std::min<size_t>(length, 245), 'd') + "\n")
        << length;
  }
}

TEST_F(WgrLogTest, MakesTheFileAnewWhenItWasRenamedOrRemoved) {
  log("first");
  fs::rename(kLogPath, kLogDirectory + "/old.txt");
  log("second");
  EXPECT_EQ(read_file(kLogDirectory + "/old.txt"), "first\n");
  EXPECT_EQ(read_log(), "second\n");
  fs::remove(kLogPath);
  log("third");
  EXPECT_EQ(read_log(), "third\n");
}

TEST_F(WgrLogTest, WritesAtTheEndOfAFileThatOthersShortenAndExtend) {
  log("first");
  fs::resize_file(kLogPath, 2);
  log("second");
  EXPECT_EQ(read_log(), "fisecond\n");
  std::ofstream(kLogPath, std::ios::app) << "theirs\n";
  log("third");
  EXPECT_EQ(read_log(), "fisecond\ntheirs\nthird\n");
}

static size_t open_files() {
  const auto files = fs::directory_iterator("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

TEST_F(WgrLogTest, HoldsNoFileOpenBetweenLines) {
  const size_t before = open_files();
  for (int i = 0; i < 100; ++i) WgrLogAt(kLogGestureType, i);
  EXPECT_EQ(open_files(), before);
  // Nor when lines are dropped.
  fs::remove(kLogPath);
  fs::create_directory(kLogPath);
  for (int i = 0; i < 100; ++i) WgrLogAt(kLogGestureType, i);
  EXPECT_EQ(open_files(), before);
}

TEST_F(WgrLogTest, LeavesTheModeOfANewFileToTheHost) {
  const mode_t mask = umask(027);
  log("a");
  umask(mask);
  EXPECT_EQ(fs::status(kLogPath).permissions(), static_cast<fs::perms>(0640));
}

// Lines of several writers come whole, in whatever order.
TEST_F(WgrLogTest, KeepsTheLinesOfSeveralWritersWhole) {
  constexpr int kWriters = 4;
  constexpr int kLines = 1000;
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([w] {
      for (int i = 0; i < kLines; ++i) WgrLogAt(kLogPredict, w, i, w, i);
    });
  }
  for (std::thread& writer : writers) writer.join();

  std::istringstream lines(read_log());
  int next[kWriters] = {};
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    int w = -1, i = -1;
    ASSERT_EQ(std::sscanf(line.c_str(), "predict 336: nTemplate:%d, nclasses:%d", &w, &i),
              2)
        << line;
    ASSERT_TRUE(w >= 0 && w < kWriters) << line;
    ASSERT_EQ(i, next[w]++) << line;
    ASSERT_EQ(line, "predict 336: nTemplate:" + std::to_string(w) + ", nclasses:" +
                        std::to_string(i) + ", normalize:" + std::to_string(w) +
                        ", havegravity:" + std::to_string(i));
  }
  EXPECT_EQ(count, kWriters * kLines);
}

// ---- a log that cannot be written: the line is dropped without a word ----

// Logs in a child that `prepare` has put in some straits; nothing may be printed.
static int log_in_child(const std::function<bool()>& prepare) {
  Capture out(STDOUT_FILENO);
  Capture err(STDERR_FILENO);
  const int status = in_child([&] {
    if (!prepare()) return kChildCannot;
    log("dropped");
    WgrLogAt(kLogGestureType, 6);
    return 0;
  });
  EXPECT_EQ(err.finish(), "");
  EXPECT_EQ(out.finish(), "");
  return status;
}

TEST_F(WgrLogTest, DropsLinesWhenTheDirectoryIsMissing) {
  const TempDirectory empty;
  const int status = log_in_child([&] { return enter_empty_root(empty.path()); });
  if (status == kChildCannot) GTEST_SKIP() << "this machine forbids a root of its own";
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(fs::is_empty(empty.path()));  // nor was it made
}

TEST_F(WgrLogTest, DropsLinesWhenThePathIsADirectory) {
  fs::create_directory(kLogPath);
  EXPECT_EQ(log_in_child([] { return true; }), 0);
  EXPECT_TRUE(fs::is_empty(kLogPath));
}

TEST_F(WgrLogTest, DropsLinesWhenTheFileIsReadOnly) {
  write_file(kLogPath, "before\n");
  fs::permissions(kLogPath, fs::perms::owner_read);
  ASSERT_EQ(log_in_child(drop_capabilities), 0);
  EXPECT_EQ(read_log(), "before\n");
}

// Opened to append and to read; a file that may only be written is no log.
TEST_F(WgrLogTest, DropsLinesWhenTheFileCannotBeRead) {
  write_file(kLogPath, "before\n");
  fs::permissions(kLogPath, fs::perms::owner_write);
  ASSERT_EQ(log_in_child(drop_capabilities), 0);
  fs::permissions(kLogPath, fs::perms::owner_all);
  EXPECT_EQ(read_log(), "before\n");
}

TEST_F(WgrLogTest, DropsLinesWhenTheDirectoryIsReadOnly) {
  fs::permissions(kLogDirectory, fs::perms::owner_read | fs::perms::owner_exec);
  ASSERT_EQ(log_in_child(drop_capabilities), 0);
  EXPECT_FALSE(fs::exists(kLogPath));
}

TEST_F(WgrLogTest, DropsLinesWhenTheDiskIsFull) {
  ASSERT_TRUE(fs::exists("/dev/full"));
  fs::create_symlink("/dev/full", kLogPath);
  EXPECT_EQ(log_in_child([] { return true; }), 0);
}

TEST_F(WgrLogTest, DropsLinesWhenTheLinkLeadsNowhere) {
  fs::create_symlink(kLogPath, kLogPath);  // a loop
  EXPECT_EQ(log_in_child([] { return true; }), 0);
  fs::remove(kLogPath);
  fs::create_symlink(kLogDirectory + "/missing/log.txt", kLogPath);
  EXPECT_EQ(log_in_child([] { return true; }), 0);
  EXPECT_FALSE(fs::exists(kLogDirectory + "/missing"));
}

// Lines of one length, and how many of them the log holds; -1 where it holds anything
// else.
static std::string numbered(int i) {
  return "AgGes 40: " + std::string(90, 'd') + std::to_string(1000000 + i);
}

static int whole_lines() {
  std::istringstream lines(read_log());
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    if (line != numbered(count)) return -1;
  }
  return read_log().size() == static_cast<size_t>(count) * (numbered(0).size() + 1)
             ? count
             : -1;
}

static constexpr int kNumberedSize = 108;  // bytes of such a line, its break included
static constexpr int kRoom = 65536;        // bytes, a number of whole pages
static constexpr int kLinesThatFit = kRoom / kNumberedSize;  // and a part of another

static void log_too_many() {
  for (int i = 0; i < 2 * kLinesThatFit; ++i) log(numbered(i));
}

TEST_F(WgrLogTest, TheDiskBecomesFullBetweenTwoLines) {
  const int status = in_child([]() -> int {
    if (mount("tmpfs", kLogDirectory.c_str(), "tmpfs", 0,
              ("size=" + std::to_string(kRoom)).c_str()) != 0) {
      return kChildCannot;
    }
    log_too_many();
    const bool full = whole_lines() == kLinesThatFit;
    umount(kLogDirectory.c_str());
    std::exit(full ? 0 : 1);
  });
  if (status == kChildCannot) GTEST_SKIP() << "no file system can be mounted here";
  EXPECT_EQ(status, 0);
}

// ---- a limit of the process on the size of its files: a write beyond brings a signal
// ----

static bool limit_files(rlim_t most) {
  rlimit limit = {};
  if (getrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
  limit.rlim_cur = most;
  return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

// Above all where the last line has filled the file up to the limit.
TEST_F(WgrLogTest, ALimitOfTheProcessIsNotPassed) {
  for (const int room : {kRoom, kLinesThatFit * kNumberedSize}) {
    clear_log();
    EXPECT_EQ(in_child([room]() -> int {
                if (!limit_files(static_cast<rlim_t>(room))) return kChildCannot;
                log_too_many();
                std::exit(0);
              }),
              0)
        << room;
    EXPECT_EQ(whole_lines(), kLinesThatFit) << room;
  }
}

// Between any two lines, whatever the file's size by then.
TEST_F(WgrLogTest, ALimitThatIsSetMeanwhileIsMetByTheNextLine) {
  EXPECT_EQ(
      in_child([]() -> int {
        for (int i = 0; i < 5; ++i) log(numbered(i));
        const auto size = static_cast<rlim_t>(fs::file_size(kLogPath));
        const rlim_t without_room[] = {size, size + 1, size + kNumberedSize - 1, 1, 0};
        rlimit before = {};
        if (getrlimit(RLIMIT_FSIZE, &before) != 0) return kChildCannot;
        for (const rlim_t most : without_room) {
          if (!limit_files(most)) return kChildCannot;
          log("dropped " + std::string(100, 'd'));
          WgrLogAt(kLogPredict, 1, 2, 3, 4);  // as long as there is room for it
        }
        if (!limit_files(before.rlim_cur)) return kChildCannot;
        log("again");
        std::exit(0);
      }),
      0);
  std::string expected;
  for (int i = 0; i < 5; ++i) expected += numbered(i) + "\n";
  const std::string predict =
      "predict 336: nTemplate:1, nclasses:2, normalize:3, havegravity:4\n";
  EXPECT_EQ(read_log(), expected + predict + "again\n");
}

TEST_F(WgrLogTest, ProcessesThatMeetTheLimitAtTheSameTimeAllGoOn) {
  constexpr int kProcesses = 4;
  for (int round = 0; round < 5; ++round) {
    clear_log();
    pid_t children[kProcesses] = {};
    for (pid_t& child : children) {
      child = fork();
      if (child != 0) continue;
      alarm(kChildSeconds);
      const bool limited = limit_files(kRoom);
      for (int i = 0; i < 4 * kLinesThatFit && limited; ++i) log(numbered(0));
      _exit(limited ? 0 : kChildCannot);
    }
    for (const pid_t child : children) {
      int status = -1;
      EXPECT_EQ(waitpid(child, &status, 0), child);
      EXPECT_EQ(status, 0);
    }
    std::string expected;
    for (int i = 0; i < kLinesThatFit; ++i) expected += numbered(0) + "\n";
    EXPECT_EQ(read_log(), expected);
  }
}

// The first descriptor is 0 then; what failed long before does not matter.
TEST_F(WgrLogTest, WritesOnceAndClosesWhenTheHostHasClosedItsInput) {
  EXPECT_EQ(in_child([] {
              close(STDIN_FILENO);
              errno = EINTR;
              log("line");
              return fcntl(STDIN_FILENO, F_GETFD) < 0 ? 0 : 1;
            }),
            0);
  EXPECT_EQ(read_log(), "line\n");
}

TEST_F(WgrLogTest, DropsLinesWhenNoMoreFilesCanBeOpened) {
  const auto allow_no_more_files = [] {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
    limit.rlim_cur = 0;
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
  };
  EXPECT_EQ(log_in_child(allow_no_more_files), 0);
  EXPECT_EQ(read_log(), "");
}

// The pipe takes 64 KiB; a host that logs more must not wait for a reader.
TEST_F(WgrLogTest, NeverWaitsForTheReaderOfAPipe) {
  ASSERT_EQ(mkfifo(kLogPath.c_str(), 0600), 0);
  const int keeps_it_full = open(kLogPath.c_str(), O_RDWR | O_NONBLOCK);
  ASSERT_GE(keeps_it_full, 0);
  EXPECT_EQ(log_in_child([] {
              for (int i = 0; i < 3000; ++i) WgrLogAt(kLogPredict, i, i, i, i);
              return true;
            }),
            0);
  char first[64] = {};
  EXPECT_GT(read(keeps_it_full, first, 63), 0);
  EXPECT_EQ(std::strncmp(first, "predict 336: nTemplate:0,", 25), 0) << first;
  close(keeps_it_full);
}

TEST_F(WgrLogTest, DoesNotWaitForAPipeThatNobodyOpened) {
  ASSERT_EQ(mkfifo(kLogPath.c_str(), 0600), 0);
  EXPECT_EQ(log_in_child([] { return true; }), 0);
}

TEST_F(WgrLogTest, WritesAgainOnceItCan) {
  fs::create_directory(kLogPath);
  log("dropped");
  fs::remove(kLogPath);
  log("written");
  EXPECT_EQ(read_log(), "written\n");
}
