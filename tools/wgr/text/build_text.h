// What a build says to people: how the templates were chosen, what came of each class,
// and what is to be kept in mind.
#pragma once

#include <string>
#include <vector>

#include "segmentation/provenance.h"
#include "training/model_builder.h"

namespace wgr {

// A kind of templates with its size: "averages, 2 a class".
std::string kind_text(const KindStep& step);

// What is to be kept in mind about a model, a sentence each; report_text() has them too.
std::vector<std::string> caveats_of(const BuildReport& report,
                                    const BuildOptions& options);

std::string report_text(const BuildReport& report, const BuildOptions& options,
                        const Provenance& provenance);

}  // namespace wgr
