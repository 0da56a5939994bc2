// The explanation as text for people and as JSON for programs.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "base/text_sink.h"
#include "text/layout.h"
#include "verdict/verdict.h"

namespace wgr {

// What of an explanation is written.
struct TextSelection {
  bool all = false;              // every motion and every rest as well
  std::optional<double> at;      // only what happened then, s
  std::optional<size_t> motion;  // only this one, from 1
  std::string only;              // only these: missed, unexpected, or the name of a cause

  bool is_part() const { return at || motion || !only.empty(); }
};

// What TextSelection::only may be.
std::vector<std::string> selectable();

// The verdict, and what was missed; or the part that is selected. Throws UsageError for
// a motion that there is none of.
void write_text_explanation(const Explanation& explanation, const Verdict& verdict,
                            const TextSelection& selection, const Layout& layout,
                            const TextSink& sink);

// The object that write_json_explanation() writes, without the motions and the rests.
nlohmann::ordered_json explanation_head(const Explanation& explanation,
                                        const Verdict& verdict);

// One object with everything but the samples and traces; what is not a number is null.
// With `indent` a blank a level and an end of the last line, otherwise on one line.
void write_json_explanation(const Explanation& explanation, const Verdict& verdict,
                            bool indent, const TextSink& sink);

}  // namespace wgr
