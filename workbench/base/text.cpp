#include "base/text.h"

#include "base/caught_warnings.h"
#include "base/foreign_text.h"

namespace wgr {

static thread_local CaughtWarnings* catching = nullptr;

CatchingInto::CatchingInto(CaughtWarnings& warnings) : outer_(catching) {
  catching = &warnings;
}
CatchingInto::~CatchingInto() { catching = outer_; }

bool are_warnings_caught() { return catching != nullptr; }

void warn(const std::string& text) {
  if (catching != nullptr) {
    catching->push_back(text);
  } else {
    print(stderr, "wgr: {}\n", shown(text));
  }
}

std::string counted(size_t count, const std::string& one, const std::string& many) {
  return fmt::format("{} {}", count, count == 1 ? one : many.empty() ? one + "s" : many);
}

double share(size_t part, size_t whole) {
  return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}

std::string percent(double share) { return fmt::format("{:.1f} %", 100.0 * share); }
std::string percent(size_t part, size_t whole) { return percent(share(part, whole)); }

}  // namespace wgr
