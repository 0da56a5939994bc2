// The subcommands of wgr; each is one file and adds itself to the command line.
//
// A subcommand's callback throws UsageError, or RecordingError, for what the user must
// mend; main() prints it and ends with kExitBadInput. Before any work the callback lists
// all that it reads and writes in an OutputPlan; files are written by OutputFiles,
// results to results().
#pragma once

#include <CLI/CLI.hpp>

#include "base/errors.h"

namespace wgr {

void add_replay(CLI::App& wgr);
void add_explain(CLI::App& wgr);
void add_import(CLI::App& wgr);
void add_synth(CLI::App& wgr);
void add_segment(CLI::App& wgr);
void add_build(CLI::App& wgr);
void add_doctor(CLI::App& wgr);
void add_preflight(CLI::App& wgr);
void add_log(CLI::App& wgr);
void add_selfcheck(CLI::App& wgr);
void add_eval(CLI::App& wgr);
void add_model(CLI::App& wgr);
void add_capture(CLI::App& wgr);
void add_inject(CLI::App& wgr);

}  // namespace wgr
