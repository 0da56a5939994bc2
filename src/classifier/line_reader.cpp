#include "classifier/line_reader.h"

#include <locale>

namespace wgr {

static constexpr std::streamsize kLineSize = 4096;  // characters, terminator included

LineReader::LineReader(std::istream& file, LongLines long_lines)
    : file_(file), long_lines_(long_lines) {
  line_.imbue(std::locale::classic());
  // Otherwise a stream hides that memory ran out during an extraction.
  line_.exceptions(std::ios::badbit);
}

void read_line(std::istream& file, std::string& text) {
  try {
    file.exceptions(
        std::ios::badbit);  // otherwise lack of memory looks like the file's end
    std::getline(file, text);
  } catch (const std::ios_base::failure&) {
    // A file that cannot be read further has ended.
  }
  file.exceptions(std::ios::goodbit);
}

std::istringstream& LineReader::next() {
  std::string text;
  if (long_lines_ == LongLines::kReadInFull) {
    read_line(file_, text);
  } else {
    // A line that does not fit fails the stream, which then reads nothing more.
    char buffer[kLineSize] = {};
    file_.getline(buffer, kLineSize);
    text = buffer;
  }
  line_.clear();
  line_.str(text);
  return line_;
}

}  // namespace wgr
