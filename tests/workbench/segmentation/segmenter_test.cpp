// From recordings to motions: single streams, and whole sets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "base/errors.h"
#include "base/text.h"
#include "classifier/HGR.h"
#include "segmentation/segmented_set.h"
#include "segmentation/segmenter.h"
#include "support/motions.h"
#include "tools/run_wgr.h"
#include "training/model_builder.h"
#include "training/training_file.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::SizeIs;

static const Point3Df kNoBias = {0.0, 0.0, 0.0};

static std::vector<Motion> motions_in(const std::vector<RecordedSample>& samples,
                                      const std::vector<Annotation>& annotations = {}) {
  Segmenter segmenter(50);
  return segment_recording(samples, annotations, segmenter);
}

static std::vector<RecordedSample> recorded(const Stream& stream) {
  std::vector<RecordedSample> samples;
  for (const Pair& pair : stream) {
    samples.push_back({static_cast<double>(samples.size()) / 50, pair.acc, pair.gyro});
  }
  return samples;
}

TEST(Segmenter, KeepsWhatTheEngineOnTheWatchCompares) {
  const auto samples =
      recorded(rest(50) + gesture(20, 6.0) + rest(50) + gesture(22, 7.0) + rest(50));
  const std::vector<Motion> motions = motions_in(samples);
  ASSERT_THAT(motions, SizeIs(2));

  // The same stream through an engine with a model that accepts everything.
  TempDirectory directory;
  ASSERT_TRUE(small_model(3, -1e6).write(directory.file("m").c_str()));
  Capture hushed;
  AgGes engine(directory.file("m").c_str(), kAccAndGyro, 50, kNoBias, -1, -1, -1, 2.0);
  std::vector<Points> compared;
  for (const RecordedSample& sample : samples) {
    engine.update(sample.acc, sample.gyro);
    if (engine.gesture_class == kNoGesture) continue;
    compared.push_back(engine.trace);
    compared.back().push_back(engine.gravity);
    engine.gesture_class = kNoGesture;
    engine.acc_history.clear();
    engine.gyro_history.clear();
    engine.static_history.clear();
  }
  ASSERT_THAT(compared, SizeIs(2));
  for (size_t m = 0; m < 2; ++m) {
    EXPECT_EQ(motions[m].verdict, Verdict::kKept);
    EXPECT_EQ(motions[m].label, kBackground);
    ASSERT_EQ(motions[m].trace.size(), compared[m].size());
    for (size_t i = 0; i < compared[m].size(); ++i) {
      EXPECT_EQ(motions[m].trace[i].x, compared[m][i].x);
      EXPECT_EQ(motions[m].trace[i].y, compared[m][i].y);
      EXPECT_EQ(motions[m].trace[i].z, compared[m][i].z);
    }
  }
}

TEST(Segmenter, ForgetsARecordingBeforeTheNext) {
  const auto samples = recorded(rest(50) + gesture(20, 6.0) + rest(50));
  const auto broken_off = recorded(rest(50) + gesture(20, 6.0));
  Segmenter segmenter(50);
  const auto alone = segment_recording(samples, {}, segmenter);
  segment_recording(broken_off, {}, segmenter);
  const auto after = segment_recording(samples, {}, segmenter);
  ASSERT_EQ(training_text(alone), training_text(after));
  ASSERT_THAT(after, SizeIs(1));
  EXPECT_EQ(after[0].begin, alone[0].begin);
}

// To and fro along x, shaken enough to count as motion: sqrt(1.6² + 0.8²) is 1.79 m/s².
static Stream feeble() {
  Stream stream;
  for (int i = 0; i < 40; ++i) {
    const double shake = i % 2 == 0 ? 0.8 : -0.8;
    stream.push_back({{i < 20 ? 1.6 : -1.6, shake, 10.0}, {0.0, 50.0 * shake, 5.0}});
  }
  return stream;
}

TEST(Segmenter, EveryMotionGetsAVerdict) {
  const struct {
    const char* what;
    Stream stream;
    Verdict verdict;
  } cases[] = {
      {"a gesture", rest(50) + gesture(20, 6.0) + rest(50), Verdict::kKept},
      {"half a gesture", rest(50) + gesture(6, 6.0) + rest(50), Verdict::kTooShort},
      {"a feeble one", rest(50) + feeble() + rest(50), Verdict::kTooWeak},
      {"one that starts fast", rest(50) + lifted() + rest(50), Verdict::kStartsFast},
  };
  for (const auto& c : cases) {
    const std::vector<Motion> motions = motions_in(recorded(c.stream));
    ASSERT_THAT(motions, SizeIs(1)) << c.what;
    EXPECT_EQ(motions[0].verdict, c.verdict)
        << c.what << ": " << kVerdictNames[static_cast<size_t>(motions[0].verdict)];
    EXPECT_EQ(motions[0].trace.empty(), c.verdict != Verdict::kKept) << c.what;
  }
}

// Two samples nine apart, each too little to end a rest: one window of ten holds both,
// with spreads of 0.31 (m/s²)² and 144 (deg/s)². Of the five samples that are collected
// then, none is left without the padding.
TEST(Segmenter, AMotionThatIsAllPaddingIsTooShort) {
  Stream stream = rest(100);
  for (const size_t i : {60, 69}) {
    stream[i].acc.y += 1.4;
    stream[i].gyro.x += 30.0;
  }
  Segmenter segmenter(50, HostSettings{2, -1, std::nullopt});
  const std::vector<Motion> motions = segment_recording(recorded(stream), {}, segmenter);
  ASSERT_THAT(motions, SizeIs(1));
  EXPECT_EQ(motions[0].verdict, Verdict::kTooShort);
}

// One rate of exactly zero at the start is enough to lose the attitude.
TEST(Segmenter, ReportsAMotionWhoseAttitudeIsLost) {
  auto samples = recorded(rest(50) + gesture(20, 6.0) + rest(50));
  for (RecordedSample& sample : samples) {
    if (sample.t < 1.0) sample.gyro = {0.0, 0.0, 0.0};
  }
  const std::vector<Motion> motions = motions_in(samples);
  ASSERT_THAT(motions, SizeIs(1));
  EXPECT_EQ(motions[0].verdict, Verdict::kNotANumber);
}

TEST(Segmenter, AMotionGetsTheLabelOfTheAnnotationItFills) {
  const auto judge = [](double begin, double end) {
    const std::vector<Annotation> annotations = {{"f", 10.0, 11.0, 2},
                                                 {"f", 11.2, 12.2, 4}};
    Motion motion = {begin, end, Verdict::kKept, kBackground, {}};
    label_motion(annotations, motion);
    return motion;
  };
  EXPECT_EQ(judge(9.95, 11.05).label, 2);
  EXPECT_EQ(judge(9.95, 11.05).verdict, Verdict::kKept);
  EXPECT_EQ(judge(11.3, 12.4).label, 4);
  EXPECT_EQ(judge(5.0, 9.0).label, kBackground);
  EXPECT_EQ(judge(5.0, 9.0).verdict, Verdict::kKept);
  EXPECT_EQ(judge(10.0, 12.0).verdict, Verdict::kInTwoAnnotations);
  EXPECT_EQ(judge(7.0, 10.8).verdict, Verdict::kPartlyInAnnotation) << "mostly outside";
  EXPECT_EQ(judge(10.1, 10.4).verdict, Verdict::kPartlyInAnnotation) << "a part of it";
}

// A recording as a file has it, at the given times.
static std::string recording_text(const std::vector<double>& stamps,
                                  const Stream& stream) {
  std::string text = "t,ax,ay,az,gx,gy,gz\n";
  for (size_t i = 0; i < stamps.size(); ++i) {
    const Pair& pair = stream[i];
    for (const double value : {stamps[i], pair.acc.x, pair.acc.y, pair.acc.z, pair.gyro.x,
                               pair.gyro.y, pair.gyro.z}) {
      text += fmt::format("{:.6f},", value);
    }
    text.back() = '\n';
  }
  return text;
}

// 200 of them, with other steps than usual before the given ones.
static std::vector<double> stamps(double step, const std::map<size_t, double>& others) {
  std::vector<double> times = {0.0};
  for (size_t i = 1; i < 200; ++i) {
    const auto other = others.find(i);
    times.push_back(times.back() + (other == others.end() ? step : other->second));
  }
  return times;
}

static SegmentedSet segment_folder(const std::string& folder,
                                   const SegmentationOptions& options = {}) {
  Capture hushed;
  return segment_set(read_recording_set(folder), {}, options);
}

TEST(SegmentedSet, KnowsWhatIsOddAboutItsClocks) {
  const TempDirectory set;
  const auto write = [&](const char* name, const std::vector<double>& times) {
    write_file(set.file(name), recording_text(times, rest(200)));
  };
  write("a.csv", stamps(0.02, {{50, 0.5}, {60, 0.0}, {70, -0.5}, {80, 0.0}}));
  write("b.csv", stamps(0.02, {{50, 0.25}, {60, 0.125}}));
  write("c.csv", stamps(0.04, {}));
  write("d.csv", stamps(0.02, {}));
  write_file(set.file("index.csv"),
             "file,label,subject,rate_hz\n"
             "a.csv,1,,50\nb.csv,1,,40\nc.csv,1,,30\nd.csv,1,,\n");
  const SegmentedSet odd = segment_folder(set.path());
  EXPECT_EQ(odd.provenance.rate, 50);
  EXPECT_THAT(odd.clocks.resampled, ElementsAre(::testing::Pair(25, 1u)));
  EXPECT_EQ(odd.clocks.gaps, 3u);
  EXPECT_EQ(odd.clocks.recordings_with_gaps, 2u);
  EXPECT_DOUBLE_EQ(odd.clocks.longest_gap, 0.5);
  EXPECT_EQ(odd.clocks.backward, 1u);
  EXPECT_EQ(odd.clocks.repeats, 2u);
  ASSERT_THAT(odd.clocks.differing, SizeIs(2));
  EXPECT_EQ(odd.clocks.differing[0].path, set.file("b.csv"));
  EXPECT_EQ(odd.clocks.differing[0].found, 50);
  EXPECT_EQ(odd.clocks.differing[0].by_index, 40.0);

  write_file(set.file("index.csv"), "file,label,subject,rate_hz\na.csv,1,,\n");
  for (const char* name : {"b.csv", "c.csv"}) std::filesystem::remove(set.file(name));
  write("a.csv", stamps(0.02, {}));
  const SegmentedSet even = segment_folder(set.path());
  EXPECT_TRUE(even.clocks.resampled.empty());
  EXPECT_TRUE(even.clocks.differing.empty());
  EXPECT_EQ(even.clocks.gaps + even.clocks.backward + even.clocks.repeats, 0u);
}

TEST(SegmentedSet, UsesARecordingWithoutRestWhole) {
  const TempDirectory set;
  const Stream shaken = gesture(20, 6.0) + gesture(20, 6.0);
  std::vector<double> times = stamps(0.02, {});
  times.resize(shaken.size());
  write_file(set.file("a.csv"), recording_text(times, shaken));
  const Stream rested = rest(50) + gesture(20, 6.0) + rest(50);
  times = stamps(0.02, {});
  times.resize(rested.size());
  write_file(set.file("b.csv"), recording_text(times, rested));
  write_file(set.file("index.csv"),
             "file,label,subject,rate_hz\na.csv,up,ann,\nb.csv,down,bob,\n");
  const SegmentedSet segmented = segment_folder(set.path());
  ASSERT_THAT(segmented.recordings, SizeIs(2));
  EXPECT_TRUE(segmented.recordings[0].pre_segmented);
  EXPECT_FALSE(segmented.recordings[1].pre_segmented);
  EXPECT_EQ(segmented.repetitions.count, 2u);
  EXPECT_EQ(segmented.repetitions.pre_segmented, 1u);
  EXPECT_THAT(kept_motions(segmented), SizeIs(2));
  EXPECT_EQ(segmented.provenance.subjects, (std::vector<std::string>{"ann", "bob"}));
}

TEST(SegmentedSet, UsesAnnotationsAsTheyAre) {
  const TempDirectory set;
  const Stream stream = rest(50) + gesture(20, 6.0) + rest(50);
  std::vector<double> times = stamps(0.02, {});
  times.resize(stream.size());
  write_file(set.file("a.csv"), recording_text(times, stream));
  SegmentationOptions options;
  options.whole_annotations = true;
  const std::string labels = "file,t_start,t_end,label\na.csv,1,1.78,3\na.csv,0,0.5,3\n";
  write_file(set.file("labels.csv"), labels);
  const SegmentedSet segmented = segment_folder(set.path(), options);
  ASSERT_THAT(segmented.recordings, SizeIs(1));
  const SegmentedRecording& recording = segmented.recordings[0];
  EXPECT_TRUE(recording.pre_segmented);
  ASSERT_THAT(recording.motions, SizeIs(2));
  EXPECT_EQ(recording.motions[0].verdict, Verdict::kKept);
  EXPECT_EQ(recording.motions[0].label, 3);
  EXPECT_NE(recording.motions[1].verdict, Verdict::kKept);
  EXPECT_THAT(recording.annotation_of, ElementsAre(0, -1));
  EXPECT_TRUE(segmented.whole_annotations);
  const std::vector<AnnotationOutcome> outcomes = annotation_outcomes(segmented);
  ASSERT_THAT(outcomes, SizeIs(2));
  EXPECT_EQ(outcomes[0].state, AnnotationState::kKept);
  EXPECT_EQ(outcomes[1].state, AnnotationState::kDropped);
  EXPECT_EQ(outcomes[1].verdict, recording.motions[1].verdict);

  write_file(set.file("labels.csv"), labels + "a.csv,7.125,8.25,3\n");
  EXPECT_THAT(
      [&] { segment_folder(set.path(), options); },
      ::testing::ThrowsMessage<UsageError>(
          set.path() + "/a.csv: has no sample in the annotation from 7.125 to 8.250 s"));
}
