#include "arguments/host_run_arguments.h"

#include <cstdio>
#include <memory>

#include "arguments/settings_check.h"
#include "arguments/values.h"
#include "base/errors.h"
#include "base/text.h"
#include "capture/capture_reader.h"
#include "capture/captured_settings.h"
#include "hostrun/fixed_paths.h"
#include "recording/clock.h"
#include "training/model_findings.h"
#include "training/model_output.h"

namespace wgr {

static constexpr NumberRange kBiases = number_from(-10000, 10000);  // deg/s
static constexpr double kMostHandle = 1000000;  // a number of a capture's handle

void add_handle_option(CLI::App& command, std::optional<unsigned>& handle) {
  command
      .add_option("--handle", handle, "Which handle of a capture; otherwise the only one")
      ->transform(within(whole_from(1, kMostHandle)))
      ->option_text("N");
}

CLI::Validator gyro_bias() { return each_within(kBiases, "X,Y,Z", "deg/s"); }

Point3Df parse_bias(const std::string& text) {
  const size_t first = text.find(',');
  const size_t second = first == std::string::npos ? first : text.find(',', first + 1);
  if (second == std::string::npos) throw UsageError("--bias: X,Y,Z is required");
  const auto x = number_of(text.substr(0, first), kBiases);
  const auto y = number_of(text.substr(first + 1, second - first - 1), kBiases);
  const auto z = number_of(text.substr(second + 1), kBiases);
  if (!x || !y || !z) throw UsageError("--bias: X,Y,Z is required");
  return {*x, *y, *z};
}

void add_host_run_arguments(CLI::App& command, HostRunArguments& given) {
  command.add_option("RECORDING", given.recording, "The recording; - is standard input")
      ->required()
      ->transform(path_name())
      ->option_text(" ");
  add_model_options(command, given.model, "; otherwise\n/usr/share/GestureModel");
  command
      .add_option("--sample-rate", given.rate,
                  "Samples per second; otherwise what the time stamps of\na file say, "
                  "and 50 for standard input")
      ->transform(within(whole_from(1, kHighestRate)))
      ->option_text("HZ");
  command.add_option("--bias", given.bias, "Gyroscope bias X,Y,Z in deg/s")
      ->transform(gyro_bias())
      ->option_text("X,Y,Z");
  HostRunOptions& host = given.host_run;
  add_host_settings(command, host.shortest, host.rest_window, host.sensitivity);
  add_handle_option(command, given.handle);
}

std::vector<std::string> host_run_words(const HostRunArguments& given) {
  std::vector<std::string> words = {fmt::format("--wearer={}", given.model.wearer),
                                    fmt::format("--mode={}", given.model.mode)};
  if (!given.model.file.empty()) words.push_back("--model=" + given.model.file);
  if (given.rate) words.push_back(fmt::format("--sample-rate={}", *given.rate));
  if (!given.bias.empty()) words.push_back("--bias=" + given.bias);
  if (given.host_run.sensitivity) {
    words.push_back(fmt::format("--sensitivity={}", *given.host_run.sensitivity));
  }
  if (given.host_run.shortest > 0) {
    words.push_back(fmt::format("--min-length={}", given.host_run.shortest));
  }
  if (given.host_run.rest_window > 0) {
    words.push_back(fmt::format("--static-window={}", given.host_run.rest_window));
  }
  if (given.handle) words.push_back("--handle=" + std::to_string(*given.handle));
  return words;
}

void check_host_run(HostRunArguments& given, OutputPlan& plan) {
  if (!given.bias.empty()) given.host_run.gyro_bias = parse_bias(given.bias);
  plan.reads("RECORDING", given.recording);
  add_inputs(plan, given.model);
  plan.prints_results();
  plan.check();
}

// What the host of a capture used, where no option says otherwise; whether the model is
// among it.
static bool take_captured(HostRunArguments& given) {
  if (given.recording == kStandardInput || !is_capture(given.recording)) return false;
  const CapturedSettings captured = captured_settings(given.recording, given.handle);
  if (!given.rate) given.rate = captured.rate;
  if (captured.gyro_bias && given.bias.empty()) {
    given.host_run.gyro_bias = *captured.gyro_bias;
  }
  if (given.host_run.shortest < 1) given.host_run.shortest = captured.shortest;
  if (!given.host_run.sensitivity) given.host_run.sensitivity = captured.level;
  if (names_model(given.model) || !captured.model) return false;
  given.host_run.model = captured.model;
  return true;
}

// The settings and the rate of the model's manifest, if it has one, installed or not.
static void take_manifest(HostRunArguments& given) {
  const std::string path = path_of(given.model);
  const std::optional<Provenance> built_from = provenance_of(path);
  if (!built_from) return;
  HostRunOptions& host = given.host_run;
  HostSettings settings = {host.shortest, host.rest_window, host.sensitivity};
  take_settings(*built_from, path, settings);
  host.shortest = settings.shortest;
  host.rest_window = settings.static_window;
  host.sensitivity = settings.sensitivity;
  given.built_from = built_from;
}

void take_model(HostRunArguments& given) {
  if (take_captured(given)) return;
  given.host_run.wearer = given.model.wearer;
  given.host_run.mode = given.model.mode;
  if (names_model(given.model)) {
    take_manifest(given);
    const std::string path = path_of(given.model);
    given.host_run.model = std::make_shared<const Gmodel>(read_useful_model(path));
  } else {
    require_models(kInstalledModels, given.model.wearer, given.model.mode);
    take_manifest(given);
  }
}

bool is_captured(const HostRunArguments& given) {
  return !names_model(given.model) && given.host_run.model != nullptr;
}

static int rate_for(const HostRunArguments& given, RecordingReader& reader) {
  if (given.rate) return *given.rate;
  if (given.recording == kStandardInput) {
    warn("taking {} samples/s for the live stream; --sample-rate HZ says otherwise",
         kAssumedRate);
    return kAssumedRate;
  }
  const std::optional<int> rate = estimate_rate(reader.read_ahead(kSamplesForRate));
  if (!rate) {
    warn(
        "{}: the time stamps give no rate: taking {} samples/s; --sample-rate HZ says "
        "otherwise",
        given.recording, kAssumedRate);
    return kAssumedRate;
  }
  warn("{}: {} samples/s by the time stamps", given.recording, *rate);
  return *rate;
}

int choose_rate(const HostRunArguments& given, RecordingReader& reader) {
  const int rate = rate_for(given, reader);
  warn_of_rate(given.built_from,
               is_captured(given) ? given.recording : path_of(given.model), rate);
  return rate;
}

void warn_of_absent_axes(const HostRunArguments& given, const RecordingReader& reader) {
  warn("{}: the axes {} are empty and read as 0", given.recording, reader.absent_axes());
}

}  // namespace wgr
