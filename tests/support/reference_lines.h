// The lines of a text file as its reader sees them, all at once.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace reference {

// Hands out line after line for extraction, and empty ones behind the last.
class Lines {
 public:
  explicit Lines(std::vector<std::string> lines) : lines_(std::move(lines)) {}

  std::istringstream next() {
    std::istringstream line(at_ < lines_.size() ? lines_[at_] : std::string());
    ++at_;
    line.imbue(std::locale::classic());
    return line;
  }

 private:
  std::vector<std::string> lines_;
  size_t at_ = 0;
};

// The pieces between line breaks; one more than there are line breaks.
inline std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines(1);
  for (const char c : text) {
    if (c == '\n') {
      lines.emplace_back();
    } else {
      lines.back() += c;
    }
  }
  return lines;
}

}  // namespace reference
