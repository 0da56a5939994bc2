// What is wrong with a stream, for programs: an object for each finding, then a summary.
#pragma once

#include <array>
#include <nlohmann/json.hpp>

#include "diagnosis/diagnosis.h"

namespace wgr {

nlohmann::ordered_json finding_json(const Finding& finding);

// `wrist_answers`: how often the wrist detector says left, right and undecided.
nlohmann::ordered_json summary_json(const Diagnosis& diagnosis,
                                    const std::array<size_t, 3>& wrist_answers);

}  // namespace wgr
