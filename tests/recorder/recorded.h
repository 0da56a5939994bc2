// Runs the recorded host, and looks at its captures. The including test defines
// WGR_RECORDED_HOST.
#pragma once

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "capture/capture_reader.h"
#include "capture/reenactment.h"
#include "support/files.h"

// Everything but an own setting is as in a test of its own.
inline std::string settings(const std::string& folder, const std::string& more = "") {
  return "WGR_RECORDER_CONFIG=/dev/null WGR_RECORDER_DIR=" + folder +
         " WGR_RECORDER_KEEP=all " + more + " ";
}

struct HostOutcome {
  int status;  // minus the signal that ended it
  std::string out;
};

// `before` goes to the shell in front of the host: settings, limits.
inline HostOutcome run_host(const std::string& before, const std::string& arguments) {
  TempDirectory folder;
  const std::string out = folder.file("out");
  const int status = std::system(
      (before + WGR_RECORDED_HOST + " " + arguments + " >" + out + " 2>&1").c_str());
  // The shell tells of a signal by 128 and its number.
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  std::string text = read_file(out);
  // What the library prints is no answer.
  const size_t last = text.find_last_of('\n', text.size() < 2 ? 0 : text.size() - 2);
  return {code, last == std::string::npos ? text : text.substr(last + 1)};
}

inline std::vector<std::string> captures_in(const std::string& folder) {
  std::vector<std::string> found;
  std::error_code failed;
  for (const auto& entry : std::filesystem::directory_iterator(folder, failed)) {
    if (entry.path().extension() == ".wgrcap") found.push_back(entry.path());
  }
  std::sort(found.begin(), found.end());
  return found;
}

inline wgr::ReenactmentTotals made_again(const std::string& capture) {
  wgr::CaptureReader reader(capture);
  return wgr::reenact(reader, false);
}
