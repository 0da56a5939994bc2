// Two lines of the log, as each sample writes them, against stdio's way of appending.
#include <cstdio>

#include "against_reference.h"
#include "context/WgrLog.h"

using namespace wgr;

static constexpr char kStdioLog[] = "/home/app/stdio.txt";
static constexpr int kRounds = 50;

static void append_by_stdio(const char* function, int tag, const char* format,
                            int value) {
  std::FILE* file = std::fopen(kStdioLog, "a+");
  if (file == nullptr) return;
  std::fprintf(file, "%s %d: ", function, tag);
  std::fprintf(file, format, value);
  std::fprintf(file, "\n");
  std::fclose(file);
}

static void two_log_lines(benchmark::State& state) {
  append_by_stdio("", 0, "%d", 0);
  if (std::FILE* file = std::fopen(kStdioLog, "r")) {
    std::fclose(file);
  } else {
    state.SkipWithError("/home/app cannot be written: run this by scripts/private-paths");
    return;
  }
  compare(
      state, kRounds,
      [] {
        for (int i = 0; i < kRounds; ++i) {
          append_by_stdio("update_gesture", 115, "update_gesture start", 0);
          append_by_stdio("update_gesture", 123, "---gestype---:%d", 14);
        }
      },
      [] {
        for (int i = 0; i < kRounds; ++i) {
          WgrLogAt(kLogUpdateStart);
          WgrLogAt(kLogGestureType, 14);
        }
      });
}
BENCHMARK(two_log_lines)->UseManualTime()->Iterations(301);
