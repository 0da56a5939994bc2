#include "training/model_output.h"

#include <cmath>
#include <filesystem>
#include <new>
#include <sstream>

#include "base/foreign_text.h"
#include "base/table.h"
#include "segmentation/recording_set.h"

namespace wgr {

static constexpr double kRuleOfThree = 3.0;

std::string model_text(const Gmodel& model) {
  std::ostringstream text;
  model.write(text);
  if (!text) throw std::bad_alloc();
  return text.str();
}

static std::string beside(const std::string& path, const char* extension) {
  return std::filesystem::path(path).replace_extension(extension);
}

std::string report_path(const std::string& model) { return beside(model, ".report.txt"); }

std::string manifest_path(const std::string& model) {
  return beside(model, ".model.json");
}

static std::string name_of(int label, const Provenance& provenance) {
  for (const auto& [word, number] : provenance.classes) {
    if (number == label && word != std::to_string(label)) return " " + word;
  }
  return "";
}

static double share(size_t part, size_t whole) {
  return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}

static std::string percent(size_t part, size_t whole) {
  return fixed(100.0 * share(part, whole), 1) + " %";
}

std::string report_text(const BuildReport& report, const BuildOptions& options,
                        const Provenance& provenance) {
  const std::string left_out =
      options.cross_subject ? "leaving each one's own takes out" : "leaving one out";
  std::string text;
  if (!report.sweep.empty()) {
    text += "preference  templates  right, " + left_out + "\n";
    for (const SweepStep& step : report.sweep) {
      char line[120];
      std::snprintf(line, sizeof line, "%10s  %9zu  %6s %%%s%s\n",
                    fixed(step.preference, 2).c_str(), step.templates,
                    fixed(100.0 * step.accuracy, 1).c_str(),
                    step.grown ? "  with more for the confused" : "",
                    step.chosen         ? "  <- chosen"
                    : !step.in_question ? "  too many"
                                        : "");
      text += line;
    }
    text += "the smallest set within " + fixed(100.0 * options.margin, 1) +
            " % of the best, with at most " + fixed(100.0 * options.most_share, 1) +
            " % of each class's samples\n";
  }
  for (const ClassReport& c : report.classes) {
    text += "class " + std::to_string(c.label) + shown(name_of(c.label, provenance)) +
            ": " + std::to_string(c.samples) + " samples, " +
            std::to_string(c.templates) + " templates (" + c.chosen_by + "), threshold " +
            fixed(c.threshold, 4) + ": " + std::to_string(c.right) + " right, " +
            std::to_string(c.confused) + " confused, " + std::to_string(c.refused) +
            " refused\n";
  }
  if (report.background == 0) {
    text +=
        "no background: thresholds lie half again below each class's least alike "
        "sample, and what they keep out of everyday movement is not known\n";
  }
  for (const std::string& note : report.notes) text += note + "\n";
  text += left_out + ": " + percent(report.named(), report.samples()) + " of " +
          std::to_string(report.samples()) + " named right, " +
          percent(report.accepted(), report.samples()) + " accepted as well; " +
          std::to_string(report.background_accepted) + " of " +
          std::to_string(report.background) + " background samples accepted\n";
  if (report.background_allowed) {
    const double hours = options.background_hours;
    text += "false events: " + fixed(*options.false_positives_per_hour, 2) +
            " an hour aimed at, " + std::to_string(*report.background_allowed) +
            " allowed in " + fixed(hours, 2) + " h of background, " +
            std::to_string(report.background_accepted) + " accepted\n";
    if (hours * *options.false_positives_per_hour < kRuleOfThree) {
      text += "so little background cannot show that: none in " + fixed(hours, 2) +
              " h means no more than " + fixed(kRuleOfThree / hours, 1) +
              " an hour, with 95 % confidence\n";
    }
    if (report.background_accepted > *report.background_allowed) {
      text += "the aim was missed: background and gestures score alike\n";
    }
  }
  return text;
}

// Six digits, so that machines whose last digits differ write the same.
static double rounded(double value) { return std::round(value * 1e6) / 1e6; }

nlohmann::ordered_json manifest(const BuildReport& report, const BuildOptions& options,
                                const Provenance& provenance,
                                const std::string& model_sha256) {
  nlohmann::ordered_json json;
  json["tool"] = std::string("wgr ") + WGR_VERSION;
  json["model_sha256"] = model_sha256;
  nlohmann::ordered_json& build = json["build"];
  build["false_cost"] = options.false_cost;
  if (options.most_templates) {
    build["most_templates"] = *options.most_templates;
  } else {
    build["margin"] = options.margin;
  }
  build["share"] = rounded(options.most_share);
  build["judged_by"] = options.cross_subject ? "other subjects" : "other samples";
  if (options.false_positives_per_hour)
    build["false_positives_per_hour"] = *options.false_positives_per_hour;
  build["background_hours"] = rounded(options.background_hours);
  nlohmann::ordered_json& accuracy = json["accuracy_leaving_one_out"];
  accuracy["samples"] = report.samples();
  accuracy["named_right"] = rounded(share(report.named(), report.samples()));
  accuracy["accepted_as_well"] = rounded(share(report.accepted(), report.samples()));
  accuracy["background_samples"] = report.background;
  accuracy["background_accepted"] = report.background_accepted;
  json["model_classes"] = nlohmann::ordered_json::array();
  for (const ClassReport& c : report.classes) {
    json["model_classes"].push_back({{"label", c.label},
                                     {"samples", c.samples},
                                     {"templates", c.templates},
                                     {"chosen_by", c.chosen_by},
                                     {"threshold", rounded(c.threshold)},
                                     {"right", c.right},
                                     {"confused", c.confused},
                                     {"refused", c.refused}});
  }
  json["notes"] = report.notes;
  json["samples"] = to_json(provenance);
  return json;
}

JsonField manifest_fields() {
  const NumberRange count = whole_from(0, 1e9);
  const NumberRange share_range = number_from(0, 1);
  JsonField samples = description_fields(false);
  samples.name = "samples";
  return object_field(
      "",
      {text_field("tool"), sha256_field("model_sha256"),
       object_field("build", {number_field("false_cost", number_from(0, 1e6)),
                              optional(number_field("most_templates", count)),
                              optional(number_field("margin", share_range)),
                              number_field("share", share_range), text_field("judged_by"),
                              optional(number_field("false_positives_per_hour",
                                                    number_from(0, 1e9))),
                              number_field("background_hours", number_from(0, 1e6))}),
       object_field(
           "accuracy_leaving_one_out",
           {number_field("samples", count), number_field("named_right", share_range),
            number_field("accepted_as_well", share_range),
            number_field("background_samples", count),
            number_field("background_accepted", count)}),
       list_field(
           "model_classes",
           object_field(
               "class",
               {number_field("label", whole_from(0, kHighestLabel)),
                number_field("samples", count), number_field("templates", count),
                text_field("chosen_by"), number_field("threshold", number_from(-1e6, 0)),
                number_field("right", count), number_field("confused", count),
                number_field("refused", count)})),
       list_field("notes", text_field("note")), samples});
}

}  // namespace wgr
