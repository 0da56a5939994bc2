// wgr eval: how good a model is on labelled recordings.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "arguments/build_arguments.h"
#include "arguments/model_arguments.h"
#include "arguments/report_option.h"
#include "arguments/segmentation_arguments.h"
#include "arguments/values.h"
#include "base/table.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "evaluation/evaluation.h"
#include "output/output_files.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "pages/page_data.h"
#include "text/evaluation_text.h"
#include "training/model_findings.h"
#include "training/model_output.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(FOLDER is as for wgr segment; all streams are fed to the library through its C interface,
with the model in place. A pre-segmented recording, one repetition without rest around it,
is no stream: it goes through the same steps as wgr segment and the library's classifier.
With --leave-out a model is built for each subject, each recording (session), or each of
--folds parts of the repetitions, from all the others, and tested on what was left out.

--require ends with status 1 unless a figure is good enough: accuracy, kept_accuracy,
named at least; false_positives_per_hour, latency at most. --report draws it all as a page for a
browser.

Examples:
  wgr eval set --models models --wearer 1 --mode 2
  wgr eval set --model models/olvo_model_5_fb/hgr_olvo.xml --require accuracy=0.95
  wgr eval set --leave-out subject --background walks --false-positives-per-hour 1 --json

Exit status: 0 done; 1 a figure is not as required, or the machine failed (disk, memory);
2 the recordings, the model or an argument cannot be used.)";

namespace {

struct Arguments {
  std::string folder;
  std::string page;  // file; empty: none
  std::vector<std::string> requirements;
  bool json = false;
  ModelArguments model;
  SegmentationArguments segmentation;
  EvaluationOptions options;
};

}  // namespace

static CLI::Validator requirement() {
  return CLI::Validator(
      [](const std::string& text) { return fault_in_requirement(text); }, "");
}

static void check(const Arguments& given) {
  const bool leaves_out = given.options.leave_out != LeaveOut::kNothing;
  if (names_model(given.model) == leaves_out) {
    throw UsageError("eval: either --model, --models or --leave-out is required");
  }
  if (given.folder.empty() && given.segmentation.background.empty()) {
    throw UsageError("eval: FOLDER or --background is required");
  }
}

// `model` is its file; empty: built from what is not left out.
static std::string title_of(const Arguments& given, const std::string& model) {
  const std::string played = name_of_path(
      given.folder.empty() ? given.segmentation.background.front() : given.folder);
  if (model.empty()) return played + ", left out part by part";
  // All models have one name; their folders distinguish them.
  const std::string folder = name_of_path(std::filesystem::absolute(model).parent_path());
  return played + ", played to " + folder + "/" + name_of_path(model);
}

static void check_files(const Arguments& given, const std::string& model) {
  OutputPlan plan;
  add_inputs(plan, given.folder, given.segmentation);
  if (!model.empty()) {
    add_inputs(plan, given.model);
    plan.reads("the manifest of --model", manifest_path(model));
  }
  plan.writes("--report", given.page);
  plan.prints_results();
  plan.check();
}

static void warn_of_unjudged(const Evaluation& result) {
  for (const auto& [label, repetitions] : result.unjudged) {
    warn(
        "class {}: {} of its repetitions cannot be judged and count as missed: with what "
        "was left out beside them, a single repetition or none was left to build from. "
        "Record more of it, or leave out less at a time (--leave-out repetition)",
        label, repetitions);
  }
}

static void eval(Arguments& given) {
  check(given);
  const std::string model = names_model(given.model) ? path_of(given.model) : "";
  check_files(given, model);
  if (!model.empty()) given.options.model = read_useful_model(model);
  separate_results(LibraryPrints::kNowhere);

  const std::optional<Provenance> built_from = provenance_of(model);
  const SegmentedSet set = segment_given(given.folder, given.segmentation,
                                         built_from ? built_from->classes : Classes());
  std::fputs(summary_of(set).c_str(), stderr);
  const Evaluation result = evaluate(set, given.options);
  warn_of_unjudged(result);
  const std::string text = given.json ? as_text(to_json(result, set.provenance))
                                      : text_of(result, set.provenance);
  write_results(text);

  if (!given.page.empty()) {
    PageData page_data = page_data_of_evaluation(set, result);
    page_data.title = title_of(given, model);
    write_output(given.page, model_page(page_data));
  }

  bool good = true;
  for (const std::string& requirement : given.requirements) {
    const std::string failure = failure_of(parse(requirement), result);
    if (failure.empty()) continue;
    warn(failure);
    good = false;
  }
  if (!good) throw EndWithStatus{kExitFindings};
}

void add_eval(CLI::App& wgr) {
  CLI::App* const command =
      wgr.add_subcommand("eval", "Test how good a model is on labelled recordings.");
  const auto given = std::make_shared<Arguments>();
  command->add_option("FOLDER", given->folder, "Recordings with labels.csv or index.csv")
      ->transform(path_name())
      ->option_text(" ");
  add_model_options(*command, given->model, "");
  command
      ->add_option("--leave-out", given->options.leave_out,
                   "Build models from the rest of the recordings instead")
      ->transform(one_of<LeaveOut>({{"subject", LeaveOut::kSubject},
                                    {"repetition", LeaveOut::kRepetition},
                                    {"session", LeaveOut::kSession}}))
      ->option_text("subject|repetition|session");
  command
      ->add_option("--folds", given->options.folds,
                   "Parts in which repetitions are left out")
      ->transform(within(whole_from(2, 1000)))
      ->option_text("N (10)");
  command->add_option("--require", given->requirements, "What must be reached")
      ->check(requirement())
      ->option_text("FIGURE=VALUE")
      ->allow_extra_args(false);
  command->add_flag("--json", given->json, "Print JSON");
  add_report_option(*command, given->page, kDrawnExamples);
  add_build_options(*command, given->options.build);
  add_segmentation_arguments(*command, given->segmentation);
  command->footer(kFooter);
  command->callback([given] { eval(*given); });
}

}  // namespace wgr
