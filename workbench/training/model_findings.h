// What the library's check finds in a model, as a person reads it, and whether the model
// is of any use.
#pragma once

#include <string>

#include "classifier/Gmodel.h"
#include "preflight/model_check.h"
#include "training/model_builder.h"

namespace wgr {

// "FILE:LINE: what is wrong", or without the line where the whole file is meant.
std::string line_about(const std::string& path, const ModelFinding& finding);

// The model that a file of any name holds. Throws UsageError with what is wrong with the
// file when the library refuses it.
Gmodel read_model(const std::string& path);

// The same for a model that is to recognise something: also throws UsageError when it
// holds no template that a motion can be compared with, and says on standard error what
// else is found.
Gmodel read_useful_model(const std::string& path);

// Throws UsageError when a class of a model that was built from `input` would never be
// recognised, or when the library's check finds anything in it; says what to do about it.
void require_faultless_model(const Gmodel& model, const BuildReport& report,
                             const std::string& input);

}  // namespace wgr
