// What an import took a log for and did with it, in words.
#pragma once

#include <string>

#include "import/import_log.h"

namespace wgr {

// What is wrong with a log, and what to do about it.
std::string sentence_for(const ImportErrorFacts& facts);

// "an Android log: time in ns, accelerations in m/s2, angular velocities in rad/s".
std::string device_text(const LogGuess& guess);

// What `wgr import` could do with a file that is no recording, as the end of a message:
// "; it looks like an Android log: ...: wgr import FILE -o OUT.csv makes a recording of
// it". Empty for what is no log.
std::string import_hint(const std::string& path);

// What every column was taken for, how sure that is and why.
std::string guess_text(const LogGuess& guess);

// What was done: read, dropped, joined, converted.
std::string import_text(const ImportedLog& log);

// Lines of JSON for all of it.
std::string import_json(const ImportedLog& log);

}  // namespace wgr
