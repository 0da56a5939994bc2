#include "arguments/import_arguments.h"

#include <utility>

#include "arguments/values.h"
#include "base/foreign_text.h"
#include "base/suggestion.h"

namespace wgr {

static constexpr NumberRange kRates = number_above(0, 100000);
static constexpr char kProfileFile[] = ".json";

static bool is_file(const std::string& profile) {
  const size_t length = sizeof kProfileFile - 1;
  return profile.find('/') != std::string::npos ||
         (profile.size() > length &&
          profile.compare(profile.size() - length, length, kProfileFile) == 0);
}

using Pair = std::pair<std::string, std::string>;

// What is said of a word that is none of some.
static std::string none_of(const std::string& text,
                           const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : ", ") + word;
  return "one of " + all + " is required, not " + wgr::quoted(text) +
         did_you_mean(text, words);
}

// "NAME=VALUE" pairs with commas between them; a comma within a value belongs to it when
// no name with '=' follows. What is said of anything else.
static std::string parse_pairs(const std::string& text, std::vector<Pair>& pairs) {
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find(',', begin), text.size());
    const std::string part = text.substr(begin, end - begin);
    const size_t equals = part.find('=');
    begin = end + 1;
    if (equals != std::string::npos && equals > 0) {
      pairs.emplace_back(part.substr(0, equals), part.substr(equals + 1));
    } else if (!pairs.empty() && !part.empty()) {
      pairs.back().second += "," + part;
    } else {
      return "NAME=VALUE is required, not " + wgr::quoted(part);
    }
  }
  for (const auto& [name, value] : pairs) {
    if (value.empty()) return "a value is required, after " + wgr::quoted(name + "=");
  }
  return "";
}

// Each takes a pair into the profile; what is said when it cannot.
static std::string take_column(const Pair& pair, ImportProfile& profile) {
  const std::optional<LogColumn> column = column_from(pair.first);
  if (!column) return none_of(pair.first, column_words());
  profile.columns[*column] = pair.second;
  return "";
}

static std::string take_unit(const Pair& pair, ImportProfile& profile) {
  const auto& [name, word] = pair;
  std::optional<LogUnit>* const to = name == "time"   ? &profile.time
                                     : name == "acc"  ? &profile.acc
                                     : name == "gyro" ? &profile.gyro
                                                      : nullptr;
  if (to == nullptr) return none_of(name, {"acc", "gyro", "time"});
  const Quantity quantity = name == "time"  ? Quantity::kTime
                            : name == "acc" ? Quantity::kAcc
                                            : Quantity::kGyro;
  *to = unit_from(quantity, word);
  return *to ? "" : none_of(word, unit_words(quantity));
}

static std::string take_sensor(const Pair& pair, ImportProfile& profile) {
  const auto& [name, word] = pair;
  std::string* const to = name == "acc"       ? &profile.acc_sensor
                          : name == "gyro"    ? &profile.gyro_sensor
                          : name == "gravity" ? &profile.gravity_sensor
                                              : nullptr;
  if (to == nullptr) return none_of(name, {"acc", "gyro", "gravity"});
  *to = word;
  return "";
}

using Take = std::string (*)(const Pair&, ImportProfile&);

static std::string take_pairs(const std::string& text, Take take,
                              ImportProfile& profile) {
  std::vector<Pair> pairs;
  std::string wrong = parse_pairs(text, pairs);
  for (const Pair& pair : pairs) {
    if (wrong.empty()) wrong = take(pair, profile);
  }
  return wrong;
}

static CLI::Validator pairs_for(Take take) {
  return CLI::Validator(
      [take](const std::string& text) {
        ImportProfile profile;
        return take_pairs(text, take, profile);
      },
      "");
}

static CLI::Validator three_axes() {
  return CLI::Validator(
      [](const std::string& text) {
        return axes_from(text)
                   ? std::string()
                   : "three axes such as -y,x,z are required, each once, not " +
                         wgr::quoted(text);
      },
      "");
}

static CLI::Validator profile_name() {
  return CLI::Validator(
      [](const std::string& text) {
        if (is_file(text) || named_profile(text) != nullptr) return std::string();
        std::vector<std::string> names;
        for (const NamedProfile& named : named_profiles()) {
          names.emplace_back(named.name);
        }
        names.emplace_back("FILE.json");
        return none_of(text, names);
      },
      "");
}

void add_import_arguments(CLI::App& command, ImportArguments& given) {
  add_value(command, "--profile", given.profile,
            "The device or app (see --list-profiles), or a file of\n--save-profile",
            profile_name(), "NAME|FILE.json");
  command
      .add_option("--columns", given.columns,
                  "Which columns hold what: time, ax, ay, az, gx, gy, gz,\ngravityx, "
                  "gravityy, gravityz; sensor, x, y, z where a row is\nof one sensor; "
                  "each by its title or number")
      ->transform(pairs_for(take_column))
      ->option_text("time=1,ax=TITLE,...");
  command
      .add_option("--units", given.units,
                  "acc=m/s2, g, mg or raw:COUNTS of 1 g; gyro=deg/s, rad/s,\nmdps or "
                  "raw:COUNTS of 1 deg/s; time=s, ms, us, ns or date")
      ->transform(pairs_for(take_unit))
      ->option_text("acc=U,gyro=U,time=U");
  command
      .add_option("--sensors", given.sensors,
                  "What the column of sensors says in rows of each")
      ->transform(pairs_for(take_sensor))
      ->option_text("acc=WORD,gyro=WORD");
  add_value(command, "--axes", given.axes,
            "The watch's axes as axes of the device: -y,x,z is\nx = -y, y = x, z = z",
            three_axes(), "X,Y,Z");
  add_value(command, "--acc-axes", given.acc_axes, "The same for the accelerometer alone",
            three_axes(), "X,Y,Z");
  add_value(command, "--gyro-axes", given.gyro_axes, "The same for the gyroscope alone",
            three_axes(), "X,Y,Z");
  add_value(command, "--sample-rate", given.rate,
            "Samples per second, instead of time stamps", within(kRates), "HZ");
  command.add_flag("--nearest", given.nearest,
                   "Join sensors with clocks of their own by the nearest\nreading, "
                   "instead of interpolation");
}

void add_inputs(OutputPlan& plan, const ImportArguments& given) {
  if (is_file(given.profile)) plan.reads("--profile", given.profile);
}

ImportProfile profile_given(const ImportArguments& given) {
  ImportProfile profile;
  if (is_file(given.profile)) {
    profile = read_profile(given.profile);
  } else if (!given.profile.empty()) {
    profile.name = given.profile;
  }
  // All of it was checked when the command line was read.
  if (!given.columns.empty()) take_pairs(given.columns, take_column, profile);
  if (!given.units.empty()) take_pairs(given.units, take_unit, profile);
  if (!given.sensors.empty()) take_pairs(given.sensors, take_sensor, profile);
  if (!given.axes.empty()) profile.axes = axes_from(given.axes);
  if (!given.acc_axes.empty()) profile.acc_axes = axes_from(given.acc_axes);
  if (!given.gyro_axes.empty()) profile.gyro_axes = axes_from(given.gyro_axes);
  if (given.rate) profile.rate = given.rate;
  if (given.nearest) profile.joining = Joining::kNearest;
  return profile;
}

}  // namespace wgr
