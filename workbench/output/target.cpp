#include "output/target.h"

#include <fcntl.h>
#include <grp.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <vector>

#include "base/errors.h"
#include "output/standard_output.h"

namespace wgr {

namespace fs = std::filesystem;

static constexpr int kMostLinks = 40;  // as the kernel follows

[[noreturn]] static void refuse(const std::string& path, const std::string& reason) {
  throw UsageError(path + ": cannot be written: " + reason);
}

[[noreturn]] static void refuse(const std::string& path, int error) {
  refuse(path, std::strerror(error));
}

std::string Target::path() const {
  return is_file() ? (fs::path(folder) / rest).string() : given;
}

static fs::path folder_of(const fs::path& path) {
  return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

// The number, if the path is an entry of this process's own table of descriptors; else
// -1.
static int own_descriptor(const fs::path& path) {
  const std::string name = path.filename();
  int number = -1;
  const auto [end, error] =
      std::from_chars(name.data(), name.data() + name.size(), number);
  if (error != std::errc() || end != name.data() + name.size()) return -1;
  std::error_code missing;
  const std::string folder = fs::canonical(folder_of(path), missing);
  const std::string own = "/proc/" + std::to_string(getpid()) + "/";
  const bool is_table =
      folder.compare(0, own.size(), own) == 0 && fs::path(folder).filename() == "fd";
  return is_table ? number : -1;
}

static Target open_descriptor(const std::string& given, int number) {
  Target target;
  target.given = given;
  target.kind =
      number == STDOUT_FILENO ? Target::Kind::kResults : Target::Kind::kDescriptor;
  target.descriptor = number == STDOUT_FILENO ? results_descriptor() : number;
  const int flags = fcntl(target.descriptor, F_GETFL);
  if (target.kind == Target::Kind::kDescriptor) {
    if (flags < 0) refuse(given, errno);
    if ((flags & O_ACCMODE) == O_RDONLY) refuse(given, "it is open for reading only");
  }
  fstat(target.descriptor, &target.about);
  return target;
}

static bool is_in_own_group(gid_t group) {
  if (group == getegid()) return true;
  std::vector<gid_t> groups(static_cast<size_t>(std::max(getgroups(0, nullptr), 0)));
  const int count = getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<size_t>(std::max(count, 0)));
  return std::find(groups.begin(), groups.end(), group) != groups.end();
}

static void require_usable_folder(const std::string& given, const std::string& folder) {
  if (access(folder.c_str(), W_OK | X_OK) == 0) return;
  refuse(given,
         "nothing can be made in the folder " + folder + ": " + std::strerror(errno));
}

static Target find_existing(const std::string& given, const fs::path& path,
                            const struct stat& about) {
  Target target;
  target.given = given;
  target.about = about;
  if (S_ISDIR(about.st_mode)) refuse(given, "it is a folder: name a file");
  if (S_ISSOCK(about.st_mode)) refuse(given, "it is a socket: name a file");
  if (access(path.c_str(), W_OK) != 0) refuse(given, errno);
  if (!S_ISREG(about.st_mode)) {
    target.kind = Target::Kind::kInPlace;
    return target;
  }
  target.kind = Target::Kind::kReplaced;
  target.folder = folder_of(path);
  target.rest = path.filename();
  if (geteuid() != 0 && (about.st_uid != geteuid() || !is_in_own_group(about.st_gid))) {
    refuse(given,
           "it belongs to another user, which could not be kept: name another file");
  }
  require_usable_folder(given, target.folder);
  return target;
}

static Target find_new(const std::string& given, const fs::path& path) {
  if (!path.has_filename()) refuse(given, "it names a folder: name a file");
  Target target;
  target.given = given;
  target.kind = Target::Kind::kNew;
  fs::path folder = folder_of(path);
  fs::path rest = path.filename();
  while (stat(folder.c_str(), &target.about) != 0) {
    if (errno != ENOENT) refuse(given, errno);
    rest = folder.filename() / rest;
    folder = folder_of(folder);
  }
  if (!S_ISDIR(target.about.st_mode)) refuse(given, ENOTDIR);
  // Folders that are missing hold no links, so ".." after them can be resolved.
  const fs::path plain = rest.lexically_normal();
  if (plain != rest) {
    Target found = find_target(folder / plain);
    found.given = given;
    return found;
  }
  target.folder = folder;
  target.rest = rest;
  struct stat about;
  if (lstat((folder / *rest.begin()).c_str(), &about) == 0) {
    refuse(given, (folder / *rest.begin()).string() + " leads nowhere");
  }
  require_usable_folder(given, target.folder);
  return target;
}

Target find_target(const std::string& given) {
  if (given == kStandardOutput) return open_descriptor(given, STDOUT_FILENO);
  if (given.empty()) throw UsageError("a file to write to has an empty name");
  fs::path path = given;
  for (int links = 0; links <= kMostLinks; ++links) {
    const int number = own_descriptor(path);
    if (number >= 0) return open_descriptor(given, number);
    struct stat about;
    if (lstat(path.c_str(), &about) != 0) {
      if (errno != ENOENT) refuse(given, errno);
      return find_new(given, path);
    }
    if (!S_ISLNK(about.st_mode)) return find_existing(given, path, about);
    std::error_code failed;
    const fs::path next = fs::read_symlink(path, failed);
    if (failed) refuse(given, failed.message());
    path = folder_of(path) / next;  // an absolute one stands for itself
  }
  refuse(given, ELOOP);
}

// Whether two of these can be the same at all: terminals and /dev/null serve many.
static bool has_identity(const Target& target) {
  return S_ISREG(target.about.st_mode) || S_ISFIFO(target.about.st_mode) ||
         target.kind == Target::Kind::kNew;
}

bool is_same(const Target& a, const Target& b) {
  if (a.kind == Target::Kind::kResults && b.kind == Target::Kind::kResults) return true;
  if ((a.kind == Target::Kind::kNew) != (b.kind == Target::Kind::kNew)) return false;
  return has_identity(a) && has_identity(b) && a.about.st_dev == b.about.st_dev &&
         a.about.st_ino == b.about.st_ino &&
         (a.kind != Target::Kind::kNew || a.rest == b.rest);
}

}  // namespace wgr
