#include "arguments/report_option.h"

#include "arguments/values.h"
#include "base/text.h"
#include "output/output_files.h"

namespace wgr {

void add_report_option(CLI::App& command, std::string& page, const std::string& draws) {
  add_value(command, "--report", page, draws + ", a page for a browser", path_value(),
            "FILE.html");
}

void report_written(const std::string& path, const std::string& page) {
  warn("wrote {} ({} kB)", path, (page.size() + 999) / 1000);
}

void write_page(const std::string& path, const std::string& page) {
  write_output(path, page);
  report_written(path, page);
}

}  // namespace wgr
