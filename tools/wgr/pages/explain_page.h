// The explanation as one HTML page that needs no network.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "pages/shell.h"
#include "verdict/verdict.h"

namespace wgr {

// Uses up what was kept to be drawn.
std::string explain_page(Explanation& explanation, const Verdict& verdict,
                         const PageOrigin& origin);

// A page that leads to those of several recordings: {"folder", "recordings": [{"file",
// "page", "verdict", "error"}]}.
std::string index_page(const nlohmann::ordered_json& recordings,
                       const PageOrigin& origin);

}  // namespace wgr
