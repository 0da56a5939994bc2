// A machine with little memory: while one of these lives, allocations that together would
// take more than it allows fail with std::bad_alloc.
//
// So a file that announces a billion templates is refused here at once, as a watch would
// refuse it, instead of filling the memory of the machine that runs the harness.
#pragma once

#include <cstddef>

class LimitedMemory {
 public:
  explicit LimitedMemory(std::size_t bytes);
  ~LimitedMemory();
  LimitedMemory(const LimitedMemory&) = delete;
  LimitedMemory& operator=(const LimitedMemory&) = delete;
};
