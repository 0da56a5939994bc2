// What the HTML reports of wgr build and wgr eval show.
#pragma once

#include <string>
#include <vector>

#include "pages/model_page.h"
#include "segmentation/segmented_set.h"
#include "training/model_builder.h"

namespace wgr {

// Beside a model's templates of class 14.
inline constexpr char kBackgroundNote[] =
    "templates of background: what is nearest to them is never reported";

// "FILE at 12.27 s", of each kept motion of a set, in the order of the training set.
std::vector<std::string> names_of_kept(const SegmentedSet& set);

// When a set was recorded, from the first stamp to the last.
void set_stamps(const SegmentedSet& set, PageOrigin& origin);

// Of a model that was built: each example against all templates but itself. `names` are
// those of the training set's examples, or empty.
PageData page_data_of_build(const ModelBuilder& builder, const Gmodel& model,
                            const BuildReport& report, const BuildOptions& options,
                            const Provenance& provenance,
                            const std::vector<std::string>& names);

// Of what a model, or the models of all folds, made of a set.
PageData page_data_of_evaluation(const SegmentedSet& set, const Evaluation& result);

}  // namespace wgr
