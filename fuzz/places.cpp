#include "places.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "harness.h"

void prepare_places() {
  if (std::getenv("WGR_PRIVATE_PATHS") == nullptr) {
    std::fputs(
        "Run this as scripts/private-paths PROGRAM [ARG...]: it writes to\n"
        "/usr/share/GestureModel and /home/app.\n",
        stderr);
    std::exit(2);
  }
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  require(nowhere >= 0 && dup2(nowhere, STDOUT_FILENO) >= 0, "output can be silenced");
  close(nowhere);
  set_log(LogTo::kNowhere);
}

void set_log(LogTo where) {
  static LogTo present = LogTo::kFile;
  if (present == where && where != LogTo::kFile) return;
  present = where;
  unlink(kLogFile);
  if (where == LogTo::kFile) return;
  const char* const target =
      where == LogTo::kNullDevice ? "/dev/null" : "/home/app/missing/WgrLog.txt";
  require(symlink(target, kLogFile) == 0, "the log can be a link");
}

void write_whole_file(const std::string& path, const void* bytes, std::size_t size) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  require(file >= 0, "a file can be made");
  const auto* next = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = write(file, next, size);
    require(written > 0, "a file can be written");
    next += written;
    size -= static_cast<std::size_t>(written);
  }
  close(file);
}

std::string read_whole_file(const std::string& path) {
  std::string content;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return content;
  char buffer[4096];
  for (ssize_t got; (got = read(file, buffer, sizeof buffer)) > 0;) {
    content.append(buffer, static_cast<std::size_t>(got));
  }
  close(file);
  return content;
}
