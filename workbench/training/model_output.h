// What a build leaves behind for programs: the model and its manifest.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "base/sha256.h"
#include "classifier/Gmodel.h"
#include "segmentation/model_rate.h"
#include "segmentation/provenance.h"
#include "training/model_builder.h"

namespace wgr {

// The model's file, as Gmodel writes it.
std::string model_text(const Gmodel& model);

// The model as whoever reads its file gets it, to a file's digits.
Gmodel as_read_back(const Gmodel& model);

// What goes beside a model: its path with ".report.txt" or ".model.json" for the
// extension, or behind a name without one.
std::string report_path(const std::string& model);
std::string manifest_path(const std::string& model);

// As a manifest has it: "leaving subjects out" and so on.
const char* left_out_text(LeftOut by);

nlohmann::ordered_json manifest(const BuildReport& report, const BuildOptions& options,
                                const Provenance& provenance,
                                const std::string& model_sha256);

// What a manifest holds, for read_json().
JsonField manifest_fields();

// What the model in the file was built from, by the manifest beside it; none where that
// is missing, or of another model, which is said on standard error.
std::optional<Provenance> provenance_of(const std::string& model);

// Whether the model in the file was built for another sample rate, by that manifest.
// Nothing is known of a model without a file.
std::optional<OtherRate> other_rate_of(const std::string& model, int rate);

}  // namespace wgr
