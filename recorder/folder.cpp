#include "folder.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "settings.h"

namespace wgr::recorder {

namespace {

struct Found {
  std::uint64_t bytes = 0;
  char oldest[kPathSize] = "";
  std::uint64_t oldest_bytes = 0;
};

}  // namespace

static bool is_capture(const char* name) {
  const std::size_t length = std::strlen(name);
  constexpr std::size_t kEnd = sizeof kSuffix - 1;
  return length > kEnd && std::strcmp(name + length - kEnd, kSuffix) == 0;
}

static bool is_older(const timespec& a, const timespec& b) {
  return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

static bool look_through(const char* folder, const char* open, Found& found) {
  DIR* const entries = opendir(folder);
  if (entries == nullptr) return false;
  timespec oldest_time = {};
  while (const dirent* const entry = readdir(entries)) {
    if (!is_capture(entry->d_name)) continue;
    char path[kPathSize];
    const int length = std::snprintf(path, sizeof path, "%s/%s", folder, entry->d_name);
    struct stat about;
    if (length >= static_cast<int>(sizeof path) || lstat(path, &about) != 0 ||
        !S_ISREG(about.st_mode)) {
      continue;
    }
    const auto size = static_cast<std::uint64_t>(about.st_size);
    found.bytes += size;
    if (std::strcmp(path, open) == 0) continue;
    if (found.oldest[0] == '\0' || is_older(about.st_mtim, oldest_time)) {
      oldest_time = about.st_mtim;
      found.oldest_bytes = size;
      std::strcpy(found.oldest, path);
    }
  }
  closedir(entries);
  return true;
}

bool make_space(const char* folder, std::uint64_t more, std::uint64_t most, bool drops,
                const char* open) {
  for (;;) {
    Found found;
    if (!look_through(folder, open, found)) return false;
    if (found.bytes + more <= most) return true;
    if (!drops || found.oldest[0] == '\0' || unlink(found.oldest) != 0) return false;
  }
}

}  // namespace wgr::recorder
