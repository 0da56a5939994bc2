#include "training/thinning.h"

#include <locale>
#include <sstream>

namespace wgr {

static constexpr size_t kLongestModelLine = 4095;  // characters that the reader takes

bool fits_a_line(const Points& trace) {
  for (const auto axis : {&Point3Df::x, &Point3Df::y, &Point3Df::z}) {
    std::ostringstream line;
    line.imbue(std::locale::classic());
    for (const Point3Df& p : trace) line << p.*axis << ' ';
    if (line.str().size() > kLongestModelLine) return false;
  }
  return true;
}

void thin(Points& trace, int k) {
  const size_t trailing = static_cast<size_t>(k);
  Points thinner;
  for (size_t i = 0; i + trailing < trace.size(); i += 2) thinner.push_back(trace[i]);
  thinner.insert(thinner.end(), trace.end() - k, trace.end());
  trace = std::move(thinner);
}

}  // namespace wgr
