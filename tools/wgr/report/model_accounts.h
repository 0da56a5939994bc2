// What the report pages of wgr build and wgr eval tell.
#pragma once

#include <string>
#include <vector>

#include "report/model_page.h"
#include "training/cut_set.h"
#include "training/model_builder.h"

// "FILE at 12.27 s", of each kept motion of a set, as training samples are in order.
std::vector<std::string> names_of_kept(const CutSet& set);

// Of a model that was built: each sample against all templates but itself. `names` are
// those of the data's samples, or empty.
ModelAccount account_of_build(const Workshop& workshop, const Gmodel& model,
                              const BuildReport& report, const BuildOptions& options,
                              const Provenance& provenance,
                              const std::vector<std::string>& names);

// Of what a model, or the models of all folds, made of a set.
ModelAccount account_of_evaluation(const CutSet& set, const Evaluation& result);
