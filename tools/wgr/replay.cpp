// wgr replay: runs the library over a recording, or over a live stream, and tells what
// it reports.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "host/fixed_paths.h"
#include "host/own_stdout.h"
#include "host/report.h"
#include "host/run.h"
#include "host/session.h"
#include "recording/clock.h"
#include "recording/recording.h"
#include "subcommands.h"

static constexpr char kStandardInput[] = "-";
static constexpr int kAssumedRate = 50;          // samples per second
static constexpr size_t kSamplesForRate = 4096;  // that a recording's rate is taken from

static constexpr char kFooter[] =
    R"(A recording is CSV, plain or gzip, with the header t,ax,ay,az,gx,gy,gz: seconds,
m/s² with gravity, deg/s. An empty field is an axis that the sensor does not have; it
reads as 0. The first malformed line ends the run: the summary is of what came before.

Printed for each event: the time of the sample that completed it, the class (a label of
the model, or 5 for a strong motion that resembles no gesture closely enough), the
motion's strength, and the duration of the stretch that was compared. With --json each
event is one object a line, {"type":"event",...}, and the last line is the summary,
{"type":"summary",...}. What the library itself prints goes to standard error.

The library appends a diagnostic log to /home/app/WgrLog.txt, and silently does without
where that cannot be written. With --models it goes to a private place and is dropped at
the end; --log keeps it either way.

Examples:
  wgr replay --models models recordings/demo.csv.gz
  wgr replay --wearer 1 --mode 2 --sensitivity 3 walk.csv
  wgr replay --bias 0.4,-0.2,0.1 --json walk.csv | jq 'select(.type == "event")'
  sensor-stream | wgr replay --rate 100 -     events as they happen; Ctrl-C for the end

Exit status: 0 done; 2 when the recording, the models or an argument cannot be used.)";

namespace {

struct ReplayArguments {
  std::string recording;
  std::string models;  // folder; empty: the installed ones
  std::string bias;    // X,Y,Z
  std::string log;     // file; empty: not kept
  std::optional<int> rate;
  bool json = false;
  SessionOptions session;
};

// Copies what the library logs during this object's life to a file of the user's.
class KeptLog {
 public:
  explicit KeptLog(const std::string& path)
      : path_(path), copy_(path, std::ios::binary | std::ios::trunc) {
    if (!copy_) {
      throw UsageError(path + ": cannot be written: " + std::strerror(errno));
    }
    std::error_code missing;
    const auto size = std::filesystem::file_size(kLogFile, missing);
    if (!missing) begin_ = static_cast<std::streamoff>(size);
  }

  ~KeptLog() {
    std::ifstream log(kLogFile, std::ios::binary);
    log.seekg(begin_);
    if (!log || log.peek() == std::ifstream::traits_type::eof()) {
      std::fprintf(stderr, "wgr: %s: empty, for %s cannot be written\n", path_.c_str(),
                   kLogFile);
      return;
    }
    copy_ << log.rdbuf();
    copy_.close();
    if (!copy_) std::fprintf(stderr, "wgr: %s: cannot be written\n", path_.c_str());
  }
  KeptLog(const KeptLog&) = delete;
  KeptLog& operator=(const KeptLog&) = delete;

 private:
  const std::string path_;
  std::ofstream copy_;
  std::streamoff begin_ = 0;
};

}  // namespace

static Point3Df parse_bias(const std::string& text) {
  double values[3] = {};
  const char* next = text.data();
  const char* const end = next + text.size();
  for (double& value : values) {
    const auto [stop, error] = std::from_chars(next, end, value);
    const bool last = &value == &values[2];
    if (error != std::errc() || !std::isfinite(value) ||
        (last ? stop != end : stop == end || *stop != ',')) {
      throw UsageError("--bias: three numbers X,Y,Z in deg/s are wanted, not \"" + text +
                       "\"");
    }
    next = stop + 1;
  }
  return {values[0], values[1], values[2]};
}

// The user's arguments without --models, for the run inside the launcher.
static std::vector<std::string> without_models(const ReplayArguments& given) {
  std::vector<std::string> words = {"replay",
                                    "--wearer=" + std::to_string(given.session.wearer),
                                    "--mode=" + std::to_string(given.session.mode)};
  if (given.rate) words.push_back("--rate=" + std::to_string(*given.rate));
  if (!given.bias.empty()) words.push_back("--bias=" + given.bias);
  if (given.session.sensitivity) {
    words.push_back("--sensitivity=" + std::to_string(*given.session.sensitivity));
  }
  if (!given.log.empty()) words.push_back("--log=" + given.log);
  if (given.json) words.push_back("--json");
  words.push_back("--");
  words.push_back(given.recording);
  return words;
}

static int choose_rate(const ReplayArguments& given, RecordingReader& reader) {
  if (given.rate) return *given.rate;
  if (given.recording == kStandardInput) {
    std::fprintf(
        stderr,
        "wgr: taking %d samples/s for the live stream; --rate HZ says otherwise\n",
        kAssumedRate);
    return kAssumedRate;
  }
  const std::optional<int> rate = estimate_rate(reader.read_ahead(kSamplesForRate));
  if (!rate) {
    std::fprintf(stderr,
                 "wgr: %s: the time stamps give no rate: taking %d samples/s; --rate HZ "
                 "says otherwise\n",
                 given.recording.c_str(), kAssumedRate);
    return kAssumedRate;
  }
  std::fprintf(stderr, "wgr: %s: %d samples/s by the time stamps\n",
               given.recording.c_str(), *rate);
  return *rate;
}

// An interrupt ends a live stream rather than the program: the summary still comes. A
// second one ends the program.
static void end_standard_input(int) {
  const int saved_errno = errno;
  const int nothing = open("/dev/null", O_RDONLY);
  if (nothing >= 0) dup2(nothing, STDIN_FILENO);
  errno = saved_errno;
}

static void let_interrupts_end_the_stream() {
  struct sigaction action = {};
  action.sa_handler = end_standard_input;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // no SA_RESTART: read() looks again
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

static void replay(ReplayArguments& given) {
  if (!given.bias.empty()) given.session.gyro_bias = parse_bias(given.bias);
  const SessionOptions& chosen = given.session;
  if (!given.models.empty()) {
    std::error_code missing;
    const std::string folder = std::filesystem::canonical(given.models, missing);
    if (missing) throw UsageError(given.models + ": " + missing.message());
    require_models(folder, chosen.wearer, chosen.mode);
    run_again_with_models(folder, without_models(given));
  }
  require_models(kInstalledModels, chosen.wearer, chosen.mode);

  if (given.recording == kStandardInput) let_interrupts_end_the_stream();
  RecordingReader reader(given.recording);
  given.session.rate = choose_rate(given, reader);
  std::optional<KeptLog> log;
  if (!given.log.empty()) log.emplace(given.log);

  std::FILE* const out = take_standard_output();
  if (out == nullptr) {
    throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
  }
  std::unique_ptr<Report> report;
  if (given.json) {
    report = std::make_unique<JsonReport>(out);
  } else {
    report = std::make_unique<TextReport>(out);
  }

  Totals totals(given.session.rate);
  bool told_of_absent = false;
  std::exception_ptr malformed;
  {
    Session session(given.session);
    report->start();
    const auto start = std::chrono::steady_clock::now();
    try {
      run_session(session, reader, totals, [&](const Step& step) {
        if (step.event != nullptr) report->event(*step.event);
        if (told_of_absent || reader.absent_fields() == 0) return;
        told_of_absent = true;
        std::fprintf(stderr, "wgr: %s: the axes %s are empty and read as 0\n",
                     given.recording.c_str(), reader.absent_axes().c_str());
      });
    } catch (const RecordingError&) {
      malformed = std::current_exception();
    }
    totals.elapsed_seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  totals.absent_fields = reader.absent_fields();
  totals.absent_axes = reader.absent_axes();
  report->summary(totals);
  const bool failed = std::ferror(out) != 0;
  if (std::fclose(out) != 0 || failed) {
    throw std::runtime_error("standard output: not everything could be written");
  }
  if (malformed) std::rethrow_exception(malformed);
}

void add_replay(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "replay", "Run the library over a recording and tell what it reports.");
  const auto given = std::make_shared<ReplayArguments>();
  command->add_option("RECORDING", given->recording, "The recording; - is standard input")
      ->required()
      ->option_text(" ");
  command
      ->add_option("--models", given->models,
                   "Folder of models, holding olvo_model_5_fb/hgr_olvo.xml\nand so on; "
                   "otherwise /usr/share/GestureModel")
      ->option_text("DIR");
  command->add_option("--wearer", given->session.wearer, "0: left wrist, 1: right wrist")
      ->check(CLI::Range(0, 1))
      ->option_text("0|1 (0)");
  command->add_option("--mode", given->session.mode, "Which of the wearer's three models")
      ->check(CLI::Range(0, 2))
      ->option_text("0|1|2 (1)");
  command
      ->add_option("--rate", given->rate,
                   "Samples per second; otherwise what the time stamps of\na file say, "
                   "and 50 for standard input")
      ->check(CLI::Range(1, kHighestRate))
      ->option_text("HZ");
  command->add_option("--bias", given->bias, "Gyroscope bias X,Y,Z in deg/s")
      ->option_text("X,Y,Z");
  command
      ->add_option("--sensitivity", given->session.sensitivity,
                   "1 permissive to 3 strict, -N for motions of N samples and more")
      ->option_text("LEVEL");
  command->add_flag("--json", given->json, "Print JSON lines");
  command->add_option("--log", given->log, "File to keep the diagnostic log in")
      ->option_text("FILE");
  command->footer(kFooter);
  command->callback([given] { replay(*given); });
}
