#include "text/comparison.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/text.h"
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

struct Figure {
  const char* field;
  const char* name;
  const char* unit;
  bool more_is_better;
};

}  // namespace

static constexpr Figure kFigures[] = {
    {"accuracy", "reported as their class", kShare, true},
    {"kept_accuracy", "of those kept", kShare, true},
    {"classified_right", "classified right whatever the score", kShare, true},
    {"baseline_1nn", "1-NN baseline", kShare, true},
    {"false_positives_per_hour", "false positives", kHourly, false},
    {"false_per_hour_bound_95", "false positives, no more than", kHourly, false},
    {"latency", "latency", kSeconds, false},
    {"latency_worst", "longest latency", kSeconds, false},
};

static std::vector<JsonField> evaluation_fields() {
  const NumberRange any = number_from(-kMost, kMost);
  const JsonField count = number_field("", whole_from(0, kMost));
  std::vector<JsonField> fields = {
      number_field("repetitions", whole_from(0, kMost)),
      number_field("background_hours", number_from(0, kMost)),
      map_field("confusion", map_field("", count)),
      map_field("classes", object_field("", {text_field("name"),
                                             optional(number_field("recall", any)),
                                             optional(number_field("precision", any))})),
      map_field("misses", count)};
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
                                             text_field("precision")};
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

static Json change(const std::string& group, const std::string& name, const char* unit,
                   const Json& old, const Json& now, bool more_is_better) {
  Json better = nullptr;
  if (old.is_number() && now.is_number() && old.get<double>() != now.get<double>()) {
    better = (now.get<double>() > old.get<double>()) == more_is_better;
  }
  return {{"group", group}, {"name", name}, {"unit", unit},
          {"old", old},     {"new", now},   {"better", better}};
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

static void compare_classes(Json& old, Json& now, Json& changes) {
  std::vector<Json> found;
  const Json none = Json::object();
  for (const std::string& label : names_of(old["classes"], now["classes"])) {
    const auto of = [&](Json& json) { return json["classes"].value(label, none); };
    for (const char* const share : {"recall", "precision"}) {
      found.push_back(change("classes", class_text(label, old, now) + ", " + share,
                             kShare, value_or_null(of(old), share),
                             value_or_null(of(now), share), true));
    }
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
      found.push_back(change("outcomes",
                             class_text(label, old, now) + (word ? ": " : " as ") +
                                 (word ? outcome : class_text(outcome, old, now)),
                             kCount, before.value(outcome, 0), after.value(outcome, 0),
                             false));
    }
  }
  add_changed(found, changes);
}

static void compare_misses(const Json& old, const Json& now, Json& changes) {
  std::vector<Json> found;
  for (const std::string& cause : names_of(old["misses"], now["misses"])) {
    found.push_back(change("misses", cause, kCount, old["misses"].value(cause, 0),
                           now["misses"].value(cause, 0), false));
  }
  add_changed(found, changes);
}

Json comparison(const Json& old_one, const Json& now_one, const std::string& file) {
  Json old = old_one;
  Json now = now_one;
  Json changes = Json::array();
  for (const Figure& figure : kFigures) {
    const Json before = value_or_null(old, figure.field);
    const Json after = value_or_null(now, figure.field);
    if (before.is_null() && after.is_null()) continue;
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

std::string comparison_text(const Json& compared) {
  std::string text =
      fmt::format("\ncompared with {}:\n", shown(compared["with"].get<std::string>()));
  if (!compared["same_set"].get<bool>()) {
    text += "(their recordings differ: counts cannot be compared)\n";
  }
  for (const Json& one : compared["changes"]) {
    const std::string unit = one["unit"];
    const char* const sense = one["old"] == one["new"]    ? "as before"
                              : one["better"].is_null()   ? ""
                              : one["better"].get<bool>() ? "better"
                                                          : "worse";
    text +=
        fmt::format("{:44} {:>14} -> {:>14}  {}\n", shown(one["name"].get<std::string>()),
                    value_text(one["old"], unit), value_text(one["new"], unit), sense);
  }
  return text;
}

}  // namespace wgr
