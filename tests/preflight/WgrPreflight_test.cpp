#include "WgrPreflight.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cfenv>
#include <cfloat>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "WgrInterface.h"
#include "context/WgrLog.h"
#include "support/child.h"
#include "support/installed_models.h"

#ifdef __SSE2__
#include <xmmintrin.h>
#endif

using namespace wgr;

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
      mount("tmpfs", "/home/app", "tmpfs", 0, "size=4k,mode=755") != 0) {
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

// ---- who else lays hands on the log --------------------------------------------------

TEST_F(Preflight, ALogThatIsALinkIsANoteWhereverItLeads) {
  const TempDirectory elsewhere;
  for (const std::string name : {"there.txt", "not-yet.txt"}) {
    clear_log();
    write_file(elsewhere.file("there.txt"), "");
    std::filesystem::create_symlink(elsewhere.file(name), kWgrLogPath);
    EXPECT_EQ(check(), WG_PREFLIGHT_NOTE);
    ASSERT_EQ(findings_.size(), 1u);
    EXPECT_EQ(findings_[0].first, WG_PREFLIGHT_NOTE);
    EXPECT_EQ(
        findings_[0].second,
        "/home/app/WgrLog.txt: is a link: lines are written to " + elsewhere.file(name));
  }
  clear_log();
}

TEST_F(Preflight, AFolderThatEveryUserCanWriteToIsANote) {
  const struct {
    mode_t mode;
    bool open;
  } cases[] = {{0777, true}, {01777, true}, {0702, true}, {0775, false}, {0755, false}};
  for (const auto& c : cases) {
    ASSERT_EQ(chmod("/home/app", c.mode), 0);
    const int heaviest = check();
    chmod("/home/app", 0755);
    EXPECT_EQ(heaviest, c.open ? WG_PREFLIGHT_NOTE : WG_PREFLIGHT_CLEAN) << c.mode;
    ASSERT_EQ(findings_.size(), c.open ? 1u : 0u);
    if (!c.open) continue;
    EXPECT_EQ(findings_[0].second,
              "/home/app: every user can write here, and replace the log by a link");
  }
}

// ---- the floating-point environment --------------------------------------------------

// Runs `body` on a thread of its own, whose arithmetic ends with it.
static void on_a_thread(const std::function<void()>& body) { std::thread(body).join(); }

TEST_F(Preflight, AnotherRoundingIsAFaultAndStays) {
#ifdef FE_UPWARD
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    bool set = false, stayed = false;
    int heaviest = -1;
    on_a_thread([&] {
      set = std::fesetround(mode) == 0 && std::fegetround() == mode;
      heaviest = check();
      stayed = std::fegetround() == mode;
    });
    if (!set) GTEST_SKIP() << "nothing but rounding to nearest can be had here";
    EXPECT_EQ(heaviest, WG_PREFLIGHT_FAULT);
    ASSERT_EQ(findings_.size(), 1u);
    EXPECT_EQ(findings_[0].second,
              "this thread does not round to nearest: all results differ in their bits");
    EXPECT_TRUE(stayed);
  }
#else
  GTEST_SKIP() << "nothing but rounding to nearest is known here";
#endif
}

// Bits of the control word of SSE.
TEST_F(Preflight, DenormalsThatAreZerosAreAFaultAsResultsAndAsOperands) {
#ifdef __SSE2__
  for (const unsigned bit : {0x8000u, 0x0040u}) {
    bool set = false, stayed = false;
    int heaviest = -1;
    on_a_thread([&] {
      _mm_setcsr(_mm_getcsr() | bit);
      volatile double smallest = DBL_MIN, denormal = DBL_TRUE_MIN;
      set = smallest / 2 == 0 || denormal / DBL_EPSILON == 0;
      heaviest = check();
      stayed = (_mm_getcsr() & bit) != 0;
    });
    if (!set) GTEST_SKIP() << "the bit has no effect here";
    EXPECT_EQ(heaviest, WG_PREFLIGHT_FAULT);
    ASSERT_EQ(findings_.size(), 1u);
    EXPECT_EQ(
        findings_[0].second,
        "this thread takes denormal numbers for zeros: results that meet one differ");
    EXPECT_TRUE(stayed);
  }
#else
  GTEST_SKIP() << "how denormals are switched off is known here for SSE alone";
#endif
}

TEST_F(Preflight, TheFlagsOfExceptionsStayAsTheyWere) {
  std::feclearexcept(FE_ALL_EXCEPT);
  std::feraiseexcept(FE_DIVBYZERO);
  if (std::fetestexcept(FE_ALL_EXCEPT) != FE_DIVBYZERO) GTEST_SKIP() << "no flags here";
  EXPECT_EQ(check(), WG_PREFLIGHT_CLEAN);
  EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), FE_DIVBYZERO);
  std::feclearexcept(FE_ALL_EXCEPT);
}

#ifdef WGR_SANITIZED
static constexpr bool kSanitized = true;
#else
static constexpr bool kSanitized = false;
#endif

#ifdef __GLIBC__
// Answers the signal that ends a host which traps `exceptions`, or 0.
static int end_of_a_host_that_traps(int exceptions) {
  const Capture printing;
  return -in_child([&] {
    feenableexcept(exceptions);
    WgrHandle handle = create_gesture_handle();
    init_gesture_handle(handle, 50, {0, 0, 0}, -1, -1, -1, 50);
    const double nan = std::nan("");
    for (int i = 0; i < 20; ++i) update_gesture(handle, {nan, 0, 10}, {0, 0, 0});
    return 0;
  });
}

// Preflight itself goes on.
TEST_F(Preflight, TrappedExceptionsAreFatalAndEndAHost) {
  for (const int exceptions : {FE_INVALID, FE_DIVBYZERO, FE_OVERFLOW, FE_UNDERFLOW,
                               FE_INEXACT, FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW}) {
    bool set = false, stayed = false;
    int heaviest = -1;
    on_a_thread([&] {
      feenableexcept(exceptions);
      set = fegetexcept() == exceptions;
      heaviest = check();
      stayed = fegetexcept() == exceptions;
    });
    if (!set) GTEST_SKIP() << "nothing is trapped here";
    EXPECT_EQ(heaviest, WG_PREFLIGHT_FATAL) << exceptions;
    ASSERT_EQ(findings_.size(), 1u);
    EXPECT_EQ(findings_[0].second,
              "floating-point exceptions are trapped on this thread: a sample, or "
              "creating a handle, can end the process by SIGFPE");
    EXPECT_TRUE(stayed);
  }
  // A sanitizer takes the signal, and its compiler compares quietly.
  if (kSanitized) return;
  EXPECT_EQ(end_of_a_host_that_traps(FE_INVALID), SIGFPE);
  EXPECT_EQ(end_of_a_host_that_traps(FE_INEXACT), SIGFPE);
  EXPECT_EQ(end_of_a_host_that_traps(0), 0);
}
#endif
