#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "context/WgrLog.h"
#include "reliability/soak.h"

using namespace wgr;

static constexpr int kRotationPeriod = 250;  // ms
static constexpr long kFilesAside = 8;       // that are not counted yet

long resident_memory() {
  // Counted page by page; what /proc/self/statm reports lags behind.
  std::FILE* const file = std::fopen("/proc/self/smaps_rollup", "r");
  if (file == nullptr) return 0;
  char line[256];
  long kilobytes = 0;
  while (std::fgets(line, sizeof line, file) != nullptr) {
    if (std::sscanf(line, "Rss: %ld", &kilobytes) == 1) break;
  }
  std::fclose(file);
  return kilobytes * 1024;
}

long allocated_memory() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<long>(info.uordblks + info.hblkhd);
}

int open_descriptors() {
  DIR* const directory = opendir("/proc/self/fd");
  if (directory == nullptr) return -1;
  int count = -3;  // ".", ".." and the descriptor that reads them
  while (readdir(directory) != nullptr) ++count;
  closedir(directory);
  return count;
}

double processor_time() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// ---- counting ------------------------------------------------------------------------

static bool starts_with(const std::string& line, const char* start) {
  return line.compare(0, std::strlen(start), start) == 0;
}

static void count_line(const std::string& line, LogLines& lines) {
  static constexpr const char* kOthers[] = {
      "WgrContext ", "WHD ", "AgGes ",
      "init_gesture_handle 68: ---init_gesture_handle success", "set_gesture_model "};
  int number = 0;
  int end = 0;
  if (line == "update_gesture 115: update_gesture start") {
    ++lines.starts;
    return;
  }
  if (std::sscanf(line.c_str(), "update_gesture 123: ---gestype---:%d%n", &number,
                  &end) == 1 &&
      static_cast<size_t>(end) == line.size()) {
    ++lines.classes;
    return;
  }
  if (std::sscanf(line.c_str(),
                  "predict 336: nTemplate:%*d, nclasses:%*d, normalize:%*d, "
                  "havegravity:%d%n",
                  &number, &end) == 1 &&
      static_cast<size_t>(end) == line.size()) {
    ++lines.predictions;
    return;
  }
  for (const char* start : kOthers) {
    if (starts_with(line, start)) {
      ++lines.others;
      return;
    }
  }
  if (lines.torn++ < 10) std::fprintf(stderr, "no line of the log: '%s'\n", line.c_str());
}

// Counts a file and removes it.
static void count_file(const std::string& path, LogLines& lines) {
  std::FILE* const file = std::fopen(path.c_str(), "r");
  if (file == nullptr) return;
  char* text = nullptr;
  size_t room = 0;
  ssize_t size = 0;
  while ((size = getline(&text, &room, file)) > 0) {
    if (text[size - 1] == '\n')
      --size;
    else
      ++lines.torn;
    count_line(std::string(text, static_cast<size_t>(size)), lines);
  }
  std::free(text);
  std::fclose(file);
  unlink(path.c_str());
}

static std::string aside(long number) {
  return std::string(kWgrLogPath) + "." + std::to_string(number);
}

static void rotate_until(int stop, int results) {
  LogLines lines;
  long files = 0;
  long counted = 0;
  pollfd ended = {stop, POLLIN, 0};
  while (poll(&ended, 1, kRotationPeriod) == 0) {
    if (rename(kWgrLogPath, aside(files).c_str()) == 0) ++files;
    while (counted + kFilesAside < files) count_file(aside(counted++), lines);
  }
  while (counted < files) count_file(aside(counted++), lines);
  count_file(kWgrLogPath, lines);
  const bool written = write(results, &lines, sizeof lines) == sizeof lines &&
                       write(results, &files, sizeof files) == sizeof files;
  _exit(written ? 0 : 1);
}

Rotation::Rotation() {
  int stop[2];
  int results[2];
  if (pipe(stop) != 0 || pipe(results) != 0) std::abort();
  process_ = fork();
  if (process_ < 0) std::abort();
  if (process_ == 0) {
    close(stop[1]);
    close(results[0]);
    rotate_until(stop[0], results[1]);
  }
  close(stop[0]);
  close(results[1]);
  stop_ = stop[1];
  results_ = results[0];
}

Rotation::~Rotation() {
  if (stop_ < 0) return;
  long files = 0;
  finish(files);
}

LogLines Rotation::finish(long& files) {
  LogLines lines;
  close(stop_);
  stop_ = -1;
  if (read(results_, &lines, sizeof lines) != sizeof lines ||
      read(results_, &files, sizeof files) != sizeof files) {
    std::fprintf(stderr, "the rotation failed\n");
    std::exit(1);
  }
  close(results_);
  waitpid(process_, nullptr, 0);
  return lines;
}
