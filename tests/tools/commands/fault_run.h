// Runs the program in a folder of its own while something goes wrong, and sees all that
// is there before and afterwards.
#pragma once

#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// What is at a path, links not followed.
struct Entry {
  struct stat about;
  std::string content;  // of a regular file; of a link, where it leads
};

// All below a folder, by the path from there.
using Tree = std::map<std::string, Entry>;
Tree tree_of(const std::string& folder);

// Where one of the three standard descriptors of a run leads.
struct Stream {
  enum Kind { kUsual, kClosed, kWithoutReader, kFile } kind = kUsual;
  std::string path = "";  // of kFile
};

struct Run {
  std::vector<std::string> words;  // behind the program's name
  Stream in;                       // usually /dev/null
  Stream out, err;                 // usually taken
  std::optional<rlim_t> longest_file;
  bool as_nobody = false;           // as a user who is not root
  std::string temporary;            // TMPDIR
  std::vector<std::string> fifos;   // that somebody reads
  int signal = 0;                   // that it is sent
  std::chrono::microseconds delay;  // from its start, or from the first change below
  std::string watched;              // a folder; empty: the start counts
};

struct RunResult {
  int status = 0;  // of its exit; -1 when a signal ended it
  int signal = 0;  // that ended it
  bool hung = false;
  std::string out, err;
  std::map<std::string, std::string> fifos;  // what came out
  std::chrono::microseconds took;
};

// Runs `program` in `folder`. One that does not end is killed.
RunResult run_in(const std::string& folder, const std::string& program, const Run& run);

// What this machine forbids.
struct CannotTry : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Lets this process mount file systems that nobody else sees; whether that can be had.
// Without it what needs a mount throws CannotTry.
bool may_mount();

void mount_disk(const std::string& folder, size_t bytes, size_t files = 0);
void mount_read_only(const std::string& folder);
void unmount(const std::string& folder);

// Gives all of a folder to the user of as_nobody; false where that is not allowed.
bool give_to_nobody(const std::string& folder);

// A device as in /dev, such as "full"; one that is mounted where none can be made.
void make_device(const std::string& path, const std::string& name);
