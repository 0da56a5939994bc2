// Motions are drawn as finely as all of them fit in a page.
#include "explanation/drawn_motions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/random_points.h"

using namespace wgr;

using Json = nlohmann::ordered_json;

static constexpr size_t kSamples = 300;  // of a motion
static constexpr int kRate = 50;

// So many motions one after the other, the last without a trace. The clock steps back
// behind the first.
static Json drawn(size_t motions, bool stamped) {
  RandomPoints random(3);
  std::deque<double> times;
  DrawnMotions drawn;
  for (size_t n = 0; n < motions; ++n) {
    MotionExplanation motion;
    motion.first = times.size();
    motion.collected = kSamples;
    for (size_t i = 0; i < kSamples; ++i) {
      const double t = static_cast<double>(times.size()) / kRate;
      times.push_back(n == 0 ? t : t - 2.0);
      if (n + 1 == motions) continue;
      motion.corrected.push_back({random.gaussian(), random.gaussian(), 1.0});
    }
    drawn.add(motion, Gmodel(), times, kRate);
  }
  std::string text;
  drawn.write(stamped, [&text](std::string_view piece) { text += piece; });
  return Json::parse(text);
}

static std::vector<int> steps(const Json& series) {
  std::vector<int> all;
  std::istringstream text(series["d"].get<std::string>());
  for (int step = 0; text >> step;) all.push_back(step);
  return all;
}

TEST(DrawnMotions, FewAreDrawnWithAllTheirSamples) {
  const Json all = drawn(3, true);
  ASSERT_EQ(all.size(), 3u);
  for (size_t n = 0; n < 2; ++n) {
    EXPECT_EQ(steps(all[n]["t"]).size(), kSamples);
    EXPECT_EQ(steps(all[n]["corrected"][0]).size(), kSamples);
  }
  EXPECT_TRUE(all[2].is_null());
  EXPECT_EQ(drawn(0, true), Json::array());
}

TEST(DrawnMotions, ManyAreAllDrawnWithFewerPointsEach) {
  const Json all = drawn(4000, true);
  ASSERT_EQ(all.size(), 4000u);
  const size_t points = steps(all[0]["t"]).size();
  EXPECT_LT(points, kSamples);
  EXPECT_GE(points, 50u);
  for (size_t n = 0; n + 1 < all.size(); ++n) {
    ASSERT_EQ(steps(all[n]["t"]).size(), points);
    ASSERT_EQ(steps(all[n]["corrected"][2]).size(), points);
  }
  EXPECT_LT(packed_size(all), 1'500'000u);
  EXPECT_GT(packed_size(all), 500'000u);
}

TEST(DrawnMotions, AreDrawnOverTheStampsOrOverTheNominalRate) {
  EXPECT_EQ(steps(drawn(3, true)[1]["t"])[0], 4000);   // ms
  EXPECT_EQ(steps(drawn(3, false)[1]["t"])[0], 6000);  // ms
}
