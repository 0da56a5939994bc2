// Where training samples come from: what a training file has no room for, kept beside it
// as JSON.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "json/fields.h"
#include "segmentation/host_settings.h"

namespace wgr {

struct InputFile {
  std::string file;
  std::string sha256;
};

struct Provenance {
  int rate = 0;                            // samples per second; 0: not known
  bool gravity = true;                     // whether the samples have a gravity vector
  int shortest = 0;                        // motion that was kept, samples; 0: not known
  int static_window = 0;                   // samples of the rest test; 0: not known
  double strength_threshold = 0.0;         // m/s²
  std::optional<int> sensitivity;          // level that gave both; none: not called
  double background_seconds = 0.0;         // that the background samples come from
  std::map<std::string, int> classes;      // words to labels
  std::map<std::string, size_t> verdicts;  // motions
  std::vector<InputFile> inputs;
  std::vector<std::string> subjects;  // whose each sample is; empty: not known
  std::vector<std::string> sessions;  // when it was recorded, likewise
};

// What a host must set for what was segmented so; as the library chooses where it is not
// known.
HostSettings host_settings_of(const Provenance& provenance);

// The word for a label; empty when it has none but its number.
std::string class_name(int label, const Provenance& provenance);

nlohmann::ordered_json to_json(const Provenance& provenance);

// What to_json() makes, for read_json(); whose examples they are may be left out. With
// `of_file` it holds the digest of the training file too.
JsonField description_fields(bool of_file);

// From such JSON, which was checked. Throws UsageError, naming `path`, when the subjects
// are not those of so many `examples`; without a number the subjects are left out.
Provenance provenance_from(const nlohmann::ordered_json& json, const std::string& path,
                           std::optional<size_t> examples = std::nullopt);

// JSON as a text for a file.
std::string as_text(const nlohmann::ordered_json& json);

// The description beside a training file: its path with ".training.json" for the
// extension, or behind a name without one. No other file that the tool writes has such a
// name.
std::string description_path(const std::string& training_file);

}  // namespace wgr
