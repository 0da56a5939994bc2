// The command line arguments of the subcommands that run a host over a recording.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "hostrun/host_run.h"
#include "output/output_plan.h"
#include "recording/recording.h"

namespace wgr {

inline constexpr char kStandardInput[] = "-";

struct HostRunArguments {
  std::string recording;  // file; "-": standard input
  std::string models;     // folder; empty: the installed ones
  std::string bias;       // X,Y,Z
  std::optional<int> rate;
  bool keeps_log = false;  // wants the log of this run
  bool in_place = false;   // runs with the library's places to itself
  HostRunOptions session;
};

// What --bias takes, and its value, X,Y,Z in deg/s.
CLI::Validator gyro_bias();
Point3Df parse_bias(const std::string& text);

// Adds RECORDING, --models, --wearer, --mode, --sample-rate, --bias and --sensitivity.
void add_host_run_arguments(CLI::App& command, HostRunArguments& given);

// The words of the command line that stand for `given`, without --models and RECORDING.
std::vector<std::string> host_run_words(const HostRunArguments& given);

// Sets the gyroscope bias, completes and checks the plan, and sees that the models are
// there. With --models, and for the log of this run, the process is replaced by a run of
// the same program that has the library's places to itself: of the command line `words`,
// then "--" and the recording.
void prepare_host_run(HostRunArguments& given, OutputPlan& plan,
                      const std::vector<std::string>& words);

// The rate that was given, or else the recording's; said on standard error.
int choose_rate(const HostRunArguments& given, RecordingReader& reader);

}  // namespace wgr
