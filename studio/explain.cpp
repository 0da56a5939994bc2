// What `wgr explain` does with a recording.
#include <exception>
#include <memory>
#include <string>

#include "base/errors.h"
#include "base/sha256.h"
#include "base/text.h"
#include "hostrun/fixed_paths.h"
#include "pages/explain_page.h"
#include "recording/clock.h"
#include "request.h"
#include "text/explanation_text.h"
#include "text/verdict_json.h"
#include "training/model_findings.h"
#include "training/model_output.h"
#include "verdict/explained.h"

namespace wgr {

static constexpr char kModels[] = "models";
// Samples that are replayed to see what would have helped; more would take too long.
static constexpr size_t kMostTried = 200'000;

static std::string model_path(const Json& request) {
  const auto own = given<std::string>(request, "model", "");
  return own.empty() ? model_file(kModels, given(request, "wearer", 0),
                                  given(request, "mode", kDefaultMode))
                     : own;
}

HostRunOptions host_of(const Json& request) {
  HostRunOptions host;
  host.wearer = given(request, "wearer", 0);
  host.mode = given(request, "mode", kDefaultMode);
  host.model = std::make_shared<const Gmodel>(read_useful_model(model_path(request)));
  host.rate = given(request, "rate", kAssumedRate);
  host.rest_window = given(request, "restWindow", -1);
  if (const int level = given(request, "sensitivity", kHighestRate);
      level < kHighestRate) {
    host.sensitivity = level;
  }
  return host;
}

static ExaminerOptions examiner_options(const Json& request, const HostRunOptions& host) {
  ExaminerOptions options;
  if (request.contains("rate")) options.diagnosis.rate = host.rate;
  options.try_changes = request.contains("expect") && given(request, "tries", true);
  options.most_samples = kMostTried;
  options.own_model = request.contains("model");
  if (options.try_changes && !options.own_model) options.models = models_to_try(kModels);
  return options;
}

// The command that makes the same page.
static std::string command_of(const Json& request) {
  std::string command = "wgr explain";
  if (request.contains("model")) {
    command += " --model " + request["model"].get<std::string>();
  } else {
    command += fmt::format(" --models {} --wearer {} --mode {}", kModels,
                           given(request, "wearer", 0), given(request, "mode", 1));
  }
  for (const auto& [field, option] :
       {std::pair("sensitivity", "sensitivity"), std::pair("rate", "sample-rate")}) {
    if (request.contains(field)) {
      command += fmt::format(" --{} {}", option, request[field].get<int>());
    }
  }
  if (request.contains("expect")) {
    command += " --expect " + request["expect"].get<std::string>();
  }
  return command + " " + request.at("recording").get<std::string>();
}

Json explain_request(const Json& request) {
  Explanation explanation;
  explanation.recording = request.at("recording");
  explanation.model_file = model_path(request);
  explanation.for_page = request.contains("page");
  HostRunOptions host = host_of(request);
  RecordingReader reader(explanation.recording);
  if (!request.contains("rate")) {
    host.rate = estimate_rate(reader.read_ahead(kSamplesForRate)).value_or(kAssumedRate);
  }
  explanation.other_rate = other_rate_of(explanation.model_file, host.rate);
  Explained made =
      explain_and_judge(host, reader, given<std::string>(request, "expect", ""),
                        std::move(explanation), examiner_options(request, host));
  Explanation& e = made.explanation;
  const Verdict& verdict = made.verdict;

  Json answer = {{"verdict", verdict_json(verdict, e)},
                 {"samples", e.times.size()},
                 {"motions", e.motions.size()},
                 {"rate", host.rate}};
  try {
    if (made.malformed) std::rethrow_exception(made.malformed);
  } catch (const RecordingError& error) {
    answer["malformed"] = error.what();
  }
  if (request.contains("json")) {
    std::string text;
    write_json_explanation(e, verdict, true,
                           [&text](std::string_view part) { text += part; });
    put_file(request["json"], text);
  }
  if (request.contains("page")) {
    put_file(request["page"], explain_page(e, verdict,
                                           {"wgr " WGR_VERSION, command_of(request),
                                            sha256_of_file(e.model_file)}));
  }
  return answer;
}

}  // namespace wgr
