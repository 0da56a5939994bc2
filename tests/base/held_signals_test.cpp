#include "base/held_signals.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "support/child.h"

using namespace wgr;

using wgr::HeldSignals;

// A write to a pipe without a reader; answers whether it failed.
static bool write_to_a_broken_pipe() {
  int ends[2];
  if (pipe(ends) != 0) return false;
  close(ends[0]);
  const bool failed = write(ends[1], "x", 1) < 0;
  close(ends[1]);
  return failed;
}

// A write past the limit on the size of files.
static bool write_past_the_limit() {
  rlimit before = {};
  std::FILE* const file = std::tmpfile();
  if (file == nullptr || getrlimit(RLIMIT_FSIZE, &before) != 0) return false;
  const rlimit none = {0, before.rlim_max};
  const bool failed = setrlimit(RLIMIT_FSIZE, &none) == 0 &&
                      write(fileno(file), "x", 1) < 0 &&
                      setrlimit(RLIMIT_FSIZE, &before) == 0;
  std::fclose(file);
  return failed;
}

static bool pending(int signal) {
  sigset_t set;
  return sigpending(&set) == 0 && sigismember(&set, signal) == 1;
}

static bool blocked(int signal) {
  sigset_t set;
  return pthread_sigmask(SIG_BLOCK, nullptr, &set) == 0 && sigismember(&set, signal) == 1;
}

static void block(int signal) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

namespace {
struct Cause {
  int signal;
  bool (*write)();
};
}  // namespace

static constexpr Cause kCauses[] = {{SIGPIPE, write_to_a_broken_pipe},
                                    {SIGXFSZ, write_past_the_limit}};

static volatile std::sig_atomic_t handled = 0;

// Each body answers 0 when all is well, else the number of what is not.
TEST(HeldSignals, AWriteThatFailsDoesNotEndTheProcess) {
  for (const Cause& cause : kCauses) {
    EXPECT_EQ(in_child([&] {
                if (blocked(cause.signal)) return 1;
                {
                  HeldSignals held;
                  if (!blocked(cause.signal)) return 2;
                  if (!cause.write()) return 3;
                  held.drop();
                  if (pending(cause.signal)) return 4;
                }
                return blocked(cause.signal) ? 5 : 0;
              }),
              0)
        << cause.signal;
  }
}

TEST(HeldSignals, WhatIsNotDroppedComesInTheEnd) {
  for (const Cause& cause : kCauses) {
    EXPECT_EQ(in_child([&] {
                const HeldSignals held;
                return cause.write() ? 0 : 1;
              }),
              -cause.signal);
  }
}

TEST(HeldSignals, AHandlerOfTheHostIsNotCalledByOurWrites) {
  for (const Cause& cause : kCauses) {
    EXPECT_EQ(in_child([&] {
                std::signal(cause.signal, [](int) { handled = handled + 1; });
                {
                  HeldSignals held;
                  if (!cause.write()) return 1;
                  held.drop();
                }
                if (handled != 0) return 2;
                // By the host's own it is.
                return cause.write() && handled == 1 ? 0 : 3;
              }),
              0)
        << cause.signal;
  }
}

// Such a host finds its own signal again, and none of ours.
TEST(HeldSignals, AHostThatHoldsASignalBackItselfKeepsWhatWaitedForIt) {
  for (const Cause& cause : kCauses) {
    for (const bool waiting : {false, true}) {
      EXPECT_EQ(in_child([&] {
                  block(cause.signal);
                  if (waiting) std::raise(cause.signal);
                  {
                    HeldSignals outer;
                    HeldSignals inner;
                    if (!cause.write()) return 1;
                    inner.drop();
                    outer.drop();
                  }
                  if (pending(cause.signal) != waiting) return 2;
                  return blocked(cause.signal) ? 0 : 3;
                }),
                0)
          << cause.signal << ", " << waiting;
    }
  }
}

// One that is ignored never comes, held or not.
TEST(HeldSignals, ASignalThatTheHostIgnoresStaysIgnored) {
  for (const Cause& cause : kCauses) {
    EXPECT_EQ(in_child([&] {
                std::signal(cause.signal, SIG_IGN);
                {
                  HeldSignals held;
                  if (!cause.write()) return 1;
                  held.drop();
                }
                return cause.write() && !pending(cause.signal) ? 0 : 2;
              }),
              0)
        << cause.signal;
  }
}
