// Plans, scripts, and the program that carries them out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

#include "base/errors.h"
#include "base/points.h"
#include "explanation/expected.h"
#include "hostrun/host_wrist.h"
#include "hostrun/totals.h"
#include "segmentation/annotations.h"
#include "synthesis/performance.h"
#include "tools/run_wgr.h"

using namespace wgr;

using ::testing::HasSubstr;

static const Person kSomebody = make_person(5, Style::kFree);

TEST(SynthRandom, IsTheKnownSequence) {
  // The first outputs of SplitMix64 from 1234567, as its author publishes them.
  Random random(1234567);
  EXPECT_EQ(random.next(), 6457827717110365317u);
  EXPECT_EQ(random.next(), 3203168211198807973u);
  EXPECT_EQ(random.next(), 9817491932198370423u);
}

TEST(SynthRandom, GaussianHasTheMomentsOfOne) {
  Random random(3);
  double sum = 0.0;
  double squares = 0.0;
  constexpr int kDraws = 100000;
  for (int i = 0; i < kDraws; ++i) {
    const double x = random.gaussian();
    sum += x;
    squares += x * x;
  }
  EXPECT_NEAR(sum / kDraws, 0.0, 0.01);
  EXPECT_NEAR(squares / kDraws, 1.0, 0.02);
}

TEST(SynthPlan, ARandomPlanHoldsWhatWasAskedFor) {
  Random random(1);
  const Plan plan = random_plan({3, 60.0}, kSomebody, random);
  int repetitions[kGestures] = {};
  double everyday = 0.0;
  double t = 0.0;
  for (size_t i = 0; i < plan.size(); ++i) {
    EXPECT_EQ(plan[i].begin, t) << "activities follow each other";
    t = plan[i].end;
    if (const auto label = label_of(plan[i].what)) {
      ++repetitions[*label];
      ASSERT_GT(i, 0u);
      EXPECT_EQ(plan[i - 1].what, Activity::kRest);
      EXPECT_GE(plan[i - 1].end - plan[i - 1].begin, kReadyTime);
      EXPECT_GE(plan[i].end - plan[i].begin, 0.7);
      EXPECT_LE(plan[i].end - plan[i].begin, 1.7);
    } else if (plan[i].what != Activity::kRest) {
      everyday += plan[i].end - plan[i].begin;
    }
  }
  for (const int count : repetitions) EXPECT_EQ(count, 3);
  EXPECT_NEAR(everyday, 60.0, 0.05);
}

TEST(SynthPlan, AGestureMovesTheWristInItsAnnotationAndNotBeforeIt) {
  for (int label = 0; label < kGestures; ++label) {
    const Plan plan = {{0.0, 3.0, Activity::kRest},
                       {3.0, 4.1, static_cast<Activity>(label)},
                       {4.1, 5.0, Activity::kRest}};
    double inside = 0.0;
    double before = 0.0;
    for (const RecordedSample& s : record(plan, kSomebody, {0, 50}, Random(2))) {
      const double off = std::abs(std::sqrt(squared_length(s.acc)) - 10.08);
      if (s.t > 2.75 && s.t < 3.0) before = std::max(before, off);
      if (s.t > 3.0 && s.t < 4.1) inside = std::max(inside, off);
    }
    EXPECT_LT(before, 0.35) << kGestureNames[static_cast<size_t>(label)];
    EXPECT_GT(inside, 1.5) << kGestureNames[static_cast<size_t>(label)];
  }
}

TEST(SynthPlan, AScriptIsReadBackAsItWasWritten) {
  TempDirectory directory;
  Random random(6);
  const Plan plan = random_plan({2, 40.0}, kSomebody, random);
  write_file(directory.file("script.csv"), script_text(plan));
  const Plan read = read_script(directory.file("script.csv"));
  ASSERT_EQ(read.size(), plan.size());
  for (size_t i = 0; i < plan.size(); ++i) {
    EXPECT_EQ(read[i].begin, plan[i].begin);
    EXPECT_EQ(read[i].end, plan[i].end);
    EXPECT_EQ(read[i].what, plan[i].what);
  }
}

TEST(SynthPlan, WhatAScriptLeavesOutIsRest) {
  TempDirectory directory;
  write_file(directory.file("s"), "t_start,t_end,what\r\n2,3,push\r\n");
  const Plan plan = read_script(directory.file("s"));
  ASSERT_EQ(plan.size(), 2u);
  EXPECT_EQ(plan[0].what, Activity::kRest);
  EXPECT_EQ(plan[0].end, 2.0);
  EXPECT_EQ(plan[1].what, Activity::kPush);
}

TEST(SynthPlan, AScriptThatCannotBeIsRefusedWithItsLine) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"", ":1: the file is empty"},
      {"t,what\n", ":1: the first line must be t_start,t_end,what"},
      {"t_start,t_end,what\n", ": holds no activity"},
      {"t_start,t_end,what\n0,1\n", ":2: 2 fields instead of 3"},
      {"t_start,t_end,what\n0,x,rest\n",
       ":2: field 2: a number from 0 to 36000 is required, not \"x\""},
      {"t_start,t_end,what\n0,inf,rest\n",
       ":2: field 2: a number from 0 to 36000 is required, not \"inf\""},
      {"t_start,t_end,what\n0,2,rest\n\n2,3,dance\n",
       ":4: the last field must be one of"},
      {"t_start,t_end,what\n0,2,rest\n1,3,walk\n", ":3: starts before the line above"},
      {"t_start,t_end,what\n2,2,walk\n", ":2: ends before it starts"},
      {"t_start,t_end,what\n1,2,push\n", ":2: a gesture needs a rest of at least 1.2 s"},
      {"t_start,t_end,what\n0,2,walk\n2,3,push\n", ":3: a gesture needs a rest"},
      {"t_start,t_end,what\n2,2.3,push\n", ":2: a gesture takes at least 0.5 s"},
  };
  TempDirectory directory;
  for (const auto& c : cases) {
    const std::string path = directory.file("script.csv");
    write_file(path, c.text);
    try {
      read_script(path);
      ADD_FAILURE() << "accepted: " << c.text;
    } catch (const UsageError& error) {
      EXPECT_THAT(error.what(), HasSubstr(path + c.message));
    }
  }
}

TEST(SynthProgram, TheSameArgumentsGiveTheSameBytesAndASeedOthers) {
  TempDirectory directory;
  const auto bytes = [&](const std::string& who) {
    const std::string out = directory.file("r.csv");
    const Outcome outcome =
        run_wgr("synth --gestures 1 --distractors 10 -o " + out + " " + who);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return read_file(out);
  };
  const std::string once = bytes("--person 7");
  EXPECT_GT(once.size(), 10000u);
  EXPECT_EQ(once, bytes("--person 7 --seed 1 --style free --wearer 0"));
  EXPECT_NE(once, bytes("--person 7 --seed 2"));
  EXPECT_NE(once, bytes("--person 8"));
  EXPECT_NE(once, bytes("--person 7 --style calm"));
  EXPECT_NE(once, bytes("--person 7 --wearer 1"));
}

// As --help lists them.
TEST(SynthProgram, WhatIsNotGivenHasItsDefault) {
  const Outcome all = run_wgr(
      "synth --seed 1 --person 1 --style free --wearer 0 --sample-rate 50 --from 0 "
      "--dead-band "
      "0 "
      "--gestures 4 --distractors 120 -o -");
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(run_wgr("synth -o -").out, all.out);
  TempDirectory directory;
  ASSERT_EQ(
      run_wgr("synth --gestures 0 --distractors 1 --training " + directory.path()).status,
      0);
  const std::string index = read_file(directory.file("index.csv"));
  EXPECT_EQ(std::count(index.begin(), index.end(), '\n'), 1 + 12);
  EXPECT_THAT(index, HasSubstr("\np001_free.csv,,p1,50\n"));
  EXPECT_THAT(index, HasSubstr("\np012_free.csv,,p12,50\n"));
}

TEST(SynthProgram, LabelsAreThePlansGestures) {
  TempDirectory directory;
  const Outcome outcome = run_wgr(
      "synth --gestures 1 --distractors 20 -o " + directory.file("r.csv") + " --labels " +
      directory.file("labels.csv") + " --plan " + directory.file("plan.csv"));
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto annotations = read_labels(directory.file("labels.csv"));
  std::vector<Annotation> planned;
  for (const PlannedActivity& activity : read_script(directory.file("plan.csv"))) {
    if (const auto label = label_of(activity.what)) {
      planned.push_back({"r.csv", activity.begin, activity.end, *label});
    }
  }
  ASSERT_EQ(annotations.size(), 5u);
  ASSERT_EQ(planned.size(), 5u);
  for (size_t i = 0; i < annotations.size(); ++i) {
    EXPECT_EQ(annotations[i].file, planned[i].file);
    EXPECT_EQ(annotations[i].begin, planned[i].begin);
    EXPECT_EQ(annotations[i].end, planned[i].end);
    EXPECT_EQ(annotations[i].label, planned[i].label);
  }
}

// Nothing in a table can name what stands on standard output.
TEST(SynthProgram, LabelsOfARecordingOnStandardOutputHaveNoName) {
  TempDirectory directory;
  const std::string command = "synth --gestures 1 --distractors 0 -o ";
  ASSERT_EQ(run_wgr(command + directory.file("r.csv") + " --labels " +
                    directory.file("named.csv"))
                .status,
            0);
  const std::vector<Annotation> annotations = read_labels(directory.file("named.csv"));
  const std::string labels = directory.file("labels.csv");
  ASSERT_EQ(run_wgr(command + "- --labels " + labels).status, 0);
  EXPECT_EQ(read_file(labels), annotations_text(annotations));
  EXPECT_EQ(read_expected(labels, "-").size(), 5u);
  for (const char* no_file : {"/dev/stdout", "/dev/fd/1", "/dev/null"}) {
    std::filesystem::remove(labels);
    ASSERT_EQ(run_wgr(command + no_file + " --labels " + labels).status, 0);
    EXPECT_EQ(read_file(labels), annotations_text(annotations)) << no_file;
  }
}

TEST(SynthProgram, ABeginningBehindTheEndIsRefusedBeforeAnythingIsWritten) {
  TempDirectory directory;
  const std::string script = directory.file("script.csv");
  write_file(script, "t_start,t_end,what\n0,2.5,rest\n");
  const std::string out = directory.file("r.csv");
  const std::string command = "synth --script " + script + " -o " + out + " --from ";
  const Outcome outcome = run_wgr(command + "2.5");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "wgr: --from 2.5: nothing is left of a recording of 2.5 s: begin before it "
            "ends\n");
  EXPECT_FALSE(std::filesystem::exists(out));
  const std::string set = directory.file("set");
  EXPECT_EQ(
      run_wgr("synth --training " + set + " --script " + script + " --from 9").status, 2);
  EXPECT_FALSE(std::filesystem::exists(set));
  EXPECT_EQ(run_wgr(command + "2.48").status, 0);  // the last sample
  EXPECT_EQ(read_recording(out).size(), 1u);
}

TEST(SynthProgram, ATrainingSetIsRecordingsIndexAndLabels) {
  TempDirectory directory;
  const Outcome outcome =
      run_wgr("synth --training " + directory.file("set") +
              " --persons 2 --style mixed --gestures 1 --distractors 0 --person 40");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(read_file(directory.file("set/index.csv")),
            "file,label,subject,rate_hz\n"
            "p040_calm.csv,,p40,50\n"
            "p040_free.csv,,p40,50\n"
            "p041_calm.csv,,p41,50\n"
            "p041_free.csv,,p41,50\n");
  std::set<std::string> files;
  for (const Annotation& annotation : read_labels(directory.file("set/labels.csv"))) {
    files.insert(annotation.file);
    EXPECT_TRUE(std::filesystem::exists(directory.file("set/" + annotation.file)));
  }
  EXPECT_EQ(files.size(), 4u);
}

TEST(SynthProgram, SaysWhatCannotBeDoneAndEndsWithStatus2) {
  const struct {
    const char* arguments;
    const char* message;
  } cases[] = {
      {"synth", "-o FILE or --training DIR"},
      {"synth -o /dev/null/x.csv", "/dev/null/x.csv: cannot be written: Not a directory"},
      {"synth -o /dev/null --style mixed", "sets can be mixed"},
      {"synth -o /dev/null --style wild", "--style"},
      {"synth -o /dev/null --sample-rate 0", "--sample-rate"},
      {"synth -o /dev/null --script /nowhere/s", "/nowhere/s: cannot be read"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = run_wgr(c.arguments);
    EXPECT_EQ(outcome.status, 2) << c.arguments;
    EXPECT_THAT(outcome.err, HasSubstr(c.message)) << c.arguments;
  }
}

namespace {

// What the wrist detector says of many people while they walk; the arm that is lowered
// before and raised after is not asked about.
struct WalkersAnswers {
  std::array<size_t, 3> single = {};  // left, right, undecided
  std::array<size_t, 3> people = {};  // by clear_wearer()
};

}  // namespace

static WalkersAnswers answers_to_walkers(int wearer, bool postures) {
  static constexpr int kPeople = 60;
  const Plan plan = {{0.0, 2.0, Activity::kRest},
                     {2.0, 28.0, Activity::kWalk},
                     {28.0, 30.0, Activity::kRest}};
  PerformanceOptions options;
  options.wearer = wearer;
  options.postures = postures;
  WalkersAnswers all;
  for (int person = 1; person <= kPeople; ++person) {
    std::array<size_t, 3> own = {};
    HostWrist wrist;
    for (const RecordedSample& sample :
         perform_for(1, person, Style::kFree, &plan, {}, options).samples) {
      if (sample.t < 3.0 || sample.t > 27.0) continue;
      ++own[static_cast<size_t>(wrist.ask(sample.acc))];
    }
    for (size_t i = 0; i < own.size(); ++i) all.single[i] += own[i];
    ++all.people[static_cast<size_t>(clear_wearer(own))];
  }
  return all;
}

// As on real watches: few samples have an answer, most answers are right, not all, and a
// clear majority is rare, but seldom wrong. A hand turned the other way, or
// a rule with the signs exchanged, is wrong where this is right.
TEST(SynthPosture, LetsTheWristDetectorReadTheWalkingArmOnBothWrists) {
  for (const size_t wearer : {0u, 1u}) {
    const WalkersAnswers walkers = answers_to_walkers(static_cast<int>(wearer), true);
    const size_t decided = walkers.single[0] + walkers.single[1];
    const size_t right = walkers.single[wearer];
    EXPECT_GT(decided, walkers.single[2] / 10) << wearer;
    EXPECT_LT(decided, walkers.single[2] / 2) << wearer;
    EXPECT_GT(right, decided * 7 / 10) << wearer << ": " << right << " of " << decided;
    EXPECT_LT(right, decided * 95 / 100) << wearer << ": " << right << " of " << decided;
    EXPECT_GE(walkers.people[wearer], 5u) << wearer;
    EXPECT_LE(walkers.people[1 - wearer], 2u) << wearer;
    EXPECT_GT(walkers.people[2], 30u) << wearer << ": most say too little";
  }
}

TEST(SynthPosture, WithoutOneWalkersSayNothingOfTheWrist) {
  const WalkersAnswers walkers = answers_to_walkers(0, false);
  EXPECT_EQ(walkers.single[0] + walkers.single[1], 0u);
}

// Of the same person, and the same again for the same arguments.
TEST(SynthPosture, IsAnotherOnEachWristAndTheMovementsStay) {
  const Posture left = make_posture(7, 0);
  EXPECT_EQ(left.hanging, make_posture(7, 0).hanging);
  EXPECT_NE(left.hanging, make_posture(7, 1).hanging);
  EXPECT_NE(left.hanging, make_posture(8, 0).hanging);
  // A gesture begins where it did: from the arm that waits for it.
  const Plan plan = {{0.0, 3.0, Activity::kRest}, {3.0, 4.0, Activity::kRaise}};
  PerformanceOptions options;
  const auto plain = perform_for(1, 7, Style::kFree, &plan, {}, options).samples;
  options.postures = true;
  const auto held = perform_for(1, 7, Style::kFree, &plan, {}, options).samples;
  ASSERT_EQ(held.size(), plain.size());
  EXPECT_NE(held.front().acc.y, plain.front().acc.y) << "in the lap";
  EXPECT_NEAR(held.back().acc.y, plain.back().acc.y, 1e-3);
  EXPECT_NEAR(held.back().gyro.y, plain.back().gyro.y, 1e-2);
}
