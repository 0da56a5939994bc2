#include "training/model_output.h"

#include <cmath>
#include <filesystem>
#include <new>
#include <sstream>

#include "base/foreign_text.h"
#include "base/text.h"
#include "segmentation/recording_set.h"

namespace wgr {

static constexpr double kRuleOfThree = 3.0;

std::string model_text(const Gmodel& model) {
  std::ostringstream text;
  model.write(text);
  if (!text) throw std::bad_alloc();
  return text.str();
}

Gmodel as_read_back(const Gmodel& model) {
  std::istringstream text(model_text(model));
  Gmodel read;
  read.read(text);
  return read;
}

static std::string beside(const std::string& path, const char* extension) {
  return std::filesystem::path(path).replace_extension(extension);
}

std::string report_path(const std::string& model) { return beside(model, ".report.txt"); }

std::string manifest_path(const std::string& model) {
  return beside(model, ".model.json");
}

const char* left_out_text(LeftOut by) {
  switch (by) {
    case LeftOut::kSubjects:
      return "leaving subjects out";
    case LeftOut::kSessions:
      return "leaving sessions out";
    default:
      return "leaving repetitions out";
  }
}

std::string kind_text(const KindStep& step) {
  const std::string size =
      step.per_class > 0 ? fmt::format(", {} a class", step.per_class) : "";
  return name_of(step.kind) + size;
}

static std::string text_of(const std::vector<SweepStep>& sweep) {
  if (sweep.empty()) return "";
  std::string text = "exemplars: preference  templates  right\n";
  for (const SweepStep& step : sweep) {
    text += fmt::format("{:21.2f}  {:9}  {:6.1f} %{}{}\n", step.preference,
                        step.templates, 100.0 * step.accuracy,
                        step.grown ? "  with more for the misclassified" : "",
                        step.chosen         ? "  <- chosen"
                        : !step.in_question ? "  too many"
                                            : "");
  }
  return text;
}

static std::string text_of(const std::vector<KindStep>& kinds,
                           const BuildOptions& options, LeftOut by) {
  std::string text = fmt::format("{:28}  templates  right, {}\n", "kind of templates",
                                 left_out_text(by));
  for (const KindStep& step : kinds) {
    text += fmt::format("{:28}  {:9}  {:6.1f} %{}\n", kind_text(step), step.templates,
                        100.0 * step.accuracy, step.chosen ? "  <- chosen" : "");
  }
  return text + fmt::format(
                    "the fewest templates within {} of the best, with at most {} of each "
                    "class's examples\n",
                    percent(options.tolerance), percent(options.most_share));
}

// Without background there is nothing to compare.
static std::string text_of(const std::vector<BackgroundStep>& steps) {
  if (steps.empty() || (steps.size() == 1 && steps[0].templates == 0)) return "";
  std::string text = "templates of background  points  right and accepted  background\n";
  for (const BackgroundStep& step : steps) {
    text += fmt::format("{:23}  {:6}  {:18}  {:10}{}\n", step.templates, step.points,
                        step.accepted, step.background_accepted,
                        step.chosen ? "  <- chosen" : "");
  }
  return text;
}

static std::string text_of(const ClassReport& c, const Provenance& provenance) {
  const std::string name = shown(class_name(c.label, provenance));
  return fmt::format(
      "class {}{}{}: {} examples, {} templates ({}), threshold {:.4f}: {} right, "
      "{} misclassified, {} rejected{}\n",
      c.label, name.empty() ? "" : " ", name, c.examples, c.templates, c.chosen_by,
      c.threshold, c.right, c.misclassified, c.rejected,
      c.like_background > 0 ? fmt::format(", {} like background", c.like_background)
                            : "");
}

static std::vector<std::string> background_caveats(const BuildReport& report,
                                                   const BuildOptions& options) {
  std::vector<std::string> caveats;
  if (!report.background_allowed) return caveats;
  const double hours = options.background_hours;
  if (hours * *options.false_positives_per_hour < kRuleOfThree) {
    caveats.push_back(fmt::format(
        "so little background cannot show that: none in {:.2f} h means no more than "
        "{:.1f} an hour, with 95 % confidence",
        hours, kRuleOfThree / hours));
  }
  if (report.background_accepted > *report.background_allowed) {
    caveats.push_back("the aim was missed: background and gestures score alike");
  }
  return caveats;
}

static std::vector<std::string> example_caveats(const BuildReport& report) {
  std::vector<std::string> caveats;
  if (report.background == 0) {
    caveats.push_back(
        "no background: thresholds lie half again below each class's least alike "
        "example, and what they keep out of everyday movement is not known");
  }
  caveats.insert(caveats.end(), report.notes.begin(), report.notes.end());
  return caveats;
}

std::vector<std::string> caveats_of(const BuildReport& report,
                                    const BuildOptions& options) {
  std::vector<std::string> caveats = example_caveats(report);
  for (const std::string& caveat : background_caveats(report, options)) {
    caveats.push_back(caveat);
  }
  return caveats;
}

static std::string false_positives_text(const BuildReport& report,
                                        const BuildOptions& options) {
  if (!report.background_allowed) return "";
  return fmt::format(
      "false positives: {:.2f} an hour aimed at, {} allowed in {:.2f} h of background, "
      "{} accepted\n",
      *options.false_positives_per_hour, *report.background_allowed,
      options.background_hours, report.background_accepted);
}

static std::string host_text(const Provenance& provenance) {
  if (provenance.rate == 0 || provenance.static_window == 0) return "";
  return "the host must set what the examples were segmented with:\n" +
         calls_of(host_settings_of(provenance), provenance.rate, "  ");
}

std::string report_text(const BuildReport& report, const BuildOptions& options,
                        const Provenance& provenance) {
  const std::string left_out = left_out_text(report.judged_by);
  std::string text =
      text_of(report.kinds, options, report.judged_by) + text_of(report.sweep);
  text += text_of(report.background_steps);
  for (const ClassReport& c : report.classes) text += text_of(c, provenance);
  for (const std::string& caveat : example_caveats(report)) text += caveat + "\n";
  text += fmt::format(
      "{}: {} of {} classified right, {} accepted as well; {} of {} background examples "
      "accepted\n",
      left_out, percent(report.classified_right(), report.examples()), report.examples(),
      percent(report.accepted(), report.examples()), report.background_accepted,
      report.background);
  text += false_positives_text(report, options);
  for (const std::string& caveat : background_caveats(report, options)) {
    text += caveat + "\n";
  }
  return text + host_text(provenance);
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
    build["tolerance"] = options.tolerance;
  }
  build["share"] = rounded(options.most_share);
  build["judged_by"] = left_out_text(report.judged_by);
  if (options.false_positives_per_hour)
    build["false_positives_per_hour"] = *options.false_positives_per_hour;
  build["background_hours"] = rounded(options.background_hours);
  build["background_templates"] = report.background_templates;
  nlohmann::ordered_json& accuracy = json["accuracy_leaving_one_out"];
  accuracy["examples"] = report.examples();
  accuracy["classified_right"] =
      rounded(share(report.classified_right(), report.examples()));
  accuracy["accepted_as_well"] = rounded(share(report.accepted(), report.examples()));
  accuracy["background_examples"] = report.background;
  accuracy["background_accepted"] = report.background_accepted;
  json["model_classes"] = nlohmann::ordered_json::array();
  for (const ClassReport& c : report.classes) {
    json["model_classes"].push_back({{"label", c.label},
                                     {"examples", c.examples},
                                     {"templates", c.templates},
                                     {"chosen_by", c.chosen_by},
                                     {"threshold", rounded(c.threshold)},
                                     {"right", c.right},
                                     {"misclassified", c.misclassified},
                                     {"rejected", c.rejected},
                                     {"like_background", c.like_background}});
  }
  json["notes"] = report.notes;
  json["training_set"] = to_json(provenance);
  return json;
}

JsonField manifest_fields() {
  const NumberRange count = whole_from(0, 1e9);
  const NumberRange share_range = number_from(0, 1);
  JsonField training_set = description_fields(false);
  training_set.name = "training_set";
  return object_field(
      "",
      {text_field("tool"), sha256_field("model_sha256"),
       object_field("build", {number_field("false_cost", number_from(0, 1e6)),
                              optional(number_field("most_templates", count)),
                              optional(number_field("tolerance", share_range)),
                              number_field("share", share_range), text_field("judged_by"),
                              optional(number_field("false_positives_per_hour",
                                                    number_from(0, 1e9))),
                              optional(number_field("background_templates", count)),
                              number_field("background_hours", number_from(0, 1e6))}),
       object_field("accuracy_leaving_one_out",
                    {number_field("examples", count),
                     number_field("classified_right", share_range),
                     number_field("accepted_as_well", share_range),
                     number_field("background_examples", count),
                     number_field("background_accepted", count)}),
       list_field(
           "model_classes",
           object_field(
               "class",
               {number_field("label", whole_from(0, kHighestLabel)),
                number_field("examples", count), number_field("templates", count),
                text_field("chosen_by"), number_field("threshold", number_from(-1e6, 0)),
                number_field("right", count), number_field("misclassified", count),
                number_field("rejected", count),
                optional(number_field("like_background", count))})),
       list_field("notes", text_field("note")), training_set});
}

std::optional<Provenance> provenance_of(const std::string& model) {
  const std::string path = manifest_path(model);
  if (model.empty() || !std::filesystem::exists(path)) return std::nullopt;
  const nlohmann::ordered_json json = read_json(path, manifest_fields());
  if (json.at("model_sha256") != sha256_of_file(model)) {
    warn("{}: describes another model; it does not count", path);
    return std::nullopt;
  }
  return provenance_from(json.at("training_set"), path);
}

}  // namespace wgr
