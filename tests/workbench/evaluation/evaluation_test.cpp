// What is counted of recordings whose motions can be worked out by hand, and how they are
// divided into folds.
#include "evaluation/evaluation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "base/errors.h"
#include "base/text.h"
#include "evaluation/confidence.h"
#include "hostrun/host_run.h"
#include "support/files.h"
#include "support/motions.h"
#include "text/recording_advice.h"

using namespace wgr;

using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::ThrowsMessage;

using Counts = std::map<std::string, size_t>;

static constexpr int kRate = 50;  // samples per second

// A set of recordings in a folder of its own.
class EvaluatedSet : public ::testing::Test {
 protected:
  void record(const std::string& name, const Stream& stream, double rate = kRate) {
    std::string text = "t,ax,ay,az,gx,gy,gz\n";
    for (size_t i = 0; i < stream.size(); ++i) {
      const Pair& p = stream[i];
      text += fmt::format("{:.2f},{},{},{},{},{},{}\n", static_cast<double>(i) / rate,
                          p.acc.x, p.acc.y, p.acc.z, p.gyro.x, p.gyro.y, p.gyro.z);
    }
    write_file(folder_.file(name), text);
  }
  void write(const std::string& name, const std::string& text) {
    write_file(folder_.file(name), text);
  }

  Evaluation evaluated(const EvaluationOptions& options) {
    const Capture hushed;
    return evaluate(segment_set(read_recording_set(folder_.path()), {}, {}), options);
  }

  // With a model that calls every motion 3, or else rejects it.
  Evaluation evaluated_by(double threshold) {
    EvaluationOptions options;
    options.model = small_model(3, threshold);
    return evaluated(options);
  }

  Evaluation evaluated_without(LeaveOut what, int folds = 10) {
    EvaluationOptions options;
    options.leave_out = what;
    options.folds = folds;
    options.build.most_templates = 1;
    return evaluated(options);
  }

  TempDirectory folder_;
};

// Gestures of 40 samples, 0.8 s, that begin at 1, 3, 5 and 7 s, and half a one at 9 s.
static Stream four_and_a_half() {
  Stream stream = rest(50);
  for (int i = 0; i < 4; ++i) stream = stream + gesture(20, 6.0) + rest(50);
  return stream + gesture(6, 6.0) + rest(50);
}

static constexpr char kLabels[] =
    "file,t_start,t_end,label\n"
    "a.csv,1,1.78,3\n"     // as its class
    "a.csv,5,5.4,2\n"      // the second gesture has none; two share the third one
    "a.csv,5.45,5.78,3\n"  //
    "a.csv,7,7.78,2\n"     // as another class
    "a.csv,9,9.24,3\n"     // half a gesture
    "a.csv,9.9,10.2,3\n";  // at rest

TEST_F(EvaluatedSet, EveryRepetitionIsRightOrHasItsCause) {
  record("a.csv", four_and_a_half());
  write("labels.csv", kLabels);
  const Evaluation result = evaluated_by(-1e6);
  EXPECT_EQ(result.repetitions, 6u);
  EXPECT_EQ(result.right, 1u);
  EXPECT_EQ(result.misses, (Counts{{"misclassified (overlaps two annotations)", 1},
                                   {"one motion with another repetition", 1},
                                   {"misclassified", 1},
                                   {"too short", 1},
                                   {"no motion: the wrist counted as resting", 1}}));
  EXPECT_EQ(result.confusion.at(2), (Counts{{"3", 2}}));
  EXPECT_EQ(result.confusion.at(3), (Counts{{"3", 1}, {kOutcomeNotDetected, 3}}));
  EXPECT_EQ(result.events, (std::map<int, size_t>{{3, 4}}));
  EXPECT_EQ(result.false_positives, 1u);
  EXPECT_EQ(result.rejected_outside, 0u);
  EXPECT_EQ(result.kept, 2u);
  EXPECT_EQ(result.kept_right, 1u);
  EXPECT_EQ(result.kept_classified, 1u);
  EXPECT_EQ(result.pre_segmented, 0u);
  EXPECT_EQ(result.unjudged.size(), 0u);
  EXPECT_EQ(result.baseline_1nn(), std::nullopt);
  ASSERT_THAT(result.latencies, SizeIs(1));
  // From the label's end at 1.78 s to the tenth resting sample after the gesture's end.
  EXPECT_NEAR(result.latencies[0], 0.2, 0.021);
  ASSERT_THAT(result.folds, SizeIs(1));
  EXPECT_EQ(result.folds[0].left_out, "nothing");
  EXPECT_EQ(result.folds[0].templates, 1u);
  EXPECT_EQ(result.folds[0].repetitions, 6u);
  EXPECT_EQ(result.folds[0].right, 1u);
}

TEST_F(EvaluatedSet, WhatWasPlayedNamesRecordingRepetitionAndMotion) {
  record("0.csv", rest(100));
  record("a.csv", four_and_a_half());
  write("labels.csv", kLabels);
  const Evaluation result = evaluated_by(-1e6);
  ASSERT_THAT(result.played, SizeIs(7));
  EXPECT_EQ(result.played[0].recording, 1u);
  EXPECT_EQ(result.played[0].repetition, 0u);
  EXPECT_EQ(result.played[0].motion, 0u);
  EXPECT_EQ(result.played[0].outcome, "3");
  EXPECT_EQ(result.played[0].cause, "");
  EXPECT_EQ(result.played[3].motion, 3u);
  EXPECT_EQ(result.played[3].cause, "misclassified");
  EXPECT_EQ(result.played[4].motion, 4u);
  EXPECT_EQ(result.played[5].motion, std::nullopt);
  const Played& outside = result.played[6];
  EXPECT_EQ(outside.recording, 1u);
  EXPECT_EQ(outside.repetition, std::nullopt);
  EXPECT_EQ(outside.motion, 1u);
  EXPECT_EQ(outside.outcome, "3");
}

TEST_F(EvaluatedSet, WhatIsLessAlikeThanTheThresholdIsRejected) {
  record("a.csv", four_and_a_half());
  write("labels.csv", kLabels);
  const Evaluation result = evaluated_by(-1e-9);
  EXPECT_EQ(result.right, 0u);
  EXPECT_EQ(result.kept_classified, 1u) << "whatever the score";
  EXPECT_EQ(result.misses.at("rejected: less alike than the threshold"), 2u);
  EXPECT_EQ(result.confusion.at(2), (Counts{{kOutcomeRejected, 2}}));
  EXPECT_EQ(result.events.size(), 0u);
  EXPECT_EQ(result.false_positives, 0u);
  EXPECT_EQ(result.rejected_outside, 1u);
  EXPECT_THAT(result.latencies, SizeIs(0));
}

static constexpr char kIndex[] = "file,label,subject,rate_hz\n";

// Three people with three gestures of class 3; the first one of ann's is of class 2.
class DividedSet : public EvaluatedSet {
 protected:
  DividedSet() {
    std::string labels = "file,t_start,t_end,label\n";
    std::string index = kIndex;
    for (const std::string name : {"ann", "bob", "cem"}) {
      Stream stream = rest(50);
      for (int i = 0; i < 3; ++i) stream = stream + gesture(20, 6.0 + i) + rest(50);
      record(name + ".csv", stream);
      index += name + ".csv,," + name + ",\n";
      for (int i = 0; i < 3; ++i) {
        const int label = name == "ann" && i == 0 ? 2 : 3;
        labels += fmt::format("{}.csv,{},{}.78,{}\n", name, 1 + 2 * i, 1 + 2 * i, label);
      }
    }
    write("labels.csv", labels);
    write("index.csv", index);
  }
};

TEST_F(DividedSet, OfSubjectsAreBuiltFromTheOthersExamples) {
  for (const LeaveOut what : {LeaveOut::kSubject, LeaveOut::kSession}) {
    const Evaluation result = evaluated_without(what);
    ASSERT_THAT(result.folds, SizeIs(3));
    const std::string end = what == LeaveOut::kSession ? ".csv" : "";
    EXPECT_EQ(result.folds[1].left_out, "bob" + end);
    for (size_t f = 0; f < 3; ++f) {
      EXPECT_EQ(result.folds[f].examples, 6u);
      EXPECT_EQ(result.folds[f].repetitions, 3u);
      EXPECT_EQ(result.folds[f].templates, f == 0 ? 1u : 2u);
    }
    EXPECT_EQ(result.repetitions, 9u);
    // Without ann no example has the class, and from one there is no threshold.
    EXPECT_EQ(result.unjudged, (std::map<int, size_t>{{2, 1}}));
    EXPECT_EQ(result.baseline.examples, 9u);
    EXPECT_LT(result.baseline.right, 9u);
    EXPECT_GE(result.baseline.right, 6u);
    // Of each recording everything but its repetitions, counted once.
    EXPECT_GT(result.background_hours, 3 * 2.0 / 3600);
    EXPECT_LT(result.background_hours, 3 * 8.0 / 3600);
  }
}

// Of class 3 there are eight repetitions in turn, of class 2 one, in the first fold.
TEST_F(DividedSet, OfRepetitionsTakeEachClassInTurn) {
  const Evaluation result = evaluated_without(LeaveOut::kRepetition, 4);
  ASSERT_THAT(result.folds, SizeIs(4));
  EXPECT_EQ(result.folds[3].left_out, "every 4th repetition, from 4");
  for (size_t f = 0; f < 4; ++f) {
    EXPECT_EQ(result.folds[f].repetitions, f == 0 ? 3u : 2u);
    EXPECT_EQ(result.folds[f].examples, f == 0 ? 6u : 7u);
  }
  EXPECT_EQ(result.unjudged, (std::map<int, size_t>{{2, 1}}));
  // An event for each repetition that was reported as a gesture, and for nothing else.
  size_t reported = 0;
  for (const auto& [label, outcomes] : result.confusion) {
    for (const auto& [what, count] : outcomes) {
      const bool gesture = what != kOutcomeRejected && what != kOutcomeNotDetected;
      reported += gesture ? count : 0;
    }
  }
  size_t events = 0;
  for (const auto& [label, count] : result.events) events += count;
  EXPECT_GE(reported, 6u);
  EXPECT_EQ(events, reported);
  EXPECT_EQ(result.false_positives, 0u);
  EXPECT_EQ(evaluated_by(-1e6).background_hours, result.background_hours);
}

TEST_F(DividedSet, CannotBeMadeWithoutTwoNames) {
  const std::string few = "leaving out needs at least two subjects or sessions";
  write("index.csv",
        std::string(kIndex) + "ann.csv,,ann,\nbob.csv,,ann,\ncem.csv,,ann,\n");
  EXPECT_THAT([&] { evaluated_without(LeaveOut::kSubject); },
              ThrowsMessage<UsageError>(few));
  write("index.csv", std::string(kIndex) + "ann.csv,,ann,\nbob.csv,,,\ncem.csv,,ann,\n");
  EXPECT_THAT([&] { evaluated_without(LeaveOut::kSubject); },
              ThrowsMessage<UsageError>(
                  HasSubstr("bob.csv: index.csv names no subject to be left out")));
}

TEST_F(DividedSet, NameWhatWasLeftOutWhereNothingIsLeft) {
  write("labels.csv", "file,t_start,t_end,label\nbob.csv,1,1.78,3\nbob.csv,3,3.78,3\n");
  EXPECT_THAT([&] { evaluated_without(LeaveOut::kSubject); },
              ThrowsMessage<UsageError>(HasSubstr("--leave-out: with bob left out, ")));
}

// ---- settings of the host -----------------------------------------------------------

TEST(SettingsToTry, AreTheGivenOnesAndOthersOfWhatWasNotGiven) {
  const std::vector<HostSettings> all = settings_to_try({}, 50);
  ASSERT_THAT(all, SizeIs(16));
  EXPECT_EQ(all[0], HostSettings());
  EXPECT_EQ(all[1], (HostSettings{-1, -1, 1}));
  EXPECT_EQ(all[2], (HostSettings{-1, -1, -15}));  // 0.3 s
  EXPECT_EQ(all[8], (HostSettings{-1, 6, std::nullopt}));
  for (const HostSettings& host : settings_to_try({12, -1, std::nullopt}, 50)) {
    EXPECT_EQ(host.shortest, 12);
    EXPECT_EQ(host.sensitivity, std::nullopt);
  }
  ASSERT_THAT(settings_to_try({-1, 7, 2}, 50), SizeIs(1));
}

TEST(ChooseSettings, TakesTheMostGainAndOfEqualOnesTheFirst) {
  std::vector<TriedSettings> tried(4);
  tried[1].gain = tried[2].gain = 2.0;
  EXPECT_EQ(choose_settings(tried), 1u);
  tried[3].gain = 2.5;
  EXPECT_EQ(choose_settings(tried), 3u);
}

// Gestures of 20 samples, which half a second keeps out and 0.2 s does not.
class ShortGestures : public EvaluatedSet {
 protected:
  void SetUp() override {
    Stream stream = rest(50);
    std::string labels = "file,t_start,t_end,label\n";
    for (int i = 0; i < 8; ++i) {
      const double begin = static_cast<double>(stream.size()) / kRate;
      labels += fmt::format("a.csv,{:.2f},{:.2f},3\n", begin - 0.1, begin + 0.48);
      stream = stream + gesture(10, 6.0) + rest(50);
    }
    record("a.csv", stream);
    write("labels.csv", labels);
  }

  SegmentedSet segmented(const HostSettings& host) {
    const Capture hushed;
    SegmentationOptions options;
    options.host = host;
    return segment_set(read_recording_set(folder_.path()), {}, options);
  }
};

TEST_F(ShortGestures, AreEvaluatedWithTheSettingsThatKeepThem) {
  EvaluationOptions options;
  options.leave_out = LeaveOut::kRepetition;
  options.folds = 2;
  const HostSettings shorter = {-1, -1, -10};
  const SegmentedAlternatives both({segmented({}), segmented(shorter)}, 1);
  const Evaluation result = evaluate(both, options);
  EXPECT_EQ(result.repetitions, 8u);
  EXPECT_EQ(result.right, 8u);
  ASSERT_THAT(result.folds, SizeIs(2));
  for (const Fold& fold : result.folds) EXPECT_EQ(fold.host.sensitivity, -10);

  std::vector<TriedSettings> tried;
  EXPECT_EQ(choose_alternative(both, options.build, tried), 1u);
  EXPECT_EQ(tried[0].accepted, 0u);
  EXPECT_EQ(tried[1].kept, 8u);
  EXPECT_TRUE(tried[1].chosen);
}

TEST_F(ShortGestures, HaveOutcomesThatSayWhatBecameOfThem) {
  using Outcomes = std::map<std::pair<AnnotationState, Verdict>, int>;
  const auto outcomes = [&](const HostSettings& host) {
    const SegmentedSet set = segmented(host);
    Outcomes counts;
    for (const AnnotationOutcome& outcome : annotation_outcomes(set)) {
      ++counts[{outcome.state, outcome.verdict}];
    }
    return counts;
  };
  EXPECT_EQ(outcomes({}),
            (Outcomes{{{AnnotationState::kDropped, Verdict::kTooShort}, 8}}));
  EXPECT_EQ(outcomes({-1, -1, -10}),
            (Outcomes{{{AnnotationState::kKept, Verdict::kKept}, 8}}));
  record("a.csv", rest(50) + Stream(40, gesture(20, 6.0)[0]));
  write("labels.csv", "file,t_start,t_end,label\na.csv,1,1.7,3\na.csv,0.1,0.6,3\n");
  EXPECT_EQ(outcomes({}), (Outcomes{{{AnnotationState::kUnfinished, Verdict::kKept}, 1},
                                    {{AnnotationState::kNoMotion, Verdict::kKept}, 1}}));
}

TEST_F(ShortGestures, CallTheLibraryAsTheyWereSegmented) {
  const Provenance p = segmented({-1, 6, -10}).provenance;
  EXPECT_EQ(p.shortest, 10);
  EXPECT_EQ(p.static_window, 6);
  EXPECT_DOUBLE_EQ(p.strength_threshold, 10.0 / 50 * 6.0);
  EXPECT_EQ(host_settings_of(p), (HostSettings{-1, 6, -10}));
  EXPECT_EQ(host_settings_of(provenance_from(to_json(p), "p")),
            (HostSettings{-1, 6, -10}));
  EXPECT_EQ(calls_of(host_settings_of(p), 50, ""),
            "init_gesture_handle(h, 50, gyro_bias, -1, -1, 6, 50);\n"
            "set_gesture_model(h, wearer, mode);\n"
            "set_gesture_rec_sensitivity(h, -10);\n");
}

// The standard error of the mean of 0 to 9 is 0.908, so 1.96 of it are 1.78.
TEST(BootstrapInterval, IsAsWideAsTheMeanIsUncertain) {
  using Interval = std::pair<double, double>;
  EXPECT_EQ(bootstrap_interval({0.5, 0.5, 0.5}), Interval(0.5, 0.5));
  EXPECT_EQ(bootstrap_interval({0.0, 1.0}), Interval(0.0, 1.0));
  const Interval interval = bootstrap_interval({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_NEAR(interval.first, 4.5 - 1.78, 0.2);
  EXPECT_NEAR(interval.second, 4.5 + 1.78, 0.2);
}

// A push towards the fingers and the little finger, then back: on the left wrist x and y
// change together, on the right one they do not.
static Stream pushes(double x) {
  Stream stream = rest(50);
  for (int i = 0; i < 60; ++i) {
    const double sign = i / 6 % 2 == 0 ? 1.0 : -1.0;
    stream.push_back({{x * sign, 4.0 * sign, 9.8}, {0.0, 0.0, 0.0}});
  }
  return stream;
}

TEST_F(EvaluatedSet, TheWristDetectorIsJudgedWhereTheIndexNamesTheWrist) {
  record("l.csv", pushes(3.0));
  record("r.csv", pushes(-3.0));
  record("wrong.csv", pushes(3.0));
  record("unknown.csv", pushes(3.0));
  write("index.csv",
        "file,label,subject,rate_hz,wrist\nl.csv,-1,ann,50,left\nr.csv,-1,bob,50,right\n"
        "wrong.csv,-1,bob,50,right\nunknown.csv,-1,cy,50,\n");
  const Evaluation result = evaluated_by(-1e6);
  ASSERT_THAT(result.wrists, SizeIs(3));
  for (const WristAnswers& answers : result.wrists) EXPECT_EQ(answers.samples, 110u);
  EXPECT_GT(result.wrists[0].right, 50u);
  EXPECT_EQ(result.wrists[0].wrong, 0u);
  EXPECT_EQ(result.wrists[1].right, result.wrists[0].right);
  EXPECT_EQ(result.wrists[1].wrong, 0u);
  EXPECT_EQ(result.wrists[2].right, 0u);
  EXPECT_EQ(result.wrists[2].wrong, result.wrists[0].right);
  const WristSummary summary = summary_of(result.wrists);
  EXPECT_EQ(summary.majority_right, 2u);
  EXPECT_EQ(summary.majority_wrong, 1u);
  EXPECT_EQ(summary.clear_right, 0u) << "for want of answers";
  const WristSummary clear = summary_of({{"ann", true, 900, 81, 40},
                                         {"ann", true, 900, 80, 40},
                                         {"bob", false, 900, 40, 81},
                                         {"bob", false, 900, 99, 0}});
  EXPECT_EQ(clear.clear_right, 1u);
  EXPECT_EQ(clear.clear_wrong, 1u);
  EXPECT_EQ(summary.subjects, 2u);
  EXPECT_DOUBLE_EQ(summary.mean, 0.75);
  EXPECT_DOUBLE_EQ(summary.worst, 0.5);
  EXPECT_EQ(summary.worst_of, "bob");
}

// A handle's detector looks at changes within ten samples at every rate: the slow wave
// behind the pushes changes by 10.5 m/s² summed in these, too little, and by four times
// as much in twenty.
TEST_F(EvaluatedSet, TheWristDetectorAnswersAsInAHost) {
  Stream stream = pushes(3.0);
  for (int i = 0; i < 120; ++i) {
    const double wave = std::sin(i * 6.283185307179586 / 60.0);
    stream.push_back({{3.0 * wave, 4.0 * wave, 9.8}, {0.0, 0.0, 0.0}});
  }
  record("l.csv", stream, 100.0);
  write("index.csv", "file,label,subject,rate_hz,wrist\nl.csv,-1,ann,100,left\n");
  const Evaluation result = evaluated_by(-1e6);
  HostRunOptions options;
  options.rate = 100;
  options.model = std::make_shared<const Gmodel>();
  HostRun host(options);
  size_t right = 0;
  for (const auto& [acc, gyro] : stream) {
    right += host.ask_wearer({0.0, acc, gyro}) == WG_WEARER_LEFT;
  }
  EXPECT_GT(right, 20u);
  ASSERT_THAT(result.wrists, SizeIs(1));
  EXPECT_EQ(result.wrists[0].right, right);
}

TEST_F(EvaluatedSet, AWristIsLeftOrRight) {
  record("l.csv", pushes(3.0));
  write("index.csv", "file,label,subject,rate_hz,wrist\nl.csv,-1,ann,50,both\n");
  EXPECT_THAT([&] { read_recording_set(folder_.path()); },
              ThrowsMessage<UsageError>(
                  HasSubstr("index.csv:2: the wrist must be left or right, or empty")));
}

TEST_F(EvaluatedSet, AdviceNamesWhatTheRecordingsLack) {
  record("a.csv", four_and_a_half());
  write("labels.csv",
        "file,t_start,t_end,label\na.csv,1,1.78,3\na.csv,3,3.3,2\n"
        "a.csv,3.4,3.78,2\na.csv,5,5.78,3\n");
  const Capture hushed;
  const SegmentedSet set = segment_set(read_recording_set(folder_.path()), {}, {});
  const std::vector<std::string> advice = advice_on(set, 1.0);
  ASSERT_THAT(advice, SizeIs(5));
  EXPECT_THAT(advice[0], HasSubstr("whose the recordings are is not known"));
  EXPECT_EQ(advice[1], "class 2: 0 repetitions kept; record 8 more");
  EXPECT_EQ(advice[2], "class 3: 2 repetitions kept; record 6 more");
  EXPECT_THAT(advice[3], HasSubstr("2 of 4 repetitions are lost as the wrist does not"));
  EXPECT_THAT(advice[4], HasSubstr("only 3.0 h without a false positive"));
  EXPECT_THAT(advice_on(set, 1e5), SizeIs(4)) << "there is background enough";
}

// Of a training file there are the examples and what its description counts.
TEST(Advice, NamesWhatATrainingFileLacks) {
  Gdata data;
  data.samples.assign(9, {3, {}});
  data.samples.push_back({2, {}});
  data.samples.push_back({-1, {}});
  Provenance described;
  described.classes = {{"raise", 2}, {"swing", 3}, {"push", 4}};
  described.subjects = {"a", "a", "a", "a", "b", "b", "b", "b", "b", "a", ""};
  described.verdicts = {{"kept", 11},
                        {"overlaps two annotations", 1},
                        {"partly in one annotation", 1},
                        {"too short", 9}};
  const std::vector<std::string> advice = advice_on(data, described, 2.5, 1.0);
  ASSERT_THAT(advice, SizeIs(5));
  EXPECT_THAT(advice[0], HasSubstr("2 people recorded the gestures: 3 more"));
  EXPECT_EQ(advice[1], "class 2 raise: 1 repetition kept; record 7 more");
  EXPECT_EQ(advice[2], "class 4 push: 0 repetitions kept; record 8 more");
  EXPECT_THAT(advice[3], HasSubstr("2 motions beside 10 examples are lost as the wrist"));
  EXPECT_THAT(advice[4], HasSubstr("2.50 h of background: only 3.0 h"));
  EXPECT_THAT(advice_on(data, described, 3.5, 1.0), SizeIs(4));
  EXPECT_THAT(advice_on(data, Provenance(), 3.5, 1.0)[0],
              HasSubstr("whose the recordings are is not known"));
}

TEST(Advice, NamesClassesThatAreAlike) {
  Gdata data;
  data.kind = 0;
  const Points path = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}};
  const Points other = {{0.0, 0.0, 1.0}, {-1.0, 0.0, 0.0}};
  // Each class is as its own person made it; the other person's third class alone agrees.
  data.samples = {{1, path}, {1, path}, {2, path}, {2, path}, {4, other}, {4, other}};
  const Capture hushed;
  const ModelBuilder builder(data, 1, true, {{"a", "a", "b", "b", "a", "b"}, {}});
  const std::vector<std::string> advice = advice_on_classes(builder, Provenance());
  ASSERT_THAT(advice, SizeIs(2));
  EXPECT_THAT(advice[0], HasSubstr("class 1 and class 2 are alike: 2 of 2 repetitions of "
                                   "the first are most like one of the second by another "
                                   "person"));
  EXPECT_THAT(advice[1], HasSubstr("class 2 and class 1 are alike"));
}
