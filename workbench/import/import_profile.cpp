#include "import/import_profile.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/numbers.h"
#include "base/suggestion.h"
#include "json/fields.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kGravity = 9.80665;  // m/s²
static constexpr NumberRange kCounts = number_above(0, 1e9);
static constexpr NumberRange kRates = number_above(0, 100000);
static constexpr char kRawWord[] = "raw:";
static constexpr char kAxisLetters[] = "xyz";

static constexpr std::array<const char*, kLogColumns> kColumnWords = {
    "time", "sensor",   "ax",       "ay",       "az", "gx", "gy",
    "gz",   "gravityx", "gravityy", "gravityz", "x",  "y",  "z"};

namespace {

struct UnitWord {
  Quantity quantity;
  const char* word;
  double factor;
  std::vector<std::string> spellings;  // lower case, without blanks, ^ and brackets
};

}  // namespace

static const std::vector<UnitWord>& unit_table() {
  static const std::vector<UnitWord> kUnits = {
      {Quantity::kTime, "s", 1.0, {"s", "sec", "secs", "second", "seconds"}},
      {Quantity::kTime, "ms", 1e3, {"ms", "msec", "millis", "milliseconds"}},
      {Quantity::kTime, "us", 1e6, {"us", "µs", "μs", "usec", "micros", "microseconds"}},
      {Quantity::kTime, "ns", 1e9, {"ns", "nsec", "nanos", "nanoseconds"}},
      {Quantity::kTime, kDateUnit, 1e9, {"date", "datetime", "txt", "iso8601"}},
      {Quantity::kAcc,
       "m/s2",
       1.0,
       {"m/s2", "m/s²", "m/s/s", "ms2", "ms-2", "ms⁻²", "m.s-2", "mps2", "mpss", "m/sec2",
        "mss"}},
      {Quantity::kAcc, "g", kGravity, {"g", "gs", "g's", "gforce", "g0"}},
      {Quantity::kAcc, "mg", kGravity / 1000.0, {"mg", "milli-g", "millig"}},
      {Quantity::kGyro,
       "deg/s",
       1.0,
       {"deg/s", "°/s", "º/s", "dps", "degs", "deg/sec", "degrees/s", "degps",
        "degrees/second"}},
      {Quantity::kGyro,
       "rad/s",
       kDegreesPerRadian,
       {"rad/s", "rads", "rps", "rad/sec", "radps", "rad.s-1", "rads-1", "radians/s",
        "radians/second"}},
      {Quantity::kGyro, "mdps", 0.001, {"mdps", "mdeg/s", "millidps"}},
  };
  return kUnits;
}

std::string column_word(LogColumn column) {
  return kColumnWords.at(static_cast<size_t>(column));
}

std::optional<LogColumn> column_from(const std::string& word) {
  for (size_t i = 0; i < kLogColumns; ++i) {
    if (word == kColumnWords[i]) return static_cast<LogColumn>(i);
  }
  return std::nullopt;
}

std::vector<std::string> column_words() {
  return {kColumnWords.begin(), kColumnWords.end()};
}

static std::string without_decoration(const std::string& text) {
  std::string plain_text;
  for (const char c : text) {
    if (c == ' ' || c == '^' || c == '*' || c == '(' || c == ')') continue;
    plain_text += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return plain_text;
}

std::optional<LogUnit> unit_from(Quantity quantity, const std::string& text) {
  const std::string spelling = without_decoration(text);
  for (const UnitWord& unit : unit_table()) {
    if (unit.quantity != quantity) continue;
    if (std::find(unit.spellings.begin(), unit.spellings.end(), spelling) !=
        unit.spellings.end()) {
      return LogUnit{unit.word, unit.factor};
    }
  }
  if (quantity == Quantity::kTime || spelling.rfind(kRawWord, 0) != 0) {
    return std::nullopt;
  }
  const auto counts = number_of(spelling.substr(sizeof kRawWord - 1), kCounts);
  if (!counts) return std::nullopt;
  const double whole = quantity == Quantity::kAcc ? kGravity : 1.0;
  return LogUnit{kRawWord + plain(*counts), whole / *counts};
}

std::vector<std::string> unit_words(Quantity quantity) {
  std::vector<std::string> words;
  for (const UnitWord& unit : unit_table()) {
    if (unit.quantity == quantity) words.emplace_back(unit.word);
  }
  if (quantity != Quantity::kTime) words.emplace_back("raw:COUNTS");
  return words;
}

std::optional<AxisMap> axes_from(const std::string& text) {
  AxisMap axes;
  std::array<bool, 3> used = {};
  size_t at = 0;
  for (size_t i = 0; i < 3; ++i) {
    if (i > 0 && (at >= text.size() || text[at++] != ',')) return std::nullopt;
    while (at < text.size() && text[at] == ' ') ++at;
    axes.sign[i] = 1;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
      axes.sign[i] = text[at++] == '-' ? -1 : 1;
    }
    if (at >= text.size()) return std::nullopt;
    const int letter = std::tolower(static_cast<unsigned char>(text[at++]));
    if (letter < 'x' || letter > 'z') return std::nullopt;
    axes.axis[i] = letter - 'x';
    bool& is_used = used[static_cast<size_t>(axes.axis[i])];
    if (is_used) return std::nullopt;
    is_used = true;
  }
  return at == text.size() ? std::optional<AxisMap>(axes) : std::nullopt;
}

std::string axes_word(const AxisMap& axes) {
  std::string text;
  for (size_t i = 0; i < 3; ++i) {
    if (i > 0) text += ',';
    if (axes.sign[i] < 0) text += '-';
    text += kAxisLetters[axes.axis[i]];
  }
  return text;
}

static ImportProfile units_of(const char* name, const char* acc, const char* gyro,
                              bool turned = false) {
  ImportProfile profile;
  profile.name = name;
  if (*acc != '\0') profile.acc = unit_from(Quantity::kAcc, acc);
  if (*gyro != '\0') profile.gyro = unit_from(Quantity::kGyro, gyro);
  if (turned) profile.acc_axes = negated(AxisMap());
  return profile;
}

const std::vector<NamedProfile>& named_profiles() {
  static const char* const kSensorLogger =
      "https://github.com/tszheichoi/awesome-sensor-logger/blob/main/COORDINATES.md";
  static const std::vector<NamedProfile> kProfiles = {
      {"wgr", "", units_of("wgr", "m/s2", "deg/s")},
      {"android", "https://developer.android.com/reference/android/hardware/SensorEvent",
       units_of("android", "m/s2", "rad/s")},
      {"ios",
       "https://developer.apple.com/documentation/coremotion/"
       "getting-raw-accelerometer-events",
       units_of("ios", "g", "rad/s", true)},
      {"phyphox",
       "https://github.com/phyphox/phyphox-experiments/blob/master/accelerometer.phyphox",
       units_of("phyphox", "m/s2", "rad/s")},
      {"sensor-logger", kSensorLogger, units_of("sensor-logger", "m/s2", "rad/s")},
      {"sensor-logger-ios", kSensorLogger,
       units_of("sensor-logger-ios", "", "rad/s", true)},
      {"arduino", "https://www.arduino.cc/en/Reference/ArduinoLSM6DS3",
       units_of("arduino", "g", "deg/s")},
      {"imu", "", units_of("imu", "", "")},
  };
  return kProfiles;
}

const NamedProfile* named_profile(const std::string& name) {
  for (const NamedProfile& profile : named_profiles()) {
    if (name == profile.name) return &profile;
  }
  return nullptr;
}

Json to_json(const ImportProfile& profile) {
  Json json = Json::object();
  json["kind"] = "wgr import profile";
  if (!profile.name.empty()) json["base"] = profile.name;
  if (!profile.columns.empty()) {
    Json& columns = json["columns"] = Json::object();
    for (const auto& [column, title] : profile.columns) {
      columns[column_word(column)] = title;
    }
  }
  if (profile.separator) json["separator"] = std::string(1, *profile.separator);
  if (profile.decimal_comma) json["decimal_comma"] = *profile.decimal_comma;
  if (profile.header) json["header"] = *profile.header;
  if (profile.time) json["time"] = profile.time->word;
  if (profile.rate) json["sample_rate"] = *profile.rate;
  if (profile.acc) json["acc"] = profile.acc->word;
  if (profile.gyro) json["gyro"] = profile.gyro->word;
  if (profile.acc_axes) json["acc_axes"] = axes_word(*profile.acc_axes);
  if (profile.gyro_axes) json["gyro_axes"] = axes_word(*profile.gyro_axes);
  if (profile.axes) json["axes"] = axes_word(*profile.axes);
  if (!profile.acc_sensor.empty()) json["acc_sensor"] = profile.acc_sensor;
  if (!profile.gyro_sensor.empty()) json["gyro_sensor"] = profile.gyro_sensor;
  if (!profile.gravity_sensor.empty()) json["gravity_sensor"] = profile.gravity_sensor;
  if (profile.joining) json["nearest"] = *profile.joining == Joining::kNearest;
  return json;
}

static JsonField profile_fields() {
  std::vector<JsonField> columns;
  for (const std::string& word : column_words()) {
    columns.push_back(optional(text_field(word)));
  }
  std::vector<JsonField> fields = {text_field("kind"),
                                   optional(object_field("columns", columns)),
                                   optional(truth_field("decimal_comma")),
                                   optional(truth_field("header")),
                                   optional(truth_field("nearest")),
                                   optional(number_field("sample_rate", kRates))};
  for (const char* const name :
       {"base", "separator", "time", "acc", "gyro", "acc_axes", "gyro_axes", "axes",
        "acc_sensor", "gyro_sensor", "gravity_sensor"}) {
    fields.push_back(optional(text_field(name)));
  }
  return object_field("", fields);
}

// The text of a field; empty where it is not there.
static std::string text_in(const Json& json, const char* name) {
  const auto found = json.find(name);
  return found == json.end() ? "" : found->get<std::string>();
}

template <class Value, class Read>
static void take(std::optional<Value>& to, const Json& json, const char* name,
                 const std::string& where, const Read& read) {
  const std::string text = text_in(json, name);
  if (text.empty()) return;
  to = read(text);
  if (!to) {
    throw UsageError(where + ": " + name + ": " + wgr::quoted(text) +
                     " is nothing that wgr import --help names");
  }
}

static void take_truth(std::optional<bool>& to, const Json& json, const char* name) {
  const auto found = json.find(name);
  if (found != json.end()) to = found->get<bool>();
}

static void take_units(ImportProfile& profile, const Json& json,
                       const std::string& where) {
  const auto unit = [](Quantity quantity) {
    return [quantity](const std::string& text) { return unit_from(quantity, text); };
  };
  take(profile.time, json, "time", where, unit(Quantity::kTime));
  take(profile.acc, json, "acc", where, unit(Quantity::kAcc));
  take(profile.gyro, json, "gyro", where, unit(Quantity::kGyro));
  take(profile.acc_axes, json, "acc_axes", where, axes_from);
  take(profile.gyro_axes, json, "gyro_axes", where, axes_from);
  take(profile.axes, json, "axes", where, axes_from);
  take(profile.separator, json, "separator", where, [](const std::string& text) {
    return text.size() == 1 ? std::optional<char>(text[0]) : std::nullopt;
  });
}

static void require_name(const std::string& name, const std::string& where) {
  if (name.empty() || named_profile(name) != nullptr) return;
  std::vector<std::string> names;
  for (const NamedProfile& profile : named_profiles()) names.emplace_back(profile.name);
  throw UsageError(where + ": base: " + wgr::quoted(name) + " is no profile" +
                   did_you_mean(name, names));
}

ImportProfile profile_from(const Json& json, const std::string& where) {
  check_json(json, profile_fields(), where);
  ImportProfile profile;
  profile.name = text_in(json, "base");
  require_name(profile.name, where);
  if (json.contains("columns")) {
    for (const auto& [word, title] : json["columns"].items()) {
      profile.columns[*column_from(word)] = title.get<std::string>();
    }
  }
  take_truth(profile.decimal_comma, json, "decimal_comma");
  take_truth(profile.header, json, "header");
  if (json.contains("sample_rate")) profile.rate = json["sample_rate"].get<double>();
  std::optional<bool> nearest;
  take_truth(nearest, json, "nearest");
  if (nearest) profile.joining = *nearest ? Joining::kNearest : Joining::kInterpolated;
  take_units(profile, json, where);
  profile.acc_sensor = text_in(json, "acc_sensor");
  profile.gyro_sensor = text_in(json, "gyro_sensor");
  profile.gravity_sensor = text_in(json, "gravity_sensor");
  return profile;
}

ImportProfile read_profile(const std::string& path) {
  return profile_from(read_json(path, profile_fields()), path);
}

}  // namespace wgr
