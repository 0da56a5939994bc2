// wgr doctor: says what is wrong with a stream of samples, and what to pass instead.
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arguments/command_line.h"
#include "arguments/host_run_arguments.h"
#include "arguments/model_arguments.h"
#include "arguments/reading_limit.h"
#include "arguments/report_option.h"
#include "arguments/settings_check.h"
#include "arguments/values.h"
#include "base/numbers.h"
#include "base/sha256.h"
#include "base/table.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "diagnosis/diagnosis.h"
#include "hostrun/fixed_paths.h"
#include "hostrun/host_wrist.h"
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

A model is checked as by wgr model check, and by its manifest, where wgr build left one
beside it, whether it was built from samples at the stream's rate and for the settings that
are given. The line pass shows the calls that fit both; the line wrist, how often the wrist
detector answered left, right and undecided. It names a wrist for more than twice the other
one's answers, of a hundred and more.

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
  HostSettings host;
  ReadingLimit limit;
};

// Of a stream: its diagnosis, and what the wrist detector answered.
struct Examined {
  Diagnosis diagnosis;
  std::array<size_t, 3> wrist_answers = {};  // left, right, undecided
};

}  // namespace

static std::string numbers(const Point3Df& p) {
  return fmt::format("{:.2f}, {:.2f}, {:.2f}", p.x, p.y, p.z);
}

static std::string rate_to_pass(const StreamFacts& facts) {
  return facts.rate ? std::to_string(std::max(1, nearest_int(*facts.rate))) : "rate";
}

static void print_json(const Examined& examined) {
  for (const Finding& finding : examined.diagnosis.findings) {
    print(stdout, "{}\n", json_text(finding_json(finding)));
  }
  print(stdout, "{}\n",
        json_text(summary_json(examined.diagnosis, examined.wrist_answers)));
}

static std::string turns_text(const StreamFacts& facts) {
  if (facts.turns == 0) return "none of gravity: the axes cannot be judged";
  return fmt::format("{} of gravity, predicted by the gyroscope to {:.1f} degrees",
                     facts.turns, facts.turn_error);
}

// The calls that fit the stream, and the model where there is one.
static std::string calls_to_make(const StreamFacts& facts, const HostSettings& host) {
  const std::string calls = fmt::format(
      "init_gesture_handle(h, {}, (Point3Df){{{}}}, {}, -1, {}, {})", rate_to_pass(facts),
      numbers(facts.bias.value_or(Point3Df{0.0, 0.0, 0.0})), host.shortest,
      host.static_window, kHandWindow);
  if (!host.sensitivity) return calls;
  return fmt::format("{}, set_gesture_rec_sensitivity(h, {})", calls, *host.sensitivity);
}

// Name and text of each.
static std::vector<std::vector<std::string>> facts_of(const Examined& examined,
                                                      const HostSettings& host) {
  const StreamFacts& facts = examined.diagnosis.facts;
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
      {"wrist", detected_wrist_text(examined.wrist_answers)},
      {"pass", calls_to_make(facts, host)}};
}

static void print_text(const Examined& examined, const HostSettings& host) {
  for (const std::vector<std::string>& fact : facts_of(examined, host)) {
    print(stdout, "{:9} {}\n", fact[0], fact[1]);
  }
  print(stdout, "\n{}", findings_text(examined.diagnosis.findings));
}

static std::string page_of(const DoctorArguments& given, const PageOrigin& origin,
                           const Examined& examined) {
  const Diagnosis& diagnosis = examined.diagnosis;
  FindingsPage page;
  page.origin = origin;
  page.title = name_of_path(given.recording) + ", examined";
  page.good = diagnosis.findings.empty();
  page.headline = page.good ? "Nothing is wrong with this stream"
                            : counted(diagnosis.findings.size(), "finding");
  for (const Finding& finding : diagnosis.findings) {
    page.findings.push_back(finding_json(finding));
  }
  page.tables = {
      {"The stream", "", {"What", "Measured"}, facts_of(examined, given.host)}};
  return findings_page(page);
}

// Whether the stream comes at the rate of what the model was built from.
static void compare_rates(const std::optional<Provenance>& built_from,
                          const std::string& model, Diagnosis& diagnosis) {
  const std::optional<double> rate = diagnosis.facts.rate;
  if (model.empty() || !rate) return;
  if (!built_from || built_from->rate <= 0) {
    warn_of_rate(built_from, model, nearest_int(*rate));
    return;
  }
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

// The model that is named, or else the installed one where a manifest says what it was
// built for; empty: neither.
static std::string model_to_check(const ModelArguments& given) {
  if (names_model(given)) return path_of(given);
  const std::string installed = model_file(kInstalledModels, given.wearer, given.mode);
  return std::filesystem::exists(manifest_path(installed)) ? installed : "";
}

static void check_files(const DoctorArguments& given, const std::string& model) {
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
}

// Samples that are to be repaired are kept; `first` is the first one's time.
static Examined read_and_examine(DoctorArguments& given,
                                 std::vector<RecordedSample>& samples,
                                 std::optional<double>& first) {
  std::optional<double> seconds = given.seconds;
  if (!seconds && given.recording == kStandardInput) seconds = kLiveSeconds;
  // What is not kept needs no limit.
  const bool limited = !given.repaired.empty() || given.limit.most != ReadingLimit().most;
  RecordingReader reader(given.recording, limited ? &given.limit : nullptr, given.handle);
  StreamDiagnosis stream(given.options);
  HostWrist wrist;
  Examined examined;
  size_t absent = 0;
  for (RecordedSample sample; reader.next(sample);) {
    if (!first) first = sample.t;
    if (reader.absent_fields() != absent) {
      absent = reader.absent_fields();
      stream.set_absent_axes(reader.absent_axes());
    }
    if (seconds && sample.t - *first >= *seconds) break;
    stream.add(sample);
    wrist.ask(sample.acc);
    if (!given.repaired.empty()) samples.push_back(sample);
  }
  examined.diagnosis = stream.finish();
  examined.wrist_answers = wrist.answers();
  return examined;
}

static void examine(DoctorArguments& given) {
  if (!given.bias.empty()) given.options.gyro_bias = parse_bias(given.bias);
  const std::string model = model_to_check(given.model);
  check_files(given, model);
  if (!model.empty()) read_useful_model(model);
  const std::optional<Provenance> built_from = provenance_of(model);
  if (built_from) take_settings(*built_from, model, given.host);
  std::vector<RecordedSample> samples;  // to be repaired
  std::optional<double> first;
  Examined examined = read_and_examine(given, samples, first);
  Diagnosis& diagnosis = examined.diagnosis;
  compare_rates(built_from, model, diagnosis);
  if (given.json) {
    print_json(examined);
  } else {
    print_text(examined, given.host);
  }
  if (!given.page.empty()) {
    PageOrigin origin = command_origin(model.empty() ? "" : sha256_of_file(model));
    origin.first_stamp = first;
    if (first) origin.last_stamp = *first + diagnosis.facts.seconds;
    write_page(given.page, page_of(given, origin, examined));
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
  add_model_options(*command, given->model,
                    "; otherwise\nthe installed one, where it has a manifest");
  command->add_option("--bias", given->bias, "Gyroscope bias that it passes, deg/s")
      ->transform(gyro_bias())
      ->option_text("X,Y,Z");
  command
      ->add_option("--seconds", given->seconds,
                   "How much to read; otherwise a whole file, and a\nminute of standard "
                   "input")
      ->transform(within(number_above(0, kMostSeconds)))
      ->option_text("S");
  add_host_settings(*command, given->host.shortest, given->host.static_window,
                    given->host.sensitivity);
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
