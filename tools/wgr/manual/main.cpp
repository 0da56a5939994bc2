// Writes the manual pages and the completion of shells, from the command line's own
// description: wgr-manual FOLDER DATE.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "arguments/command_line.h"
#include "manual/completion.h"
#include "manual/manual_pages.h"

using namespace wgr;

static void write(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error(path.string() + ": cannot be written");
}

static void write_manual(const std::filesystem::path& folder, const std::string& date) {
  CLI::App app;
  add_all(app);
  const CommandDescription program = described(app);
  std::vector<std::string> pages = {page_name(program)};
  for (const CommandDescription& sub : program.subcommands) {
    pages.push_back(page_name(sub));
  }
  std::filesystem::create_directories(folder / "man1");
  write(folder / "man1/wgr.1", manual_page(program, {WGR_VERSION, date}, pages));
  for (const CommandDescription& sub : program.subcommands) {
    write(folder / "man1" / (page_name(sub) + ".1"),
          manual_page(sub, {WGR_VERSION, date}, {pages.front()}));
  }
  write(folder / "wgr.bash", bash_completion(program));
  write(folder / "_wgr", zsh_completion(program));
}

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: wgr-manual FOLDER DATE\n", stderr);
    return 2;
  }
  try {
    write_manual(argv[1], argv[2]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "wgr-manual: %s\n", error.what());
    return 1;
  }
  return 0;
}
