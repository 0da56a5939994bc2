// The option for a page that a browser shows.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace wgr {

// Of a page on how a model does.
inline constexpr char kDrawnExamples[] = "Draw every example and its score";

// Adds --report; `draws` describes what is on the page.
void add_report_option(CLI::App& command, std::string& page, const std::string& draws);

}  // namespace wgr
