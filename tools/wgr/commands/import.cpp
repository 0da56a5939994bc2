// wgr import: the log of another device or app in, a recording out.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "arguments/host_run_arguments.h"
#include "arguments/import_arguments.h"
#include "arguments/reading_limit.h"
#include "arguments/values.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "diagnosis/diagnosis.h"
#include "import/import_log.h"
#include "import/log_files.h"
#include "json/json_text.h"
#include "output/output_files.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "recording/clock.h"
#include "text/diagnosis_json.h"
#include "text/import_text.h"
#include "text/verdict_text.h"

namespace wgr {

static constexpr int kHighestResampled = 1000;
static constexpr int kIndent = 2;

static constexpr char kFooter[] =
    R"(Reads logs of phones, watches and boards as their apps write them: tables with commas,
semicolons, tabs or blanks between the cells, decimal points or commas, with or without
titles, with the accelerometer and the gyroscope in one table, in rows of one table whose
sensor a column names, or in files of their own, whose clocks are then joined: give both
files, their folder or the ZIP archive. Columns, units and clock are guessed from titles
and values, and reported with how sure that is and why; --profile, --columns, --units and
--axes override the guess. Then the recording is examined, as by wgr doctor.

The library expects accelerations with gravity in them, m/s², and angular velocities, deg/s,
in the watch's frame: on the left wrist x points to the fingers, y to the little finger's
side, z out of the watch. Whether all accelerations have the wrong sign, as iOS has them,
cannot be seen from the values: give --profile ios for a log without iOS's titles.

Examples:
  wgr import watch.csv -o walk.csv
  wgr import Accelerometer.csv Gyroscope.csv -o walk.csv         phyphox
  wgr import recording/ -o walk.csv                              a folder of Sensor Logger
  wgr import --profile ios --axes=-y,x,z phone.csv -o walk.csv
  wgr import --columns time=1,ax=2,ay=3,az=4,gx=5,gy=6,gz=7 --units acc=g,gyro=deg/s,time=ms
             board.txt -o walk.csv --save-profile board.json
  wgr import --profile board.json other.txt -o other.csv
  wgr import --dry-run watch.csv                                 only what it would do

Exit status: 0 done; 1 the machine failed (disk, memory); 2 the log or an argument cannot
be used.)";

namespace {

struct Arguments {
  std::vector<std::string> logs;
  std::string out;
  std::string saved;  // profile
  ImportArguments profile;
  std::optional<int> resampled;
  bool lists = false;
  bool dry = false;
  bool json = false;
  ReadingLimit limit;
};

}  // namespace

static void list_profiles() {
  for (const NamedProfile& named : named_profiles()) {
    const ImportProfile& profile = named.profile;
    const bool turned = profile.acc_axes.has_value();
    print(stdout, "{:18} acc {:9} gyro {:9}{}{}\n", named.name,
          profile.acc ? profile.acc->word : "guessed",
          profile.gyro ? profile.gyro->word : "guessed",
          turned ? " all accelerations turned" : "",
          *named.source == '\0' ? "" : std::string("  ") + named.source);
  }
}

static bool is_table(const std::filesystem::path& path) {
  return is_log_name(path.filename().string());
}

static void check(const Arguments& given) {
  if (given.logs.empty())
    throw UsageError("IN: a log is required; see wgr import --help");
  if (given.out.empty() && !given.dry) {
    throw UsageError("-o FILE is required, or --dry-run; see wgr import --help");
  }
  if (given.dry && !given.out.empty()) {
    throw UsageError("--dry-run writes nothing, so -o cannot be used with it");
  }
  OutputPlan plan;
  for (const std::string& path : given.logs) {
    plan.reads("IN", path);
    plan.reads_folder("IN", path, is_table);
  }
  add_inputs(plan, given.profile);
  plan.writes("-o", given.out);
  plan.writes("--save-profile", given.saved);
  if (given.json || given.dry) plan.prints_results();
  plan.check();
}

static ImportedLog import_given(Arguments& given, const ImportProfile& profile) {
  const LogBytes log = read_log_files(given.logs, given.limit);
  try {
    return import_log(log.files(), profile, given.resampled);
  } catch (const ImportError& error) {
    throw UsageError(sentence_for(error.facts()));
  }
}

static void report(std::FILE* to, const ImportedLog& log) {
  const Diagnosis diagnosis = diagnose(log.samples, DiagnosisOptions());
  const StreamFacts& facts = diagnosis.facts;
  print(to, "{}{}samples   {} in {:.2f} s, {}\n\n", guess_text(log.guess),
        import_text(log), facts.samples, facts.seconds,
        facts.rate ? fmt::format("{:.2f} a second", *facts.rate) : "at no steady rate");
  print(to, "{}", findings_text(diagnosis.findings));
}

static void import(Arguments& given) {
  if (given.lists) return list_profiles();
  check(given);
  const ImportProfile profile = profile_given(given.profile);
  const ImportedLog log = import_given(given, profile);
  OutputFiles files;
  if (!given.dry) write_recording(given.out, log.samples, files);
  if (!given.saved.empty()) {
    files.write(given.saved, json_text(to_json(log.guess.profile), kIndent) + '\n');
  }
  files.commit();
  if (given.json) {
    print(stdout, "{}", import_json(log));
    for (const Finding& finding : diagnose(log.samples, DiagnosisOptions()).findings) {
      print(stdout, "{}\n", json_text(finding_json(finding)));
    }
  } else {
    report(given.dry ? stdout : stderr, log);
  }
}

void add_import(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "import", "Make a recording of the log of another device or app.");
  const auto given = std::make_shared<Arguments>();
  command
      ->add_option(
          "IN", given->logs,
          "The log: a file, files of one recording, their folder\nor ZIP archive; "
          "- is standard input")
      ->transform(path_name())
      ->option_text(" ");
  add_value(*command, "-o,--out", given->out, "The recording; - is standard output",
            path_value(), "OUT.csv");
  add_import_arguments(*command, given->profile);
  command
      ->add_option("--resample", given->resampled,
                   "Resample to so many samples per second, by linear\ninterpolation")
      ->transform(within(whole_from(1, kHighestResampled)))
      ->option_text("HZ");
  add_value(*command, "--save-profile", given->saved,
            "Write how the log was read, for --profile", path_value(), "FILE.json");
  command->add_flag("--list-profiles", given->lists, "Print the named profiles");
  command->add_flag("--dry-run", given->dry, "Write no recording, only report");
  add_max_size(*command, given->limit);
  command->add_flag("--json", given->json, "Print JSON lines");
  command->footer(kFooter);
  command->callback([given] { import(*given); });
}

}  // namespace wgr
