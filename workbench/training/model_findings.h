// What the library's check finds in a model, as a person reads it, and whether the model
// is of any use.
#pragma once

#include <string>
#include <vector>

#include "classifier/Gmodel.h"
#include "preflight/model_check.h"
#include "training/model_builder.h"

namespace wgr {

// "FILE:LINE: what is wrong", or without the line where the whole file is meant.
std::string line_about(const std::string& path, const ModelFinding& finding);

// Throws UsageError with what is wrong with the file when the library refuses it, or when
// it holds no template that a motion can be compared with. Says on standard error what
// else is found.
void require_useful_model(const std::string& path);

// The second half of that, of a model that was read from `path`.
void require_comparable(const Gmodel& model, const std::string& path);

// Throws UsageError when a class of a model that was built from `input` would never be
// recognised, or when the library's check finds anything in it; says what to do about it.
void require_faultless_model(const Gmodel& model, const BuildReport& report,
                             const std::string& input);

}  // namespace wgr
