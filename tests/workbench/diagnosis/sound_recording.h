// A sound recording to plant faults in.
#pragma once

#include <vector>

#include "synthesis/performance.h"
#include "synthesis/plan.h"

namespace wgr {

using Recorded = std::vector<RecordedSample>;

// A minute or so: each gesture twice, some everyday movement, the ways between.
inline Recorded repetition(int number, int rate = 50, int wearer = 0,
                           Style style = Style::kFree) {
  const Person person = make_person(number, style);
  const Random random(static_cast<uint64_t>(1000 + number));
  Random planning = random.fork(1);
  const Plan plan = random_plan({2, 20.0}, person, planning);
  return record(plan, person, {wearer, rate}, random.fork(2));
}

}  // namespace wgr
