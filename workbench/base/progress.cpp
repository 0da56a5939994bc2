#include "base/progress.h"

#include <unistd.h>

#include <cstdio>
#include "base/caught_warnings.h"
#include "base/text.h"

namespace wgr {

static constexpr size_t kLineEvery = 25;  // percent
static constexpr size_t kBarWidth = 40;   // characters

Progress::Progress(std::string what, size_t steps)
    : what_(std::move(what)),
      steps_(steps),
      terminal_(isatty(STDERR_FILENO) != 0),
      silent_(are_warnings_caught()) {}

void Progress::add(size_t steps) {
  if (silent_) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  done_ += steps;
  const size_t percent = steps_ == 0 ? 100 : 100 * done_ / steps_;
  const size_t every = terminal_ ? 1 : kLineEvery;
  if (percent / every == shown_ / every) return;
  shown_ = percent;
  show(percent);
}

void Progress::show(size_t percent) {
  if (!terminal_) {
    print(stderr, "{}: {} %\n", what_, percent);
    return;
  }
  std::string bar(kBarWidth, ' ');
  for (size_t i = 0; i < kBarWidth * percent / 100; ++i) bar[i] = '#';
  print(stderr, "\r{} [{}] {:3} %{}", what_, bar, percent, percent >= 100 ? "\n" : "");
  std::fflush(stderr);
}

}  // namespace wgr
