// wgr segment and wgr build as programs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/errors.h"
#include "support/motions.h"
#include "tools/run_wgr.h"
#include "training/model_builder.h"

using namespace wgr;

using ::testing::HasSubstr;

TEST(SegmentCommand, CountsEveryMotionAndSaysWhatIsWrong) {
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
  EXPECT_THAT(rate.err, HasSubstr("1 recording, 100 samples/s\n1 recording of another "
                                  "rate resampled to 100 samples/s by linear "
                                  "interpolation (50 x 1)\n"));
  write_file(set + "/labels.csv", "file,t_start,t_end,label\nlost.csv,1,2,0\n");
  const Outcome lost = run_wgr("segment " + set + " -o -");
  EXPECT_EQ(lost.status, 2);
  EXPECT_THAT(lost.err, HasSubstr("names lost.csv, which is not there"));
  write_file(set + "/labels.csv", "file,t_start,t_end,label\np001_free.csv,1,1,x\n");
  const Outcome label = run_wgr("segment " + set + " -o -");
  EXPECT_EQ(label.status, 2);
  EXPECT_THAT(label.err, HasSubstr("labels.csv:2: the interval ends before it starts"));
}

TEST(BuildCommand, SaysWhatIsWrongAndWritesNothing) {
  TempDirectory directory;
  const std::string out = directory.file("m.xml");
  EXPECT_EQ(run_wgr("build /nowhere -o " + out).status, 2);
  write_file(directory.file("t"), "-1 1 0 0 9.9\n1\n1\n1\n");
  const Outcome outcome = run_wgr("build " + directory.file("t") + " -o " + out);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("no example of any gesture"));
  EXPECT_FALSE(std::filesystem::exists(out));
}
