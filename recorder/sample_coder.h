// Codes the samples of one handle: each axis as steps since the sample before, where it
// has a step, else as a whole double.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "WgrTypes.h"
#include "bytes.h"
#include "capture_format.h"
#include "step_finder.h"

namespace wgr::recorder {

class SampleCoder {
 public:
  // What a sample's axes take at most.
  static constexpr std::size_t kMostBytes = 1 + capture::kAxes * 10;

  // From here on nothing of what was written before is known to the reader.
  void start_block();

  // Whether the steps have to be written before the next sample.
  bool steps_changed() const { return !steps_written_; }
  void write_steps(Bytes& bytes);

  struct Counted {
    double values[capture::kAxes];
    std::int32_t steps[capture::kAxes];
    std::uint8_t wide;  // axes that are not in steps, one bit each
  };
  Counted count(const Point3Df& acc, const Point3Df& gyro) const;
  // Writes the axes. Where those that are not in steps are neither none nor all, a byte
  // of their bits is in front.
  void write(const Counted& sample, Bytes& bytes);

 private:
  static constexpr std::size_t kLearnt = 32;  // values that a step is found from
  static constexpr std::uint32_t kLongestPause = 8192;  // values between two attempts

  struct Axis {
    StepCounter steps;
    std::int32_t last = 0;  // in steps
    int exponent = capture::kFirstExponent;
    std::uint32_t missed = 0;  // values without a step since the last attempt
    std::uint32_t wanted = kLearnt;
    std::array<double, kLearnt> values;  // the newest of them
  };

  void learn(Axis& axis, double value);

  std::array<Axis, capture::kAxes> axes_;
  bool steps_written_ = true;
};

}  // namespace wgr::recorder
