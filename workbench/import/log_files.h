// The bytes of the files that a log is made of.
#pragma once

#include <string>
#include <vector>

#include "import/import_log.h"

namespace wgr {

// Files in memory, for LogFile to read.
struct LogBytes {
  std::vector<std::string> names;
  std::vector<std::string> bytes;

  std::vector<LogFile> files() const;
};

// Of files, plain or gzip, and of folders and ZIP archives, of which all .csv, .tsv and
// .txt are taken; "-" is standard input. Throws RecordingError for what cannot be read,
// and at the limit.
LogBytes read_log_files(const std::vector<std::string>& paths, ReadingLimit& limit);

// A file that is in memory already: itself, or what a ZIP archive holds.
void add_log_file(const std::string& name, std::string bytes, ReadingLimit& limit,
                  LogBytes& to);

// Whether a file of this name in a folder is taken.
bool is_log_name(const std::string& name);

}  // namespace wgr
