// Slow and obvious reading of a model file: the whole text cut into lines first, then
// one value after the other.
#pragma once

#include <string>

#include "classifier/Gmodel.h"

namespace reference {

// Reads `text` into `model` as Gmodel::read() does from a file. Throws std::length_error
// for a negative count.
void read_model(const std::string& text, Gmodel& model);

}  // namespace reference
