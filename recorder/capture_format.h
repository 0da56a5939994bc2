// The capture file's layout, as the recorder writes it and the tools read it; see
// docs/capture-file.md.
//
// Blocks of 4096 bytes: first the header, then blocks of records. All integers are
// little-endian. A varint has 7 bits a byte, the lowest first; zigzag maps the signed
// numbers 0, -1, 1, -2 to 0, 1, 2, 3.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "WgrTypes.h"

namespace wgr::capture {

inline constexpr char kMagic[8] = {'W', 'G', 'R', 'C', 'A', 'P', '\r', '\n'};
inline constexpr std::uint16_t kFormatVersion = 1;
inline constexpr std::size_t kBlockSize = 4096;
inline constexpr std::size_t kChecksumAt = kBlockSize - 4;  // CRC-32C of what is before
inline constexpr std::size_t kFirstRecordAt = 20;           // in a block of records
inline constexpr std::size_t kAxes = 6;
inline constexpr std::uint8_t kAllAxes = 0x3F;

// Places in the header's block.
inline constexpr std::size_t kVersionAt = 8;     // 16 bits
inline constexpr std::size_t kBlockSizeAt = 10;  // 16 bits
inline constexpr std::size_t kSequenceAt = 12;   // 32 bits
inline constexpr std::size_t kRunAt = 16;        // 16 bytes
inline constexpr std::size_t kRunSize = 16;
inline constexpr std::size_t kRealTimeAt = 32;   // 64 bits, us since 1970; 0: removed
inline constexpr std::size_t kMonotonicAt = 40;  // 64 bits, us
inline constexpr std::size_t kProcessAt = 48;    // 32 bits; 0: removed
inline constexpr std::size_t kParentAt = 52;     // 32 bits; 0: no child of a recorded one
inline constexpr std::size_t kMajorAt = 56;      // 32 bits
inline constexpr std::size_t kMinorAt = 60;      // 32 bits
inline constexpr std::size_t kProcessorAt = 64;  // 16 bytes, zeros behind the name
inline constexpr std::size_t kProcessorSize = 16;
inline constexpr std::size_t kLabelAt = 80;  // 80 bytes, zeros behind the text
inline constexpr std::size_t kLabelSize = 80;

// Places in a block of records: its number in the file, and when it was begun.
inline constexpr std::size_t kNumberAt = 0;          // 32 bits
inline constexpr std::size_t kBlockMonotonicAt = 4;  // 64 bits, us
inline constexpr std::size_t kBlockRealTimeAt = 12;  // 64 bits, us since 1970

// What a record is: its first byte. Its last is its check byte. Records from kThread on
// have the length of what is between, so that a reader can pass over unknown ones.
enum Tag : std::uint8_t {
  kNoRecord = 0,
  kSample = 1,         // update_gesture(), of the same handle as the sample before
  kSampleOf = 2,       // the same with the handle
  kMixedSample = 3,    // as kSample; not all axes in steps
  kMixedSampleOf = 4,  // as kSampleOf; not all axes in steps
  kWideSample = 5,     // as kSample; no axis in steps
  kWideSampleOf = 6,
  kThread = 0x20,      // what follows is of this thread
  kModel = 0x21,       // a part of a model file's content
  kSteps = 0x22,       // the steps of a handle's axes
  kHandle = 0x23,      // a handle that is there already
  kVersionSet = 0x24,  // what WearableVersion holds
  kMark = 0x25,        // somebody marked this moment
  kEnd = 0x26,         // the recording ends, not by chance
  kMissed = 0x27,      // calls that could not be recorded
  kCallback = 0x28,    // the host's callback is called
  kCallbackEnd = 0x29,
  kAnswer = 0x2A,     // how a call ended that is recorded when it starts
  kInjection = 0x2B,  // samples of an injector instead of the host's own
  kCreate = 0x30,
  kInit = 0x31,
  kSensitivity = 0x32,
  kSetModel = 0x33,
  kRegister = 0x34,
  kDestroy = 0x35,
  kWearer = 0x36,
  kMovement = 0x37,
  kCostTime = 0x38,
  kStrength = 0x39,
  kGetVersion = 0x3A
};

// How a sample is recorded: by the axes that are not in steps, and whether it is of the
// same handle as the sample before.
inline Tag sample_tag(std::uint8_t wide, bool same) {
  if (wide == 0) return same ? kSample : kSampleOf;
  if (wide == kAllAxes) return same ? kWideSample : kWideSampleOf;
  return same ? kMixedSample : kMixedSampleOf;
}

enum EndReason : std::uint8_t { kHostEnds = 0, kSwitchedOff = 1, kNextSegment = 2 };

// How a call ended.
inline constexpr std::uint8_t kReturned = 0;
inline constexpr std::uint8_t kThrew = 1;

// The arguments of init_gesture_handle().
struct InitArguments {
  int sample_rate = 0;
  Point3Df gyro_bias = {0.0, 0.0, 0.0};
  int min_motion_len = 0;
  int history_len = 0;
  int static_window = 0;
  int hand_window_len = 0;
};

// Flags of kInjection: what happens.
inline constexpr std::uint8_t kInjectionBegins = 0;
inline constexpr std::uint8_t kInjectionEnds = 1;    // all of it was played
inline constexpr std::uint8_t kInjectionBreaks = 2;  // before its end

// Flags of kModel.
inline constexpr std::uint8_t kModelMissing = 1;  // no such file, or it cannot be read
inline constexpr std::uint8_t kModelChanged = 2;  // while the library loaded it
// Flags of kHandle.
inline constexpr std::uint8_t kInitialised = 1;
inline constexpr std::uint8_t kSensitivitySet = 2;
inline constexpr std::uint8_t kRegistered = 4;
inline constexpr std::uint8_t kUnknownOrigin =
    8;  // not made while the recorder looked on
// Flags of kWearer.
inline constexpr std::uint8_t kSameAsSample =
    1;  // as the acceleration of the last sample
inline constexpr std::uint8_t kWearerThrew = 2;

// How a value of an axis follows from a whole number k.
enum Form : std::uint8_t {
  kNoSteps = 0,
  kQuotient = 1,       // k / step
  kProduct = 2,        // k * step
  kFloatProduct = 3,   // float(k) * float(step), in float
  kFloatQuotient = 4,  // float(k / step)
  kForms = 5
};

struct Step {
  std::uint8_t form = kNoSteps;
  double value = 1.0;
};

template <class Count>
double from_steps(const Step& step, Count k) {
  const double number = static_cast<double>(k);
  switch (step.form) {
    case kQuotient:
      return number / step.value;
    case kProduct:
      return number * step.value;
    case kFloatProduct:
      return static_cast<double>(static_cast<float>(k) * static_cast<float>(step.value));
    case kFloatQuotient:
      return static_cast<double>(static_cast<float>(number / step.value));
    default:
      return 0.0;
  }
}

inline std::uint64_t bits_of(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}
inline double double_of(std::uint64_t bits) {
  double value = 0.0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// A wide value: four bits for sign and exponent, 52 for the fraction. The exponent is
// written as its distance from one that both sides keep for each axis.
inline constexpr int kFirstExponent = 1023;  // of 1.0 to 2.0
inline constexpr int kFractionBits = 52;
inline constexpr std::uint64_t kFraction = (std::uint64_t{1} << kFractionBits) - 1;
inline constexpr int kExponentMask = 0x7FF;
inline constexpr unsigned kWholeValue = 7;  // all eight bytes follow
inline constexpr int kHighestAbove = 1;     // that the exponent may be above the kept one
inline constexpr int kLowestBelow = 3;      // from here on the kept one comes down

inline int next_exponent(int kept, int exponent) {
  if (exponent > kept) return exponent;
  return exponent < kept - kLowestBelow ? kept - 1 : kept;
}

inline std::uint64_t zigzag(std::int64_t value) {
  return (static_cast<std::uint64_t>(value) << 1) ^
         static_cast<std::uint64_t>(value >> 63);
}
inline std::int64_t from_zigzag(std::uint64_t value) {
  return static_cast<std::int64_t>(value >> 1) ^ -static_cast<std::int64_t>(value & 1);
}

inline constexpr bool kLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

template <class Number>
void put_le(std::uint8_t* to, Number number) {
  if constexpr (kLittleEndian) {
    std::memcpy(to, &number, sizeof number);
    return;
  }
  for (std::size_t i = 0; i < sizeof number; ++i) {
    to[i] = static_cast<std::uint8_t>(number >> (8 * i));
  }
}
template <class Number>
Number get_le(const std::uint8_t* from) {
  Number number = 0;
  if constexpr (kLittleEndian) {
    std::memcpy(&number, from, sizeof number);
    return number;
  }
  for (std::size_t i = 0; i < sizeof number; ++i) {
    number = static_cast<Number>(number | static_cast<Number>(from[i]) << (8 * i));
  }
  return number;
}

// The byte behind a record: never 0, which is what is not written yet.
inline constexpr std::uint32_t kFirstCheck = 0x9E3779B9u;
inline std::uint32_t next_check(std::uint32_t sum, std::uint8_t byte) {
  return (sum ^ byte) * 0x01000193u;
}
inline std::uint8_t last_check(std::uint32_t sum) {
  sum ^= sum >> 16;
  return static_cast<std::uint8_t>(1 + (sum & 0xFFFF) % 255);
}
inline std::uint8_t check_byte(const std::uint8_t* bytes, std::size_t size) {
  std::uint32_t sum = kFirstCheck;
  for (std::size_t i = 0; i < size; ++i) sum = next_check(sum, bytes[i]);
  return last_check(sum);
}

// CRC-32C (Castagnoli), which is what network storage uses; never 0, for the same reason.
class Checksum {
 public:
  Checksum() {
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t rest = i;
      for (int bit = 0; bit < 8; ++bit) {
        rest = (rest >> 1) ^ ((rest & 1) != 0 ? 0x82F63B78u : 0u);
      }
      table_[0][i] = rest;
    }
    for (std::uint32_t i = 0; i < 256; ++i) {
      for (std::size_t k = 1; k < kAtOnce; ++k) {
        const std::uint32_t before = table_[k - 1][i];
        table_[k][i] = (before >> 8) ^ table_[0][before & 0xFF];
      }
    }
  }

  // Of a block's first bytes.
  std::uint32_t of_block(const std::uint8_t* block) const {
    std::uint32_t sum = 0xFFFFFFFFu;
    std::size_t i = 0;
    for (; i + kAtOnce <= kChecksumAt; i += kAtOnce) {
      const std::uint32_t low = sum ^ get_le<std::uint32_t>(block + i);
      sum = of_word(low, 4) ^ of_word(get_le<std::uint32_t>(block + i + 4), 0);
    }
    static_assert(kChecksumAt % kAtOnce == 4, "one word is left");
    sum = ~of_word(sum ^ get_le<std::uint32_t>(block + i), 0);
    return sum == 0 ? 1 : sum;
  }

 private:
  static constexpr std::size_t kAtOnce = 8;  // bytes

  // Of four bytes with so many behind them.
  std::uint32_t of_word(std::uint32_t word, std::size_t behind) const {
    return table_[behind + 3][word & 0xFF] ^ table_[behind + 2][word >> 8 & 0xFF] ^
           table_[behind + 1][word >> 16 & 0xFF] ^ table_[behind][word >> 24];
  }

  std::uint32_t table_[kAtOnce][256];
};

}  // namespace wgr::capture
