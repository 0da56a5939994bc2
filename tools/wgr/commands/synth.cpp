// wgr synth: makes recordings of synthesised people, with a script of what they do.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arguments/values.h"
#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "output/output_files.h"
#include "output/output_plan.h"
#include "output/target.h"
#include "recording/clock.h"
#include "recording/recording.h"
#include "segmentation/annotations.h"
#include "synthesis/performance.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(One recording goes to -o, what happens in it to --plan (a script, with everything) and
--labels (the gestures' annotations alone, as wgr segment reads them; where -o is no file but
standard output, a FIFO or a device, without a recording's name, as wgr explain --expect
reads them). With --script the wrist does what a
file says: CSV with the header t_start,t_end,what; seconds, and one of swing,
raise, twist, push, circle (labels 0 to 4), rest, walk, reach, fidget, type. A gesture
needs a rest before it. Without one, --gestures repetitions of each gesture and --distractors
seconds of everyday movement come in random order.

With --training DIR there is one recording for each of --persons people, with index.csv
and labels.csv beside them.

With --postures the wrist detector has something to read: people differ in how far they turn
the palm to the thigh and bend the elbow, and their steps reach the wrist. The index.csv of a
set names the wrist then, and wgr eval says how often the detector is right.

--from and --dead-band make the faults of real watches' recordings.

The same arguments give the same bytes.

Examples:
  wgr synth --person 7 --gestures 2 --distractors 30 -o out.csv --labels out.labels.csv
  wgr synth --script recordings/demo.script.csv --person 501 -o demo.csv
  wgr synth --training set --persons 12 --style mixed --wearer 1
  wgr synth --training walks --postures --persons 20 --gestures 0 --wearer 1

Exit status: 0 done; 1 the machine failed (disk, memory); 2 the script or an argument cannot
be used.)";

namespace {

struct SynthArguments {
  int seed = 1;
  int person = 1;
  std::string style = "free";
  PlanOptions plan = {4, 120.0};
  PerformanceOptions performance;
  std::string script;    // file; empty: a random plan
  std::string out;       // file; "-": standard output
  std::string labels;    // file; empty: none
  std::string plan_out;  // file; empty: none
  std::string training;  // folder; empty: a single recording
  int persons = 12;
};

struct NamedStyle {
  const char* name;
  Style style;
};

}  // namespace

static constexpr NamedStyle kStyles[] = {{"calm", Style::kCalm}, {"free", Style::kFree}};
static constexpr char kMixed[] = "mixed";
static constexpr double kHighestSeed = 2147483647;
static constexpr double kHighestPerson = 1000000;
static constexpr double kFastestTurn = 10000.0;  // deg/s, far above any gyroscope
static constexpr char kLabels[] = "labels.csv";
static constexpr char kIndex[] = "index.csv";

static Style style_named(const std::string& name) {
  for (const NamedStyle& style : kStyles) {
    if (name == style.name) return style.style;
  }
  throw UsageError("--style mixed: one recording is calm or free; sets can be mixed");
}

static Performance make_repetition(const SynthArguments& given, int person_number,
                                   const std::string& style) {
  const std::optional<Plan> script =
      given.script.empty() ? std::nullopt : std::optional(read_script(given.script));
  Performance made =
      perform_for(given.seed, person_number, style_named(style),
                  script ? &*script : nullptr, given.plan, given.performance);
  const double from = given.performance.faults.from;
  if (made.samples.empty() && from > 0.0) {
    throw UsageError(fmt::format(
        "--from {}: nothing is left of a recording of {} s: begin before it ends",
        plain(from), plain(made.plan.empty() ? 0.0 : made.plan.back().end)));
  }
  return made;
}

static void append_annotations(const Plan& plan, const std::string& file,
                               std::vector<Annotation>& annotations) {
  for (const PlannedActivity& activity : plan) {
    if (const std::optional<int> label = label_of(activity.what)) {
      annotations.push_back({file, activity.begin, activity.end, *label});
    }
  }
}

// The table of a single recording; what is no file gives it no name.
static std::string labels_of(const Plan& plan, const std::string& recording) {
  std::vector<Annotation> annotations;
  append_annotations(plan, std::filesystem::path(recording).filename(), annotations);
  return find_target(recording).is_file() ? labels_text(annotations)
                                          : annotations_text(annotations);
}

static void make_recording(const SynthArguments& given) {
  if (given.out.empty()) throw UsageError("-o FILE or --training DIR is required");
  OutputPlan plan;
  plan.reads("--script", given.script);
  plan.writes("-o", given.out);
  plan.writes("--labels", given.labels);
  plan.writes("--plan", given.plan_out);
  plan.check();

  const Performance made = make_repetition(given, given.person, given.style);
  OutputFiles files;
  write_recording(given.out, made.samples, files);
  if (!given.plan_out.empty()) files.write(given.plan_out, script_text(made.plan));
  if (!given.labels.empty()) files.write(given.labels, labels_of(made.plan, given.out));
  files.commit();
}

static std::string file_of(int person, const std::string& style) {
  char name[40];
  std::snprintf(name, sizeof name, "p%03d_%s.csv", person, style.c_str());
  return name;
}

namespace {

struct SetMember {
  int person;
  const char* style;
  std::string file;
};

}  // namespace

static std::vector<SetMember> members_of(const SynthArguments& given) {
  std::vector<SetMember> members;
  for (int person = given.person; person < given.person + given.persons; ++person) {
    for (const NamedStyle& style : kStyles) {
      if (given.style != kMixed && given.style != style.name) continue;
      members.push_back({person, style.name, file_of(person, style.name)});
    }
  }
  return members;
}

static void make_training_set(const SynthArguments& given) {
  if (!given.out.empty() || !given.labels.empty() || !given.plan_out.empty()) {
    throw UsageError(
        "--training makes a whole set: it goes without -o, --labels, --plan");
  }
  const std::filesystem::path folder = given.training;
  const std::vector<SetMember> members = members_of(given);
  OutputPlan check;
  check.reads("--script", given.script);
  for (const char* table : {kLabels, kIndex}) check.writes("--training", folder / table);
  for (const SetMember& m : members) check.writes("--training", folder / m.file);
  check.check();

  OutputFiles files;
  const bool postures = given.performance.postures;
  const char* const wrist = given.performance.wearer == 1 ? ",right" : ",left";
  std::string index =
      fmt::format("file,label,subject,rate_hz{}\n", postures ? ",wrist" : "");
  std::vector<Annotation> annotations;
  for (const SetMember& m : members) {
    const Performance made = make_repetition(given, m.person, m.style);
    write_recording(folder / m.file, made.samples, files);
    append_annotations(made.plan, m.file, annotations);
    // No label of its own: the annotations hold them.
    index += fmt::format("{},,p{},{}{}\n", m.file, m.person, given.performance.rate,
                         postures ? wrist : "");
  }
  files.write(folder / kLabels, labels_text(annotations));
  files.write(folder / kIndex, index);
  files.commit();
}

static void synthesise(const SynthArguments& given) {
  if (given.training.empty()) {
    make_recording(given);
  } else {
    make_training_set(given);
  }
}

void add_synth(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "synth", "Synthesise recordings of wrist motion, with and without gestures.");
  const auto given = std::make_shared<SynthArguments>();
  add_value(*command, "-o,--out", given->out, "The recording; - is standard output",
            path_value(), "FILE");
  add_value(*command, "--labels", given->labels, "Table of the gestures' annotations",
            path_value(), "FILE");
  add_value(*command, "--plan", given->plan_out, "Script of everything that happens",
            path_value(), "FILE");
  add_value(*command, "--script", given->script,
            "Script of what happens; otherwise random", path_value(), "FILE");
  add_value(*command, "--seed", given->seed, "Seed of the random choices",
            within(whole_from(0, kHighestSeed)), "N (1)");
  add_value(*command, "--person", given->person,
            "Number of the person; in a set, of the first",
            within(whole_from(0, kHighestPerson)), "N (1)");
  add_value(*command, "--style", given->style,
            "How the person gestures; mixed: both ways",
            one_of({kStyles[0].name, kStyles[1].name, kMixed}), "calm|free|mixed (free)");
  add_value(*command, "--wearer", given->performance.wearer,
            "0: left wrist, 1: right wrist", within(whole_from(0, 1)), "0|1 (0)");
  add_value(*command, "--sample-rate", given->performance.rate, "Samples per second",
            within(whole_from(10, 1000)), "HZ (50)");
  command->add_flag(
      "--postures", given->performance.postures,
      "Everyone holds the arm in a way of their own, on each\nwrist another, "
      "and steps jolt it: for the wrist detector");
  RecordingFaults& faults = given->performance.faults;
  add_value(*command, "--from", faults.from, "Start at this time, perhaps in mid-motion",
            within(number_from(0, kLongestPlan)), "S (0)");
  add_value(*command, "--dead-band", faults.gyro_dead_band,
            "Slower turns about an axis read as exactly zero",
            within(number_from(0, kFastestTurn)), "DEG/S (0)");
  add_value(*command, "--gestures", given->plan.gestures, "Repetitions of each gesture",
            within(whole_from(0, 1000)), "N (4)");
  add_value(*command, "--distractors", given->plan.distractors,
            "Seconds of everyday movement", within(number_from(0, kLongestPlan)),
            "S (120)");
  add_value(*command, "--training", given->training, "Folder to make a whole set in",
            path_value(), "DIR");
  add_value(*command, "--persons", given->persons, "How many people a set has",
            within(whole_from(1, 999)), "N (12)");
  command->footer(kFooter);
  command->callback([given] { synthesise(*given); });
}

}  // namespace wgr
