// The explanation as text for people and as JSON for programs.
#pragma once

#include "base/text_sink.h"
#include "explanation/explanation.h"

namespace wgr {

void write_text_explanation(const Explanation& explanation, const TextSink& sink);

// One object with everything but the samples and traces; what is not a number is null.
// With `indent` a blank a level and an end of the last line, otherwise on one line.
void write_json_explanation(const Explanation& explanation, bool indent,
                            const TextSink& sink);

}  // namespace wgr
