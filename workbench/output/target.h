// What the path of an output leads to.
#pragma once

#include <sys/stat.h>

#include <string>

namespace wgr {

inline constexpr char kStandardOutput[] = "-";

struct Target {
  enum class Kind {
    kResults,     // standard output, by "-" or by a name of it such as /dev/stdout
    kDescriptor,  // another one that the caller opened, such as /dev/stderr
    kInPlace,     // a device or a FIFO: what is written goes straight into it
    kReplaced,    // a regular file
    kNew          // nothing so far
  };
  Kind kind;
  std::string given;  // as the user wrote it
  // Of kReplaced and kNew: the folder, or the nearest one that exists, and the path from
  // there. All links are followed.
  std::string folder;
  std::string rest;
  int descriptor = -1;     // of kResults and kDescriptor
  struct stat about = {};  // of what is there; of kNew: of the folder

  std::string path() const;  // where it is, of kReplaced and kNew; else as it was given
  bool is_file() const { return kind == Kind::kReplaced || kind == Kind::kNew; }
};

// Throws UsageError for what cannot be written: a folder, a file that is write-protected
// or whose owner could not be kept, a folder that nothing can be made in, a socket.
Target find_target(const std::string& path);

// One and the same file, or what will be: writing both would lose one.
bool is_same(const Target& a, const Target& b);

}  // namespace wgr
