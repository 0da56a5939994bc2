// What the report pages of wgr build and wgr eval tell.
#pragma once

#include <string>
#include <vector>

#include "pages/model_page.h"
#include "segmentation/segmented_set.h"
#include "training/model_builder.h"

namespace wgr {

// "FILE at 12.27 s", of each kept motion of a set, as training samples are in order.
std::vector<std::string> names_of_kept(const SegmentedSet& set);

// Of a model that was built: each sample against all templates but itself. `names` are
// those of the data's samples, or empty.
ModelAccount account_of_build(const ModelBuilder& builder, const Gmodel& model,
                              const BuildReport& report, const BuildOptions& options,
                              const Provenance& provenance,
                              const std::vector<std::string>& names);

// Of what a model, or the models of all folds, made of a set.
ModelAccount account_of_evaluation(const SegmentedSet& set, const Evaluation& result);

}  // namespace wgr
