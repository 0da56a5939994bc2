#include "base/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "base/foreign_text.h"
#include "base/text.h"

namespace wgr {

bool NumberRange::holds(double value) const {
  if (!std::isfinite(value) || value < least || value > most) return false;
  return (!above || value > least) && (!whole || value == std::floor(value));
}

std::string NumberRange::text() const {
  std::string made = whole ? "a whole number " : "a number ";
  if (above)
    return fmt::format("{}above {} and up to {}", made, plain(least), plain(most));
  return fmt::format("{}from {} to {}", made, plain(least), plain(most));
}

template <class T>
static bool read_all(std::string_view text, T& value) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end;
}

std::optional<double> number_of(std::string_view text, const NumberRange& range) {
  double value = 0.0;
  if (range.whole) {
    long long whole = 0;
    if (!read_all(text, whole)) return std::nullopt;
    value = static_cast<double>(whole);
  } else if (!read_all(text, value)) {
    return std::nullopt;
  }
  if (!range.holds(value)) return std::nullopt;
  return value;
}

std::string plain(double value) {
  std::array<char, 400> text;  // the largest double has 309 digits before its point
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                          std::chars_format::fixed);
  return error == std::errc() ? std::string(text.data(), end) : std::string("nan");
}

std::string wanted(const NumberRange& range, const std::string& value) {
  return range.text() + " is required, not " +
         (value.empty() ? "nothing" : wgr::quoted(value));
}

int nearest_int(double value) {
  if (std::isnan(value)) return 0;
  constexpr double kLeast = std::numeric_limits<int>::min();
  constexpr double kMost = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(std::round(value), kLeast, kMost));
}

}  // namespace wgr
