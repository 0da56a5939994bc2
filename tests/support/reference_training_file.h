// Slow and obvious loading and merging of training data: the whole text cut into lines
// first, every record on its own.
#pragma once

#include <string>

#include "classifier/Gdata.h"

namespace reference {

// Loads `text` into `data` as Gdata::load() does from a file.
void load_training(const std::string& text, Gdata& data);

// Adds `other` to `data`; false, with nothing changed, when their kinds differ.
bool merge_training(Gdata& data, const Gdata& other);

}  // namespace reference
