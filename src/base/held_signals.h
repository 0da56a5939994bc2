// Keeps from the host the signals that come with a write that fails.
//
// Past the process's limit on the size of files that is SIGXFSZ, to a pipe without a
// reader SIGPIPE; both end a host that does not expect them. The system sends them to the
// thread that writes, within its write: holding them back there, and for as long, is
// exact, whatever other threads and processes do.
#pragma once

#include <csignal>

namespace wgr {

class HeldSignals {
 public:
  HeldSignals();
  ~HeldSignals();  // signals come again; those not dropped, now
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  // Takes away those that have come since. After a write that did not do all it should.
  void drop();

 private:
  sigset_t mask_before_;
  sigset_t held_by_host_;  // what waited for the host already
};

}  // namespace wgr
