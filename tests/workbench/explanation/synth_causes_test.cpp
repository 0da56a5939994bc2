// For every cause a recording by wgr synth that reaches it, and an explanation that names
// exactly that one. Edges, sample by sample, are in explain_causes_test.
#include <gtest/gtest.h>

#include <set>

#include "explanation/expected.h"
#include "tools/run_wgr.h"
#include "workbench/explanation/explain_support.h"

using namespace wgr;

static constexpr char kOneGesture[] =
    "2.0,3.1,twist\n"
    "3.1,5.0,rest\n";

static constexpr char kNoPause[] =
    "2.0,3.1,twist\n"
    "3.1,3.25,rest\n"
    "3.25,8.0,fidget\n"
    "8.0,9.0,rest\n";

struct Case {
  const char* script;     // without its header
  const char* arguments;  // of wgr synth
  double at;              // s, within the motion that is meant
  Cause cause;
};

class SynthCauses : public ::testing::Test {
 protected:
  // Whatever is long and strong enough is accepted.
  void SetUp() override { install_default_model(small_model(kClass, -1e6)); }

  Explanation explained_synth(const std::string& script, const std::string& arguments,
                              const HostRunOptions& options = HostRunOptions()) {
    write_file(directory_.file("script"), "t_start,t_end,what\n" + script);
    const std::string recording = directory_.file("recording.csv");
    const Outcome made = run_wgr("synth --script " + directory_.file("script") + " -o " +
                                 recording + " " + arguments);
    EXPECT_EQ(made.status, 0) << made.err;
    return explained(recording, options);
  }

  // The cause of the only motion at a time.
  static std::string cause_at(const Explanation& e, double t) {
    std::string found;
    for (const MotionExplanation& m : e.motions) {
      if (m.begin <= t && t <= m.end) found += name_of(m.cause);
    }
    return found;
  }

  void expect_cause(const Explanation& e, double t, Cause cause) {
    EXPECT_EQ(cause_at(e, t), name_of(cause));
    seen_.insert(name_of(cause));
  }

  void expect_expected(double begin, double end, int label, Cause cause) {
    Explanation e = explained_synth(kOneGesture, "--person 501");
    // The first part of the gesture is always expected.
    e.expected.push_back({2.0, 2.8, kClass, Ending::kRecognised});
    e.expected.push_back({begin, end, label, Ending::kRecognised});
    find_expected(e);
    EXPECT_STREQ(name_of(e.expected.back().cause), name_of(cause));
    seen_.insert(name_of(cause));
  }

  void causes_of_the_motion();
  void causes_of_the_model();
  void causes_of_the_host();
  void causes_of_what_was_expected();

  TempDirectory directory_;
  std::set<std::string> seen_;
};

void SynthCauses::causes_of_the_motion() {
  static constexpr Case kCases[] = {
      {kOneGesture, "--person 501", 2.5, Ending::kRecognised},
      // The arm comes up for the gesture.
      {kOneGesture, "--person 501", 1.3, Ending::kTooShort},
      {"2.0,2.5,twist\n2.5,4.0,rest\n", "--person 501", 2.2, Ending::kStretchTooShort},
      {"2.0,8.0,fidget\n8.0,9.0,rest\n", "--person 501", 3.0, Ending::kTooWeak},
      {"2.0,3.1,twist\n", "--person 501", 2.5, Circumstance::kUnfinished},
      {kOneGesture, "--person 501 --from 2.25", 2.8, Ending::kStartsFast},
      // A rate of exactly zero where the motion starts.
      {kOneGesture, "--person 501 --dead-band 5", 2.5, Ending::kNotANumber},
      // The gyroscope comes to rest while the hand is still pushed about.
      {kNoPause, "--person 503", 6.1, Ending::kEndsFast},
      // A report, and the hand goes on at once.
      {kNoPause, "--person 512", 3.5, Circumstance::kCutByReport},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(name_of(c.cause));
    expect_cause(explained_synth(c.script, c.arguments), c.at, c.cause);
  }
}

void SynthCauses::causes_of_the_model() {
  install_default_model(small_model(kClass, 0.0));
  expect_cause(explained_synth(kOneGesture, "--person 501"), 2.5,
               Ending::kBelowThreshold);
  install_default_model(small_model(14, -1e6));
  expect_cause(explained_synth(kOneGesture, "--person 501"), 2.5, Ending::kNeverReported);

  Gmodel empty_template = small_model(kClass, -1e6);
  empty_template.templates[0].second = {{0.0, 0.0, 10.0}};
  install_default_model(empty_template);
  expect_cause(explained_synth(kOneGesture, "--person 501"), 2.5, Ending::kNoScore);

  install_model(5, Gmodel());
  HostRunOptions options;
  options.wearer = 1;
  options.mode = 2;
  expect_cause(explained_synth(kOneGesture, "--person 501", options), 2.5,
               Ending::kNoTemplates);
}

void SynthCauses::causes_of_the_host() {
  HostRunOptions options;
  options.initialise = false;
  expect_cause(explained_synth(kOneGesture, "--person 501", options), 2.5,
               Circumstance::kWrongMode);
}

void SynthCauses::causes_of_what_was_expected() {
  expect_expected(0.2, 0.9, kClass, Circumstance::kAtRest);
  expect_expected(2.0, 3.1, kClass + 1, Circumstance::kOtherClass);
  expect_expected(2.8, 3.1, kClass, Circumstance::kSharedMotion);
  expect_expected(100.0, 101.0, kClass, Circumstance::kNoSamples);
}

TEST_F(SynthCauses, AreAllReached) {
  causes_of_the_motion();
  causes_of_what_was_expected();
  causes_of_the_host();
  causes_of_the_model();
  for (const Cause& cause : every_cause()) {
    // No host can ask for the mode that classifies nothing.
    if (cause == Ending::kCorrectedOnly) continue;
    EXPECT_EQ(seen_.count(name_of(cause)), 1u) << name_of(cause);
  }
}
