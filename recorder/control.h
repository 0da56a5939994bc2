// Orders to a recorder at work: lines in the file `control` of its folder.
//
// A file rather than a signal: it takes none of the host's signals away, interrupts no
// call, and can be written by whoever may write the folder. Looking for it costs one
// stat() in half a second.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string_view>

namespace wgr::recorder {

inline constexpr std::uint64_t kControlInterval = 500'000;  // us

class Control {
 public:
  // Remembers what is there: only what is written later counts.
  void start(const char* folder);

  // The lines that were written since, into `text`; empty when there are none.
  std::string_view read_new(const char* folder, char* text, std::size_t size);

 private:
  ino_t inode_ = 0;
  timespec modified_ = {};
  off_t used_ = 0;  // of the file
};

}  // namespace wgr::recorder
