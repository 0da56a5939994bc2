// The command line arguments of the subcommands that build models.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "training/model_builder.h"

namespace wgr {

// Adds --templates, --tolerance, --share, --kind, --judge-by, --false-cost,
// --false-positives-per-hour and --threads.
void add_build_options(CLI::App& command, BuildOptions& options);

}  // namespace wgr
