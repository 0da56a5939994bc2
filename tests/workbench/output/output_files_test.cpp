// How everything that the tool makes gets onto the disk: targets, and temporary files.
#include "output/output_files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <set>

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
using ::testing::ThrowsMessage;

// The errno of exchanging files from now on, as of a file system that cannot; 0: it can.
static int exchange_error = 0;

// In the C library's place.
extern "C" int renameat2(int from_folder, const char* from, int to_folder, const char* to,
                         unsigned flags) noexcept {
  if (exchange_error == 0) {
    return static_cast<int>(
        syscall(SYS_renameat2, from_folder, from, to_folder, to, flags));
  }
  errno = exchange_error;
  return -1;
}

static std::set<std::string> names_in(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    names.insert(entry.path().filename());
  }
  return names;
}

static struct stat about(const std::string& path) {
  struct stat found = {};
  EXPECT_EQ(lstat(path.c_str(), &found), 0) << path;
  return found;
}

class Output : public ::testing::Test {
 protected:
  std::string file(const std::string& name) const { return directory_.file(name); }
  std::set<std::string> names() const { return names_in(directory_.path()); }

  TempDirectory directory_;
};

using OutputFilesTest = Output;
using TemporaryFiles = Output;

// As on file systems that know no files without names. The first of all tests: the
// handlers are installed once.
TEST_F(TemporaryFiles, WithNamesAreGoneAfterEverySignal) {
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    const int outcome = in_child([&] {
      std::signal(signal, SIG_DFL);
      const TemporaryFile first(directory_.path(), "a", TemporaryFile::Name::kHidden);
      const TemporaryFile second(directory_.path(), "b", TemporaryFile::Name::kHidden);
      if (names().size() != 2) return 1;
      raise(signal);
      return 2;
    });
    EXPECT_EQ(outcome, -signal);
    EXPECT_TRUE(names().empty());
  }
  const int ended = in_child([&]() -> int {
    const TemporaryFile file(directory_.path(), "a", TemporaryFile::Name::kHidden);
    std::exit(3);
  });
  EXPECT_EQ(ended, 3);
  EXPECT_TRUE(names().empty());
}

TEST_F(OutputFilesTest, AreNotThereBeforeTheyAreCommitted) {
  write_file(file("old"), "before");
  {
    OutputFiles files;
    files.write(file("old"), "after");
    files.write(file("new"), std::string(200000, 'x'));
    EXPECT_EQ(read_file(file("old")), "before");
    EXPECT_EQ(names(), std::set<std::string>{"old"});
  }
  EXPECT_EQ(read_file(file("old")), "before") << "without commit() nothing is written";

  OutputFiles files;
  files.write(file("old"), "after");
  files.write(file("new"), std::string(200000, 'x'));
  files.commit();
  EXPECT_EQ(read_file(file("old")), "after");
  EXPECT_EQ(read_file(file("new")), std::string(200000, 'x'));
  EXPECT_EQ(names(), (std::set<std::string>{"new", "old"}));
}

TEST_F(OutputFilesTest, KeepModeAndOwnerOfWhatWasThere) {
  const mode_t umask_before = umask(027);
  write_output(file("new"), "");
  umask(umask_before);
  EXPECT_EQ(about(file("new")).st_mode & 07777, 0640u) << "0666 without the umask";

  write_file(file("old"), "before");
  chmod(file("old").c_str(), 0604);
  const bool root = chown(file("old").c_str(), 1234, 4321) == 0;
  write_output(file("old"), "after");
  EXPECT_EQ(read_file(file("old")), "after");
  EXPECT_EQ(about(file("old")).st_mode & 07777, 0604u);
  if (root) {
    EXPECT_EQ(about(file("old")).st_uid, 1234u);
    EXPECT_EQ(about(file("old")).st_gid, 4321u);
  }
}

TEST_F(OutputFilesTest, FollowLinksAndLeaveThemLinks) {
  fs::create_directory(file("folder"));
  write_file(file("folder/target"), "before");
  fs::create_symlink("folder/target", file("one"));
  fs::create_symlink(file("one"), file("two"));
  fs::create_symlink("folder/missing", file("dangling"));
  write_output(file("two"), "after");
  write_output(file("dangling"), "made");
  EXPECT_EQ(read_file(file("folder/target")), "after");
  EXPECT_EQ(read_file(file("folder/missing")), "made");
  for (const char* link : {"one", "two", "dangling"}) {
    EXPECT_TRUE(fs::is_symlink(file(link))) << link;
  }
  EXPECT_EQ(names_in(file("folder")), (std::set<std::string>{"missing", "target"}));
}

TEST_F(OutputFilesTest, GoStraightIntoDevicesAndPipes) {
  make_device(file("null"), kNullDevice);
  make_device(file("full"), kFullDevice);
  write_output(file("null"), "gone");
  EXPECT_THAT([&] { write_output(file("full"), "lost"); },
              ThrowsMessage<OutputError>(
                  file("full") + ": cannot be written in full: No space left on device"));
  EXPECT_TRUE(fs::is_character_file(file("null")));
  EXPECT_TRUE(fs::is_character_file(file("full")));

  ASSERT_EQ(mkfifo(file("fifo").c_str(), 0600), 0);
  const int reader = open(file("fifo").c_str(), O_RDONLY | O_NONBLOCK);
  write_output(file("fifo"), "through");
  char read_back[16] = {};
  EXPECT_EQ(read(reader, read_back, sizeof read_back), 7);
  EXPECT_STREQ(read_back, "through");
  close(reader);
  EXPECT_TRUE(S_ISFIFO(about(file("fifo")).st_mode));
  EXPECT_EQ(names(), (std::set<std::string>{"fifo", "full", "null"}));
}

// A file that a shell opened behind a descriptor gets what is written at its own place.
TEST_F(OutputFilesTest, GoIntoDescriptorsByTheirNames) {
  const int fd = open(file("log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  ASSERT_EQ(write(fd, "first ", 6), 6);
  write_output("/dev/fd/" + std::to_string(fd), "second");
  EXPECT_EQ(read_file(file("log")), "first second");
  close(fd);
  EXPECT_THROW(write_output("/proc/self/fd/" + std::to_string(fd), "x"), UsageError);
}

TEST_F(OutputFilesTest, MakeMissingFoldersAndTakeThemAwayWhenTheyFail) {
  write_output(file("a/b/c"), "deep");
  EXPECT_EQ(read_file(file("a/b/c")), "deep");
  write_output(file("d/../e/f"), "beside");
  EXPECT_EQ(read_file(file("e/f")), "beside");
  EXPECT_FALSE(fs::exists(file("d")));

  OutputFiles files;
  files.write(file("g/h/i"), "made first");
  files.write(file("old"), "in the way");
  fs::create_directory(file("old"));
  EXPECT_THROW(files.commit(), OutputError);
  EXPECT_FALSE(fs::exists(file("g")));
}

// The last one fails when the others are in their places already.
TEST_F(OutputFilesTest, AreAllThereOrNone) {
  for (const char* old : {"replaced", "removed"}) write_file(file(old), old);
  OutputFiles files;
  files.write(file("new"), "new");
  files.write(file("replaced"), "after");
  files.remove(file("removed"));
  files.write(file("last"), "never");
  fs::create_directory(file("last"));
  EXPECT_THAT([&] { files.commit(); },
              ThrowsMessage<OutputError>(HasSubstr("last: cannot be written in full")));
  for (const char* old : {"replaced", "removed"}) EXPECT_EQ(read_file(file(old)), old);
  EXPECT_FALSE(fs::exists(file("new")));
}

TEST_F(OutputFilesTest, TakeAwayWhatIsToGo) {
  write_file(file("old"), "");
  OutputFiles files;
  files.write(file("new"), "");
  files.remove(file("old"));
  files.remove(file("never there"));
  files.commit();
  EXPECT_EQ(names(), std::set<std::string>{"new"});
}

TEST_F(OutputFilesTest, MayBeMoreThanTheProcessCouldOpenAtFirst) {
  const int status = in_child([&] {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_max < 100) return kChildCannot;
    limit.rlim_cur = 20;
    setrlimit(RLIMIT_NOFILE, &limit);
    OutputFiles files;
    for (int i = 0; i < 40; ++i) files.write(file(std::to_string(i)), "");
    files.commit();
    return static_cast<int>(names().size());
  });
  EXPECT_EQ(status, 40);
}

TEST_F(OutputFilesTest, FailWhereFilesAreLimitedInSize) {
  write_file(file("old"), "before");
  const int status = in_child([&] {
    prepare_descriptors();
    const rlimit limit = {1000, 1000};
    setrlimit(RLIMIT_FSIZE, &limit);
    try {
      write_output(file("old"), std::string(1001, 'x'));
    } catch (const OutputError&) {
      return 7;
    }
    return 0;
  });
  EXPECT_EQ(status, 7) << "an error of the call, not a signal";
  EXPECT_EQ(read_file(file("old")), "before");
  EXPECT_EQ(names(), std::set<std::string>{"old"});
}

TEST_F(OutputFilesTest, RefuseWhatCannotBeWritten) {
  const auto refusal = [](const std::string& path) -> std::string {
    try {
      write_output(path, "x");
    } catch (const UsageError& error) {
      return error.what();
    }
    return "";
  };
  write_file(file("plain"), "");
  fs::create_symlink("loop", file("loop"));
  fs::create_symlink("nowhere", file("gone"));
  EXPECT_THAT(refusal(directory_.path()), HasSubstr("it is a folder"));
  EXPECT_THAT(refusal(file("new") + "/"), HasSubstr("it names a folder"));
  EXPECT_THAT(refusal(file("plain/x")), HasSubstr("Not a directory"));
  EXPECT_THAT(refusal(file("loop")), HasSubstr("Too many levels of symbolic links"));
  EXPECT_THAT(refusal(file("gone/x")), HasSubstr("gone leads nowhere"));
  EXPECT_THAT(refusal(file(std::string(300, 'x'))), HasSubstr("File name too long"));
  EXPECT_THAT(refusal(""), HasSubstr("empty name"));
  EXPECT_EQ(names(), (std::set<std::string>{"gone", "loop", "plain"}));

  const int status = in_child([&] {
    fs::create_directory(file("closed"));
    write_file(file("closed/file"), "");
    chmod(file("closed").c_str(), 0555);
    chmod(file("plain").c_str(), 0444);
    if (!drop_capabilities()) return kChildCannot;
    if (refusal(file("plain")).find("Permission denied") == std::string::npos) return 1;
    if (refusal(file("closed/new")).find("nothing can be made") == std::string::npos)
      return 2;
    if (refusal(file("closed/file")).find("nothing can be made") == std::string::npos)
      return 3;
    return 0;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(TemporaryFiles, HaveNoNameWhereThatIsPossible) {
  const int possible = open(directory_.path().c_str(), O_TMPFILE | O_RDWR, 0600);
  if (possible < 0) GTEST_SKIP() << "this file system has no files without names";
  close(possible);
  const TemporaryFile file(directory_.path(), "a");
  EXPECT_TRUE(names().empty());
}

TEST_F(TemporaryFiles, GetTheirPlacesWithOrWithoutANameBefore) {
  for (const auto name :
       {TemporaryFile::Name::kNoneIfPossible, TemporaryFile::Name::kHidden}) {
    write_file(file("old"), "before");
    {
      TemporaryFile temporary(directory_.path(), "new", name);
      ASSERT_EQ(write(temporary.descriptor(), "after", 5), 5);
      EXPECT_FALSE(temporary.become(file("old"))) << "something is there";
      EXPECT_EQ(read_file(file("old")), "before");
      EXPECT_TRUE(temporary.replace(file("old")));
      EXPECT_EQ(read_file(file("old")), "after");
      EXPECT_TRUE(temporary.restore(file("old")));
      EXPECT_EQ(read_file(file("old")), "before");
      EXPECT_TRUE(temporary.become(file("new")));
      EXPECT_EQ(read_file(file("new")), "after");
    }
    EXPECT_EQ(names(), (std::set<std::string>{"new", "old"}));
    fs::remove(file("new"));
  }
}

// Only there is it sure to be on the same file system, and writable.
TEST_F(TemporaryFiles, KeepWhatTheyReplacedInItsOwnFolder) {
  write_file(file("old"), "before");
  const int status = in_child([&] {
    if (chdir("/") != 0) return kChildCannot;
    TemporaryFile absolute(directory_.path(), "old");
    if (!absolute.replace(file("old"))) return 1;
    if (names().size() != 2) return 2;
    if (chdir(directory_.path().c_str()) != 0) return kChildCannot;
    TemporaryFile relative(".", "old");
    if (!relative.replace("old")) return 3;
    return names().size() == 3 ? 0 : 4;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(names(), std::set<std::string>{"old"});
}

// The process ends by a signal, or by exit(), before what was replaced is let go.
TEST_F(TemporaryFiles, ReplaceForGoodWhereFilesCannotBeExchanged) {
  for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP, EACCES}) {
    write_file(file("old"), "before");
    {
      TemporaryFile temporary(directory_.path(), "old");
      ASSERT_EQ(write(temporary.descriptor(), "after", 5), 5);
      exchange_error = error;
      EXPECT_EQ(temporary.replace(file("old")), error != EACCES) << error;
      EXPECT_FALSE(temporary.restore(file("old")));
      exchange_error = 0;
    }
    EXPECT_EQ(read_file(file("old")), error != EACCES ? "after" : "before");
    EXPECT_EQ(names(), std::set<std::string>{"old"});
  }
}

TEST_F(TemporaryFiles, WhatTheyReplacedIsGoneAfterEveryEnd) {
  for (const int signal : {0, SIGTERM}) {
    write_file(file("old"), "before");
    const int outcome = in_child([&]() -> int {
      TemporaryFile temporary(directory_.path(), "old");
      if (!temporary.replace(file("old"))) return kChildCannot;
      if (signal != 0) raise(signal);
      std::exit(3);
    });
    EXPECT_EQ(outcome, signal != 0 ? -signal : 3);
    EXPECT_EQ(names(), std::set<std::string>{"old"});
    EXPECT_EQ(read_file(file("old")), "");
  }
}

TEST_F(OutputFilesTest, LeaveNoDescriptorOpen) {
  write_file(file("old"), "before");
  make_device(file("null"), kNullDevice);
  const size_t before = names_in("/proc/self/fd").size();
  {
    const TemporaryFile hidden(directory_.path(), "a", TemporaryFile::Name::kHidden);
    for (const char* name : {"new", "old", "null"}) write_output(file(name), "after");
    OutputFiles given_up;
    for (const char* name : {"newer", "old", "null"}) given_up.write(file(name), "");
  }
  EXPECT_EQ(names_in("/proc/self/fd").size(), before);
}

// A link with the temporary file's name, planted by somebody else, must not be followed.
TEST_F(TemporaryFiles, HaveNamesThatNobodyCanGuess) {
  std::set<std::string> names;
  for (int i = 0; i < 100; ++i) names.insert(hidden_name("folder"));
  EXPECT_EQ(names.size(), 100u);
  EXPECT_EQ(names.begin()->size(), std::string("folder/.wgr-").size() + 24);
}
