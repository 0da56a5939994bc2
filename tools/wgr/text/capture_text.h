// The text about captures.
#pragma once

#include <string>

#include "capture/reenactment.h"

namespace wgr {

// A count with commas: 1,234,567.
std::string with_commas(std::uint64_t count);

std::string reenactment_text(const ReenactmentTotals& totals, const std::string& name);
std::string reenactment_json(const ReenactmentTotals& totals);

// "2 damaged blocks, the first at offset 8192; 1 torn record"; empty where nothing is
// damaged.
std::string damage_text(const CaptureReader& reader);

}  // namespace wgr
