// A file in some folder that vanishes with its object, and with the process, unless it is
// given a name.
//
// Where the file system can (ext4, XFS, Btrfs, tmpfs and others) it has no name at all,
// so not even SIGKILL leaves it behind. Elsewhere its name is one that nobody can guess,
// and SIGINT, SIGTERM, SIGHUP and the end of the process remove it.
#pragma once

#include <sys/types.h>

#include <string>

namespace wgr {

class TemporaryFile {
 public:
  enum class Name { kNoneIfPossible, kHidden };

  // Throws OutputError naming `for_file` when it cannot be made.
  TemporaryFile(const std::string& folder, const std::string& for_file,
                Name name = Name::kNoneIfPossible);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  int descriptor() const { return fd_; }

  // Puts it at a path of the same file system where nothing is; false with errno.
  bool become(const std::string& path);

  // Puts it where a file is. That file stays until this object is destroyed; restore()
  // brings it back. False with errno.
  bool replace(const std::string& path);
  bool restore(const std::string& path);

 private:
  bool get_hidden_name(const std::string& folder);

  int fd_ = -1;
  std::string hidden_;  // its name, or that of the file it replaced; empty: none
  bool exchanged_ = false;
};

// A name in the folder that nobody can guess.
std::string hidden_name(const std::string& folder);

// Removes the hidden files of all objects, for an end of the process without destructors.
void remove_hidden_files();

// Ends the process by the signal as if nobody had handled it, after
// remove_hidden_files().
[[noreturn]] void end_by_signal(int signal);

}  // namespace wgr
