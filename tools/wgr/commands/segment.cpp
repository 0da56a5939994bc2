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
#include "text/set_text.h"
#include "training/training_file.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(FOLDER holds recordings (.csv, .csv.gz) and labels.csv with the header
file,t_start,t_end,label, or index.csv with file,label,subject,rate_hz[,notes] for
recordings that show one label each, or both. The engine that runs on the watch segments,
rotates and trims the motions of every recording. A motion that fills an annotation becomes
an example of its label; one outside all annotations becomes background, label -1. The
summary counts the motions by result. Labels that are words get numbers. The command also
writes a description (.training.json) beside the training file, with the sample rate, the
classes and the SHA-256 of all inputs, which wgr build reads; none is written when the output
is standard output or a device.

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
  CLI::App* const command =
      wgr.add_subcommand("segment", "Segment recordings into a training file.");
  const auto given = std::make_shared<Arguments>();
  command->add_option("FOLDER", given->folder, "Recordings with labels.csv or index.csv")
      ->required()
      ->transform(path_name())
      ->option_text(" ");
  command
      ->add_option("-o,--out", given->out, "Training file to write; - is standard output")
      ->required()
      ->transform(path_value())
      ->option_text("FILE");
  command->add_flag(
      "--list", given->list,
      "List the result for every annotation, and which\nones to record again");
  add_segmentation_arguments(*command, given->segmentation);
  command->footer(kFooter);
  command->callback([given] { segment(*given); });
}

}  // namespace wgr
