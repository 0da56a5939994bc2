// What is wrong with a stream, for programs: an object for each finding, then a summary.
#pragma once

#include <nlohmann/json.hpp>

#include "diagnosis/diagnosis.h"

namespace wgr {

nlohmann::ordered_json finding_json(const Finding& finding);
nlohmann::ordered_json summary_json(const Diagnosis& diagnosis);

}  // namespace wgr
