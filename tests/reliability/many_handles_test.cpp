// Many handles at once, on many threads and in two processes, share the models and the
// log: each recognises what it would alone, and every line of the log is whole.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include "WgrInterface.h"
#include "support/installed_models.h"

using namespace wgr;

static constexpr int kThreads = 8;
static constexpr int kHandles = 3;  // of each thread, one after the other
static constexpr int kPairs = 600;

// What a host saw of its gestures.
struct Day {
  std::vector<int> reported;
  std::vector<double> strengths;
  std::vector<int> wearers;
  bool operator==(const Day& other) const {
    return reported == other.reported && strengths == other.strengths &&
           wearers == other.wearers;
  }
};

static void note(void* handle, int gesture, void* user_data) {
  Day& day = *static_cast<Day*>(user_data);
  day.reported.push_back(gesture);
  day.strengths.push_back(get_motion_strength(handle));
}

static Stream stream_of(int number) {
  RandomPoints random(static_cast<unsigned>(100 + number));
  return random_stream(random, kPairs - 41 - 2 * 46, false) + rest(41) +
         gesture(18, 6.0) + gesture(18, 5.0);
}

// A handle from its making to its end; `number` chooses the model it uses.
static Day live(int number, const Stream& stream) {
  Day day;
  WgrHandle h = create_gesture_handle();
  init_gesture_handle(h, 50, {0, 0, 0}, -1, -1, -1, 50);
  register_gesture_event_cb(h, note, &day);
  set_gesture_model(h, WgWatchWearer(number % 2), WgWorkMode(number % 3));
  for (const Pair& pair : stream) {
    update_gesture(h, pair.acc, pair.gyro);
    day.wearers.push_back(get_wearer_type(h, pair.acc));
  }
  destroy_gesture_handle(&h);
  return day;
}

// The same on kThreads threads at once. Every thread's days are compared with `alone`.
static bool live_in_parallel(const std::vector<Stream>& streams,
                             const std::vector<Day>& alone) {
  std::vector<int> same(kThreads, 0);
  std::vector<std::thread> threads;
  for (size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kHandles; ++i) {
        if (live(static_cast<int>(t), streams[t]) == alone[t]) ++same[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  return same == std::vector<int>(kThreads, kHandles);
}

using Lines = std::map<std::string, int>;

// The working directory is the process's: handles that are made at the same time log each
// other's, so it is left out of its line.
static constexpr char kDirectoryLine[] = "AgGes 40: ";

static Lines log_lines() {
  std::istringstream log(read_log());
  Lines lines;
  for (std::string line; std::getline(log, line);) {
    const bool is_directory =
        line.compare(0, sizeof kDirectoryLine - 1, kDirectoryLine) == 0;
    ++lines[is_directory ? kDirectoryLine : line];
  }
  return lines;
}

class ManyHandles : public ::testing::Test {
 protected:
  void SetUp() override {
    install_all_models();
    for (int t = 0; t < kThreads; ++t) streams_.push_back(stream_of(t));
    clear_log();
    const Capture printing;
    for (int t = 0; t < kThreads; ++t) {
      alone_.push_back(live(t, streams_[static_cast<size_t>(t)]));
    }
    logged_ = log_lines();
    clear_log();
    here_ = std::filesystem::current_path();
  }
  void TearDown() override {
    std::filesystem::current_path(here_);
    clear_log();
  }

  // The lines of one handle for each stream, so many times over, and no others.
  void expect_whole_lines(int times) const {
    Lines expected = logged_;
    for (auto& line : expected) line.second *= times;
    EXPECT_EQ(log_lines(), expected);
  }

  std::vector<Stream> streams_;
  std::vector<Day> alone_;
  Lines logged_;
  std::filesystem::path here_;
};

TEST_F(ManyHandles, EachRecognisesWhatItWouldAlone) {
  for (const Day& day : alone_) ASSERT_GE(day.reported.size(), 2u);
  Capture printing;
  const bool same = live_in_parallel(streams_, alone_);
  const std::string printed = printing.finish();
  EXPECT_TRUE(same);
  expect_whole_lines(kHandles);
  EXPECT_FALSE(printed.empty());
  // Handles that are made at the same time may leave each other's directory behind.
  const std::filesystem::path now = std::filesystem::current_path();
  EXPECT_TRUE(now == here_ || now == "/usr/share") << now;
}

TEST_F(ManyHandles, TwoProcessesShareTheLogAsWell) {
  Capture printing;
  pid_t children[2] = {};
  for (pid_t& child : children) {
    child = fork();
    if (child == 0) _exit(live_in_parallel(streams_, alone_) ? 7 : 1);
  }
  int statuses[2] = {};
  for (int i = 0; i < 2; ++i) waitpid(children[i], &statuses[i], 0);
  printing.finish();
  for (const int status : statuses) {
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
  }
  expect_whole_lines(2 * kHandles);
}
