// wgr log: reads the diagnostic log, however long, and says what happened.
#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "arguments/command_line.h"
#include "arguments/report_option.h"
#include "arguments/values.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "base/text_lines.h"
#include "commands/subcommands.h"
#include "hostrun/fixed_paths.h"
#include "json/json_text.h"
#include "logfile/line_stream.h"
#include "logfile/log_reading.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "pages/findings_page.h"
#include "pages/shell.h"
#include "recording/clock.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr Count kMostHostRunsPrinted = 20;
static constexpr size_t kMostHostRunsDrawn = 2000;
static constexpr double kMillion = 1e6;

// What may come without a line of the library's before a file is judged: an endless one
// is not read for ever. A single torn line can have kLineLimit characters.
static constexpr Count kMostOddLines = 10000;
static constexpr Count kMostOddBytes = 2 * kLineLimit;

static constexpr char kFooter[] =
    R"(A log is plain or gzip; - is standard input. Several files are read in the order given,
as one log: name the oldest first. A log of any size is read in the same small memory; a
file is refused as soon as 10000 lines or 64 MiB without one of the library's have come
and most lines so far are not.

It prints each handle that was made (a host run), then the sum: samples, motions that were
long enough to be compared, gestures by class, and why others were none:
  rejected   strong, but resembles no template: class 13 in the log, 5 for the host
  too weak   compared, and weaker than the sensitivity requires (or the model is empty)
and lines that are not the library's (foreign) or damaged (torn), with their numbers.
A sample without its second line is unanswered: the process ended in it, or two handles
write into one log, or the disk was full.

The log holds no times. With --sample-rate HZ samples become hours, counted from the log's
first sample as if it had no pauses. With --seconds S, the time that the log covers, the rate at
which samples arrived is reported, and with both the share that is missing. The log does not
say which hour of the day it was.

Examples:
  wgr log                                          the log of this machine
  wgr log WgrLog.txt.2.gz WgrLog.txt.1 WgrLog.txt --sample-rate 50
  wgr log --sample-rate 50 --report day.html WgrLog.txt
  wgr log --seconds 86400 --sample-rate 50 --json WgrLog.txt.1

Exit status: 0 read to its end; 1 the machine failed (disk, memory); 2 a file cannot be read
or is no log, or an argument cannot be used.)";

namespace {

struct LogArguments {
  std::vector<std::string> files;
  std::optional<double> rate;
  std::optional<double> seconds;
  std::string page;  // file; empty: none
  bool json = false;
};

}  // namespace

static std::string joined_counts(const Answers& answers) {
  std::string text;
  for (const auto& [label, count] : answers.gestures) {
    text += fmt::format("{}{} x {}", text.empty() ? "class " : ", class ", label, count);
  }
  if (answers.other_gestures > 0) {
    text += fmt::format(", other classes x {}", answers.other_gestures);
  }
  return text.empty() ? "none" : text;
}

static Json as_json(const Answers& answers) {
  Json classes = Json::object();
  for (const auto& [label, count] : answers.gestures) {
    classes[std::to_string(label)] = count;
  }
  if (answers.other_gestures > 0) classes["other"] = answers.other_gestures;
  return {{"gestures", answers.reported()},
          {"by_class", classes},
          {"rejected", answers.rejected},
          {"too_weak", answers.too_weak},
          {"unreported", answers.unreported}};
}

static const char* state_of(const LoggedHostRun& host_run) {
  if (host_run.no_model) return "ended: no default model";
  if (!host_run.ready) return "never ready";
  if (host_run.from_before) return "from before this log";
  if (host_run.inits == 0) return "not initialised";
  return "";
}

static void print_line(const Json& line) { print(stdout, "{}\n", json_text(line)); }

static void print_host_run_json(const LoggedHostRun& host_run) {
  Json line = {{"type", "host_run"},
               {"file", host_run.file},
               {"line", host_run.line},
               {"from_before", host_run.from_before},
               {"ready", host_run.ready},
               {"no_default_model", host_run.no_model},
               {"inits", host_run.inits},
               {"model_changes", host_run.model_changes},
               {"model", host_run.model},
               {"samples", host_run.samples},
               {"unanswered", host_run.unanswered},
               {"compared", host_run.compared},
               {"compared_with_empty_model", host_run.compared_empty}};
  line.update(as_json(host_run.answers));
  print_line(line);
}

static void print_host_run_text(const LoggedHostRun& host_run, Count number) {
  if (number > kMostHostRunsPrinted) return;
  if (number == 1) {
    print(stdout,
          "host run  line         samples   compared  gestures  rejected  model\n");
  }
  print(stdout, "{:8}  {:<11} {:8}   {:8}  {:8}  {:8}  {}{}{}\n", number, host_run.line,
        host_run.samples, host_run.compared, host_run.answers.reported(),
        host_run.answers.rejected, host_run.model.empty() ? "default" : host_run.model,
        *state_of(host_run) == '\0' ? "" : "; ", state_of(host_run));
}

static std::string rates_text(const LogArguments& given, const LogTotals& totals) {
  if (!given.rate && !given.seconds) {
    return "unknown: the log holds no times; see --sample-rate and --seconds";
  }
  const double samples = static_cast<double>(totals.samples);
  std::string text;
  if (given.rate) {
    text = fmt::format("{:.2f} h at {:.2f} samples/s", samples / *given.rate / 3600.0,
                       *given.rate);
  }
  if (given.seconds) {
    const double real = samples / *given.seconds;
    text += fmt::format("{}{:.2f} samples/s over {:.0f} s", text.empty() ? "" : "; ",
                        real, *given.seconds);
    if (given.rate) {
      text += fmt::format(", {:.1f} % missing", 100.0 * (1.0 - real / *given.rate));
    }
  }
  return text;
}

static void print_odd_lines(const LogTotals& totals) {
  print(stdout, "odd lines   {} foreign, {} torn\n", totals.foreign, totals.torn);
  for (const OddLine& odd : totals.odd_lines) {
    print(stdout, "  {}:{}: {}: \"{}\"\n", shown(odd.file), odd.line,
          odd.torn ? "torn" : "foreign", odd.text);
  }
  if (totals.foreign + totals.torn > totals.odd_lines.size()) print(stdout, "  ...\n");
}

static void print_summary_text(const LogArguments& given, const LogTotals& totals) {
  if (totals.host_runs > kMostHostRunsPrinted) {
    print(stdout, "         ... and {} more; --json lists them all\n",
          totals.host_runs - kMostHostRunsPrinted);
  }
  const Answers& answers = totals.answers;
  print(stdout, "\nread        {} lines, {:.1f} MB\n", totals.lines,
        static_cast<double>(totals.bytes) / kMillion);
  print(stdout,
        "host runs   {}; {} restarts, {} without the default model, {} never ready\n",
        totals.host_runs, totals.restarts, totals.no_model, totals.unfinished);
  print(stdout, "models      {} changes\n", totals.model_changes);
  print(stdout, "samples     {}, {} of them unanswered\n", totals.samples,
        totals.unanswered);
  print(stdout, "time        {}\n", rates_text(given, totals));
  print(stdout, "compared    {}", counted(totals.compared, "motion"));
  if (totals.compared_empty > 0) {
    print(stdout, ", {} of them with an EMPTY model: its file could not be read",
          totals.compared_empty);
  }
  print(stdout, "\ngestures    {}: {}\n", answers.reported(), joined_counts(answers));
  print(stdout, "rejected    {} (reported as 5)\n", answers.rejected);
  print(stdout, "too weak    {}\n", answers.too_weak);
  if (answers.unreported > 0)
    print(stdout, "class 6     {}, never reported\n", answers.unreported);
  for (size_t hour = 0; hour < totals.hours.size(); ++hour) {
    const auto& [samples, in_hour] = totals.hours[hour];
    print(stdout, "hour {:<6} {} gestures: {}; {} rejected, {} too weak\n", hour + 1,
          in_hour.reported(), joined_counts(in_hour), in_hour.rejected, in_hour.too_weak);
  }
  print_odd_lines(totals);
}

static Json hours_json(const LogTotals& totals) {
  Json hours = Json::array();
  for (const auto& [count, answers] : totals.hours) {
    Json hour = {{"samples", count}};
    hour.update(as_json(answers));
    hours.push_back(hour);
  }
  return hours;
}

static Json odd_lines_json(const LogTotals& totals) {
  Json lines = Json::array();
  for (const OddLine& odd : totals.odd_lines) {
    lines.push_back({{"file", odd.file},
                     {"line", odd.line},
                     {"kind", odd.torn ? "torn" : "foreign"},
                     {"text", odd.text}});
  }
  return lines;
}

static void print_summary_json(const LogArguments& given, const LogTotals& totals) {
  Json line = {{"type", "summary"},
               {"lines", totals.lines},
               {"bytes", totals.bytes},
               {"host_runs", totals.host_runs},
               {"restarts", totals.restarts},
               {"without_default_model", totals.no_model},
               {"never_ready", totals.unfinished},
               {"model_changes", totals.model_changes},
               {"samples", totals.samples},
               {"unanswered", totals.unanswered},
               {"compared", totals.compared},
               {"compared_with_empty_model", totals.compared_empty}};
  line.update(as_json(totals.answers));
  const double samples = static_cast<double>(totals.samples);
  if (given.rate) line["hours_by_rate"] = samples / *given.rate / 3600.0;
  if (given.seconds) line["effective_rate"] = samples / *given.seconds;
  if (given.rate) line["hours"] = hours_json(totals);
  line["foreign"] = totals.foreign;
  line["torn"] = totals.torn;
  line["odd_lines"] = odd_lines_json(totals);
  print_line(line);
}

namespace {

// Whether a file is a log at all.
class FileJudge {
 public:
  FileJudge(std::string name, const LogTotals& totals)
      : name_(std::move(name)), totals_(totals), before_(totals), last_(totals) {}

  // After each line, with the bytes read so far.
  void look(Count bytes) {
    const Seen now(totals_);
    if (now.odd() == last_.odd()) {
      good_lines_ = now.lines;
      good_bytes_ = bytes;
    }
    last_ = now;
    if (now.lines - good_lines_ < kMostOddLines && bytes - good_bytes_ < kMostOddBytes)
      return;
    refuse_if_odd("first ");
  }

  // A log that is torn throughout was one.
  void end() const {
    if (totals_.foreign > before_.foreign) refuse_if_odd("");
  }

 private:
  struct Seen {
    explicit Seen(const LogTotals& totals)
        : lines(totals.lines), foreign(totals.foreign), torn(totals.torn) {}
    Count odd() const { return foreign + torn; }
    Count lines, foreign, torn;
  };

  void refuse_if_odd(const char* which) const {
    const Seen now(totals_);
    const Count count = now.lines - before_.lines;
    const Count odd = now.odd() - before_.odd();
    if (odd <= count / 2) return;
    throw UsageError(fmt::format(
        "{}: is no diagnostic log: {} of its {}{} lines are not the library's: name a "
        "log such as {}",
        name_, odd, which, count, kLogFile));
  }

  const std::string name_;
  const LogTotals& totals_;
  const Seen before_;
  Seen last_;
  Count good_lines_ = before_.lines;
  Count good_bytes_ = 0;
};

}  // namespace

static void read_file(const std::string& path, LogReading& reading,
                      const std::function<void()>& after_line) {
  const std::string name = path == "-" ? "standard input" : path;
  FileJudge judge(name, reading.totals());
  try {
    LineStream lines(path);
    for (LineStream::Line line; lines.next(line);) {
      if (line.too_long) {
        throw UsageError(fmt::format("{}:{}: longer than {} characters", name,
                                     lines.number(), kLineLimit));
      }
      reading.add(name, lines.number(), line.text, line.ended, line.cut);
      judge.look(lines.bytes());
      after_line();
    }
    reading.totals().bytes += lines.bytes();
    if (lines.cut_off()) {
      warn("{}:{}: the gzip data ends too early; what came before is used", name,
           lines.number());
    }
  } catch (const ByteSourceError& error) {
    throw UsageError(name + ": " + error.what());
  }
  judge.end();
}

static std::vector<std::string> row_of(const std::string& name, Count samples,
                                       const Answers& answers) {
  return {name,
          std::to_string(answers.reported()),
          joined_counts(answers),
          std::to_string(answers.rejected),
          std::to_string(answers.too_weak),
          std::to_string(samples)};
}

static std::vector<std::string> host_run_row(const LoggedHostRun& host_run) {
  std::vector<std::string> row =
      row_of(fmt::format("{}:{}", host_run.file, host_run.line), host_run.samples,
             host_run.answers);
  row.push_back(host_run.model.empty() ? "default" : host_run.model);
  row.push_back(state_of(host_run));
  return row;
}

static const std::vector<std::string> kAnswerHeads = {"Gestures", "Of class", "Rejected",
                                                      "Too weak", "Samples"};

static std::vector<std::string> heads_of(std::vector<std::string> first,
                                         const std::vector<std::string>& last = {}) {
  first.insert(first.end(), kAnswerHeads.begin(), kAnswerHeads.end());
  first.insert(first.end(), last.begin(), last.end());
  return first;
}

static PageTable hours_table(const LogArguments& given, const LogTotals& totals) {
  PageTable table = {"The hours",
                     given.rate ? "Counted from the log's first sample, as if it had no "
                                  "pauses."
                                : "The log holds no times: --sample-rate HZ makes hours "
                                  "of its samples.",
                     heads_of({"Hour"}),
                     {},
                     true};
  for (size_t hour = 0; hour < totals.hours.size(); ++hour) {
    const auto& [samples, answers] = totals.hours[hour];
    table.rows.push_back(row_of(std::to_string(hour + 1), samples, answers));
  }
  return table;
}

// What is to be looked at; empty when there is nothing.
static std::string faults_text(const LogTotals& totals) {
  std::string text;
  const auto add = [&text](Count count, const std::string& what, const char* more = "") {
    if (count == 0) return;
    text += (text.empty() ? ". To be looked at: " : ", ") + counted(count, what) + more;
  };
  add(totals.no_model, "host run", " without the default model");
  add(totals.unfinished, "host run", " never ready");
  add(totals.compared_empty, "motion", " compared with an empty model");
  add(totals.unanswered, "sample", " without an answer");
  add(totals.foreign, "foreign line");
  add(totals.torn, "torn line");
  return text;
}

static std::string page_of(const LogArguments& given, const LogTotals& totals,
                           const std::vector<std::vector<std::string>>& host_runs) {
  FindingsPage page;
  page.title = name_of_path(given.files.back()) + ", summarised";
  page.facts = {fmt::format("{} lines; {} samples; {}.", totals.lines, totals.samples,
                            rates_text(given, totals))};
  page.origin = command_origin("");
  const std::string faults = faults_text(totals);
  page.good = faults.empty();
  page.headline = fmt::format("{}: {}{}", counted(totals.answers.reported(), "gesture"),
                              joined_counts(totals.answers), faults);
  page.tables.push_back(hours_table(given, totals));
  page.tables.push_back(
      {"The log",
       "",
       {"What", "Count"},
       {{"host runs", std::to_string(totals.host_runs)},
        {"restarts", std::to_string(totals.restarts)},
        {"without the default model", std::to_string(totals.no_model)},
        {"never ready", std::to_string(totals.unfinished)},
        {"motions compared", std::to_string(totals.compared)},
        {"of them with an empty model", std::to_string(totals.compared_empty)},
        {"rejected (reported as 5)", std::to_string(totals.answers.rejected)},
        {"too weak", std::to_string(totals.answers.too_weak)},
        {"samples without an answer", std::to_string(totals.unanswered)},
        {"foreign lines", std::to_string(totals.foreign)},
        {"torn lines", std::to_string(totals.torn)}}});
  page.tables.push_back(
      {"The host runs",
       totals.host_runs > host_runs.size()
           ? fmt::format("The first {}; wgr log --json lists all.", host_runs.size())
           : "",
       heads_of({"From"}, {"Model", "State"}), host_runs});
  PageTable lines = {"Odd lines", "", {"Line", "Kind", "Text"}, {}};
  for (const OddLine& one : totals.odd_lines) {
    lines.rows.push_back({fmt::format("{}:{}", one.file, one.line),
                          one.torn ? "torn" : "foreign", shown(one.text)});
  }
  page.tables.push_back(lines);
  return findings_page(page);
}

static void read_log(const LogArguments& given) {
  OutputPlan plan;
  for (const std::string& file : given.files) plan.reads("FILE", file);
  plan.writes("--report", given.page);
  plan.prints_results();
  plan.check();

  LogReading reading(given.rate);
  Count host_runs = 0;
  std::vector<std::vector<std::string>> drawn;
  const auto print_closed = [&] {
    const std::optional<LoggedHostRun> closed = reading.take_closed();
    if (!closed) return;
    require_results();  // a long log is not read for nobody
    ++host_runs;
    if (!given.page.empty() && drawn.size() < kMostHostRunsDrawn) {
      drawn.push_back(host_run_row(*closed));
    }
    if (given.json) {
      print_host_run_json(*closed);
    } else {
      print_host_run_text(*closed, host_runs);
    }
  };
  for (const std::string& file : given.files) read_file(file, reading, print_closed);
  reading.finish();
  print_closed();
  if (given.json) {
    print_summary_json(given, reading.totals());
  } else {
    print_summary_text(given, reading.totals());
  }
  if (!given.page.empty()) {
    write_page(given.page, page_of(given, reading.totals(), drawn));
  }
}

void add_log(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand("log", "Summarise the diagnostic log.");
  const auto given = std::make_shared<LogArguments>();
  given->files = {kLogFile};
  add_value(*command, "FILE", given->files, "Logs, the oldest first", path_name(), " ");
  add_value(*command, "--sample-rate", given->rate,
            "Samples per second, as given to the library",
            within(number_from(1, kHighestRate)), "HZ");
  add_value(*command, "--seconds", given->seconds, "The time that the log covers",
            within(number_above(0, kMostSeconds)), "S");
  add_report_option(*command, given->page, "Show each hour and each host run");
  command->add_flag("--json", given->json, "Print JSON lines");
  command->footer(kFooter);
  command->callback([given] { read_log(*given); });
}

}  // namespace wgr
