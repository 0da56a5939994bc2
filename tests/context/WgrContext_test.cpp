#include "context/WgrContext.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "WgrInterface.h"
#include "support/installed_models.h"
#include "support/same_bits.h"
#include "support/text.h"

using namespace wgr;

// Each test has the six models and a log that starts with its first own line.
class Context : public ::testing::Test {
 protected:
  void SetUp() override {
    install_all_models();
    forget_log();
  }

  static void forget_log() { std::filesystem::remove(kLogPath); }

  static std::unique_ptr<WgrContext> make() {
    Capture printing;
    return std::make_unique<WgrContext>();
  }

  // At 50 samples a second with the default lengths, and without earlier log lines.
  static std::unique_ptr<WgrContext> ready() {
    auto context = make();
    context->init_gesture_handle(50, {0, 0, 0}, -1, -1, -1, 50);
    forget_log();
    return context;
  }

  static int label(const WgrContext& context) {
    const Gmodel& model = *context.ages->hgr->model;
    return model.class_labels.empty() ? -1 : model.class_labels[0];
  }
};

static int feed(WgrContext& context, const Stream& stream) {
  int answer = -1;
  for (const Pair& pair : stream) answer = context.update_gesture(pair.acc, pair.gyro);
  return answer;
}

// Reports that the callback received.
struct Report {
  void* handle;
  int gesture;
};
static std::vector<Report> reports;

static void note(void* handle, int gesture, void* user_data) {
  static_cast<std::vector<Report>*>(user_data)->push_back({handle, gesture});
}

static void listen(WgrContext& context) {
  reports.clear();
  context.event_cb = note;
  context.user_data = &reports;
}

TEST_F(Context, TheSixModelPathsAreZeroPaddedAndInOrder) {
  const char* const paths[6] = {
      "/usr/share/GestureModel/olvo_model_5_ow/hgr_olvo",
      "/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo",
      "/usr/share/GestureModel/olvo_model_5_mix/hgr_olvo",
      "/usr/share/GestureModel/olvo_model_5r_ow/hgr_olvo",
      "/usr/share/GestureModel/olvo_model_5r_fb/hgr_olvo",
      "/usr/share/GestureModel/olvo_model_5r_mix/hgr_olvo",
  };
  static_assert(sizeof c_GmodelPath == 600);
  for (int i = 0; i < 6; ++i) {
    char expected[100] = {};
    std::strcpy(expected, paths[i]);
    EXPECT_EQ(std::memcmp(c_GmodelPath[i], expected, 100), 0) << i;
  }
}

TEST_F(Context, ANewOneHasTheDefaultModelAndParameters) {
  const auto context = make();
  EXPECT_EQ(label(*context), kDefaultLabel);
  EXPECT_EQ(context->event_cb, nullptr);
  EXPECT_EQ(context->user_data, nullptr);
  EXPECT_EQ(context->whd->sample_rate, 50);
  EXPECT_EQ(context->whd->window_len, 50);
  EXPECT_EQ(context->whd->params->lags, std::vector<int>{10});
  const AgGes& engine = *context->ages;
  EXPECT_EQ(engine.work_mode, 1);
  EXPECT_EQ(engine.sample_rate, 50);
  EXPECT_TRUE(same_bits(engine.gyro_bias, Point3Df{0, 0, 0}));
  EXPECT_EQ(engine.min_motion_len, 25);
  EXPECT_EQ(engine.history_len, 250);
  EXPECT_EQ(engine.static_window, 10);
  EXPECT_EQ(engine.strength_threshold, 2.0);
}

TEST_F(Context, ConstructionLogsItsStepsInOrder) {
  make();
  EXPECT_EQ(read_log(),
            "WgrContext 36: WgrConstruct start\n"
            "WHD 623: WHD start\n"
            "WHD 647: pp is NON NULL\n"
            "WHD 658: WHD end\n"
            "AgGes 14: AgGes start\n"
            "AgGes 40: /usr/share\n"
            "AgGes 50: Load model success!\n"
            "AgGes 70: AgGes end\n"
            "WgrContext 44: WgrConstruct end\n");
}

TEST_F(Context, AGivenClassifierIsTheHandlesWithoutAFile) {
  std::filesystem::remove_all("/usr/share/GestureModel/olvo_model_5_fb");
  auto classifier = std::make_unique<HGR>(0);
  const HGR* const given = classifier.get();
  *classifier->model = small_model(77, -1e6);
  WgrHandle handle = new WgrContext(std::move(classifier));
  EXPECT_EQ(read_log(),
            "WgrContext 36: WgrConstruct start\n"
            "WHD 623: WHD start\n"
            "WHD 647: pp is NON NULL\n"
            "WHD 658: WHD end\n"
            "WgrContext 44: WgrConstruct end\n");
  WgrContext& context = *static_cast<WgrContext*>(handle);
  EXPECT_EQ(context.ages->hgr, given);
  EXPECT_EQ(context.ages->work_mode, 1);
  EXPECT_EQ(context.ages->static_window, 10);
  EXPECT_EQ(context.ages->strength_threshold, 2.0);
  EXPECT_EQ(context.whd->window_len, 50);

  init_gesture_handle(handle, 50, {0, 0, 0}, -1, -1, -1, 50);
  listen(context);
  feed(context, rest(50) + gesture(20, 6.0) + rest(20));
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].gesture, 77);
  // What a host asks for afterwards is what is installed.
  set_gesture_model(handle, WG_WEARER_LEFT, static_cast<WgWorkMode>(0));
  EXPECT_EQ(label(context), kFirstInstalledLabel);
  destroy_gesture_handle(&handle);
  EXPECT_EQ(handle, nullptr);
}

TEST_F(Context, NothingIsLoggedWhileLoggingIsOff) {
  WgrContext::set_logging(false);
  {
    const auto context = make();
    context->init_gesture_handle(50, {0, 0, 0}, -1, -1, -1, 50);
    feed(*context, rest(50) + gesture(20, 6.0) + rest(20));
  }
  EXPECT_FALSE(std::filesystem::exists(kLogPath));
  WgrContext::set_logging(true);
  make();
  EXPECT_NE(read_log(), "");
}

TEST_F(Context, BeforeItsInitialisationSamplesOnlyMeetTheMismatch) {
  const auto context = make();
  forget_log();
  Capture printing;
  EXPECT_EQ(context->update_gesture({0, 0, 10}, {0, 0, 0}), 6);
  EXPECT_EQ(printing.finish(), "Error : gesture mode setting do not match!\n");
  EXPECT_TRUE(context->ages->acc_history.empty());
  EXPECT_EQ(read_log(),
            "update_gesture 115: update_gesture start\n"
            "update_gesture 123: ---gestype---:14\n");
}

TEST_F(Context, InitialisationReachesDetectorAndEngine) {
  const auto context = make();
  forget_log();
  EXPECT_EQ(context->init_gesture_handle(40, {1, 2, 3}, 7, 70, 9, 33), 0);
  EXPECT_EQ(read_log(), "init_gesture_handle 68: ---init_gesture_handle success\n");
  EXPECT_EQ(context->whd->sample_rate, 40);
  EXPECT_EQ(context->whd->window_len, 33);
  EXPECT_EQ(context->whd->params->lags, std::vector<int>{10});
  const AgGes& engine = *context->ages;
  EXPECT_EQ(engine.work_mode, 2);
  EXPECT_EQ(engine.sample_rate, 40);
  EXPECT_TRUE(same_bits(engine.gyro_bias, Point3Df{1, 2, 3}));
  EXPECT_EQ(engine.min_motion_len, 7);
  EXPECT_EQ(engine.history_len, 70);
  EXPECT_EQ(engine.static_window, 9);
  EXPECT_EQ(engine.strength_threshold, 2.0);
}

TEST_F(Context, EveryWearerAndModeLoadsItsModel) {
  const auto context = make();
  for (int wearer = 0; wearer < 2; ++wearer) {
    for (int mode = 0; mode < 3; ++mode) {
      EXPECT_EQ(context->set_gesture_model(WgWatchWearer(wearer), WgWorkMode(mode)), 0);
      EXPECT_EQ(label(*context), kFirstInstalledLabel + 3 * wearer + mode);
    }
  }
}

TEST_F(Context, AModelChangeLogsTwoLines) {
  const auto context = make();
  forget_log();
  context->set_gesture_model(WG_WEARER_RIGHT, WG_MODE_MIX);
  EXPECT_EQ(read_log(),
            "set_gesture_model 81: ---setmode----hand type:1, mode:2, "
            "path:/usr/share/GestureModel/olvo_model_5r_mix/hgr_olvo\n"
            "set_gesture_model 87: ---set_hand_model success\n");
}

TEST_F(Context, AnEmptyModelRecognisesNothing) {
  const auto context = make();
  context->init_gesture_handle(50, {0, 0, 0}, -1, -1, -1, 50);
  listen(*context);
  std::filesystem::remove_all("/usr/share/GestureModel/olvo_model_5_ow");
  context->set_gesture_model(WG_WEARER_LEFT, WG_MODE_OW);
  EXPECT_EQ(feed(*context, rest(12) + gesture(20, 6.0)), 6);
  EXPECT_TRUE(reports.empty());
  EXPECT_EQ(context->ages->gesture_class, 14);
}

TEST_F(Context, AWearerOrModeOutOfRangeIsRefusedWithoutATrace) {
  const auto context = make();
  forget_log();
  HGR* const hgr = context->ages->hgr;
  const struct {
    int wearer, mode;
  } cases[] = {{2, 0},  {-1, 0}, {0, 3},          {0, -1},        {-1, 3},
               {2, -1}, {1, -2}, {0x7fffffff, 0}, {0, 0x7fffffff}};
  for (const auto& c : cases) {
    EXPECT_EQ(context->set_gesture_model(WgWatchWearer(c.wearer), WgWorkMode(c.mode)), 1)
        << c.wearer << ", " << c.mode;
  }
  EXPECT_EQ(read_log(), "");
  EXPECT_EQ(context->ages->hgr, hgr);
  EXPECT_EQ(label(*context), kDefaultLabel);
}

TEST_F(Context, WithoutAClassifierNothingIsLoadedButTheLinesAreLogged) {
  const auto context = make();
  delete context->ages->hgr;
  context->ages->hgr = nullptr;
  forget_log();
  EXPECT_EQ(context->set_gesture_model(WG_WEARER_LEFT, WG_MODE_OW), 0);
  EXPECT_EQ(context->ages->hgr, nullptr);
  EXPECT_EQ(count_of(read_log(), "\n"), 2u);
}

TEST_F(Context, CanBeDestroyedWithoutItsParts) {
  const auto context = make();
  delete context->whd;
  delete context->ages;
  context->whd = nullptr;
  context->ages = nullptr;
}

TEST_F(Context, TheDetectorsVerdictsAreTheWearersAndTwo) {
  const auto context = make();
  context->init_gesture_handle(50, {0, 0, 0}, -1, -1, -1, 20);
  const auto swing = [](int i, double y) {
    const double side = (i / 5) % 2 == 0 ? 4.0 : -4.0;
    return Point3Df{side, side * y, 10};
  };
  forget_log();
  for (int i = 0; i < 19; ++i) ASSERT_EQ(context->update_handtype(swing(i, 1)), 2) << i;
  EXPECT_EQ(context->update_handtype(swing(19, 1)), 0);
  int verdict = -1;
  for (int i = 0; i < 20; ++i) verdict = context->update_handtype(swing(i, -1));
  EXPECT_EQ(verdict, 1);
  for (int i = 0; i < 20; ++i) verdict = context->update_handtype({0, 0, 10});
  EXPECT_EQ(verdict, 2);
  EXPECT_EQ(read_log(), "");
  EXPECT_TRUE(context->ages->acc_history.empty());
}

TEST_F(Context, ASampleLogsTwoLines) {
  const auto context = ready();
  context->ages->gesture_class = 6;
  EXPECT_EQ(context->update_gesture({0, 0, 10}, {1, 2, 3}), 6);
  EXPECT_EQ(read_log(),
            "update_gesture 115: update_gesture start\n"
            "update_gesture 123: ---gestype---:6\n");
}

TEST_F(Context, ARecognitionLogsItsPredictionBetweenTheTwoLines) {
  const auto context = ready();
  Stream stream = rest(12) + gesture(20, 6.0);
  const Pair last = stream.back();
  stream.pop_back();
  feed(*context, stream);
  forget_log();
  EXPECT_EQ(context->update_gesture(last.acc, last.gyro), kDefaultLabel);
  EXPECT_EQ(read_log(),
            "update_gesture 115: update_gesture start\n"
            "predict 336: nTemplate:1, nclasses:1, normalize:0, havegravity:1\n"
            "update_gesture 123: ---gestype---:21\n");
}

static bool all_buffers_empty(const AgGes& engine) {
  return engine.motion_acc.empty() && engine.motion_gyro.empty() &&
         engine.last_motion_acc.empty() && engine.trace.empty() &&
         engine.trace_velocity.empty() && engine.trace_position.empty() &&
         engine.aux_points_a.empty() && engine.aux_points_b.empty() &&
         engine.acc_history.empty() && engine.gyro_history.empty() &&
         engine.static_history.empty();
}

static void fill_all_buffers(AgGes& engine) {
  const Points points(30, Point3Df{1, 2, 3});
  const Samples samples(30, Point3Df{1, 2, 3});
  engine.last_motion_acc = engine.acc_history = engine.gyro_history = samples;
  engine.trace = engine.trace_velocity = engine.trace_position = points;
  engine.aux_points_a = engine.aux_points_b = points;
  engine.static_history.assign(30, true);
}

TEST_F(Context, AnyClassButThreeIsReportedAsItStandsAndTheBuffersAreEmptied) {
  for (const int gesture : {0, 1, 5, 7, 12, 15, -3, 1000}) {
    const auto context = ready();
    listen(*context);
    fill_all_buffers(*context->ages);
    context->ages->gesture_class = gesture;
    EXPECT_EQ(context->update_gesture({0, 0, 10}, {1, 2, 3}), gesture);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].gesture, gesture);
    EXPECT_EQ(reports[0].handle, context.get());
    EXPECT_EQ(context->ages->gesture_class, 14);
    EXPECT_TRUE(all_buffers_empty(*context->ages));
  }
}

// The engine itself empties the motion that has ended; one in the wrong mode does
// nothing.
TEST_F(Context, AReportEmptiesWhatAnEngineThatDidNotRunHolds) {
  const auto context = ready();
  listen(*context);
  AgGes& engine = *context->ages;
  fill_all_buffers(engine);
  engine.motion_acc = engine.motion_gyro = engine.acc_history;
  engine.work_mode = kAccOnly;
  engine.gesture_class = 4;
  const Capture printing;
  EXPECT_EQ(context->update_gesture({0, 0, 10}, {1, 2, 3}), 4);
  EXPECT_TRUE(all_buffers_empty(engine));
}

TEST_F(Context, ARejectedMotionIsReportedAsFive) {
  const auto context = ready();
  listen(*context);
  fill_all_buffers(*context->ages);
  context->ages->gesture_class = 13;
  EXPECT_EQ(context->update_gesture({0, 0, 10}, {1, 2, 3}), 5);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].gesture, 5);
  EXPECT_EQ(context->ages->gesture_class, 14);
  EXPECT_TRUE(all_buffers_empty(*context->ages));
  EXPECT_EQ(count_of(read_log(), "---gestype---:13\n"), 1u);
}

TEST_F(Context, SixAndFourteenAreNeverReportedAndStay) {
  for (const int gesture : {6, 14}) {
    const auto context = ready();
    listen(*context);
    fill_all_buffers(*context->ages);
    context->ages->gesture_class = gesture;
    EXPECT_EQ(context->update_gesture({0, 0, 10}, {1, 2, 3}), 6);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(context->ages->gesture_class, gesture);
    EXPECT_EQ(context->ages->acc_history.size(), 31u);
    EXPECT_EQ(context->ages->trace.size(), 30u);
    EXPECT_EQ(context->ages->aux_points_a.size(), 30u);
  }
}

TEST_F(Context, StrengthAndDurationOutlastTheReport) {
  const auto context = ready();
  listen(*context);
  EXPECT_EQ(feed(*context, rest(12) + gesture(18, 6.0)), kDefaultLabel);
  EXPECT_GT(context->ages->motion_strength, 2.0);
  EXPECT_EQ(context->ages->recog_cost_time, 600.0);
  EXPECT_NE(context->ages->gravity.z, 0.0);
}

TEST_F(Context, WithoutACallbackAllElseHappens) {
  const auto context = ready();
  EXPECT_EQ(feed(*context, rest(12) + gesture(20, 6.0)), kDefaultLabel);
  EXPECT_EQ(context->ages->gesture_class, 14);
  EXPECT_TRUE(all_buffers_empty(*context->ages));
}

TEST_F(Context, TheNextGestureIsCutFromLaterSamplesOnly) {
  const auto context = ready();
  listen(*context);
  feed(*context, rest(12) + gesture(20, 6.0));
  EXPECT_EQ(feed(*context, gesture(20, 6.0)), kDefaultLabel);
  EXPECT_EQ(reports.size(), 2u);
}

TEST_F(Context, WithoutAPlaceForItsLogAllElseIsTheSame) {
  std::filesystem::path place = kLogPath;
  std::filesystem::create_directory(place);  // no file can be opened by this name
  Capture printing;
  {
    WgrContext context;
    EXPECT_EQ(context.init_gesture_handle(50, {0, 0, 0}, -1, -1, -1, 50), 0);
    EXPECT_EQ(context.set_gesture_model(WG_WEARER_RIGHT, WG_MODE_OW), 0);
    EXPECT_EQ(feed(context, rest(12) + gesture(20, 6.0)), kFirstInstalledLabel + 3);
  }
  const std::string printed = printing.finish();
  EXPECT_EQ(count_of(printed, "\n"), 5u) << printed;  // the progress of construction
  EXPECT_TRUE(std::filesystem::is_empty(place));
}
