// The option that limits how much a subcommand may read of recordings that it keeps in
// memory.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "recording/recording.h"

namespace wgr {

// Adds --max-size.
void add_max_size(CLI::App& command, ReadingLimit& limit);

}  // namespace wgr
