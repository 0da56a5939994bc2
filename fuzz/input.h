// Numbers, samples and choices from bytes, so that small changes of the bytes are
// small changes of what they mean, and the values that are hard on arithmetic are near.
//
// Behind the end of the bytes everything reads as zero.
#pragma once

#include <cstddef>
#include <cstdint>

#include "WgrTypes.h"

// What the first byte of a value says about the rest; see Input::number().
inline constexpr int kFirstQuarter = 16;   // quarters of one byte, from here on
inline constexpr int kFirstScaled = 128;   // a signed byte times a power of two
inline constexpr int kFirstWord = 192;     // a signed 16-bit number of 256ths
inline constexpr int kFirstDouble = 224;   // the eight bytes of a double
inline constexpr int kFirstSmallInt = 16;  // an int from -40 on
inline constexpr int kSmallIntBias = 56;
inline constexpr int kFirstInt = 240;  // the four bytes of an int

class Input {
 public:
  Input(const std::uint8_t* bytes, std::size_t size) : next_(bytes), left_(size) {}

  bool empty() const { return left_ == 0; }
  std::uint8_t byte();
  std::uint32_t word32();
  // 0 to count - 1.
  std::uint32_t choice(std::uint32_t count) { return byte() % count; }
  int integer();
  double number();
  float single();
  Point3Df point();
  const std::uint8_t* rest() const { return next_; }
  std::size_t left() const { return left_; }

 private:
  template <class T>
  T raw();

  const std::uint8_t* next_;
  std::size_t left_;
};
