// A recorded host that runs beside the test. The including test defines
// WGR_RECORDED_HOST.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <string>

// A host that runs until it is killed, and counts its finished calls into a pipe.
class RunningHost {
 public:
  // Records into the folder, or, where it is empty, nothing; with more settings by their
  // names. A host that does not count has nothing in the pipe.
  explicit RunningHost(const std::string& folder,
                       const std::map<std::string, std::string>& more = {},
                       bool counts = true) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    pid_ = fork();
    if (pid_ == 0) {
      dup2(ends[1], 3);
      setenv("WGR_RECORDER_CONFIG", "/dev/null", 1);
      if (!folder.empty()) setenv("WGR_RECORDER_DIR", folder.c_str(), 1);
      setenv("WGR_RECORDER_KEEP", "all", 1);
      for (const auto& [name, value] : more) {
        setenv(("WGR_RECORDER_" + name).c_str(), value.c_str(), 1);
      }
      dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
      const std::string host =
          std::string("exec " WGR_RECORDED_HOST " steady 0 ") + (counts ? "1" : "0");
      execl("/bin/sh", "sh", "-c", host.c_str(), nullptr);
      _exit(127);
    }
    close(ends[1]);
    pipe_ = ends[0];
  }
  ~RunningHost() {
    kill_now();
    close(pipe_);
  }
  RunningHost(const RunningHost&) = delete;
  RunningHost& operator=(const RunningHost&) = delete;

  // Waits for one more sample; false when the host has ended.
  bool count() { return read(pipe_, &number_, sizeof number_) == 4; }
  std::uint32_t number() const { return number_; }  // of the last sample

  pid_t process() const { return pid_; }
  int kill_now() { return end_by(SIGKILL); }
  int end_by(int signal) {
    int status = -1;
    if (pid_ > 0) kill(pid_, signal);
    if (pid_ > 0) waitpid(pid_, &status, 0);
    pid_ = 0;
    return status;
  }

 private:
  pid_t pid_;
  int pipe_;
  std::uint32_t number_ = 0;
};
