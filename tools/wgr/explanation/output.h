// The explanation as text for people and as JSON for programs.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "explanation/explanation.h"

// Takes a text piece by piece.
using TextSink = std::function<void(std::string_view)>;

void write_text_account(const Explanation& explanation, const TextSink& sink);

// One object with everything but the samples and traces. What is not a number is null.
nlohmann::ordered_json as_json(const Explanation& explanation);

// The same as text, a blank a level, without ever holding all of it.
void write_json_account(const Explanation& explanation, const TextSink& sink);
