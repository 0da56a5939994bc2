// How much memory the program takes at most for long recordings, which are made as they
// are read. This test program stays small: a child's peak begins with its parent's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "support/files.h"
#include "synthesis/performance.h"

using namespace wgr;

using ::testing::HasSubstr;

// Sanitizers, emulators and checkers of memory take more than the program itself.
static bool measures_memory() {
#if defined(WGR_SANITIZED)
  return false;
#else
  return std::string(WGR_PROGRAM).find("/emulated/") == std::string::npos &&
         std::getenv("WGR_CASES") == nullptr;
#endif
}

namespace {

struct Measured {
  int status;
  long kilobytes;  // resident, at most
  std::string out;
};

}  // namespace

// Runs the program with what `write` writes on standard input.
static Measured run_measured(const std::string& arguments,
                             const std::function<void(std::FILE*)>& write) {
  TempDirectory directory;
  const std::string out = directory.file("out");
  const std::string command =
      "exec " + std::string(WGR_PROGRAM) + " " + arguments + " >" + out + " 2>&1";
  int ends[2];
  if (pipe(ends) != 0) return {-1, 0, ""};
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    close(ends[1]);
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  close(ends[0]);
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  std::FILE* const pipe_end = fdopen(ends[1], "w");
  write(pipe_end);
  std::fclose(pipe_end);
  std::signal(SIGPIPE, before);
  int status = 0;
  struct rusage usage = {};
  if (wait4(child, &status, 0, &usage) != child) return {-1, 0, ""};
  std::printf("%ld kB: wgr %s\n", usage.ru_maxrss, arguments.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, usage.ru_maxrss, read_file(out)};
}

// The values behind the time of a minute or so, as lines: gestures and ways between.
static std::vector<std::string> minute_of_values() {
  const Person person = make_person(7, Style::kFree);
  const Random random(7);
  Random planning = random.fork(1);
  std::vector<std::string> lines;
  for (const RecordedSample& s : record(random_plan({1, 20.0}, person, planning), person,
                                        {0, 50}, random.fork(2))) {
    char text[200];
    std::snprintf(text, sizeof text, ",%.4f,%.4f,%.4f,%.4f,%.4f,%.4f\n", s.acc.x, s.acc.y,
                  s.acc.z, s.gyro.x, s.gyro.y, s.gyro.z);
    lines.push_back(text);
  }
  return lines;
}

// That minute again and again; another line in the place of sample `odd`.
static void write_hours(double hours, int rate, std::FILE* out, size_t odd = SIZE_MAX) {
  const std::vector<std::string> lines = minute_of_values();
  const size_t count = static_cast<size_t>(hours * 3600.0 * rate);
  std::fputs("t,ax,ay,az,gx,gy,gz\n", out);
  for (size_t i = 0; i < count; ++i) {
    std::fprintf(out, "%.2f%s", static_cast<double>(i) / rate,
                 i == odd ? ",0,9999,0,1,2,3\n" : lines[i % lines.size()].c_str());
  }
}

TEST(PeakMemory, TheDoctorTakesNoMoreForAnyLength) {
  if (!measures_memory()) GTEST_SKIP() << "this build takes memory of its own";
  for (const double hours : {1.0, 4.0}) {
    const size_t odd = static_cast<size_t>(hours * 360000.0) - 60000;
    const Measured run = run_measured("doctor --seconds 1e9 -", [&](std::FILE* out) {
      write_hours(hours, 100, out, odd);
    });
    EXPECT_EQ(run.status, 1);
    EXPECT_LT(run.kilobytes, 64000);
    EXPECT_THAT(run.out, HasSubstr("can measure: 1 sample, "));
    EXPECT_THAT(run.out, HasSubstr("(line " + std::to_string(odd + 2) + ")"));
  }
}

// A day may take 300 MB; of it these hours their share, beside what the program itself
// takes.
TEST(PeakMemory, AnExplanationTakesAShareOfADay) {
  if (!measures_memory()) GTEST_SKIP() << "this build takes memory of its own";
  constexpr double kHours = 1.5;
  for (const std::string option : {"--all ", "--json "}) {
    const Measured run = run_measured(
        "explain --sample-rate 50 " + option + "--models " + WGR_ROOT + "/models -",
        [&](std::FILE* out) { write_hours(kHours, 50, out); });
    EXPECT_EQ(run.status, 0);
    EXPECT_LT(run.kilobytes, 16000 + 300000.0 / 24.0 * kHours);
    EXPECT_GT(run.out.size(), 100000u);
  }
}

// So may its page; what is kept to be drawn is bounded, and does not count by the hour.
TEST(PeakMemory, APageTakesAShareOfADay) {
  if (!measures_memory()) GTEST_SKIP() << "this build takes memory of its own";
  const TempDirectory directory;
  const std::string page = directory.file("page.html");
  constexpr double kHours = 3.0;
  const Measured run = run_measured(
      "explain --sample-rate 50 --report " + page + " --models " + WGR_ROOT + "/models -",
      [&](std::FILE* out) { write_hours(kHours, 50, out); });
  EXPECT_EQ(run.status, 0);
  EXPECT_LT(run.kilobytes, 75000 + 225000.0 / 24.0 * kHours);
  EXPECT_GT(read_file(page).size(), 200000u);
}
