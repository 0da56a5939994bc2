// What people read of a segmented set.
#include "text/set_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Two recordings: one with three annotations of which one was kept, and one of background
// alone.
static SegmentedSet small_set() {
  SegmentedSet set;
  set.provenance.rate = 50;
  set.provenance.classes = {{"up", 1}};
  set.provenance.background_seconds = 12.25;
  set.recordings.resize(2);
  SegmentedRecording& recording = set.recordings[0];
  recording.entry.file = "a\n.csv";
  recording.annotations = {{"a", 1.0, 2.0, 1}, {"a", 3.0, 4.0, 1}, {"a", 5.0, 6.0, 1}};
  recording.motions = {{1.1, 1.9, Verdict::kKept, 1, {}},
                       {3.2, 3.8, Verdict::kTooShort, kBackground, {}}};
  recording.annotation_of = {0, -1};
  set.recordings[1].motions = {{0.5, 1.5, Verdict::kKept, kBackground, {}},
                               {2.5, 3.5, Verdict::kKept, kBackground, {}}};
  set.recordings[1].annotation_of = {-1, -1};
  return set;
}

TEST(SetText, SummaryCountsVerdictsExamplesAndAnnotations) {
  EXPECT_EQ(summary_of(small_set()),
            "2 recordings, 50 samples/s\n"
            "     3 kept\n"
            "     1 too short\n"
            "     0 too weak\n"
            "     0 starts fast\n"
            "     0 ends fast\n"
            "     0 not a number\n"
            "     0 overlaps two annotations\n"
            "     0 partly in one annotation\n"
            "     2 examples of background\n"
            "     1 example of class 1, up\n"
            "     2 of 3 annotations without a kept motion\n"
            "12.2 s of background\n");
}

TEST(SetText, CaveatsNameWhatIsOddAboutTheRecordings) {
  SegmentedSet set = small_set();
  EXPECT_THAT(caveats_of(set), IsEmpty());
  set.clocks = {
      {{25, 1}, {100, 2}}, 2, 3, 0.5, 1, 2, {{"b.csv", 50, 40.0}, {"c", 25, 30.0}}};
  set.repetitions = {4, 1};
  set.whole_annotations = true;
  set.attitude = false;
  EXPECT_THAT(
      caveats_of(set),
      ElementsAre(
          "3 recordings of another rate resampled to 50 samples/s by linear "
          "interpolation "
          "(25 x 1, 100 x 2)",
          "3 gaps in the time stamps of 2 recordings, the longest 0.500 s; motions "
          "across "
          "them are segmented as if the samples were next to each other, or filled in by "
          "the resampling",
          "irregular clocks: 1 step back, 2 repeated times",
          "b.csv: 50 samples/s by the time stamps, 40.00 by the index; the time stamps "
          "count (so do 1 more)",
          "4 recordings of a single repetition: 1 without rest around it used whole, "
          "through the same rotation and trimming; 3 segmented",
          "annotations used whole, through the same rotation and trimming; what lies "
          "between them does not count",
          "the attitude does not count; gravity is one more point"));
  EXPECT_THAT(summary_of(set), HasSubstr("irregular clocks: 1 step back"));
  set.gravity = false;
  EXPECT_EQ(caveats_of(set).back(), "without gravity: the attitude does not count");
}

TEST(SetText, ListSaysWhyAnAnnotationIsToBeRecordedAgain) {
  SegmentedSet set = small_set();
  EXPECT_EQ(
      annotations_list(set),
      "a\\x0a.csv 1.000 2.000 class 1: kept\n"
      "a\\x0a.csv 3.000 4.000 class 1: record again: too short\n"
      "a\\x0a.csv 5.000 6.000 class 1: record again: no motion: the wrist counted as "
      "resting\n"
      "2 of 3 annotations to be recorded again\n");
  set.recordings[0].unfinished = 5.5;
  set.recordings[0].motions[1].verdict = Verdict::kInTwoAnnotations;
  EXPECT_THAT(annotations_list(set), HasSubstr("the recording ends in the motion"));
  EXPECT_THAT(annotations_list(set), HasSubstr("overlaps two annotations: rest before"));
  set.recordings[0].motions[1].verdict = Verdict::kKept;
  EXPECT_THAT(annotations_list(set),
              HasSubstr("its motion counts for another annotation"));
}
