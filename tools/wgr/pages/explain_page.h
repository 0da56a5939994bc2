// The explanation as one HTML page that needs no network.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "verdict/verdict.h"

namespace wgr {

// What a page's footer says of how it was made: nothing of when, so that the same
// command over the same files gives the same bytes.
struct PageOrigin {
  std::string version;
  std::string command;
  std::string model_sha256;
};

// Uses up what was kept to be drawn.
std::string explain_page(Explanation& explanation, const Verdict& verdict,
                         const PageOrigin& origin);

// A page that leads to those of several recordings: {"folder", "recordings": [{"file",
// "page", "verdict", "error"}]}.
std::string index_page(const nlohmann::ordered_json& recordings);

}  // namespace wgr
