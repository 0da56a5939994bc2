#include "training/model_output.h"

#include <cmath>
#include <filesystem>
#include <new>
#include <sstream>

#include "base/text.h"
#include "segmentation/recording_set.h"

namespace wgr {

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

std::optional<OtherRate> other_rate_of(const std::string& model, int rate) {
  if (model.empty()) return std::nullopt;
  const std::optional<Provenance> built_from = provenance_of(model);
  return other_rate(built_from ? built_from->rate : 0, rate);
}

}  // namespace wgr
