#include "arguments/report_option.h"

#include "arguments/command_line.h"
#include "arguments/values.h"
#include "base/text.h"
#include "output/output_files.h"

namespace wgr {

void add_report_option(CLI::App& command, std::string& page, const std::string& draws) {
  add_value(command, "--report", page, draws + ", a page for a browser", path_value(),
            "FILE.html");
}

PageOrigin command_origin(const std::string& model_sha256) {
  PageOrigin origin;
  origin.version = std::string("wgr ") + WGR_VERSION;
  origin.command = given_command({"--report", "--threads"});
  origin.model_sha256 = model_sha256;
  return origin;
}

void report_written(const std::string& path, const std::string& page) {
  warn("wrote {} ({} kB)", path, (page.size() + 999) / 1000);
}

void write_page(const std::string& path, const std::string& page) {
  write_output(path, page);
  report_written(path, page);
}

}  // namespace wgr
