// Runs the golden streams and compares what comes out with what is recorded.
#pragma once

namespace wgr {

// Prints what differs, and at which stage first, as the results. Returns 0 when nothing
// does, else 1. With `record` prints what golden/recorded.inc has to hold instead.
int self_check(bool record);

}  // namespace wgr
