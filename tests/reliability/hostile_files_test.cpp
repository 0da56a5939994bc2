// Models that are none, a host without its standard streams or its directory, and one
// that writes its numbers in another way: the handle goes on, with the answers it should
// give.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "WgrInterface.h"
#include "WgrPreflight.h"
#include "support/cases.h"
#include "support/child.h"
#include "support/comma_locale.h"
#include "support/installed_models.h"
#include "support/same_bits.h"

using namespace wgr;

namespace fs = std::filesystem;

static const std::string kModelFile = std::string(c_GmodelPath[0]) + ".xml";
static const std::string kDefaultFile = std::string(c_GmodelPath[kDefaultModel]) + ".xml";

// Of processor time, also below valgrind and where another processor is emulated.
static constexpr std::clock_t kSoon = 20 * CLOCKS_PER_SEC;

class HostileFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(kModelFile);
    fs::remove_all(kDefaultFile);
    install_all_models();
    clear_log();
  }
  void TearDown() override { clear_log(); }
};

static WgrHandle new_handle() {
  WgrHandle h = create_gesture_handle();
  init_gesture_handle(h, 50, {0, 0, 0}, -1, -1, -1, 50);
  return h;
}

// The last answer to a gesture: its class, or 6.
static int recognise(WgrHandle h) {
  int answer = -1;
  for (const Pair& pair : rest(12) + gesture(18, 6.0)) {
    answer = update_gesture(h, pair.acc, pair.gyro);
  }
  return answer;
}

// All bytes in changing order, zeros and line breaks among them.
static std::string any_bytes() {
  std::string text;
  for (unsigned i = 1; text.size() < (1 << 16); i = i * 1664525u + 1013904223u) {
    text.push_back(static_cast<char>(i >> 24));
  }
  return text;
}

// A gigabyte that starts with digits and goes on without a line break; less where each
// step is slow.
static void write_gigabyte_of_digits(const std::string& path) {
  write_file(path, std::string(1 << 20, '7'));
  fs::resize_file(path, std::uintmax_t{1} << (enough_cases() ? 30 : 24));
}

namespace {
struct HostileModel {
  const char* what;
  void (*put)(const std::string& path);
};
}  // namespace

static const HostileModel kHostileModels[] = {
    {"a directory", [](const std::string& path) { fs::create_directory(path); }},
    {"empty", [](const std::string& path) { write_file(path, ""); }},
    {"any bytes", [](const std::string& path) { write_file(path, any_bytes()); }},
    {"line breaks",
     [](const std::string& path) { write_file(path, std::string(1 << 20, '\n')); }},
    {"zero bytes",
     [](const std::string& path) { write_file(path, std::string(1 << 20, '\0')); }},
    {"a gigabyte of digits", write_gigabyte_of_digits},
    {"a link to nowhere",
     [](const std::string& path) { fs::create_symlink("/nowhere", path); }},
    {"a link to itself", [](const std::string& path) { fs::create_symlink(path, path); }},
    {"without an end",
     [](const std::string& path) { fs::create_symlink("/dev/zero", path); }},
    {"huge counts",
     [](const std::string& path) { write_file(path, "2147483647 2147483647 1 1\n"); }},
    {"too many templates",
     [](const std::string& path) { write_file(path, "1 10000001 0 0\n3\n0\n"); }},
    {"too many points",
     [](const std::string& path) { write_file(path, "1 1 0 0\n3\n0\n3 10000001\n"); }},
};

TEST_F(HostileFiles, AModelThatIsNoneRecognisesNothingUntilAnotherIsChosen) {
  const Capture printing;
  WgrHandle h = new_handle();
  for (const HostileModel& model : kHostileModels) {
    fs::remove_all(kModelFile);
    model.put(kModelFile);
    const std::clock_t start = std::clock();
    EXPECT_EQ(set_gesture_model(h, WG_WEARER_LEFT, WG_MODE_OW), 0) << model.what;
    EXPECT_EQ(recognise(h), 6) << model.what;
    EXPECT_LT(std::clock() - start, kSoon) << model.what;
    EXPECT_EQ(set_gesture_model(h, WG_WEARER_RIGHT, WG_MODE_OW), 0);
    EXPECT_EQ(recognise(h), kFirstInstalledLabel + 3) << model.what;
  }
  destroy_gesture_handle(&h);
}

// A file that cannot be opened, or whose counts no model has, ends the process with
// status 0; one that says nothing is a model without templates. The check beforehand
// says which.
TEST_F(HostileFiles, ADefaultModelThatIsNoneEndsTheProcessOrRecognisesNothing) {
  const std::string ends[] = {"a gigabyte of digits", "a link to nowhere",
                              "a link to itself",     "huge counts",
                              "too many templates",   "too many points"};
  for (const HostileModel& model : kHostileModels) {
    const bool fatal = std::count(std::begin(ends), std::end(ends), model.what) > 0;
    fs::remove_all(kDefaultFile);
    model.put(kDefaultFile);
    const Capture printing;
    EXPECT_EQ(in_child([] {
                WgrHandle h = new_handle();
                const bool nothing = recognise(h) == 6;
                destroy_gesture_handle(&h);
                return nothing ? 7 : 1;
              }),
              fatal ? 0 : 7)
        << model.what;
    const std::clock_t start = std::clock();
    const int weight = preflight_gesture_library(nullptr, nullptr);
    EXPECT_GE(weight, fatal ? WG_PREFLIGHT_FATAL : WG_PREFLIGHT_FAULT) << model.what;
    EXPECT_LT(std::clock() - start, kSoon) << model.what;
  }
}

TEST_F(HostileFiles, AModelWithCarriageReturnsIsTheSameModel) {
  std::string text = read_file(kModelFile);
  for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
    text.insert(at, "\r");
  }
  write_file(kModelFile, text);
  const Capture printing;
  WgrHandle h = new_handle();
  set_gesture_model(h, WG_WEARER_LEFT, WG_MODE_OW);
  EXPECT_EQ(recognise(h), kFirstInstalledLabel);
  destroy_gesture_handle(&h);
}

// A gesture's class and strength, and what is logged on the way.
namespace {
struct Seen {
  int gesture;
  double strength;
  std::string log;
};
}  // namespace

static Seen live() {
  clear_log();
  const Capture printing;
  WgrHandle h = new_handle();
  set_gesture_model(h, WG_WEARER_LEFT, WG_MODE_OW);
  Seen seen = {recognise(h), get_motion_strength(h), ""};
  destroy_gesture_handle(&h);
  seen.log = read_log();
  return seen;
}

TEST_F(HostileFiles, AHostThatWritesCommasChangesNothing) {
  Gmodel model = small_model(1234567, -1234.5);
  model.templates[0].second[0] = {1.5, 0.125, -1e-7};
  install_model(0, model);
  const Seen expected = live();
  EXPECT_EQ(expected.gesture, 1234567);
  const CommaLocale commas;
  const Seen seen = live();
  EXPECT_EQ(seen.gesture, expected.gesture);
  EXPECT_TRUE(same_bits(seen.strength, expected.strength));
  EXPECT_EQ(seen.log, expected.log);
}

static bool is_open(int descriptor) { return fcntl(descriptor, F_GETFD) >= 0; }

// What the library prints is lost then; it goes into no file that it opens meanwhile.
TEST_F(HostileFiles, AHostWithoutItsStandardStreamsIsServedAllTheSame) {
  const Seen expected = live();
  clear_log();
  EXPECT_EQ(in_child([] {
              for (const int descriptor : {0, 1, 2}) close(descriptor);
              WgrHandle h = new_handle();
              std::fflush(stdout);
              set_gesture_model(h, WG_WEARER_LEFT, WG_MODE_OW);
              const int seen = recognise(h);
              destroy_gesture_handle(&h);
              const bool left_open = is_open(0) || is_open(1) || is_open(2);
              return left_open ? 1 : seen;
            }),
            kFirstInstalledLabel);
  EXPECT_EQ(read_log(), expected.log);
}

TEST_F(HostileFiles, AWorkingDirectoryThatWasRemovedIsNotRestored) {
  const fs::path here = fs::current_path();
  {
    const TempDirectory gone;
    fs::current_path(gone.path());
  }
  const Seen seen = live();
  EXPECT_EQ(seen.gesture, kFirstInstalledLabel);
  EXPECT_THAT(seen.log, ::testing::HasSubstr("AgGes 40: /usr/share\n"));
  EXPECT_EQ(fs::current_path(), "/usr/share");
  fs::current_path(here);
}
