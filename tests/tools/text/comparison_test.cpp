// Two evaluations side by side.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/errors.h"
#include "support/files.h"
#include "text/comparison.h"
#include "tools/run_wgr.h"

using namespace wgr;

using ::testing::HasSubstr;
using Json = nlohmann::ordered_json;

static Json evaluation(double accuracy, size_t rejected, double hours) {
  return {{"repetitions", 20},
          {"accuracy", accuracy},
          {"latency", nullptr},
          {"background_hours", hours},
          {"false_positives_per_hour", 2.0},
          {"confusion", {{"3", {{"3", 20 - rejected}, {"rejected", rejected}}}}},
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
      comparison(evaluation(0.8, 4, 1.0), evaluation(0.9, 2, 1.0), "old.json");
  EXPECT_TRUE(compared["same_set"].get<bool>());
  EXPECT_EQ(change_named(compared, "reported as their class")["better"], true);
  EXPECT_EQ(change_named(compared, "class 3 tap, recall")["old"], 0.8);
  EXPECT_EQ(change_named(compared, "class 3 tap: rejected")["better"], true);
  EXPECT_EQ(change_named(compared, "too weak")["new"], 2);
  EXPECT_TRUE(change_named(compared, "false positives")["better"].is_null());
  EXPECT_TRUE(change_named(compared, "latency").is_null()) << "neither measured one";
  EXPECT_TRUE(change_named(compared, "class 3 tap, precision").is_null());
  const std::string text = comparison_text(compared);
  EXPECT_THAT(text, HasSubstr("compared with old.json:"));
  EXPECT_THAT(text, HasSubstr("80.0 % ->         90.0 %  better\n"));
  const Json back =
      comparison(evaluation(0.9, 2, 1.0), evaluation(0.8, 4, 1.0), "new.json");
  EXPECT_EQ(change_named(back, "class 3 tap: rejected")["better"], false);
}

TEST(Comparison, CountsOfOtherRecordingsAreNeitherBetterNorWorse) {
  const Json compared =
      comparison(evaluation(0.8, 4, 1.0), evaluation(0.9, 2, 3.0), "old.json");
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
