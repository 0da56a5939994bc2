// Writes training files, the text form that Gdata reads.
#pragma once

#include <string>
#include <vector>

#include "training/cutter.h"

// The records of the motions, each with its gravity vector.
std::string training_text(const std::vector<Motion>& motions);
