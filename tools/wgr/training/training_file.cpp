#include "training/training_file.h"

#include <array>
#include <charconv>

// Enough for any sensor, and few enough to hide that mathematical libraries differ in a
// number's last digit.
static constexpr int kDigits = 8;

static void append_number(std::string& text, double value) {
  std::array<char, 40> digits;
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(),
                                          value, std::chars_format::general, kDigits);
  static_cast<void>(error);  // so few digits always fit
  text.append(digits.data(), end);
}

std::string training_text(const std::vector<Motion>& motions) {
  std::string text;
  for (const Motion& motion : motions) {
    const size_t count = motion.trace.size() - 1;
    const Point3Df& gravity = motion.trace.back();
    text += std::to_string(motion.label) + " " + std::to_string(count);
    for (const double value : {gravity.x, gravity.y, gravity.z}) {
      text += ' ';
      append_number(text, value);
    }
    text += '\n';
    for (const auto axis : {&Point3Df::x, &Point3Df::y, &Point3Df::z}) {
      for (size_t i = 0; i < count; ++i) {
        if (i > 0) text += ' ';
        append_number(text, motion.trace[i].*axis);
      }
      text += '\n';
    }
  }
  return text;
}
