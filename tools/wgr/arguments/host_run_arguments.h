// The command line arguments of the subcommands that run a host over a recording.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "arguments/model_arguments.h"
#include "hostrun/host_run.h"
#include "output/output_plan.h"
#include "recording/recording.h"
#include "segmentation/provenance.h"

namespace wgr {

inline constexpr char kStandardInput[] = "-";

struct HostRunArguments {
  std::string recording;  // file; "-": standard input
  ModelArguments model;
  std::string bias;  // X,Y,Z
  std::optional<int> rate;
  std::optional<unsigned> handle;  // of a capture
  HostRunOptions host_run;
  std::optional<Provenance> built_from;  // of the model, after take_model()
};

// What --bias takes, and its value, X,Y,Z in deg/s.
CLI::Validator gyro_bias();
Point3Df parse_bias(const std::string& text);

// Adds RECORDING, the options of the model, --sample-rate, --bias and the host's
// settings.
void add_host_run_arguments(CLI::App& command, HostRunArguments& given);

// The words of the command line that mean `given`, without --models and RECORDING.
std::vector<std::string> host_run_words(const HostRunArguments& given);

// Sets the gyroscope bias, completes the plan and checks it.
void check_host_run(HostRunArguments& given, OutputPlan& plan);

// Takes the model into the host run's options, or sees that the installed ones are there.
// A capture has its own, and the host's own settings, where no options say otherwise.
void take_model(HostRunArguments& given);

// Whether the model is the one that a capture's host used, once it has been taken.
bool is_captured(const HostRunArguments& given);

// Adds --handle.
void add_handle_option(CLI::App& command, std::optional<unsigned>& handle);

// The rate that was given, or else the recording's; reported on standard error.
int choose_rate(const HostRunArguments& given, RecordingReader& reader);

void warn_of_absent_axes(const HostRunArguments& given, const RecordingReader& reader);

}  // namespace wgr
