// What the tool makes of gestures that others have recorded: wgr eval, end to end. The
// counts are those that were measured; a change that moves them is to be looked at.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/cases.h"
#include "tools/run_wgr.h"

using nlohmann::json;

static const std::string kData = std::string(WGR_ROOT) + "/../shared/data/";

static bool at_hand(const std::string& set) {
  return std::filesystem::exists(kData + set + "/index.csv");
}

static json evaluate(const std::string& arguments) {
  const Outcome outcome = run_wgr("eval --json " + arguments);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return outcome.status == 0 ? json::parse(outcome.out) : json();
}

// 280 of the 300 repetitions are kept: gestures that mostly turn are weak in
// acceleration. With all of the others' repetitions as templates 90 % are right; averages
// adapted to part the classes come as far with a tenth of them.
TEST(RecordedSets, PhoneInTheHandOfPeopleWhoAreNotInTheModel) {
  if (!at_hand("uhh_imu")) GTEST_SKIP() << "../shared/data/uhh_imu is not at hand";
  const json figures = evaluate(kData +
                                "uhh_imu --leave-out subject --no-gravity "
                                "--use-annotations --min-length 10");
  EXPECT_EQ(figures["repetitions"], 300);
  EXPECT_EQ(figures["kept"], 280);
  EXPECT_EQ(figures["misses"]["too weak"], 19);
  EXPECT_EQ(figures["misses"]["starts fast"], 1);
  EXPECT_GE(figures["right"], 249);
  EXPECT_GE(figures["classified_right"], 0.89);
  EXPECT_GE(figures["baseline_1nn"], 0.90);
  for (const json& fold : figures["folds"]) {
    EXPECT_LE(fold["templates"], 20);
  }
}

TEST(RecordedSets, WandWithoutItsAttitude) {
  if (!at_hand("wand_nano33")) {
    GTEST_SKIP() << "../shared/data/wand_nano33 is not at hand";
  }
  if (!enough_cases()) GTEST_SKIP() << "takes too long where every step is slow";
  const json figures = evaluate(
      kData +
      "wand_nano33 --leave-out repetition --no-attitude --kind exemplars --share 1 "
      "--tolerance 0");
  EXPECT_EQ(figures["repetitions"], 125);
  EXPECT_EQ(figures["kept"], 123);
  EXPECT_EQ(figures["misses"]["starts fast"], 2);
  EXPECT_GE(figures["classified_right"], 0.95);
  EXPECT_GE(figures["kept_accuracy"], 0.94);
}

TEST(RecordedSets, BoardInTheHand) {
  if (!at_hand("nano_gestures")) {
    GTEST_SKIP() << "../shared/data/nano_gestures is not at hand";
  }
  if (!enough_cases()) GTEST_SKIP() << "takes too long where every step is slow";
  const std::string set = kData + "nano_gestures --leave-out repetition --folds 4 ";
  const json exemplars = evaluate(set + "--kind exemplars --share 1 --tolerance 0");
  EXPECT_EQ(exemplars["repetitions"], 265);
  EXPECT_EQ(exemplars["kept"], 228);
  EXPECT_EQ(exemplars["misses"]["starts fast"], 30);
  EXPECT_EQ(exemplars["misses"]["too weak"], 7);
  EXPECT_GE(exemplars["classified_right"], 0.96);
  EXPECT_GE(exemplars["kept_accuracy"], 0.96);

  const json adapted = evaluate(set + "--kind adapted --templates 2");
  EXPECT_GE(adapted["classified_right"], 0.955);
  EXPECT_GE(adapted["kept_accuracy"], 0.955);
}

// A quarter of an hour of walking, standing up and sitting down without an event: no more
// than 13.1 an hour, with 95 % confidence.
TEST(RecordedSets, WalkingIsNoGestureToAModelBuiltForOneFalsePositiveAnHour) {
  if (!at_hand("geotec_watch")) {
    GTEST_SKIP() << "../shared/data/geotec_watch is not at hand";
  }
  TempDirectory directory;
  const std::string set = directory.file("set");
  const std::string model = directory.file("m.xml");
  ASSERT_EQ(
      run_wgr("synth --training " + set + " --persons 6 --gestures 4 --distractors 60")
          .status,
      0);
  ASSERT_EQ(run_wgr("build " + set + " --false-positives-per-hour 1 -o " + model).status,
            0);
  const json figures =
      evaluate("--background " + kData + "geotec_watch --model " + model);
  EXPECT_EQ(figures["false_positives"], 0);
  EXPECT_NEAR(figures["background_hours"], 0.229, 0.001);
  EXPECT_LT(figures["false_per_hour_bound_95"], 13.2);
}
