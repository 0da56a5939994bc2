// Checks a model file for faults that Gmodel::read() accepts silently.
//
// The reader checks nothing, so a damaged or careless file does not fail: it recognises
// less, or nothing, or something else. Every such fault is reported here, with its line.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace wgr {

struct ModelFinding {
  size_t line;       // in the file, from 1; 0 when the whole file is meant
  std::string text;  // what is wrong and what comes of it, for a person
};

struct ModelCheck {
  // Whether Gmodel::read() ends without an exception.
  bool loads = true;
  std::vector<ModelFinding> findings;  // in the order of the lines
};

// Checks the file at `path` as it is, ".xml" included. Reads regular files only, and
// needs no more memory than one line that fits the reader and what it says about it.
ModelCheck check_model_file(const std::string& path);

// The same of a model's text.
ModelCheck check_model(std::istream& text);

}  // namespace wgr
