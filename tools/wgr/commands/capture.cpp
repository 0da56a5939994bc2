// wgr capture: shows, cuts, converts and mends what the flight recorder captured.
#include <cstdio>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "arguments/host_run_arguments.h"
#include "arguments/reading_limit.h"
#include "arguments/values.h"
#include "base/foreign_text.h"
#include "base/table.h"
#include "base/text.h"
#include "capture/capture_editing.h"
#include "capture/capture_reader.h"
#include "capture/capture_samples.h"
#include "commands/subcommands.h"
#include "json/json_text.h"
#include "output/output_files.h"
#include "output/output_plan.h"
#include "recording/clock.h"
#include "recording/recording.h"
#include "segmentation/annotations.h"
#include "text/capture_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr char kFooter[] =
    R"(The flight recorder writes captures (.wgrcap). A capture holds one host's calls and the models
that the host loaded. docs/flight-recorder.md explains how to find the cause of a complaint.

Examples:
  wgr capture info service.wgrcap
  wgr capture mark service.wgrcap
  wgr capture cut --from 3600 --to 3660 service.wgrcap -o minute.wgrcap
  wgr capture csv minute.wgrcap -o minute.csv
  wgr capture anonymise minute.wgrcap -o report.wgrcap
  wgr replay minute.wgrcap

Exit status: 0 done; 1 the machine failed (disk, memory); 2 a capture or an argument cannot
be used.)";
static constexpr char kEndFooter[] =
    "Exit status: 0 done; 1 the machine failed (disk, memory); 2 the capture or an\n"
    "argument cannot be used.";
static constexpr double kSecond = 1e6;          // us
static constexpr double kDefaultSpan = 3.0;     // s before a mark
static constexpr char kUnnamedMark[] = "mark";  // the label of a mark without a text

namespace {

struct Arguments {
  std::string capture;
  std::string out;
  CaptureEdit edit;
  ReadingLimit limit;
  double span = kDefaultSpan;
  bool json = false;
};

struct Mark {
  double t;  // s since the capture's start
  std::uint64_t real_time;
  std::string text;
};

// All that is in a capture but its samples.
struct Content {
  std::map<std::uint32_t, CapturedUse> uses;
  std::vector<Mark> marks;
  double seconds = 0.0;
  std::uint64_t injected = 0;  // of the samples
};

}  // namespace

static Content content_of(CaptureReader& reader) {
  Content content;
  CaptureRecord record;
  const std::uint64_t start = reader.header().monotonic;
  while (reader.next(record)) {
    const double t = static_cast<double>(record.time - start) / kSecond;
    content.seconds = std::max(content.seconds, t);
    if (record.handle != 0) count_use(record, content.uses[record.handle]);
    if (record.tag == capture::kInjection && record.flags != capture::kInjectionBegins) {
      content.injected += record.count;
    }
    if (record.tag != capture::kMark) continue;
    const std::uint64_t real =
        record.real_offset == 0 ? 0 : record.time + record.real_offset;
    content.marks.push_back({t, real, record.text});
  }
  return content;
}

// As 2026-11-22 13:05:26, UTC; "removed" for 0.
static std::string time_text(std::uint64_t microseconds) {
  if (microseconds == 0) return "removed";
  const auto seconds = static_cast<std::time_t>(microseconds / 1000000);
  std::tm parts = {};
  char text[40];
  if (gmtime_r(&seconds, &parts) == nullptr ||
      std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts) == 0) {
    return "unknown";
  }
  return text;
}

static double bytes_per_sample(const CaptureReader& reader) {
  return reader.samples() == 0 ? 0.0
                               : static_cast<double>(reader.sample_bytes()) /
                                     static_cast<double>(reader.samples());
}

static void print_info_json(const CaptureReader& reader, const Content& content) {
  const CaptureHeader& header = reader.header();
  Json handles = Json::array();
  for (const auto& [id, use] : content.uses) {
    handles.push_back({{"handle", id},
                       {"samples", use.samples},
                       {"reports", use.reports},
                       {"rate", use.init ? Json(use.init->sample_rate) : Json()}});
  }
  const Json line = {{"type", "capture"},
                     {"sequence", header.sequence},
                     {"process", header.process},
                     {"real_time_us", header.real_time},
                     {"processor", header.processor},
                     {"label", header.label},
                     {"version", fmt::format("{}.{}", header.major, header.minor)},
                     {"seconds", content.seconds},
                     {"samples", reader.samples()},
                     {"bytes_per_sample", bytes_per_sample(reader)},
                     {"injected", content.injected},
                     {"marks", content.marks.size()},
                     {"damaged_blocks", reader.damaged_blocks()},
                     {"torn_records", reader.torn_records()},
                     {"ended", reader.ended()},
                     {"handles", handles}};
  print(stdout, "{}\n", json_text(line));
}

static void print_info_text(const CaptureReader& reader, const Content& content) {
  const CaptureHeader& header = reader.header();
  print(stdout, "begun     {}\n", time_text(header.real_time));
  print(stdout, "lasts     {:.3f} s\n", content.seconds);
  print(stdout, "process   {}{}, segment {}\n",
        header.process == 0 ? "removed" : std::to_string(header.process),
        header.parent == 0 ? "" : fmt::format(", child of {}", header.parent),
        header.sequence);
  print(stdout, "library   {}.{} on {}\n", header.major, header.minor,
        shown(header.processor));
  if (!header.label.empty()) print(stdout, "label     {}\n", shown(header.label));
  print(stdout, "samples   {}, {:.1f} bytes each\n", with_commas(reader.samples()),
        bytes_per_sample(reader));
  for (const auto& [id, use] : content.uses) {
    print(stdout, "handle {:<3}{} samples{}, {} reports\n", id, with_commas(use.samples),
          use.init ? fmt::format(" at {} samples/s", use.init->sample_rate) : "",
          with_commas(use.reports));
  }
  if (content.injected > 0) {
    print(stdout, "injected  {} samples\n", with_commas(content.injected));
  }
  print(stdout, "marks     {}\n", content.marks.size());
  const std::string damage = damage_text(reader);
  print(stdout, "damage    {}\n", damage.empty() ? "none" : damage);
  print(stdout, "end       {}\n",
        reader.ended() ? "the recorder closed it"
                       : "torn off: the host was killed, or "
                         "still runs");
}

static void plan(const Arguments& given) {
  OutputPlan outputs;
  outputs.reads("CAPTURE", given.capture);
  outputs.writes("-o", given.out);
  if (given.out.empty()) outputs.prints_results();
  outputs.check();
}

static void show(const Arguments& given) {
  plan(given);
  CaptureReader reader(given.capture);
  const Content content = content_of(reader);
  if (given.json) {
    print_info_json(reader, content);
  } else {
    print_info_text(reader, content);
  }
}

static void edit(const Arguments& given) {
  if (given.edit.end <= given.edit.begin) {
    throw UsageError("--to: must be later than --from");
  }
  plan(given);
  OutputFiles files;
  const std::optional<double> lasted =
      edit_capture(given.capture, given.edit, files.open(given.out));
  if (lasted) {
    throw UsageError(
        fmt::format("{}: lasts {:.1f} s: --from must be less", given.capture, *lasted));
  }
  files.commit();
}

static void repair(const Arguments& given) {
  edit(given);
  CaptureReader before(given.capture);
  for (CaptureRecord record; before.next(record);) {
  }
  const std::string damage = damage_text(before);
  warn("{}: {}", given.capture, damage.empty() ? "nothing was damaged" : damage);
}

static void convert(Arguments& given) {
  plan(given);
  RecordingReader reader(given.capture, &given.limit, given.edit.handle);
  std::vector<RecordedSample> samples;
  for (RecordedSample sample; reader.next(sample);) samples.push_back(sample);
  write_recording(given.out, samples);
}

static void list_marks(const Arguments& given) {
  plan(given);
  CaptureReader reader(given.capture);
  const Content content = content_of(reader);
  if (given.out.empty()) {
    for (const Mark& mark : content.marks) {
      print(stdout, "{:10.3f}  {}  {}\n", mark.t, time_text(mark.real_time),
            shown(mark.text));
    }
    return;
  }
  // The table that wgr segment reads, beside the capture.
  std::string table = "file,t_start,t_end,label\n";
  const std::string file = given.capture.substr(given.capture.find_last_of('/') + 1);
  for (const Mark& mark : content.marks) {
    table += fmt::format("{},{:.3f},{:.3f},{}\n", field(file),
                         std::max(mark.t - given.span, 0.0), mark.t,
                         field(mark.text.empty() ? kUnnamedMark : mark.text));
  }
  write_output(given.out, table);
}

static void run(Arguments& given, void (*work)(Arguments&)) {
  try {
    work(given);
  } catch (const CaptureError& error) {
    throw UsageError(error.what());
  }
}

// Adds a subcommand with CAPTURE and, where it writes, -o.
static CLI::App* add_part(CLI::App& command, const char* name, const char* what,
                          const std::shared_ptr<Arguments>& given, const char* out,
                          bool out_required, void (*work)(Arguments&)) {
  CLI::App* const part = command.add_subcommand(name, what);
  part->add_option("CAPTURE", given->capture, "The capture")
      ->required()
      ->transform(path_name())
      ->option_text(" ");
  if (*out != '\0') {
    part->add_option("-o,--out", given->out, out)
        ->required(out_required)
        ->transform(path_value())
        ->option_text("FILE");
  }
  part->footer(kEndFooter);
  part->callback([given, work] { run(*given, work); });
  return part;
}

void add_capture(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "capture", "Show, cut and convert captures of the flight recorder.");
  command->require_subcommand(1);
  command->footer(kFooter);
  const auto given = std::make_shared<Arguments>();
  const NumberRange seconds = number_from(0, kMostSeconds);

  CLI::App* const info = add_part(*command, "info", "Show what is in a capture.", given,
                                  "", false, [](Arguments& a) { show(a); });
  info->add_flag("--json", given->json, "Print JSON");
  CLI::App* const cut = add_part(*command, "cut", "Copy a part of a capture.", given,
                                 "The new capture", true, [](Arguments& a) { edit(a); });
  add_value(*cut, "--from", given->edit.begin,
            "Start of the part, in seconds since the capture began", within(seconds),
            "S");
  add_value(*cut, "--to", given->edit.end, "End of the part, in seconds", within(seconds),
            "S");
  add_handle_option(*cut, given->edit.handle);
  CLI::App* const csv = add_part(
      *command, "csv", "Write the samples of a handle as a recording.", given,
      "The recording; gzip when it ends in .gz", true, [](Arguments& a) { convert(a); });
  add_handle_option(*csv, given->edit.handle);
  add_max_size(*csv, given->limit);
  CLI::App* const mark = add_part(*command, "mark", "List the marks of a capture.", given,
                                  "Write the marks as annotations for\nwgr segment",
                                  false, [](Arguments& a) { list_marks(a); });
  add_value(*mark, "--span", given->span,
            "Seconds that an annotation lasts before its mark",
            within(number_above(0, 3600)), "S");
  add_part(*command, "repair", "Recover the undamaged part of a capture.", given,
           "The new capture", true, [](Arguments& a) { repair(a); });
  add_part(*command, "anonymise", "Remove clock, process, label and the texts of marks.",
           given, "The new capture", true, [](Arguments& a) {
             a.edit.anonymous = true;
             edit(a);
           });
}

}  // namespace wgr
