#include "host/own_stdout.h"

#include <fcntl.h>
#include <unistd.h>

std::FILE* take_standard_output() {
  std::fflush(stdout);
  const int kept = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  if (kept < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) return nullptr;
  // The library's lines appear when they are printed, not when the process ends.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  return fdopen(kept, "w");
}
