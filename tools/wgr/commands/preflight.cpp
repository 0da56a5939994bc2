// wgr preflight: says, before a host is started, whether the library finds what it needs.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "WgrPreflight.h"
#include "arguments/model_arguments.h"
#include "arguments/settings_check.h"
#include "arguments/values.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "hostrun/fixed_paths.h"
#include "json/json_text.h"
#include "output/output_plan.h"
#include "training/model_output.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(Run it as the host's user and in the host's working directory. It checks that the six
model files exist, can be read, are well-formed and have no faults; that the diagnostic
log can be written; and that the working directory can be restored after a handle is
created. It prints one line per finding and changes nothing. A host can call the same
check through WgrPreflight.h, which also checks the floating-point settings of the
calling thread.

--sample-rate, --min-length, --static-window and --sensitivity give the settings of the host;
they are compared with the manifest beside each model. Without them the command lists the
settings that the host must change from the library's defaults.

  note    everything works, but the log is dropped, is a link, or every user can replace it
  fault   the library runs, but something does not do what it should
  fatal   creating a handle would end the process

As a service's start condition (systemd): ExecStartPre=/usr/bin/wgr preflight

Examples:
  wgr preflight
  wgr preflight --models build/models      before they are installed

Exit status: 0 clean, or notes alone; 1 faults, or the machine failed (disk, memory);
2 fatal, or an argument cannot be used.)";

namespace {

struct PreflightArguments {
  std::string models;  // folder; empty: the installed ones
  bool json = false;
  int rate = 0;  // of the host; 0: not given
  HostSettings host;
};

}  // namespace

static const char* weight_name(int weight) {
  static constexpr const char* kNames[] = {"clean", "note", "fault", "fatal"};
  return kNames[weight];
}

static void print_text(int weight, const char* text, void*) {
  print(stdout, "{:5}  {}\n", weight_name(weight), shown(text));
}

static void print_json(int weight, const char* text, void*) {
  const nlohmann::ordered_json line = {
      {"type", "finding"}, {"weight", weight_name(weight)}, {"text", text}};
  print(stdout, "{}\n", json_text(line));
}

// What is printed must not go into a model that is read.
static void check_files(const PreflightArguments& given) {
  OutputPlan plan;
  ModelArguments models;
  models.folder = given.models;
  add_inputs(plan, models);
  plan.prints_results();
  plan.check();
}

// The words for the run that has the folder in the installed models' place.
static std::vector<std::string> words_of(const PreflightArguments& given) {
  std::vector<std::string> words = {"preflight"};
  if (given.json) words.push_back("--json");
  if (given.rate > 0) words.push_back(fmt::format("--sample-rate={}", given.rate));
  if (given.host.shortest > 0) {
    words.push_back(fmt::format("--min-length={}", given.host.shortest));
  }
  if (given.host.static_window > 0) {
    words.push_back(fmt::format("--static-window={}", given.host.static_window));
  }
  if (given.host.sensitivity) {
    words.push_back(fmt::format("--sensitivity={}", *given.host.sensitivity));
  }
  return words;
}

// What a model's manifest asks of the host, held against what the host sets; where that
// is not given, what it must set beyond the library's own choice.
static int check_settings(const PreflightArguments& given, const std::string& model,
                          void (*say)(int, const char*, void*)) {
  const std::optional<Provenance> built_from = provenance_of(model);
  int heaviest = WG_PREFLIGHT_CLEAN;
  const auto find = [&](int weight, const std::string& text) {
    heaviest = std::max(heaviest, weight);
    say(weight, (model + ": " + text).c_str(), nullptr);
  };
  const std::string rate = rate_difference(built_from, given.rate);
  if (!rate.empty()) find(built_from ? WG_PREFLIGHT_FAULT : WG_PREFLIGHT_NOTE, rate);
  if (!built_from) return heaviest;
  const bool known = given.rate > 0 || !(given.host == HostSettings());
  const std::string settings = difference(*built_from, given.host);
  if (settings.empty()) return heaviest;
  std::string calls = calls_of(host_settings_of(*built_from), built_from->rate, " ");
  std::replace(calls.begin(), calls.end(), '\n', ' ');
  find(known ? WG_PREFLIGHT_FAULT : WG_PREFLIGHT_NOTE,
       fmt::format("the model was built for {}; the host must call{}", settings, calls));
  return heaviest;
}

static int check_all_settings(const PreflightArguments& given,
                              void (*say)(int, const char*, void*)) {
  int heaviest = WG_PREFLIGHT_CLEAN;
  for (int wearer = 0; wearer <= 1; ++wearer) {
    for (int mode = 0; mode <= 2; ++mode) {
      const std::string model = model_file(kInstalledModels, wearer, mode);
      if (!std::filesystem::exists(model)) continue;
      heaviest = std::max(heaviest, check_settings(given, model, say));
    }
  }
  return heaviest;
}

static void preflight(const PreflightArguments& given) {
  check_files(given);
  if (!given.models.empty()) {
    run_beside_own_home(existing_folder(given.models), words_of(given));
  }
  const auto say = given.json ? print_json : print_text;
  const int of_library = preflight_gesture_library(say, nullptr);
  const int heaviest = std::max(of_library, check_all_settings(given, say));
  if (given.json) {
    const nlohmann::ordered_json line = {{"type", "summary"},
                                         {"weight", weight_name(heaviest)}};
    print(stdout, "{}\n", json_text(line));
  } else if (heaviest == WG_PREFLIGHT_CLEAN) {
    print(stdout,
          "clean  six models, the log and the working directory are as they should be\n");
  }
  if (heaviest == WG_PREFLIGHT_FAULT) throw EndWithStatus{kExitFindings};
  if (heaviest == WG_PREFLIGHT_FATAL) throw EndWithStatus{kExitBadInput};
}

void add_preflight(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "preflight", "Check that a host has everything the library needs.");
  const auto given = std::make_shared<PreflightArguments>();
  command
      ->add_option("--models", given->models,
                   "Folder of models to check instead of the installed ones")
      ->transform(path_value())
      ->option_text("DIR");
  command->add_option("--sample-rate", given->rate, "Sample rate of the host")
      ->transform(within(whole_from(10, 1000)))
      ->option_text("HZ");
  add_host_settings(*command, given->host.shortest, given->host.static_window,
                    given->host.sensitivity);
  command->add_flag("--json", given->json, "Print JSON lines");
  command->footer(kFooter);
  command->callback([given] { preflight(*given); });
}

}  // namespace wgr
