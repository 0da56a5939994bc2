#include "manual/command_description.h"

#include <algorithm>
#include <sstream>

namespace wgr {

static std::vector<std::string> parts_of(const std::string& text, char between) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, between);) parts.push_back(part);
  return parts;
}

// Descriptions are broken into lines for --help.
static std::string on_one_line(const std::string& text) {
  std::istringstream stream(text);
  std::string line;
  for (std::string word; stream >> word;) line += (line.empty() ? "" : " ") + word;
  return line;
}

static OptionDescription described(const CLI::Option& option) {
  OptionDescription made;
  made.positional = option.get_positional();
  if (made.positional) {
    made.names = {option.get_name()};
  } else {
    for (const std::string& name : option.get_snames()) made.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) made.names.push_back("--" + name);
    // "0|1 (0)": the value and its default, as --help prints them.
    const std::string shown = option.get_option_text();
    const size_t behind = std::min(shown.find(" ("), shown.size());
    made.value = shown.substr(0, behind);
    if (behind < shown.size()) {
      made.default_value = shown.substr(behind + 2, shown.size() - behind - 3);
    }
  }
  made.text = on_one_line(option.get_description());
  made.required = option.get_required();
  made.many = option.get_items_expected_max() > 1;
  if (made.value.find('|') != std::string::npos) {
    made.choices = parts_of(made.value, '|');
  }
  return made;
}

CommandDescription described(const CLI::App& app) {
  CommandDescription made;
  made.name = app.get_name();
  made.summary = app.get_description();
  made.footer = app.get_footer();
  made.full_name = made.name;
  for (const CLI::App* above = app.get_parent(); above != nullptr;
       above = above->get_parent()) {
    made.full_name = above->get_name() + " " + made.full_name;
  }
  for (const CLI::Option* option : app.get_options()) {
    // An option without a group is not for people.
    if (!option->get_group().empty()) made.options.push_back(described(*option));
  }
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!sub->get_group().empty()) made.subcommands.push_back(described(*sub));
  }
  return made;
}

}  // namespace wgr
