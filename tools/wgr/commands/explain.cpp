// wgr explain: what happened to each motion of a recording, and which cause decided.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "arguments/command_line.h"
#include "arguments/host_run_arguments.h"
#include "arguments/reading_limit.h"
#include "arguments/report_option.h"
#include "arguments/values.h"
#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/progress.h"
#include "base/sha256.h"
#include "base/table.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "explanation/expected.h"
#include "hostrun/fixed_paths.h"
#include "output/output_files.h"
#include "output/standard_output.h"
#include "pages/explain_page.h"
#include "recording/clock.h"
#include "segmentation/model_rate.h"
#include "text/explanation_text.h"
#include "text/verdict_json.h"
#include "training/model_output.h"
#include "verdict/explained.h"

namespace wgr {

static constexpr size_t kMuchWork = 5'000'000;  // samples to replay; some seconds
// Samples that are kept to be replayed without being asked; five hours and a half at
// 100 samples/s, about 110 MB.
static constexpr size_t kMostUnasked = 2'000'000;

static constexpr char kFooter[] =
    R"(Prints first what happened, why, how sure that is, and what to do. --expect names a
table of the expected gestures: t_start,t_end,label, or file,t_start,t_end,label as wgr
segment reads it. Then the missed gestures, and the reports that were not expected, follow
in groups; and the recording is replayed under other circumstances to find what would have
helped: every sensitivity, the other models of --models, the repairs that wgr doctor
proposes, a turned watch, other rest windows. --what-if does so without --expect, and for
recordings of more than 2,000,000 samples.

--all adds every motion: its begin and end, how it was trimmed, whether it was long, whole
and strong enough, which templates it resembles and by how much, and in one sentence which
cause decided. --at, --motion and --only print a part of that. The library itself runs over
the recording: every class, strength and duration is the one that it reports to a host.

--report writes a page that opens in a browser without a network. --json prints one object.
The causes and figures are explained in docs/field-guide.md.

Examples:
  wgr explain --models models --expect recordings/demo.labels.csv recordings/demo.csv
  wgr explain --model my_model.xml --expect expected.csv --report report.html walk.csv
  wgr explain --models models --expect set/labels.csv set -o pages/
  wgr explain --models models --at 30.3 recordings/demo.csv
  wgr explain --json walk.csv | jq -r '.motions[] | [.begin, .cause] | @tsv'

Exit status: 0 done; 1 the machine failed (disk, memory); 2 the recording, the models or an
argument cannot be used.)";

namespace {

struct ExplainArguments : HostRunArguments {
  std::string expect;  // file; empty: nothing is expected
  std::string page;    // file; empty: none
  std::string out;     // folder for the pages of a folder of recordings
  bool json = false;
  bool forgets_init = false;
  bool what_if = false;
  TextSelection selection;
  ReadingLimit limit;
};

}  // namespace

static ExaminerOptions examiner_options(const ExplainArguments& given) {
  ExaminerOptions options;
  options.diagnosis.rate = given.rate;
  options.diagnosis.gyro_bias = given.host_run.gyro_bias;
  options.try_changes = given.what_if || !given.expect.empty();
  if (!given.what_if) options.most_samples = kMostUnasked;
  options.own_model = !given.model.file.empty() || is_captured(given);
  if (options.try_changes && !options.own_model) {
    options.models =
        models_to_try(given.model.folder.empty() ? kInstalledModels : given.model.folder);
  }
  options.progress = [](size_t trials, size_t samples) -> std::function<void()> {
    if (trials * samples < kMuchWork) return nullptr;
    const auto progress =
        std::make_shared<Progress>("trying what would have helped", trials);
    return [progress] { progress->add(1); };
  };
  return options;
}

static PageOrigin origin_of(const ExplainArguments& given,
                            const Explanation& explanation) {
  return command_origin(is_captured(given) ? sha256(model_text(*given.host_run.model))
                                           : sha256_of_file(explanation.model_file));
}

// Explains one recording; its model has been taken.
static Explained explain_one(ExplainArguments& given) {
  given.host_run.initialise = !given.forgets_init;
  Explanation explanation;
  explanation.recording = given.recording;
  explanation.model_file = is_captured(given) ? given.recording : path_of(given.model);
  explanation.for_page = !given.page.empty();
  RecordingReader reader(given.recording, &given.limit, given.handle);
  given.host_run.rate = choose_rate(given, reader);
  if (!is_captured(given)) {
    explanation.other_rate =
        other_rate(given.built_from ? given.built_from->rate : 0, given.host_run.rate);
  }
  separate_results(LibraryPrints::kNowhere);
  Explained made = explain_and_judge(given.host_run, reader, given.expect,
                                     std::move(explanation), examiner_options(given));
  if (made.too_long) {
    warn("{}: more than {} samples: what would have helped is tried with --what-if only",
         given.recording, kMostUnasked);
  }
  if (reader.absent_fields() > 0) warn_of_absent_axes(given, reader);
  return made;
}

static void explain_recording(ExplainArguments& given) {
  OutputPlan plan;
  plan.reads("--expect", given.expect);
  plan.writes("--report", given.page);
  check_host_run(given, plan);
  take_model(given);
  Explained made = explain_one(given);
  if (given.json) {
    write_json_explanation(made.explanation, made.verdict, true, write_results);
  } else {
    write_text_explanation(made.explanation, made.verdict, given.selection,
                           layout_for(results_descriptor()), write_results);
  }
  if (!given.page.empty()) {
    write_page(given.page, explain_page(made.explanation, made.verdict,
                                        origin_of(given, made.explanation)));
  }
  if (made.malformed) std::rethrow_exception(made.malformed);
}

// ---- a folder of recordings ---------------------------------------------------------

// Whether its first line is a recording's.
static bool is_recording(const std::filesystem::path& path) {
  try {
    const RecordingReader reader(path);
    return true;
  } catch (const RecordingError& error) {
    warn("passed over: {}", error.what());
    return false;
  }
}

// What ends in .csv or .csv.gz, but for the table of what is expected and the others that
// a set of recordings has.
static std::vector<std::filesystem::path> recordings_in(const ExplainArguments& given) {
  static constexpr const char* kTables[] = {"index.csv", "labels.csv"};
  std::vector<std::filesystem::path> found;
  for (const auto& entry : std::filesystem::directory_iterator(given.recording)) {
    const std::filesystem::path& path = entry.path();
    const bool packed = path.extension() == ".gz";
    const bool csv = (packed ? path.stem() : path.filename()).extension() == ".csv";
    const bool table = std::find(std::begin(kTables), std::end(kTables),
                                 path.filename()) != std::end(kTables);
    const bool expected =
        !given.expect.empty() && std::filesystem::equivalent(path, given.expect);
    if (!csv || table || expected || !entry.is_regular_file()) continue;
    if (is_recording(path)) found.push_back(path);
  }
  if (found.empty()) {
    throw UsageError(given.recording +
                     ": the folder holds no recording, *.csv or *.csv.gz");
  }
  std::sort(found.begin(), found.end());
  return found;
}

static std::string page_in(const ExplainArguments& given,
                           const std::filesystem::path& recording) {
  return std::filesystem::path(given.out) / (recording.filename().string() + ".html");
}

static void plan_folder(const ExplainArguments& given,
                        const std::vector<std::filesystem::path>& recordings) {
  OutputPlan plan;
  plan.reads("--expect", given.expect);
  add_inputs(plan, given.model);
  for (const std::filesystem::path& path : recordings) {
    plan.reads("RECORDING", path);
    plan.writes("-o", page_in(given, path));
  }
  plan.writes("-o", std::filesystem::path(given.out) / "index.html");
  plan.prints_results();
  plan.check();
}

// One recording's page, and its line in the index.
static nlohmann::ordered_json explain_in_folder(const ExplainArguments& given,
                                                const std::filesystem::path& path,
                                                OutputFiles& files) {
  ExplainArguments one = given;
  one.recording = path;
  one.page = page_in(given, path);
  if (!given.expect.empty() && !names_recording(given.expect, path)) one.expect.clear();
  if (!given.bias.empty()) one.host_run.gyro_bias = parse_bias(given.bias);
  const std::string name = path.filename();
  try {
    take_model(one);
    Explained made = explain_one(one);
    if (made.malformed) std::rethrow_exception(made.malformed);
    const auto verdict = verdict_json(made.verdict, made.explanation);
    const std::string page =
        explain_page(made.explanation, made.verdict, origin_of(one, made.explanation));
    files.write(one.page, page);
    report_written(one.page, page);
    write_results(
        fmt::format("{}: {}\n", shown(name), verdict["headline"].get<std::string>()));
    return {{"file", name},
            {"page", name + ".html"},
            {"verdict", verdict},
            {"error", nullptr}};
  } catch (const RecordingError& error) {
    warn(error.what());
    return {
        {"file", name}, {"page", nullptr}, {"verdict", nullptr}, {"error", error.what()}};
  }
}

static void explain_folder(const ExplainArguments& given) {
  if (given.out.empty()) {
    throw UsageError(given.recording +
                     ": is a folder: -o DIR says where a page for each recording goes");
  }
  if (!given.page.empty() || given.json || given.selection.all ||
      given.selection.is_part()) {
    throw UsageError(
        "--report, --json, --all, --at, --motion and --only are for one "
        "recording, and " +
        given.recording + " is a folder");
  }
  const std::vector<std::filesystem::path> recordings = recordings_in(given);
  if (!given.expect.empty() &&
      std::none_of(recordings.begin(), recordings.end(), [&](const auto& path) {
        return names_recording(given.expect, path);
      })) {
    throw UsageError(given.expect + ": names no recording of " + given.recording +
                     " in a column file");
  }
  plan_folder(given, recordings);
  OutputFiles files;
  nlohmann::ordered_json index = {{"folder", given.recording},
                                  {"recordings", nlohmann::ordered_json::array()}};
  bool all_read = true;
  for (const std::filesystem::path& path : recordings) {
    index["recordings"].push_back(explain_in_folder(given, path, files));
    all_read = all_read && index["recordings"].back()["error"].is_null();
  }
  files.write(std::filesystem::path(given.out) / "index.html",
              index_page(index, command_origin("")));
  files.commit();
  if (!all_read) throw EndWithStatus{kExitBadInput};
}

static void explain_what_is_given(ExplainArguments& given) {
  if (std::filesystem::is_directory(given.recording)) return explain_folder(given);
  if (!given.out.empty()) {
    throw UsageError(
        "-o: is for a folder of recordings; --report writes the page of one");
  }
  explain_recording(given);
}

void add_explain(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "explain", "Report why each motion was, or was not, recognised.");
  const auto given = std::make_shared<ExplainArguments>();
  add_host_run_arguments(*command, *given);
  command->add_option("--expect", given->expect, "Table of the expected gestures")
      ->transform(path_value())
      ->option_text("FILE");
  add_report_option(*command, given->page, "Draw the recording and its motions");
  add_value(*command, "-o,--out", given->out,
            "Where RECORDING is a folder: folder for a page of\neach recording, and for "
            "index.html",
            path_value(), "DIR");
  command->add_flag("--json", given->json, "Print JSON instead of text");
  command->add_flag("--all", given->selection.all, "Show every motion and every rest");
  add_value(*command, "--at", given->selection.at, "Only what happened at this time, s",
            within(number_from(-kMostSeconds, kMostSeconds)), "S");
  add_value(*command, "--motion", given->selection.motion, "Only this motion, from 1",
            within(whole_from(1, 1e9)), "N");
  add_value(*command, "--only", given->selection.only,
            "Only missed, only unexpected, or one cause, as\ntoo-weak",
            one_of(selectable()), "WHAT");
  command->add_flag("--what-if", given->what_if,
                    "Find what would have helped without --expect, too");
  command->add_flag("--no-init", given->forgets_init,
                    "Act as a host that forgets init_gesture_handle()");
  add_max_size(*command, given->limit);
  command->footer(kFooter);
  command->callback([given] { explain_what_is_given(*given); });
}

}  // namespace wgr
