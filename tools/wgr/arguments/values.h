// What the value of an option may be; for CLI::Option::transform(), so that the option's
// own conversion never sees anything else.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "base/numbers.h"

namespace wgr {

CLI::Validator within(const NumberRange& range);

// As many numbers as `names`, such as X,Y,Z, has names, with commas between them.
CLI::Validator each_within(const NumberRange& range, const std::string& names,
                           const std::string& unit);

// One of some words, which the option takes as they are.
CLI::Validator one_of(const std::vector<std::string>& words);

// One of some words, each for a value of an enumeration.
template <class Enum>
CLI::Validator one_of(const std::vector<std::pair<std::string, Enum>>& words) {
  std::vector<std::string> names;
  for (const auto& word : words) names.push_back(word.first);
  const CLI::Validator known = one_of(names);
  return CLI::Validator(
      [words, known](std::string& text) {
        const std::string wrong = known(text);
        for (const auto& [name, value] : words) {
          if (wrong.empty() && text == name) {
            text = std::to_string(static_cast<int>(value));
            break;
          }
        }
        return wrong;
      },
      "");
}

// The name of a file or folder: anything but nothing.
CLI::Validator path_name();

// The same as the value of an option: no option before which a value was forgotten.
CLI::Validator path_value();

// An option whose value `check` lets pass, and which the help names `value`.
template <class T>
CLI::Option* add_value(CLI::App& command, const std::string& names, T& to,
                       const std::string& what, const CLI::Validator& check,
                       const std::string& value) {
  return command.add_option(names, to, what)->transform(check)->option_text(value);
}

}  // namespace wgr
