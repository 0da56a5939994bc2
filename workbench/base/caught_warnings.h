// For a program that reports warnings in its own way.
#pragma once

#include <string>
#include <vector>

namespace wgr {

using CaughtWarnings = std::vector<std::string>;

// While it lives, what warn() reports on this thread is added to the warnings, and
// neither that nor progress is printed.
class CatchingInto {
 public:
  explicit CatchingInto(CaughtWarnings& warnings);
  ~CatchingInto();
  CatchingInto(const CatchingInto&) = delete;
  CatchingInto& operator=(const CatchingInto&) = delete;

 private:
  CaughtWarnings* const outer_;
};

bool are_warnings_caught();

}  // namespace wgr
