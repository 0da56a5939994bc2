#include "WgrInterface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "support/installed_models.h"

using namespace wgr;

static WgrContext& context_of(WgrHandle h) { return *static_cast<WgrContext*>(h); }
static AgGes& engine_of(WgrHandle h) { return *context_of(h).ages; }

class Interface : public ::testing::Test {
 protected:
  void SetUp() override {
    install_all_models();
    h_ = create();
    ASSERT_EQ(init_gesture_handle(h_, 50, {0, 0, 0}, -1, -1, -1, 50), 0);
  }
  void TearDown() override { EXPECT_EQ(destroy_gesture_handle(&h_), 0); }

  static WgrHandle create() {
    Capture printing;
    return create_gesture_handle();
  }

  WgrHandle h_ = nullptr;
};

static int feed(WgrHandle h, const Stream& stream) {
  int answer = -1;
  for (const Pair& pair : stream) answer = update_gesture(h, pair.acc, pair.gyro);
  return answer;
}

static void ignore(void*, int, void*) {}

TEST(NullHandle, EveryFunctionHasItsAnswerAndLogsNothing) {
  const std::string log = read_log();
  EXPECT_EQ(init_gesture_handle(nullptr, 50, {0, 0, 0}, -1, -1, -1, 50), 1);
  EXPECT_EQ(set_gesture_model(nullptr, WG_WEARER_LEFT, WG_MODE_OW), 1);
  EXPECT_EQ(set_gesture_model(nullptr, WgWatchWearer(9), WgWorkMode(9)), 1);
  set_gesture_rec_sensitivity(nullptr, 1);
  EXPECT_EQ(register_gesture_event_cb(nullptr, ignore, nullptr), 0);
  EXPECT_EQ(register_gesture_event_cb(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(update_gesture(nullptr, {0, 0, 10}, {0, 0, 0}), 0);
  EXPECT_EQ(get_wearer_type(nullptr, {0, 0, 10}), 2);
  EXPECT_EQ(get_movement_status(nullptr), 1);
  EXPECT_EQ(get_recog_cost_time(nullptr), 0.0);
  EXPECT_EQ(get_motion_strength(nullptr), 0.0);
  EXPECT_EQ(read_log(), log);
}

TEST(NullHandle, DestroyingItAnswersZero) {
  WgrHandle h = nullptr;
  EXPECT_EQ(destroy_gesture_handle(&h), 0);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(destroy_gesture_handle(nullptr), 0);
}

TEST(Version, IsWhatTheObjectHolds) {
  static_assert(sizeof(WgVersion) == 8);
  EXPECT_EQ(get_version().major, 0);
  EXPECT_EQ(get_version().minor, 1);
  WearableVersion = {7, -8};
  EXPECT_EQ(get_version().major, 7);
  EXPECT_EQ(get_version().minor, -8);
  WearableVersion = {0, 1};
}

TEST_F(Interface, DestroyingSetsTheHandleToNullAndIsHarmlessTwice) {
  WgrHandle h = create();
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(destroy_gesture_handle(&h), 0);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(destroy_gesture_handle(&h), 0);
}

TEST_F(Interface, SensitivityLevelsSetLengthAndStrength) {
  const struct {
    int level, length;
    double strength;
  } cases[] = {
      {1, 14, 2.0},
      {2, 25, 2.5},
      {3, 25, 4.0},
      {0, 25, 3.0},
      {4, 25, 3.0},
      {99, 25, 3.0},
      {INT_MAX, 25, 3.0},
      {-1, 1, 1.0 / 50.0 * 6.0},
      {-10, 10, 0x1.3333333333334p+0},  // 10 / 50 rounded, times 6
      {-49, 49, 5.88},
      {-50, 25, 3.0},
      {-51, 25, 3.0},
      {INT_MIN, 25, 3.0},
  };
  for (const auto& c : cases) {
    engine_of(h_).min_motion_len = -77;
    engine_of(h_).strength_threshold = -77.0;
    set_gesture_rec_sensitivity(h_, c.level);
    EXPECT_EQ(engine_of(h_).min_motion_len, c.length) << c.level;
    EXPECT_EQ(engine_of(h_).strength_threshold, c.strength) << c.level;
  }
  EXPECT_EQ(0x1.3333333333334p+0, 1.2000000000000002);
}

TEST_F(Interface, SensitivityFollowsTheRateInForceTruncatingTowardZero) {
  const struct {
    int rate, level, length;
    double strength;
  } cases[] = {{33, 1, 9, 2.0},     {33, 2, 16, 2.5}, {100, 1, 28, 2.0},
               {100, -50, 50, 3.0}, {-9, 1, -2, 2.0}, {-9, 0, -4, 3.0},
               {-9, -3, -4, 3.0},   {0, -1, 0, 3.0},  {1, -1, 0, 3.0}};
  for (const auto& c : cases) {
    engine_of(h_).sample_rate = c.rate;
    set_gesture_rec_sensitivity(h_, c.level);
    EXPECT_EQ(engine_of(h_).min_motion_len, c.length) << c.rate << ", " << c.level;
    EXPECT_EQ(engine_of(h_).strength_threshold, c.strength) << c.rate << ", " << c.level;
  }
}

TEST_F(Interface, SensitivityChangesNothingElseAndLogsNothing) {
  const std::string log = read_log();
  set_gesture_rec_sensitivity(h_, 1);
  EXPECT_EQ(read_log(), log);
  EXPECT_EQ(engine_of(h_).work_mode, 2);
  EXPECT_EQ(engine_of(h_).sample_rate, 50);
  EXPECT_EQ(engine_of(h_).history_len, 250);
  EXPECT_EQ(engine_of(h_).static_window, 10);
}

TEST_F(Interface, InitialisingResetsTheSensitivity) {
  set_gesture_rec_sensitivity(h_, 3);
  EXPECT_EQ(init_gesture_handle(h_, 50, {0, 0, 0}, -1, -1, -1, 50), 0);
  EXPECT_EQ(engine_of(h_).strength_threshold, 2.0);
  EXPECT_EQ(engine_of(h_).min_motion_len, 25);
}

TEST_F(Interface, InitialisingHandsEachArgumentToItsField) {
  EXPECT_EQ(init_gesture_handle(h_, 40, {1, 2, 3}, 7, 70, 9, 33), 0);
  EXPECT_EQ(engine_of(h_).sample_rate, 40);
  EXPECT_EQ(engine_of(h_).gyro_bias.x, 1.0);
  EXPECT_EQ(engine_of(h_).gyro_bias.y, 2.0);
  EXPECT_EQ(engine_of(h_).gyro_bias.z, 3.0);
  EXPECT_EQ(engine_of(h_).min_motion_len, 7);
  EXPECT_EQ(engine_of(h_).history_len, 70);
  EXPECT_EQ(engine_of(h_).static_window, 9);
  EXPECT_EQ(context_of(h_).whd->sample_rate, 40);
  EXPECT_EQ(context_of(h_).whd->window_len, 33);
}

TEST_F(Interface, AModelIsChosenByWearerAndMode) {
  EXPECT_EQ(set_gesture_model(h_, WG_WEARER_RIGHT, WG_MODE_MIX), 0);
  EXPECT_EQ(engine_of(h_).hgr->model->class_labels.at(0), 25);
  EXPECT_EQ(set_gesture_model(h_, WG_WEARER_LEFT, WG_MODE_OW), 0);
  EXPECT_EQ(engine_of(h_).hgr->model->class_labels.at(0), 20);
  EXPECT_EQ(set_gesture_model(h_, WG_WEARER_UNDECIDED, WG_MODE_OW), 1);
  EXPECT_EQ(engine_of(h_).hgr->model->class_labels.at(0), 20);
}

TEST_F(Interface, ANullCallbackIsRefusedAndTheEarlierOneStays) {
  int word = 0;
  EXPECT_EQ(register_gesture_event_cb(h_, ignore, &word), 1);
  EXPECT_EQ(register_gesture_event_cb(h_, nullptr, nullptr), 0);
  EXPECT_EQ(context_of(h_).event_cb, ignore);
  EXPECT_EQ(context_of(h_).user_data, &word);
  EXPECT_EQ(register_gesture_event_cb(h_, ignore, nullptr), 1);
  EXPECT_EQ(context_of(h_).user_data, nullptr);
}

TEST_F(Interface, EverySampleWithoutAReportAnswersSix) {
  for (const Pair& pair : rest(30) + motion(20) + motion(40) + rest(5)) {
    ASSERT_EQ(update_gesture(h_, pair.acc, pair.gyro), 6);
  }
}

TEST_F(Interface, TheMovementStatusIsTheNewestFlagAndRestWhenThereIsNone) {
  EXPECT_EQ(get_movement_status(h_), 1);
  feed(h_, rest(12));
  EXPECT_EQ(get_movement_status(h_), 1);
  update_gesture(h_, {0, 0, 30}, {0, 0, 400});
  EXPECT_EQ(get_movement_status(h_), 0);
  feed(h_, rest(10));
  EXPECT_EQ(get_movement_status(h_), 1);
}

TEST_F(Interface, StrengthAndDurationAreTheEngines) {
  EXPECT_EQ(get_motion_strength(h_), 0.0);
  EXPECT_EQ(get_recog_cost_time(h_), 0.0);
  feed(h_, rest(12) + gesture(18, 6.0));
  EXPECT_EQ(get_motion_strength(h_), engine_of(h_).motion_strength);
  EXPECT_GT(get_motion_strength(h_), 2.0);
  EXPECT_EQ(get_recog_cost_time(h_), 600.0);
  EXPECT_EQ(get_movement_status(h_), 1);  // the report emptied the flags
  EXPECT_TRUE(engine_of(h_).static_history.empty());
}

TEST_F(Interface, TheWearerTypeIsUndecidedUntilItsWindowHasFilled) {
  for (int i = 0; i < 50; ++i) {
    const double side = (i / 5) % 2 == 0 ? 4.0 : -4.0;
    ASSERT_EQ(get_wearer_type(h_, {side, -side, 10}), i < 49 ? 2 : 1) << i;
  }
}

namespace {
struct Callback {
  int calls = 0;
  void* handle = nullptr;
  int gesture = -1;
  double strength = -1.0;
  double duration = -1.0;
  int status = -1;
  int wearer = -1;
  int length = -1;
  int inits = -1;
  int models = -1;
};
}  // namespace

static void use_everything(void* handle, int gesture, void* user_data) {
  Callback& seen = *static_cast<Callback*>(user_data);
  ++seen.calls;
  seen.handle = handle;
  seen.gesture = gesture;
  seen.strength = get_motion_strength(handle);
  seen.duration = get_recog_cost_time(handle);
  seen.status = get_movement_status(handle);
  seen.wearer = get_wearer_type(handle, {0, 0, 10});
  seen.models = set_gesture_model(handle, WG_WEARER_RIGHT, WG_MODE_FB);
  seen.inits = init_gesture_handle(handle, 50, {0, 0, 0}, 20, -1, -1, 50);
  set_gesture_rec_sensitivity(handle, 1);
  seen.length = engine_of(handle).min_motion_len;
  register_gesture_event_cb(handle, use_everything, user_data);
}

TEST_F(Interface, TheCallbackMayCallEverythingButDestroy) {
  Callback seen;
  ASSERT_EQ(register_gesture_event_cb(h_, use_everything, &seen), 1);
  EXPECT_EQ(feed(h_, rest(12) + gesture(18, 6.0)), kDefaultLabel);
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.handle, h_);
  EXPECT_EQ(seen.gesture, kDefaultLabel);
  EXPECT_GT(seen.strength, 2.0);
  EXPECT_EQ(seen.duration, 600.0);
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.wearer, 2);
  EXPECT_EQ(seen.models, 0);
  EXPECT_EQ(seen.inits, 0);
  EXPECT_EQ(seen.length, 14);
  EXPECT_EQ(engine_of(h_).gesture_class, 14);
  EXPECT_TRUE(engine_of(h_).acc_history.empty());

  // What it chose is in force for the next gesture.
  EXPECT_EQ(feed(h_, rest(12) + gesture(18, 6.0)), kFirstInstalledLabel + 4);
  EXPECT_EQ(seen.calls, 2);
}

namespace {
// What a callback saw that feeds samples.
struct Feeding {
  WgrHandle other = nullptr;  // fed a whole gesture too
  int calls = 0;
  int answer = -1;        // to a sample for the handle itself
  int other_answer = -1;  // to the last sample of the gesture
  size_t samples = 0;     // that the engine held behind it
  std::string log;        // what was logged meanwhile
};
}  // namespace

static void feed_in_callback(void* handle, int, void* user_data) {
  Feeding& seen = *static_cast<Feeding*>(user_data);
  if (++seen.calls > 3) return;  // where each sample in here would report again
  const std::string before = read_log();
  seen.answer = feed(handle, motion(30) + rest(30));
  seen.samples = engine_of(handle).acc_history.size();
  seen.log = read_log().substr(before.size());
  if (seen.other != nullptr) {
    seen.other_answer = feed(seen.other, rest(12) + gesture(18, 6.0));
  }
}

TEST_F(Interface, ASampleFedInTheCallbackIsNotTakenInAndAnswersSix) {
  Feeding seen;
  register_gesture_event_cb(h_, feed_in_callback, &seen);
  const Stream whole = rest(12) + gesture(18, 6.0);
  Stream before = whole;
  before.pop_back();
  feed(h_, before);
  const size_t held = engine_of(h_).acc_history.size();
  EXPECT_EQ(update_gesture(h_, whole.back().acc, whole.back().gyro), kDefaultLabel);
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.answer, 6);
  EXPECT_EQ(seen.samples, held + 1);
  EXPECT_EQ(seen.log, "");
  EXPECT_TRUE(engine_of(h_).acc_history.empty());

  // Behind the report samples are taken in again.
  EXPECT_EQ(update_gesture(h_, {0, 0, 10}, {0, 0, 0}), 6);
  EXPECT_EQ(engine_of(h_).acc_history.size(), 1u);
  EXPECT_EQ(feed(h_, rest(12) + gesture(18, 6.0)), kDefaultLabel);
  EXPECT_EQ(seen.calls, 2);
}

// Of three handles each feeds the next; the last one meets the first, which is reporting.
TEST_F(Interface, ACallbackFeedsOtherHandlesWhichReportToo) {
  WgrHandle second = create(), third = create();
  const WgrHandle handles[] = {h_, second, third};
  Feeding seen[3];
  for (int i = 0; i < 3; ++i) {
    seen[i].other = handles[(i + 1) % 3];
    init_gesture_handle(handles[i], 50, {0, 0, 0}, -1, -1, -1, 50);
    register_gesture_event_cb(handles[i], feed_in_callback, &seen[i]);
  }
  set_gesture_model(second, WG_WEARER_LEFT, WG_MODE_OW);
  EXPECT_EQ(feed(h_, rest(12) + gesture(18, 6.0)), kDefaultLabel);
  EXPECT_EQ(seen[0].other_answer, kFirstInstalledLabel);
  EXPECT_EQ(seen[1].other_answer, kDefaultLabel);
  EXPECT_EQ(seen[2].other_answer, 6);
  for (const Feeding& one : seen) {
    EXPECT_EQ(one.calls, 1);
    EXPECT_EQ(one.answer, 6);
  }
  for (const WgrHandle h : handles) EXPECT_TRUE(engine_of(h).acc_history.empty());
  destroy_gesture_handle(&second);
  destroy_gesture_handle(&third);
}

static void fail(void*, int gesture, void* calls) {
  ++*static_cast<int*>(calls);
  throw gesture;
}

TEST_F(Interface, AnExceptionOfTheCallbackPassesThroughBehindTheWholeReport) {
  int calls = 0;
  register_gesture_event_cb(h_, fail, &calls);
  for (int round = 1; round <= 2; ++round) {
    int thrown = -1;
    try {
      feed(h_, rest(12) + gesture(18, 6.0));
    } catch (int gesture) {
      thrown = gesture;
    }
    EXPECT_EQ(thrown, kDefaultLabel);
    EXPECT_EQ(calls, round);
    EXPECT_EQ(engine_of(h_).gesture_class, 14);
    EXPECT_TRUE(engine_of(h_).acc_history.empty());
    EXPECT_TRUE(engine_of(h_).trace.empty());
    EXPECT_GT(get_motion_strength(h_), 2.0);
    // It is not reported again.
    EXPECT_EQ(feed(h_, rest(3)), 6);
    EXPECT_EQ(engine_of(h_).acc_history.size(), 3u);
    EXPECT_EQ(calls, round);
  }
}

TEST_F(Interface, ARejectedGestureReachesTheHostAsFive) {
  Callback seen;
  register_gesture_event_cb(h_, use_everything, &seen);
  engine_of(h_).hgr->model->class_thresholds = {0.0};
  EXPECT_EQ(feed(h_, rest(12) + gesture(18, 6.0)), 5);
  EXPECT_EQ(seen.gesture, 5);
}

TEST_F(Interface, HandlesDoNotShareTheirState) {
  WgrHandle other = create();
  init_gesture_handle(other, 30, {0, 0, 0}, -1, -1, -1, 50);
  set_gesture_model(other, WG_WEARER_LEFT, WG_MODE_MIX);
  feed(other, rest(3));
  EXPECT_EQ(engine_of(h_).sample_rate, 50);
  EXPECT_TRUE(engine_of(h_).acc_history.empty());
  EXPECT_EQ(feed(h_, rest(12) + gesture(18, 6.0)), kDefaultLabel);
  destroy_gesture_handle(&other);
}

static void create_without_model() {
  static Capture* printing = new Capture();
  std::atexit([] { std::fputs(printing->finish().c_str(), stderr); });
  create_gesture_handle();
  std::fputs("went on", stderr);
}

using InterfaceDeathTest = Interface;

TEST_F(InterfaceDeathTest, WithoutTheDefaultModelCreatingEndsTheProcessWithStatusZero) {
  std::filesystem::remove_all("/usr/share/GestureModel/olvo_model_5_fb");
  std::filesystem::current_path("/tmp");
  std::filesystem::remove(kLogPath);
  EXPECT_EXIT(create_without_model(), ::testing::ExitedWithCode(0),
              ::testing::StrEq(
                  "Load file \"/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo\"...\n"
                  "-current path: /tmp\n"
                  "current path: /tmp\n"
                  "Error: can't load file "
                  "\"/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo\"\n"));
  EXPECT_EQ(read_log(),
            "WgrContext 36: WgrConstruct start\n"
            "WHD 623: WHD start\n"
            "WHD 647: pp is NON NULL\n"
            "WHD 658: WHD end\n"
            "AgGes 14: AgGes start\n"
            "AgGes 40: /usr/share\n"
            "AgGes 60: ERROR: load model failed! "
            "Path:/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo\n");
}

// Any numbers at all: only that each call ends and answers something it may answer.
TEST_F(Interface, WhateverSamplesAndLengthsItIsGivenEveryCallEnds) {
  RandomPoints random(1101);
  const auto any_length = [&] {
    const int lengths[] = {INT_MIN, -1, 0, 1, 2, 3, 5, 9, 20, INT_MAX};
    return lengths[random.integer(0, 9)];
  };
  for (int round = 0; round < 60; ++round) {
    const int rates[] = {50, 50, 50, 100, 1, 0, -50, INT_MIN, INT_MAX};
    const int window = random.integer(0, 1) == 0 ? 10 : any_length();
    init_gesture_handle(h_, rates[random.integer(0, 8)], {random.gaussian(), 0, 0},
                        any_length(), any_length(), window, random.integer(-2, 60));
    set_gesture_rec_sensitivity(h_, any_length());
    for (const Pair& pair : random_stream(random, 200, true)) {
      const int gesture = update_gesture(h_, pair.acc, pair.gyro);
      ASSERT_TRUE(gesture == 6 || gesture == 5 || gesture == kDefaultLabel) << gesture;
      const int wearer = get_wearer_type(h_, pair.acc);
      ASSERT_TRUE(wearer >= 0 && wearer <= 2) << wearer;
      const int status = get_movement_status(h_);
      ASSERT_TRUE(status == 0 || status == 1);
    }
  }
}
