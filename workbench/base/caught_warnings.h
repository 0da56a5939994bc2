// For a program that says warnings its own way.
#pragma once

#include <string>
#include <vector>

namespace wgr {

// While it lives, what warn() says on this thread is kept here, and not printed.
class CaughtWarnings {
 public:
  CaughtWarnings();
  ~CaughtWarnings();
  CaughtWarnings(const CaughtWarnings&) = delete;
  CaughtWarnings& operator=(const CaughtWarnings&) = delete;

  const std::vector<std::string>& texts() const { return texts_; }
  void add(const std::string& text) { texts_.push_back(text); }

 private:
  CaughtWarnings* const outer_;
  std::vector<std::string> texts_;
};

}  // namespace wgr
