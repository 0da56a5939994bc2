// What a set of recordings lacks for a good model, said before one is built from it.
#pragma once

#include <string>
#include <vector>

#include "classifier/Gdata.h"
#include "segmentation/segmented_set.h"
#include "training/model_builder.h"

namespace wgr {

// A sentence each: people, repetitions, rest around them, everyday movement. `per_hour`:
// the false positives an hour that are aimed at.
std::vector<std::string> advice_on(const SegmentedSet& set, double per_hour);

// The same of the examples of a training file and the description beside it.
std::vector<std::string> advice_on(const Gdata& examples, const Provenance& provenance,
                                   double background_hours, double per_hour);

// Pairs of classes, a sentence each: where a fifth or more of one's examples are most
// like an example of the other one, of other people where two are known, no choice of
// templates separates them.
std::vector<std::string> advice_on_classes(const ModelBuilder& builder,
                                           const Provenance& provenance);

}  // namespace wgr
