// The verdict for programs and for the page.
#pragma once

#include <nlohmann/json.hpp>

#include "verdict/verdict.h"

namespace wgr {

nlohmann::ordered_json verdict_json(const Verdict& verdict,
                                    const Explanation& explanation);

}  // namespace wgr
