// The model files as the library loads them, each content once.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace wgr::recorder {

struct LoadedModel {
  std::uint64_t hash = 0;
  std::size_t size = 0;
  std::uint8_t* bytes = nullptr;
  std::uint8_t flags = 0;     // see capture_format.h
  std::uint64_t segment = 0;  // that holds it
};

class Models {
 public:
  // The number, from 1, of what the file holds now; 0 when there is no room for it.
  std::uint32_t load(const char* path);
  // The same by the arguments of set_gesture_model(); 0 when they name none.
  std::uint32_t load(int wearer, int mode);
  std::uint32_t load_default() { return load(0, 1); }

  LoadedModel& at(std::uint32_t number) { return models_[number - 1]; }

 private:
  static constexpr std::size_t kMost = 64;

  std::array<LoadedModel, kMost> models_;
  std::size_t count_ = 0;
};

}  // namespace wgr::recorder
