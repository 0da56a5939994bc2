// wgr selfcheck: does this machine compute what every other does?
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "base/text.h"
#include "commands/subcommands.h"
#include "golden/selfcheck.h"
#include "json/json_text.h"
#include "output/standard_output.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static void print_json(const SelfCheck& check) {
  for (const StreamDifference& d : check.differences) {
    const Json line = {{"type", "difference"}, {"stream", d.stream}, {"what", d.what}};
    print(results(), "{}\n", json_text(line));
  }
  Json first_at;
  for (int stage = 0; stage < kComparedStages; ++stage) {
    first_at[name_of_stage(stage)] = check.first_at[static_cast<size_t>(stage)];
  }
  const Json line = {{"type", "summary"},
                     {"streams", check.streams},
                     {"recognitions", check.recognitions},
                     {"differing", check.differing},
                     {"first_at", first_at},
                     {"largest_difference", check.largest},
                     {"largest_score_difference", check.largest_score}};
  print(results(), "{}\n", json_text(line));
}

void add_selfcheck(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "selfcheck", "Check that the library computes the same here as everywhere.");
  command->footer(
      "Runs recordings that are made in memory and compares every outcome with the one\n"
      "recorded in the program. Prints what differs, and at which stage first.\n"
      "\n"
      "Exit status: 0 all is the same; 1 something differs; 2 no folder to write to, or "
      "an\nargument cannot be used.");
  const auto record = std::make_shared<bool>(false);
  command->add_flag("--record", *record,
                    "Print the new content of workbench/golden/recorded.inc");
  const auto json = std::make_shared<bool>(false);
  command->add_flag("--json", *json, "Print JSON lines");
  command->callback([record, json] {
    if (*record) return print_golden_record();
    const SelfCheck check = self_check();
    if (*json) {
      print_json(check);
    } else {
      print_self_check(check);
    }
    if (check.differing > 0) {
      throw std::runtime_error("selfcheck: streams differ; see above");
    }
  });
}

}  // namespace wgr
