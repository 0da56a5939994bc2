// How the tool ends, and what it throws for what the user must mend.
#pragma once

#include <stdexcept>

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;   // the machine's fault: memory, disk
inline constexpr int kExitFindings = 1;  // of a check: it found something to mend
inline constexpr int kExitBadInput = 2;  // wrong arguments, unreadable or malformed input

// Ends the tool with this status once all is said; main() prints nothing more.
struct EndWithStatus {
  int status;
};

// Something the user gave cannot be used; what() is a whole message for a person.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
