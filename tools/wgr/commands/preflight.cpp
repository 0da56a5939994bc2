// wgr preflight: says, before a host is started, whether the library finds what it needs.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "WgrPreflight.h"
#include "arguments/model_arguments.h"
#include "arguments/values.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "hostrun/fixed_paths.h"
#include "json/json_text.h"
#include "output/output_plan.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(Checks, as the user and in the working directory that it is run with: that the six model
files are there, readable, well-formed and free of faults; that the diagnostic log can be
written; that the working directory can be restored after a handle was made. Prints a line
per finding, and changes nothing. A host has the same as a function, in WgrPreflight.h,
which also looks at the arithmetic of the host's own thread.

  note    everything works, but the log is dropped, is a link, or every user can replace it
  fault   the library runs, but something will not do what it should
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

static void preflight(const PreflightArguments& given) {
  check_files(given);
  if (!given.models.empty()) {
    std::vector<std::string> words = {"preflight"};
    if (given.json) words.push_back("--json");
    run_beside_own_home(existing_folder(given.models), words);
  }
  const int heaviest =
      preflight_gesture_library(given.json ? print_json : print_text, nullptr);
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
      "preflight", "Check that a host will find what the library needs.");
  const auto given = std::make_shared<PreflightArguments>();
  command
      ->add_option("--models", given->models,
                   "Folder of models to check in the installed ones' place")
      ->transform(path_value())
      ->option_text("DIR");
  command->add_flag("--json", given->json, "Print JSON lines");
  command->footer(kFooter);
  command->callback([given] { preflight(*given); });
}

}  // namespace wgr
