// An evaluation for people, for programs, and against what is required of it.
#pragma once

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "evaluation/evaluation.h"

namespace wgr {

std::string text_of(const Evaluation& result, const Provenance& provenance);
nlohmann::ordered_json to_json(const Evaluation& result, const Provenance& provenance);

// The columns of a confusion matrix: labels in their order, then what is no label.
std::vector<std::string> outcome_columns(const std::set<std::string>& outcomes);

// A figure that must be reached.
struct Requirement {
  std::string figure;
  double value;
};

// What is wrong with a text that should be such as accuracy=0.95; empty if nothing is.
std::string fault_in_requirement(const std::string& text);

// From such a text; throws UsageError.
Requirement parse(const std::string& text);

// What is not as required, in words; empty if nothing is.
std::string failure_of(const Requirement& requirement, const Evaluation& result);

}  // namespace wgr
