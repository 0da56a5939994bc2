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
};

// Adds --background, --sample-rate, --min-length, --use-annotations, --no-gravity,
// --no-attitude and --max-size.
void add_segmentation_arguments(CLI::App& command, SegmentationArguments& given);

// All that segment_given() reads.
void add_inputs(OutputPlan& plan, const std::string& folder,
                const SegmentationArguments& given);

// Reads and segments a folder, and the background that was given.
SegmentedSet segment_given(const std::string& folder, const SegmentationArguments& given,
                           const Classes& classes = {});

}  // namespace wgr
