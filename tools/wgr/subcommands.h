// The subcommands of wgr; each is one file and adds itself to the command line.
//
// A subcommand's callback throws UsageError, or RecordingError, for what the user must
// mend; main() prints it and ends with kExitBadInput.
#pragma once

#include <CLI/CLI.hpp>
#include <stdexcept>

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;   // the machine's fault: memory, disk
inline constexpr int kExitBadInput = 2;  // wrong arguments, unreadable or malformed input

// Something the user gave cannot be used; what() is a whole message for a person.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

void add_replay(CLI::App& wgr);
void add_synth(CLI::App& wgr);
void add_cut(CLI::App& wgr);
void add_build(CLI::App& wgr);
