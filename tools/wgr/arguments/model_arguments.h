// The options that choose which model a subcommand uses; they are the same for all.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "output/output_plan.h"

namespace wgr {

struct ModelArguments {
  std::string file;
  std::string folder;  // of the six; where both are empty, the installed ones
  int wearer = 0;
  int mode = 1;
};

// Adds --model, --models, --wearer and --mode. `otherwise` ends the sentence on --models:
// what is used where neither is given.
void add_model_options(CLI::App& command, ModelArguments& given,
                       const std::string& otherwise);

// Whether --model or --models is given.
bool names_model(const ModelArguments& given);

// The file that they lead to. Throws UsageError for a folder that is not there, or does
// not hold the model.
std::string path_of(const ModelArguments& given);

// Adds what they name to what is read.
void add_inputs(OutputPlan& plan, const ModelArguments& given);

}  // namespace wgr
