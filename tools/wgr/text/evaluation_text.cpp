#include "text/evaluation_text.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/numbers.h"
#include "base/suggestion.h"
#include "base/table.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kMsPerSecond = 1000.0;
static constexpr size_t kColumn = 9;  // characters

static std::string percent(double share) { return fixed(100.0 * share, 1) + " %"; }

static std::string percent(const std::optional<double>& share) {
  return share ? percent(*share) : "-";
}

static std::string padded(const std::string& text) {
  return std::string(text.size() < kColumn ? kColumn - text.size() : 1, ' ') + text;
}

static std::string name_of(int label, const Provenance& provenance) {
  for (const auto& [word, number] : provenance.classes) {
    if (number == label && word != std::to_string(label)) return " " + word;
  }
  return "";
}

// What was reported for takes: numbers in their order, then words.
static std::vector<std::string> columns_of(const Evaluation& result) {
  std::set<int> numbers;
  std::set<std::string> words;
  for (const auto& [label, row] : result.confusion) {
    numbers.insert(label);
    for (const auto& [what, count] : row) {
      if (what == kRefused || what == kNothing) {
        words.insert(what);
      } else {
        numbers.insert(std::stoi(what));
      }
    }
  }
  std::vector<std::string> columns;
  for (const int number : numbers) columns.push_back(std::to_string(number));
  for (const char* word : {kRefused, kNothing}) {
    if (words.count(word) > 0) columns.push_back(word);
  }
  return columns;
}

static std::string confusion_text(const Evaluation& result,
                                  const Provenance& provenance) {
  const std::vector<std::string> columns = columns_of(result);
  std::string text = "class \\ reported as";
  text.resize(20, ' ');
  for (const std::string& column : columns) text += padded(column);
  text += padded("recall") + padded("precision") + "\n";
  for (const auto& [label, row] : result.confusion) {
    std::string head = std::to_string(label) + shown(name_of(label, provenance));
    head.resize(std::max<size_t>(head.size(), 20), ' ');
    text += head;
    for (const std::string& column : columns) {
      const auto found = row.find(column);
      text += padded(found == row.end() ? "." : std::to_string(found->second));
    }
    text += padded(percent(result.recall(label))) +
            padded(percent(result.precision(label))) + "\n";
  }
  return text;
}

std::string text_of(const Evaluation& result, const Provenance& provenance) {
  std::string text;
  if (result.takes > 0) {
    text += "accuracy       " + percent(result.accuracy()) + ": " +
            std::to_string(result.right) + " of " + std::to_string(result.takes) +
            " takes reported as their class";
    if (result.whole > 0) {
      text += " (" + std::to_string(result.whole) +
              " of them cut beforehand and not played as streams)";
    }
    text += "\nof kept takes  " + percent(result.kept_accuracy()) + " of " +
            std::to_string(result.kept) + "; " + percent(result.named()) +
            " are nearest to a template of their class";
    if (const auto all = result.named_by_all()) {
      text += "; " + percent(*all) + " with every kept take of the rest as a template";
    }
    text += "\n\n";
    text += confusion_text(result, provenance) + "\n";
    for (const auto& [cause, count] : result.misses) {
      text += "missed" + padded(std::to_string(count)) + "  " + cause + "\n";
    }
  }
  if (const auto rate = result.false_positives_per_hour()) {
    text += "false events   " + std::to_string(result.false_events) + " in " +
            fixed(result.background_hours, 3) + " h of background: " + fixed(*rate, 2) +
            " an hour, no more than " + fixed(*result.false_per_hour_bound(), 1) +
            " with 95 % confidence; " + std::to_string(result.refused_outside) +
            " motions reported there as like no gesture\n";
  } else {
    text += "false events   no background to count them in\n";
  }
  if (const auto median = result.latency(0.5)) {
    text += "latency        " + fixed(*median * kMsPerSecond, 0) + " ms, at most " +
            fixed(*result.latency(1.0) * kMsPerSecond, 0) +
            " ms, from the labelled end of a take to its event\n";
  }
  if (result.folds.size() > 1) {
    text += "\n";
    for (const Fold& fold : result.folds) {
      text += "left out " + shown(fold.left_out) + ": " + std::to_string(fold.right) +
              " of " + std::to_string(fold.takes) + " takes right; " +
              std::to_string(fold.templates) + " templates from " +
              std::to_string(fold.samples) + " samples\n";
    }
  }
  return text;
}

static Json or_null(const std::optional<double>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json to_json(const Evaluation& result, const Provenance& provenance) {
  Json json;
  json["takes"] = result.takes;
  json["right"] = result.right;
  json["accuracy"] = result.takes > 0 ? Json(result.accuracy()) : Json(nullptr);
  json["kept"] = result.kept;
  json["kept_accuracy"] = result.kept > 0 ? Json(result.kept_accuracy()) : Json(nullptr);
  json["named"] = result.kept > 0 ? Json(result.named()) : Json(nullptr);
  json["named_by_all"] = or_null(result.named_by_all());
  json["cut_beforehand"] = result.whole;
  json["confusion"] = Json::object();
  json["classes"] = Json::object();
  for (const auto& [label, row] : result.confusion) {
    const std::string number = std::to_string(label);
    json["confusion"][number] = row;
    json["classes"][number] = {{"name", name_of(label, provenance)},
                               {"recall", or_null(result.recall(label))},
                               {"precision", or_null(result.precision(label))}};
    std::string name = name_of(label, provenance);
    if (!name.empty()) name.erase(0, 1);
    json["classes"][number]["name"] = name;
  }
  json["misses"] = result.misses;
  json["false_events"] = result.false_events;
  json["reported_as_no_gesture"] = result.refused_outside;
  json["background_hours"] = result.background_hours;
  json["false_positives_per_hour"] = or_null(result.false_positives_per_hour());
  json["false_per_hour_bound_95"] = or_null(result.false_per_hour_bound());
  json["latency"] = or_null(result.latency(0.5));
  json["latency_worst"] = or_null(result.latency(1.0));
  json["folds"] = Json::array();
  for (const Fold& fold : result.folds) {
    json["folds"].push_back({{"left_out", fold.left_out},
                             {"samples", fold.samples},
                             {"templates", fold.templates},
                             {"takes", fold.takes},
                             {"right", fold.right}});
  }
  return json;
}

namespace {

struct Figure {
  const char* name;
  bool at_least;
  std::optional<double> (*value)(const Evaluation&);
};

}  // namespace

static std::optional<double> of_takes(size_t takes, double value) {
  if (takes == 0) return std::nullopt;
  return value;
}

static constexpr Figure kFigures[] = {
    {"accuracy", true,
     [](const Evaluation& e) { return of_takes(e.takes, e.accuracy()); }},
    {"kept_accuracy", true,
     [](const Evaluation& e) { return of_takes(e.kept, e.kept_accuracy()); }},
    {"named", true, [](const Evaluation& e) { return of_takes(e.kept, e.named()); }},
    {"false_positives_per_hour", false,
     [](const Evaluation& e) { return e.false_positives_per_hour(); }},
    {"latency", false, [](const Evaluation& e) { return e.latency(0.5); }},
};

static constexpr NumberRange kRequired = number_from(-1e6, 1e6);

static const Figure* figure_named(const std::string& name) {
  for (const Figure& figure : kFigures) {
    if (name == figure.name) return &figure;
  }
  return nullptr;
}

std::string fault_in_requirement(const std::string& text) {
  const size_t sign = std::min(text.find('='), text.size());
  const std::string figure = text.substr(0, sign);
  std::vector<std::string> names;
  for (const Figure& known : kFigures) names.push_back(known.name);
  if (figure_named(figure) == nullptr) {
    std::string all;
    for (const std::string& name : names) all += (all.empty() ? "" : ", ") + name;
    return "FIGURE=VALUE is wanted, with one of " + all + ", not " + wgr::quoted(text) +
           did_you_mean(figure, names);
  }
  if (sign == text.size()) return figure + "=VALUE is wanted, not " + wgr::quoted(text);
  const std::string value = text.substr(sign + 1);
  return number_of(value, kRequired) ? "" : figure + "=: " + wanted(kRequired, value);
}

Requirement parse(const std::string& text) {
  const std::string fault = fault_in_requirement(text);
  if (!fault.empty()) throw UsageError("--require: " + fault);
  const size_t sign = text.find('=');
  return {text.substr(0, sign), *number_of(text.substr(sign + 1), kRequired)};
}

std::string failure_of(const Requirement& requirement, const Evaluation& result) {
  const Figure& figure = *figure_named(requirement.figure);
  const std::optional<double> value = figure.value(result);
  if (!value)
    return requirement.figure + " is required, but there was nothing to measure";
  const bool good =
      figure.at_least ? *value >= requirement.value : *value <= requirement.value;
  if (good) return "";
  return requirement.figure + " is " + fixed(*value, 4) + "; at " +
         (figure.at_least ? "least " : "most ") + fixed(requirement.value, 4) +
         " is required";
}

}  // namespace wgr
