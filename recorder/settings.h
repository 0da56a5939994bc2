// What the recorder is to do: from a file, and from the environment, which goes before
// it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace wgr::recorder {

inline constexpr std::size_t kPathSize = 1024;  // terminator included
inline constexpr std::size_t kMostLabel = 80;

enum class Keep { kAll, kRing, kEvents };

struct Settings {
  char dir[kPathSize] = "";      // empty: nothing is recorded
  char library[kPathSize] = "";  // that the proxy stands in front of
  char label[kMostLabel + 1] = "";
  Keep keep = Keep::kRing;
  std::uint64_t max_bytes = 64'000'000;  // of all captures in the folder
  std::uint64_t segment_bytes = 0;       // 0: an eighth of max_bytes
  std::uint64_t ring_us = 0;             // 0: max_bytes alone bounds the ring
  std::uint64_t before_us = 60'000'000;  // that is kept around an event or a mark
  std::uint64_t after_us = 30'000'000;
  bool start = true;            // records from the host's first call on
  bool child_records = false;   // after fork()
  int mark_signal = 0;          // 0: none
  char inject[kPathSize] = "";  // folder of the socket; empty: nothing is injected
};

// Reads the file that WGR_RECORDER_CONFIG names, or /etc/wgr-recorder.conf, and the
// environment. What cannot be used is said on standard error, and the recorder then does
// nothing.
Settings read_settings();

// One setting; false when it is not known or its value cannot be used.
bool apply(Settings& settings, std::string_view name, std::string_view value);

// A line on standard error, with the recorder's name.
void complain(std::string_view what, std::string_view about);

}  // namespace wgr::recorder
