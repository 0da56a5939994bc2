// What a build leaves behind: the model, a report for people, a manifest for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "base/sha256.h"
#include "classifier/Gmodel.h"
#include "segmentation/provenance.h"
#include "training/model_builder.h"

namespace wgr {

// The model's file, as Gmodel writes it.
std::string model_text(const Gmodel& model);

// What goes beside a model: its path with ".report.txt" or ".model.json" for the
// extension, or behind a name without one.
std::string report_path(const std::string& model);
std::string manifest_path(const std::string& model);

std::string report_text(const BuildReport& report, const BuildOptions& options,
                        const Provenance& provenance);

nlohmann::ordered_json manifest(const BuildReport& report, const BuildOptions& options,
                                const Provenance& provenance,
                                const std::string& model_sha256);

// What a manifest holds, for read_json().
JsonField manifest_fields();

}  // namespace wgr
