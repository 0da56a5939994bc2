// The host's handles, as the recorder knows them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "WgrInterface.h"
#include "sample_coder.h"

namespace wgr::recorder {

struct Handle {
  WgrHandle pointer = nullptr;
  std::uint32_t id = 0;
  std::uint8_t flags = 0;  // as in a kHandle record
  capture::InitArguments init = {};
  int level = 0;            // of sensitivity
  std::uint32_t model = 0;  // of Models; 0: not known
  WgGestureEventCb callback = nullptr;
  void* user_data = nullptr;
  int callbacks = 0;  // of the host that are running

  // What the reader knows of it.
  std::uint64_t segment = 0;  // that describes the handle
  std::uint64_t block = 0;    // that the coder is in
  SampleCoder coder;
  std::uint64_t last_time = 0;      // of a sample, us
  std::uint64_t last_interval = 0;  // us
  Point3Df last_acc = {0.0, 0.0, 0.0};
};

// Found by their pointers. Memory for a handle may be missing; it then is not recorded.
class Handles {
 public:
  Handle* find(WgrHandle pointer) const;
  Handle* add(WgrHandle pointer, std::uint32_t id);
  void remove(WgrHandle pointer);

 private:
  bool grow();
  std::size_t place_of(WgrHandle pointer) const;

  Handle** table_ = nullptr;
  std::size_t size_ = 0;  // a power of two
  std::size_t count_ = 0;
};

}  // namespace wgr::recorder
