// The explanation says what is reported to a host: class, strength, score and duration to
// the last bit, on every recording at hand.
#include <gtest/gtest.h>

#include "classifier/HGR.h"
#include "dtw/similarity.h"
#include "support/cases.h"
#include "support/random_points.h"
#include "support/same_bits.h"
#include "warping/warping_path.h"
#include "workbench/explanation/explain_support.h"

using namespace wgr;

// The events of a host that nobody watches.
static std::vector<GestureEvent> replayed(const std::string& path,
                                          const HostRunOptions& options) {
  std::vector<GestureEvent> events;
  RecordingReader reader(path);
  Totals totals(options.rate);
  Capture quiet;
  HostRun host_run(options);
  run_host(host_run, reader, totals, [&events](const Step& step) {
    if (step.event != nullptr) events.push_back(*step.event);
  });
  return events;
}

// Scores anew, with a classifier of its own, what the explanation says was compared.
static void expect_same_score(const Explanation& e, const MotionExplanation& m) {
  HGR hgr(0);
  *hgr.model = e.model;
  Points trace = m.corrected;
  Points velocity;
  Points position;
  reconstruct(trace, e.settings.rate, velocity, position);
  trace.push_back(m.gravity);
  double score = 0.0;
  double strength = 0.0;
  const int label = hgr.predict(trace, &strength, &score, nullptr);
  EXPECT_TRUE(same_bits(strength, m.strength));
  if (m.scores.empty()) return;
  EXPECT_TRUE(same_bits(score, static_cast<double>(m.scores.front().score)));
  EXPECT_EQ(label, m.scores.front().label);
  // The path that is drawn is the one that the score is of.
  const int k = e.model.havegravity;
  const TemplateScore& best = m.scores.front();
  const Points& other = e.model.templates[best.index].second;
  EXPECT_EQ(score_of(m.path.path, gravity_distance(m.compared, other, k), k), best.score);
}

// Returns how many events there were.
static size_t expect_agreement(const std::string& path, const HostRunOptions& options) {
  SCOPED_TRACE(path);
  const std::vector<GestureEvent> events = replayed(path, options);
  const Explanation e = explained(path, options);
  std::vector<const MotionExplanation*> reported;
  for (const MotionExplanation& m : e.motions) {
    if (m.reported) reported.push_back(&m);
    if (m.predicted && m.cause != Ending::kNoScore) expect_same_score(e, m);
    // A report has one of two causes, and nothing else has them.
    EXPECT_EQ(m.reported.has_value(),
              m.cause == Ending::kRecognised || m.cause == Ending::kBelowThreshold);
  }
  EXPECT_EQ(reported.size(), events.size());
  for (size_t i = 0; i < std::min(events.size(), reported.size()); ++i) {
    EXPECT_EQ(reported[i]->judged, events[i].t);
    EXPECT_EQ(reported[i]->reported, events[i].gesture);
    EXPECT_TRUE(same_bits(reported[i]->strength, events[i].strength));
    EXPECT_TRUE(same_bits(reported[i]->duration_ms, events[i].duration_ms));
  }
  return events.size();
}

static void install_shipped_models() {
  for (const auto& entry : std::filesystem::directory_iterator(kInstalledModels)) {
    std::filesystem::remove_all(entry);
  }
  std::filesystem::copy(WGR_ROOT "/models", kInstalledModels,
                        std::filesystem::copy_options::recursive);
}

TEST(Agreement, OnRandomStreams) {
  install_all_models();
  RandomPoints random(5);
  const TempDirectory directory;
  const std::string path = directory.file("random.csv");
  size_t events = 0;
  const int rounds = enough_cases() ? 30 : 2;
  for (int round = 0; round < rounds; ++round) {
    write_recording(path, recorded(random_stream(random, 1500, false)));
    for (const int level : {1, 3, -10}) {
      HostRunOptions options;
      options.sensitivity = level;
      options.gyro_bias = {0.5, -0.25, 1.0};
      events += expect_agreement(path, options);
    }
  }
  EXPECT_GT(events, static_cast<size_t>(rounds));
}

TEST(Agreement, OnTheDemoRecordingWithEveryModel) {
  install_shipped_models();
  size_t events = 0;
  for (int wearer = 0; wearer < 2; ++wearer) {
    for (int mode = 0; mode < 3; ++mode) {
      HostRunOptions options;
      options.wearer = wearer;
      options.mode = mode;
      events += expect_agreement(WGR_ROOT "/recordings/demo.csv", options);
    }
  }
  EXPECT_GT(events, 6u);
}

TEST(Agreement, OnRecordingsFromElsewhere) {
  const std::filesystem::path folder = WGR_ROOT "/../shared/data";
  if (!std::filesystem::is_directory(folder)) {
    GTEST_SKIP() << folder << " is not there: nothing to compare on";
  }
  install_shipped_models();
  size_t seen = 0;
  size_t recordings = 0;
  size_t events = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".gz") continue;
    // Where every step is slow, one in twenty.
    if (seen++ % 20 != 0 && !enough_cases()) continue;
    HostRunOptions options;
    options.rate = entry.path().string().find("nano") != std::string::npos ? 119 : 100;
    events += expect_agreement(entry.path(), options);
    ++recordings;
  }
  std::printf("%zu recordings, %zu events\n", recordings, events);
  if (enough_cases()) {
    EXPECT_GT(events, 0u);
  }
  EXPECT_GT(recordings, 0u);
}

// Small integers make many equal costs, where the tie rules decide.
TEST(TracedPath, HasTheLibrarysCostAndLength) {
  RandomPoints random(7);
  for (int round = 0; round < 3000; ++round) {
    const auto kind = static_cast<RandomPoints::Kind>(round % 3);
    const Points a = random.trace(random.integer(1, 40), kind);
    const Points b = random.trace(random.integer(1, 40), kind);
    Dtw warper;
    warper.set_trace(a.data(), a.size());
    const WarpingPath expected = warper.warp(b.data(), b.size());
    const TracedPath traced = trace_path(a, a.size(), b, b.size());
    ASSERT_TRUE(same_bits(traced.path.cost, expected.cost));
    ASSERT_EQ(traced.path.length, expected.length);
    ASSERT_EQ(traced.pairs.front(), std::make_pair(size_t{0}, size_t{0}));
    ASSERT_EQ(traced.pairs.back(), std::make_pair(a.size() - 1, b.size() - 1));
  }
}
