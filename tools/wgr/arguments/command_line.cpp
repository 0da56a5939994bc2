#include "arguments/command_line.h"

#include <algorithm>
#include <iterator>

#include "base/foreign_text.h"
#include "base/numbers.h"
#include "base/suggestion.h"
#include "commands/subcommands.h"

namespace wgr {

static constexpr char kFooter[] =
    "Examples:\n"
    "  wgr replay --models models recordings/demo.csv\n"
    "  wgr explain --models models --report report.html recordings/demo.csv\n"
    "  wgr replay --help\n"
    "\n"
    "Exit status: 0 done; 1 the machine failed (disk, memory), or a check found "
    "something;\n"
    "2 something given cannot be used.";

static constexpr char kNoMoreOptions[] = "--";  // after it
static constexpr size_t kLongestName = 60;      // bytes of an option in a message
static constexpr size_t kShortOption = 2;       // characters, as -o has

void add_all(CLI::App& wgr) {
  wgr.description("Wrist gestures from recordings of motion.");
  wgr.name("wgr");
  wgr.footer(kFooter);
  wgr.set_version_flag("--version", std::string("wgr ") + WGR_VERSION);
  wgr.require_subcommand(0, 1);
  add_replay(wgr);
  add_explain(wgr);
  add_import(wgr);
  add_synth(wgr);
  add_segment(wgr);
  add_build(wgr);
  add_eval(wgr);
  add_model(wgr);
  add_capture(wgr);
  add_inject(wgr);
  add_doctor(wgr);
  add_preflight(wgr);
  add_log(wgr);
  add_selfcheck(wgr);
}

// "wgr model show" of the subcommand `show`.
static std::string full_name(const CLI::App& command) {
  const CLI::App* const parent = command.get_parent();
  return (parent == nullptr ? "" : full_name(*parent) + " ") + command.get_name();
}

// The message with where to read more.
static std::string with_help(const std::string& message, const CLI::App& command) {
  const bool asks = !message.empty() && message.back() == '?';
  return message + (asks ? " See " : "; see ") + full_name(command) + " --help";
}

// The subcommand that the words lead to, as far as they were understood.
static const CLI::App& innermost(const CLI::App& wgr) {
  const std::vector<CLI::App*> parsed = wgr.get_subcommands();
  return parsed.empty() ? wgr : innermost(*parsed.back());
}

static std::vector<const CLI::App*> all_below(const CLI::App& app) {
  std::vector<const CLI::App*> found;
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) {
    found.push_back(sub);
    const std::vector<const CLI::App*> deeper = all_below(*sub);
    found.insert(found.end(), deeper.begin(), deeper.end());
  }
  return found;
}

static std::vector<std::string> names_of_subcommands(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(sub->get_name());
  }
  return names;
}

// "--sample-rate", "-o" and so on, without those that are not for people.
static std::vector<std::string> names_of_options(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
  }
  return names;
}

static bool has_option(const CLI::App& app, const std::string& name) {
  const std::vector<std::string> names = names_of_options(app);
  return std::find(names.begin(), names.end(), name) != names.end();
}

static bool is_option(const std::string& word) {
  return word.size() > 1 && word[0] == '-';
}

static std::string without_value(const std::string& word) {
  return shortened(word.substr(0, word.find('=')), kLongestName);
}

// An option that neither the subcommand nor the program knows.
static std::string unknown_option(const CLI::App& wgr, const CLI::App& holder,
                                  const CLI::App& innermost, const std::string& word) {
  const std::string name = without_value(word);
  if (&holder != &innermost && has_option(innermost, name)) {
    return with_help(
        name + ": belongs behind the subcommand: " + full_name(innermost) + " " + name,
        innermost);
  }
  if (!has_option(holder, name)) {
    const std::string near = did_you_mean(name, names_of_options(innermost));
    // Every single letter is like every other.
    if (!near.empty() && name.size() > kShortOption) {
      return with_help(name + ": no option of " + full_name(innermost) + near, innermost);
    }
  }
  std::string others;
  for (const CLI::App* other : all_below(wgr)) {
    if (!has_option(*other, name)) continue;
    others += (others.empty() ? "" : ", ") + full_name(*other);
  }
  if (others.empty()) {
    return with_help(name + ": no option of " + full_name(innermost), innermost);
  }
  if (&innermost == &wgr) {
    return name + ": belongs behind a subcommand that has it: " + others;
  }
  return with_help(name + ": no option of " + full_name(innermost) + ", but of " + others,
                   innermost);
}

static std::string positional_names(const CLI::App& app) {
  std::string names;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_positional()) names += " " + option->get_name();
  }
  return names;
}

static std::string surplus_word(const CLI::App& holder, const std::string& word) {
  const std::vector<std::string> subcommands = names_of_subcommands(holder);
  if (!subcommands.empty() && holder.get_subcommands().empty()) {
    return with_help(wgr::quoted(word) + ": no subcommand of " + full_name(holder) +
                         did_you_mean(word, subcommands),
                     holder);
  }
  const std::string names = positional_names(holder);
  return with_help(wgr::quoted(word) + ": one argument too many; " + full_name(holder) +
                       " takes" + (names.empty() ? " options alone" : names),
                   holder);
}

// The message about words that nothing took; empty when all were taken. An option goes
// first: what follows one that is unknown is its value.
static std::string untaken(const CLI::App& wgr) {
  const CLI::App& last = innermost(wgr);
  const CLI::App* first_with_word = nullptr;
  std::string first_word;
  bool options_end = false;
  for (const CLI::App* app = &wgr;; app = app->get_subcommands().back()) {
    for (const std::string& word : app->remaining()) {
      if (word == kNoMoreOptions) {
        options_end = true;
        continue;
      }
      if (is_option(word) && !options_end) return unknown_option(wgr, *app, last, word);
      if (first_with_word == nullptr) {
        first_with_word = app;
        first_word = word;
      }
    }
    if (app->get_subcommands().empty()) break;
  }
  if (first_with_word == nullptr) return "";
  return surplus_word(*first_with_word, first_word);
}

// CLI11 says "NAME: 1 required TEXT missing", "NAME: At Most 2 required but received 3",
// "Could not convert: NAME = VALUE" and the like.
static std::string of_mismatch(const std::string& what) {
  const std::string name = what.substr(0, what.find_first_of(": "));
  const auto after = [&what](const std::string& text) {
    const size_t at = what.find(text);
    if (at == std::string::npos) return std::string();
    const size_t begin = at + text.size();
    return what.substr(begin, what.find(' ', begin) - begin);
  };
  const std::string converted = after("Could not convert: ");
  if (!converted.empty()) return converted + ": takes no value";
  if (!after("flag overr").empty()) return name + ": takes no value";
  if (what.find(" missing") != std::string::npos) {
    return name + ": a value is required after it";
  }
  const std::string most = after(": At Most ");
  if (most == "1") return name + ": may be given once";
  const std::string exact = most.empty() ? after(": At least ") : most;
  if (!exact.empty())
    return name + ": " + exact + " are required, not " + after("received ");
  return what;
}

static std::string message_of(const CLI::App& wgr, const CLI::ParseError& error) {
  const CLI::App& command = innermost(wgr);
  const std::string unfitting = untaken(wgr);
  if (!unfitting.empty()) return unfitting;
  const std::string what = error.what();
  if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr ||
      what.find("subcommand") == std::string::npos) {
    return with_help(of_mismatch(what), command);
  }
  std::string names;
  for (const std::string& name : names_of_subcommands(command)) {
    names += (names.empty() ? "" : ", ") + name;
  }
  return with_help("a subcommand of " + full_name(command) + " is required: " + names,
                   command);
}

// Words that CLI11 would misread: "--log=" for an option whose value is the next word,
// "-out" for -o with the value "ut".
static void refuse_misleading(const CLI::App& wgr,
                              const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    if (word == kNoMoreOptions) return;
    if (word.size() < 3 || word[0] != '-') continue;
    const std::string name = without_value(word);
    if (word[1] == '-') {
      if (name.size() + 1 != word.size()) continue;
      throw UsageError(name + ": a value is required after the =");
    }
    for (const CLI::App* command : all_below(wgr)) {
      if (has_option(*command, "-" + name)) {
        throw UsageError(name + ": no option; did you mean -" + name + "?");
      }
    }
  }
}

static std::vector<std::string>& words_run() {
  static std::vector<std::string> words;
  return words;
}

static std::string shell_word(const std::string& word) {
  static constexpr char kPlain[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789%+,-./:=@_";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
  std::string text = "'";
  for (const char c : word) {
    if (c == '\'') {
      text += "'\\''";
    } else {
      text += c;
    }
  }
  return text + "'";
}

std::string given_command(const std::vector<std::string>& without) {
  std::string command = "wgr";
  const std::vector<std::string>& words = words_run();
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string option = words[i].substr(0, words[i].find('='));
    if (std::find(without.begin(), without.end(), option) == without.end()) {
      command += " " + shell_word(words[i]);
    } else if (option == words[i]) {
      ++i;  // the value is a word of its own
    }
  }
  return command;
}

void parse_and_run(CLI::App& wgr, const std::vector<std::string>& words) {
  words_run() = words;
  refuse_misleading(wgr, words);
  try {
    wgr.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::Success&) {
    throw;
  } catch (const CLI::ParseError& error) {
    throw UsageError(message_of(wgr, error));
  }
}

}  // namespace wgr
