// JSON as text, whatever bytes its strings hold.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace wgr {

// On one line, or with `indent` blanks a level. What is not UTF-8, as a file's name need
// not be, is written as the replacement character.
inline std::string json_text(const nlohmann::ordered_json& json, int indent = -1) {
  return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace wgr
