// The figures of an evaluation as text, as JSON, and compared with what is required.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "evaluation/evaluation.h"
#include "support/files.h"
#include "text/evaluation_text.h"
#include "tools/run_wgr.h"

using namespace wgr;

TEST(EvaluationFigures, AreSharesQuantilesAndABound) {
  Evaluation none;
  EXPECT_EQ(none.accuracy(), 0.0);
  EXPECT_EQ(none.latency(0.5), std::nullopt);
  EXPECT_EQ(none.false_per_hour_bound(), std::nullopt);
  Evaluation some;
  some.repetitions = 8;
  some.right = 6;
  some.latencies = {0.1, 0.2, 0.3, 0.4, 0.9};
  some.confusion = {{1, {{"1", 6}, {"2", 1}, {kOutcomeNotDetected, 1}}}};
  some.events = {{1, 8}, {2, 0}};
  some.background_hours = 2.0;
  EXPECT_EQ(some.accuracy(), 0.75);
  EXPECT_EQ(some.latency(0.0), 0.1);
  EXPECT_EQ(some.latency(0.5), 0.3);
  EXPECT_EQ(some.latency(1.0), 0.9);
  EXPECT_EQ(some.recall(1), 0.75);
  EXPECT_EQ(some.precision(1), 0.75);
  EXPECT_EQ(some.recall(2), std::nullopt);
  EXPECT_EQ(some.precision(2), std::nullopt);
  // Poisson's upper limits at 95 %, as tables have them.
  EXPECT_EQ(some.false_positives_per_hour(), 0.0);
  EXPECT_NEAR(*some.false_per_hour_bound(), 2.9957 / 2.0, 1e-4);
  some.false_positives = 4;
  EXPECT_EQ(some.false_positives_per_hour(), 2.0);
  EXPECT_NEAR(*some.false_per_hour_bound(), 9.1535 / 2.0, 1e-4);
}

// Two folds, in which a gesture with a word for a name was seen 8 times.
static Evaluation two_folds() {
  Evaluation made;
  made.repetitions = 8;
  made.right = 6;
  made.kept = 7;
  made.kept_right = 6;
  made.kept_classified = 7;
  made.pre_segmented = 2;
  made.baseline = {4, 3};
  made.confusion = {{1, {{"1", 6}, {"2", 1}, {kOutcomeNotDetected, 1}}}};
  made.events = {{1, 8}};
  made.misses = {{"too short", 2}};
  made.false_positives = 4;
  made.rejected_outside = 5;
  made.background_hours = 2.0;
  made.latencies = {0.1, 0.2, 0.9};
  made.folds = {{"ann", 10, 3, {}, 5, 4}, {"bob", 12, 2, {}, 3, 2}};
  return made;
}

static Provenance with_a_word() {
  Provenance provenance;
  provenance.classes = {{"raise", 1}, {"2", 2}};
  return provenance;
}

TEST(EvaluationFigures, ArePrintedForPeopleAsAWhole) {
  EXPECT_EQ(
      text_of(two_folds(), with_a_word()),
      "accuracy:        75.0 %: 6 of 8 repetitions reported as their class (2 of them "
      "pre-segmented and not played as streams)\n"
      "of those kept:   85.7 % of 7; 100.0 % classified right whatever the score; 1-NN "
      "baseline 75.0 %\n"
      "\n"
      "class \\ reported as         1        2 not detected   recall precision\n"
      "1 raise                     6        1            1   75.0 %   75.0 %\n"
      "\n"
      "missed        2  too short\n"
      "false positives: 4 in 2.000 h of background: 2.00 an hour, no more than 4.6 with "
      "95 % confidence; 5 motions reported there as like no gesture\n"
      "latency:         200 ms, at most 900 ms, from the labelled end of a repetition to "
      "its event\n"
      "\n"
      "over 2 parts left out: 73.3 % on average, 66.7 % to 80.0 % with 95 % confidence "
      "(bootstrap); worst 66.7 %, bob\n"
      "of 7 kept: 75.0 % with all repetitions as templates, 100.0 % with the chosen "
      "ones, "
      "85.7 % reported; of all 8: 75.0 % reported\n"
      "left out ann: 4 of 5 repetitions right; 3 templates from 10 examples\n"
      "left out bob: 2 of 3 repetitions right; 2 templates from 12 examples\n");
  EXPECT_EQ(text_of(Evaluation(), Provenance()),
            "false positives: no background to count them in\n");
}

// 12 of 16 answers are right, 20 samples have none; bounds are of 2 of 3 recordings.
TEST(EvaluationFigures, OfTheWristHaveBoundsOverRecordingsAndPeople) {
  Evaluation made;
  EXPECT_EQ(text_of(made, Provenance()).find("wrist:"), std::string::npos);
  EXPECT_FALSE(to_json(made, Provenance()).contains("wrist"));
  made.wrists = {
      {"ann", true, 12, 8, 0}, {"ann", true, 12, 3, 1}, {"bob", false, 12, 1, 3}};
  EXPECT_THAT(
      text_of(made, Provenance()),
      ::testing::HasSubstr(
          "wrist:           right in 75.0 % of 16 answers, undecided in 55.6 % of 36 "
          "samples\n"
          "                 majority of a recording's answers: right in 2 of 3 (66.7 %, "
          "more than 13.5 % and less than 98.3 % with 95 % confidence each), wrong in 1\n"
          "                 more than twice the other wrist's, of 100 and more: right in "
          "0, wrong in 0, undecided in 3\n"
          "                 answers of 2 subjects: right in 58.3 % on average"));
  const auto json = to_json(made, Provenance())["wrist"];
  EXPECT_EQ(json["right"], 12);
  EXPECT_EQ(json["majority_right"], 2);
  EXPECT_EQ(json["over_subjects"]["worst"], 0.25);
}

TEST(EvaluationFigures, AreWrittenAsJson) {
  const auto figures = to_json(two_folds(), with_a_word());
  EXPECT_NEAR(figures["kept_accuracy"].get<double>(), 6.0 / 7.0, 1e-12);
  EXPECT_EQ(figures["classified_right"], 1.0);
  EXPECT_EQ(figures["baseline_1nn"], 0.75);
  EXPECT_EQ(figures["pre_segmented"], 2);
  EXPECT_EQ(figures["confusion"].dump(), R"({"1":{"1":6,"2":1,"not detected":1}})");
  EXPECT_EQ(figures["classes"].dump(),
            R"({"1":{"name":"raise","recall":0.75,"precision":0.75,"reported":8}})");
  EXPECT_EQ(figures["misses"].dump(), R"({"too short":2})");
  EXPECT_EQ(figures["false_positives"], 4);
  EXPECT_EQ(figures["reported_as_no_gesture"], 5);
  EXPECT_EQ(figures["false_positives_per_hour"], 2.0);
  EXPECT_EQ(figures["latency"], 0.2);
  EXPECT_EQ(figures["latency_worst"], 0.9);
  EXPECT_EQ(
      figures["folds"][1].dump(),
      R"({"left_out":"bob","examples":12,"templates":2,"settings":{},"repetitions":3,"right":2})");
  const auto nothing = to_json(Evaluation(), Provenance());
  for (const char* unknown :
       {"accuracy", "kept_accuracy", "classified_right", "baseline_1nn",
        "false_positives_per_hour", "false_per_hour_bound_95", "latency"}) {
    EXPECT_TRUE(nothing[unknown].is_null()) << unknown;
  }
}

TEST(EvaluationFigures, AreHeldAgainstWhatIsRequired) {
  const auto failure = [](const std::string& text, const Evaluation& result) {
    return failure_of(parse(text), result);
  };
  const Evaluation result = two_folds();
  EXPECT_EQ(failure("accuracy=0.75", result), "");
  EXPECT_EQ(failure("accuracy=0.76", result),
            "accuracy is 0.7500; at least 0.7600 is required");
  EXPECT_EQ(failure("false_positives_per_hour=2", result), "");
  EXPECT_EQ(failure("false_positives_per_hour=1.9", result),
            "false_positives_per_hour is 2.0000; at most 1.9000 is required");
  EXPECT_EQ(failure("classified_right=1", result), "");
  for (const std::string figure : {"kept_accuracy", "classified_right"}) {
    EXPECT_EQ(failure(figure + "=0.5", result), "");
    EXPECT_THAT(failure(figure + "=1.1", result),
                ::testing::HasSubstr("; at least 1.1000 is"));
  }
  EXPECT_EQ(failure("latency=0.1", result),
            "latency is 0.2000; at most 0.1000 is required");
  EXPECT_EQ(failure("kept_accuracy=0.5", Evaluation()),
            "kept_accuracy is required, but there was nothing to measure");
  Evaluation one;
  one.repetitions = one.right = 1;
  EXPECT_EQ(failure("accuracy=1", one), "");
}
