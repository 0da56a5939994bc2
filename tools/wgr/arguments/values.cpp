#include "arguments/values.h"

#include <algorithm>

#include "base/foreign_text.h"
#include "base/suggestion.h"

namespace wgr {

CLI::Validator within(const NumberRange& range) {
  return CLI::Validator(
      [range](std::string& text) {
        const std::optional<double> value = number_of(text, range);
        if (!value) return wanted(range, text);
        // CLI11 takes a leading 0 for octal.
        if (range.whole) text = plain(*value);
        return std::string();
      },
      "");
}

CLI::Validator each_within(const NumberRange& range, const std::string& names,
                           const std::string& unit) {
  return CLI::Validator(
      [range, names, unit](std::string& text) {
        const auto commas = std::count(names.begin(), names.end(), ',');
        bool good = std::count(text.begin(), text.end(), ',') == commas;
        for (size_t begin = 0; good && begin <= text.size();) {
          const size_t end = std::min(text.find(',', begin), text.size());
          good = number_of(text.substr(begin, end - begin), range).has_value();
          begin = end + 1;
        }
        if (good) return std::string();
        return std::to_string(commas + 1) + " numbers " + names + " in " + unit +
               " are required, each from " + plain(range.least) + " to " +
               plain(range.most) + ", not " + wgr::quoted(text);
      },
      "");
}

CLI::Validator one_of(const std::vector<std::string>& words) {
  return CLI::Validator(
      [words](std::string& text) {
        if (std::find(words.begin(), words.end(), text) != words.end()) {
          return std::string();
        }
        std::string all;
        for (size_t i = 0; i < words.size(); ++i) {
          all += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
        }
        return all + " is required, not " + wgr::quoted(text) + did_you_mean(text, words);
      },
      "");
}

static std::string fault_in_path(const std::string& path) {
  return path.empty() ? "a name is required, not nothing" : "";
}

CLI::Validator path_name() {
  return CLI::Validator([](const std::string& path) { return fault_in_path(path); }, "");
}

CLI::Validator path_value() {
  return CLI::Validator(
      [](const std::string& path) {
        if (path.compare(0, 2, "--") != 0) return fault_in_path(path);
        return "a name is required, not the option " + wgr::quoted(path) + "; a file " +
               "of that name is ./" + path;
      },
      "");
}

}  // namespace wgr
