#include "text/comparison.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <vector>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "evaluation/confidence.h"
#include "json/fields.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kMost = 1e9;
static constexpr double kMsPerSecond = 1000.0;
static constexpr double kSameHours = 1e-3;
static constexpr char kShare[] = "share";
static constexpr char kCount[] = "count";
static constexpr char kHourly[] = "an hour";
static constexpr char kSeconds[] = "s";

namespace {

// What a figure was counted from, and so how far chance moves it.
enum class Kind { kShare, kRate, kMedian, kNoInterval };

struct Figure {
  const char* field;
  const char* name;
  const char* unit;
  bool more_is_better;
  Kind kind;
  const char* counted_from;  // the field of a share's whole
};

// One evaluation's side of a comparison.
struct Side {
  Json value;
  std::optional<Estimate> estimate = {};
};

}  // namespace

static constexpr Figure kFigures[] = {
    {"accuracy", "reported as their class", kShare, true, Kind::kShare, "repetitions"},
    {"kept_accuracy", "of those kept", kShare, true, Kind::kShare, "kept"},
    {"classified_right", "classified right whatever the score", kShare, true,
     Kind::kShare, "kept"},
    {"baseline_1nn", "1-NN baseline", kShare, true, Kind::kShare, "baseline_examples"},
    {"false_positives_per_hour", "false positives", kHourly, false, Kind::kRate, ""},
    {"false_per_hour_bound_95", "false positives, no more than", kHourly, false,
     Kind::kNoInterval, ""},
    {"latency", "latency", kSeconds, false, Kind::kMedian, ""},
    {"latency_worst", "longest latency", kSeconds, false, Kind::kNoInterval, ""},
};

// Newer than other fields.
static constexpr const char* kWholes[] = {"kept", "baseline_examples"};
static constexpr const char* kLatencyEnds[] = {"latency_low_95", "latency_high_95"};

static std::vector<JsonField> evaluation_fields() {
  const NumberRange any = number_from(-kMost, kMost);
  const JsonField count = number_field("", whole_from(0, kMost));
  std::vector<JsonField> fields = {
      number_field("repetitions", whole_from(0, kMost)),
      number_field("background_hours", number_from(0, kMost)),
      map_field("confusion", map_field("", count)),
      map_field("classes", object_field("", {text_field("name"),
                                             optional(number_field("recall", any)),
                                             optional(number_field("precision", any)),
                                             optional(number_field("reported", any))})),
      map_field("misses", count)};
  for (const char* const whole : kWholes) {
    fields.push_back(optional(number_field(whole, whole_from(0, kMost))));
  }
  for (const char* const end : kLatencyEnds) {
    fields.push_back(optional(number_field(end, any)));
  }
  for (const Figure& figure : kFigures) {
    fields.push_back(optional(number_field(figure.field, any)));
  }
  return fields;
}

// Those of the object's values that the fields name and that are not null.
static Json known_values(const Json& json, const std::vector<JsonField>& fields) {
  Json known = Json::object();
  for (const JsonField& field : fields) {
    const auto value = json.find(field.name);
    if (value != json.end() && !value->is_null()) known[field.name] = *value;
  }
  return known;
}

Json read_evaluation(const std::string& path) {
  const std::vector<JsonField> fields = evaluation_fields();
  const Json json = parse_json_file(path);
  if (!json.is_object() || !json.contains("confusion")) {
    throw UsageError(path + ": is no evaluation: wgr eval --json prints one");
  }
  Json known = known_values(json, fields);
  const auto classes = known.find("classes");
  if (classes != known.end() && classes->is_object()) {
    const std::vector<JsonField> of_class = {text_field("name"), text_field("recall"),
                                             text_field("precision"),
                                             text_field("reported")};
    for (Json& one : *classes) {
      if (one.is_object()) one = known_values(one, of_class);
    }
  }
  check_json(known, object_field("", fields), path);
  return known;
}

static Json value_or_null(const Json& json, const std::string& name) {
  const auto value = json.find(name);
  return value == json.end() ? Json(nullptr) : *value;
}

// A share of so many, unless that is not known or they are none.
static Side share_side(const Json& value, const Json& whole) {
  Side side = {value};
  if (!value.is_number() || !whole.is_number() || !(whole.get<double>() >= 1.0)) {
    return side;
  }
  const double all = std::round(whole.get<double>());
  const double part = std::clamp(std::round(value.get<double>() * all), 0.0, all);
  side.estimate = share_estimate(static_cast<size_t>(part), static_cast<size_t>(all));
  return side;
}

static Side count_side(size_t count, size_t whole) {
  Side side = {count};
  if (whole > 0) side.estimate = share_estimate(std::min(count, whole), whole);
  return side;
}

static Side rate_side(const Json& value, double hours) {
  Side side = {value};
  if (!value.is_number() || !(hours > 0.0)) return side;
  const double events = std::max(0.0, std::round(value.get<double>() * hours));
  side.estimate = rate_estimate(static_cast<size_t>(events), hours);
  return side;
}

static Side side_of(const Figure& figure, const Json& json) {
  const Json value = value_or_null(json, figure.field);
  switch (figure.kind) {
    case Kind::kShare:
      return share_side(value, value_or_null(json, figure.counted_from));
    case Kind::kRate:
      return rate_side(value, json["background_hours"].get<double>());
    case Kind::kMedian: {
      const Json low = value_or_null(json, kLatencyEnds[0]);
      const Json high = value_or_null(json, kLatencyEnds[1]);
      if (value.is_null() || low.is_null() || high.is_null()) return {value};
      return {value, Estimate{value, low, high}};
    }
    default:
      return {value};
  }
}

static Json change(const std::string& group, const std::string& name, const char* unit,
                   const Side& old, const Side& now, bool more_is_better) {
  Json low = nullptr;
  Json high = nullptr;
  Json chance = nullptr;
  if (old.estimate && now.estimate) {
    const Estimate difference = difference_estimate(*old.estimate, *now.estimate);
    low = difference.low;
    high = difference.high;
    chance = difference.low <= 0.0 && difference.high >= 0.0;
  }
  Json better = nullptr;
  if (chance == false) better = (now.value > old.value) == more_is_better;
  return {{"group", group},   {"name", name},     {"unit", unit},
          {"old", old.value}, {"new", now.value}, {"low_95", low},
          {"high_95", high},  {"chance", chance}, {"better", better}};
}

static double size_of(const Json& change) {
  const auto value = [](const Json& json) {
    return json.is_number() ? json.get<double>() : 0.0;
  };
  return std::fabs(value(change["new"]) - value(change["old"]));
}

// Adds those that changed, the greatest change first.
static void add_changed(std::vector<Json> changes, Json& to) {
  std::stable_sort(changes.begin(), changes.end(),
                   [](const Json& a, const Json& b) { return size_of(a) > size_of(b); });
  for (Json& one : changes) {
    if (one["old"] != one["new"]) to.push_back(std::move(one));
  }
}

static std::set<std::string> names_of(const Json& old, const Json& now) {
  std::set<std::string> names;
  for (const Json* const json : {&old, &now}) {
    for (const auto& [name, value] : json->items()) names.insert(name);
  }
  return names;
}

static std::string class_text(const std::string& label, const Json& old,
                              const Json& now) {
  for (const Json* const json : {&now, &old}) {
    const auto one = (*json)["classes"].find(label);
    if (one == (*json)["classes"].end() || (*one)["name"] == "") continue;
    return "class " + label + " " + (*one)["name"].get<std::string>();
  }
  return "class " + label;
}

static size_t repetitions_of(const Json& json, const std::string& label) {
  size_t all = 0;
  const Json row = json["confusion"].value(label, Json::object());
  for (const auto& [outcome, count] : row.items()) all += count.get<size_t>();
  return all;
}

static void compare_classes(Json& old, Json& now, Json& changes) {
  std::vector<Json> found;
  const Json none = Json::object();
  for (const std::string& label : names_of(old["classes"], now["classes"])) {
    const auto of = [&](Json& json) { return json["classes"].value(label, none); };
    const auto add = [&](const std::string& share, const Side& before,
                         const Side& after) {
      found.push_back(change("classes", class_text(label, old, now) + ", " + share,
                             kShare, before, after, true));
    };
    const auto recall = [&](Json& json) {
      return share_side(value_or_null(of(json), "recall"), repetitions_of(json, label));
    };
    const auto precision = [&](Json& json) {
      return share_side(value_or_null(of(json), "precision"),
                        value_or_null(of(json), "reported"));
    };
    add("recall", recall(old), recall(now));
    add("precision", precision(old), precision(now));
  }
  add_changed(found, changes);
}

// What was reported for the repetitions of a class, but for the class itself.
static void compare_outcomes(Json& old, Json& now, Json& changes) {
  std::vector<Json> found;
  const Json none = Json::object();
  for (const std::string& label : names_of(old["confusion"], now["confusion"])) {
    const Json before = old["confusion"].value(label, none);
    const Json after = now["confusion"].value(label, none);
    for (const std::string& outcome : names_of(before, after)) {
      if (outcome == label) continue;
      const bool word = outcome.find_first_not_of("0123456789") != std::string::npos;
      found.push_back(
          change("outcomes",
                 class_text(label, old, now) + (word ? ": " : " as ") +
                     (word ? outcome : class_text(outcome, old, now)),
                 kCount,
                 count_side(before.value(outcome, size_t{0}), repetitions_of(old, label)),
                 count_side(after.value(outcome, size_t{0}), repetitions_of(now, label)),
                 false));
    }
  }
  add_changed(found, changes);
}

static void compare_misses(const Json& old, const Json& now, Json& changes) {
  std::vector<Json> found;
  for (const std::string& cause : names_of(old["misses"], now["misses"])) {
    const auto of = [&](const Json& json) {
      return count_side(json["misses"].value(cause, size_t{0}),
                        json["repetitions"].get<size_t>());
    };
    found.push_back(change("misses", cause, kCount, of(old), of(now), false));
  }
  add_changed(found, changes);
}

Json comparison(const Json& old_one, const Json& now_one, const std::string& file) {
  Json old = old_one;
  Json now = now_one;
  Json changes = Json::array();
  for (const Figure& figure : kFigures) {
    const Side before = side_of(figure, old);
    const Side after = side_of(figure, now);
    if (before.value.is_null() && after.value.is_null()) continue;
    changes.push_back(change("figures", figure.name, figure.unit, before, after,
                             figure.more_is_better));
  }
  compare_classes(old, now, changes);
  compare_outcomes(old, now, changes);
  compare_misses(old, now, changes);
  const double hours =
      now["background_hours"].get<double>() - old["background_hours"].get<double>();
  const bool same_set =
      old["repetitions"] == now["repetitions"] && std::fabs(hours) < kSameHours;
  for (Json& one : changes) {
    if (!same_set && one["unit"] == kCount) one["better"] = nullptr;
  }
  return {{"with", file}, {"same_set", same_set}, {"changes", changes}};
}

static std::string value_text(const Json& value, const std::string& unit) {
  if (value.is_null()) return "-";
  const double number = value.get<double>();
  if (unit == kShare) return percent(number);
  if (unit == kSeconds) return fmt::format("{:.0f} ms", kMsPerSecond * number);
  if (unit == kHourly) return fmt::format("{:.2f} an hour", number);
  return fmt::format("{:.0f}", number);
}

// "-2.0 to +5.1 points", of counts too: of what they are counted from.
static std::string interval_text(const Json& change) {
  const std::string unit = change["unit"];
  const double scale = unit == kSeconds ? kMsPerSecond : unit == kHourly ? 1.0 : 100.0;
  const char* const name = unit == kSeconds ? "ms" : unit == kHourly ? kHourly : "points";
  const int digits = unit == kSeconds ? 0 : unit == kHourly ? 2 : 1;
  return fmt::format("{:+.{}f} to {:+.{}f} {}", scale * change["low_95"].get<double>(),
                     digits, scale * change["high_95"].get<double>(), digits, name);
}

static std::string sense_text(const Json& change) {
  const bool same = change["old"] == change["new"];
  if (change["old"].is_null() || change["new"].is_null()) return "";
  if (change["chance"].is_null()) return same ? "as before" : "no interval is known";
  const char* const sense = same                           ? "as before"
                            : change["chance"].get<bool>() ? "no more than chance"
                            : change["better"].is_null()   ? "differs"
                            : change["better"].get<bool>() ? "better"
                                                           : "worse";
  return fmt::format("{} ({})", sense, interval_text(change));
}

std::string comparison_text(const Json& compared) {
  std::string text =
      fmt::format("\ncompared with {}; in brackets the difference at 95 % confidence:\n",
                  shown(compared["with"].get<std::string>()));
  if (!compared["same_set"].get<bool>()) {
    text += "(their recordings differ: counts cannot be compared)\n";
  }
  for (const Json& one : compared["changes"]) {
    const std::string unit = one["unit"];
    text += fmt::format(
        "{:40} {:>13} -> {:>13}  {}\n", shown(one["name"].get<std::string>()),
        value_text(one["old"], unit), value_text(one["new"], unit), sense_text(one));
  }
  return text;
}

}  // namespace wgr
