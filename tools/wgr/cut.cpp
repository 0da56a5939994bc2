// wgr cut: labelled recordings in, training file out.
#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/own_stdout.h"
#include "recording/clock.h"
#include "recording/recording.h"
#include "subcommands.h"
#include "table.h"
#include "training/cutter.h"
#include "training/labels.h"
#include "training/training_file.h"

static constexpr char kFooter[] =
    R"(FOLDER holds recordings (.csv, .csv.gz) and labels.csv with the header
file,t_start,t_end,label. The motions of every recording are cut out, turned and trimmed
by the engine that runs on the watch. A motion that fills a labelled span becomes a sample
of that label, one outside all spans a background sample, label -1; every motion's fate is
counted in the summary.

Example:
  wgr cut set -o set.txt)";

namespace {

struct CutArguments {
  std::string folder;
  std::string out;
  int rate = 50;
};

struct Summary {
  std::array<size_t, kVerdicts> verdicts = {};
  std::map<int, size_t> labels;  // of kept motions
  size_t spans = 0;
  size_t spans_without_motion = 0;
};

}  // namespace

// What is in the folder besides the recordings.
static constexpr char kLabels[] = "labels.csv";
static constexpr char kIndex[] = "index.csv";

// Recordings by their path relative to the folder, in the order of the alphabet.
static std::vector<std::string> recordings_in(const std::string& folder) {
  std::set<std::string> files;
  std::error_code failed;
  const std::filesystem::recursive_directory_iterator entries(folder, failed);
  if (failed) throw UsageError(folder + ": " + failed.message());
  for (const auto& entry : entries) {
    const std::string file = entry.path().lexically_relative(folder);
    const bool named_so =
        entry.path().extension() == ".csv" ||
        (entry.path().extension() == ".gz" && entry.path().stem().extension() == ".csv");
    if (named_so && file != kLabels && file != kIndex) files.insert(file);
  }
  if (files.empty()) throw UsageError(folder + ": holds no recording (.csv, .csv.gz)");
  return {files.begin(), files.end()};
}

static void check_rate(const std::string& path,
                       const std::vector<RecordedSample>& samples, int rate) {
  const std::optional<int> found =
      estimate_rate(std::deque<RecordedSample>(samples.begin(), samples.end()));
  if (found && *found != rate) {
    throw UsageError(path + ": " + std::to_string(*found) +
                     " samples/s by the time stamps instead of " + std::to_string(rate) +
                     "; templates and motions must have the same rate");
  }
}

static bool kept_in(const std::vector<Motion>& motions, const LabelledSpan& span) {
  for (const Motion& motion : motions) {
    if (motion.verdict == Verdict::kKept && motion.begin < span.end &&
        motion.end > span.begin) {
      return true;
    }
  }
  return false;
}

static void print(const Summary& summary, size_t recordings) {
  std::fprintf(stderr, "%zu recordings\n", recordings);
  for (size_t i = 0; i < kVerdicts; ++i) {
    std::fprintf(stderr, "%6zu %s\n", summary.verdicts[i], kVerdictNames[i]);
  }
  for (const auto& [label, count] : summary.labels) {
    if (label == kBackground) {
      std::fprintf(stderr, "%6zu samples of background\n", count);
    } else {
      std::fprintf(stderr, "%6zu samples of class %d\n", count, label);
    }
  }
  std::fprintf(stderr, "%6zu of %zu spans without a kept motion\n",
               summary.spans_without_motion, summary.spans);
}

static void cut(const CutArguments& given) {
  // What the library prints while it starts must not get into the training file.
  std::FILE* const out = take_standard_output();
  if (out == nullptr) throw std::runtime_error("standard output cannot be used");

  const std::vector<std::string> files = recordings_in(given.folder);
  const std::string labels = given.folder + "/" + kLabels;
  std::map<std::string, std::vector<LabelledSpan>> spans_of;
  for (LabelledSpan& span : read_labels(labels)) {
    std::string file = span.file;
    spans_of[file].push_back(std::move(span));
  }
  for (const auto& [file, spans] : spans_of) {
    if (std::find(files.begin(), files.end(), file) == files.end()) {
      throw UsageError(labels + ": names " + file + ", which is not there");
    }
  }

  Summary summary;
  std::vector<Motion> kept;
  Cutter cutter(given.rate);
  for (const std::string& file : files) {
    const std::string path = given.folder + "/" + file;
    const std::vector<RecordedSample> samples = read_recording(path);
    check_rate(path, samples, given.rate);
    const std::vector<LabelledSpan>& spans = spans_of[file];
    std::vector<Motion> motions = cut_recording(samples, spans, cutter);
    summary.spans += spans.size();
    for (const LabelledSpan& span : spans) {
      if (!kept_in(motions, span)) ++summary.spans_without_motion;
    }
    for (Motion& motion : motions) {
      ++summary.verdicts[static_cast<size_t>(motion.verdict)];
      if (motion.verdict != Verdict::kKept) continue;
      ++summary.labels[motion.label];
      kept.push_back(std::move(motion));
    }
  }
  print(summary, files.size());

  const std::string text = training_text(kept);
  if (given.out != "-") {
    write_text(given.out, text);
  } else {
    std::fwrite(text.data(), 1, text.size(), out);
  }
  if (std::fclose(out) != 0) throw std::runtime_error("standard output: not all written");
}

void add_cut(CLI::App& wgr) {
  CLI::App* const command =
      wgr.add_subcommand("cut", "Cut the motions of recordings into a training file.");
  const auto given = std::make_shared<CutArguments>();
  command->add_option("FOLDER", given->folder, "Recordings and labels.csv")
      ->required()
      ->option_text(" ");
  command->add_option("-o,--out", given->out, "The training file; - is standard output")
      ->required()
      ->option_text("FILE");
  command->add_option("--rate", given->rate, "Samples per second of the recordings")
      ->check(CLI::Range(10, 1000))
      ->option_text("HZ (50)");
  command->footer(kFooter);
  command->callback([given] { cut(*given); });
}
