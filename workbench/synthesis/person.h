// People, and the watches they wear: what differs from one to the next.
//
// A person is a number; the same number is the same person in every recording. Lengths
// in m, angles in rad, accelerations in m/s², rates in deg/s.
#pragma once

#include <optional>

#include "WgrTypes.h"
#include "synthesis/kinematics.h"
#include "synthesis/random.h"
#include "synthesis/wrist_motion.h"

namespace wgr {

enum class Style {
  kCalm,  // by the forearm alone, the body still, much alike from repetition to
          // repetition
  kFree,  // standing, as it comes: speed, size and tilt vary more, the elbow goes along
};

// Errors of one watch's sensors.
struct Sensors {
  double acc_gain;
  Point3Df acc_bias;
  double acc_noise;  // standard deviation
  double gyro_gain;
  Point3Df gyro_bias;
  double gyro_noise;  // standard deviation
};

// How someone holds the arm that wears the watch, and what of the steps gets there: what
// the wrist detector reads.
struct Posture {
  Placement hanging;
  Placement in_lap;
  Placement at_desk;
  double swing;  // of the walking arm, beyond that of someone without a posture, rad
  double jolt;   // of a step, upwards, m/s²
  double brake;  // of a step, backwards, a share of the jolt
};

struct Person {
  double pace;         // of gestures; 1 is average, more is faster
  double size;         // of gestures; 1 is average
  double unevenness;   // spread of pace and size from repetition to repetition, a share
  double elbow_share;  // of the elbow's part in a gesture; 1 is average
  double wobble;       // tilt of the ready arm from repetition to repetition, rad
  double vigour;       // of everyday movement; 1 is average
  Placement ready;     // how the arm is held for a gesture
  Point3Df lever;      // from the elbow to the watch, in the watch's frame
  Sensors sensors;
  // None: all hold their arms alike, turned as none do, and walk without jolts.
  std::optional<Posture> posture = {};
};

Person make_person(int number, Style style);

// The person's left (0) or right (1) arm, in numbers of the left one: the two differ, and
// so do people. From random numbers of its own.
Posture make_posture(int number, int wearer);

// What the person's watch reads. Keeps the accelerometer's length at rest where the
// library's rest test expects it, about 9.95 to 10.2 m/s².
Reading sensed(const Reading& ideal, const Sensors& sensors, Random& random);

}  // namespace wgr
