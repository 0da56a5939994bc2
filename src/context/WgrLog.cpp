#include "context/WgrLog.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

static constexpr size_t kLineSize = 256;  // characters, terminator included

// One write for the whole line, so that lines of several writers do not mix. Opening
// for reading too refuses a file that may only be written, as "a+" would; not
// blocking keeps a pipe that nobody empties from stopping the host. At 50 samples/s the
// file passes 2 GiB within a week, which a 32-bit process must say that it can take.
void WgrLog(char* line) {
  const int fd =
      open(kWgrLogPath,
           O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_LARGEFILE,
           0666);
  if (fd < 0) return;
  char newline = '\n';
  const iovec parts[] = {{line, std::strlen(line)}, {&newline, 1}};
  if (writev(fd, parts, 2) < 0) {
    // Dropped, like a line whose file does not open.
  }
  close(fd);
}

void WgrLogAt(WgrLogSite site, ...) {
  char message[kLineSize] = {};
  std::va_list arguments;
  va_start(arguments, site);
  std::vsnprintf(message, sizeof message, site.message, arguments);
  va_end(arguments);

  char line[kLineSize] = {};
  if (std::snprintf(line, sizeof line, "%s %d: %s", site.function, site.tag, message) >
      0) {
    WgrLog(line);
  }
}
