// What an import took a log for and did with it, in words.
#pragma once

#include <string>

#include "import/import_log.h"

namespace wgr {

// What is wrong with a log, and what to do about it.
std::string sentence_for(const ImportErrorFacts& facts);

// "an Android log: time in ns, accelerations in m/s2, angular velocities in rad/s".
std::string device_text(const LogGuess& guess);

// What every column was taken for, how sure that is and why.
std::string guess_text(const LogGuess& guess);

// What was done: read, dropped, joined, converted.
std::string import_text(const ImportedLog& log);

// Lines of JSON for all of it.
std::string import_json(const ImportedLog& log);

}  // namespace wgr
