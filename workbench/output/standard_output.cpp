#include "output/standard_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "base/errors.h"

namespace wgr {

static constexpr char kNowhere[] = "/dev/null";
static constexpr char kAlwaysThere[] = "/";

static std::FILE* separated = nullptr;
static int loss = 0;  // errno, where it is known
static bool loss_is_said = false;

// Opens the lowest free descriptor, for what fails with every use, or for a place where
// messages vanish.
static void occupy(int flags) {
  if (open(kNowhere, flags) < 0) {
    [[maybe_unused]] const int opened = open(kAlwaysThere, O_RDONLY | O_DIRECTORY);
  }
}

void prepare_descriptors() {
  // Results for a closed descriptor are an error, as input from it is; messages are not.
  static constexpr int kFlags[] = {O_WRONLY, O_RDONLY, O_WRONLY};
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (fcntl(fd, F_GETFD) < 0) occupy(kFlags[fd]);
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

std::FILE* results() { return separated != nullptr ? separated : stdout; }

void write_results(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), results()) != text.size()) loss = errno;
}

int results_descriptor() { return fileno(results()); }

void separate_results(LibraryPrints prints) {
  if (separated != nullptr) return;
  std::fflush(stdout);
  const int kept = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  // A stream to read from refuses results too, which is what a closed descriptor needs.
  const bool writable = kept >= 0 && (fcntl(kept, F_GETFL) & O_ACCMODE) != O_RDONLY;
  std::FILE* const stream = kept < 0 ? nullptr : fdopen(kept, writable ? "w" : "r");
  if (stream == nullptr) throw OutputError("standard output", errno);
  const int nowhere =
      prints == LibraryPrints::kNowhere ? open(kNowhere, O_WRONLY | O_CLOEXEC) : -1;
  if (dup2(nowhere < 0 ? STDERR_FILENO : nowhere, STDOUT_FILENO) < 0) {
    throw OutputError("standard output", errno);
  }
  if (nowhere >= 0) close(nowhere);
  // The library's lines appear when they are printed, not when the process ends.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  separated = stream;
}

void join_results() {
  std::fflush(results());
  if (separated != nullptr) dup2(fileno(separated), STDOUT_FILENO);
}

[[noreturn]] static void complain() {
  loss_is_said = true;
  throw OutputError("standard output", loss);
}

void require_results() {
  if (std::ferror(results()) != 0) complain();
}

void finish_results() {
  const bool flushed = std::fflush(results()) == 0;
  if (!flushed) loss = errno;
  const bool lost = !flushed || std::ferror(results()) != 0;
  if (lost && !loss_is_said) complain();
  if (lost || separated == nullptr) return;
  std::FILE* const stream = separated;
  separated = nullptr;
  if (std::fclose(stream) != 0) throw OutputError("standard output", errno);
}

}  // namespace wgr
