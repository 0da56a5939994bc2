// wgr replay of a capture: every call again, every answer compared.
#pragma once

#include <string>

namespace wgr {

// Prints what came out; ends with kExitFindings when an answer differs.
void reenact_capture(const std::string& path, bool json);

}  // namespace wgr
