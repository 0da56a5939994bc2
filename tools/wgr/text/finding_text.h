// What was found in a stream and what to do about it, in words.
#pragma once

#include <string>

#include "diagnosis/diagnosis.h"

namespace wgr {

struct FindingText {
  std::string what;
  std::string remedy;
  std::string call = {};  // the option or call that does it; may be empty
};

FindingText finding_text(const Finding& finding);

}  // namespace wgr
