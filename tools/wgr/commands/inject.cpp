// wgr inject: plays a recording, a capture or a synthesised gesture into a running host.
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "arguments/host_run_arguments.h"
#include "arguments/reading_limit.h"
#include "arguments/values.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "capture/injector.h"
#include "commands/subcommands.h"
#include "injection_messages.h"
#include "json/json_text.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "recording/clock.h"
#include "recording/recording.h"
#include "recording/resample.h"
#include "synthesis/performance.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr char kFooter[] =
    R"(The host must have been started with the flight recorder and with injection enabled:
WGR_RECORDER_INJECT=FOLDER in its environment, or inject = FOLDER in the recorder's settings.
The samples take the place of the host's own at its own calls of update_gesture(), at its
rate and on its thread. Afterwards, or when this command is interrupted (Ctrl-C), the host
uses its own samples again. A recording of another rate is resampled.

The command prints one line for each report to the host's callback: the time since the first
injected sample, and the class. --json prints one object a line, {"type":"report",...}, and a
summary at the end, {"type":"injection",...}.

Examples:
  wgr inject --pid 1234 --gesture 2
  wgr inject --socket /run/gestures/wgr-inject-1234 recordings/demo.csv
  wgr inject --pid 1234 --host-handle 2 minute.wgrcap

Exit status: 0 all samples were played; 1 the host ended, made no calls, or destroyed the
handle; 2 there is no such host, or the recording or an argument cannot be used.)";

static constexpr double kHighestNumber = 2147483647;
static constexpr double kDefaultWait = 10.0;  // s
static constexpr double kRestBefore = 2.5;    // s, of a synthesised gesture
static constexpr double kGestureEnd = 3.6;    // s
static constexpr double kRestEnd = 6.0;       // s

namespace {

struct InjectArguments {
  std::string recording;
  std::optional<int> gesture;
  std::string socket;
  int process = 0;
  unsigned host_handle = 0;  // 0: the one that is fed next
  std::optional<unsigned> handle;
  int person = 1;
  int seed = 1;
  PerformanceOptions performance;
  double wait = kDefaultWait;
  bool json = false;
  ReadingLimit limit;
};

}  // namespace

static void check(const InjectArguments& given) {
  if (given.gesture.has_value() == !given.recording.empty()) {
    throw UsageError("give a RECORDING to play, or --gesture N");
  }
  if ((given.process != 0) == !given.socket.empty()) {
    throw UsageError("give the host: --pid N, or --socket PATH");
  }
  OutputPlan plan;
  if (given.recording != kStandardInput) plan.reads("RECORDING", given.recording);
  plan.prints_results();
  plan.check();
}

// One repetition between two rests.
static std::vector<RecordedSample> made_gesture(const InjectArguments& given, int rate) {
  const Plan plan = {{0.0, kRestBefore, Activity::kRest},
                     {kRestBefore, kGestureEnd, static_cast<Activity>(*given.gesture)},
                     {kGestureEnd, kRestEnd, Activity::kRest}};
  PerformanceOptions options = given.performance;
  options.rate = rate;
  return perform_for(given.seed, given.person, Style::kCalm, &plan, {}, options).samples;
}

static std::vector<RecordedSample> read_samples(InjectArguments& given, int rate) {
  RecordingReader reader(given.recording, &given.limit, given.handle);
  const std::optional<int> own = estimate_rate(reader.read_ahead(kSamplesForRate));
  std::vector<RecordedSample> samples;
  for (RecordedSample sample; reader.next(sample);) samples.push_back(sample);
  if (own && *own != rate) {
    warn("{}: resampled from {} to the host's {} samples/s", given.recording, *own, rate);
    samples = resample(samples, rate);
  }
  if (samples.empty()) throw UsageError(given.recording + ": holds no sample to play");
  if (samples.size() > injection::kMostSamples) {
    throw UsageError(
        fmt::format("{}: {} samples are too many for a host, which keeps "
                    "them in memory: give {} at most",
                    given.recording, samples.size(), injection::kMostSamples));
  }
  return samples;
}

static void print_report(const InjectArguments& given, double t, int gesture) {
  if (given.json) {
    write_results(json_text(Json{{"type", "report"}, {"t", t}, {"class", gesture}}) +
                  "\n");
  } else {
    write_results(fmt::format("{:10.3f}  class {}\n", t, gesture));
  }
}

static void play(InjectArguments& given) {
  const std::string socket =
      given.socket.empty() ? injection_socket_of(given.process) : given.socket;
  Injector injector(socket, given.process, given.wait);
  const Injector::Target target = injector.begin(given.host_handle);
  if (target.sample_rate <= 0) {
    throw InjectionBrokenError(
        fmt::format("{}: the host has not initialised handle {}", socket, target.handle));
  }
  const std::vector<RecordedSample> samples =
      given.gesture ? made_gesture(given, target.sample_rate)
                    : read_samples(given, target.sample_rate);
  injector.send(samples, target);
  int reports = 0;
  for (;;) {
    const Injector::Progress progress = injector.next();
    const double t = static_cast<double>(progress.played) / target.sample_rate;
    if (progress.done) {
      const std::string text =
          given.json ? json_text(Json{{"type", "injection"},
                                      {"handle", target.handle},
                                      {"samples", progress.played},
                                      {"seconds", t},
                                      {"reports", reports}})
                     : fmt::format("{} samples in {:.1f} s into handle {}: {}",
                                   progress.played, t, target.handle,
                                   counted(static_cast<size_t>(reports), "report"));
      write_results(text + "\n");
      return;
    }
    ++reports;
    print_report(given, t, progress.gesture);
  }
}

static void inject(InjectArguments& given) {
  check(given);
  try {
    play(given);
  } catch (const NoInjectionError& error) {
    throw UsageError(error.what());
  } catch (const InjectionBrokenError& error) {
    warn("{}", error.what());
    throw EndWithStatus{kExitFailure};
  }
}

void add_inject(CLI::App& wgr) {
  CLI::App* const command =
      wgr.add_subcommand("inject", "Play samples into a running host.");
  const auto given = std::make_shared<InjectArguments>();
  command
      ->add_option("RECORDING", given->recording,
                   "A recording or a capture; - is standard input")
      ->transform(path_name())
      ->option_text(" ");
  add_value(*command, "--pid", given->process, "The host's process",
            within(whole_from(1, kHighestNumber)), "N");
  add_value(*command, "--socket", given->socket, "The host's socket", path_value(),
            "PATH");
  add_value(*command, "--host-handle", given->host_handle,
            "Number of the host's handle; otherwise the\none that it feeds next",
            within(whole_from(1, kHighestNumber)), "N");
  add_value(*command, "--gesture", given->gesture, "Play a synthesised gesture",
            within(whole_from(0, kGestures - 1)), "CLASS");
  add_value(*command, "--person", given->person, "Number of the person who makes it",
            within(whole_from(0, 1000000)), "N (1)");
  add_value(*command, "--seed", given->seed, "Seed of the random variation",
            within(whole_from(0, kHighestNumber)), "N (1)");
  add_value(*command, "--wearer", given->performance.wearer,
            "Wrist of that person, 0: left, 1: right", within(whole_from(0, 1)),
            "0|1 (0)");
  add_handle_option(*command, given->handle);
  add_value(*command, "--wait", given->wait, "Seconds to wait for a call of the host",
            within(number_above(0, 3600)), "S (10)");
  command->add_flag("--json", given->json, "Print JSON lines");
  add_max_size(*command, given->limit);
  command->footer(kFooter);
  command->callback([given] { inject(*given); });
}

}  // namespace wgr
