// Memory runs out once, at every allocation of a host's day in turn: that call fails with
// std::bad_alloc, the handle goes on, and nothing is leaked.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <sstream>

#include "WgrInterface.h"
#include "WgrPreflight.h"
#include "cluster/apcluster.h"
#include "support/cases.h"
#include "support/child.h"
#include "support/failing_memory.h"
#include "support/installed_models.h"
#include "support/quiet_engine.h"
#include "support/same_bits.h"

using namespace wgr;

namespace {

struct Report {
  int gestures = 0;
  int last = -1;
};

void note(void*, int gesture, void* user_data) {
  Report& report = *static_cast<Report*>(user_data);
  ++report.gestures;
  report.last = gesture;
}

void ignore(int, const char*, void*) {}

// A host that tries once more what is not a sample; a sample that fails is lost.
class Host {
 public:
  void start() {
    insist([] { preflight_gesture_library(ignore, nullptr); });
    insist([this] { h_ = create_gesture_handle(); });
    init_gesture_handle(h_, 50, {0, 0, 0}, -1, 40, -1, 50);
    register_gesture_event_cb(h_, note, &report_);
    feed(first_);
    insist([this] { set_gesture_model(h_, WG_WEARER_RIGHT, WG_MODE_MIX); });
    set_gesture_rec_sensitivity(h_, 1);
    feed(first_);
    feed(calm_);
  }

  void feed(const Stream& stream) {
    for (const Pair& pair : stream) {
      attempt([&] { update_gesture(h_, pair.acc, pair.gyro); });
      attempt([&] { get_wearer_type(h_, pair.acc); });
    }
  }

  // Whether a gesture later on is recognised, with memory enough.
  bool goes_on() {
    const int answer = get_movement_status(h_);
    bool fine = answer == 0 || answer == 1;
    report_ = {};
    feed(last_);
    fine = fine && report_.gestures == 1 && report_.last == kFirstInstalledLabel + 5 &&
           get_recog_cost_time(h_) == 600.0 && get_movement_status(h_) == 1;
    strength_ = get_motion_strength(h_);
    if (!fine) {
      std::fprintf(stderr, "%d gestures, %d, %a m/s2, %g ms\n", report_.gestures,
                   report_.last, strength_, get_recog_cost_time(h_));
    }
    return fine;
  }

  void stop() { destroy_gesture_handle(&h_); }
  double strength() const { return strength_; }  // of that gesture
  int failures() const { return failures_; }

 private:
  template <class Call>
  bool attempt(const Call& call) {
    try {
      call();
      return true;
    } catch (const std::bad_alloc&) {
      ++failures_;
      return false;
    }
  }
  template <class Call>
  void insist(const Call& call) {
    if (!attempt(call)) call();
  }

  const Stream first_ = rest(12) + gesture(20, 6.0);
  const Stream calm_ = rest(90);  // twice what the histories hold
  const Stream last_ = gesture(18, 6.0);
  WgrHandle h_ = nullptr;
  Report report_;
  double strength_ = 0.0;
  int failures_ = 0;
};

// Every allocation in turn; every seventh where each step is slow.
const long kStride = enough_cases() ? 1 : 7;

enum Outcome { kEndedWithoutModel, kFine, kNotReached, kNotThrown, kChanged, kLeaked };

// A host's day in which the n-th allocation fails. Where the process has had such days
// before, nothing new is kept, and the gesture at its end is known.
int starve(long n, bool warm, double strength) {
  Host host;
  const long blocks = live_blocks();
  fail_allocation(n);
  host.start();
  const bool reached = allocations() >= n;
  fail_allocation(0);
  const bool fine = host.goes_on() && (!warm || same_bits(host.strength(), strength));
  host.stop();
  if (warm && live_blocks() != blocks) return kLeaked;
  if (!fine) return kChanged;
  if (!reached) return kNotReached;
  return host.failures() == 1 ? kFine : kNotThrown;
}

std::set<std::string> log_lines() {
  std::istringstream log(read_log());
  std::set<std::string> lines;
  for (std::string line; std::getline(log, line);) lines.insert(line);
  return lines;
}

class StarvedOfMemory : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!allocations_can_fail()) GTEST_SKIP() << "a memory checker gives the memory";
    install_all_models();
    clear_log();
  }
  void TearDown() override { clear_log(); }

  static int starve_quietly(long n, bool warm, double strength) {
    const Capture printing;
    return in_child([&]() -> int { std::exit(starve(n, warm, strength)); });
  }
};

}  // namespace

// What a process makes once, when it is first needed, is made by each child anew.
TEST_F(StarvedOfMemory, EveryAllocationOfANewProcessMayFail) {
  long n = 1;
  int outcome = kFine;
  for (; outcome != kNotReached && n < 100000; n += kStride) {
    outcome = starve_quietly(n, false, 0.0);
    EXPECT_TRUE(outcome == kFine || outcome == kNotReached)
        << "allocation " << n << ": " << outcome;
  }
  EXPECT_GT(n, 100);
}

TEST_F(StarvedOfMemory, EveryAllocationMayFailAndNothingLeaksOrChanges) {
  long count = 0;
  double strength = 0.0;
  for (int day = 0; day < 2; ++day) {
    const Capture printing;
    Host host;
    fail_allocation(0);
    host.start();
    count = allocations();
    EXPECT_TRUE(host.goes_on());
    strength = host.strength();
    host.stop();
  }
  EXPECT_GT(strength, 2.0);
  EXPECT_GT(count, 100);
  const std::set<std::string> lines = log_lines();
  for (long n = 1; n <= count; n += kStride) {
    clear_log();
    EXPECT_EQ(starve_quietly(n, true, strength), kFine) << "allocation " << n;
    for (const std::string& line : log_lines()) {
      EXPECT_EQ(lines.count(line), 1u) << "allocation " << n << ": " << line;
    }
  }
}

// Long enough for each queue to need memory more than once, also those of single bits.
TEST_F(StarvedOfMemory, AnEngineLosesOneSampleAndKeepsItsQueuesInStep) {
  constexpr int kHistory = 1200;
  const Stream stream = rest(12) + gesture(20, 6.0) + rest(80) + motion(1000);
  for (const int work_mode : {kAccOnly, kAccAndGyro}) {
    long n = 1;
    for (bool reached = true; reached; ++n) {
      const std::unique_ptr<AgGes> engine = quiet_engine(work_mode);
      engine->init(work_mode, 50, {0, 0, 0}, -1, kHistory, -1, 2.0);
      int failures = 0;
      fail_allocation(n);
      for (const Pair& pair : stream) {
        try {
          if (work_mode == kAccOnly) {
            engine->update(pair.acc);
          } else {
            engine->update(pair.acc, pair.gyro);
          }
        } catch (const std::bad_alloc&) {
          ++failures;
        }
        ASSERT_EQ(engine->static_history.size(), engine->acc_history.size()) << n;
        if (work_mode == kAccAndGyro) {
          ASSERT_EQ(engine->gyro_history.size(), engine->acc_history.size()) << n;
          ASSERT_EQ(engine->motion_gyro.size(), engine->motion_acc.size()) << n;
        }
      }
      reached = allocations() >= n;
      fail_allocation(0);
      EXPECT_EQ(failures, reached ? 1 : 0) << "allocation " << n;
    }
    EXPECT_GT(n, 50);
  }
}

// What a model is built from: training data read and merged, all similarities, a
// clustering, and the model read back. Returns a number that depends on all of it.
static double build(const std::string& data, const std::string& model) {
  Gdata set;
  Gdata other;
  if (!set.load(data.c_str()) || !other.load(data.c_str())) return -1.0;
  set.add(&other);
  std::vector<Points> traces;
  for (const Gsample& sample : set.samples) traces.push_back(sample.trace);
  HGR classifier(0);
  const std::unique_ptr<float[]> matrix(classifier.cal_sim_matrix(traces, 0));
  double sum = 0.0;
  for (size_t i = 0; i < traces.size() * traces.size(); ++i) sum += matrix[i];
  std::vector<int> exemplars(traces.size());
  sum += AP(200, 20, 1.0, 0.5)
             .cluster(matrix.get(), exemplars.data(), static_cast<int>(traces.size()));
  if (!classifier.model->read(model.c_str())) return -1.0;
  return sum + classifier.model->templates.at(0).second.at(0).x;
}

TEST_F(StarvedOfMemory, TheOfflineRoutinesFailOrGiveTheSameAnswer) {
  const TempDirectory directory;
  const std::string data = directory.file("data");
  const std::string model = directory.file("model");
  ASSERT_TRUE(small_model(3, -0.5).write(model.c_str()));
  std::string text;
  for (int i = 0; i < 6; ++i) {
    const std::string n = std::to_string(i);
    // A line that a string does not hold without memory of its own.
    text +=
        "3 4\n" + n + " 0.2500000000000 2.000000000000 -3.5\n0 1 " + n + " 3\n5 4 3 2\n";
  }
  write_file(data, text);

  build(data, model);
  fail_allocation(0);
  const double expected = build(data, model);
  const long count = allocations();
  ASSERT_GT(count, 50);
  const long blocks = live_blocks();
  for (long n = 1; n <= count; ++n) {
    fail_allocation(n);
    bool thrown = false;
    double answer = 0.0;
    try {
      answer = build(data, model);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    fail_allocation(0);
    EXPECT_TRUE(thrown) << "allocation " << n << " of " << count << ": " << answer
                        << " instead of " << expected;
    EXPECT_EQ(live_blocks(), blocks) << "allocation " << n;
  }
}

// How often each kind of exception leaves, over every allocation that reading may fail
// at.
static std::map<std::string, int> ways_out(const std::string& path) {
  std::map<std::string, int> ways;
  for (long n = 1;; ++n) {
    Gmodel model;
    fail_allocation(n);
    try {
      model.read(path.c_str());
    } catch (const std::bad_array_new_length&) {
      ++ways["the file"];
    } catch (const std::bad_alloc&) {
      ++ways["the memory"];
    }
    const bool reached = allocations() >= n;
    fail_allocation(0);
    if (!reached) return ways;
  }
}

// A file of eight characters that ends where its templates should be: it has room for one
// class and seven templates, and not for one more.
TEST_F(StarvedOfMemory, AFileIsToBlameWhenItAnnouncesMoreNumbersThanItHasCharacters) {
  const TempDirectory directory;
  const std::string path = directory.file("model");
  write_file(path + ".xml", "1 7 0 0\n");
  std::map<std::string, int> ways = ways_out(path);
  EXPECT_GT(ways["the memory"], 2);
  EXPECT_EQ(ways["the file"], 0);
  write_file(path + ".xml", "1 8 0 0\n");
  ways = ways_out(path);
  EXPECT_EQ(ways["the file"], 1);  // the templates themselves
}
