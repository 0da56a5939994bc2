#include "support/motions.h"

#include <limits>

using namespace wgr;

Stream rest(int samples) { return Stream(static_cast<size_t>(samples), kRestPair); }

Stream motion(int judged) {
  // One of ten samples at z = 30 has a mean of 12 m/s² (144 > 110); one of ten at
  // 400 deg/s has a mean of 40 deg/s (1600 > 900).
  const Pair moving = {{0.0, 0.0, 30.0}, {0.5, 0.25, 400.0}};
  return Stream(static_cast<size_t>(judged - (kSettle - 1)), moving) + rest(kSettle);
}

Stream gesture(int half, double strength) {
  Stream stream;
  for (int i = 0; i < 2 * half; ++i) {
    // Rates that alternate keep the attitude and scatter far above 110 (deg/s)².
    const double side = i % 2 == 0 ? 1.0 : -1.0;
    const double push = i < half ? strength : -strength;
    stream.push_back({{push, 0.0, 10.0}, {0.5, 0.25, side * 200.0}});
  }
  return stream + rest(kSettle);
}

Stream lifted() {
  Stream stream;
  for (int i = 0; i < 40; ++i) {
    const double shake = i % 2 == 0 ? 0.8 : -0.8;
    stream.push_back({{0.0, shake, 11.6}, {0.0, 0.0, 50.0 * shake}});
  }
  return stream;
}

Stream operator+(Stream a, const Stream& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Stream random_stream(RandomPoints& random, int samples, bool wild) {
  const auto vector = [&random](double size) {
    const double x = size * random.gaussian();
    const double y = size * random.gaussian();
    const double z = size * random.gaussian();
    return Point3Df{x, y, z};
  };

  Stream stream;
  while (static_cast<int>(stream.size()) < samples) {
    // Each sensor on its own may be quiet, lively or in between, so that one often
    // rests while the other does not.
    const double acc_sizes[] = {0.02, 0.05, 0.3, 3.0, 8.0};
    const double gyro_sizes[] = {0.1, 1.0, 8.0, 60.0, 200.0};
    const bool moving = random.integer(0, 1) == 1;
    const double acc_size =
        acc_sizes[moving ? random.integer(2, 4) : random.integer(0, 2)];
    const double gyro_size =
        gyro_sizes[moving ? random.integer(2, 4) : random.integer(0, 2)];
    const int length = moving ? random.integer(1, 45) : random.integer(1, 30);
    for (int i = 0; i < length; ++i) {
      Pair pair = {vector(acc_size), vector(gyro_size)};
      pair.acc.z += 10.1;
      if (wild && random.integer(0, 60) == 0) {
        const double odd[] = {std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              1e300,
                              -1e300,
                              0.0};
        double* const fields[] = {&pair.acc.x, &pair.acc.z, &pair.gyro.x, &pair.gyro.z};
        *fields[random.integer(0, 3)] = odd[random.integer(0, 5)];
      }
      stream.push_back(pair);
    }
  }
  stream.resize(static_cast<size_t>(samples));
  return stream;
}

Gmodel small_model(int label, double threshold, int normalize, int havegravity) {
  Gmodel model;
  model.nclasses = 1;
  model.nTemplate = 1;
  model.normalize = normalize;
  model.havegravity = havegravity;
  model.class_labels = {label};
  model.class_thresholds = {threshold};
  model.templates = {{label, {{1.0, 0.0, 0.0}, {-1.0, 0.0, 0.0}, {0.0, 0.0, 10.0}}}};
  return model;
}
