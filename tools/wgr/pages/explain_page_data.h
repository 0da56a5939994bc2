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
// packed_series.h), in the order in which samples.js reads them: what a page shows first.
void write_explain_samples(const Explanation& explanation, const TextSink& sink);

// What a page shows of single motions and from near: the stretches of which every sample
// is kept, and the motions' traces. Uses up what was kept to be drawn.
void write_explain_details(Explanation& explanation, const TextSink& sink);

}  // namespace wgr
