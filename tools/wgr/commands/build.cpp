// wgr build: training file or recordings in, gesture model out.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "arguments/build_arguments.h"
#include "arguments/report_option.h"
#include "arguments/segmentation_arguments.h"
#include "arguments/values.h"
#include "base/foreign_text.h"
#include "base/table.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "evaluation/settings_choice.h"
#include "output/output_files.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "pages/page_data.h"
#include "text/build_text.h"
#include "text/recording_advice.h"
#include "text/set_text.h"
#include "training/model_builder.h"
#include "training/model_findings.h"
#include "training/model_output.h"
#include "training/training_file.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(INPUT is a training file (see wgr segment) or a folder of recordings, which is segmented
first. Cross-validation compares four kinds of templates: exemplars, averages by dynamic time
warping of 1 to 5 clusters a class, the same averages smoothed, and averages adapted to
separate the classes. The command chooses the fewest templates whose accuracy is within
--tolerance of the best. It leaves out subjects if the recordings name at least two,
otherwise sessions, otherwise repetitions (--judge-by). At most a third of a
class's examples become templates (--share).

Each class's threshold is computed from the scores of correct, wrong and background examples.
--false-positives-per-hour limits the background motions that are accepted per hour; with
background, no threshold is lower than without it. Labels below 0 are background.
Averages of clusters of background become templates of class 14, which is never reported, where
cross-validation, on kinds of background that they were not made from, shows a gain and no loss;
the report lists their cost in points (--background-templates).

The command also writes a report (.report.txt) and a manifest (.model.json) beside the model,
unless the model is written to standard output or a device. --model-only removes those of an
older model. --report writes an HTML report. The same input gives the same bytes. However
the command ends, either all files are written or all stay as they were.
Before building, it prints what the recordings lack: people, repetitions, rest around them,
daily use of the hands, and which classes are too alike.
--slots builds several models: FILE has the header slot,input; a slot is the name of a
model's folder, such as olvo_model_5_fb, and an input is a path relative to FILE.

Examples:
  wgr build set -o models/olvo_model_5_fb/hgr_olvo.xml --background walks \
    --false-positives-per-hour 1
  wgr build set.txt -o m.xml --templates 6
  wgr build --slots slots.csv -o models

Exit status: 0 done; 1 the machine failed (disk, memory); 2 the input or an argument cannot
be used, or would make a model that accepts nothing.)";

static constexpr char kSlotsHeader[] = "slot,input";
static constexpr char kModelName[] = "hgr_olvo.xml";  // within each slot
static constexpr char kModelSuffix[] = ".xml";        // of every model the library opens
static constexpr double kMostHours = 1e5;             // of background
static constexpr double kSecondsPerHour = 3600.0;
static constexpr double kUsualFalsePositives = 1.0;  // an hour, where none are named

namespace {

struct Arguments {
  std::string input;
  std::string slots;
  std::string out;
  std::string page;  // file; empty: none
  std::optional<double> background_hours;
  bool model_only = false;
  BuildOptions options;
  SegmentationArguments segmentation;
};

// One model to build.
struct Job {
  std::string slot;  // empty: the only one
  std::string input;
  std::string out;
};

}  // namespace

// The description beside a training file, if it is of that file.
static Provenance description_of(const std::string& training, const Gdata& data) {
  Provenance p;
  p.gravity = data.kind == 1;
  const std::string path = description_path(training);
  if (std::filesystem::exists(path)) {
    const nlohmann::ordered_json json = read_json(path, description_fields(true));
    if (json.at("training_file_sha256") == sha256_of_file(training)) {
      p = provenance_from(json, path, data.samples.size());
    } else {
      warn("{}: describes another training file; it does not count", path);
    }
  }
  p.inputs.push_back(
      {std::filesystem::path(training).filename(), sha256_of_file(training)});
  return p;
}

// Segments a folder, with --choose-settings so that most repetitions are right; `tried`
// is the table of that.
static SegmentedSet segment_best(const Arguments& given, const std::string& input,
                                 std::string& tried) {
  std::vector<SegmentedSet> sets = alternatives_given(input, given.segmentation);
  if (sets.size() == 1) return std::move(sets.front());
  BuildOptions options = given.options;
  options.background_hours = given.background_hours.value_or(
      sets.front().provenance.background_seconds / kSecondsPerHour);
  const SegmentedAlternatives alternatives(std::move(sets), options.threads);
  std::vector<TriedSettings> steps;
  const size_t chosen = choose_alternative(alternatives, options, steps);
  tried = text_of(steps);
  return alternatives.set(chosen);
}

namespace {

// What a model is built from.
struct Input {
  Gdata data;
  Provenance provenance;
  std::vector<std::string> names;    // of the examples, where they are known
  std::string tried;                 // settings that were compared; may be empty
  std::vector<std::string> caveats;  // from segmentation
  PageOrigin recorded;               // when, where it is known
};

}  // namespace

static void print_advice(const std::vector<std::string>& advice) {
  for (const std::string& sentence : advice) print(stderr, "advice: {}\n", sentence);
}

static Input segmented_folder(const Arguments& given, const std::string& folder) {
  Input input;
  const SegmentedSet set = segment_best(given, folder, input.tried);
  input.names = names_of_kept(set);
  input.caveats = caveats_of(set);
  set_stamps(set, input.recorded);
  print(stderr, "{}", summary_of(set));
  print_advice(advice_on(
      set, given.options.false_positives_per_hour.value_or(kUsualFalsePositives)));
  input.provenance = set.provenance;
  input.data =
      parse_training_text(training_text(kept_motions(set), input.provenance.gravity));
  return input;
}

static Input training_file(const Arguments& given, const std::string& path) {
  if (!given.segmentation.background.empty()) {
    throw UsageError(
        "--background goes with a folder of recordings; to a training "
        "file it is added by wgr segment");
  }
  if (given.segmentation.choose_settings) {
    throw UsageError(
        "--choose-settings goes with a folder of recordings; a training file was "
        "segmented with its own settings");
  }
  Input input;
  input.data = read_training_file(path);
  input.provenance = description_of(path, input.data);
  print_advice(
      advice_on(input.data, input.provenance,
                given.background_hours.value_or(input.provenance.background_seconds /
                                                kSecondsPerHour),
                given.options.false_positives_per_hour.value_or(kUsualFalsePositives)));
  return input;
}

static BuildOptions options_for(const Arguments& given, const Provenance& provenance) {
  BuildOptions options = given.options;
  options.background_hours =
      given.background_hours.value_or(provenance.background_seconds / kSecondsPerHour);
  if (options.false_positives_per_hour && !(options.background_hours > 0.0)) {
    throw UsageError(
        "--false-positives-per-hour needs background: recordings of everyday movement "
        "(--background), or --background-hours for a training file");
  }
  options.progress = true;
  return options;
}

// Returns the page that is among the files; may be empty.
static std::string build_one(const Arguments& given, const Job& job, OutputFiles& files) {
  const Input input = std::filesystem::is_directory(job.input)
                          ? segmented_folder(given, job.input)
                          : training_file(given, job.input);
  const Provenance& provenance = input.provenance;
  const BuildOptions options = options_for(given, provenance);
  BuildReport report;
  const ModelBuilder builder(input.data, options.threads, false,
                             {provenance.subjects, provenance.sessions});
  print_advice(advice_on_classes(builder, provenance));
  const Gmodel model = builder.build(options, report);
  require_faultless_model(model, report, job.input);
  const std::string text = input.tried + report_text(report, options, provenance);
  print(stderr, "{}", text);
  std::string page;
  if (!given.page.empty()) {
    PageData page_data =
        page_data_of_build(builder, model, report, options, provenance, input.names);
    page_data.title = "Built from " + name_of_path(job.input);
    page_data.caveats.insert(page_data.caveats.end(), input.caveats.begin(),
                             input.caveats.end());
    page_data.origin = command_origin(sha256(model_text(model)));
    page_data.origin.first_stamp = input.recorded.first_stamp;
    page_data.origin.last_stamp = input.recorded.last_stamp;
    page = model_page(page_data);
    files.write(given.page, page);
  }
  const std::string bytes = model_text(model);
  files.write(job.out, bytes);
  if (!find_target(job.out).is_file()) return page;
  if (given.model_only) {
    files.remove(report_path(job.out));
    files.remove(manifest_path(job.out));
  } else {
    files.write(report_path(job.out), text);
    files.write(manifest_path(job.out),
                as_text(manifest(report, options, provenance, sha256(bytes))));
  }
  return page;
}

static std::vector<Job> jobs_of_slots(const Arguments& given) {
  const std::filesystem::path folder = std::filesystem::path(given.slots).parent_path();
  const std::vector<TableRow> rows = read_table(given.slots, kSlotsHeader);
  if (rows.empty()) throw UsageError(given.slots + ": names no slot");
  std::vector<Job> jobs;
  for (const TableRow& row : rows) {
    const std::string& slot = row.fields[0];
    if (slot.empty() || slot.find('/') != std::string::npos || slot[0] == '.') {
      refuse_row(row, given.slots, "the slot must be the name of a folder");
    }
    if (!std::filesystem::exists(folder / row.fields[1])) {
      refuse_row(row, given.slots, (folder / row.fields[1]).string() + " is not there");
    }
    jobs.push_back({slot, folder / row.fields[1],
                    std::filesystem::path(given.out) / slot / kModelName});
  }
  return jobs;
}

// The library opens models by their names without the suffix, which it appends.
static void require_model_name(const std::string& out) {
  const std::filesystem::path path(out);
  if (path.extension() == kModelSuffix || !find_target(out).is_file()) return;
  throw UsageError(
      fmt::format("-o {}: the library opens no model that is not named {}: name it {}",
                  out, kModelSuffix,
                  std::filesystem::path(path).replace_extension(kModelSuffix).string()));
}

static void check_files(const Arguments& given, const std::vector<Job>& jobs) {
  OutputPlan plan;
  plan.reads("--slots", given.slots);
  for (const Job& job : jobs) {
    const std::string of = job.slot.empty() ? "" : " of slot " + job.slot;
    if (std::filesystem::is_directory(job.input)) {
      add_inputs(plan, job.input, given.segmentation);
    } else {
      plan.reads("INPUT" + of, job.input);
      plan.reads("the description of INPUT" + of, description_path(job.input));
    }
    plan.writes("-o" + of, job.out);
    if (!find_target(job.out).is_file()) continue;
    plan.writes("the report beside -o" + of, report_path(job.out));
    plan.writes("the manifest beside -o" + of, manifest_path(job.out));
  }
  plan.writes("--report", given.page);
  plan.check();
  for (const Job& job : jobs) require_model_name(job.out);
}

static void build(const Arguments& given) {
  if (given.input.empty() == given.slots.empty()) {
    throw UsageError("build: either INPUT or --slots is required");
  }
  if (!given.slots.empty() && !given.page.empty()) {
    throw UsageError("build: --report is of one model, and goes without --slots");
  }
  const std::vector<Job> jobs = given.slots.empty()
                                    ? std::vector<Job>{{"", given.input, given.out}}
                                    : jobs_of_slots(given);
  check_files(given, jobs);
  separate_results(LibraryPrints::kNowhere);
  OutputFiles files;
  std::string page;
  for (const Job& job : jobs) {
    if (!job.slot.empty()) print(stderr, "== {}\n", shown(job.slot));
    page = build_one(given, job, files);
  }
  files.commit();
  if (!given.page.empty()) report_written(given.page, page);
}

void add_build(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "build", "Build gesture models from recordings or a training file.");
  const auto given = std::make_shared<Arguments>();
  add_value(*command, "INPUT", given->input, "Training file, or folder of recordings",
            path_name(), " ");
  command
      ->add_option("-o,--out", given->out,
                   "Model to write; with --slots, the folder for models")
      ->required()
      ->transform(path_value())
      ->option_text("FILE");
  add_value(*command, "--slots", given->slots, "Table of several models to build",
            path_value(), "FILE");
  add_report_option(*command, given->page, kDrawnExamples);
  add_build_options(*command, given->options);
  add_value(*command, "--background-hours", given->background_hours,
            "Duration of the background in a training file",
            within(number_above(0, kMostHours)), "H");
  command->add_flag("--model-only", given->model_only,
                    "Write the model without its report and manifest");
  add_segmentation_arguments(*command, given->segmentation);
  add_choose_settings(*command, given->segmentation);
  command->footer(kFooter);
  command->callback([given] { build(*given); });
}

}  // namespace wgr
