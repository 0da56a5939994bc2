// The command line as a whole: all subcommands, and the messages about words that do not
// fit.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace wgr {

// Adds every subcommand, the version and the help.
void add_all(CLI::App& wgr);

// Parses the words after the program's name and runs the subcommand that they name.
// Throws UsageError with the option or word that is wrong and what fits better, and
// CLI::Success for a request for help or the version.
void parse_and_run(CLI::App& wgr, const std::vector<std::string>& words);

// The words that are being run, as a shell takes them again, but for options with their
// values that leave results as they are: "wgr explain walk.csv".
std::string given_command(const std::vector<std::string>& without);

}  // namespace wgr
