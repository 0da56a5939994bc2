// The movement of a wrist as smooth functions of time.
//
// Six numbers place a wrist: three angles of the forearm and the elbow's displacement.
// Each is a sum of pieces whose second derivative is continuous, so that accelerations
// and rates exist everywhere. World frame: x the way the forearm points at angle zero, y
// to the left of it, z up. Times in s, angles in rad, displacements in m.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace wgr {

enum Channel {
  kYaw,    // of the forearm, to the left
  kPitch,  // fingers up
  kRoll,   // about the forearm, the little finger's side of the left hand up
  kElbowX,
  kElbowY,
  kElbowZ,
};
inline constexpr size_t kChannels = 6;

using Placement = std::array<double, kChannels>;  // by Channel

enum class Shape {
  kStep,    // from 0 to the amount, and stays there
  kBump,    // to the amount and back
  kSine,    // `cycles` of a sine, its pace swelling and ebbing
  kCosine,  // the same of 1 - cosine, over 2: to the amount and back in each cycle
  kWave,    // `cycles` of a sine at an even pace, from `phase`, faded in and out
};

struct Piece {
  Channel channel;
  Shape shape;
  double begin;  // s
  double end;    // s
  double amount;
  double cycles = 1.0;
  double phase = 0.0;  // rad
};

class WristMotion {
 public:
  void add(const Piece& piece) { pieces_.push_back(piece); }
  void add(Channel channel, Shape shape, double begin, double end, double amount,
           double cycles = 1.0) {
    pieces_.push_back({channel, shape, begin, end, amount, cycles, 0.0});
  }

  // Where the wrist is at time t.
  Placement at(double t) const;

  // The same motion from time t on, without pieces that have no more part in it: looking
  // at a long motion is quick when the past is dropped now and then.
  void forget_before(double t);

  // Sorts the pieces by their beginning; to be called before at() when pieces were added
  // out of order.
  void sort();

 private:
  Placement settled_ = {};  // what finished steps add up to
  std::vector<Piece> pieces_;
};

// 0 at 0, 1 at 1, with no speed and no acceleration at either end (T. Flash and
// N. Hogan, "The coordination of arm movements", J. Neurosci. 5 (1985)).
double smooth_step(double share);

}  // namespace wgr
