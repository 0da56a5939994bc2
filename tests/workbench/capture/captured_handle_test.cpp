// From when on a handle that was in use before its capture begins is known.
#include "capture/captured_handle.h"

#include <gtest/gtest.h>

#include "WgrInterface.h"
#include "support/motions.h"

using namespace wgr;

static void feed(CapturedHandle& handle, const Stream& stream) {
  for (const Pair& pair : stream) {
    handle.before_sample();
    update_gesture(handle.handle(), pair.acc, pair.gyro);
    handle.after_sample();
  }
}

// A motion that is not compared leaves the figures of one before it, which is not known.
TEST(CapturedHandle, KnowsTheFiguresOnceAMotionWasCompared) {
  CapturedHandle handle(small_model(3, -1e6));
  init_gesture_handle(handle.handle(), 50, {0.0, 0.0, 0.0}, -1, -1, -1, -1);
  handle.lose_state();
  feed(handle, rest(50));
  EXPECT_TRUE(handle.is_known());
  EXPECT_FALSE(handle.figures_known());
  feed(handle, lifted() + rest(50));
  EXPECT_EQ(handle.context().ages->result.ending, Ending::kStartsFast);
  EXPECT_FALSE(handle.figures_known());
  feed(handle, gesture(20, 6.0) + rest(50));
  EXPECT_EQ(handle.context().ages->result.ending, Ending::kRecognised);
  EXPECT_TRUE(handle.figures_known());
}

TEST(CapturedHandle, IsEmptyAfterAReportThatItDidNotMake) {
  CapturedHandle handle(small_model(3, -1e6));
  init_gesture_handle(handle.handle(), 50, {0.0, 0.0, 0.0}, -1, -1, -1, -1);
  handle.lose_state();
  feed(handle, rest(50));
  EXPECT_TRUE(handle.is_known());
  handle.after_report();
  EXPECT_TRUE(handle.is_known());
  EXPECT_TRUE(handle.context().ages->acc_history.empty());
}
