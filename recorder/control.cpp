#include "control.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "settings.h"

namespace wgr::recorder {

static void path_of(const char* folder, char* path) {
  std::snprintf(path, kPathSize, "%.1000s/control", folder);
}

void Control::start(const char* folder) {
  char path[kPathSize];
  path_of(folder, path);
  struct stat about;
  if (lstat(path, &about) != 0) return;
  inode_ = about.st_ino;
  modified_ = about.st_mtim;
  used_ = about.st_size;
}

std::string_view Control::read_new(const char* folder, char* text, std::size_t size) {
  char path[kPathSize];
  path_of(folder, path);
  struct stat about;
  if (lstat(path, &about) != 0 || !S_ISREG(about.st_mode)) return {};
  const bool same = about.st_ino == inode_ && about.st_size >= used_;
  if (same && about.st_size == used_ && about.st_mtim.tv_sec == modified_.tv_sec &&
      about.st_mtim.tv_nsec == modified_.tv_nsec) {
    return {};
  }
  const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY);
  if (fd < 0) return {};
  // Appended lines are new ones; a file that was written anew is new as a whole.
  const bool appended = same && about.st_size > used_;
  const ssize_t got = pread(fd, text, size, appended ? used_ : 0);
  close(fd);
  inode_ = about.st_ino;
  modified_ = about.st_mtim;
  used_ = about.st_size;
  return {text, got > 0 ? static_cast<std::size_t>(got) : 0};
}

}  // namespace wgr::recorder
