#include "arguments/report_option.h"

#include "arguments/values.h"

namespace wgr {

void add_report_option(CLI::App& command, std::string& page, const std::string& draws) {
  add_value(command, "--report", page, draws + ", a page for a browser", path_value(),
            "FILE.html");
}

}  // namespace wgr
