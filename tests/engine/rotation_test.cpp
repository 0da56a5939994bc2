#include "engine/rotation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/quiet_engine.h"
#include "support/random_points.h"
#include "support/reference_rotation.h"
#include "support/same_bits.h"

using namespace wgr;

static constexpr double kHalfTurn = 3.141592653589793;

static bool same_matrix(const double* a, const double* b) {
  return std::equal(a, a + 9, b, [](double p, double q) { return same_bits(p, q); });
}

TEST(Rotation, TheZeroVectorGivesExactlyTheIdentity) {
  for (const double zero : {0.0, -0.0}) {
    double R[9];
    rotation_matrix({zero, zero, zero}, R);
    EXPECT_TRUE(same_matrix(R, kIdentity3x3));
  }
}

TEST(Rotation, AQuarterTurnAboutZTurnsXIntoY) {
  double R[9];
  rotation_matrix({0, 0, kHalfTurn / 2}, R);
  const double expected[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(R[i], expected[i], 1e-15) << i;
  const Point3Df y = rotate(R, {1, 0, 0});
  EXPECT_NEAR(y.y, 1.0, 1e-15);
}

TEST(Rotation, EveryAxisTurnsRightHanded) {
  const struct {
    Point3Df axis, from, to;
  } cases[] = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
               {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}},
               {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}};
  for (const auto& c : cases) {
    double R[9];
    rotation_matrix(kHalfTurn / 2 * c.axis, R);
    const Point3Df turned = rotate(R, c.from);
    EXPECT_NEAR(turned.x, c.to.x, 1e-15);
    EXPECT_NEAR(turned.y, c.to.y, 1e-15);
    EXPECT_NEAR(turned.z, c.to.z, 1e-15);
  }
}

TEST(Rotation, ATurnAboutXComesBackAsItsVector) {
  double R[9];
  rotation_matrix({0.3, 0, 0}, R);
  const Point3Df w = rotation_vector(R);
  EXPECT_NEAR(w.x, 0.3, 1e-15);
  EXPECT_EQ(w.y, 0.0);
  EXPECT_EQ(w.z, 0.0);
}

TEST(Rotation, AVectorInAllThreeAxesComesBack) {
  double R[9];
  rotation_matrix({0.2, -0.5, 0.9}, R);
  const Point3Df w = rotation_vector(R);
  EXPECT_NEAR(w.x, 0.2, 1e-14);
  EXPECT_NEAR(w.y, -0.5, 1e-14);
  EXPECT_NEAR(w.z, 0.9, 1e-14);
}

TEST(Rotation, TheIdentityHasNoRotationVector) {
  const Point3Df w = rotation_vector(kIdentity3x3);
  EXPECT_TRUE(std::isnan(w.x) && std::isnan(w.y) && std::isnan(w.z));
}

// The cosine is not clamped.
TEST(Rotation, ATraceThatRoundsAboveThreeHasNoRotationVector) {
  const double above = std::nextafter(1.0, 2.0);
  const double R[9] = {above, -1e-9, 0, 1e-9, above, 0, 0, 0, above};
  const Point3Df w = rotation_vector(R);
  EXPECT_TRUE(std::isnan(w.x) && std::isnan(w.y) && std::isnan(w.z));
}

TEST(Rotation, TheProductWithTheIdentityIsTheOtherFactor) {
  const double B[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  double C[9];
  mmmultiply(kIdentity3x3, B, C, 3, 3, 3, 0.0);
  EXPECT_TRUE(same_matrix(C, B));
  mmmultiply(B, kIdentity3x3, C, 3, 3, 3, 0.0);
  EXPECT_TRUE(same_matrix(C, B));
}

TEST(Rotation, TheProductIsRowTimesColumnAndDoesNotCommute) {
  const double A[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const double B[9] = {0, 1, 0, 0, 0, 1, 1, 0, 0};
  const double AB[9] = {3, 1, 2, 6, 4, 5, 9, 7, 8};
  const double BA[9] = {4, 5, 6, 7, 8, 9, 1, 2, 3};
  double C[9];
  mmmultiply(A, B, C, 3, 3, 3, 0.0);
  EXPECT_TRUE(same_matrix(C, AB));
  mmmultiply(B, A, C, 3, 3, 3, 0.0);
  EXPECT_TRUE(same_matrix(C, BA));
}

TEST(Rotation, EveryProductSumStartsFromTheGivenValue) {
  double C[9];
  mmmultiply(kIdentity3x3, kIdentity3x3, C, 3, 3, 3, 10.0);
  const double expected[9] = {11, 10, 10, 10, 11, 10, 10, 10, 11};
  EXPECT_TRUE(same_matrix(C, expected));
}

TEST(Rotation, OneDegreePerSecondTurnsByOneRatesShareOfADegree) {
  EXPECT_EQ(radians_per_sample(50), 3.141592653589793 / 9000.0);
}

static void set_rates(AgGes& engine, const Samples& rates) { engine.motion_gyro = rates; }

TEST(FirstMatrix, OfOneSampleIsTheInverseOfItsStep) {
  const auto engine = quiet_engine();
  const Point3Df rate = {40, -70, 110};
  set_rates(*engine, {rate});
  double R[9], expected[9];
  engine->cal_first_rot_matrix(R);
  engine->cal_rotation_matrix(-radians_per_sample(50) * rate, expected);
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(R[i], expected[i], 1e-14) << i;
  EXPECT_GT(std::fabs(R[1]), 0.01);  // not the identity by accident
}

// Attitudes about one axis add up: 1, 3 and 6 degrees have a mean of 10 / 3.
TEST(FirstMatrix, IsTheInverseOfTheMeanAccumulatedAttitude) {
  const auto engine = quiet_engine();
  set_rates(*engine, {{0, 0, 50}, {0, 0, 100}, {0, 0, 150}});
  double R[9], expected[9];
  engine->cal_first_rot_matrix(R);
  engine->cal_rotation_matrix({0, 0, -10.0 / 3 * kHalfTurn / 180}, expected);
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(R[i], expected[i], 1e-12) << i;
}

TEST(FirstMatrix, WithoutRatesOrWithAFirstRateOfZeroIsNotANumber) {
  const auto engine = quiet_engine();
  for (const Samples& rates : {Samples{}, Samples{{0, 0, 0}, {10, 20, 30}}}) {
    set_rates(*engine, rates);
    double R[9];
    engine->cal_first_rot_matrix(R);
    for (const double entry : R) EXPECT_TRUE(std::isnan(entry));
  }
}

TEST(RotationLiteral, BothConversionsAndTheProductAgreeToTheBit) {
  RandomPoints random(3101);
  const auto engine = quiet_engine();
  for (int round = 0; round < 20000; ++round) {
    const auto kind = kEveryKind[round % 3];
    const double scale = std::pow(10.0, random.integer(-16, 2));
    const Point3Df w = {scale * random.value(kind), scale * random.value(kind),
                        scale * random.value(kind)};
    double R[9], expected[9];
    engine->cal_rotation_matrix(w, R);
    reference::rotation_matrix(w, expected);
    ASSERT_TRUE(same_matrix(R, expected)) << "round " << round;

    Point3Df back = {0, 0, 0};
    engine->cal_rotation_theta(R, back);
    ASSERT_TRUE(same_bits(back, reference::rotation_theta(expected)))
        << "round " << round;

    double A[9], C[9];
    for (double& entry : A) entry = random.value(kind);
    mmmultiply(A, R, C, 3, 3, 3, 0.0);
    reference::product(A, R, expected);
    ASSERT_TRUE(same_matrix(C, expected)) << "round " << round;

    // Any nine numbers have an answer, not only rotations.
    ASSERT_TRUE(same_bits(rotation_vector(A), reference::rotation_theta(A)));
  }
}

TEST(RotationLiteral, TheFirstMatrixAgreesToTheBit) {
  RandomPoints random(3102);
  const auto engine = quiet_engine();
  int numbers = 0;
  for (int round = 0; round < 3000; ++round) {
    const auto kind = kEveryKind[round % 3];
    const double scale = std::pow(10.0, random.integer(-3, 3));
    Samples rates;
    for (const Point3Df& p : random.trace(random.integer(0, 30), kind)) {
      rates.push_back(scale * p);
    }
    const int rates_per_second[] = {50, 100, 25, 1, 0, -7};
    engine->sample_rate = rates_per_second[random.integer(0, 5)];
    set_rates(*engine, rates);
    double R[9], expected[9];
    engine->cal_first_rot_matrix(R);
    reference::first_matrix(rates, engine->sample_rate, expected);
    ASSERT_TRUE(same_matrix(R, expected)) << "round " << round;
    numbers += !std::isnan(R[0]);
  }
  EXPECT_GT(numbers, 500);
}
