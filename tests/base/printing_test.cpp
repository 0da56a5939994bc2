#include "base/printing.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "WgrInterface.h"
#include "support/child.h"
#include "support/installed_models.h"

using namespace wgr;

TEST(Printing, FormatsAndLeavesNothingInTheBuffer) {
  Capture out;
  EXPECT_EQ(in_child([]() -> int {
              std::printf("of the host, ");
              wgr::print("of %d %s\n", 2, "libraries");
              _exit(0);  // what is in a buffer now is lost
            }),
            0);
  EXPECT_EQ(out.finish(), "of the host, of 2 libraries\n");
}

// ---- a host whose standard output is lost --------------------------------------------

static bool reader_is_gone() {
  int ends[2];
  if (pipe(ends) != 0) return false;
  close(ends[0]);
  return dup2(ends[1], STDOUT_FILENO) == STDOUT_FILENO && close(ends[1]) == 0;
}

static bool file_is_at_the_limit() {
  // Far away: a library that counts what is reached writes its counts at the end.
  constexpr off_t kLimit = 1 << 30;  // bytes, of a file that takes no space
  std::FILE* const file = std::tmpfile();
  const rlimit limit = {kLimit, kLimit};
  return file != nullptr && dup2(fileno(file), STDOUT_FILENO) == STDOUT_FILENO &&
         lseek(STDOUT_FILENO, kLimit, SEEK_SET) == kLimit &&
         setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

static bool device_is_full() { return std::freopen("/dev/full", "w", stdout) != nullptr; }

static bool output_is_closed() { return close(STDOUT_FILENO) == 0; }

namespace {
struct Loss {
  const char* what;
  bool (*happen)();
};
}  // namespace

static constexpr Loss kLosses[] = {{"reader gone", reader_is_gone},
                                   {"at the limit", file_is_at_the_limit},
                                   {"device full", device_is_full},
                                   {"closed", output_is_closed}};

static constexpr int kHostsStatus = 7;

// Creates a handle, and feeds it before it is initialised, which is complained about.
static int live_without_output(const Loss& loss, int buffering) {
  return in_child([&]() -> int {
    if (!loss.happen()) return kChildCannot;
    std::setvbuf(stdout, nullptr, buffering, BUFSIZ);
    WgrHandle h = create_gesture_handle();
    for (int i = 0; i < 300; ++i) {
      if (update_gesture(h, {0, 0, 10}, {0, 0, 0}) != 6) return 1;
    }
    init_gesture_handle(h, 50, {0, 0, 0}, -1, -1, -1, 50);
    if (update_gesture(h, {0, 0, 10}, {0, 0, 0}) != 6) return 2;
    destroy_gesture_handle(&h);
    std::exit(kHostsStatus);  // which flushes what is left
  });
}

TEST(Printing, AHostGoesOnWithoutItsOutputHoweverThatIsBuffered) {
  install_all_models();
  for (const Loss& loss : kLosses) {
    for (const int buffering : {_IONBF, _IOLBF, _IOFBF}) {
      EXPECT_EQ(live_without_output(loss, buffering), kHostsStatus)
          << loss.what << ", " << buffering;
    }
  }
}

TEST(Printing, WithoutOutputAMissingModelEndsTheProcessWithZeroAllTheSame) {
  install_all_models();
  std::filesystem::remove_all("/usr/share/GestureModel/olvo_model_5_fb");
  for (const Loss& loss : kLosses) {
    EXPECT_EQ(in_child([&] {
                if (!loss.happen()) return kChildCannot;
                create_gesture_handle();
                return 1;
              }),
              0)
        << loss.what;
  }
}
