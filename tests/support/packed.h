// Reads what explanation/packed_series.h writes, as a page's script does.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

class Packed {
 public:
  explicit Packed(std::string bytes) : bytes_(std::move(bytes)) {}

  bool ended() const { return at_ >= bytes_.size(); }

  unsigned long long whole() {
    unsigned long long value = 0;
    for (unsigned shift = 0;; shift += 7) {
      const auto byte = static_cast<unsigned char>(bytes_.at(at_++));
      value |= static_cast<unsigned long long>(byte & 0x7f) << shift;
      if (byte < 0x80) return value;
    }
  }

  std::vector<double> series(double unit) {
    const unsigned long long head = whole();
    std::vector<double> values;
    long long sum = 0;
    long long step = 0;
    for (unsigned long long i = 0; i < head / 3; ++i) {
      const unsigned long long folded = whole();
      const long long value = folded % 2 == 0 ? static_cast<long long>(folded / 2)
                                              : -static_cast<long long>(folded / 2) - 1;
      step = head % 3 == 2 ? step + value : value;
      sum = head % 3 == 0 ? value : sum + step;
      values.push_back(static_cast<double>(sum) * unit);
    }
    return values;
  }

 private:
  std::string bytes_;
  size_t at_ = 0;
};
