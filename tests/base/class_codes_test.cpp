#include "base/class_codes.h"

#include <gtest/gtest.h>

using namespace wgr;

using wgr::is_class_code;
using wgr::report_of;

TEST(ClassCodes, ARejectedMotionIsReportedAsFiveAndNoGestureAndSixAreNot) {
  EXPECT_EQ(report_of(13), 5);
  EXPECT_EQ(report_of(14), std::nullopt);
  EXPECT_EQ(report_of(6), std::nullopt);
}

TEST(ClassCodes, EveryOtherClassIsReportedAsItStands) {
  for (const int label : {-3, 0, 1, 4, 5, 7, 12, 15, 1000}) {
    EXPECT_EQ(report_of(label), label);
  }
}

TEST(ClassCodes, FourLabelsWouldBeTakenForSomethingElse) {
  for (int label = -1; label < 20; ++label) {
    EXPECT_EQ(is_class_code(label),
              label == 5 || label == 6 || label == 13 || label == 14)
        << label;
  }
}
