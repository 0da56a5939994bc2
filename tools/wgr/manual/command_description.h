// What the command line says of itself, as plain data: what the manual pages and the
// completion of shells are made from.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace wgr {

struct OptionDescription {
  std::vector<std::string> names;  // "-o", "--out"; of a positional its name alone
  std::string value;               // "FILE"; empty for a flag
  std::string default_value;       // empty where there is none
  std::string text;                // one paragraph
  bool positional = false;
  bool required = false;
  bool many = false;                 // takes more than one value
  std::vector<std::string> choices;  // of "calm|free|mixed"; empty for a free value
};

struct CommandDescription {
  std::string name;       // "segment"; of the program "wgr"
  std::string full_name;  // "wgr segment"
  std::string summary;    // one sentence
  std::string footer;     // paragraphs, with "Examples:" and "Exit status:" among them
  std::vector<OptionDescription> options;
  std::vector<CommandDescription> subcommands;
};

CommandDescription described(const CLI::App& app);

}  // namespace wgr
