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

std::FILE* take_standard_output_and_hush() {
  std::FILE* const out = take_standard_output();
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere >= 0) {
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
  }
  return out;
}
