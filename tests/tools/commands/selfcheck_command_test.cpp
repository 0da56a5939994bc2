// wgr selfcheck as text and as JSON.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/cases.h"
#include "tools/run_wgr.h"

using nlohmann::json;
using ::testing::HasSubstr;

TEST(SelfCheckCommand, RecordsWhatTheProgramHolds) {
  if (!enough_cases()) GTEST_SKIP() << "takes too long where every step is slow";
  const Outcome outcome = run_wgr("selfcheck --record");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.out == read_file(WGR_ROOT "/workbench/golden/recorded.inc"));
}

TEST(SelfCheckCommand, PrintsTheSameAsTextAndAsJson) {
  if (!enough_cases()) GTEST_SKIP() << "takes too long where every step is slow";
  const Outcome text = run_wgr("selfcheck");
  const Outcome lines = run_wgr("selfcheck --json");
  ASSERT_EQ(text.status, 0) << text.out;
  ASSERT_EQ(lines.status, 0) << lines.out;
  const json sum = json::parse(lines.out);
  EXPECT_EQ(sum["type"], "summary");
  EXPECT_EQ(sum["differing"], 0);
  EXPECT_GT(sum["recognitions"], sum["streams"]);
  EXPECT_THAT(text.out,
              HasSubstr(sum["streams"].dump() + " streams, " +
                        sum["recognitions"].dump() + " recognitions; 0 streams differ"));
  EXPECT_EQ(sum["first_at"]["prediction"], 0);
  EXPECT_LT(sum["largest_difference"], 1e-9);
}
