// Reads text files of numbers line by line; each line is parsed on its own.
//
// Values never run over from one line into the next, and the host's locale changes
// nothing. Extraction is the C++ stream's: a value that is missing leaves its target
// as it was, one that cannot be read stores 0 and ends the line. A file that cannot be
// read further has ended; lack of memory is thrown as std::bad_alloc.
#pragma once

#include <istream>
#include <sstream>
#include <string>

namespace wgr {

// The rest of the line, without its break; empty at the end of the file.
void read_line(std::istream& file, std::string& text);

class LineReader {
 public:
  enum class LongLines {
    kEndTheFile,  // the first 4095 characters count, and later lines read as empty
    kReadInFull,
  };

  // The file must outlive the reader.
  LineReader(std::istream& file, LongLines long_lines);

  // The next line, ready for extraction; an empty one when the file has ended.
  std::istringstream& next();

 private:
  std::istream& file_;
  const LongLines long_lines_;
  std::istringstream line_;
};

}  // namespace wgr
