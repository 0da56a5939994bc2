// wgr selfcheck: does this machine compute what every other does?
#include <memory>
#include <stdexcept>

#include "commands/subcommands.h"
#include "golden/selfcheck.h"

namespace wgr {

void add_selfcheck(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "selfcheck", "Check that the library computes here what it does everywhere.");
  command->footer(
      "Runs recordings that are made in memory and compares every outcome with the one\n"
      "recorded in the program. Prints what differs, and at which stage first.\n"
      "\n"
      "Exit status: 0 all is the same; 1 something differs; 2 no folder to write to, or "
      "an\n"
      "argument cannot be used.");
  const auto record = std::make_shared<bool>(false);
  command->add_flag("--record", *record,
                    "print what tools/wgr/golden/recorded.inc has to hold instead");
  command->callback([record] {
    const int status = self_check(*record);
    if (status != 0) throw std::runtime_error("selfcheck: streams differ; see above");
  });
}

}  // namespace wgr
