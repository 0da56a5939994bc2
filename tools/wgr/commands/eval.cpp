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
#include "arguments/settings_check.h"
#include "arguments/values.h"
#include "base/sha256.h"
#include "base/table.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "evaluation/evaluation.h"
#include "output/output_files.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "pages/page_data.h"
#include "text/comparison.h"
#include "text/evaluation_text.h"
#include "text/set_text.h"
#include "training/model_findings.h"
#include "training/model_output.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(FOLDER has the layout that wgr segment reads. The command feeds each stream to the library
through its C interface. A pre-segmented recording (one repetition without rest around it)
cannot be fed as a stream: it is segmented as by wgr segment and classified by the library.
--leave-out builds one model for each subject, each recording (session), or each of --folds
parts of the repetitions, from all other recordings, and tests it on the part left out.

--require sets a limit, and the exit status is 1 when it is missed: a lower limit of accuracy,
kept_accuracy or classified_right, an upper limit of false_positives_per_hour or latency.
--report writes an HTML report: whether the model is ready by these limits (by default
accuracy=0.95 and false_positives_per_hour=1), and what to do next. --compare lists what changed
since an older evaluation, and what of it is no more than chance.

Examples:
  wgr eval set --models models --wearer 1 --mode 2
  wgr eval set --model models/olvo_model_5_fb/hgr_olvo.xml --require accuracy=0.95
  wgr eval set --leave-out subject --compare before.json --report eval.html
  wgr eval set --leave-out subject --background walks --false-positives-per-hour 1 --json

Exit status: 0 done; 1 a figure is not as required, or the machine failed (disk, memory);
2 the recordings, the model or an argument cannot be used.)";

namespace {

struct Arguments {
  std::string folder;
  std::string page;     // file; empty: none
  std::string compare;  // file; empty: with nothing
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
  if (given.segmentation.choose_settings && (!leaves_out || !given.page.empty())) {
    throw UsageError(
        "--choose-settings goes with --leave-out, where models are built, and without "
        "--report, which draws one segmentation: give the page the settings that were "
        "chosen");
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
  plan.reads("--compare", given.compare);
  plan.writes("--report", given.page);
  plan.prints_results();
  plan.check();
}

static std::vector<std::string> caveats_of(const Evaluation& result) {
  std::vector<std::string> caveats;
  for (const auto& [label, repetitions] : result.unjudged) {
    caveats.push_back(fmt::format(
        "class {}: {} of its repetitions cannot be judged and count as missed: with what "
        "was left out beside them, a single repetition or none was left to build from. "
        "Record more of it, or leave out less at a time (--leave-out repetition)",
        label, repetitions));
  }
  return caveats;
}

// What is required is what the page judges by.
static PageAims aims_of(const Arguments& given) {
  PageAims aims;
  for (const std::string& requirement : given.requirements) {
    const Requirement wanted = parse(requirement);
    if (wanted.figure == "accuracy") aims.accuracy = wanted.value;
    if (wanted.figure == "false_positives_per_hour" && wanted.value > 0.0) {
      aims.false_positives_per_hour = wanted.value;
    }
  }
  return aims;
}

static std::string page_of(const Arguments& given, const std::string& model,
                           const SegmentedSet& set, const Evaluation& result,
                           const nlohmann::ordered_json& compared) {
  PageData page_data = page_data_of_evaluation(set, result);
  page_data.title = title_of(given, model);
  page_data.aims = aims_of(given);
  page_data.origin = command_origin(model.empty() ? "" : sha256_of_file(model));
  set_stamps(set, page_data.origin);
  page_data.caveats = caveats_of(result);
  for (const std::string& caveat : caveats_of(set)) page_data.caveats.push_back(caveat);
  page_data.comparison = compared;
  return model_page(page_data);
}

static void eval(Arguments& given) {
  check(given);
  const std::string model = names_model(given.model) ? path_of(given.model) : "";
  check_files(given, model);
  if (!model.empty()) given.options.model = read_useful_model(model);
  const nlohmann::ordered_json old =
      given.compare.empty() ? nullptr : read_evaluation(given.compare);
  separate_results(LibraryPrints::kNowhere);

  const std::optional<Provenance> built_from = provenance_of(model);
  if (built_from) take_settings(*built_from, model, given.segmentation.options.host);
  const SegmentedSet set = segment_given(given.folder, given.segmentation,
                                         built_from ? built_from->classes : Classes());
  std::fputs(summary_of(set).c_str(), stderr);
  if (!model.empty()) warn_of_rate(built_from, model, set.provenance.rate);
  const Evaluation result =
      given.segmentation.choose_settings
          ? evaluate(SegmentedAlternatives(
                         alternatives_given(given.folder, given.segmentation),
                         given.options.build.threads),
                     given.options)
          : evaluate(set, given.options);
  for (const std::string& caveat : caveats_of(result)) warn(caveat);
  nlohmann::ordered_json json = to_json(result, set.provenance);
  nlohmann::ordered_json compared;
  if (!given.compare.empty()) compared = comparison(old, json, given.compare);
  if (given.json) {
    if (!compared.is_null()) json["comparison"] = compared;
    write_results(as_text(json));
  } else {
    write_results(text_of(result, set.provenance) +
                  (compared.is_null() ? "" : comparison_text(compared)));
  }
  if (!given.page.empty()) {
    write_page(given.page, page_of(given, model, set, result, compared));
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
  CLI::App* const command = wgr.add_subcommand(
      "eval", "Measure the accuracy of a model on labelled recordings.");
  const auto given = std::make_shared<Arguments>();
  command->add_option("FOLDER", given->folder, "Recordings with labels.csv or index.csv")
      ->transform(path_name())
      ->option_text(" ");
  add_model_options(*command, given->model, "");
  command
      ->add_option("--leave-out", given->options.leave_out,
                   "Cross-validate: build models without each part")
      ->transform(one_of<LeaveOut>({{"subject", LeaveOut::kSubject},
                                    {"repetition", LeaveOut::kRepetition},
                                    {"session", LeaveOut::kSession}}))
      ->option_text("subject|repetition|session");
  command
      ->add_option("--folds", given->options.folds,
                   "Number of parts for --leave-out repetition")
      ->transform(within(whole_from(2, 1000)))
      ->option_text("N (10)");
  command
      ->add_option("--require", given->requirements,
                   "Exit with status 1 when FIGURE misses VALUE")
      ->check(requirement())
      ->option_text("FIGURE=VALUE")
      ->allow_extra_args(false);
  add_value(*command, "--compare", given->compare,
            "Older evaluation (written by --json) to compare", path_value(), "OLD.json");
  command->add_flag("--json", given->json, "Print JSON");
  add_report_option(*command, given->page, kDrawnExamples);
  add_build_options(*command, given->options.build);
  add_segmentation_arguments(*command, given->segmentation);
  add_choose_settings(*command, given->segmentation);
  command->footer(kFooter);
  command->callback([given] { eval(*given); });
}

}  // namespace wgr
