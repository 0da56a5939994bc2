// Command lines of any words, a word a line: what wgr makes of them before it does
// anything.
//
// A command line is refused in words, or its numbers are what the words spell and lie in
// the range that the option states when a value is no number.
#include <CLI/CLI.hpp>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "arguments/command_line.h"
#include "arguments/host_run_arguments.h"
#include "base/errors.h"
#include "harness.h"
#include "places.h"
#include "reference_text.h"
#include "text/evaluation_text.h"

using namespace wgr;

static constexpr std::size_t kLongestMessage = 1000;  // characters
static constexpr std::size_t kFewestNumbers = 30;     // options that take one

namespace {

struct Range {
  double least = 0.0;
  double most = 0.0;
  bool whole = false;
  bool above = false;  // the least itself is out of it
};

// Ends the parsing of a command line before its work.
struct Understood {};

}  // namespace

// By subcommand and option.
static std::map<std::pair<std::string, std::string>, Range> ranges;

static bool takes_number(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  return type.find("INT") == 0 || type.find("UINT") == 0 || type.find("FLOAT") == 0;
}

// ---- the whole command line ---------------------------------------------------------

// What is said of the words; nothing when they are understood.
static std::optional<std::string> refusal(CLI::App& wgr,
                                          const std::vector<std::string>& words) {
  add_all(wgr);
  // Called when all words are understood, before the subcommand's own.
  wgr.parse_complete_callback([] { throw Understood(); });
  try {
    parse_and_run(wgr, words);
  } catch (const Understood&) {
    return std::nullopt;
  } catch (const CLI::Success&) {
    return "help";
  } catch (const UsageError& error) {
    return error.what();
  }
  require(false, "what is understood is run");
  return std::nullopt;
}

static void require_in_range(const CLI::App& command, const CLI::Option& option) {
  const Range& range = ranges.at({command.get_name(), option.get_name()});
  require(option.results().size() == 1, "an option has one value");
  const double value = option.as<double>();
  require(std::isfinite(value) && value >= range.least && value <= range.most &&
              !(range.above && value == range.least),
          "a number is in its range");
  require(!range.whole || value == std::floor(value), "a whole number is one");
  require(reference::number_of(option.results().front()) == value,
          "a number is what its word spells");
}

static void require_in_range(const CLI::App& command) {
  for (const CLI::Option* const option : command.get_options()) {
    if (takes_number(*option) && option->count() > 0) require_in_range(command, *option);
  }
  for (const CLI::App* const sub : command.get_subcommands()) require_in_range(*sub);
}

static void parse_whole_line(const std::vector<std::string>& words) {
  CLI::App wgr;
  const std::optional<std::string> refused = refusal(wgr, words);
  if (refused) {
    require(!refused->empty() && refused->size() < kLongestMessage,
            "what is refused is refused in few words");
  } else {
    require_in_range(wgr);
  }
}

// ---- values that pass through more than one command line ----------------------------

static bool same(const HostRunArguments& a, const HostRunArguments& b) {
  return a.recording == b.recording && a.bias == b.bias && a.rate == b.rate &&
         a.model.file == b.model.file && a.model.wearer == b.model.wearer &&
         a.model.mode == b.model.mode && a.host_run.sensitivity == b.host_run.sensitivity;
}

// False when the words are refused.
static bool parse(HostRunArguments& given, const std::vector<std::string>& words) {
  CLI::App command;
  add_host_run_arguments(command, given);
  try {
    command.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    return true;
  } catch (const CLI::ParseError&) {
    return false;
  }
}

// What a host is run with comes through a second command line unchanged.
static void parse_host_run(std::vector<std::string> words) {
  HostRunArguments given;
  if (!parse(given, words)) return;
  if (!given.bias.empty()) {
    const Point3Df bias = parse_bias(given.bias);
    require(std::isfinite(bias.x) && std::isfinite(bias.y) && std::isfinite(bias.z),
            "a bias is finite");
  }
  std::vector<std::string> passed_on = host_run_words(given);
  passed_on.push_back("--");
  passed_on.push_back(given.recording);
  HostRunArguments again;
  require(parse(again, passed_on), "what is passed on is understood");
  require(same(given, again), "what is passed on is the same");
}

static void parse_requirements(const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    try {
      const Requirement requirement = parse(word);
      const std::size_t at = word.find('=');
      require(at != std::string::npos && requirement.figure == word.substr(0, at),
              "a figure is required by its name");
      require(reference::number_of(word.substr(at + 1)) == requirement.value,
              "a number is what its word spells");
    } catch (const UsageError& error) {
      require(*error.what() != '\0', "what is refused is refused in words");
    }
  }
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  std::vector<std::string> words =
      reference::split(std::string(bytes, bytes + size), '\n');
  // A word ends at its first zero, as all that a process is started with.
  for (std::string& word : words) word = word.c_str();
  parse_whole_line(words);
  if (words.front() == "replay" || words.front() == "explain") {
    words.erase(words.begin());
  }
  parse_host_run(words);
  parse_requirements(words);
}

// ---- the ranges ---------------------------------------------------------------------

// The number behind `words` in a text.
static std::optional<double> number_behind(const std::string& text,
                                           const std::string& words) {
  const std::size_t at = text.find(words);
  if (at == std::string::npos) return std::nullopt;
  const std::size_t first = at + words.size();
  return reference::number_of(text.substr(first, text.find(' ', first) - first));
}

// From "... a whole number from 1 to 100 is required" or "... a number above 0 and up to
// 9".
static Range stated_range(const std::string& message) {
  const std::optional<double> above = number_behind(message, "number above ");
  const std::optional<double> least = number_behind(message, "number from ");
  const std::optional<double> most =
      number_behind(message, above ? " and up to " : " to ");
  require(most && (above || least), "an option states its range");
  return {above ? *above : *least, *most,
          message.find("a whole number") != std::string::npos, above.has_value()};
}

// Of a subcommand, which `words` lead to, and those below it.
static void collect_ranges_of(const CLI::App& command,
                              const std::vector<std::string>& words) {
  for (const CLI::Option* const option : command.get_options()) {
    if (!takes_number(*option)) continue;
    CLI::App wgr;
    std::vector<std::string> wrong = words;
    wrong.push_back(option->get_name() + "=x");
    const auto message = refusal(wgr, wrong);
    require(message.has_value(), "what is no number is refused");
    ranges[{command.get_name(), option->get_name()}] = stated_range(*message);
  }
  for (const CLI::App* const sub :
       command.get_subcommands([](const CLI::App*) { return true; })) {
    std::vector<std::string> deeper = words;
    deeper.push_back(sub->get_name());
    collect_ranges_of(*sub, deeper);
  }
}

static void collect_ranges() {
  CLI::App all;
  add_all(all);
  collect_ranges_of(all, {});
  require(ranges.size() >= kFewestNumbers, "options that take numbers are found");
}

static const Registration registration("options", run, collect_ranges);
