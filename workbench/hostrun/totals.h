// What a run over a recording adds up to.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>

#include "recording/clock.h"

namespace wgr {

// The wrist that the detector named more than twice as often as the other, in a hundred
// answers or more, of its answers left, right and undecided: 0 or 1; 2 when it named
// neither so clearly.
int clear_wearer(const std::array<size_t, 3>& answers);

// Counted sample by sample.
struct Totals {
  explicit Totals(int samples_per_second)
      : rate(samples_per_second), clock(samples_per_second) {}

  double seconds() const { return static_cast<double>(samples) / rate; }

  int wearer() const { return clear_wearer(wearer_answers); }

  int rate;  // samples per second
  size_t samples = 0;
  size_t samples_at_rest = 0;
  std::map<int, size_t> events;               // how many of each class
  std::array<size_t, 3> wearer_answers = {};  // left, right, undecided
  Clock clock;
  std::string absent_axes;  // axes with empty fields
  size_t absent_fields = 0;
  double elapsed_seconds = 0.0;  // that the run took
};

}  // namespace wgr
