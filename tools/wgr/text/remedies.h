// What to do about each cause: one table, which text, page and documents share.
#pragma once

#include <string>
#include <vector>

#include "verdict/verdict.h"

namespace wgr {

struct Remedy {
  const char* cause;     // as name_of() calls it
  const char* headline;  // what is the matter, in one sentence
  const char* action;    // what to do, without a capital letter and a full stop
  // A line of a host to copy; may be empty. Words in capitals are filled in from the
  // recording: FACTOR, AXES, SENSOR, RATE, BIAS, WEARER, MODE, LEVEL, WINDOW, UNIT.
  const char* code;
};

const std::vector<Remedy>& remedies();
const Remedy* remedy_for(const std::string& cause);  // null: none

// The words in capitals of a headline or a line of code, replaced by their values in this
// recording.
std::string filled(const std::string& text, const Verdict& verdict,
                   const Settings& settings);

}  // namespace wgr
