#include "text/evaluation_text.h"

#include <algorithm>
#include <set>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/numbers.h"
#include "base/suggestion.h"
#include "base/text.h"
#include "evaluation/confidence.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kMsPerSecond = 1000.0;

static std::string percent_or_dash(const std::optional<double>& share) {
  return share ? percent(*share) : "-";
}

// A value below the head of its column, which has at least nine characters.
static std::string in_column(const std::string& value, const std::string& head) {
  return fmt::format(" {:>{}}", value, std::max<size_t>(head.size(), 8));
}

std::vector<std::string> outcome_columns(const std::set<std::string>& outcomes) {
  std::set<int> labels;
  for (const std::string& outcome : outcomes) {
    if (outcome != kOutcomeRejected && outcome != kOutcomeNotDetected)
      labels.insert(std::stoi(outcome));
  }
  std::vector<std::string> columns;
  for (const int label : labels) columns.push_back(std::to_string(label));
  for (const char* word : {kOutcomeRejected, kOutcomeNotDetected}) {
    if (outcomes.count(word) > 0) columns.push_back(word);
  }
  return columns;
}

static std::vector<std::string> columns_of(const Evaluation& result) {
  std::set<std::string> outcomes;
  for (const auto& [label, row] : result.confusion) {
    outcomes.insert(std::to_string(label));
    for (const auto& [outcome, count] : row) outcomes.insert(outcome);
  }
  return outcome_columns(outcomes);
}

static std::string confusion_text(const Evaluation& result,
                                  const Provenance& provenance) {
  const std::vector<std::string> columns = columns_of(result);
  std::string text = fmt::format("{:20}", "class \\ reported as");
  for (const std::string& column : columns) text += in_column(column, column);
  text += in_column("recall", "") + in_column("precision", "") + "\n";
  for (const auto& [label, row] : result.confusion) {
    std::string head = std::to_string(label);
    const std::string name = class_name(label, provenance);
    if (!name.empty()) head += " " + shown(name);
    head.resize(std::max<size_t>(head.size(), 20), ' ');
    text += head;
    for (const std::string& column : columns) {
      const auto found = row.find(column);
      text += in_column(found == row.end() ? "." : std::to_string(found->second), column);
    }
    text += in_column(percent_or_dash(result.recall(label)), "") +
            in_column(percent_or_dash(result.precision(label)), "") + "\n";
  }
  return text;
}

static std::string text_of_repetitions(const Evaluation& result,
                                       const Provenance& provenance) {
  if (result.repetitions == 0) return "";
  std::string text =
      fmt::format("accuracy:        {}: {} of {} repetitions reported as their class",
                  percent(result.accuracy()), result.right, result.repetitions);
  if (result.pre_segmented > 0) {
    text += fmt::format(" ({} of them pre-segmented and not played as streams)",
                        result.pre_segmented);
  }
  text += fmt::format(
      "\nof those kept:   {} of {}; {} classified right whatever the score",
      percent(result.kept_accuracy()), result.kept, percent(result.classified_right()));
  if (const auto all = result.baseline_1nn()) {
    text += fmt::format("; 1-NN baseline {}", percent(*all));
  }
  text += fmt::format("\n\n{}\n", confusion_text(result, provenance));
  for (const auto& [cause, count] : result.misses) {
    text += fmt::format("missed {:>8}  {}\n", count, cause);
  }
  return text;
}

namespace {

// The share of right ones in each part that was left out.
struct Spread {
  double mean = 0.0;
  double worst = 1.0;
  std::string worst_of;
  std::pair<double, double> interval;  // of the mean
};

}  // namespace

static std::optional<Spread> spread_of(const Evaluation& result) {
  Spread spread;
  std::vector<double> shares;
  for (const Fold& fold : result.folds) {
    if (fold.repetitions == 0) continue;
    shares.push_back(share(fold.right, fold.repetitions));
    spread.mean += shares.back();
    if (shares.back() >= spread.worst && !spread.worst_of.empty()) continue;
    spread.worst = shares.back();
    spread.worst_of = fold.left_out;
  }
  if (shares.size() < 2) return std::nullopt;
  spread.mean /= static_cast<double>(shares.size());
  spread.interval = bootstrap_interval(shares);
  return spread;
}

// Three steps: what all templates would classify, what the chosen ones do, and what comes
// out of the streams in the end.
static std::string text_of_parts(const Evaluation& result) {
  const std::optional<Spread> spread = spread_of(result);
  if (!spread) return "";
  std::string text = fmt::format(
      "over {} parts left out: {} on average, {} to {} with 95 % confidence (bootstrap); "
      "worst {}, {}\n",
      result.folds.size(), percent(spread->mean), percent(spread->interval.first),
      percent(spread->interval.second), percent(spread->worst), shown(spread->worst_of));
  if (const auto all = result.baseline_1nn()) {
    text += fmt::format(
        "of {} kept: {} with all repetitions as templates, {} with the chosen ones, {} "
        "reported; of all {}: {} reported\n",
        result.kept, percent(*all), percent(result.classified_right()),
        percent(result.kept_accuracy()), result.repetitions, percent(result.accuracy()));
  }
  return text;
}

static std::string text_of_background(const Evaluation& result) {
  const auto rate = result.false_positives_per_hour();
  if (!rate) return "false positives: no background to count them in\n";
  return fmt::format(
      "false positives: {} in {:.3f} h of background: {:.2f} an hour, no more than "
      "{:.1f} with 95 % confidence; {} reported there as like no gesture\n",
      result.false_positives, result.background_hours, *rate,
      *result.false_per_hour_bound(), counted(result.rejected_outside, "motion"));
}

static std::string bounds(size_t part, size_t whole) {
  return fmt::format("{}, more than {} and less than {} with 95 % confidence each",
                     percent(part, whole), percent(least_share(part, whole)),
                     percent(most_share(part, whole)));
}

// The answers of one recording depend on each other; recordings and people do less.
static std::string text_of_wrists(const Evaluation& result) {
  if (result.wrists.empty()) return "";
  const WristSummary wrists = summary_of(result.wrists);
  const size_t decided = wrists.right + wrists.wrong;
  std::string text = fmt::format(
      "wrist:           right in {} of {} answers, undecided in {} of {} samples\n"
      "                 majority of a recording's answers: right in {} of {} ({}), wrong "
      "in {}\n"
      "                 more than twice the other wrist's, of 100 and more: right in {}, "
      "wrong in {}, undecided in {}\n",
      percent(wrists.right, decided), decided,
      percent(wrists.samples - decided, wrists.samples), wrists.samples,
      wrists.majority_right, wrists.recordings,
      bounds(wrists.majority_right, wrists.recordings), wrists.majority_wrong,
      wrists.clear_right, wrists.clear_wrong,
      wrists.recordings - wrists.clear_right - wrists.clear_wrong);
  if (wrists.subjects > 0) {
    text += fmt::format(
        "                 answers of {} subjects: right in {} on average, {} to {} with "
        "95 % confidence (bootstrap); worst {}, {}\n",
        wrists.subjects, percent(wrists.mean), percent(wrists.interval.first),
        percent(wrists.interval.second), percent(wrists.worst), shown(wrists.worst_of));
  }
  return text;
}

static Json wrists_json(const Evaluation& result) {
  const WristSummary wrists = summary_of(result.wrists);
  Json json = {
      {"recordings", wrists.recordings},
      {"samples", wrists.samples},
      {"right", wrists.right},
      {"wrong", wrists.wrong},
      {"majority_right", wrists.majority_right},
      {"majority_wrong", wrists.majority_wrong},
      {"clear_right", wrists.clear_right},
      {"clear_wrong", wrists.clear_wrong},
      {"majority_low_95", least_share(wrists.majority_right, wrists.recordings)},
      {"majority_high_95", most_share(wrists.majority_right, wrists.recordings)}};
  if (wrists.subjects > 0) {
    json["over_subjects"] = {{"subjects", wrists.subjects},
                             {"mean", wrists.mean},
                             {"low_95", wrists.interval.first},
                             {"high_95", wrists.interval.second},
                             {"worst", wrists.worst}};
  }
  return json;
}

std::string text_of(const Evaluation& result, const Provenance& provenance) {
  std::string text = text_of_repetitions(result, provenance) + text_of_background(result);
  if (const auto median = result.latency(0.5)) {
    text += fmt::format(
        "latency:         {:.0f} ms, at most {:.0f} ms, from the labelled end of a "
        "repetition to its event\n",
        *median * kMsPerSecond, *result.latency(1.0) * kMsPerSecond);
  }
  text += text_of_wrists(result);
  if (result.folds.size() > 1) text += "\n" + text_of_parts(result);
  const bool with_settings = std::any_of(
      result.folds.begin(), result.folds.end(),
      [&](const Fold& fold) { return !(fold.host == result.folds.front().host); });
  for (size_t i = 0; result.folds.size() > 1 && i < result.folds.size(); ++i) {
    const Fold& fold = result.folds[i];
    text += fmt::format("left out {}: {} of {} repetitions right; {} from {}{}\n",
                        shown(fold.left_out), fold.right, fold.repetitions,
                        counted(fold.templates, "template"),
                        counted(fold.examples, "example"),
                        with_settings ? "; " + settings_text(fold.host) : "");
  }
  return text;
}

static std::optional<double> of_repetitions(size_t repetitions, double value) {
  if (repetitions == 0) return std::nullopt;
  return value;
}

static Json or_null(const std::optional<double>& value) {
  return value ? Json(*value) : Json(nullptr);
}

static Json settings_json(const HostSettings& host) {
  Json json = Json::object();
  if (host.static_window > 0) json["static_window"] = host.static_window;
  if (host.shortest > 0) json["min_length"] = host.shortest;
  if (host.sensitivity) json["sensitivity"] = *host.sensitivity;
  return json;
}

Json to_json(const Evaluation& result, const Provenance& provenance) {
  Json json;
  json["repetitions"] = result.repetitions;
  json["right"] = result.right;
  json["accuracy"] = or_null(of_repetitions(result.repetitions, result.accuracy()));
  json["kept"] = result.kept;
  json["kept_accuracy"] = or_null(of_repetitions(result.kept, result.kept_accuracy()));
  json["classified_right"] =
      or_null(of_repetitions(result.kept, result.classified_right()));
  json["baseline_1nn"] = or_null(result.baseline_1nn());
  json["baseline_examples"] = result.baseline.examples;
  json["pre_segmented"] = result.pre_segmented;
  json["confusion"] = Json::object();
  json["classes"] = Json::object();
  for (const auto& [label, row] : result.confusion) {
    const std::string number = std::to_string(label);
    json["confusion"][number] = row;
    json["classes"][number] = {{"name", class_name(label, provenance)},
                               {"recall", or_null(result.recall(label))},
                               {"precision", or_null(result.precision(label))},
                               {"reported", result.reported_as(label)}};
  }
  json["misses"] = result.misses;
  json["false_positives"] = result.false_positives;
  json["reported_as_no_gesture"] = result.rejected_outside;
  json["background_hours"] = result.background_hours;
  json["false_positives_per_hour"] = or_null(result.false_positives_per_hour());
  json["false_per_hour_bound_95"] = or_null(result.false_per_hour_bound());
  json["latency"] = or_null(result.latency(0.5));
  const auto median = median_estimate(result.latencies);
  json["latency_low_95"] = median ? Json(median->low) : Json();
  json["latency_high_95"] = median ? Json(median->high) : Json();
  json["latency_worst"] = or_null(result.latency(1.0));
  if (!result.wrists.empty()) json["wrist"] = wrists_json(result);
  if (const auto spread = spread_of(result)) {
    json["over_parts"] = {{"mean", spread->mean},
                          {"low_95", spread->interval.first},
                          {"high_95", spread->interval.second},
                          {"worst", spread->worst}};
  }
  json["folds"] = Json::array();
  for (const Fold& fold : result.folds) {
    json["folds"].push_back({{"left_out", fold.left_out},
                             {"examples", fold.examples},
                             {"templates", fold.templates},
                             {"settings", settings_json(fold.host)},
                             {"repetitions", fold.repetitions},
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

static constexpr Figure kFigures[] = {
    {"accuracy", true,
     [](const Evaluation& e) { return of_repetitions(e.repetitions, e.accuracy()); }},
    {"kept_accuracy", true,
     [](const Evaluation& e) { return of_repetitions(e.kept, e.kept_accuracy()); }},
    {"classified_right", true,
     [](const Evaluation& e) { return of_repetitions(e.kept, e.classified_right()); }},
    {"false_positives_per_hour", false,
     [](const Evaluation& e) { return e.false_positives_per_hour(); }},
    {"latency", false, [](const Evaluation& e) { return e.latency(0.5); }},
};

static constexpr NumberRange kRequired = number_from(-1e6, 1e6);

static const Figure* figure_of(const std::string& name) {
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
  if (figure_of(figure) == nullptr) {
    std::string all;
    for (const std::string& name : names) all += (all.empty() ? "" : ", ") + name;
    return fmt::format("FIGURE=VALUE is required, with one of {}, not {}{}", all,
                       wgr::quoted(text), did_you_mean(figure, names));
  }
  if (sign == text.size()) return figure + "=VALUE is required, not " + wgr::quoted(text);
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
  const Figure& figure = *figure_of(requirement.figure);
  const std::optional<double> value = figure.value(result);
  if (!value)
    return requirement.figure + " is required, but there was nothing to measure";
  const bool good =
      figure.at_least ? *value >= requirement.value : *value <= requirement.value;
  if (good) return "";
  return fmt::format("{} is {:.4f}; at {}{:.4f} is required", requirement.figure, *value,
                     figure.at_least ? "least " : "most ", requirement.value);
}

}  // namespace wgr
