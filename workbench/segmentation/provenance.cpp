#include "segmentation/provenance.h"

#include <filesystem>

#include "base/errors.h"
#include "base/text.h"
#include "json/json_text.h"
#include "recording/clock.h"
#include "segmentation/recording_set.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kMostSamples = 1e6;  // of a motion, and of the rest test
static constexpr double kStrongest = 1e6;    // m/s²
static constexpr double kMostMotions = 1e9;

// Equal names in a row as one entry: the name, and how often it stands there.
static Json runs_of(const std::vector<std::string>& names) {
  Json runs = Json::array();
  for (size_t i = 0; i < names.size(); ++i) {
    if (i == 0 || names[i] != names[i - 1]) runs.push_back({names[i], 0});
    runs.back()[1] = runs.back()[1].get<size_t>() + 1;
  }
  return runs;
}

std::string class_name(int label, const Provenance& provenance) {
  for (const auto& [word, number] : provenance.classes) {
    if (number == label && word != std::to_string(label)) return word;
  }
  return "";
}

HostSettings host_settings_of(const Provenance& p) {
  HostSettings host;
  if (p.static_window > 0) host.static_window = p.static_window;
  if (p.sensitivity) {
    host.sensitivity = p.sensitivity;
  } else if (p.shortest > 0) {
    host.shortest = p.shortest;
  }
  return host;
}

bool operator==(const HostSettings& a, const HostSettings& b) {
  return a.shortest == b.shortest && a.static_window == b.static_window &&
         a.sensitivity == b.sensitivity;
}

static constexpr int kHandWindow = 50;  // samples of get_wearer_type(): one second

std::string calls_of(const HostSettings& host, int rate, const std::string& indent) {
  std::string text = fmt::format(
      "{}init_gesture_handle(h, {}, gyro_bias, {}, -1, {}, {});\n{}set_gesture_model(h, "
      "wearer, mode);\n",
      indent, rate, host.shortest, host.static_window, kHandWindow, indent);
  if (host.sensitivity) {
    text +=
        fmt::format("{}set_gesture_rec_sensitivity(h, {});\n", indent, *host.sensitivity);
  }
  return text;
}

std::string settings_text(const HostSettings& host) {
  const std::string window = host.static_window < 1
                                 ? "the usual rest window"
                                 : fmt::format("a rest window of {}", host.static_window);
  if (host.sensitivity)
    return fmt::format("{}, sensitivity {}", window, *host.sensitivity);
  if (host.shortest < 1) return window;
  return fmt::format("{}, motions of {} and more", window, host.shortest);
}

Json to_json(const Provenance& p) {
  Json json;
  json["samples_per_second"] = p.rate;
  json["units"] = {{"acceleration", "m/s²"}, {"angular_rate", "deg/s"}, {"time", "s"}};
  json["gravity"] = p.gravity;
  json["engine"] = {{"shortest_motion", p.shortest},
                    {"static_window", p.static_window},
                    {"strength_threshold", p.strength_threshold}};
  if (p.sensitivity) json["engine"]["sensitivity"] = *p.sensitivity;
  json["background_seconds"] = p.background_seconds;
  json["classes"] = p.classes;
  json["verdicts"] = p.verdicts;
  Json inputs = Json::array();
  for (const InputFile& input : p.inputs) {
    inputs.push_back({{"file", input.file}, {"sha256", input.sha256}});
  }
  json["inputs"] = inputs;
  if (!p.subjects.empty()) json["subjects"] = runs_of(p.subjects);
  if (!p.sessions.empty()) json["sessions"] = runs_of(p.sessions);
  return json;
}

// Names that runs_of() makes.
static JsonField runs_field(const char* name, const char* of) {
  return optional(list_field(
      name, row_field("run", {text_field(of),
                              number_field("examples", whole_from(1, kMostMotions))})));
}

JsonField description_fields(bool of_file) {
  std::vector<JsonField> fields = {
      number_field("samples_per_second", whole_from(0, kHighestRate)),
      optional(map_field("units", text_field("unit"))),
      truth_field("gravity"),
      object_field("engine",
                   {number_field("shortest_motion", whole_from(0, kMostSamples)),
                    number_field("static_window", whole_from(0, kMostSamples)),
                    number_field("strength_threshold", number_from(0, kStrongest)),
                    optional(number_field("sensitivity",
                                          whole_from(-kMostSamples, kMostSamples)))}),
      number_field("background_seconds", number_from(0, kMostSeconds)),
      map_field("classes", number_field("class", whole_from(0, kHighestLabel))),
      map_field("verdicts", number_field("verdict", whole_from(0, kMostMotions))),
      list_field("inputs",
                 object_field("input", {text_field("file"), sha256_field("sha256")})),
      runs_field("subjects", "subject"),
      runs_field("sessions", "session")};
  if (of_file) fields.push_back(sha256_field("training_file_sha256"));
  return object_field("", std::move(fields));
}

// Equal names in a row are one entry; together they are as many as there are examples.
static std::vector<std::string> names_in(const Json& json, const char* field,
                                         const std::string& path, size_t examples) {
  std::vector<std::string> names;
  for (const Json& run : json.value(field, Json::array())) {
    const size_t count = run.at(1).get<size_t>();
    if (count > examples - names.size()) {
      throw UsageError(
          fmt::format("{}: {}: are of more examples than the {} of the training file",
                      path, field, examples));
    }
    names.insert(names.end(), count, run.at(0).get<std::string>());
  }
  if (!names.empty() && names.size() != examples) {
    throw UsageError(
        fmt::format("{}: {}: are of {} examples, but the training file has {}", path,
                    field, names.size(), examples));
  }
  return names;
}

Provenance provenance_from(const Json& json, const std::string& path,
                           std::optional<size_t> examples) {
  Provenance p;
  p.rate = json.at("samples_per_second");
  p.gravity = json.at("gravity");
  const Json& engine = json.at("engine");
  p.shortest = engine.at("shortest_motion");
  p.static_window = engine.at("static_window");
  p.strength_threshold = engine.at("strength_threshold");
  if (engine.contains("sensitivity")) p.sensitivity = engine.at("sensitivity").get<int>();
  p.background_seconds = json.at("background_seconds");
  json.at("classes").get_to(p.classes);
  json.at("verdicts").get_to(p.verdicts);
  for (const Json& input : json.at("inputs")) {
    p.inputs.push_back({input.at("file"), input.at("sha256")});
  }
  if (examples) {
    p.subjects = names_in(json, "subjects", path, *examples);
    p.sessions = names_in(json, "sessions", path, *examples);
  }
  return p;
}

std::string as_text(const Json& json) { return json_text(json, 2) + "\n"; }

std::string description_path(const std::string& training_file) {
  return std::filesystem::path(training_file).replace_extension(".training.json");
}

}  // namespace wgr
