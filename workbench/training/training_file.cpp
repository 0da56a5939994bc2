#include "training/training_file.h"

#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "base/class_codes.h"
#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/numbers.h"
#include "base/table.h"
#include "base/text_lines.h"
#include "segmentation/recording_set.h"

namespace wgr {

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

std::string training_text(const std::vector<Motion>& motions, bool gravity) {
  std::string text;
  for (const Motion& motion : motions) {
    const size_t count = motion.trace.size() - (gravity ? 1 : 0);
    text += std::to_string(motion.label) + " " + std::to_string(count);
    const Point3Df& last = motion.trace.back();
    for (const double value : {last.x, last.y, last.z}) {
      if (!gravity) break;
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

static constexpr size_t kLinesPerRecord = 4;
static constexpr double kMostPoints = 1e6;
static_assert(kLineLimit > 30 * kMostPoints, "a line has room for so many numbers");
static constexpr std::string_view kSpaces = " \t\r\f\v";

namespace {

// The lines of a training file, one after the other.
class Checker {
 public:
  explicit Checker(const std::string& path) : path_(path), file_(path, std::ios::binary) {
    if (!file_) throw UsageError(path + ": cannot be read");
  }

  // False at the end of the file.
  bool next_line() {
    if (!wgr::next_line(file_, text_, kLineLimit)) {
      if (file_.bad()) throw UsageError(path_ + ": cannot be read to its end");
      return false;
    }
    ++line_;
    if (text_.size() > kLineLimit) {
      refuse("longer than " + std::to_string(kLineLimit) + " characters");
    }
    rest_ = text_;
    return true;
  }

  // The next number of the line; false when there is none.
  bool next_number(double& value) {
    const size_t begin = rest_.find_first_not_of(kSpaces);
    if (begin == std::string_view::npos) return false;
    rest_.remove_prefix(begin);
    const std::string_view word = rest_.substr(0, rest_.find_first_of(kSpaces));
    const auto [stop, error] =
        std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || stop != word.data() + word.size() ||
        !std::isfinite(value)) {
      refuse(quoted(word) + " is not a number");
    }
    rest_.remove_prefix(word.size());
    return true;
  }

  int whole_number(const char* what, const NumberRange& range) {
    double value = 0.0;
    if (!next_number(value)) refuse(std::string("has no ") + what);
    if (!range.holds(value)) {
      refuse(std::string("the ") + what + ": " + wanted(range, plain(value)));
    }
    return static_cast<int>(value);
  }

  // The numbers that are left on the line.
  size_t count_numbers() {
    size_t count = 0;
    for (double value; next_number(value);) ++count;
    return count;
  }

  [[noreturn]] void refuse(const std::string& reason) const {
    throw UsageError(path_ + ":" + std::to_string(line_) + ": " + reason);
  }

 private:
  const std::string path_;
  std::ifstream file_;
  std::string text_;
  std::string_view rest_;
  size_t line_ = 0;
};

}  // namespace

static void check(const std::string& path) {
  Checker file(path);
  size_t records = 0;
  size_t vectors = 0;  // numbers behind the count of the first record
  while (file.next_line()) {
    const int label =
        file.whole_number("label", whole_from(-kHighestLabel, kHighestLabel));
    if (label >= 0 && is_class_code(label)) {
      file.refuse(
          "the label " + std::to_string(label) +
          " is a code of the interface (5, 6, 13 and 14 are), which reports it for "
          "something else: give the gesture another number");
    }
    const size_t points = static_cast<size_t>(
        file.whole_number("number of points", whole_from(1, kMostPoints)));
    const size_t more = file.count_numbers();
    if (more != 0 && more != 3) {
      file.refuse(std::to_string(more) +
                  " numbers behind the number of points instead of three or none");
    }
    if (records == 0) vectors = more;
    if (more != vectors) {
      file.refuse("a gravity vector must be in all records or in none");
    }
    for (size_t i = 1; i < kLinesPerRecord; ++i) {
      if (!file.next_line()) file.refuse("the file ends within this record");
      const size_t count = file.count_numbers();
      if (count != points) {
        file.refuse(std::to_string(count) + " numbers instead of " +
                    std::to_string(points));
      }
    }
    ++records;
  }
  if (records == 0) throw UsageError(path + ":1: holds no example");
}

static Gdata load(const std::string& path) {
  Gdata data;
  if (!data.load(path.c_str())) throw UsageError(path + ": cannot be read");
  return data;
}

Gdata read_training_file(const std::string& path) {
  if (std::filesystem::is_directory(path)) {
    throw UsageError(path + ": is a folder, not a training file");
  }
  check(path);
  Gdata data = load(path);
  for (size_t i = 0; i < data.samples.size() && data.kind == 1; ++i) {
    if (squared_length(data.samples[i].trace.back()) > 0.0) continue;
    throw UsageError(path + ":" + std::to_string(kLinesPerRecord * i + 1) +
                     ": the gravity vector has no length");
  }
  return data;
}

Gdata parse_training_text(const std::string& text) {
  std::istringstream file(text);
  Gdata data;
  data.load(file);
  return data;
}

}  // namespace wgr
