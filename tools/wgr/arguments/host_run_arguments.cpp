#include "arguments/host_run_arguments.h"

#include <cstdio>
#include <filesystem>

#include "arguments/values.h"
#include "base/errors.h"
#include "base/foreign_text.h"
#include "hostrun/fixed_paths.h"
#include "hostrun/private_log.h"
#include "recording/clock.h"

namespace wgr {

static constexpr NumberRange kBiases = number_from(-10000, 10000);  // deg/s
static constexpr double kLongestMotion = 1e6;                       // samples
static constexpr int kStrictest = 3;
static constexpr int kAssumedRate = 50;          // samples per second
static constexpr size_t kSamplesForRate = 4096;  // that a recording's rate is taken from

CLI::Validator gyro_bias() { return each_within(kBiases, "X,Y,Z", "deg/s"); }

Point3Df parse_bias(const std::string& text) {
  const size_t first = text.find(',');
  const size_t second = first == std::string::npos ? first : text.find(',', first + 1);
  if (second == std::string::npos) throw UsageError("--bias: X,Y,Z is wanted");
  const auto x = number_of(text.substr(0, first), kBiases);
  const auto y = number_of(text.substr(first + 1, second - first - 1), kBiases);
  const auto z = number_of(text.substr(second + 1), kBiases);
  if (!x || !y || !z) throw UsageError("--bias: X,Y,Z is wanted");
  return {*x, *y, *z};
}

void add_host_run_arguments(CLI::App& command, HostRunArguments& given) {
  command.add_option("RECORDING", given.recording, "The recording; - is standard input")
      ->required()
      ->transform(path_name())
      ->option_text(" ");
  command
      .add_option("--models", given.models,
                  "Folder of models, holding olvo_model_5_fb/hgr_olvo.xml\nand so on; "
                  "otherwise /usr/share/GestureModel")
      ->transform(path_value())
      ->option_text("DIR");
  command.add_option("--wearer", given.session.wearer, "0: left wrist, 1: right wrist")
      ->transform(within(whole_from(0, 1)))
      ->option_text("0|1 (0)");
  command.add_option("--mode", given.session.mode, "Which of the wearer's three models")
      ->transform(within(whole_from(0, 2)))
      ->option_text("0|1|2 (1)");
  command
      .add_option("--sample-rate", given.rate,
                  "Samples per second; otherwise what the time stamps of\na file say, "
                  "and 50 for standard input")
      ->transform(within(whole_from(1, kHighestRate)))
      ->option_text("HZ");
  command.add_option("--bias", given.bias, "Gyroscope bias X,Y,Z in deg/s")
      ->transform(gyro_bias())
      ->option_text("X,Y,Z");
  command
      .add_option("--sensitivity", given.session.sensitivity,
                  "1 permissive to 3 strict, -N for motions of N samples and more")
      ->transform(within(whole_from(-kLongestMotion, kStrictest)))
      ->option_text("LEVEL");
  add_in_place_flag(command, given.in_place);
}

std::vector<std::string> host_run_words(const HostRunArguments& given) {
  std::vector<std::string> words = {"--wearer=" + std::to_string(given.session.wearer),
                                    "--mode=" + std::to_string(given.session.mode)};
  if (given.rate) words.push_back("--sample-rate=" + std::to_string(*given.rate));
  if (!given.bias.empty()) words.push_back("--bias=" + given.bias);
  if (given.session.sensitivity) {
    words.push_back("--sensitivity=" + std::to_string(*given.session.sensitivity));
  }
  return words;
}

static bool is_model(const std::filesystem::path& path) {
  return path.extension() == ".xml";
}

void prepare_host_run(HostRunArguments& given, OutputPlan& plan,
                      const std::vector<std::string>& words) {
  if (!given.bias.empty()) given.session.gyro_bias = parse_bias(given.bias);
  const bool again = !given.in_place && (!given.models.empty() || given.keeps_log);
  plan.reads("RECORDING", given.recording);
  if (given.models.empty()) {
    plan.reads_folder("the installed models", kInstalledModels, is_model);
  } else {
    plan.reads_folder("--models", given.models, is_model);
  }
  plan.prints_results();
  if (again) keep_out_of_private_places(plan);
  plan.check();

  std::error_code missing;
  const std::string folder =
      given.models.empty() ? std::string(kInstalledModels)
                           : std::filesystem::canonical(given.models, missing).string();
  if (missing) throw UsageError(given.models + ": " + missing.message());
  require_models(folder, given.session.wearer, given.session.mode);
  if (given.in_place && !given.keeps_log) drop_private_log();
  if (!again) return;
  std::vector<std::string> more = words;
  more.insert(more.end(), {kInPlace, "--", given.recording});
  run_again_with_models(folder, more);
}

int choose_rate(const HostRunArguments& given, RecordingReader& reader) {
  if (given.rate) return *given.rate;
  if (given.recording == kStandardInput) {
    std::fprintf(
        stderr,
        "wgr: taking %d samples/s for the live stream; --sample-rate HZ says otherwise\n",
        kAssumedRate);
    return kAssumedRate;
  }
  const std::optional<int> rate = estimate_rate(reader.read_ahead(kSamplesForRate));
  if (!rate) {
    std::fprintf(stderr,
                 "wgr: %s: the time stamps give no rate: taking %d samples/s; --sample-rate HZ "
                 "says otherwise\n",
                 shown(given.recording).c_str(), kAssumedRate);
    return kAssumedRate;
  }
  std::fprintf(stderr, "wgr: %s: %d samples/s by the time stamps\n",
               shown(given.recording).c_str(), *rate);
  return *rate;
}

}  // namespace wgr
