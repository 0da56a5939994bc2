// Runs the program as its users do. The including test defines WGR_PROGRAM.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "support/files.h"

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

// `command` goes to the shell, with the file `input`, quoted for it, on standard input.
inline Outcome run_command(const std::string& command,
                           const std::string& input = "/dev/null") {
  TempDirectory directory;
  const std::string out = directory.file("out");
  const std::string err = directory.file("err");
  const int status =
      std::system(("( " + command + " ) <" + input + " >" + out + " 2>" + err).c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(out), read_file(err)};
}

// `before` are commands for the same shell.
inline Outcome run_wgr(const std::string& arguments,
                       const std::string& input = "/dev/null",
                       const std::string& before = "") {
  return run_command(before + std::string(WGR_PROGRAM) + " " + arguments, input);
}
