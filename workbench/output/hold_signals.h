// Lets what belongs together be written together.
#pragma once

#include <csignal>

namespace wgr {

inline constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM};

// While it lives, the signals that end a program wait, on this thread.
class HoldSignals {
 public:
  HoldSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : kEndingSignals) sigaddset(&held, signal);
    pthread_sigmask(SIG_BLOCK, &held, &before_);
  }
  ~HoldSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  HoldSignals(const HoldSignals&) = delete;
  HoldSignals& operator=(const HoldSignals&) = delete;

 private:
  sigset_t before_;
};

}  // namespace wgr
