// What people read of a segmented set: what was odd about its recordings, what came of
// them, and which annotations to record again.
#pragma once

#include <string>
#include <vector>

#include "segmentation/segmented_set.h"

namespace wgr {

// What is to be kept in mind about the set, a sentence each.
std::vector<std::string> caveats_of(const SegmentedSet& set);

// The rate, the caveats, and how many of which verdict and label; a line each.
std::string summary_of(const SegmentedSet& set);

// What became of every annotation, a line each, and how many are to be recorded again.
std::string annotations_list(const SegmentedSet& set);

}  // namespace wgr
