// Appends numbers to a record, and keeps count of its check byte meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "capture_format.h"

namespace wgr::recorder {

class Bytes {
 public:
  explicit Bytes(std::uint8_t* to) : begin_(to), next_(to) {}

  void byte(std::uint8_t value) {
    *next_++ = value;
    check_ = capture::next_check(check_, value);
  }
  void varint(std::uint64_t value) {
    for (; value >= 0x80; value >>= 7) byte(static_cast<std::uint8_t>(value | 0x80));
    byte(static_cast<std::uint8_t>(value));
  }
  void signed_varint(std::int64_t value) { varint(capture::zigzag(value)); }
  void number(double value) {
    capture::put_le(next_, capture::bits_of(value));
    pass(sizeof value);
  }
  // Six bytes; two zeros stand behind them for a moment, as in room that is not used yet.
  void low_six(std::uint64_t value) {
    capture::put_le(next_, value & 0xFFFFFFFFFFFFu);
    pass(6);
  }
  void bytes(const void* from, std::size_t size) {
    std::memcpy(next_, from, size);
    pass(size);
  }
  void init(const capture::InitArguments& a) {
    signed_varint(a.sample_rate);
    number(a.gyro_bias.x);
    number(a.gyro_bias.y);
    number(a.gyro_bias.z);
    signed_varint(a.min_motion_len);
    signed_varint(a.history_len);
    signed_varint(a.static_window);
    signed_varint(a.hand_window_len);
  }
  std::size_t size() const { return static_cast<std::size_t>(next_ - begin_); }
  std::uint8_t check() const { return capture::last_check(check_); }

 private:
  void pass(std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
      check_ = capture::next_check(check_, next_[i]);
    }
    next_ += size;
  }

  std::uint8_t* begin_;
  std::uint8_t* next_;
  std::uint32_t check_ = capture::kFirstCheck;
};

}  // namespace wgr::recorder
