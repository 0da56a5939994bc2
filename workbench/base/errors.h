// How the tool ends, and what it throws for mistakes of the user.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace wgr {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;   // the machine's fault: memory, disk
inline constexpr int kExitFindings = 1;  // of a check: it found something to fix
inline constexpr int kExitBadInput = 2;  // wrong arguments, unreadable or malformed input

// Ends the tool with this status once all is printed; main() prints nothing more.
struct EndWithStatus {
  int status;
};

// Something the user gave cannot be used; what() is a whole message for a person.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Output was lost, or would have been: the disk is full, the reader is gone.
class OutputError : public std::runtime_error {
 public:
  // `reason` is an errno, or 0 when it is not known.
  OutputError(const std::string& file, int reason)
      : std::runtime_error(
            file + ": cannot be written in full" +
            (reason == 0 ? "" : std::string(": ") + std::strerror(reason))) {}
};

}  // namespace wgr
