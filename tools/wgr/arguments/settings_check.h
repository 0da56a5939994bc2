// What a host sets: its options, and how it compares with what a model was built for, by
// the model's manifest.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "segmentation/provenance.h"

namespace wgr {

// Adds --min-length, --static-window and --sensitivity, of which the first and the last
// both say how short a motion may be, and exclude each other.
void add_host_settings(CLI::App& command, int& shortest, int& static_window,
                       std::optional<int>& sensitivity);

// Takes the manifest's settings where none are given, which is said where they are not
// the library's own; warns of given ones that differ. `model` is the file's name.
void take_settings(const Provenance& built_from, const std::string& model,
                   HostSettings& given);

// How given settings differ from those of the model, at its rate; empty: they do not.
std::string difference(const Provenance& built_from, const HostSettings& given);

// How a sample rate differs from the model's, and what to do; empty: it does not. Where
// no manifest names the model's rate, that is said of every rate but the shipped models'.
std::string rate_difference(const std::optional<Provenance>& built_from, int rate);

// Warns of that. `model` is the file's name.
void warn_of_rate(const std::optional<Provenance>& built_from, const std::string& model,
                  int rate);

}  // namespace wgr
