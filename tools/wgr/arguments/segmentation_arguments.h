// The command line arguments of the subcommands that segment recordings.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "output/output_plan.h"
#include "segmentation/segmented_set.h"

namespace wgr {

struct SegmentationArguments {
  SegmentationOptions options;
  std::vector<std::string> background;  // folders or recordings
  bool no_gravity = false;
  bool no_attitude = false;
  bool choose_settings = false;
};

// Adds these and --background, --sample-rate, --use-annotations, --no-gravity,
// --no-attitude and --max-size.
void add_segmentation_arguments(CLI::App& command, SegmentationArguments& given);

// All that segment_given() reads.
void add_inputs(OutputPlan& plan, const std::string& folder,
                const SegmentationArguments& given);

// Adds --choose-settings.
void add_choose_settings(CLI::App& command, SegmentationArguments& given);

// The set segmented as given, and with --choose-settings with other settings too.
std::vector<SegmentedSet> alternatives_given(const std::string& folder,
                                             const SegmentationArguments& given);

// Reads and segments a folder, and the background that was given.
SegmentedSet segment_given(const std::string& folder, const SegmentationArguments& given,
                           const Classes& classes = {});

}  // namespace wgr
