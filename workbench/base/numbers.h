// Numbers from people and files: read in whole, and accepted in their range alone.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wgr {

// What a number may be. Not-a-number and infinities are in no range.
struct NumberRange {
  double least;
  double most;
  bool whole = false;
  bool above = false;  // `least` itself is out of it

  bool holds(double value) const;
  // For a person: "a whole number from 1 to 1000".
  std::string text() const;
};

constexpr NumberRange whole_from(double least, double most) {
  return {least, most, true, false};
}
constexpr NumberRange number_from(double least, double most) {
  return {least, most, false, false};
}
constexpr NumberRange number_above(double least, double most) {
  return {least, most, false, true};
}

// A text that is a decimal number of the range from its first to its last character. A
// whole number has digits alone, without a point or an exponent.
std::optional<double> number_of(std::string_view text, const NumberRange& range);

// The number as it is written without an exponent, with as many digits as it needs.
std::string plain(double value);

// The message for a value that is out of its range.
std::string wanted(const NumberRange& range, const std::string& value);

// The nearest whole number that an int holds; 0 for not-a-number.
int nearest_int(double value);

}  // namespace wgr
