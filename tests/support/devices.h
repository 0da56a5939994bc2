// Devices of a test's own: a fault in what writes to them must not cost the machine's.
#pragma once

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <filesystem>
#include <string>

// What is written into the first is gone; into the second nothing can be written.
inline constexpr unsigned kNullDevice = 3;
inline constexpr unsigned kFullDevice = 7;

// Makes one at `path`. Who may make none, and so can replace none either, gets a link to
// the machine's.
inline void make_device(const std::string& path, unsigned device) {
  static constexpr unsigned kMemoryDevices = 1;
  if (mknod(path.c_str(), S_IFCHR | 0666, makedev(kMemoryDevices, device)) == 0) return;
  std::filesystem::create_symlink(device == kNullDevice ? "/dev/null" : "/dev/full",
                                  path);
}
