#include "output/output_files.h"

#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "base/errors.h"
#include "output/hold_signals.h"
#include "output/standard_output.h"
#include "output/target.h"
#include "output/temporary_file.h"

namespace wgr {

namespace fs = std::filesystem;

static constexpr size_t kBuffered = size_t{1} << 16;  // bytes

static void write_all(int fd, std::string_view bytes, const std::string& path) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<size_t>(written));
    } else if (errno == EAGAIN) {  // a pipe that somebody made not to block
      pollfd wanted = {fd, POLLOUT, 0};
      poll(&wanted, 1, -1);
    } else if (errno != EINTR) {
      throw OutputError(path, errno);
    }
  }
}

// One output. commit() calls these three in this order; take_back() undoes what
// put_in_place() did, if only in part.
class OutputFiles::Part : public OutputFile {
 public:
  virtual void finish() {}
  virtual void put_in_place() {}
  virtual void take_back() {}
};

class OutputFiles::StraightPart : public OutputFiles::Part {
 public:
  explicit StraightPart(const Target& target) : target_(target) {
    if (target.kind == Target::Kind::kInPlace) {
      do {
        opened_ = ::open(target.given.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
      } while (opened_ < 0 && errno == EINTR);
      if (opened_ < 0) throw OutputError(target.given, errno);
    }
  }
  ~StraightPart() override {
    if (opened_ >= 0) close(opened_);
  }

  void write(std::string_view bytes) override {
    if (target_.kind == Target::Kind::kResults) std::fflush(results());
    write_all(opened_ >= 0 ? opened_ : target_.descriptor, bytes, name());
  }
  void finish() override {
    if (opened_ >= 0 && close(opened_) != 0) throw OutputError(name(), errno);
    opened_ = -1;
  }

 private:
  std::string name() const {
    return target_.given == kStandardOutput ? "standard output" : target_.given;
  }

  const Target target_;
  int opened_ = -1;
};

class OutputFiles::FilePart : public OutputFiles::Part {
 public:
  explicit FilePart(const Target& target)
      : target_(target), path_(target.path()), file_(target.folder, target.given) {
    if (target.kind == Target::Kind::kNew) return;
    const struct stat& old = target.about;
    struct stat own = {};
    // Meanwhile only those may read it who could read what it replaces.
    bool kept =
        fchmod(file_.descriptor(), 0600) == 0 && fstat(file_.descriptor(), &own) == 0;
    if (own.st_uid != old.st_uid || own.st_gid != old.st_gid) {
      kept = kept && fchown(file_.descriptor(), old.st_uid, old.st_gid) == 0;
    }
    kept = kept && fchmod(file_.descriptor(), old.st_mode & 07777) == 0;
    if (!kept) throw OutputError(target.given, errno);
  }

  void write(std::string_view bytes) override {
    buffer_ += bytes;
    if (buffer_.size() >= kBuffered) flush();
  }

  void finish() override {
    flush();
    // Some file systems report a full disk when a descriptor is closed.
    const int copy = dup(file_.descriptor());
    if (copy < 0 || close(copy) != 0) throw OutputError(target_.given, errno);
  }

  void put_in_place() override {
    make_folders();
    placed_ =
        target_.kind == Target::Kind::kNew ? file_.become(path_) : file_.replace(path_);
    if (!placed_) throw OutputError(target_.given, errno);
  }

  void take_back() override {
    if (placed_ && target_.kind == Target::Kind::kNew) unlink(path_.c_str());
    if (placed_ && target_.kind == Target::Kind::kReplaced) file_.restore(path_);
    while (!folders_.empty()) {
      rmdir(folders_.back().c_str());
      folders_.pop_back();
    }
  }

 private:
  void flush() {
    write_all(file_.descriptor(), buffer_, target_.given);
    buffer_.clear();
  }

  void make_folders() {
    fs::path folder = target_.folder;
    for (const fs::path& name : fs::path(target_.rest).parent_path()) {
      folder /= name;
      if (mkdir(folder.c_str(), 0777) == 0) {
        folders_.push_back(folder);
      } else if (errno != EEXIST) {
        throw OutputError(target_.given, errno);
      }
    }
  }

  const Target target_;
  const std::string path_;
  TemporaryFile file_;
  std::string buffer_;
  std::vector<std::string> folders_;  // that were made for it
  bool placed_ = false;
};

class OutputFiles::RemovedPart : public OutputFiles::Part {
 public:
  explicit RemovedPart(const std::string& path) : path_(path) {}
  ~RemovedPart() override {
    if (!aside_.empty()) unlink(aside_.c_str());
  }

  void write(std::string_view) override {}
  void put_in_place() override {
    const fs::path folder = fs::path(path_).parent_path();
    const std::string name = hidden_name(folder.empty() ? "." : folder.string());
    if (rename(path_.c_str(), name.c_str()) == 0) {
      aside_ = name;
    } else if (errno != ENOENT) {
      throw OutputError(path_, errno);
    }
  }
  void take_back() override {
    if (!aside_.empty() && rename(aside_.c_str(), path_.c_str()) == 0) aside_.clear();
  }

 private:
  const std::string path_;
  std::string aside_;  // its name until it is deleted; empty: not moved
};

// Each file holds a descriptor until all are there; a set of recordings has many.
static void allow_many_descriptors() {
  rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

OutputFiles::OutputFiles() { allow_many_descriptors(); }
OutputFiles::~OutputFiles() = default;

OutputFile& OutputFiles::open(const std::string& path) {
  const Target target = find_target(path);
  if (target.is_file()) {
    parts_.push_back(std::make_unique<FilePart>(target));
  } else {
    parts_.push_back(std::make_unique<StraightPart>(target));
  }
  return *parts_.back();
}

void OutputFiles::write(const std::string& path, std::string_view bytes) {
  open(path).write(bytes);
}

void OutputFiles::remove(const std::string& path) {
  parts_.push_back(std::make_unique<RemovedPart>(path));
}

void OutputFiles::commit() {
  for (const auto& part : parts_) part->finish();
  const HoldSignals hold;
  size_t begun = 0;
  try {
    while (begun < parts_.size()) parts_[begun++]->put_in_place();
  } catch (...) {
    while (begun > 0) parts_[--begun]->take_back();
    throw;
  }
  parts_.clear();  // what was replaced and removed is deleted here
}

void write_output(const std::string& path, std::string_view bytes) {
  OutputFiles files;
  files.write(path, bytes);
  files.commit();
}

}  // namespace wgr
