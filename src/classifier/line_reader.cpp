#include "classifier/line_reader.h"

#include <locale>
#include <string>

static constexpr std::streamsize kLineSize = 4096;  // characters, terminator included

LineReader::LineReader(std::istream& file, LongLines long_lines)
    : file_(file), long_lines_(long_lines) {
  line_.imbue(std::locale::classic());
}

std::istringstream& LineReader::next() {
  std::string text;
  if (long_lines_ == LongLines::kReadInFull) {
    std::getline(file_, text);
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
