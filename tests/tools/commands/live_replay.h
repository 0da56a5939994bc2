// A wgr replay that reads standard input as it comes. The including test defines
// WGR_PROGRAM.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

// Both of its ends are in the test's hands.
class LiveReplay {
 public:
  LiveReplay() {
    int in[2];
    int out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) std::abort();
    child_ = fork();
    if (child_ == 0) {
      alarm(20);
      dup2(in[0], STDIN_FILENO);
      dup2(out[1], STDOUT_FILENO);
      execl(WGR_PROGRAM, "wgr", "replay", "--json", "-", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(in[0]);
    close(out[1]);
    in_ = in[1];
    out_ = fdopen(out[0], "r");
  }
  ~LiveReplay() {
    end_input();
    wait();
    std::fclose(out_);
  }
  LiveReplay(const LiveReplay&) = delete;
  LiveReplay& operator=(const LiveReplay&) = delete;

  void write(const std::string& text) {
    EXPECT_EQ(::write(in_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void end_input() {
    if (in_ >= 0) close(in_);
    in_ = -1;
  }
  void interrupt() { kill(child_, SIGINT); }
  std::string line() {
    char text[4096] = {};
    return std::fgets(text, sizeof text, out_) != nullptr ? text : "";
  }
  int wait() {
    if (child_ < 0) return -1;
    int status = 0;
    waitpid(child_, &status, 0);
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  pid_t child_;
  int in_;
  std::FILE* out_;
};
