// A command's run while something goes wrong, and the judgement of what it left: nothing
// may be lost without a word, changed that was only to be read, half written, or left
// behind.
#pragma once

#include <algorithm>
#include <random>

#include "fault_commands.h"
#include "fault_run.h"

// Where a link leads to the standard output of whoever follows it.
inline constexpr char kOwnOutput[] = "/proc/self/fd/1";

// What a command does undisturbed.
struct Usual {
  int status = 0;
  std::string out;
  std::map<std::string, std::string> files;  // by the path in the case's folder
  std::chrono::microseconds took;
};

class Disturbed {
 public:
  Disturbed(const FaultCommand& its_command, const Usual& its_usual,
            const std::string& its_target, const std::string& its_folder)
      : command(its_command), usual(its_usual), target(its_target), folder(its_folder) {}
  Disturbed(const Disturbed&) = delete;
  Disturbed& operator=(const Disturbed&) = delete;
  ~Disturbed() {
    for (const std::string& mounted : mounts) unmount(mounted);
  }

  std::string path(const std::string& name) const { return folder + "/" + name; }
  std::string target_path() const { return path(target); }
  bool is_output(const std::string& name) const {
    return std::find(command.outputs.begin(), command.outputs.end(), name) !=
           command.outputs.end();
  }

  const FaultCommand& command;
  const Usual& usual;
  const std::string target;  // the output that is in question; may be empty
  const std::string folder;  // with in, out, tmp and elsewhere
  Run run;
  std::vector<std::string> mounts;
  std::optional<int> status;  // that it must end with; otherwise as the loss says
  bool loses = false;         // an output leads where nothing is kept
  bool lonely = false;        // the target is no file, so that nothing goes beside it
  // Files that are an output by another name.
  std::map<std::string, std::string> aliases;
  std::mt19937 random;
};

// A speed differs from run to run.
std::string without_speed(const std::string& text);

// The states of all files that a command writes: how many are complete, and how many not.
struct Written {
  size_t complete = 0;
  size_t others = 0;
  bool made_folder = false;
  size_t left = 0;  // temporary files, by SIGKILL
};

// Both add failures to the test that runs.
Written judge_files(const Disturbed& d, const Tree& before, const Tree& after);
void judge_end(const Disturbed& d, const RunResult& result, const Written& written);
