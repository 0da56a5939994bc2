// Counting in texts: the log's lines, what was printed.
#pragma once

#include <string>

inline size_t count_of(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}
