// What the host of a capture passed to the library, for a run over the samples of a
// handle.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "WgrTypes.h"
#include "classifier/Gmodel.h"

namespace wgr {

// What the capture does not hold is empty.
struct CapturedSettings {
  std::optional<int> rate;            // samples per second
  std::optional<Point3Df> gyro_bias;  // deg/s
  int shortest = -1;                  // motion, samples; below 1: the library's own
  std::optional<int> level;           // of sensitivity
  std::shared_ptr<const Gmodel> model;
};

// Of the given handle, or the only one with samples. Of settings that changed on the way
// the last ones, which standard error says. Throws UsageError for what is no capture, or
// where the handle must be chosen.
CapturedSettings captured_settings(const std::string& path,
                                   std::optional<unsigned> handle);

}  // namespace wgr
