#include "synthesis/person.h"

#include "base/points.h"

namespace wgr {

namespace {

// How far apart people are, and one person's repetitions.
struct Spread {
  double slowest, fastest;
  double smallest, largest;
  double unevenness;
  double least_elbow, most_elbow;
  double tilt;    // of the arm from person to person, rad
  double wobble;  // of the arm from repetition to repetition, rad
};

}  // namespace

static constexpr Spread kCalmSpread = {0.92, 1.12, 0.82, 1.08, 0.05,
                                       0.6,  1.0,  0.18, 0.05};
static constexpr Spread kFreeSpread = {0.82, 1.22, 0.85, 1.35, 0.08,
                                       0.8,  1.5,  0.30, 0.09};

// The arm that waits for a gesture: forearm ahead, just above level, the thumb's side a
// little up.
static constexpr Placement kReady = {0.0, 0.10, -0.35, 0.0, 0.0, 0.0};

static Point3Df gaussian_point(Random& random, double deviation) {
  const double x = random.gaussian();
  const double y = random.gaussian();
  const double z = random.gaussian();
  return deviation * Point3Df{x, y, z};
}

static Sensors make_sensors(Random random) {
  Sensors sensors;
  sensors.acc_gain = random.uniform(1.020, 1.034);
  sensors.acc_bias = gaussian_point(random, 0.015);
  sensors.acc_noise = random.uniform(0.02, 0.05);
  sensors.gyro_gain = random.uniform(0.99, 1.01);
  sensors.gyro_bias = gaussian_point(random, 0.3);
  sensors.gyro_noise = random.uniform(0.1, 0.4);
  return sensors;
}

Person make_person(int number, Style style) {
  const Random self(static_cast<uint64_t>(number));
  const Spread& spread = style == Style::kCalm ? kCalmSpread : kFreeSpread;
  Random random = self.fork(1);
  Person person;
  person.pace = random.uniform(spread.slowest, spread.fastest);
  person.size = random.uniform(spread.smallest, spread.largest);
  person.unevenness = spread.unevenness;
  person.elbow_share = random.uniform(spread.least_elbow, spread.most_elbow);
  person.wobble = spread.wobble;
  person.vigour = random.uniform(0.6, 1.4);
  person.ready = kReady;
  for (const Channel angle : {kYaw, kPitch, kRoll}) {
    person.ready[angle] += random.uniform(-spread.tilt, spread.tilt);
  }
  // The watch sits on the back of the wrist, a little off the forearm's axis.
  const double forearm = random.uniform(0.20, 0.26);
  const double off_axis = random.uniform(0.040, 0.050);
  person.lever = {forearm, 0.0, off_axis};
  person.sensors = make_sensors(self.fork(2));
  return person;
}

Posture make_posture(int number, int wearer) {
  Random random =
      Random(static_cast<uint64_t>(number)).fork(3).fork(static_cast<uint64_t>(wearer));
  Posture posture = {};
  // From the palm to the thigh, -pi / 2, to the palm halfway back; the elbow bent by 5 to
  // 35 degrees.
  posture.hanging = {random.uniform(-0.2, 0.2),
                     random.uniform(-1.48, -0.96),
                     random.uniform(-1.57, -0.50),
                     -0.15,
                     0.0,
                     -0.05};
  posture.in_lap = {0.4,  random.uniform(-0.40, 0.0), random.uniform(-1.2, 0.1), 0.0, 0.0,
                    -0.05};
  posture.at_desk = {
      0.5, random.uniform(-0.10, 0.15), random.uniform(-0.8, 0.1), 0.10, 0.05, 0.0};
  posture.swing = random.uniform(0.20, 0.50);
  posture.jolt = random.uniform(2.5, 6.0);
  posture.brake = random.uniform(0.0, 0.3);
  return posture;
}

Reading sensed(const Reading& ideal, const Sensors& sensors, Random& random) {
  const Point3Df acc_noise = gaussian_point(random, sensors.acc_noise);
  const Point3Df gyro_noise = gaussian_point(random, sensors.gyro_noise);
  return {sensors.acc_gain * ideal.acc + sensors.acc_bias + acc_noise,
          sensors.gyro_gain * ideal.gyro + sensors.gyro_bias + gyro_noise};
}

}  // namespace wgr
