// The rest test and the intakes against their reference implementations, on a great many
// samples next to the bounds that decide.
#include "engine/rest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/cases.h"
#include "support/quiet_engine.h"
#include "support/random_points.h"
#include "support/reference_intake.h"
#include "support/reference_recognition.h"
#include "support/reference_rest.h"
#include "support/same_bits.h"

using namespace wgr;

namespace {

// Windows whose mean has a squared length near one of `means`, and whose spread is near
// `spread`: often so near that the rounding of the sums decides.
struct Level {
  std::vector<double> means;
  double spread;
};
const Level kAcc = {{98.0, 104.0, 110.0}, 0.22};
const Level kGyro = {{0.0, 900.0}, 110.0};

}  // namespace

static double nearly(RandomPoints& random, double value) {
  const double away[] = {0.0, 0x1p-52, -0x1p-52, 0x1p-50, -0x1p-50, 1e-3, -1e-3, 0.3};
  return value * (1.0 + away[random.integer(0, 7)]);
}

// As many samples above the mean as below it, by the root of the spread.
static void add_window(RandomPoints& random, const Level& level, int count,
                       Samples& samples) {
  const int last = static_cast<int>(level.means.size()) - 1;
  const double mean = std::sqrt(
      nearly(random, level.means[static_cast<size_t>(random.integer(0, last))]));
  const double away = std::sqrt(nearly(random, level.spread)) * random.integer(0, 1);
  const int axis = random.integer(0, 2);
  const bool across = random.integer(0, 1) == 0;  // all: the mean stays as it is
  for (int i = 0; i < count; ++i) {
    Point3Df p = {0, 0, 0};
    double* const axes[] = {&p.x, &p.y, &p.z};
    *axes[axis] = mean;
    *axes[!across && random.integer(0, 3) == 0 ? axis : (axis + 1) % 3] +=
        i % 2 == 0 ? away : -away;
    if (random.integer(1, 10 * std::max(count, 10)) == 1) {
      const double odd[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e200, 1e-310, -0.0};
      *axes[random.integer(0, 2)] = odd[random.integer(0, 5)];
    }
    samples.push_back(p);
  }
}

// Gives the engine histories of little more than a window, and returns what the literal
// version says of it.
static bool fill_window(RandomPoints& random, int window, AgGes& engine) {
  engine.work_mode = random.integer(0, 3);
  engine.static_window = window;
  engine.acc_history.clear();
  engine.gyro_history.clear();
  add_window(random, kAcc, random.integer(0, 3), engine.acc_history);
  add_window(random, kAcc, std::max(window, 0), engine.acc_history);
  const size_t size = engine.acc_history.size();
  add_window(random, kGyro, static_cast<int>(size), engine.gyro_history);
  if (random.integer(1, 8) == 1) engine.gyro_history.resize(size / 2);
  return reference::is_static(engine.work_mode, engine.static_window, engine.acc_history,
                              engine.gyro_history);
}

TEST(RestProperty, JudgesEveryWindowAsTheLiteralVersion) {
  const std::uint64_t cases = property_cases();
  const auto engine = quiet_engine();
  std::uint64_t rests = 0;
  for (std::uint64_t seed = 1; seed <= cases; ++seed) {
    RandomPoints random(seed);
    const bool expected = fill_window(random, random.integer(-1, 11), *engine);
    ASSERT_EQ(engine->is_static(), expected) << "seed " << seed;
    rests += expected;
  }
  if (enough_cases()) {
    EXPECT_GT(rests, cases / 10);
    EXPECT_LT(rests, cases - cases / 10);
  }
}

// The longer the window, the further apart do two orders of its sums round.
TEST(RestProperty, JudgesLongWindowsAsTheLiteralVersion) {
  const auto engine = quiet_engine();
  for (std::uint64_t seed = 1; seed <= 400; ++seed) {
    RandomPoints random(seed);
    const bool expected = fill_window(random, random.integer(300, 1000), *engine);
    ASSERT_EQ(engine->is_static(), expected) << "seed " << seed;
  }
}

// A case is a sample. Everything the two keep is compared after each.
TEST(RestProperty, KeepsEveryMarkAndEverySampleAsTheLiteralVersion) {
  const std::uint64_t cases = property_cases();
  std::uint64_t samples = 0;
  std::uint64_t recognitions = 0;
  const auto engine = quiet_engine(2, Gmodel());
  HGR classifier(0);
  Capture mismatches;
  for (std::uint64_t seed = 1; samples < cases; ++seed) {
    RandomPoints random(seed);
    const bool both = random.integer(0, 1) == 0;
    const int mode = both ? 2 : 1;
    const int window = random.integer(1, 12);
    const int shortest = random.integer(1, 30);
    const int history = random.integer(1, 40);
    const Point3Df bias = {0.5, -0.25, random.uniform()};
    engine->init(mode, 50, bias, shortest, history, window, 2.0);
    for (Samples* queue :
         {&engine->motion_acc, &engine->motion_gyro, &engine->last_motion_acc,
          &engine->acc_history, &engine->gyro_history}) {
      queue->clear();
    }
    engine->static_history.clear();
    reference::Intake expected;
    expected.init(mode, 50, bias, shortest, history, window);
    expected.recognise = [&](reference::Intake& intake) {
      reference::run(intake, classifier, engine->strength_threshold);
    };
    for (const Pair& pair : random_stream(random, 200, random.integer(0, 3) == 0)) {
      if (both) {
        engine->update(pair.acc, pair.gyro);
        expected.update(pair.acc, pair.gyro);
      } else {
        engine->update(pair.acc);
        expected.update(pair.acc);
      }
      ASSERT_TRUE(same_bits(engine->motion_acc, expected.motion_acc) &&
                  same_bits(engine->motion_gyro, expected.motion_gyro) &&
                  same_bits(engine->last_motion_acc, expected.last_motion_acc) &&
                  same_bits(engine->acc_history, expected.acc_history) &&
                  same_bits(engine->gyro_history, expected.gyro_history) &&
                  engine->static_history == expected.static_history &&
                  engine->gesture_class == expected.gesture_class)
          << "seed " << seed << ", sample " << samples;
      ++samples;
      // A class that no run of this stream set is left from the one before.
      if (expected.recognitions == 0) engine->gesture_class = expected.gesture_class;
    }
    recognitions += static_cast<std::uint64_t>(expected.recognitions);
  }
  if (enough_cases()) {
    EXPECT_GT(recognitions, cases / 1000);
  }
}
