// Training files, the text form that Gdata reads: written, and read with a check.
#pragma once

#include <string>
#include <vector>

#include "classifier/Gdata.h"
#include "segmentation/segmenter.h"

namespace wgr {

// The records of the motions, each with its gravity vector; without `gravity` the vector
// is the motion's last point.
std::string training_text(const std::vector<Motion>& motions, bool gravity = true);

// What Gdata reads from the file. Throws UsageError, with file and line, where it would
// make something else of it than what is written there.
Gdata read_training_file(const std::string& path);

// The same from a text.
Gdata parse_training_text(const std::string& text);

}  // namespace wgr
