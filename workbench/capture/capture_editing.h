// Captures made of captures: a part of one, what is whole of one, one without names and
// times.
#pragma once

#include <optional>
#include <string>

#include "output/output_files.h"

namespace wgr {

struct CaptureEdit {
  double begin = 0.0;  // s since the capture's start; what is before is left out
  double end = 1e18;
  std::optional<unsigned> handle;  // alone
  bool anonymous = false;          // without clock, process, label and texts of marks
};

// Returns, where the capture ends before the part begins, how long it lasts, s. Throws
// CaptureError.
std::optional<double> edit_capture(const std::string& path, const CaptureEdit& edit,
                                   OutputFile& file);

}  // namespace wgr
