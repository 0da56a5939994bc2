// The command line arguments that describe a foreign log.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "import/import_profile.h"
#include "output/output_plan.h"

namespace wgr {

struct ImportArguments {
  std::string profile;  // a name, or a file of --save-profile
  std::string columns;  // "time=1,ax=accX"
  std::string units;    // "acc=g,gyro=rad/s,time=ms"
  std::string sensors;  // "acc=ACC,gyro=GYR"
  std::string axes;
  std::string acc_axes;
  std::string gyro_axes;
  std::optional<double> rate;
  bool nearest = false;
};

void add_import_arguments(CLI::App& command, ImportArguments& given);

// The file of --profile, where it is one.
void add_inputs(OutputPlan& plan, const ImportArguments& given);

// Throws UsageError.
ImportProfile profile_given(const ImportArguments& given);

}  // namespace wgr
