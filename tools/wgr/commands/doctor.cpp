// wgr doctor: says what is wrong with a stream of samples, and what to pass instead.
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arguments/command_line.h"
#include "arguments/host_run_arguments.h"
#include "arguments/model_arguments.h"
#include "arguments/reading_limit.h"
#include "arguments/report_option.h"
#include "arguments/values.h"
#include "base/numbers.h"
#include "base/sha256.h"
#include "base/table.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "diagnosis/diagnosis.h"
#include "json/json_text.h"
#include "output/output_files.h"
#include "output/output_plan.h"
#include "pages/findings_page.h"
#include "pages/shell.h"
#include "recording/clock.h"
#include "recording/recording.h"
#include "text/diagnosis_json.h"
#include "text/verdict_text.h"
#include "training/model_findings.h"
#include "training/model_output.h"

namespace wgr {

static constexpr double kLiveSeconds = 60.0;
static constexpr double kRateTolerance = 0.02;  // between stream and model

static constexpr char kFooter[] =
    R"(Reads a recording, or a minute of a live stream (-), and looks for: wrong units of either
sensor, swapped and flipped axes, swapped sensors, a wrong rate, jitter, gaps, repeated and
out-of-order stamps, bias, noise, clipping, single values beyond what sensors measure, axes
that stick or are missing, rates of exactly zero, gravity where the accelerometer cannot
report rest, and motion without an end.

A recording of any length is read in the same small memory: one of more than an hour, or
450,000 samples, is examined in parts.

Axes are tested by comparing the turn of gravity that the gyroscope predicts with the one
that the accelerometer shows. So the recording should contain turns about all axes, with a
moment of rest before and after each. A fault that both sensors share cannot be seen: an
axis reversed in both, or all three axes of the accelerometer reversed.

--repair writes the recording with the repairs that the findings propose: correct units and
axes, the bias subtracted, short gaps filled in; standard error lists them.

A model is checked as by wgr model check, and its manifest, where wgr build left one beside
it, reports whether it was built from samples at the stream's rate.

Examples:
  wgr doctor walk.csv
  wgr doctor --model models/olvo_model_5_fb/hgr_olvo.xml walk.csv
  wgr doctor --sample-rate 50 --bias=0.4,-0.2,0.1 walk.csv     as the host passes them
  wgr doctor --report stream.html walk.csv
  wgr doctor --repair sound.csv walk.csv                        and the repaired recording
  sensor-stream | wgr doctor -

Exit status: 0 nothing found; 1 findings, or the machine failed (disk, memory); 2 the
recording or an argument cannot be used.)";

namespace {

struct DoctorArguments {
  std::string recording;
  std::optional<double> seconds;
  std::optional<unsigned> handle;  // of a capture
  std::string bias;                // X,Y,Z
  ModelArguments model;
  std::string repaired;  // file; empty: none
  std::string page;      // likewise
  bool json = false;
  DiagnosisOptions options;
  ReadingLimit limit;
};

}  // namespace

static std::string numbers(const Point3Df& p) {
  return fmt::format("{:.2f}, {:.2f}, {:.2f}", p.x, p.y, p.z);
}

static std::string rate_to_pass(const StreamFacts& facts) {
  return facts.rate ? std::to_string(std::max(1, nearest_int(*facts.rate))) : "rate";
}

static void print_json(const Diagnosis& diagnosis) {
  for (const Finding& finding : diagnosis.findings) {
    print(stdout, "{}\n", json_text(finding_json(finding)));
  }
  print(stdout, "{}\n", json_text(summary_json(diagnosis)));
}

static std::string turns_text(const StreamFacts& facts) {
  if (facts.turns == 0) return "none of gravity: the axes cannot be judged";
  return fmt::format("{} of gravity, predicted by the gyroscope to {:.1f} degrees",
                     facts.turns, facts.turn_error);
}

// Name and text of each.
static std::vector<std::vector<std::string>> facts_of(const StreamFacts& facts) {
  return {
      {"samples", fmt::format("{} in {:.2f} s", facts.samples, facts.seconds)},
      {"rate", fmt::format("{} samples/s, jitter {:.0f} %",
                           facts.rate ? fmt::format("{:.2f}", *facts.rate) : "unknown",
                           100.0 * facts.jitter)},
      {"gravity",
       (facts.gravity ? fmt::format("{:.2f} m/s²", *facts.gravity) : "not seen") +
           " at rest"},
      {"bias", facts.bias ? numbers(*facts.bias) + " deg/s" : "not seen"},
      {"noise",
       fmt::format("{:.3f} m/s², {:.2f} deg/s", facts.acc_noise, facts.gyro_noise)},
      {"rest", fmt::format("{:.0f} % (accelerometer {:.0f} %, gyroscope {:.0f} %); "
                           "longest motion {:.1f} s",
                           100.0 * facts.rest_share, 100.0 * facts.acc_rest_share,
                           100.0 * facts.gyro_rest_share, facts.longest_motion)},
      {"turns", turns_text(facts)},
      {"pass", fmt::format("init_gesture_handle(h, {}, (Point3Df){{{}}}, -1, -1, -1, 50)",
                           rate_to_pass(facts),
                           numbers(facts.bias.value_or(Point3Df{0.0, 0.0, 0.0})))}};
}

static void print_text(const Diagnosis& diagnosis) {
  for (const std::vector<std::string>& fact : facts_of(diagnosis.facts)) {
    print(stdout, "{:9} {}\n", fact[0], fact[1]);
  }
  print(stdout, "\n{}", findings_text(diagnosis.findings));
}

static std::string page_of(const std::string& recording, const PageOrigin& origin,
                           const Diagnosis& diagnosis) {
  FindingsPage page;
  page.origin = origin;
  page.title = name_of_path(recording) + ", examined";
  page.good = diagnosis.findings.empty();
  page.headline = page.good ? "Nothing is wrong with this stream"
                            : counted(diagnosis.findings.size(), "finding");
  for (const Finding& finding : diagnosis.findings) {
    page.findings.push_back(finding_json(finding));
  }
  page.tables = {{"The stream", "", {"What", "Measured"}, facts_of(diagnosis.facts)}};
  return findings_page(page);
}

// Whether the stream comes at the rate of what the model was built from.
static void compare_rates(const std::string& model, Diagnosis& diagnosis) {
  const std::optional<Provenance> built_from = provenance_of(model);
  const std::optional<double> rate = diagnosis.facts.rate;
  if (!built_from || built_from->rate <= 0 || !rate) return;
  const double built_at = built_from->rate;
  if (std::fabs(*rate / built_at - 1.0) <= kRateTolerance) return;
  Finding& finding = diagnosis.findings.emplace_back();
  finding.id = FindingId::kModelRate;
  finding.sure = Sureness::kLikely;
  finding.value = *rate;
  finding.other = built_at;
}

// Writes the recording with the repairs that the findings propose, and says which.
static void write_repaired(const std::string& path, const Diagnosis& diagnosis,
                           std::vector<RecordedSample> samples) {
  std::vector<Repair> repairs;
  for (const Finding& finding : diagnosis.findings) {
    if (finding.repair) repairs.push_back(*finding.repair);
  }
  order_repairs(repairs);
  std::string done;
  for (const Repair& repair : repairs) {
    if (repair.kind == RepairKind::kRate) continue;  // nothing in the samples
    apply(repair, samples, true);
    done += (done.empty() ? "" : "; ") + repair_text(repair);
  }
  OutputFiles files;
  write_recording(path, samples, files);
  files.commit();
  warn("wrote {}: {}", path, done.empty() ? "the samples as they are" : done);
}

static void examine(DoctorArguments& given) {
  if (!given.bias.empty()) given.options.gyro_bias = parse_bias(given.bias);
  std::optional<double> seconds = given.seconds;
  if (!seconds && given.recording == kStandardInput) seconds = kLiveSeconds;

  const std::string model = names_model(given.model) ? path_of(given.model) : "";
  OutputPlan plan;
  plan.reads("RECORDING", given.recording);
  if (!model.empty()) {
    add_inputs(plan, given.model);
    plan.reads("the manifest of --model", manifest_path(model));
  }
  plan.writes("--repair", given.repaired);
  plan.writes("--report", given.page);
  plan.prints_results();
  plan.check();
  if (!model.empty()) read_useful_model(model);
  std::vector<RecordedSample> samples;  // to be repaired
  // What is not kept needs no limit.
  const bool limited = !given.repaired.empty() || given.limit.most != ReadingLimit().most;
  RecordingReader reader(given.recording, limited ? &given.limit : nullptr, given.handle);
  StreamDiagnosis stream(given.options);
  std::optional<double> first;
  size_t absent = 0;
  for (RecordedSample sample; reader.next(sample);) {
    if (!first) first = sample.t;
    if (reader.absent_fields() != absent) {
      absent = reader.absent_fields();
      stream.set_absent_axes(reader.absent_axes());
    }
    if (seconds && sample.t - *first >= *seconds) break;
    stream.add(sample);
    if (!given.repaired.empty()) samples.push_back(sample);
  }
  Diagnosis diagnosis = stream.finish();
  compare_rates(model, diagnosis);
  if (given.json) {
    print_json(diagnosis);
  } else {
    print_text(diagnosis);
  }
  if (!given.page.empty()) {
    PageOrigin origin = command_origin(model.empty() ? "" : sha256_of_file(model));
    origin.first_stamp = first;
    if (first) origin.last_stamp = *first + diagnosis.facts.seconds;
    write_page(given.page, page_of(given.recording, origin, diagnosis));
  }
  if (!given.repaired.empty()) {
    write_repaired(given.repaired, diagnosis, std::move(samples));
  }
  if (!diagnosis.findings.empty()) throw EndWithStatus{kExitFindings};
}

void add_doctor(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "doctor", "Report what is wrong with a stream of samples, and what to do.");
  const auto given = std::make_shared<DoctorArguments>();
  command->add_option("RECORDING", given->recording, "The recording; - is standard input")
      ->required()
      ->transform(path_name())
      ->option_text(" ");
  command
      ->add_option("--sample-rate", given->options.rate,
                   "Samples per second that the host passes to the library")
      ->transform(within(whole_from(1, kHighestRate)))
      ->option_text("HZ");
  add_model_options(*command, given->model, "; otherwise\nno model is checked");
  command->add_option("--bias", given->bias, "Gyroscope bias that it passes, deg/s")
      ->transform(gyro_bias())
      ->option_text("X,Y,Z");
  command
      ->add_option("--seconds", given->seconds,
                   "How much to read; otherwise a whole file, and a\nminute of standard "
                   "input")
      ->transform(within(number_above(0, kMostSeconds)))
      ->option_text("S");
  add_handle_option(*command, given->handle);
  add_value(*command, "--repair", given->repaired,
            "Write the recording with the repairs that the\nfindings propose",
            path_value(), "OUT.csv");
  add_report_option(*command, given->page, "Show the findings and what was measured");
  add_max_size(*command, given->limit);
  command->add_flag("--json", given->json, "Print JSON lines");
  command->footer(kFooter);
  command->callback([given] { examine(*given); });
}

}  // namespace wgr
