#include "context/WgrLog.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

static constexpr size_t kLineSize = 256;        // characters, terminator included
static constexpr unsigned kLinesPerLook = 256;  // at the limit on the size of files

// Opening for reading too refuses a file that may only be written, as "a+" would; not
// blocking keeps a pipe that nobody empties from stopping the host. At 50 samples/s the
// file passes 2 GiB within a week, which a 32-bit process must say that it can take.
static int open_log() {
  int fd = -1;
  do {
    fd = open(
        kWgrLogPath,
        O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_LARGEFILE,
        0666);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

// Whether the process may make no file larger than some size. Looked up now and then, and
// for the first line: one more call of the system for every line would be dear.
static bool sizes_are_limited() {
  static std::atomic<unsigned> lines = 0;
  static std::atomic<bool> limited = false;
  if (lines.fetch_add(1, std::memory_order_relaxed) % kLinesPerLook == 0) {
    rlimit64 limit = {};
    limited = getrlimit64(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM64_INFINITY;
  }
  return limited;
}

// Whether the file may grow by so many bytes. Past the process's limit a write does not
// just fail: the signal that comes with it ends the host.
static bool may_grow(int fd, size_t size) {
  rlimit64 limit = {};
  struct stat64 about = {};
  if (!sizes_are_limited() || getrlimit64(RLIMIT_FSIZE, &limit) != 0 ||
      fstat64(fd, &about) != 0 || !S_ISREG(about.st_mode)) {
    return true;
  }
  return static_cast<rlim64_t>(about.st_size) + size <= limit.rlim_cur;
}

// Takes the last bytes off again, unless somebody else has written behind them, or they
// went where nothing can be taken back.
static void take_back(int fd, off64_t size) {
  const off64_t end = lseek64(fd, 0, SEEK_CUR);
  struct stat64 about = {};
  if (end < size || fstat64(fd, &about) != 0 || about.st_size != end) return;
  [[maybe_unused]] const int cut = ftruncate64(fd, end - size);
}

// One write for the whole line, so that lines of several writers do not mix. Where the
// disk is full after a part of it, no part stays: the next line would go on in its
// middle.
void WgrLog(char* line) {
  const int fd = open_log();
  if (fd < 0) return;
  char newline = '\n';
  const iovec parts[] = {{line, std::strlen(line)}, {&newline, 1}};
  const size_t size = parts[0].iov_len + parts[1].iov_len;
  if (may_grow(fd, size)) {
    ssize_t written = 0;
    do {
      written = writev(fd, parts, 2);
    } while (written < 0 && errno == EINTR);
    if (written > 0 && static_cast<size_t>(written) < size) take_back(fd, written);
  }
  close(fd);
}

void WgrLogAt(WgrLogSite site, ...) {
  char message[kLineSize] = {};
  std::va_list arguments;
  va_start(arguments, site);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the line before, it overlooks
  std::vsnprintf(message, sizeof message, site.message, arguments);
  va_end(arguments);

  char line[kLineSize] = {};
  if (std::snprintf(line, sizeof line, "%s %d: %s", site.function, site.tag, message) >
      0) {
    WgrLog(line);
  }
}
