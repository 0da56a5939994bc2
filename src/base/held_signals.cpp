#include "base/held_signals.h"

#include <cerrno>
#include <ctime>

namespace wgr {

static constexpr int kSignals[] = {SIGXFSZ, SIGPIPE};

HeldSignals::HeldSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : kSignals) sigaddset(&set, signal);
  pthread_sigmask(SIG_BLOCK, &set, &mask_before_);
  sigemptyset(&held_by_host_);
  // A signal is pending already only where the host itself blocks it.
  for (const int signal : kSignals) {
    if (sigismember(&mask_before_, signal) != 0) sigpending(&held_by_host_);
  }
}

HeldSignals::~HeldSignals() { pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr); }

void HeldSignals::drop() {
  constexpr timespec kNoWaiting = {};
  for (const int signal : kSignals) {
    if (sigismember(&held_by_host_, signal) != 0) continue;
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    while (sigtimedwait(&one, nullptr, &kNoWaiting) < 0 && errno == EINTR) {
    }
  }
}

}  // namespace wgr
