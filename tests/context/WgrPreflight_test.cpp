#include "WgrPreflight.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "WgrInterface.h"
#include "context/WgrLog.h"
#include "support/child.h"
#include "support/installed_models.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Findings = std::vector<std::pair<int, std::string>>;

static void collect(int weight, const char* text, void* findings) {
  static_cast<Findings*>(findings)->emplace_back(weight, text);
}

static std::string model_path(int index) {
  return std::string(c_GmodelPath[index]) + ".xml";
}

// A model without a fault: one class, whose template is a unit trace with its gravity.
static Gmodel faultless(int label) {
  Gmodel model;
  model.nclasses = 1;
  model.nTemplate = 1;
  model.normalize = 1;
  model.havegravity = 1;
  model.class_labels = {label};
  model.class_thresholds = {-0.5};
  model.templates = {{label, {{1, 0, 0}, {0, -1, 0}, {0, 0, 9.8}}}};
  return model;
}

// What is said of a log that cannot be written.
static std::string dropped(const std::string& reason) {
  return "/home/app/WgrLog.txt: cannot be written: " + reason +
         "; the diagnostic log is dropped";
}

// What is said of a working directory that cannot be restored.
static std::string not_restored(const std::string& reason) {
  return "the working directory cannot be restored: " + reason +
         "; after create_gesture_handle() the process stays in /usr/share";
}

// Runs `body` on a thread to which file modes hold even when it is root's; false where
// that cannot be had. The thread ends, and its lack of rights with it.
static bool without_capabilities(const std::function<void()>& body) {
  bool dropped = false;
  std::thread([&] {
    dropped = drop_capabilities();
    if (dropped) body();
  }).join();
  return dropped;
}

// Another working directory for the time of a test.
class Inside {
 public:
  explicit Inside(const std::string& path) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~Inside() { std::filesystem::current_path(before_); }
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;

 private:
  const std::filesystem::path before_;
};

class Preflight : public ::testing::Test {
 protected:
  void SetUp() override {
    clear_log();
    for (int i = 0; i < kWearers * kModes; ++i) install_model(i, faultless(20 + i));
  }

  int check() {
    findings_.clear();
    return preflight_gesture_library(collect, &findings_);
  }

  Findings findings_;
};

TEST_F(Preflight, FindsNothingWhereEverythingIsInPlaceAndMakesNoLog) {
  EXPECT_EQ(check(), WG_PREFLIGHT_CLEAN);
  EXPECT_THAT(findings_, IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(kWgrLogPath));
}

TEST_F(Preflight, NeedsNobodyToTell) {
  EXPECT_EQ(preflight_gesture_library(nullptr, nullptr), WG_PREFLIGHT_CLEAN);
  std::filesystem::remove(model_path(kDefaultModel));
  EXPECT_EQ(preflight_gesture_library(nullptr, nullptr), WG_PREFLIGHT_FATAL);
}

TEST_F(Preflight, AMissingDefaultModelIsFatalAndAnyOtherAFault) {
  for (int i = 0; i < kWearers * kModes; ++i) {
    SetUp();
    std::filesystem::remove(model_path(i));
    EXPECT_EQ(check(), i == kDefaultModel ? WG_PREFLIGHT_FATAL : WG_PREFLIGHT_FAULT);
    ASSERT_FALSE(findings_.empty());
    EXPECT_EQ(findings_[0].second,
              model_path(i) + ": cannot be read: No such file or directory");
    ASSERT_EQ(findings_.size(), i == kDefaultModel ? 2u : 1u);
    EXPECT_EQ(findings_.back().first,
              i == kDefaultModel ? WG_PREFLIGHT_FATAL : WG_PREFLIGHT_FAULT);
    if (i != kDefaultModel) continue;
    EXPECT_EQ(
        findings_[1].second,
        model_path(i) + ": create_gesture_handle() would end the process, with status 0");
  }
}

// What it calls fatal ends the process, what it does not, does not.
TEST_F(Preflight, FatalIsWhatEndsTheProcess) {
  const char* const files[] = {"-1 0 0 0\n", "1 1 1 1\n3\n0\n3 -1\n", "", "nonsense\n"};
  for (const char* text : files) {
    write_file(model_path(kDefaultModel), text);
    const bool fatal = check() == WG_PREFLIGHT_FATAL;
    const int status = in_child([] {
      Capture printing;
      WgrHandle handle = create_gesture_handle();
      destroy_gesture_handle(&handle);
      return 7;
    });
    EXPECT_EQ(status, fatal ? 0 : 7) << text;
  }
}

TEST_F(Preflight, AFaultOfAModelComesWithFileAndLine) {
  Gmodel model = faultless(13);
  install_model(4, model);
  EXPECT_EQ(check(), WG_PREFLIGHT_FAULT);
  ASSERT_EQ(findings_.size(), 1u);
  EXPECT_EQ(findings_[0].first, WG_PREFLIGHT_FAULT);
  EXPECT_THAT(findings_[0].second, StartsWith(model_path(4) + ":2: the label 13 is"));
}

TEST_F(Preflight, AModelThatMayNotBeReadIsAFault) {
  ASSERT_EQ(chmod(model_path(4).c_str(), 0), 0);
  int heaviest = -1;
  const bool ran = without_capabilities([&] { heaviest = check(); });
  chmod(model_path(4).c_str(), 0644);
  if (!ran) GTEST_SKIP() << "capabilities cannot be dropped here";
  EXPECT_EQ(heaviest, WG_PREFLIGHT_FAULT);
  ASSERT_EQ(findings_.size(), 1u);
  EXPECT_EQ(findings_[0].second, model_path(4) + ": cannot be read: Permission denied");
}

TEST_F(Preflight, ALogThatIsDroppedIsANote) {
  std::filesystem::create_directory(kWgrLogPath);
  EXPECT_EQ(check(), WG_PREFLIGHT_NOTE);
  ASSERT_EQ(findings_.size(), 1u);
  EXPECT_EQ(findings_[0].second, dropped("Is a directory"));

  clear_log();
  ASSERT_EQ(mkfifo(kWgrLogPath, 0600), 0);
  EXPECT_EQ(check(), WG_PREFLIGHT_NOTE);
  EXPECT_EQ(findings_[0].second, dropped("it is not a regular file"));
  clear_log();
}

TEST_F(Preflight, ALogThatIsThereAndWritableStaysAsItIs) {
  write_file(kWgrLogPath, "a line\n");
  EXPECT_EQ(check(), WG_PREFLIGHT_CLEAN);
  EXPECT_EQ(read_file(kWgrLogPath), "a line\n");
}

TEST_F(Preflight, ADirectoryThatForbidsTheLogIsANote) {
  ASSERT_EQ(chmod("/home/app", 0555), 0);
  int heaviest = -1;
  const bool ran = without_capabilities([&] { heaviest = check(); });
  chmod("/home/app", 0755);
  if (!ran) GTEST_SKIP() << "capabilities cannot be dropped here";
  EXPECT_EQ(heaviest, WG_PREFLIGHT_NOTE);
  ASSERT_EQ(findings_.size(), 1u);
  EXPECT_EQ(findings_[0].second, dropped("/home/app: Permission denied"));
}

// For a thread: a file system of one page, without a free one, in the log's place.
static bool fill_the_logs_disk() {
  if (unshare(CLONE_NEWNS) != 0 ||
      mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("tmpfs", "/home/app", "tmpfs", 0, "size=4k") != 0) {
    return false;
  }
  std::ofstream("/home/app/other") << "one byte takes the page";
  return true;
}

TEST_F(Preflight, ADiskWithoutSpaceForTheLogIsANote) {
  bool full = false;
  int heaviest = -1;
  std::thread([&] {
    full = fill_the_logs_disk();
    if (full) heaviest = check();
  }).join();
  if (!full) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(heaviest, WG_PREFLIGHT_NOTE);
  ASSERT_EQ(findings_.size(), 1u);
  EXPECT_EQ(findings_[0].second, dropped("no space is left on its file system"));
}

TEST_F(Preflight, WithoutItsPlacesTheLibraryCannotStart) {
  TempDirectory empty;
  const int status = in_child([&] {
    if (!enter_empty_root(empty.path())) return kChildCannot;
    if (check() != WG_PREFLIGHT_FATAL) return 1;
    // Six models, one more word on the default, and the log.
    return findings_.size() == 8 ? 0 : 2;
  });
  if (status == kChildCannot) GTEST_SKIP() << "another root cannot be entered here";
  EXPECT_EQ(status, 0);
}

TEST_F(Preflight, AWorkingDirectoryThatIsGoneCannotBeRestored) {
  const TempDirectory directory;
  const Inside inside(directory.path());
  std::filesystem::remove(directory.path());
  EXPECT_EQ(check(), WG_PREFLIGHT_FAULT);
  ASSERT_EQ(findings_.size(), 1u);
  EXPECT_EQ(findings_[0].second, not_restored("No such file or directory"));
}

TEST_F(Preflight, AWorkingDirectoryWithALongPathCannotBeRestored) {
  const TempDirectory directory;
  std::string path = directory.path();
  while (path.size() < 300) path += "/" + std::string(50, 'd');
  std::filesystem::create_directories(path);
  const Inside inside(path);
  EXPECT_EQ(check(), WG_PREFLIGHT_FAULT);
  ASSERT_EQ(findings_.size(), 1u);
  EXPECT_EQ(findings_[0].second, not_restored("its path has more than 255 characters"));
  // And indeed it is not.
  EXPECT_EQ(in_child([] {
              Capture printing;
              WgrHandle handle = create_gesture_handle();
              destroy_gesture_handle(&handle);
              return std::filesystem::current_path() == "/usr/share" ? 0 : 1;
            }),
            0);
}

TEST_F(Preflight, AWorkingDirectoryThatMayNotBeEnteredAgainCannotBeRestored) {
  const TempDirectory directory;
  const Inside inside(directory.path());
  ASSERT_EQ(chmod(directory.path().c_str(), 0), 0);
  int heaviest = -1;
  const bool ran = without_capabilities([&] { heaviest = check(); });
  chmod(directory.path().c_str(), 0700);
  if (!ran) GTEST_SKIP() << "capabilities cannot be dropped here";
  EXPECT_EQ(heaviest, WG_PREFLIGHT_FAULT);
  ASSERT_EQ(findings_.size(), 1u);
  EXPECT_EQ(findings_[0].second,
            directory.path() + ": " + not_restored("Permission denied"));
}
