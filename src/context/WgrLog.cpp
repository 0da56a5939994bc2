#include "context/WgrLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

#include "base/held_signals.h"

using namespace wgr;

static constexpr size_t kLineSize = 256;  // characters, line break included

namespace {

struct LogPath {
  char text[sizeof kWgrLogPath];
};

}  // namespace

static constexpr LogPath copy_of_path() {
  LogPath copy = {};
  for (size_t i = 0; i < sizeof kWgrLogPath; ++i) copy.text[i] = kWgrLogPath[i];
  return copy;
}
static constexpr LogPath kFixedPath = copy_of_path();

// The text itself rather than a pointer to it, so that a line costs no more than with a
// constant.
static LogPath log_path = kFixedPath;

// No file has an empty name.
void wgr::set_logging(bool on) { log_path.text[0] = on ? kWgrLogPath[0] : '\0'; }

// Opening for reading too refuses a file that may only be written, as "a+" would; not
// blocking keeps a pipe that nobody empties from stopping the host. At 50 samples/s the
// file passes 2 GiB within a week, which a 32-bit process has to allow.
static int open_log() {
  int fd = -1;
  do {
    fd = open(
        log_path.text,
        O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_LARGEFILE,
        0666);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

// Removes the last bytes again, unless somebody else has written after them, or the log
// is something from which nothing can be removed.
static void take_back(int fd, off64_t size) {
  const off64_t end = lseek64(fd, 0, SEEK_CUR);
  struct stat64 about = {};
  if (end < size || fstat64(fd, &about) != 0 || about.st_size != end) return;
  [[maybe_unused]] const int cut = ftruncate64(fd, end - size);
}

// One write for the whole line, so that lines of several writers do not mix. Where the
// disk, or the process's limit on the size of files, has room for a part of it, no part
// stays: the next line would go on in its middle.
static void write_line(const iovec* parts, int count, HeldSignals& held) {
  const int fd = open_log();
  if (fd < 0) return;
  ssize_t size = 0;
  for (int i = 0; i < count; ++i) size += static_cast<ssize_t>(parts[i].iov_len);
  ssize_t written = 0;
  do {
    written = writev(fd, parts, count);
  } while (written < 0 && errno == EINTR);
  if (written < size) held.drop();
  if (written > 0 && written < size) take_back(fd, written);
  close(fd);
}

void WgrLog(char* line) {
  HeldSignals held;
  char newline = '\n';
  const iovec parts[] = {{line, std::strlen(line)}, {&newline, 1}};
  write_line(parts, 2, held);
}

namespace {

// A line while it is formatted: what exceeds its length is left out.
class Line {
 public:
  void add(std::string_view text) {
    const size_t taken = std::min(text.size(), kLineSize - 1 - length_);
    std::memcpy(text_ + length_, text.data(), taken);
    length_ += taken;
  }
  void add(int number) {
    char digits[std::numeric_limits<int>::digits10 + 2];  // and a sign
    const char* const end = std::to_chars(digits, std::end(digits), number).ptr;
    add(std::string_view(digits, static_cast<size_t>(end - digits)));
  }

  // The line with its line break.
  iovec ended() {
    text_[length_] = '\n';
    return {text_, length_ + 1};
  }

 private:
  size_t length_ = 0;
  char text_[kLineSize];
};

}  // namespace

// Formatted by hand: a sample writes two lines, and vsnprintf() is expensive.
static void write_site(const WgrLogSite& site, HeldSignals& held,
                       std::va_list arguments) {
  Line line;
  line.add(site.function);
  line.add(" ");
  line.add(site.tag);
  line.add(": ");
  std::string_view message = site.message;
  for (size_t mark; (mark = message.find('%')) != std::string_view::npos;) {
    line.add(message.substr(0, mark));
    // NOLINTBEGIN(clang-analyzer-valist.Uninitialized): both callers have set it
    if (message[mark + 1] == 'd') {
      line.add(va_arg(arguments, int));
    } else {
      line.add(va_arg(arguments, const char*));
    }
    // NOLINTEND(clang-analyzer-valist.Uninitialized)
    message.remove_prefix(mark + 2);
  }
  line.add(message);
  const iovec whole = line.ended();
  write_line(&whole, 1, held);
}

namespace wgr {

void WgrLogAt(WgrLogSite site, ...) {
  HeldSignals held;
  std::va_list arguments;
  va_start(arguments, site);
  write_site(site, held, arguments);
  va_end(arguments);
}

void WgrLogAt(HeldSignals& held, WgrLogSite site, ...) {
  std::va_list arguments;
  va_start(arguments, site);
  write_site(site, held, arguments);
  va_end(arguments);
}

}  // namespace wgr
