// What a build leaves behind: the model, a report for people, a manifest for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "classifier/Gmodel.h"
#include "sha256.h"
#include "training/model_builder.h"
#include "training/provenance.h"

// Writes beside the place and moves it there, so that no half a model is ever seen.
// Makes the folder. Throws UsageError when that cannot be done.
void write_model(const Gmodel& model, const std::string& path);

std::string report_text(const BuildReport& report, const BuildOptions& options,
                        const Provenance& provenance);

nlohmann::ordered_json manifest(const BuildReport& report, const BuildOptions& options,
                                const Provenance& provenance,
                                const std::string& model_sha256);
