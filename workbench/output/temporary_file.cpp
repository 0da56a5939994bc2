#include "output/temporary_file.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "base/errors.h"
#include "output/hold_signals.h"

namespace wgr {

namespace {

// The hidden names that are in use, for a signal handler to read: entries are never
// freed.
struct Entry {
  char path[PATH_MAX];
  std::atomic<bool> used = false;
  Entry* next = nullptr;
};

}  // namespace

static std::atomic<Entry*> entries = nullptr;

void remove_hidden_files() {
  for (Entry* entry = entries; entry != nullptr; entry = entry->next) {
    if (entry->used) unlink(entry->path);
  }
}

void end_by_signal(int signal) {
  remove_hidden_files();
  std::signal(signal, SIG_DFL);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
  pthread_kill(pthread_self(), signal);
  _exit(128 + signal);
}

// What is ignored, as by nohup, or handled already stays so.
static void clean_up_at_every_end() {
  std::atexit(remove_hidden_files);
  for (const int signal : kEndingSignals) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler != SIG_DFL) continue;
    action.sa_handler = end_by_signal;
    sigaction(signal, &action, nullptr);
  }
}

// Before the file is made, so that no signal comes between.
static void remember(const std::string& path) {
  static const bool once = (clean_up_at_every_end(), true);
  static_cast<void>(once);
  if (path.size() >= PATH_MAX) return;  // no file can be made there either
  Entry* entry = entries;
  while (entry != nullptr && entry->used) entry = entry->next;
  const bool made = entry == nullptr;
  if (made) entry = new Entry;
  std::memcpy(entry->path, path.c_str(), path.size() + 1);
  entry->used = true;
  if (made) {
    entry->next = entries;
    entries = entry;
  }
}

static void forget(const std::string& path) {
  for (Entry* entry = entries; entry != nullptr; entry = entry->next) {
    if (entry->used && path == entry->path) entry->used = false;
  }
}

std::string hidden_name(const std::string& folder) {
  std::array<unsigned char, 12> random = {};
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    throw OutputError(folder, errno);
  }
  std::string name = folder + "/.wgr-";
  for (const unsigned char byte : random) {
    static constexpr char kDigits[] = "0123456789abcdef";
    name += kDigits[byte >> 4];
    name += kDigits[byte & 15];
  }
  return name;
}

static std::string own_path(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

// -1 where the file system, or a missing /proc, does not allow it.
static int open_nameless(const std::string& folder) {
#ifdef O_TMPFILE
  const int fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
  if (fd < 0 || access(own_path(fd).c_str(), F_OK) == 0) return fd;
  close(fd);
#endif
  return -1;
}

TemporaryFile::TemporaryFile(const std::string& folder, const std::string& for_file,
                             Name name) {
  if (name == Name::kNoneIfPossible) fd_ = open_nameless(folder);
  if (fd_ >= 0) return;
  hidden_ = hidden_name(folder);
  remember(hidden_);
  fd_ = open(hidden_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (fd_ >= 0) return;
  const int reason = errno;
  forget(hidden_);
  throw OutputError(for_file, reason);
}

TemporaryFile::~TemporaryFile() {
  close(fd_);
  if (hidden_.empty()) return;
  unlink(hidden_.c_str());
  forget(hidden_);
}

bool TemporaryFile::become(const std::string& path) {
  if (hidden_.empty()) {
    return linkat(AT_FDCWD, own_path(fd_).c_str(), AT_FDCWD, path.c_str(),
                  AT_SYMLINK_FOLLOW) == 0;
  }
  if (link(hidden_.c_str(), path.c_str()) == 0) return true;
  // A file system without links to files.
  return errno != EEXIST && rename(hidden_.c_str(), path.c_str()) == 0;
}

bool TemporaryFile::get_hidden_name(const std::string& folder) {
  if (!hidden_.empty()) return true;
  const std::string name = hidden_name(folder);
  if (!become(name)) return false;
  hidden_ = name;
  remember(hidden_);
  return true;
}

bool TemporaryFile::replace(const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  if (!get_hidden_name(folder.empty() ? "." : folder.string())) return false;
  exchanged_ =
      renameat2(AT_FDCWD, hidden_.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) == 0;
  if (exchanged_) return true;
  const bool unable = errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
  return unable && rename(hidden_.c_str(), path.c_str()) == 0;
}

bool TemporaryFile::restore(const std::string& path) {
  return exchanged_ && renameat2(AT_FDCWD, hidden_.c_str(), AT_FDCWD, path.c_str(),
                                 RENAME_EXCHANGE) == 0;
}

}  // namespace wgr
