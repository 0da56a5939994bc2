// Recordings to training samples, training samples to templates and thresholds.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>

#include "base/errors.h"
#include "base/text.h"
#include "classifier/Gdata.h"
#include "classifier/HGR.h"
#include "segmentation/segmented_set.h"
#include "segmentation/segmenter.h"
#include "support/motions.h"
#include "synthesis/performance.h"
#include "tools/run_wgr.h"
#include "training/exemplars.h"
#include "training/model_builder.h"
#include "training/thresholds.h"
#include "training/training_file.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
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

TEST(SynthSegmenter, KeepsWhatTheEngineOnTheWatchCompares) {
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

TEST(SynthSegmenter, ForgetsARecordingBeforeTheNext) {
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

// A steady lift that never stops. Freed of its mean, the four resting samples before it
// fall at 1.3 m/s² and the lift is as slow as that fall: the first step is fast.
static Stream lifted() {
  Stream stream;
  for (int i = 0; i < 40; ++i) {
    const double shake = i % 2 == 0 ? 0.8 : -0.8;
    stream.push_back({{0.0, shake, 11.6}, {0.0, 0.0, 50.0 * shake}});
  }
  return stream;
}

TEST(SynthSegmenter, EveryMotionGetsAVerdict) {
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
TEST(SynthSegmenter, AMotionThatIsAllPaddingIsTooShort) {
  Stream stream = rest(100);
  for (const size_t i : {60, 69}) {
    stream[i].acc.y += 1.4;
    stream[i].gyro.x += 30.0;
  }
  Segmenter segmenter(50, 2);
  const std::vector<Motion> motions = segment_recording(recorded(stream), {}, segmenter);
  ASSERT_THAT(motions, SizeIs(1));
  EXPECT_EQ(motions[0].verdict, Verdict::kTooShort);
}

// One rate of exactly zero at the start is enough to lose the attitude.
TEST(SynthSegmenter, ReportsAMotionWhoseAttitudeIsLost) {
  auto samples = recorded(rest(50) + gesture(20, 6.0) + rest(50));
  for (RecordedSample& sample : samples) {
    if (sample.t < 1.0) sample.gyro = {0.0, 0.0, 0.0};
  }
  const std::vector<Motion> motions = motions_in(samples);
  ASSERT_THAT(motions, SizeIs(1));
  EXPECT_EQ(motions[0].verdict, Verdict::kNotANumber);
}

TEST(SynthSegmenter, AMotionGetsTheLabelOfTheAnnotationItFills) {
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

TEST(SynthTrainingFile, IsReadBackByTheLibrary) {
  Motion motion = {0.0, 1.0, Verdict::kKept, 3, {}};
  motion.trace = {{0.1, -2.5, 1.0 / 3.0}, {1e-7, 4.0, -5.123456789}, {0.5, -1.0, 9.9}};
  Motion other = motion;
  other.label = kBackground;
  TempDirectory directory;
  write_file(directory.file("t"), training_text({motion, other}));
  EXPECT_EQ(read_file(directory.file("t")).substr(0, 42),
            "3 2 0.5 -1 9.9\n0.1 1e-07\n-2.5 4\n0.33333333");
  Gdata data;
  ASSERT_TRUE(data.load(directory.file("t").c_str()));
  EXPECT_EQ(data.kind, 1);
  ASSERT_THAT(data.samples, SizeIs(2));
  EXPECT_EQ(data.samples[0].label, 3);
  EXPECT_EQ(data.samples[1].label, -1);
  ASSERT_THAT(data.samples[0].trace, SizeIs(3));
  EXPECT_EQ(data.samples[0].trace[0].z, 0.33333333);
  EXPECT_EQ(data.samples[0].trace[1].z, -5.1234568);
  EXPECT_EQ(data.samples[0].trace[2].z, 9.9);
}

TEST(SynthThresholds, LieInTheMiddleBetweenRightAndWrong) {
  EXPECT_DOUBLE_EQ(choose_threshold({-0.1, -0.2}, {-0.8, -0.6}, 3.0), -0.4);
}

// One wrong sample at -0.1 costs 3; refusing the right one at -0.15 costs 1.
TEST(SynthThresholds, WeighAFalsePositiveAgainstMisses) {
  EXPECT_DOUBLE_EQ(choose_threshold({-0.05, -0.15}, {-0.1}, 3.0), -0.075);
  EXPECT_DOUBLE_EQ(choose_threshold({-0.05, -0.15}, {-0.1, -0.55}, 0.5), -0.35);
}

TEST(SynthThresholds, StayBelowTheRightWhereNothingIsWrong) {
  const double threshold = choose_threshold({-0.1, -0.2}, {}, 3.0);
  EXPECT_LT(threshold, -0.25);
  EXPECT_GT(threshold, -0.5);
  EXPECT_LT(choose_threshold({}, {}, 3.0), 0.0);
}

static Points wave(double phase, double size) {
  Points trace;
  for (int i = 0; i < 30; ++i) {
    trace.push_back(
        {size * std::sin(0.3 * i + phase), size * std::cos(0.2 * i), 0.1 * i});
  }
  trace.push_back({0.0, 0.0, 10.0});
  HGR(1).normalize(trace, 1);
  return trace;
}

TEST(SynthExemplars, StandForEachGroup) {
  std::vector<Points> traces;
  for (int i = 0; i < 6; ++i) traces.push_back(wave(0.01 * i, 2.0));
  for (int i = 0; i < 6; ++i) traces.push_back(wave(2.0 + 0.013 * i, 6.0));
  const Exemplars exemplars = choose_exemplars(traces, 1, 2);
  ASSERT_THAT(exemplars.chosen, SizeIs(2));
  EXPECT_LT(exemplars.chosen[0], 6u);
  EXPECT_GE(exemplars.chosen[1], 6u);
  EXPECT_THAT(exemplars.how, HasSubstr("affinity propagation, preference"));
}

// All alike: every similarity and so every preference is zero, and no exemplar emerges.
TEST(SynthExemplars, ArePickedOneByOneWhereClusteringFails) {
  Capture hushed;
  const std::vector<Points> traces(8, wave(0.0, 1.0));
  const Exemplars exemplars = choose_exemplars(traces, 1, 3);
  EXPECT_THAT(exemplars.chosen, ElementsAre(0, 1, 2));
  EXPECT_THAT(exemplars.how, HasSubstr("did not converge"));
}

TEST(SynthExemplars, OfOneSampleAreThatOne) {
  EXPECT_THAT(choose_exemplars({wave(0.0, 1.0)}, 1, 3).chosen, ElementsAre(0));
  EXPECT_THAT(choose_exemplars({}, 1, 3).chosen, SizeIs(0));
}

TEST(SynthBuilder, NeedsASampleOfSomeGesture) {
  Gdata background;
  background.kind = 1;
  background.samples = {{-1, wave(0.0, 1.0)}};
  background.class_counts = {{-1, 1}};
  BuildReport report;
  EXPECT_THROW(build_model(background, BuildOptions(), report), UsageError);
}

TEST(SynthBuilder, CountsEverySampleOnce) {
  Gdata data;
  data.kind = 1;
  for (int i = 0; i < 8; ++i) {
    data.samples.push_back({7, wave(0.02 * i, 2.0)});
    data.samples.push_back({2, wave(2.0 + 0.02 * i, 6.0)});
  }
  data.samples.push_back({-1, wave(1.0, 0.1)});
  data.class_counts = {{7, 8}, {2, 8}, {-1, 1}};
  BuildReport report;
  BuildOptions options;
  options.most_templates = 3;
  const Gmodel model = build_model(data, options, report);
  EXPECT_THAT(model.class_labels, ElementsAre(2, 7));
  EXPECT_EQ(model.normalize, 1);
  EXPECT_EQ(model.havegravity, 1);
  ASSERT_THAT(model.class_thresholds, SizeIs(2));
  EXPECT_LE(model.templates.size(), 6u);
  EXPECT_EQ(report.background, 1u);
  EXPECT_EQ(report.background_accepted, 0u);
  for (const ClassReport& c : report.classes) {
    EXPECT_EQ(c.examples, 8u);
    EXPECT_EQ(c.right, 8u);
    EXPECT_EQ(c.right + c.misclassified + c.rejected, c.examples);
  }
  EXPECT_EQ(report.examples(), 16u);
  EXPECT_EQ(report.classified_right(), 16u);
  EXPECT_EQ(report.accepted(), 16u);
  EXPECT_EQ(report.templates(), model.templates.size());
  EXPECT_EQ(report.template_examples.size(), model.templates.size());
  EXPECT_THAT(model.class_thresholds,
              ElementsAre(report.classes[0].threshold, report.classes[1].threshold));
}

// Three shapes, of which two are near each other: more templates name more of them.
static Gdata three_shapes() {
  Gdata data;
  data.kind = 1;
  for (int i = 0; i < 12; ++i) {
    data.samples.push_back({1, wave(0.11 * i, 2.0)});
    data.samples.push_back({2, wave(0.13 * i, 2.3)});
    data.samples.push_back({3, wave(2.0 + 0.02 * i, 6.0)});
  }
  data.class_counts = {{1, 12}, {2, 12}, {3, 12}};
  return data;
}

TEST(SynthBuilder, ChoosesTheFewestTemplatesWithinTheMarginOfTheBest) {
  Capture hushed;
  for (const double tolerance : {0.0, 0.1}) {
    BuildReport report;
    BuildOptions options;
    options.tolerance = tolerance;
    const Gmodel model = build_model(three_shapes(), options, report);
    const SweepStep* chosen = nullptr;
    double best = 0.0;
    for (const SweepStep& step : report.sweep) {
      EXPECT_LE(step.accuracy, 1.0);
      EXPECT_GE(step.accuracy, 0.5);
      if (step.in_question) best = std::max(best, step.accuracy);
      if (!step.chosen) continue;
      EXPECT_EQ(chosen, nullptr) << "one alone";
      chosen = &step;
    }
    ASSERT_NE(chosen, nullptr);
    EXPECT_TRUE(chosen->in_question);
    EXPECT_GE(chosen->accuracy, best - tolerance);
    EXPECT_EQ(chosen->templates, model.templates.size());
    EXPECT_DOUBLE_EQ(chosen->accuracy,
                     static_cast<double>(report.classified_right()) / 36.0);
    for (const SweepStep& step : report.sweep) {
      if (!step.in_question || step.accuracy < best - tolerance) continue;
      EXPECT_GE(step.templates, chosen->templates);
      if (step.templates > chosen->templates) continue;
      EXPECT_LE(step.accuracy, chosen->accuracy);
    }
    for (const ClassReport& c : report.classes) EXPECT_LE(c.templates, 4u) << "a third";
  }
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

TEST(SynthSegmentedSet, ReportsWhatIsOddAboutItsClocks) {
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
  EXPECT_EQ(
      segment_folder(set.path()).notes,
      "50 samples/s; 1 recording of another rate resampled to it by linear interpolation "
      "(25 x 1)\n"
      "3 gaps in the time stamps of 2 recordings, the longest 0.500 s; motions across "
      "them are segmented as if the samples were next to each other, or filled in by the "
      "resampling\n"
      "irregular clocks: 1 step back, 2 repeated times\n" +
          set.file("b.csv") +
          ": 50 samples/s by the time stamps, 40.00 by the index; the time stamps count "
          "(so do 1 more)\n"
          "4 recordings of a single repetition: 0 without rest around it used whole, "
          "through "
          "the same rotation and trimming; 4 segmented\n");

  write_file(set.file("index.csv"), "file,label,subject,rate_hz\na.csv,1,,\n");
  for (const char* name : {"b.csv", "c.csv"}) std::filesystem::remove(set.file(name));
  write("a.csv", stamps(0.02, {}));
  EXPECT_EQ(
      segment_folder(set.path()).notes,
      "50 samples/s\n1 recording of a single repetition: 0 without rest around it used "
      "whole, through the same rotation and trimming; 1 segmented\n");
}

TEST(SynthSegmentedSet, UsesARecordingWithoutRestWhole) {
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
  EXPECT_THAT(segmented.notes,
              HasSubstr("2 recordings of a single repetition: 1 without rest "
                        "around it used whole, through the same rotation and "
                        "trimming; 1 segmented\n"));
  EXPECT_THAT(kept_motions(segmented), SizeIs(2));
  EXPECT_EQ(segmented.provenance.subjects, (std::vector<std::string>{"ann", "bob"}));
  EXPECT_EQ(summary_of(segmented), "2 recordings, " + segmented.notes +
                                       "     2 kept\n"
                                       "     0 too short\n"
                                       "     0 too weak\n"
                                       "     0 starts fast\n"
                                       "     0 ends fast\n"
                                       "     0 not a number\n"
                                       "     0 overlaps two annotations\n"
                                       "     0 partly in one annotation\n"
                                       "     1 examples of class 0, down\n"
                                       "     1 examples of class 1, up\n"
                                       "     0 of 2 annotations without a kept motion\n"
                                       "0.0 s of background\n");
}

TEST(SynthSegmentedSet, UsesAnnotationsAsTheyAre) {
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
  EXPECT_THAT(segmented.notes, HasSubstr("annotations used whole"));
  EXPECT_THAT(summary_of(segmented),
              HasSubstr("     1 of 2 annotations without a kept motion\n"));

  write_file(set.file("labels.csv"), labels + "a.csv,7.125,8.25,3\n");
  EXPECT_THAT(
      [&] { segment_folder(set.path(), options); },
      ::testing::ThrowsMessage<UsageError>(
          set.path() + "/a.csv: has no sample in the annotation from 7.125 to 8.250 s"));
}

TEST(SynthProgramCut, CountsEveryMotionAndSaysWhatIsWrong) {
  TempDirectory directory;
  const std::string set = directory.file("set");
  ASSERT_EQ(run_wgr("synth --training " + set +
                    " --persons 1 --gestures 2 "
                    "--distractors 30")
                .status,
            0);
  const Outcome segmented = run_wgr("segment " + set + " -o -");
  ASSERT_EQ(segmented.status, 0) << segmented.err;
  EXPECT_THAT(segmented.err, HasSubstr("     2 examples of class 0\n"));
  EXPECT_THAT(segmented.err,
              HasSubstr("     0 of 10 annotations without a kept motion\n"));
  ASSERT_EQ(run_wgr("segment " + set + " -o " + directory.file("t")).status, 0);
  EXPECT_EQ(segmented.out, read_file(directory.file("t")))
      << "standard output has no more";

  EXPECT_EQ(run_wgr("segment /nowhere -o -").status, 2);
  const Outcome rate = run_wgr("segment " + set + " --sample-rate 100 -o -");
  EXPECT_EQ(rate.status, 0) << rate.err;
  EXPECT_THAT(rate.err, HasSubstr("1 recordings, 100 samples/s; 1 recording of another "
                                  "rate resampled to it by linear interpolation "
                                  "(50 x 1)\n"));
  write_file(set + "/labels.csv", "file,t_start,t_end,label\nlost.csv,1,2,0\n");
  const Outcome lost = run_wgr("segment " + set + " -o -");
  EXPECT_EQ(lost.status, 2);
  EXPECT_THAT(lost.err, HasSubstr("names lost.csv, which is not there"));
  write_file(set + "/labels.csv", "file,t_start,t_end,label\np001_free.csv,1,1,x\n");
  const Outcome label = run_wgr("segment " + set + " -o -");
  EXPECT_EQ(label.status, 2);
  EXPECT_THAT(label.err, HasSubstr("labels.csv:2: the interval ends before it starts"));
}

TEST(SynthProgramBuild, SaysWhatIsWrongAndWritesNothing) {
  TempDirectory directory;
  const std::string out = directory.file("m.xml");
  EXPECT_EQ(run_wgr("build /nowhere -o " + out).status, 2);
  write_file(directory.file("t"), "-1 1 0 0 9.9\n1\n1\n1\n");
  const Outcome outcome = run_wgr("build " + directory.file("t") + " -o " + out);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("no example of any gesture"));
  EXPECT_FALSE(std::filesystem::exists(out));
}
