// The explanation as one HTML page that needs no network.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "verdict/verdict.h"

namespace wgr {

// Throws UsageError, with what to do, when this program was built without the page.
void require_page();

// Uses up what was kept to be drawn.
std::string explain_page(Explanation& explanation, const Verdict& verdict);

// A page that leads to those of several recordings: {"folder", "recordings": [{"file",
// "page", "verdict", "error"}]}.
std::string index_page(const nlohmann::ordered_json& recordings);

}  // namespace wgr
