// The command line arguments of the subcommands that cut recordings.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "output/output_plan.h"
#include "training/cut_set.h"

struct CutArguments {
  CutOptions options;
  std::vector<std::string> background;  // folders or recordings
  bool no_gravity = false;
  bool no_attitude = false;
};

// Adds --background, --rate, --shortest, --spans, --no-gravity, --no-attitude
// and --max-size.
void add_cut_arguments(CLI::App& command, CutArguments& given);

// All that cut_given() reads.
void add_inputs(OutputPlan& plan, const std::string& folder, const CutArguments& given);

// Reads and cuts a folder, and the background that was given.
CutSet cut_given(const std::string& folder, const CutArguments& given,
                 const Classes& classes = {});
