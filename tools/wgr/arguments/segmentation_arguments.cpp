#include "arguments/segmentation_arguments.h"

#include <set>

#include "arguments/reading_limit.h"
#include "arguments/settings_check.h"
#include "arguments/values.h"
#include "base/sha256.h"
#include "evaluation/settings_choice.h"
#include "training/training_file.h"

namespace wgr {

void add_segmentation_arguments(CLI::App& command, SegmentationArguments& given) {
  command
      .add_option("--background", given.background,
                  "Recording without gestures, or a folder of them;\nmay be repeated")
      ->transform(path_value())
      ->option_text("PATH")
      ->allow_extra_args(false);
  command
      .add_option("--sample-rate", given.options.rate,
                  "Sample rate of the model; otherwise that of most\nrecordings")
      ->transform(within(whole_from(10, 1000)))
      ->option_text("HZ");
  HostSettings& host = given.options.host;
  add_host_settings(command, host.shortest, host.static_window, host.sensitivity);
  command.add_flag(
      "--use-annotations", given.options.whole_annotations,
      "Use each annotated interval as the motion, without\nsearching it for rests");
  command.add_flag("--no-gravity", given.no_gravity,
                   "The recordings have no gravity in them");
  add_max_size(command, given.options.limit);
  command.add_flag(
      "--no-attitude", given.no_attitude,
      "Ignore the wrist's attitude: gravity becomes one\nmore point of the motion");
}

void add_inputs(OutputPlan& plan, const std::string& folder,
                const SegmentationArguments& given) {
  plan.reads_folder("FOLDER", folder, is_recording);
  for (const std::string& path : given.background) {
    plan.reads("--background", path);
    plan.reads_folder("--background", path, is_recording);
  }
}

void add_choose_settings(CLI::App& command, SegmentationArguments& given) {
  command.add_flag(
      "--choose-settings", given.choose_settings,
      "Try other rest windows and sensitivities, and take the\nbest: the host "
      "must set them as well");
}

static std::string text_of_examples(const SegmentedSet& set) {
  return sha256(training_text(kept_motions(set), set.provenance.gravity));
}

std::vector<SegmentedSet> alternatives_given(const std::string& folder,
                                             const SegmentationArguments& given) {
  std::vector<SegmentedSet> sets = {segment_given(folder, given)};
  if (!given.choose_settings) return sets;
  std::set<std::string> texts = {text_of_examples(sets.front())};
  for (const HostSettings& host :
       settings_to_try(given.options.host, sets.front().provenance.rate)) {
    if (host == given.options.host) continue;
    SegmentationArguments other = given;
    other.options.host = host;
    SegmentedSet set = segment_given(folder, other);
    // Of pre-segmented recordings many settings make the same.
    if (texts.insert(text_of_examples(set)).second) sets.push_back(std::move(set));
  }
  return sets;
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
