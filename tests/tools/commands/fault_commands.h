// The commands that the program is disturbed in: every subcommand, with each thing that
// it can write.
#pragma once

#include <ostream>
#include <string>
#include <vector>

struct FaultCommand {
  const char* name;
  const char* words;                 // a blank between two
  std::vector<const char*> outputs;  // all files that it writes
  std::vector<const char*> inputs;   // some of those that it reads
  bool prints = false;               // its results, on standard output
  bool slow = false;            // takes seconds: only what cannot be left out is tried
  const char* input = nullptr;  // standard input; null: nothing
  // The output whose lines begin with the name of the first output, where that is a file;
  // "-" for standard output.
  const char* naming = nullptr;
};

const std::vector<FaultCommand>& fault_commands();

// Words of a command line in which two outputs, or an output and an input, are one file.
struct SameFile {
  const char* name;
  const char* words;
};

inline void PrintTo(const SameFile& same, std::ostream* out) { *out << same.words; }

const std::vector<SameFile>& same_files();

// Makes the files that the commands read, in `folder`. Whether that went well.
bool make_inputs(const std::string& program, const std::string& models,
                 const std::string& folder);
