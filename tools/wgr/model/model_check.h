// What is wrong with a gesture model file, line by line.
//
// The library reads whatever is there and complains about nothing, so a file that is cut
// off or mistyped shows only by gestures that do not come.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct ModelFinding {
  size_t line;        // in the file, from 1
  bool fatal;         // the library reads something else than is written, or nothing
  std::string words;  // what is wrong
};

// Nothing when all is well. Throws UsageError when the file cannot be read.
std::vector<ModelFinding> check_model_file(const std::string& path);
