// An array that is aligned for the CPU's vectors, wherever the heap puts it: a load that
// crosses two cache lines costs twice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace wgr {

// Bytes of a cache line, and of the widest vector.
inline constexpr std::size_t kAlignment = 64;

// Only ever grows; what it holds is lost when it does.
template <class T>
class AlignedArray {
 public:
  void need(std::size_t size) {
    constexpr std::size_t kMore = kAlignment / sizeof(T);
    if (space_.size() >= size + kMore) return;
    space_.resize(size + kMore);
    const auto address = reinterpret_cast<std::uintptr_t>(space_.data());
    start_ = (kAlignment - address % kAlignment) % kAlignment / sizeof(T);
  }

  T* data() { return space_.data() + start_; }
  const T* data() const { return space_.data() + start_; }

 private:
  std::vector<T> space_;
  std::size_t start_ = 0;
};

}  // namespace wgr
