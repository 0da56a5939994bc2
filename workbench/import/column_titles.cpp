#include "import/column_titles.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "import/import_profile.h"

namespace wgr {

static constexpr int kWristRank = 4;
static constexpr int kUncalibratedRank = -2;
static constexpr int kUnitRank = 2;     // of a time whose unit is named
static constexpr int kElapsedRank = 1;  // of a time from the recording's start
static constexpr int kForeignRank = -4;

using Words = std::vector<std::string>;

static const Words kAccWords = {"acc",
                                "accel",
                                "accl",
                                "accelerometer",
                                "acceleration",
                                "accelerations",
                                "accelero",
                                "a",
                                "xl",
                                "beschleunigung",
                                "accelerometre",
                                "acelerometro",
                                "accelerometro",
                                "aceleracion",
                                "accelerazione",
                                "f"};
static const Words kLinearWords = {
    "linear", "lin",    "user", "useracceleration", "linearacceleration",
    "lacc",   "linacc", "la"};
static const Words kTotalWords = {"total", "including", "incl", "with",
                                  "totalacceleration"};
static const Words kGravityWords = {"gravity", "grav"};
static const Words kGyroWords = {
    "gyro",       "gyr",          "gyroscope",       "gyroskop",
    "giroscopio", "angular",      "angularvelocity", "omega",
    "w",          "rotationrate", "rotation",        "rot",
    "rotrate"};
static const Words kTimeWords = {
    "time",         "t",      "timestamp",    "ts",      "seconds",
    "second",       "sec",    "secs",         "elapsed", "millis",
    "milliseconds", "micros", "microseconds", "nanos",   "nanoseconds",
    "ms",           "us",     "ns",           "s",       "epoch",
    "unix",         "date",   "datetime",     "zeit",    "temps",
    "tiempo",       "tempo",  "stamp",        "clock",   "uptime",
    "utc"};
static const Words kSensorWords = {"sensor", "sensortype", "sensorname",
                                   "type",   "source",     "sensorid"};
// Titles that are neither axes nor times.
static const Words kForeignWords = {
    "mag",       "magnet",      "magnetometer", "magnetic",   "magnetfeld", "m",
    "compass",   "orientation", "quat",         "quaternion", "attitude",   "euler",
    "roll",      "pitch",       "yaw",          "location",   "gps",        "latitude",
    "longitude", "altitude",    "pressure",     "baro",       "barometer",  "temperature",
    "temp",      "bias",        "std",          "var",        "variance",   "abs",
    "absolute",  "norm",        "magnitude",    "heading",    "speed",      "position",
    "activity",  "pedometer",   "battery",      "vector",     "jerk",       "drift",
    "offset"};
static const Words kUncalibratedWords = {"uncalibrated", "uncal", "raw", "unfiltered"};
static const Words kWristWords = {"wrist", "watch", "hand", "wristmotion"};

static bool is_in(const std::string& word, const Words& words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

static bool any_of(const Words& tokens, const Words& words) {
  return std::any_of(tokens.begin(), tokens.end(),
                     [&](const std::string& token) { return is_in(token, words); });
}

static bool is_letter(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0 ||
         static_cast<unsigned char>(c) >= 0x80;
}

static bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }

// "accelerometerAccelerationX" is three words, "GYRO_X2" as well.
static Words words_of(std::string_view text) {
  Words words;
  std::string word;
  const auto end_word = [&] {
    if (!word.empty()) words.push_back(word);
    word.clear();
  };
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool digit = c >= '0' && c <= '9';
    if (!is_letter(c) && !digit) {
      end_word();
      continue;
    }
    if (i > 0 && !word.empty()) {
      const char before = text[i - 1];
      const bool hump = is_upper(c) && is_letter(before) && !is_upper(before);
      const bool last_of_capitals = is_upper(c) && is_upper(before) &&
                                    i + 1 < text.size() && is_letter(text[i + 1]) &&
                                    !is_upper(text[i + 1]);
      if (hump || last_of_capitals || digit != (is_letter(before) == false)) end_word();
    }
    word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  end_word();
  return words;
}

static int axis_of(const std::string& word) {
  return word == "x" ? 0 : word == "y" ? 1 : word == "z" ? 2 : -1;
}

// A word such as "accx" or "xgyro", which becomes the sensor's word and the axis.
static int split_axis(std::string& word) {
  if (word.size() < 2) return -1;
  static const std::map<std::string, std::string> kShort = {{"g", "gyro"}, {"a", "acc"}};
  for (const bool at_end : {true, false}) {
    const int axis = axis_of(at_end ? word.substr(word.size() - 1) : word.substr(0, 1));
    if (axis < 0) continue;
    const std::string rest = at_end ? word.substr(0, word.size() - 1) : word.substr(1);
    const auto found = kShort.find(rest);
    const std::string sensor = found == kShort.end() ? rest : found->second;
    if (is_in(sensor, kAccWords) || is_in(sensor, kGyroWords) ||
        is_in(sensor, kGravityWords) || is_in(sensor, kLinearWords) ||
        is_in(sensor, kForeignWords)) {
      word = sensor;
      return axis;
    }
  }
  return -1;
}

// What stands in brackets at the title's end, which is taken off it.
static std::string take_bracketed(std::string& title) {
  for (const char* const brackets : {"()", "[]", "{}"}) {
    const size_t open = title.rfind(brackets[0]);
    if (open == std::string::npos || open == 0) continue;
    const size_t close = title.find(brackets[1], open);
    if (close == std::string::npos) continue;
    const std::string inside = title.substr(open + 1, close - open - 1);
    title.erase(open);
    return inside;
  }
  return "";
}

static std::optional<Quantity> quantity_of(Meaning meaning) {
  switch (meaning) {
    case Meaning::kTime:
      return Quantity::kTime;
    case Meaning::kGyro:
      return Quantity::kGyro;
    case Meaning::kAcc:
    case Meaning::kTotalAcc:
    case Meaning::kLinearAcc:
    case Meaning::kGravity:
      return Quantity::kAcc;
    default:
      return std::nullopt;
  }
}

// The unit that the last words are, as "rad", "s" or "ms2"; they are taken off.
static std::string take_unit(Words& words, Quantity quantity) {
  for (const size_t count : {size_t{3}, size_t{2}, size_t{1}}) {
    if (words.size() < count + 1) continue;
    const auto first = words.end() - static_cast<std::ptrdiff_t>(count);
    for (const char* const joint : {"", "/"}) {
      std::string text;
      for (auto word = first; word != words.end(); ++word) {
        // Only before the time: "m/s2", "rad/s".
        text += (word == first + 1 ? joint : "") + *word;
      }
      const auto unit = unit_from(quantity, text);
      if (!unit || unit->word.rfind("raw", 0) == 0) continue;
      words.erase(first, words.end());
      return text;
    }
  }
  return "";
}

static Meaning sensor_of(const Words& words) {
  const bool linear = any_of(words, kLinearWords);
  const bool acc = any_of(words, kAccWords);
  if (any_of(words, kGyroWords) && !any_of(words, {"accelerometer", "acceleration"})) {
    return Meaning::kGyro;
  }
  if (acc && any_of(words, kTotalWords)) return Meaning::kTotalAcc;
  // "angular_velocity.x" and "linear_acceleration.x" are one vocabulary, in which the
  // latter has gravity in it: whether it has is seen from the values.
  if (linear) return Meaning::kLinearAcc;
  if (any_of(words, kGravityWords)) return Meaning::kGravity;
  return acc ? Meaning::kAcc : Meaning::kNothing;
}

static int rank_of(const Words& words) {
  int rank = 0;
  if (any_of(words, kWristWords)) rank += kWristRank;
  if (any_of(words, kUncalibratedWords)) rank += kUncalibratedRank;
  return rank;
}

static TitleMeaning time_meaning(const Words& words, std::string unit) {
  TitleMeaning found = {Meaning::kTime, -1, std::move(unit), "", 0};
  if (!found.unit.empty() && unit_from(Quantity::kTime, found.unit)) {
    found.rank += kUnitRank;
  }
  if (any_of(words, {"elapsed", "relative", "since"})) found.rank += kElapsedRank;
  if (any_of(words, kForeignWords)) found.rank += kForeignRank;
  if (any_of(words, kAccWords)) found.rank += kElapsedRank;
  return found;
}

static std::string joined(const Words& words) {
  std::string text;
  for (const std::string& word : words) text += word + " ";
  return text;
}

TitleMeaning meaning_of(const std::string& title) {
  std::string rest = title;
  std::string unit = take_bracketed(rest);
  Words words = words_of(rest);
  TitleMeaning found;
  Words without_axis;
  for (std::string& word : words) {
    const int axis = axis_of(word) >= 0 ? axis_of(word) : split_axis(word);
    if (axis >= 0 && found.axis < 0) {
      found.axis = axis;
      if (axis_of(word) >= 0) continue;
    }
    without_axis.push_back(word);
  }
  if (found.axis < 0) {
    if (any_of(words, kTimeWords)) {
      for (const std::string& word : words) {
        if (unit.empty() && unit_from(Quantity::kTime, word)) unit = word;
      }
      return time_meaning(words, unit);
    }
    if (!words.empty() && any_of(words, kSensorWords)) found.meaning = Meaning::kSensor;
    return found;
  }
  found.meaning = sensor_of(without_axis);
  for (const auto& [quantity, meaning] : {std::pair(Quantity::kAcc, Meaning::kAcc),
                                          std::pair(Quantity::kGyro, Meaning::kGyro)}) {
    if (unit.empty() &&
        (found.meaning == Meaning::kNothing || quantity_of(found.meaning) == quantity)) {
      unit = take_unit(without_axis, quantity);
    }
    if (found.meaning == Meaning::kNothing && unit_from(quantity, unit)) {
      found.meaning = meaning;
    }
  }
  if (found.meaning == Meaning::kNothing) found.meaning = Meaning::kVector;
  if (any_of(without_axis, kForeignWords)) found.meaning = Meaning::kNothing;
  found.unit = unit;
  found.group = joined(without_axis);
  found.rank = rank_of(without_axis);
  return found;
}

TitleMeaning meaning_of_name(const std::string& name) {
  const size_t folder = name.find_last_of("/\\");
  std::string base = folder == std::string::npos ? name : name.substr(folder + 1);
  if (const size_t end = base.find(".csv"); end != std::string::npos) base.resize(end);
  const Words words = words_of(base);
  TitleMeaning found;
  found.meaning = any_of(words, kForeignWords) ? Meaning::kNothing : sensor_of(words);
  found.rank = rank_of(words);
  return found;
}

std::vector<Triple> triples_of(const std::vector<std::string>& titles) {
  struct Axes {
    Triple triple;
    std::array<bool, 3> there = {};
  };
  std::vector<std::pair<std::string, Axes>> groups;
  for (size_t i = 0; i < titles.size(); ++i) {
    const TitleMeaning title = meaning_of(titles[i]);
    if (title.axis < 0 || title.meaning == Meaning::kNothing) continue;
    const std::string key = std::to_string(static_cast<int>(title.meaning)) + title.group;
    const auto axis = static_cast<size_t>(title.axis);
    auto open = std::find_if(groups.begin(), groups.end(), [&](const auto& group) {
      return group.first == key && !group.second.there[axis];
    });
    if (open == groups.end()) {
      groups.push_back(
          {key, {{title.meaning, {}, title.unit, titles[i], title.rank}, {}}});
      open = groups.end() - 1;
    }
    Axes& axes = open->second;
    axes.there[axis] = true;
    axes.triple.columns[axis] = i;
  }
  std::vector<Triple> triples;
  for (const auto& [key, axes] : groups) {
    if (axes.there[0] && axes.there[1] && axes.there[2]) triples.push_back(axes.triple);
  }
  return triples;
}

std::vector<size_t> columns_of(const std::vector<std::string>& titles, Meaning meaning) {
  std::vector<std::pair<int, size_t>> ranked;
  for (size_t i = 0; i < titles.size(); ++i) {
    const TitleMeaning title = meaning_of(titles[i]);
    if (title.meaning == meaning) ranked.emplace_back(-title.rank, i);
  }
  std::stable_sort(ranked.begin(), ranked.end());
  std::vector<size_t> columns;
  for (const auto& [rank, column] : ranked) columns.push_back(column);
  return columns;
}

}  // namespace wgr
