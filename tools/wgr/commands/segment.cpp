// wgr segment: labelled recordings in, training file out.
#include <cstdio>
#include <memory>
#include <string>

#include "arguments/segmentation_arguments.h"
#include "arguments/values.h"
#include "base/sha256.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "output/output_files.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "segmentation/segmented_set.h"
#include "training/training_file.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(FOLDER holds recordings (.csv, .csv.gz) and labels.csv with the header
file,t_start,t_end,label, or index.csv with file,label,subject,rate_hz[,notes] for
recordings that show one label each, or both. The motions of every recording are segmented,
rotated and trimmed by the engine that runs on the watch. A motion that fills an annotation
becomes an example of its label, one outside all annotations background, label -1; the
summary counts what became of every motion. Labels that are words get numbers. Beside
the training file goes a description, .training.json, with rate, classes and the SHA-256
of all inputs, which wgr build takes up; standard output and devices get none.

Examples:
  wgr segment set -o set.txt
  wgr segment set --background walks --sample-rate 50 -o set.txt

Exit status: 0 done; 1 the machine failed (disk, memory); 2 the recordings or an argument
cannot be used.)";

namespace {

struct Arguments {
  std::string folder;
  std::string out;
  SegmentationArguments segmentation;
  bool list = false;
};

}  // namespace

static void segment(const Arguments& given) {
  const bool is_file = find_target(given.out).is_file();
  if (given.list && !is_file) {
    throw UsageError("segment: --list prints on standard output, so -o must name a file");
  }
  OutputPlan plan;
  add_inputs(plan, given.folder, given.segmentation);
  plan.writes("-o", given.out);
  if (is_file) plan.writes("the description beside -o", description_path(given.out));
  plan.check();
  separate_results(LibraryPrints::kNowhere);

  const SegmentedSet set = segment_given(given.folder, given.segmentation);
  const std::string text = training_text(kept_motions(set), set.provenance.gravity);
  print(stderr, "{}", summary_of(set));
  OutputFiles files;
  files.write(given.out, text);
  if (is_file) {
    auto description = to_json(set.provenance);
    description["training_file_sha256"] = sha256(text);
    files.write(description_path(given.out), as_text(description));
  }
  files.commit();
  if (given.list) write_results(annotations_list(set));
}

void add_segment(CLI::App& wgr) {
  CLI::App* const command = wgr.add_subcommand(
      "segment", "Segment the motions of recordings into a training file.");
  const auto given = std::make_shared<Arguments>();
  command->add_option("FOLDER", given->folder, "Recordings with labels.csv or index.csv")
      ->required()
      ->transform(path_name())
      ->option_text(" ");
  command->add_option("-o,--out", given->out, "The training file; - is standard output")
      ->required()
      ->transform(path_value())
      ->option_text("FILE");
  command->add_flag("--list", given->list,
                    "List what became of every annotation, and which to\nrecord again");
  add_segmentation_arguments(*command, given->segmentation);
  command->footer(kFooter);
  command->callback([given] { segment(*given); });
}

}  // namespace wgr
