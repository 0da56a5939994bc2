#include "training/provenance.h"

#include <filesystem>
#include <fstream>

#include "errors.h"
#include "json_text.h"

using Json = nlohmann::ordered_json;

// Equal names in a row as one entry: the name, and how often it stands there.
static Json runs_of(const std::vector<std::string>& names) {
  Json runs = Json::array();
  for (size_t i = 0; i < names.size(); ++i) {
    if (i == 0 || names[i] != names[i - 1]) runs.push_back({names[i], 0});
    runs.back()[1] = runs.back()[1].get<size_t>() + 1;
  }
  return runs;
}

Json to_json(const Provenance& p) {
  Json json;
  json["samples_per_second"] = p.rate;
  json["units"] = {{"acceleration", "m/s²"}, {"angular_rate", "deg/s"}, {"time", "s"}};
  json["gravity"] = p.gravity;
  json["engine"] = {{"shortest_motion", p.shortest},
                    {"static_window", p.static_window},
                    {"strength_threshold", p.strength_threshold}};
  json["background_seconds"] = p.background_seconds;
  json["classes"] = p.classes;
  json["verdicts"] = p.verdicts;
  Json inputs = Json::array();
  for (const InputFile& input : p.inputs) {
    inputs.push_back({{"file", input.file}, {"sha256", input.sha256}});
  }
  json["inputs"] = inputs;
  if (!p.subjects.empty()) json["subjects"] = runs_of(p.subjects);
  return json;
}

Provenance provenance_from(const Json& json, const std::string& path) {
  Provenance p;
  try {
    p.rate = json.at("samples_per_second");
    p.gravity = json.at("gravity");
    const Json& engine = json.at("engine");
    p.shortest = engine.at("shortest_motion");
    p.static_window = engine.at("static_window");
    p.strength_threshold = engine.at("strength_threshold");
    p.background_seconds = json.at("background_seconds");
    json.at("classes").get_to(p.classes);
    json.at("verdicts").get_to(p.verdicts);
    for (const Json& input : json.at("inputs")) {
      p.inputs.push_back({input.at("file"), input.at("sha256")});
    }
    for (const Json& run : json.value("subjects", Json::array())) {
      p.subjects.insert(p.subjects.end(), run.at(1).get<size_t>(),
                        run.at(0).get<std::string>());
    }
  } catch (const nlohmann::json::exception& error) {
    throw UsageError(path + ": does not describe samples: " + error.what());
  }
  return p;
}

std::string as_text(const Json& json) { return json_text(json, 2) + "\n"; }

Json read_json(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw UsageError(path + ": cannot be read");
  try {
    return Json::parse(file);
  } catch (const nlohmann::json::exception& error) {
    throw UsageError(path + ": is not JSON: " + error.what());
  }
}

std::string description_path(const std::string& training_file) {
  return std::filesystem::path(training_file).replace_extension(".training.json");
}
