// wgr explain: what happened to each motion of a recording, and which cause decided.
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "arguments/host_run_arguments.h"
#include "arguments/reading_limit.h"
#include "arguments/report_option.h"
#include "arguments/values.h"
#include "base/table.h"
#include "commands/subcommands.h"
#include "explanation/expected.h"
#include "explanation/explanation.h"
#include "output/output_files.h"
#include "output/standard_output.h"
#include "pages/explain_page.h"
#include "text/explanation_text.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(Reports, motion by motion, from when to when it went, how it was trimmed, whether it was
long, whole and strong enough, which templates it resembles and by how much, and in one
sentence which cause decided. The library itself runs over the recording; every class,
strength and duration given is the one that it reports to a host.

--expect names a table of the gestures that should have come: t_start,t_end,label, or
file,t_start,t_end,label as wgr segment reads it. Those that did not come are listed with
what happened instead.

--report writes a page that opens in a browser without a network. --json prints one object.
What the words mean: docs/why-not-recognised.md.

Examples:
  wgr explain --models models recordings/demo.csv
  wgr explain --model my_model.xml --expect recordings/demo.labels.csv \
      --report report.html recordings/demo.csv
  wgr explain --json walk.csv | jq -r '.motions[] | [.begin, .cause] | @tsv'

Exit status: 0 done; 1 the machine failed (disk, memory); 2 the recording, the models or an
argument cannot be used.)";

namespace {

struct ExplainArguments : HostRunArguments {
  std::string expect;  // file; empty: nothing is expected
  std::string page;    // file; empty: none
  bool json = false;
  bool forgets_init = false;
  ReadingLimit limit;
};

}  // namespace

static void explain_recording(ExplainArguments& given) {
  if (!given.page.empty()) require_page();
  OutputPlan plan;
  plan.reads("--expect", given.expect);
  plan.writes("--report", given.page);
  check_host_run(given, plan);
  take_model(given);
  given.host_run.initialise = !given.forgets_init;

  Explanation explanation;
  explanation.recording = given.recording;
  explanation.model_file = path_of(given.model);
  explanation.for_page = !given.page.empty();
  if (!given.expect.empty()) {
    explanation.expected = read_expected(given.expect, given.recording);
  }
  RecordingReader reader(given.recording, &given.limit, given.handle);
  given.host_run.rate = choose_rate(given, reader);
  separate_results(LibraryPrints::kToStandardError);

  std::exception_ptr malformed;
  try {
    explain(given.host_run, reader, explanation);
  } catch (const RecordingError&) {
    malformed = std::current_exception();
  }
  if (reader.absent_fields() > 0) warn_of_absent_axes(given, reader);
  find_expected(explanation);

  if (given.json) {
    write_json_explanation(explanation, true, write_results);
  } else {
    write_text_explanation(explanation, write_results);
  }
  if (!given.page.empty()) write_output(given.page, explain_page(explanation));
  if (malformed) std::rethrow_exception(malformed);
}

void add_explain(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "explain", "Report why each motion was, or was not, recognised.");
  const auto given = std::make_shared<ExplainArguments>();
  add_host_run_arguments(*command, *given);
  command
      ->add_option("--expect", given->expect,
                   "Table of the gestures that should have come")
      ->transform(path_value())
      ->option_text("FILE");
  add_report_option(*command, given->page, "Draw the recording and its motions");
  command->add_flag("--json", given->json, "Print JSON instead of text");
  command->add_flag("--no-init", given->forgets_init,
                    "Be a host that forgets init_gesture_handle()");
  add_max_size(*command, given->limit);
  command->footer(kFooter);
  command->callback([given] { explain_recording(*given); });
}

}  // namespace wgr
