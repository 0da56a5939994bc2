// What an injector and a recorder send to each other: each message is one packet of a
// local socket that keeps packets apart (SOCK_SEQPACKET). Integers are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace wgr::injection {

inline constexpr std::uint8_t kProtocolVersion = 1;
inline constexpr char kSocketName[] = "wgr-inject-";   // behind it the process's number
inline constexpr std::uint32_t kMostSamples = 65536;   // of one injection
inline constexpr std::size_t kSamplesInMessage = 128;  // at most
inline constexpr std::size_t kSampleSize = 6 * 8;      // ax, ay, az, gx, gy, gz
inline constexpr std::size_t kSamplesAt = 4;           // in their message

// The first byte.
enum Message : std::uint8_t {
  // From the injector.
  kBegin = 1,    // version (1 byte), 2 zeros, handle (32 bits; 0: which is fed next)
  kLoad = 2,     // 3 zeros, count of all samples (32 bits)
  kSamples = 3,  // 1 zero, count here (16 bits), samples
  // From the recorder.
  kReady = 0x81,    // 3 zeros, handle, sample rate (32 bits each)
  kReport = 0x82,   // 3 zeros, samples that were played, gesture (32 bits each)
  kDone = 0x83,     // 3 zeros, samples that were played (32 bits)
  kRefused = 0x84,  // reason (1 byte), 2 zeros
};

inline constexpr std::size_t kBeginSize = 8;
inline constexpr std::size_t kLoadSize = 8;
inline constexpr std::size_t kReadySize = 12;
inline constexpr std::size_t kReportSize = 12;
inline constexpr std::size_t kDoneSize = 8;
inline constexpr std::size_t kRefusedSize = 4;
inline constexpr std::size_t kMostMessage = kSamplesAt + kSamplesInMessage * kSampleSize;

enum Refusal : std::uint8_t {
  kMalformed = 1,   // a message that is none of these, or not in its turn
  kOtherUser = 2,   // not of the host's user
  kTooMany = 3,     // samples, or there is no memory for them
  kTooSlow = 4,     // nothing was sent for a while
  kHandleEnded = 5  // it was destroyed
};

}  // namespace wgr::injection
