// How far a long piece of work is, on standard error: a bar on a terminal, lines
// otherwise.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>

namespace wgr {

class Progress {
 public:
  Progress(std::string what, size_t steps);

  // Reports that so many more steps are done; from any thread.
  void add(size_t steps);

 private:
  void show(size_t percent);

  const std::string what_;
  const size_t steps_;
  const bool terminal_;
  const bool silent_;
  std::mutex mutex_;
  size_t done_ = 0;
  size_t shown_ = 0;  // percent
};

}  // namespace wgr
