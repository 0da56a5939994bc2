#include "logfile/line_stream.h"

#include <cstring>

#include "base/text_lines.h"

namespace wgr {

static constexpr size_t kBufferSize = size_t{1} << 18;  // bytes; far above kMostKept

LineStream::LineStream(const std::string& path) : source_(path), buffer_(kBufferSize) {}

// Adds bytes behind those that are not used yet; false at the end of the file.
bool LineStream::fill() {
  std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  const size_t got = source_.read(buffer_.data() + end_, buffer_.size() - end_);
  end_ += got;
  bytes_ += got;
  return got > 0;
}

// Drops the rest of a line that is too long to keep.
void LineStream::skip_to_break(Line& line) {
  for (size_t length = 0; length <= kLineLimit;) {
    const char* const first = buffer_.data() + begin_;
    const void* const found = std::memchr(first, '\n', end_ - begin_);
    if (found != nullptr) {
      begin_ += static_cast<size_t>(static_cast<const char*>(found) - first) + 1;
      line.ended = true;
      return;
    }
    length += end_ - begin_;
    begin_ = end_;
    if (!fill()) return;
  }
  line.too_long = true;
}

bool LineStream::next(Line& line) {
  size_t searched = 0;
  for (;;) {
    const char* const first = buffer_.data() + begin_;
    const size_t there = end_ - begin_;
    const void* const found = std::memchr(first + searched, '\n', there - searched);
    if (found != nullptr) {
      const size_t length = static_cast<size_t>(static_cast<const char*>(found) - first);
      line = {{first, length}, false, true};
      begin_ += length + 1;
      break;
    }
    if (there > kMostKept) {
      kept_.assign(first, kMostKept);
      line = {kept_, true, false};
      skip_to_break(line);
      break;
    }
    searched = there;
    if (fill()) continue;
    if (there == 0) return false;
    line = {{buffer_.data() + begin_, there}, false, false};
    begin_ = end_;
    break;
  }
  ++number_;
  return true;
}

}  // namespace wgr
