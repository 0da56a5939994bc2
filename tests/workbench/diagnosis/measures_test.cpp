// The doctor's figures in themselves: maps of axes, and where an axis clips.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "diagnosis/agreement.h"
#include "diagnosis/measures.h"

using namespace wgr;

using ::testing::ElementsAre;

TEST(AxisMaps, ComposeWithTheirInverseToWhatWas) {
  const AxisMap map = {{2, 0, 1}, {1, -1, 1}};  // (z, -x, y)
  const Point3Df p = {1.0, 2.0, 3.0};
  const Point3Df moved = mapped(map, p);
  EXPECT_THAT((std::array{moved.x, moved.y, moved.z}), ElementsAre(3.0, -1.0, 2.0));
  const Point3Df back = mapped(inverse(map), moved);
  EXPECT_THAT((std::array{back.x, back.y, back.z}), ElementsAre(1.0, 2.0, 3.0));
  EXPECT_EQ(as_text(map, 'g'), "(gz, -gx, gy)");
  EXPECT_EQ(changes(map), 4);
  EXPECT_EQ(determinant(map), -1);
  EXPECT_EQ(determinant(AxisMap{{1, 0, 2}, {1, 1, 1}}), -1);
  EXPECT_EQ(determinant(AxisMap{{1, 2, 0}, {1, 1, 1}}), 1);
  EXPECT_EQ(determinant(negated(AxisMap())), -1);
}

TEST(Clipping, NeedsSteepSidesAndAFlatTop) {
  const auto along_x = [](std::initializer_list<double> values) {
    Samples samples;
    for (const double value : values) samples.push_back({value, 0.0, 0.0});
    return samples;
  };
  EXPECT_EQ(clipping_of(along_x({0, 3, 5, 5, 5, 5, 2, 0, -4}), &Point3Df::x).samples, 4u);
  EXPECT_EQ(clipping_of(along_x({0, -3, -5, -5, -5, -5, -2, 4}), &Point3Df::x).limit,
            -5.0);
  // Peaks of one sample, and a plateau at the recording's end, are none.
  EXPECT_EQ(clipping_of(along_x({0, 5, 0, 5, 0, 5, 0, 5, 0}), &Point3Df::x).samples, 0u);
  EXPECT_EQ(clipping_of(along_x({0, 3, 5, 5, 5, 5}), &Point3Df::x).samples, 0u);
  EXPECT_EQ(clipping_of(along_x({1, 1, 1, 1, 1}), &Point3Df::x).samples, 0u);
}
