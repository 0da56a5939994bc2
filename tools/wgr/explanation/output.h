// The explanation as text for people and as JSON for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "explanation/explanation.h"

inline constexpr size_t kTemplatesShown = 5;

std::string as_text(const Explanation& explanation);

// One object with everything but the samples and traces. What is not a number is null.
nlohmann::ordered_json as_json(const Explanation& explanation);
