// Two evaluations side by side: what changed, for people and for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace wgr {

// What wgr eval --json printed, without what it may hold besides and without what was not
// measured. Throws UsageError for a file that is no such thing.
nlohmann::ordered_json read_evaluation(const std::string& path);

// {"with": FILE, "same_set": whether both have as many repetitions and as much
// background, "changes": [{"group", "name", "unit", "old", "new", "low_95", "high_95",
// "chance", "better"}]}: all figures, then what changed of the classes, of what was
// reported for them, and of the causes of misses, what changed most first. A side that
// has no such figure is null.
//
// With 95 % confidence the difference, new less old, is in the interval; of counts it is
// that of their shares. `chance`: 0 is in it, so that the difference may be none. All
// three are null for what has no interval: a bound, the longest latency, and figures of
// evaluations that do not say what they were counted from. Both sides are taken as found
// on recordings of their own: on the same ones less of a difference would be chance.
// `better` is null where that cannot be said, and by chance nothing is.
nlohmann::ordered_json comparison(const nlohmann::ordered_json& old,
                                  const nlohmann::ordered_json& now,
                                  const std::string& file);

std::string comparison_text(const nlohmann::ordered_json& compared);

}  // namespace wgr
