// The verdict's lines, of verdicts made by hand.
#include "text/verdict_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "text/remedies.h"

using namespace wgr;

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(VerdictText, ListsWhatWasNotExpectedInGroups) {
  Verdict verdict;
  verdict.unexpected = {{3, Surplus::kBackground, {0, 1}, {}}};
  Explanation explanation;
  explanation.motions.resize(2);
  const std::string text = groups_text(verdict, explanation, false, Layout());
  EXPECT_THAT(text, HasSubstr("\nreported but not expected: 2\n"));
  EXPECT_THAT(text, HasSubstr("  class 3, "));
  EXPECT_THAT(text, HasSubstr(", motion 2\n"));
}

TEST(VerdictText, HasALineForEachTrialThatIsShown) {
  Verdict verdict;
  verdict.trials.resize(2);
  verdict.trials[0].reported = 4;
  verdict.trials[1].reported = 7;
  verdict.trials[1].with.change = Change::kSensitivity;
  ASSERT_EQ(shown_trials(verdict).size(), 2u);
  const std::string text = verdict_text(verdict, Explanation(), Layout());
  EXPECT_THAT(text, HasSubstr("\nunder other circumstances, each tried on"));
  EXPECT_THAT(text, HasSubstr("  4 reported  "));
  EXPECT_THAT(text, HasSubstr("  7 reported  "));
}

TEST(VerdictText, SaysWhetherAnythingHelped) {
  Verdict verdict;
  verdict.expected = 5;
  verdict.trials.resize(2);
  verdict.trials[0].came = 3;
  verdict.trials[1].came = 4;
  EXPECT_THAT(trials_heading(verdict), StartsWith("what would have helped"));
  verdict.trials[1].unexpected = 1;
  EXPECT_THAT(trials_heading(verdict), StartsWith("nothing that was tried"));
}

TEST(VerdictText, SaysThatNothingWasFound) {
  Verdict verdict;
  EXPECT_EQ(stream_text(verdict), "nothing found");
  Finding finding = {};
  finding.id = FindingId::kGap;
  verdict.diagnosis.findings = {finding};
  EXPECT_EQ(stream_text(verdict), "gap (possible)");
}

TEST(Remedies, NameTheSensorThatTheRepairIsOf) {
  for (const RepairKind kind : {RepairKind::kAccAxes, RepairKind::kGyroAxes}) {
    Verdict verdict;
    Finding finding = {};
    finding.repair = Repair{kind};
    verdict.diagnosis.findings = {finding};
    verdict.principal = Principal{Blame::kStream, Sureness::kCertain, 0};
    const std::string sensor = kind == RepairKind::kGyroAxes ? "gyro" : "acc";
    EXPECT_EQ(filled("SENSOR = AXES", verdict, Settings()),
              sensor + " = " + sensor + ".x, " + sensor + ".y, " + sensor + ".z");
  }
}
