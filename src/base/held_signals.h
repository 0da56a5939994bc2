// Keeps the signals of a failing write from the host.
//
// A write past the process's limit on the size of files raises SIGXFSZ, one to a pipe
// without a reader SIGPIPE; both end a host that does not expect them. The system sends
// them to the thread that writes, within its write: blocking them there, for just as
// long, is exact, whatever other threads and processes do.
#pragma once

#include <csignal>

namespace wgr {

class HeldSignals {
 public:
  HeldSignals();
  ~HeldSignals();  // unblocks; what was not dropped arrives now
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  // Discards those that were raised since. To be called after a write that failed.
  void drop();

 private:
  sigset_t mask_before_;
  sigset_t held_by_host_;  // what was pending for the host already
};

}  // namespace wgr
