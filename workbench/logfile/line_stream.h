// Lines of files of any size, plain or gzip, in a memory that does not grow with them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "recording/byte_source.h"

namespace wgr {

class LineStream {
 public:
  // Characters of a line that are kept; a longer one is passed on cut off, and marked so.
  static constexpr size_t kMostKept = 4096;

  struct Line {
    std::string_view text;  // without its end; valid until the next one is read
    bool cut;               // the line is longer than what is kept of it
    bool ended;             // by a line break, and not by the end of the file
    bool too_long = false;  // more than kLineLimit: reading stopped within it
  };

  // "-" is standard input. Throws ByteSourceError, also from next().
  explicit LineStream(const std::string& path);

  bool next(Line& line);
  size_t number() const { return number_; }            // of the line last read, from 1
  unsigned long long bytes() const { return bytes_; }  // read so far, unpacked
  bool cut_off() const { return source_.cut_off(); }   // see there

 private:
  bool fill();
  void skip_to_break(Line& line);

  ByteSource source_;
  std::vector<char> buffer_;
  std::string kept_;  // of a line that was cut
  size_t begin_ = 0;
  size_t end_ = 0;
  size_t number_ = 0;
  unsigned long long bytes_ = 0;
};

}  // namespace wgr
