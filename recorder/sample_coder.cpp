#include "sample_coder.h"

#include <algorithm>

namespace wgr::recorder {

using namespace wgr::capture;

void SampleCoder::start_block() {
  steps_written_ = true;
  for (Axis& axis : axes_) {
    axis.last = 0;
    axis.exponent = kFirstExponent;
    if (axis.steps.counts()) steps_written_ = false;
  }
}

void SampleCoder::write_steps(Bytes& bytes) {
  for (Axis& axis : axes_) {
    axis.last = 0;
    bytes.byte(axis.steps.step().form);
    if (axis.steps.counts()) bytes.number(axis.steps.step().value);
  }
  steps_written_ = true;
}

// Looks for a step when enough values had none, ever less often where there is none.
void SampleCoder::learn(Axis& axis, double value) {
  axis.values[axis.missed % kLearnt] = value;
  if (++axis.missed < axis.wanted) return;
  axis.missed = 0;
  const Step found = find_step(axis.values.data(), kLearnt);
  if (found.form == kNoSteps) {
    axis.wanted = std::min(2 * axis.wanted, kLongestPause);
    return;
  }
  axis.wanted = kLearnt;
  axis.steps = StepCounter(found);
  steps_written_ = false;
}

static void write_wide(double value, int& kept, Bytes& bytes) {
  const std::uint64_t bits = bits_of(value);
  const int exponent = static_cast<int>(bits >> kFractionBits) & kExponentMask;
  const int below = kept + kHighestAbove - exponent;
  if (below < 0 || below >= static_cast<int>(kWholeValue)) {
    bytes.byte(kWholeValue << 4);
    bytes.number(value);
  } else {
    const auto sign = static_cast<unsigned>(bits >> 63);
    const std::uint64_t coded =
        (bits & kFraction) |
        static_cast<std::uint64_t>(sign << 3 | static_cast<unsigned>(below))
            << kFractionBits;
    bytes.byte(static_cast<std::uint8_t>(coded >> 48));
    bytes.low_six(coded);
  }
  kept = next_exponent(kept, exponent);
}

SampleCoder::Counted SampleCoder::count(const Point3Df& acc, const Point3Df& gyro) const {
  Counted sample = {{acc.x, acc.y, acc.z, gyro.x, gyro.y, gyro.z}, {}, 0};
  unsigned wide = 0;
  for (std::size_t i = 0; i < kAxes; ++i) {
    if (!axes_[i].steps.count(sample.values[i], sample.steps[i])) wide |= 1u << i;
  }
  sample.wide = static_cast<std::uint8_t>(wide);
  return sample;
}

void SampleCoder::write(const Counted& sample, Bytes& bytes) {
  const unsigned wide = sample.wide;
  // A copy that nothing else points to stays in registers.
  Bytes to = bytes;
  if (wide != 0 && wide != kAllAxes) to.byte(sample.wide);
  for (std::size_t i = 0; i < kAxes; ++i) {
    Axis& axis = axes_[i];
    if ((wide >> i & 1) == 0) {
      to.signed_varint(std::int64_t{sample.steps[i]} - axis.last);
      axis.last = sample.steps[i];
    } else {
      write_wide(sample.values[i], axis.exponent, to);
      learn(axis, sample.values[i]);
    }
  }
  bytes = to;
}

}  // namespace wgr::recorder
