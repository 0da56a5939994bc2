#include "golden/streams.h"

#include <cmath>

#include "engine/rotation.h"
#include "synthesis/kinematics.h"
#include "synthesis/random.h"
#include "synthesis/wrist_motion.h"

namespace wgr {

static constexpr int kKinds = 5;  // of movements that a model knows
static constexpr int kRates[] = {25, 50, 100, 200};
static constexpr int kLevels[] = {0, 1, 2, 3, 7, -9};
static constexpr int kModelRate = 50;             // samples per second
static constexpr double kLead = 1.0;              // rest before a movement, s
static constexpr double kTail = 1.2;              // rest behind it, s
static constexpr Point3Df kLever = {0.22, 0, 0};  // watch from elbow, m
static constexpr double kGrid = 4096.0;           // steps to a unit
static constexpr double kCoarseGrid = 4.0;

// Adds movement `kind` from `begin` on; other kinds than the model's are distractors.
static void add_movement(WristMotion& motion, int kind, double begin, double length,
                         double size) {
  const double end = begin + length;
  switch (kind) {
    case 0:
      motion.add(kPitch, Shape::kSine, begin, end, 0.8 * size, 2.0);
      break;
    case 1:
      motion.add(kRoll, Shape::kCosine, begin, end, 1.4 * size, 2.0);
      break;
    case 2:
      motion.add(kYaw, Shape::kSine, begin, end, 0.9 * size, 3.0);
      break;
    case 3:
      motion.add(kElbowZ, Shape::kSine, begin, end, 0.15 * size, 2.0);
      motion.add(kPitch, Shape::kBump, begin, end, 0.9 * size);
      break;
    case 4:
      motion.add(kElbowX, Shape::kSine, begin, end, 0.14 * size, 2.0);
      motion.add(kRoll, Shape::kWave, begin, end, 0.7 * size, 2.5);
      break;
    case 5:
      motion.add(kRoll, Shape::kStep, begin, end, 1.5 * size);
      break;
    default:
      motion.add(kElbowY, Shape::kWave, begin, end, 0.1 * size, 5.0);
      motion.add(kYaw, Shape::kWave, begin, end, 0.5 * size, 4.0);
  }
}

static Point3Df on_grid(const Point3Df& p, double grid) {
  return {std::floor(p.x * grid + 0.5) / grid, std::floor(p.y * grid + 0.5) / grid,
          std::floor(p.z * grid + 0.5) / grid};
}

static Point3Df noise(Random& random, double size) {
  const double x = random.gaussian();
  const double y = random.gaussian();
  const double z = random.gaussian();
  return size * Point3Df{x, y, z};
}

GoldenStream golden_stream(int index) {
  Random random(static_cast<uint64_t>(index) + 1);
  GoldenStream stream = {};
  stream.rate = kRates[index % 4];
  stream.level = kLevels[index % 6];
  stream.model = index / 6 % (kGoldenModels - 1);
  const bool ties = index % 7 == 3;  // neighbouring samples are often equal
  const bool gaps = index % 7 == 5;  // samples are missing
  const bool right = index / 2 % 2 == 1;
  stream.bias = index % 3 == 0 ? Point3Df{0.5, -0.25, 1.0} : Point3Df{0, 0, 0};

  WristMotion motion;
  double t = kLead;
  const int movements = 2 + index % 2;
  for (int m = 0; m < movements; ++m) {
    const double length = random.uniform(0.6, 1.8);
    const double size = random.uniform(0.7, 1.3);
    add_movement(motion, random.below(kKinds + 2), t, length, size);
    t += length + kTail;
  }
  motion.sort();

  const size_t count = static_cast<size_t>(t * stream.rate);
  stream.switch_at = index % 4 == 1 ? count / 2 : count;
  const double grid = ties ? kCoarseGrid : kGrid;
  for (size_t i = 0; i < count; ++i) {
    Reading reading = ideal_reading(motion, kLever, static_cast<double>(i) / stream.rate);
    if (right) reading = mirrored(reading);
    const Point3Df acc = reading.acc + noise(random, 0.03);
    const Point3Df gyro = reading.gyro + stream.bias + noise(random, 0.4);
    if (gaps && random.chance(0.02)) i += static_cast<size_t>(random.below(5));
    stream.acc.push_back(on_grid(acc, grid));
    stream.gyro.push_back(on_grid(gyro, grid));
  }
  return stream;
}

// The accelerations of a movement without gravity, in the frame of its middle, and
// gravity in that frame behind them.
static std::vector<Point3Df> clean_trace(int kind, double length, double size,
                                         bool right) {
  WristMotion motion;
  add_movement(motion, kind, kLead, length, size);
  const double middle = kLead + length / 2;
  const Attitude there = attitude(motion.at(middle));
  double back[9];
  for (int i = 0; i < 9; ++i) back[i] = there.m[i % 3 * 3 + i / 3];

  std::vector<Point3Df> trace;
  const int count = static_cast<int>(length * kModelRate);
  for (int i = 0; i <= count; ++i) {
    const double t = kLead + static_cast<double>(i) / kModelRate;
    const Point3Df felt = ideal_reading(motion, kLever, t).acc;
    const Point3Df up = rotate(attitude(motion.at(t)).m, felt);
    trace.push_back(rotate(back, up - Point3Df{0, 0, kGravity}));
  }
  trace.push_back(rotate(back, {0, 0, kGravity}));
  for (Point3Df& p : trace) {
    if (right) p.x = -p.x;
    p = on_grid(p, kGrid);
  }
  return trace;
}

static Gmodel make_model(int index) {
  Gmodel model;
  model.nclasses = kKinds;
  model.havegravity = index == 3 ? 0 : 1;
  model.normalize = index == 3 ? 0 : 1;
  for (int kind = 0; kind < kKinds; ++kind) {
    // Classes 6, 13 and 14 mean something else.
    model.class_labels.push_back(kind + 1);
    if (index < 3)
      model.class_thresholds.push_back(index == 2 ? -0.25 : -2.0 + 0.25 * kind);
    for (int variant = 0; variant < 3; ++variant) {
      std::vector<Point3Df> trace =
          clean_trace(kind, 0.8 + 0.4 * variant, 1.0, index % 2 == 1);
      if (index == 3) trace.pop_back();
      double sum = 0.0;
      const size_t points = trace.size() - static_cast<size_t>(model.havegravity);
      for (size_t i = 0; i < points; ++i) sum += squared_length(trace[i]);
      const double rms = std::sqrt(sum / static_cast<double>(points));
      if (model.normalize != 0) {
        for (size_t i = 0; i < points; ++i) trace[i] = trace[i] / rms;
      }
      model.templates.push_back({kind + 1, trace});
      model.templates.push_back({kKinds - kind, trace});
    }
  }
  model.nTemplate = static_cast<int>(model.templates.size());
  return model;
}

const Gmodel& golden_model(int index) {
  // Made once: that takes longer than to run a stream.
  static const Gmodel models[kGoldenModels] = {make_model(0), make_model(1),
                                               make_model(2), make_model(3)};
  return models[index];
}

}  // namespace wgr
