// Codes the samples of one handle: each axis as steps since the sample before, where it
// has a step, else as a whole double.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "WgrTypes.h"
#include "capture_format.h"

namespace wgr::recorder {

// Appends to a record.
class Bytes {
 public:
  explicit Bytes(std::uint8_t* to) : begin_(to), next_(to) {}

  void byte(std::uint8_t value) { *next_++ = value; }
  void varint(std::uint64_t value) {
    for (; value >= 0x80; value >>= 7) byte(static_cast<std::uint8_t>(value | 0x80));
    byte(static_cast<std::uint8_t>(value));
  }
  void signed_varint(std::int64_t value) { varint(capture::zigzag(value)); }
  void number(double value) {
    capture::put_le(next_, capture::bits_of(value));
    next_ += sizeof value;
  }
  void bytes(const void* from, std::size_t size) {
    std::memcpy(next_, from, size);
    next_ += size;
  }
  std::size_t size() const { return static_cast<std::size_t>(next_ - begin_); }

 private:
  std::uint8_t* const begin_;
  std::uint8_t* next_;
};

class SampleCoder {
 public:
  // What a sample's axes take at most.
  static constexpr std::size_t kMostBytes = 1 + capture::kAxes * 10;

  // From here on nothing of what was written before is known to the reader.
  void start_block();

  // Whether the steps have to be written before the next sample.
  bool steps_changed() const { return !steps_written_; }
  void write_steps(Bytes& bytes);

  // Writes the axes; returns those that are not in steps, one bit each. Where they are
  // neither none nor all, a byte of these bits is in front.
  std::uint8_t write(const Point3Df& acc, const Point3Df& gyro, Bytes& bytes);

 private:
  static constexpr std::size_t kLearnt = 32;  // values that a step is found from
  static constexpr std::uint32_t kLongestPause = 8192;  // values between two attempts

  struct Axis {
    capture::Step step;
    std::int64_t last = 0;  // in steps
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
