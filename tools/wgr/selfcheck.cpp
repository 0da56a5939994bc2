// wgr selfcheck: does this machine compute what every other does?
#include <memory>
#include <stdexcept>

#include "golden/selfcheck.h"
#include "subcommands.h"

void add_selfcheck(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "selfcheck", "Check that the library computes here what it does everywhere.");
  command->footer(
      "Runs recordings that are made in memory and compares every outcome with the one\n"
      "recorded in the program. Prints what differs, and at which stage first; ends "
      "with\n"
      "status 1 when anything does.");
  const auto record = std::make_shared<bool>(false);
  command->add_flag("--record", *record,
                    "print what tools/wgr/golden/recorded.inc has to hold instead");
  command->callback([record] {
    const int status = self_check(*record);
    if (status == kExitBadInput) throw UsageError("selfcheck: no folder to write to");
    if (status != 0) throw std::runtime_error("selfcheck: streams differ; see above");
  });
}
