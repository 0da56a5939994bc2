// The samples of one handle of a capture, as a recording has them.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "capture/capture_reader.h"

namespace wgr {

struct CapturedSample {
  double t;  // s since the capture's start
  Point3Df acc;
  Point3Df gyro;
};

// How a handle was used.
struct CapturedUse {
  std::uint64_t samples = 0;
  std::uint64_t reports = 0;
  std::optional<capture::InitArguments> init;  // the last one
  std::optional<int> level;                    // of sensitivity, since then
  std::uint32_t model = 0;                     // the last one; 0: not known
  bool changes = false;                        // init or model, after the first sample
};

// Counts one record of its handle.
void count_use(const CaptureRecord& record, CapturedUse& use);

// How each handle of a capture was used. Reads all of it.
std::map<std::uint32_t, CapturedUse> uses_of(CaptureReader& reader);

// The handle to read: the given one, or the only one with samples. Throws CaptureError
// with the handles to choose from.
std::uint32_t choose_handle(const std::string& path, std::optional<std::uint32_t> given,
                            const std::map<std::uint32_t, CapturedUse>& uses);

class CaptureSamples {
 public:
  CaptureSamples(const std::string& path, std::optional<std::uint32_t> handle);

  // False at the end. Throws CaptureError for a sample that is not finite, which no
  // recording can hold, and what CaptureReader throws.
  bool next(CapturedSample& sample);
  std::uint64_t count() const { return count_; }  // so far

 private:
  const std::string path_;
  std::uint32_t handle_;
  CaptureReader reader_;
  std::uint64_t count_ = 0;
};

}  // namespace wgr
