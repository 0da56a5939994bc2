// The bytes of the files that a log is made of.
#pragma once

#include <string>
#include <vector>

#include "import/import_log.h"

namespace wgr {

// Files in memory, for LogFile to look at.
struct LogBytes {
  std::vector<std::string> names;
  std::vector<std::string> bytes;

  std::vector<LogFile> files() const;
};

// Of files, plain or gzip, and folders, of which all .csv, .tsv and .txt are taken; "-"
// is standard input. Throws RecordingError for what cannot be read, and at the limit.
LogBytes read_log_files(const std::vector<std::string>& paths, ReadingLimit& limit);

}  // namespace wgr
