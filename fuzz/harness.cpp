#include "harness.h"

#include <cstdio>
#include <cstdlib>

std::vector<Harness>& harnesses() {
  static std::vector<Harness> all;
  return all;
}

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}
