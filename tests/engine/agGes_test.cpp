#include "engine/agGes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>
#include <type_traits>

#include "support/quiet_engine.h"
#include "support/same_bits.h"

using namespace wgr;

static std::string working_directory() {
  return std::filesystem::current_path().string();
}

// A model in a directory of its own, and a log that starts empty.
class Construction : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = directory_.file("model");
    ASSERT_TRUE(small_model(3, -1.0).write(path_.c_str()));
    std::filesystem::remove(kLogPath);
  }

  std::unique_ptr<AgGes> engine(int rate, int min_motion_len, int history_len,
                                int static_window) {
    Capture printing;
    return std::make_unique<AgGes>(path_.c_str(), 1, rate, Point3Df{1, 2, 3},
                                   min_motion_len, history_len, static_window, 2.5);
  }

  TempDirectory directory_;
  std::string path_;
};

TEST_F(Construction, KeepsItsArguments) {
  const auto made = engine(40, 7, 70, 9);
  EXPECT_EQ(made->work_mode, 1);
  EXPECT_EQ(made->sample_rate, 40);
  EXPECT_TRUE(same_bits(made->gyro_bias, Point3Df{1, 2, 3}));
  EXPECT_EQ(made->min_motion_len, 7);
  EXPECT_EQ(made->history_len, 70);
  EXPECT_EQ(made->static_window, 9);
  EXPECT_EQ(made->strength_threshold, 2.5);
}

// Two owners of one classifier would both delete it.
TEST_F(Construction, IsNeverACopy) {
  EXPECT_FALSE(std::is_copy_constructible_v<AgGes>);
  EXPECT_FALSE(std::is_copy_assignable_v<AgGes>);
}

TEST_F(Construction, LengthsBelowOneBecomePartsOfTheRate) {
  const struct {
    int rate, least, history, window;
  } cases[] = {{50, 25, 250, 10}, {30, 15, 150, 6}, {4, 2, 20, 0},
               {1, 0, 5, 0},      {0, 0, 0, 0},     {-9, -4, -45, -1}};
  for (const auto& c : cases) {
    for (const int below_one : {-1, 0, INT_MIN}) {
      const auto made = engine(c.rate, below_one, below_one, below_one);
      EXPECT_EQ(made->min_motion_len, c.least) << c.rate;
      EXPECT_EQ(made->history_len, c.history) << c.rate;
      EXPECT_EQ(made->static_window, c.window) << c.rate;
    }
  }
  const auto kept = engine(50, 1, 1, 1);
  EXPECT_EQ(kept->min_motion_len, 1);
  EXPECT_EQ(kept->history_len, 1);
  EXPECT_EQ(kept->static_window, 1);
}

TEST_F(Construction, TheGreatestRateHasALengthOfHistory) {
  EXPECT_GT(engine(INT_MAX, -1, -1, -1)->history_len, 0);
}

TEST_F(Construction, StartsEmptyWithoutAGesture) {
  const auto made = engine(50, -1, -1, -1);
  EXPECT_EQ(made->gesture_class, 14);
  EXPECT_EQ(made->motion_strength, 0.0);
  EXPECT_EQ(made->recog_cost_time, 0.0);
  EXPECT_TRUE(same_bits(made->gravity, Point3Df{0, 0, 0}));
  EXPECT_TRUE(same_bits(made->aux_point, Point3Df{0, 0, 0}));
  EXPECT_TRUE(made->motion_acc.empty() && made->motion_gyro.empty() &&
              made->last_motion_acc.empty());
  EXPECT_TRUE(made->trace.empty() && made->trace_velocity.empty() &&
              made->trace_position.empty());
  EXPECT_TRUE(made->aux_points_a.empty() && made->aux_points_b.empty());
  EXPECT_TRUE(made->acc_history.empty() && made->gyro_history.empty() &&
              made->static_history.empty());
}

TEST_F(Construction, LoadsTheModel) {
  const auto made = engine(50, -1, -1, -1);
  ASSERT_NE(made->hgr, nullptr);
  EXPECT_EQ(made->hgr->model->nclasses, 1);
  EXPECT_EQ(made->hgr->model->class_labels, std::vector<int>{3});
  EXPECT_EQ(made->hgr->model->templates.at(0).second.size(), 3u);
}

TEST_F(Construction, PrintsItsProgressAndPutsTheWorkingDirectoryBack) {
  const std::string before = working_directory();
  std::filesystem::current_path("/tmp");
  {
    Capture printing;
    const AgGes made(path_.c_str(), 1, 50, {0, 0, 0}, -1, -1, -1, 2.0);
    EXPECT_EQ(printing.finish(), "Load file \"" + path_ +
                                     "\"...\n"
                                     "-current path: /tmp\n"
                                     "current path: /tmp\n"
                                     "    OK\n\n");
  }
  EXPECT_EQ(working_directory(), "/tmp");
  std::filesystem::current_path(before);
}

TEST_F(Construction, LogsFourLines) {
  engine(50, -1, -1, -1);
  EXPECT_EQ(read_log(),
            "AgGes 14: AgGes start\n"
            "AgGes 40: /usr/share\n"
            "AgGes 50: Load model success!\n"
            "AgGes 70: AgGes end\n");
}

// A path without a leading slash shows where the model is read from.
TEST_F(Construction, ReadsTheModelFromUnderUsrShare) {
  ASSERT_TRUE(small_model(8, -1.0).write("/usr/share/GestureModel/relative"));
  Capture printing;
  const AgGes made("GestureModel/relative", 1, 50, {0, 0, 0}, -1, -1, -1, 2.0);
  printing.finish();
  EXPECT_EQ(made.hgr->model->class_labels, std::vector<int>{8});
}

using ConstructionDeathTest = Construction;

static void construct(const std::string& path) {
  // What the process leaves behind on standard output and in its working directory is
  // printed on standard error, where the test reads it.
  static Capture* printing = new Capture();
  std::atexit([] {
    const std::string text = printing->finish() + "|" + working_directory() + "|";
    std::fputs(text.c_str(), stderr);
  });
  AgGes made(path.c_str(), 1, 50, {0, 0, 0}, -1, -1, -1, 2.0);
  std::fputs("went on", stderr);
}

TEST_F(ConstructionDeathTest, WithoutItsModelTheProcessEndsWithStatusZero) {
  std::filesystem::current_path("/tmp");
  EXPECT_EXIT(construct("/nowhere/model"), ::testing::ExitedWithCode(0),
              ::testing::StrEq("Load file \"/nowhere/model\"...\n"
                               "-current path: /tmp\n"
                               "current path: /tmp\n"
                               "Error: can't load file \"/nowhere/model\"\n"
                               "|/usr/share|"));
  EXPECT_EQ(read_log(),
            "AgGes 14: AgGes start\n"
            "AgGes 40: /usr/share\n"
            "AgGes 60: ERROR: load model failed! Path:/nowhere/model\n");
}

TEST_F(ConstructionDeathTest, AModelWhoseCountsMakeNoSenseIsNoModel) {
  write_file(path_ + ".xml", "1 -4 0 0\n3 \n0 \n");
  EXPECT_EXIT(construct(path_), ::testing::ExitedWithCode(0),
              ::testing::HasSubstr("Error: can't load file \"" + path_ + "\"\n"));
}

// The directory that was current is gone: it cannot be read, so nothing is put back.
static void construct_in_a_removed_directory(const std::string& path) {
  const std::string gone = "/tmp/wgr-gone-" + std::to_string(getpid());
  std::filesystem::create_directory(gone);
  std::filesystem::current_path(gone);
  std::filesystem::remove(gone);
  Capture printing;
  const AgGes made(path.c_str(), 1, 50, {0, 0, 0}, -1, -1, -1, 2.0);
  const std::string text = printing.finish() + "|" + working_directory();
  std::fputs(text.c_str(), stderr);
  std::_Exit(7);
}

TEST_F(ConstructionDeathTest, AWorkingDirectoryThatCannotBeReadIsNotPutBack) {
  EXPECT_EXIT(construct_in_a_removed_directory(path_), ::testing::ExitedWithCode(7),
              ::testing::StrEq("Load file \"" + path_ +
                               "\"...\n"
                               "-current path: \n"
                               "current path: \n"
                               "    OK\n\n|/usr/share"));
}

// For a thread: an empty root, and in it a working directory that is gone.
static bool lose_every_directory(const std::string& root) {
  if (unshare(CLONE_FS) != 0 || chroot(root.c_str()) != 0 || chdir("/") != 0)
    return false;
  return mkdir("gone", 0700) == 0 && chdir("gone") == 0 && rmdir("/gone") == 0;
}

TEST_F(Construction, WithoutAnyDirectoryItLoadsAllTheSame) {
  std::unique_ptr<AgGes> made;
  Capture printing;
  std::thread([&] {
    if (!lose_every_directory(directory_.path())) return;
    made = std::make_unique<AgGes>("/model", 1, 50, Point3Df{0, 0, 0}, -1, -1, -1, 2.0);
  }).join();
  const std::string printed = printing.finish();
  if (made == nullptr) GTEST_SKIP() << "this machine forbids a root of its own";
  EXPECT_EQ(printed,
            "Load file \"/model\"...\n"
            "-current path: \n"
            "current path: \n"
            "    OK\n\n");
  EXPECT_EQ(made->hgr->model->class_labels, std::vector<int>{3});
}

TEST(Init, ReplacesTheParametersAndNothingElse) {
  const auto engine = quiet_engine();
  feed(*engine, rest(12) + gesture(20, 6.0));
  feed(*engine, Stream(3, {{0, 0, 30}, {0, 0, 400}}));
  ASSERT_EQ(engine->gesture_class, 3);
  const Samples acc = engine->acc_history, gyro = engine->gyro_history;
  const Samples motion_acc = engine->motion_acc, motion_gyro = engine->motion_gyro;
  const std::deque<bool> flags = engine->static_history;
  const Points trace = engine->trace;
  const double strength = engine->motion_strength, cost = engine->recog_cost_time;
  HGR* const hgr = engine->hgr;
  const std::string log = read_log();
  ASSERT_FALSE(motion_acc.empty());
  ASSERT_GT(cost, 0.0);

  engine->init(4, 30, {7, 8, 9}, 0, 33, 0, 9.5);
  EXPECT_EQ(engine->work_mode, 4);
  EXPECT_EQ(engine->sample_rate, 30);
  EXPECT_TRUE(same_bits(engine->gyro_bias, Point3Df{7, 8, 9}));
  EXPECT_EQ(engine->min_motion_len, 15);
  EXPECT_EQ(engine->history_len, 33);
  EXPECT_EQ(engine->static_window, 6);
  EXPECT_EQ(engine->strength_threshold, 9.5);

  EXPECT_TRUE(same_bits(engine->acc_history, acc));
  EXPECT_TRUE(same_bits(engine->gyro_history, gyro));
  EXPECT_TRUE(same_bits(engine->motion_acc, motion_acc));
  EXPECT_TRUE(same_bits(engine->motion_gyro, motion_gyro));
  EXPECT_EQ(engine->static_history, flags);
  EXPECT_TRUE(same_bits(engine->trace, trace));
  EXPECT_EQ(engine->motion_strength, strength);
  EXPECT_EQ(engine->recog_cost_time, cost);
  EXPECT_EQ(engine->gesture_class, 3);
  EXPECT_EQ(engine->hgr, hgr);
  EXPECT_EQ(read_log(), log);
}

TEST(Engine, CanBeDestroyedWithoutItsClassifier) {
  const auto engine = quiet_engine();
  delete engine->hgr;
  engine->hgr = nullptr;
}

TEST(Engine, DestructionLogsNothing) {
  auto engine = quiet_engine();
  const std::string log = read_log();
  engine.reset();
  EXPECT_EQ(read_log(), log);
}

// Nothing is read, so no model file is needed; lengths are chosen as for one from a file.
TEST(AgGesWithAClassifier, OwnsTheOneThatItIsGiven) {
  auto classifier = std::make_unique<HGR>(1);
  const HGR* const given = classifier.get();
  const AgGes engine(std::move(classifier), kAccAndGyro, 100, {1.0, 2.0, 3.0}, -1, 300,
                     -1, 2.5);
  EXPECT_EQ(engine.hgr, given);
  EXPECT_EQ(engine.min_motion_len, 50);
  EXPECT_EQ(engine.history_len, 300);
  EXPECT_EQ(engine.static_window, 20);
  EXPECT_EQ(engine.strength_threshold, 2.5);
}
