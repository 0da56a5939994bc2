// The places that the library's paths name, seen from a host: are the models there, and
// how to run with models from somewhere else.
#pragma once

#include <string>
#include <vector>

#include "output/output_plan.h"

namespace wgr {

inline constexpr char kInstalledModels[] = "/usr/share/GestureModel";
inline constexpr char kLogFolder[] = "/home/app";
inline constexpr char kLogFile[] = "/home/app/WgrLog.txt";

// The model of the default every handle starts with.
inline constexpr int kDefaultWearer = 0;
inline constexpr int kDefaultMode = 1;

// The file of one of the six models in a folder of models.
std::string model_file(const std::string& folder, int wearer, int mode);

// The folder, with all links followed. Throws UsageError when there is none.
std::string existing_folder(const std::string& path);

// Throws UsageError, with what to do, unless the folder holds the chosen model.
void require_model(const std::string& folder, int wearer, int mode);

// The same, unless it holds the model that every
// handle starts with, without which the library ends the process, and the chosen one.
void require_models(const std::string& folder, int wearer, int mode);

// Runs this program again with `arguments` (without the program's name) and both places
// to itself: to be written to, and gone when the program ends, or with the folder of
// models, where it is not empty, shown at kInstalledModels. Does not return; throws
// UsageError when the launcher cannot be found or run.
[[noreturn]] void run_in_private_places(const std::string& models,
                                        const std::vector<std::string>& arguments);

// The same with the models alone: what is at /home/app, or that nothing is, stays as it
// is for the others.
[[noreturn]] void run_beside_own_home(const std::string& models,
                                      const std::vector<std::string>& arguments);

// Whether this is such a run.
bool are_places_private();

// What a second run would write there is lost.
void keep_out_of_private_places(OutputPlan& plan);

}  // namespace wgr
