#include "models.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "capture_format.h"

namespace wgr::recorder {

using namespace wgr::capture;

static constexpr int kWearers = 2;
static constexpr int kModes = 3;
static constexpr const char* kPaths[kWearers * kModes] = {
    "/usr/share/GestureModel/olvo_model_5_ow/hgr_olvo.xml",
    "/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo.xml",
    "/usr/share/GestureModel/olvo_model_5_mix/hgr_olvo.xml",
    "/usr/share/GestureModel/olvo_model_5r_ow/hgr_olvo.xml",
    "/usr/share/GestureModel/olvo_model_5r_fb/hgr_olvo.xml",
    "/usr/share/GestureModel/olvo_model_5r_mix/hgr_olvo.xml"};
static constexpr std::size_t kMostBytes = 4'000'000;  // of a model; ours have 40,000

// All that is in the file; false when it is none, or too large.
static bool read_all(int fd, LoadedModel& model) {
  struct stat about;
  if (fstat(fd, &about) != 0 || !S_ISREG(about.st_mode) ||
      static_cast<std::uint64_t>(about.st_size) > kMostBytes) {
    return false;
  }
  const auto size = static_cast<std::size_t>(about.st_size);
  model.bytes = static_cast<std::uint8_t*>(std::malloc(size + 1));
  if (model.bytes == nullptr) return false;
  // One byte more than there should be: a file that grows meanwhile shows.
  while (model.size <= size) {
    const ssize_t got = read(fd, model.bytes + model.size, size + 1 - model.size);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    model.size += static_cast<std::size_t>(got);
  }
  if (model.size != size) model.flags = kModelChanged;
  return true;
}

static std::uint64_t hash_of(const LoadedModel& model) {
  std::uint64_t hash = 0xCBF29CE484222325u ^ model.flags;
  for (std::size_t i = 0; i < model.size; ++i) {
    hash = (hash ^ model.bytes[i]) * 0x100000001B3u;
  }
  return hash;
}

std::uint32_t Models::load(const char* path) {
  LoadedModel model;
  const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0 || !read_all(fd, model)) {
    std::free(model.bytes);
    model = LoadedModel();
    model.flags = kModelMissing;
  }
  if (fd >= 0) close(fd);
  model.hash = hash_of(model);
  for (std::size_t i = 0; i < count_; ++i) {
    const LoadedModel& known = models_[i];
    if (known.hash == model.hash && known.size == model.size &&
        known.flags == model.flags &&
        (model.size == 0 || std::memcmp(known.bytes, model.bytes, model.size) == 0)) {
      std::free(model.bytes);
      return static_cast<std::uint32_t>(i + 1);
    }
  }
  if (count_ == kMost) {
    std::free(model.bytes);
    return 0;
  }
  models_[count_++] = model;
  return static_cast<std::uint32_t>(count_);
}

std::uint32_t Models::load(int wearer, int mode) {
  if (wearer < 0 || wearer >= kWearers || mode < 0 || mode >= kModes) return 0;
  return load(kPaths[kModes * wearer + mode]);
}

}  // namespace wgr::recorder
