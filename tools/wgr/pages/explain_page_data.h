// What the page of wgr explain draws: JSON for what is few or text, bytes for what is
// many and a number.
#pragma once

#include <nlohmann/json.hpp>

#include "base/text_sink.h"
#include "verdict/verdict.h"

namespace wgr {

// The explanation's head with the verdict, and of motions and rests what is text.
nlohmann::ordered_json explain_json(const Explanation& explanation,
                                    const Verdict& verdict);

// Times, samples, and the motions' and rests' numbers, one series behind the other (see
// packed_series.h), in the order in which samples.js reads them. Uses up what was kept to
// be drawn.
void write_explain_samples(Explanation& explanation, const TextSink& sink);

}  // namespace wgr
