// Equality of results down to the last bit: +0 is not -0, but any NaN equals any NaN.
#pragma once

#include <cmath>
#include <cstring>
#include <deque>
#include <vector>

#include "WgrTypes.h"

template <class T>
bool same_bits(T a, T b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool same_bits(const Point3Df& a, const Point3Df& b) {
  return same_bits(a.x, b.x) && same_bits(a.y, b.y) && same_bits(a.z, b.z);
}

template <class Sequence>
bool same_elements(const Sequence& a, const Sequence& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (!same_bits(a[i], b[i])) return false;
  }
  return true;
}

template <class T>
bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
  return same_elements(a, b);
}

template <class T>
bool same_bits(const std::deque<T>& a, const std::deque<T>& b) {
  return same_elements(a, b);
}
