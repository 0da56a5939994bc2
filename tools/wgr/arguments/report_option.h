// The option for a page that a browser shows.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "pages/shell.h"

namespace wgr {

// Of a page on how a model does.
inline constexpr char kDrawnExamples[] = "Draw every example and its score";

// Adds --report; `draws` describes what is on the page.
void add_report_option(CLI::App& command, std::string& page, const std::string& draws);

// Of a page that this command makes.
PageOrigin command_origin(const std::string& model_sha256);

// "wrote FILE (84 kB)" on standard error.
void report_written(const std::string& path, const std::string& page);

// Writes the page, and says so.
void write_page(const std::string& path, const std::string& page);

}  // namespace wgr
