// Holds what a host sets against what a model was built for, by the model's manifest.
#pragma once

#include <string>

#include "segmentation/provenance.h"

namespace wgr {

// Takes the manifest's settings where none are given, which is said where they are not
// the library's own; warns of given ones that differ. `model` is the file's name.
void take_settings(const Provenance& built_from, const std::string& model,
                   HostSettings& given);

// How given settings differ from those of the model, at its rate; empty: they do not.
std::string difference(const Provenance& built_from, const HostSettings& given);

// Warns when the model is for another sample rate.
void warn_of_rate(const Provenance& built_from, const std::string& model, int rate);

// The sentence of that; empty: it is for this rate, or for no known one.
std::string rate_difference(const Provenance& built_from, int rate);

}  // namespace wgr
