// Two evaluations side by side: what changed, for people and for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace wgr {

// What wgr eval --json printed, without what it may hold besides and without what was not
// measured. Throws UsageError for a file that is no such thing.
nlohmann::ordered_json read_evaluation(const std::string& path);

// {"with": FILE, "same_set": whether both have as many repetitions and as much
// background, "changes": [{"group", "name", "unit", "old", "new", "better"}]}: all
// figures, then what changed of the classes, of what was reported for them, and of the
// causes of misses, what changed most first. `better` is null where that cannot be said;
// a side that has no such figure is null.
nlohmann::ordered_json comparison(const nlohmann::ordered_json& old,
                                  const nlohmann::ordered_json& now,
                                  const std::string& file);

std::string comparison_text(const nlohmann::ordered_json& compared);

}  // namespace wgr
