// The command line: every option of every subcommand with every kind of value, and words
// that do not fit. Nothing is run but the parser.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "arguments/command_line.h"
#include "arguments/host_run_arguments.h"
#include "base/errors.h"
#include "base/numbers.h"
#include "support/cases.h"

using namespace wgr;

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Words = std::vector<std::string>;

namespace {

struct NumberOption {
  const char* command;
  const char* option;
  NumberRange range;
};

}  // namespace

// By subcommand and option; a new option has to be added here.
static const NumberOption kNumbers[] = {
    {"replay", "--wearer", whole_from(0, 1)},
    {"replay", "--mode", whole_from(0, 2)},
    {"replay", "--sample-rate", whole_from(1, 100000)},
    {"replay", "--sensitivity", whole_from(-1000000, 3)},
    {"explain", "--wearer", whole_from(0, 1)},
    {"explain", "--mode", whole_from(0, 2)},
    {"explain", "--sample-rate", whole_from(1, 100000)},
    {"explain", "--sensitivity", whole_from(-1000000, 3)},
    {"explain", "--max-size", whole_from(1, 1000000)},
    {"synth", "--seed", whole_from(0, 2147483647)},
    {"synth", "--person", whole_from(0, 1000000)},
    {"synth", "--wearer", whole_from(0, 1)},
    {"synth", "--sample-rate", whole_from(10, 1000)},
    {"synth", "--from", number_from(0, 36000)},
    {"synth", "--dead-band", number_from(0, 10000)},
    {"synth", "--gestures", whole_from(0, 1000)},
    {"synth", "--distractors", number_from(0, 36000)},
    {"synth", "--persons", whole_from(1, 999)},
    {"segment", "--sample-rate", whole_from(10, 1000)},
    {"segment", "--min-length", whole_from(2, 10000)},
    {"segment", "--max-size", whole_from(1, 1000000)},
    {"build", "--templates", whole_from(1, 100)},
    {"build", "--background-templates", whole_from(0, 100)},
    {"build", "--tolerance", number_from(0, 1)},
    {"build", "--share", number_from(0, 1)},
    {"build", "--false-cost", number_above(0, 1000000)},
    {"build", "--false-positives-per-hour", number_from(0, 10000)},
    {"build", "--threads", whole_from(1, 256)},
    {"build", "--background-hours", number_above(0, 100000)},
    {"build", "--sample-rate", whole_from(10, 1000)},
    {"build", "--min-length", whole_from(2, 10000)},
    {"build", "--max-size", whole_from(1, 1000000)},
    {"eval", "--wearer", whole_from(0, 1)},
    {"eval", "--mode", whole_from(0, 2)},
    {"eval", "--folds", whole_from(2, 1000)},
    {"eval", "--templates", whole_from(1, 100)},
    {"eval", "--background-templates", whole_from(0, 100)},
    {"eval", "--tolerance", number_from(0, 1)},
    {"eval", "--share", number_from(0, 1)},
    {"eval", "--false-cost", number_above(0, 1000000)},
    {"eval", "--false-positives-per-hour", number_from(0, 10000)},
    {"eval", "--threads", whole_from(1, 256)},
    {"eval", "--sample-rate", whole_from(10, 1000)},
    {"eval", "--min-length", whole_from(2, 10000)},
    {"eval", "--max-size", whole_from(1, 1000000)},
    {"doctor", "--wearer", whole_from(0, 1)},
    {"doctor", "--mode", whole_from(0, 2)},
    {"doctor", "--sample-rate", whole_from(1, 100000)},
    {"doctor", "--seconds", number_above(0, 1000000000)},
    {"replay", "--handle", whole_from(1, 1000000)},
    {"explain", "--handle", whole_from(1, 1000000)},
    {"doctor", "--handle", whole_from(1, 1000000)},
    {"inject", "--handle", whole_from(1, 1000000)},
    {"inject", "--host-handle", whole_from(1, 2147483647)},
    {"inject", "--pid", whole_from(1, 2147483647)},
    {"inject", "--gesture", whole_from(0, 4)},
    {"inject", "--person", whole_from(0, 1000000)},
    {"inject", "--seed", whole_from(0, 2147483647)},
    {"inject", "--wearer", whole_from(0, 1)},
    {"inject", "--wait", number_above(0, 3600)},
    {"inject", "--max-size", whole_from(1, 1000000)},
    {"doctor", "--max-size", whole_from(1, 1000000)},
    {"explain", "--at", number_from(-1e9, 1e9)},
    {"explain", "--motion", whole_from(1, 1e9)},
    {"import", "--sample-rate", number_above(0, 100000)},
    {"import", "--resample", whole_from(1, 1000)},
    {"import", "--max-size", whole_from(1, 1000000)},
    {"replay", "--min-length", whole_from(2, 10000)},
    {"replay", "--static-window", whole_from(2, 10000)},
    {"explain", "--min-length", whole_from(2, 10000)},
    {"explain", "--static-window", whole_from(2, 10000)},
    {"doctor", "--min-length", whole_from(2, 10000)},
    {"doctor", "--static-window", whole_from(2, 10000)},
    {"doctor", "--sensitivity", whole_from(-1000000, 3)},
    {"preflight", "--min-length", whole_from(2, 10000)},
    {"preflight", "--static-window", whole_from(2, 10000)},
    {"segment", "--static-window", whole_from(2, 10000)},
    {"segment", "--sensitivity", whole_from(-1000000, 3)},
    {"build", "--static-window", whole_from(2, 10000)},
    {"build", "--sensitivity", whole_from(-1000000, 3)},
    {"eval", "--static-window", whole_from(2, 10000)},
    {"eval", "--sensitivity", whole_from(-1000000, 3)},
    {"preflight", "--sensitivity", whole_from(-1000000, 3)},
    {"preflight", "--sample-rate", whole_from(10, 1000)},
    {"log", "--sample-rate", number_from(1, 100000)},
    {"log", "--seconds", number_above(0, 1000000000)},
};

// Options that take a word or several numbers: a value that is good.
static const std::map<std::string, std::string> kWords = {
    {"replay --bias", "-0.5,1e1,0"}, {"explain --bias", "-0.5,1e1,0"},
    {"doctor --bias", "-0.5,1e1,0"}, {"synth --style", "mixed"},
    {"eval --leave-out", "session"}, {"eval --require", "latency=0.5"},
    {"explain --only", "too-weak"},  {"import --units", "acc=g"},
    {"import --profile", "ios"},     {"import --axes", "-y,x,z"},
    {"import --acc-axes", "z,x,y"},  {"import --gyro-axes", "x,y,z"},
    {"build --kind", "averages"},    {"build --judge-by", "subject"},
    {"eval --kind", "adapted"},      {"eval --judge-by", "session"},
};

// Options that take names, each with any text: a value that is good.
static const std::map<std::string, std::string> kNamed = {
    {"import --columns", "ax=Acceleration x, y"},
    {"import --sensors", "acc=the first"},
};

// Everything else names a file or a folder.
static const std::map<std::string, Words> kPaths = {
    {"replay", {"--model", "--models", "--log"}},
    {"explain", {"--model", "--models", "--expect", "--report", "--out"}},
    {"synth", {"--out", "--labels", "--plan", "--script", "--training"}},
    {"segment", {"--out", "--background"}},
    {"build", {"--out", "--slots", "--report", "--background"}},
    {"eval", {"--model", "--models", "--report", "--compare", "--background"}},
    {"doctor", {"--model", "--models", "--repair", "--report"}},
    {"import", {"--out", "--save-profile"}},
    {"inject", {"--socket"}},
    {"log", {"--report"}},
    {"preflight", {"--models"}},
};

// What each subcommand wants at least.
static const std::map<std::string, Words> kLeast = {
    {"replay", {"X"}},
    {"explain", {"X"}},
    {"synth", {}},
    {"segment", {"X", "-o", "Y"}},
    {"build", {"X", "-o", "Y"}},
    {"eval", {"X"}},
    {"doctor", {"X"}},
    {"import", {"X", "-o", "Y"}},
    {"inject", {"X"}},
    {"preflight", {}},
    {"log", {"X"}},
    {"selfcheck", {}},
};

// Ends the parser before the subcommand runs.
static void keep_from_running(CLI::App& wgr) {
  wgr.parse_complete_callback([] { throw EndWithStatus{kExitOk}; });
}

// What is said of a command line; empty when it is fit to be run.
static std::string said_of(const Words& words) {
  CLI::App wgr;
  add_all(wgr);
  keep_from_running(wgr);
  try {
    parse_and_run(wgr, words);
  } catch (const UsageError& error) {
    return error.what();
  } catch (const EndWithStatus&) {
    return "";
  }
  return "it was run";
}

static Words line(const std::string& command, const Words& more) {
  Words words = {command};
  const Words& least = kLeast.at(command);
  words.insert(words.end(), least.begin(), least.end());
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

static const NumberOption* number_option(const std::string& command,
                                         const std::string& option) {
  for (const NumberOption& known : kNumbers) {
    if (command == known.command && option == known.option) return &known;
  }
  return nullptr;
}

static void for_each_option(
    const std::function<void(const std::string&, const CLI::Option&)>& visit) {
  CLI::App wgr;
  add_all(wgr);
  for (const CLI::App* sub : wgr.get_subcommands([](const CLI::App*) { return true; })) {
    for (const CLI::Option* option : sub->get_options()) visit(sub->get_name(), *option);
  }
}

TEST(Options, EveryOptionWithAValueIsInTheTablesOfThisTest) {
  size_t numbers = 0;
  for_each_option([&](const std::string& command, const CLI::Option& option) {
    if (option.get_positional() || option.get_items_expected_max() == 0) return;
    const std::string name = option.get_name();
    const auto paths = kPaths.find(command);
    const bool is_path = paths != kPaths.end() &&
                         std::find(paths->second.begin(), paths->second.end(), name) !=
                             paths->second.end();
    const bool is_number = number_option(command, name) != nullptr;
    numbers += is_number ? 1 : 0;
    EXPECT_TRUE(is_number || is_path || kWords.count(command + " " + name) == 1 ||
                kNamed.count(command + " " + name) == 1)
        << command << " " << name;
  });
  EXPECT_EQ(numbers, std::size(kNumbers));
}

// Texts that are no number of any range.
static const Words kNoNumbers = {"",
                                 "abc",
                                 "nan",
                                 "-nan",
                                 "NaN",
                                 "inf",
                                 "-inf",
                                 "Infinity",
                                 "0x10",
                                 "0x1p3",
                                 "1e999",
                                 "-1e999",
                                 " 5",
                                 "5 ",
                                 "5x",
                                 "+5",
                                 "5,5",
                                 "--5",
                                 "1e",
                                 ".",
                                 "-",
                                 "9223372036854775808",
                                 "-9223372036854775809",
                                 "18446744073709551616",
                                 "1_000"};

TEST(Options, NumbersOutOfTheirRangeAreRefusedWithTheRangeInPlainWords) {
  for (const NumberOption& known : kNumbers) {
    Words bad = kNoNumbers;
    const NumberRange& range = known.range;
    bad.push_back(plain(range.most + 1.0));
    bad.push_back(plain(range.least - 1.0));
    bad.push_back("1e300");
    bad.push_back("-1e300");
    if (range.above) bad.push_back(plain(range.least));
    if (range.whole) {
      bad.push_back(plain(range.least) + ".5");
      bad.push_back(plain(range.most) + "e0");
      bad.push_back("2147483648");
    }
    // One check serves them all.
    if (!enough_cases() && &known != std::begin(kNumbers)) {
      bad.erase(bad.begin(), bad.end() - 2);
    }
    for (const std::string& value : bad) {
      const std::string said = said_of(line(known.command, {known.option, value}));
      EXPECT_THAT(said,
                  AllOf(StartsWith(std::string(known.option) + ": " + range.text() +
                                   " is required, not "),
                        EndsWith(std::string("; see wgr ") + known.command + " --help")))
          << known.command << " " << known.option << " " << value;
      EXPECT_LT(said.size(), 200u) << said;
    }
  }
}

TEST(Options, TheEdgesOfEveryRangeAreTaken) {
  for (const NumberOption& known : kNumbers) {
    const NumberRange& range = known.range;
    Words good = {plain(range.most)};
    if (!range.above) good.push_back(plain(range.least));
    if (!range.whole) good.push_back("1e0");
    if (range.whole && range.most >= 10) good.push_back("0010");
    for (const std::string& value : good) {
      EXPECT_EQ(said_of(line(known.command, {known.option, value})), "")
          << known.command << " " << known.option << " " << value;
    }
  }
}

TEST(Options, LeadingZerosDoNotMakeANumberOctal) {
  CLI::App wgr;
  add_all(wgr);
  keep_from_running(wgr);
  EXPECT_THROW(parse_and_run(wgr, {"replay", "--sample-rate", "0100", "X"}),
               EndWithStatus);
  EXPECT_EQ(wgr.get_subcommand("replay")->get_option("--sample-rate")->as<int>(), 100);
}

TEST(Options, WordsAreTakenAsTheyAreAndOthersAreRefused) {
  for (const auto& [name, good] : kWords) {
    const std::string command = name.substr(0, name.find(' '));
    const std::string option = name.substr(name.find(' ') + 1);
    EXPECT_EQ(said_of(line(command, {option, good})), "") << name;
    for (const std::string& value :
         {std::string(), good + "x", good + ",", "," + good, good + ",1",
          std::string("0"), std::string("1,nan,2"), std::string("1,2,1e300"),
          std::string("1,2,"), std::string("1,,2"), std::string("accuracy=nan"),
          std::string("accuracy="), std::string("accuracy"), std::string(1000, 'a')}) {
      const std::string said = said_of(line(command, {option, value}));
      EXPECT_THAT(said, AllOf(StartsWith(option + ": "), HasSubstr(" required, "),
                              HasSubstr("ee wgr " + command + " --help")))
          << name << " " << value.substr(0, 99);
      EXPECT_LT(said.size(), 350u) << said;
    }
  }
}

TEST(Options, NamesWithTextsAreTakenAndOtherNamesRefused) {
  for (const auto& [name, good] : kNamed) {
    const std::string command = name.substr(0, name.find(' '));
    const std::string option = name.substr(name.find(' ') + 1);
    EXPECT_EQ(said_of(line(command, {option, good})), "") << name;
    for (const char* const value : {"", "1", "ay", "=1", "other=1", "acc=", ",", "a=,"}) {
      EXPECT_THAT(said_of(line(command, {option, value})),
                  AllOf(StartsWith(option + ": "), HasSubstr(" required, "),
                        HasSubstr("ee wgr " + command + " --help")))
          << name << " " << value;
    }
  }
}

TEST(Options, AWordThatIsNoneOfSeveralIsRefusedWithAllOfThem) {
  EXPECT_EQ(
      said_of({"eval", "X", "--leave-out", "sesion"}),
      "--leave-out: subject, repetition or session is required, not \"sesion\"; did you "
      "mean session? See wgr eval --help");
}

TEST(Options, APathIsNeitherNothingNorTheNextOption) {
  for (const auto& [command, options] : kPaths) {
    for (const std::string& option : options) {
      const Words empty = {command, option, ""};
      EXPECT_THAT(
          said_of(empty),
          StartsWith(option + ": a name is required, not nothing; see wgr " + command))
          << command;
      EXPECT_THAT(said_of({command, option, "--help"}),
                  AllOf(StartsWith(option + ": a name is required, not the option"),
                        HasSubstr("./--help")))
          << command;
      EXPECT_THAT(
          said_of({command, option}),
          StartsWith(option + ": a value is required after it; see wgr " + command));
      EXPECT_EQ(said_of({command, option + "=", "X"}),
                option + ": a value is required after the =");
    }
  }
}

TEST(Options, AnEmptyValueBehindTheSignIsMetAfterOtherLongOptions) {
  EXPECT_EQ(said_of({"replay", "--json", "--sample-rate=50", "--log=", "X"}),
            "--log: a value is required after the =");
  EXPECT_EQ(said_of({"synth", "--seed", "1", "-out", "X"}),
            "-out: no option; did you mean --out?");
}

TEST(Options, ARecordingMayHaveTheNameOfAnOptionBehindTheDashes) {
  EXPECT_EQ(said_of({"replay", "--", "--json"}), "");
  EXPECT_THAT(said_of({"replay", "--", "X", "--json"}),
              StartsWith("\"--json\": one argument too many"));
}

TEST(Options, PositionalArgumentsAreNotEmpty) {
  for (const std::string command :
       {"replay", "explain", "doctor", "log", "eval", "segment", "build"}) {
    EXPECT_THAT(said_of({command, ""}), HasSubstr(": a name is required, not nothing"))
        << command;
  }
  for (const std::string command : {"show", "check", "diff"}) {
    EXPECT_THAT(said_of({"model", command, "", "X"}),
                HasSubstr(": a name is required, not nothing"))
        << command;
  }
}

// An option of `name` with one letter left out, and one too many.
static Words misspelt(const std::string& name) {
  return {name.substr(0, 3) + name.substr(4), name + "s", name + "s=1"};
}

TEST(Options, AMisspeltOptionIsNamedWithTheRightOne) {
  size_t tried = 0;
  for_each_option([&](const std::string& command, const CLI::Option& option) {
    const std::string right = option.get_name();
    if (option.get_positional() || option.get_group().empty()) return;
    if (right.size() < 6 || right == "--help") return;  // several are as near
    for (const std::string& wrong : misspelt(right)) {
      if (wrong.rfind("--persons", 0) == 0 || wrong.rfind("--models", 0) == 0) {
        continue;  // not misspelt
      }
      const std::string said = said_of(line(command, {wrong, "3"}));
      const std::string name = wrong.substr(0, wrong.find('='));
      if (said.find("did you mean " + right + "?") != std::string::npos) ++tried;
      EXPECT_THAT(said, AllOf(StartsWith(name + ": "), HasSubstr("did you mean --"),
                              HasSubstr("See wgr " + command + " --help")))
          << command << " " << wrong;
    }
  });
  EXPECT_GT(tried, 150u);
}

TEST(Options, AnOptionInFrontOfTheSubcommandIsSentBehindIt) {
  for_each_option([&](const std::string& command, const CLI::Option& option) {
    const std::string name = option.get_name();
    if (option.get_positional() || option.get_group().empty() || name == "--help") return;
    Words words = line(command, {});
    words.insert(words.begin(), name);
    EXPECT_EQ(said_of(words), name + ": belongs behind the subcommand: wgr " + command +
                                  " " + name + "; see wgr " + command + " --help");
  });
}

// What was given, and the model's slot.
TEST(Options, OfAHostRunAreRepeatedAsTheyWereGiven) {
  HostRunArguments given;
  EXPECT_EQ(host_run_words(given), (Words{"--wearer=0", "--mode=1"}));
  given.model.wearer = 1;
  given.model.mode = 2;
  given.model.file = "m.xml";
  given.rate = 25;
  given.bias = "1,2,3";
  given.host_run.sensitivity = -7;
  given.handle = 4;
  EXPECT_EQ(host_run_words(given),
            (Words{"--wearer=1", "--mode=2", "--model=m.xml", "--sample-rate=25",
                   "--bias=1,2,3", "--sensitivity=-7", "--handle=4"}));
}

TEST(Options, AnOptionOfAnotherSubcommandIsSentThere) {
  EXPECT_EQ(said_of({"replay", "--distractors", "3", "X"}),
            "--distractors: no option of wgr replay, but of wgr synth; see wgr replay "
            "--help");
  EXPECT_EQ(
      said_of({"log", "--bias=1,2,3"}),
      "--bias: no option of wgr log, but of wgr replay, wgr explain, wgr doctor; see "
      "wgr log --help");
  EXPECT_EQ(said_of({"doctor", "--from=3", "X"}),
            "--from: no option of wgr doctor, but of wgr synth, wgr capture cut; see wgr "
            "doctor --help")
      << "of a subcommand's own too";
  EXPECT_EQ(said_of({"--seconds", "3"}),
            "--seconds: belongs behind a subcommand that has it: wgr doctor, wgr log");
  EXPECT_EQ(said_of({"replay", "--nonesuchatall", "X"}),
            "--nonesuchatall: no option of wgr replay; see wgr replay --help");
  EXPECT_EQ(said_of({"replay", "-r", "5", "X"}),
            "-r: no option of wgr replay; see wgr replay --help");
}

TEST(Options, NamesThatNobodyShouldPrintAreMadeFitForATerminal) {
  EXPECT_EQ(said_of({"--r\033[31m\xff"}),
            "--r\\x1b[31m\\xff: no option of wgr; see wgr --help");
  EXPECT_LT(said_of({"--" + std::string(100000, 'x')}).size(), 200u);
  EXPECT_LT(said_of({std::string(100000, 'x')}).size(), 200u);
}

TEST(Options, AMisspeltSubcommandIsNamedWithTheRightOne) {
  const std::map<std::string, std::string> cases = {
      {"replya", "replay"},   {"exlpain", "explain"},     {"sinth", "synth"},
      {"segmant", "segment"}, {"biuld", "build"},         {"evla", "eval"},
      {"models", "model"},    {"docter", "doctor"},       {"pre-flight", "preflight"},
      {"logs", "log"},        {"self-check", "selfcheck"}};
  for (const auto& [wrong, right] : cases) {
    EXPECT_EQ(said_of({wrong, "X"}), "\"" + wrong +
                                         "\": no subcommand of wgr; did you mean " +
                                         right + "? See wgr --help");
  }
  EXPECT_EQ(
      said_of({"model", "shwo", "X"}),
      "\"shwo\": no subcommand of wgr model; did you mean show? See wgr model --help");
  EXPECT_EQ(
      said_of({"model"}),
      "a subcommand of wgr model is required: show, check, diff; see wgr model --help");
  EXPECT_EQ(said_of({"frobnicate"}),
            "\"frobnicate\": no subcommand of wgr; see wgr --help");
}

TEST(Options, ArgumentsThatAreMissingOrTooManyAreCounted) {
  EXPECT_EQ(said_of({"replay"}), "RECORDING is required; see wgr replay --help");
  EXPECT_EQ(said_of({"segment", "X"}), "--out is required; see wgr segment --help");
  EXPECT_EQ(said_of({"replay", "X", "Y"}),
            "\"Y\": one argument too many; wgr replay takes RECORDING; see wgr replay "
            "--help");
  EXPECT_EQ(said_of({"preflight", "now"}),
            "\"now\": one argument too many; wgr preflight takes options alone; see wgr "
            "preflight --help");
  EXPECT_EQ(said_of({"model", "diff", "X"}),
            "MODELS: 2 are required, not 1; see wgr model diff --help");
  EXPECT_THAT(said_of({"model", "diff", "X", "Y", "Z"}),
              StartsWith("MODELS: 2 are required"));
  for (const NumberOption& known : kNumbers) {
    const std::string value = plain(known.range.most);
    EXPECT_EQ(said_of(line(known.command, {known.option, value, known.option, value})),
              std::string(known.option) + ": may be given once; see wgr " +
                  known.command + " --help");
  }
}

TEST(Options, AFlagTakesNoValue) {
  size_t flags = 0;
  for_each_option([&](const std::string& command, const CLI::Option& option) {
    const std::string name = option.get_name();
    if (option.get_items_expected_max() != 0 || name == "--help") return;
    if (option.get_group().empty()) return;
    ++flags;
    EXPECT_EQ(said_of(line(command, {name + "=maybe"})),
              name + ": takes no value; see wgr " + command + " --help");
  });
  EXPECT_GT(flags, 15u);
}

// CLI11 would write to a file "ut".
TEST(Options, ALongOptionWithOneDashIsNoShortOneWithAValue) {
  EXPECT_EQ(said_of({"synth", "-out", "X"}), "-out: no option; did you mean --out?");
  EXPECT_EQ(said_of({"synth", "-out=X"}), "-out: no option; did you mean --out?");
  EXPECT_EQ(said_of({"synth", "-oX"}), "");
}
