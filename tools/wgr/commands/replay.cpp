// wgr replay: runs the library over a recording, or over a live stream, and reports what
// it reports.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arguments/host_run_arguments.h"
#include "arguments/values.h"
#include "capture/capture_reader.h"
#include "commands/reenact.h"
#include "commands/subcommands.h"
#include "hostrun/fixed_paths.h"
#include "hostrun/host_run.h"
#include "hostrun/kept_log.h"
#include "hostrun/run.h"
#include "output/output_files.h"
#include "output/standard_output.h"
#include "output/temporary_file.h"
#include "recording/recording.h"
#include "text/replay_report.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(A recording is CSV, plain or gzip, with the header t,ax,ay,az,gx,gy,gz: seconds,
m/s² with gravity, deg/s. An empty field is an axis that the sensor does not have; it
reads as 0. At the first malformed line the run ends, and the summary covers the samples
before it. A torn last line, as a power cut leaves it, is ignored, and the exit status is 0.

For a capture of the flight recorder, every call is repeated with the models that the host
had, and every answer, callback and query is compared with the recorded one, bit by bit. With
an option of the model or the host's settings, or --handle, the samples of one of its
handles are run through the library as those of any recording.

Each event is printed with the time of the sample that completed it, the class (a label of
the model, or 5 for a strong motion that resembles no gesture closely enough), the
motion's strength, and the duration of the stretch that was compared. With --json each
event is one object a line, {"type":"event",...}, and the last line is the summary,
{"type":"summary",...}. What the library itself prints goes to standard error.

Nothing is written to /home/app/WgrLog.txt, where a host's library logs. --log keeps the log
of this run, all of it or none, in a file. This alone needs private
mounts of the library's paths: run it as root, or where user namespaces are allowed.

Examples:
  wgr replay --model my_model.xml recordings/demo.csv
  wgr replay --models models recordings/demo.csv
  wgr replay --wearer 1 --mode 2 --sensitivity 3 walk.csv
  wgr replay --bias 0.4,-0.2,0.1 --json walk.csv | jq 'select(.type == "event")'
  wgr replay service.wgrcap                          repeats every call of a host
  sensor-stream | wgr replay --sample-rate 100 -     events as they happen; Ctrl-C ends it

Exit status: 0 done; 1 an answer differs from a capture's, or the machine failed (disk,
memory); 2 the recording, the models or an argument cannot be used.)";

static constexpr char kInPlace[] = "--in-place";

namespace {

struct ReplayArguments : HostRunArguments {
  std::string log;  // file; empty: not kept
  bool json = false;
  bool in_place = false;  // runs with the library's places to itself
};

}  // namespace

// An interrupt ends a live stream rather than the program: the summary still comes. A
// second one ends the program.
static void end_standard_input(int signal) {
  static volatile std::sig_atomic_t interrupted = 0;
  if (interrupted != 0) end_by_signal(signal);
  interrupted = 1;
  const int saved_errno = errno;
  const int nothing = open("/dev/null", O_RDONLY);
  if (nothing >= 0) dup2(nothing, STDIN_FILENO);
  errno = saved_errno;
}

static void let_interrupts_end_the_stream() {
  struct sigaction action = {};
  action.sa_handler = end_standard_input;  // no SA_RESTART: read() looks again
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

// Another run of this program, that has the library's places to itself: its log is there.
[[noreturn]] static void run_again_to_log(const ReplayArguments& given) {
  const ModelArguments& model = given.model;
  std::vector<std::string> words = host_run_words(given);
  words.insert(words.begin(), {"replay", kInPlace, "--log=" + given.log});
  if (given.json) words.push_back("--json");
  words.insert(words.end(), {"--", given.recording});

  std::string folder;
  if (model.file.empty()) {
    folder = model.folder.empty() ? kInstalledModels : existing_folder(model.folder);
    require_models(folder, model.wearer, model.mode);
  }
  run_in_private_places(folder, words);
}

// Whether the options ask for a run of its own over a capture's samples, rather than for
// what the host did.
static bool asks_for_run(const ReplayArguments& given) {
  return names_model(given.model) || given.rate || !given.bias.empty() ||
         given.host_run.sensitivity || given.host_run.shortest > 0 ||
         given.host_run.rest_window > 0 || given.handle || !given.log.empty();
}

// Feeds the recording to a handle and reports each event; returns what ended it early.
static std::exception_ptr run_and_report(const ReplayArguments& given,
                                         RecordingReader& reader, KeptLog* log,
                                         Report& report, Totals& totals) {
  std::exception_ptr malformed;
  bool absent_reported = false;
  HostRun host_run(given.host_run);
  if (log != nullptr) log->take();
  report.start();
  const auto start = std::chrono::steady_clock::now();
  try {
    run_host(host_run, reader, totals, [&](const Step& step) {
      if (step.event != nullptr) report.event(*step.event);
      if (log != nullptr) {
        log->take();
      } else {
        require_results();  // a live stream without a reader would never end
      }
      if (absent_reported || reader.absent_fields() == 0) return;
      absent_reported = true;
      warn_of_absent_axes(given, reader);
    });
  } catch (const RecordingError&) {
    malformed = std::current_exception();
  }
  totals.elapsed_seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return malformed;
}

static void replay(ReplayArguments& given) {
  if (given.recording != kStandardInput && is_capture(given.recording) &&
      !asks_for_run(given)) {
    reenact_capture(given.recording, given.json);
    return;
  }
  const bool again = !given.log.empty() && !given.in_place;
  OutputPlan plan;
  plan.writes("--log", given.log);
  if (again) keep_out_of_private_places(plan);
  check_host_run(given, plan);
  if (again) run_again_to_log(given);
  take_model(given);

  if (given.recording == kStandardInput) let_interrupts_end_the_stream();
  RecordingReader reader(given.recording, nullptr, given.handle);
  given.host_run.rate = choose_rate(given, reader);
  OutputFiles files;
  std::optional<KeptLog> log;
  if (!given.log.empty()) log.emplace(files.open(given.log));

  separate_results(LibraryPrints::kToStandardError);
  std::FILE* const out = results();
  std::unique_ptr<Report> report;
  if (given.json) {
    report = std::make_unique<JsonReport>(out);
  } else {
    report = std::make_unique<TextReport>(out);
  }

  Totals totals(given.host_run.rate);
  const std::exception_ptr malformed =
      run_and_report(given, reader, log ? &*log : nullptr, *report, totals);
  if (log) log->take();
  totals.absent_fields = reader.absent_fields();
  totals.absent_axes = reader.absent_axes();
  report->summary(totals);
  files.commit();
  if (malformed) std::rethrow_exception(malformed);
}

void add_replay(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "replay", "Run the library over a recording and list what it reports.");
  const auto given = std::make_shared<ReplayArguments>();
  add_host_run_arguments(*command, *given);
  command->add_flag("--json", given->json, "Print JSON lines");
  command->add_option("--log", given->log, "File to keep the diagnostic log in")
      ->transform(path_value())
      ->option_text("FILE");
  // Of the second run: hidden from the help, and refused to whoever else gives it.
  command->add_flag(kInPlace, given->in_place)->group("")->check([](const std::string&) {
    if (are_places_private()) return std::string();
    throw UsageError(std::string(kInPlace) + ": is for the tool's own use");
  });
  command->footer(kFooter);
  command->callback([given] { replay(*given); });
}

}  // namespace wgr
