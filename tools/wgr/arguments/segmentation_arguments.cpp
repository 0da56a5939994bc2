#include "arguments/segmentation_arguments.h"

#include "arguments/reading_limit.h"
#include "arguments/values.h"

namespace wgr {

void add_segmentation_arguments(CLI::App& command, SegmentationArguments& given) {
  command
      .add_option("--background", given.background,
                  "Folder of recordings, or one, without gestures;\nmay be repeated")
      ->transform(path_value())
      ->option_text("PATH")
      ->allow_extra_args(false);
  command
      .add_option("--sample-rate", given.options.rate,
                  "Samples per second of the model; otherwise that of\nmost recordings")
      ->transform(within(whole_from(10, 1000)))
      ->option_text("HZ");
  command
      .add_option("--min-length", given.options.shortest,
                  "Shortest motion, in samples; otherwise half a second")
      ->transform(within(whole_from(2, 10000)))
      ->option_text("N");
  command.add_flag(
      "--use-annotations", given.options.whole_annotations,
      "Use annotated intervals whole, not the motions\nbetween rests in them");
  command.add_flag("--no-gravity", given.no_gravity,
                   "The recordings have no gravity in them");
  add_max_size(command, given.options.limit);
  command.add_flag(
      "--no-attitude", given.no_attitude,
      "Which way is down does not count; gravity is one\nmore point of the motion");
}

void add_inputs(OutputPlan& plan, const std::string& folder,
                const SegmentationArguments& given) {
  plan.reads_folder("FOLDER", folder, is_recording);
  for (const std::string& path : given.background) {
    plan.reads("--background", path);
    plan.reads_folder("--background", path, is_recording);
  }
}

SegmentedSet segment_given(const std::string& folder, const SegmentationArguments& given,
                           const Classes& classes) {
  SegmentationOptions options = given.options;
  options.gravity = !given.no_gravity;
  options.attitude = !given.no_attitude;
  std::vector<SetEntry> background;
  for (const std::string& path : given.background) {
    for (SetEntry& entry : read_background(path)) background.push_back(std::move(entry));
  }
  const std::vector<SetEntry> set =
      folder.empty() ? std::vector<SetEntry>() : read_recording_set(folder);
  return segment_set(set, background, options, classes);
}

}  // namespace wgr
