// What stands beside training files and models, as JSON of any content.
//
// What is read fits in little memory, lies in its ranges, and is the same again when it
// was written and read.
#include <cmath>
#include <optional>
#include <string>

#include "base/errors.h"
#include "harness.h"
#include "limited_memory.h"
#include "places.h"
#include "segmentation/provenance.h"
#include "training/model_output.h"

using namespace wgr;

static const std::string kPath = std::string(kModelRootDirectory) + "/set.training.json";
static constexpr std::size_t kMemory = 64 << 20;       // bytes; a quarter is the reader's
static constexpr double kMostExamples = 10000;         // that are asked for
static constexpr std::size_t kLongestMessage = 20000;  // characters

using Json = nlohmann::ordered_json;

static void require_message(const UsageError& error) {
  const std::string message = error.what();
  require(message.substr(0, kPath.size()) == kPath, "the file is named");
  require(message.size() < kLongestMessage, "messages are short");
}

// The JSON of the file, or nothing.
static std::optional<Json> json_of_file(const JsonField& fields) {
  try {
    return read_json(kPath, fields);
  } catch (const UsageError& error) {
    require_message(error);
    return std::nullopt;
  }
}

static std::optional<Provenance> provenance_of(const Json& json,
                                               std::optional<std::size_t> examples) {
  try {
    return provenance_from(json, kPath, examples);
  } catch (const UsageError& error) {
    require_message(error);
    return std::nullopt;
  }
}

static bool is_count(double value, double most) { return value >= 0.0 && value <= most; }

static void require_sane(const Provenance& p) {
  require(is_count(p.rate, 1e5) && is_count(p.shortest, 1e6) &&
              is_count(p.static_window, 1e6),
          "counts of samples are in range");
  require(is_count(p.strength_threshold, 1e6) && is_count(p.background_seconds, 1e9),
          "numbers are in range");
  for (const auto& [word, label] : p.classes) {
    require(is_count(label, 1000), "labels are in range");
  }
  for (const auto& [word, count] : p.verdicts) {
    require(is_count(static_cast<double>(count), 1e9), "motions are in range");
  }
  for (const InputFile& input : p.inputs) {
    require(input.sha256.size() == 64, "a digest is whole");
  }
}

static void require_same(const Provenance& a, const Provenance& b) {
  require(a.rate == b.rate && a.gravity == b.gravity && a.shortest == b.shortest &&
              a.static_window == b.static_window,
          "whole numbers are kept");
  require(a.strength_threshold == b.strength_threshold &&
              a.background_seconds == b.background_seconds,
          "numbers are kept");
  require(a.classes == b.classes && a.verdicts == b.verdicts, "counts are kept");
  require(a.inputs.size() == b.inputs.size(), "inputs are kept");
  for (std::size_t i = 0; i < a.inputs.size(); ++i) {
    require(
        a.inputs[i].file == b.inputs[i].file && a.inputs[i].sha256 == b.inputs[i].sha256,
        "inputs are the same");
  }
  require(a.subjects == b.subjects, "subjects are kept");
}

static void write_and_read_again(const Provenance& p, std::size_t examples) {
  write_whole_file(kPath, as_text(to_json(p)));
  const std::optional<Json> json = json_of_file(description_fields(false));
  require(json.has_value(), "what is written is a description");
  const std::optional<Provenance> again = provenance_of(*json, examples);
  require(again.has_value(), "what is written fits the examples");
  require_same(p, *again);
}

// JSON that was checked.
static void read_as_description(const Json& json) {
  double examples = 0.0;
  const Json runs = json.value("subjects", Json::array());
  for (const Json& run : runs) examples += run.at(1).get<double>();
  const std::optional<Provenance> without = provenance_of(json, std::nullopt);
  require(without && without->subjects.empty(), "subjects can be left out");
  require_sane(*without);
  const std::size_t count = static_cast<std::size_t>(std::fmin(examples, kMostExamples));
  const std::optional<Provenance> with = provenance_of(json, count);
  require(with.has_value() == (examples <= kMostExamples),
          "there are as many subjects as examples");
  if (!with) return;
  require(with->subjects.size() == count, "each example has its subject");
  require(runs.empty() || !provenance_of(json, count + 1),
          "no example is without its subject");
  write_and_read_again(*with, count);
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  write_whole_file(kPath, bytes, size);
  const LimitedMemory memory(kMemory);
  // Beside a training file, in a model's manifest, and in itself.
  const std::optional<Json> of_file = json_of_file(description_fields(true));
  const std::optional<Json> manifest = json_of_file(manifest_fields());
  const std::optional<Json> alone = json_of_file(description_fields(false));
  require(of_file.has_value() + manifest.has_value() + alone.has_value() <= 1,
          "JSON is of one kind");
  if (of_file) read_as_description(*of_file);
  if (manifest) read_as_description(manifest->at("training_set"));
  if (alone) read_as_description(*alone);
}

static void prepare() {}

static const Registration registration("descriptions", run, prepare);
