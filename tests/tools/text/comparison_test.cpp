// Two evaluations side by side.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "base/errors.h"
#include "support/files.h"
#include "text/comparison.h"
#include "tools/run_wgr.h"

using namespace wgr;

using ::testing::HasSubstr;
using Json = nlohmann::ordered_json;

static Json evaluation(double accuracy, size_t rejected, double hours) {
  return {{"repetitions", 200},
          {"accuracy", accuracy},
          {"latency", nullptr},
          {"background_hours", hours},
          {"false_positives_per_hour", 2.0},
          {"false_per_hour_bound_95", 3.0 / hours},
          {"confusion", {{"3", {{"3", 200 - rejected}, {"rejected", rejected}}}}},
          {"classes",
           {{"3", {{"name", "tap"}, {"recall", accuracy}, {"precision", nullptr}}}}},
          {"misses", {{"too weak", rejected}}},
          {"of a later version", {1, 2}}};
}

static Json change_named(const Json& compared, const std::string& name) {
  for (const Json& one : compared["changes"]) {
    if (one["name"] == name) return one;
  }
  return nullptr;
}

TEST(Comparison, SaysWhatIsBetterAndWhatIsWorse) {
  const Json compared =
      comparison(evaluation(0.8, 40, 1.0), evaluation(0.9, 20, 1.0), "old.json");
  EXPECT_TRUE(compared["same_set"].get<bool>());
  const Json accuracy = change_named(compared, "reported as their class");
  EXPECT_EQ(accuracy["better"], true);
  EXPECT_EQ(accuracy["chance"], false);
  EXPECT_GT(accuracy["low_95"], 0.02);
  EXPECT_LT(accuracy["high_95"], 0.18);
  EXPECT_EQ(change_named(compared, "class 3 tap, recall")["old"], 0.8);
  EXPECT_EQ(change_named(compared, "class 3 tap: rejected")["better"], true);
  EXPECT_EQ(change_named(compared, "too weak")["new"], 20);
  EXPECT_TRUE(change_named(compared, "latency").is_null()) << "neither measured one";
  EXPECT_TRUE(change_named(compared, "class 3 tap, precision").is_null());
  const std::string text = comparison_text(compared);
  EXPECT_THAT(text, HasSubstr("compared with old.json; in brackets"));
  EXPECT_THAT(text,
              HasSubstr("80.0 % ->        90.0 %  better (+3.0 to +17.0 points)\n"));
  const Json back =
      comparison(evaluation(0.9, 20, 1.0), evaluation(0.8, 40, 1.0), "new.json");
  EXPECT_EQ(change_named(back, "class 3 tap: rejected")["better"], false);
}

// Of ten times as few repetitions the same difference is no difference.
TEST(Comparison, CallsChanceWhatMayBeChance) {
  const Json compared =
      comparison(evaluation(0.80, 40, 1.0), evaluation(0.82, 36, 1.0), "old.json");
  for (const char* const name :
       {"reported as their class", "class 3 tap, recall", "class 3 tap: rejected",
        "too weak", "false positives"}) {
    const Json one = change_named(compared, name);
    EXPECT_EQ(one["chance"], true) << name;
    EXPECT_TRUE(one["better"].is_null()) << name;
    EXPECT_LT(one["low_95"], 0.0) << name;
    EXPECT_GT(one["high_95"], 0.0) << name;
  }
  EXPECT_THAT(comparison_text(compared),
              HasSubstr("82.0 %  no more than chance (-5.7 to +9.7 points)\n"));
}

// A rate by the events behind it: two an hour in one hour are two, in a hundred 200.
TEST(Comparison, CountsTheEventsBehindARate) {
  const auto rate = [](double now, double hours) {
    Json changed = evaluation(0.8, 40, hours);
    changed["false_positives_per_hour"] = now;
    return change_named(comparison(evaluation(0.8, 40, hours), changed, "old.json"),
                        "false positives");
  };
  EXPECT_EQ(rate(1.0, 1.0)["chance"], true);
  EXPECT_EQ(rate(1.0, 100.0)["chance"], false);
  EXPECT_EQ(rate(1.0, 100.0)["better"], true);
  EXPECT_EQ(rate(3.0, 100.0)["better"], false);
}

// What an older version wrote says less, and what is a bound already has none.
TEST(Comparison, SaysWhereNoIntervalIsKnown) {
  Json old = evaluation(0.8, 40, 1.0);
  Json now = evaluation(0.8, 40, 2.0);
  old["latency"] = 0.2;
  now["latency"] = 0.3;
  now["latency_low_95"] = 0.29;
  now["latency_high_95"] = 0.31;
  for (const char* const name : {"latency", "false positives, no more than"}) {
    const Json one = change_named(comparison(old, now, "old.json"), name);
    EXPECT_TRUE(one["chance"].is_null()) << name;
    EXPECT_TRUE(one["better"].is_null()) << name;
  }
  EXPECT_THAT(comparison_text(comparison(old, now, "old.json")),
              HasSubstr("200 ms ->        300 ms  no interval is known\n"));
  old["latency_low_95"] = 0.19;
  old["latency_high_95"] = 0.22;
  const Json one = change_named(comparison(old, now, "old.json"), "latency");
  EXPECT_EQ(one["better"], false);
  EXPECT_NEAR(one["low_95"].get<double>(), 0.1 - std::hypot(0.01, 0.02), 1e-12);
  EXPECT_NEAR(one["high_95"].get<double>(), 0.1 + std::hypot(0.01, 0.01), 1e-12);
}

TEST(Comparison, CountsOfOtherRecordingsAreNeitherBetterNorWorse) {
  const Json compared =
      comparison(evaluation(0.8, 40, 1.0), evaluation(0.9, 10, 3.0), "old.json");
  EXPECT_FALSE(compared["same_set"].get<bool>());
  EXPECT_TRUE(change_named(compared, "too weak")["better"].is_null());
  EXPECT_THAT(comparison_text(compared), HasSubstr("counts cannot be compared"));
}

TEST(Comparison, ReadsWhatEvalPrintedAndNothingElse) {
  const TempDirectory folder;
  const std::string path = folder.file("old.json");
  write_file(path, evaluation(0.8, 4, 1.0).dump());
  const Json read = read_evaluation(path);
  EXPECT_EQ(read["accuracy"], 0.8);
  EXPECT_FALSE(read.contains("of a later version"));
  for (const char* const wrong : {"[]", "{}", "{\"confusion\": 1}",
                                  "{\"confusion\": {}, \"classes\": {\"1\": 2}}"}) {
    write_file(path, wrong);
    EXPECT_THROW(read_evaluation(path), UsageError) << wrong;
  }
}
